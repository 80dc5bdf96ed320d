// nil is null, a list an array, a symbol an object with its name; a number that JSON does not have
// is its text.

#include "console/report.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <ostream>

#include "console/drawing_file.h"
#include "lisp_worker/client/number_text.h"

namespace lisp_worker::console {
namespace {

using Json = nlohmann::ordered_json;

Json numberJson(double number) {
  constexpr double kWholeMax = 9007199254740992;  // Up to here every whole number is a double.
  if (!std::isfinite(number)) return client::printNumber(number);
  const bool is_whole = number == std::trunc(number) && std::fabs(number) <= kWholeMax;
  if (is_whole && !std::signbit(number)) return static_cast<std::uint64_t>(number);
  if (is_whole && number != 0) return static_cast<std::int64_t>(number);
  return number;
}

Json datumJson(const client::Datum& datum) {
  switch (datum.kind()) {
    case client::DatumKind::Nil:
      return nullptr;
    case client::DatumKind::Number:
      return numberJson(*client::asNumber(datum));
    case client::DatumKind::String:
      return std::string(*client::asString(datum));
    case client::DatumKind::Symbol:
      return {{"symbol", std::string(*client::asSymbol(datum))}};
    case client::DatumKind::List:
      break;
  }
  Json elements = Json::array();
  for (const client::Datum& element : *client::asList(datum)) {
    elements.push_back(datumJson(element));
  }
  return elements;
}

Json listJson(const client::DatumList& list) {
  Json elements = Json::array();
  for (const client::Datum& element : list) elements.push_back(datumJson(element));
  return elements;
}

const char* nameOf(ReportedResult::End end) {
  switch (end) {
    case ReportedResult::End::Value:
      return "value";
    case ReportedResult::End::Error:
      return "error";
    case ReportedResult::End::Cancelled:
      return "cancelled";
    case ReportedResult::End::Broken:
      return "broken";
  }
  return "";
}

void writeLine(std::ostream& out, const Json& json) {
  constexpr bool kOnlyAscii = true;
  out << json.dump(-1, ' ', kOnlyAscii, Json::error_handler_t::replace) << "\n";
}

}  // namespace

void JsonReporter::reportCall(std::string_view program, const ReportedCall& call) {
  Json json = {
      {"event", "call"}, {"program", program}, {"number", call.number}, {"name", call.name}};
  if (call.arguments) json["arguments"] = listJson(*call.arguments);
  json["answer"] = call.answer;
  json["note"] = call.note;
  json["refused"] = call.is_refused;
  writeLine(out_, json);
}

void JsonReporter::reportChange(std::string_view program, const EntityChange& change) {
  writeLine(out_, {{"event", "change"},
                   {"program", program},
                   {"kind", nameOf(change.kind)},
                   {"entity", Json::parse(writeEntity(change.entity))}});
}

void JsonReporter::reportResult(std::string_view program, const ReportedResult& result) {
  Json json = {{"event", "result"}, {"program", program}, {"end", nameOf(result.end)}};
  json["text"] = result.text;
  if (result.value) json["value"] = datumJson(*result.value);
  json["steps"] = result.steps;
  json["calls"] = result.call_count;
  json["refused"] = result.refused_count;
  if (!result.place.empty()) json["place"] = result.place;
  if (!result.explanation.empty()) json["explanation"] = result.explanation;
  json["as_expected"] = result.is_expected;
  json["taken_back"] = result.is_taken_back;
  writeLine(out_, json);
}

}  // namespace lisp_worker::console
