// One function for each kind of comment, chosen by its first word. The first comment that cannot be
// read is the error of the whole script.

#include "console/script.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>
#include <utility>

#include "console/command_input.h"
#include "console/entity.h"
#include "lisp_worker/client/answer_text.h"

namespace lisp_worker::console {

using client::Datum;
using client::DatumList;

namespace {

constexpr std::string_view kMarker = ";@";
constexpr std::string_view kBlanks = " \t\r";

constexpr std::array<std::string_view, 11> kHostCalls = {
    "GETPOINT", "GETCORNER", "GETDIST", "SSGET",     "ENTGET", "ENTMOD",
    "ENTMAKE",  "ENTMAKEX",  "COMMAND", "COMMAND-S", "OSNAP"};

constexpr std::size_t kSystemFieldCount = 8;

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

// Takes the first word from `text`, and the blanks after it.
std::string_view takeWord(std::string_view& text) {
  const std::size_t size = std::min(text.find_first_of(kBlanks), text.size());
  const std::string_view word = text.substr(0, size);
  text = trimmed(text.substr(size));
  return word;
}

std::optional<std::size_t> readCount(std::string_view word) {
  std::size_t count = 0;
  const char* const end = word.data() + word.size();
  const auto [stop, error] = std::from_chars(word.data(), end, count);
  if (error != std::errc() || stop != end) return std::nullopt;
  return count;
}

// Each reads one kind of comment, from after its first word. Returns the mistake, or an empty
// string.

std::string readAnswer(std::string_view text, std::size_t line, Script& script) {
  const std::string_view call = takeWord(text);
  if (!isHostCall(call)) return "no host call: " + std::string(call);
  script.answers.push_back({std::string(call), std::string(text), line});
  return "";
}

std::string readEntity(std::string_view text, Script& script) {
  std::string error;
  std::optional<Datum> groups = client::readDatum(text, &error);
  if (!groups) return error;
  script.entities.push_back(std::move(*groups));
  return "";
}

std::string readSystem(std::string_view text, Script& script) {
  SystemChange change;
  const auto system = readCount(takeWord(text));
  if (!system || *system >= worker::kSystemCount) return "a system is a number from 0 to 4";
  change.system = *system;
  if (text.starts_with("at-call")) {
    takeWord(text);
    const auto at_call = readCount(takeWord(text));
    if (!at_call || *at_call == 0) return "calls are counted from 1";
    change.at_call = *at_call;
  }
  const std::optional<Datum> numbers = client::readDatum(text, nullptr);
  const DatumList* const fields = numbers ? client::asList(*numbers) : nullptr;
  std::array<double, kSystemFieldCount> values{};
  if (fields == nullptr || fields->size() != values.size()) return "a system takes 8 numbers";
  for (std::size_t n = 0; n < values.size(); ++n) {
    const auto value = client::asNumber((*fields)[n]);
    if (!value) return "a system takes 8 numbers";
    values[n] = *value;
  }
  change.value = {values[0], values[1], values[2], values[3],
                  values[4], values[5], values[6], values[7]};
  script.system_changes.push_back(change);
  return "";
}

std::string readEntityExpectation(std::string_view text, Script& script) {
  std::string error;
  std::optional<Datum> groups = client::readDatum(text, &error);
  if (!groups) return error;
  const DatumList* const list = client::asList(*groups);
  if (list == nullptr || list->empty() || !std::all_of(list->begin(), list->end(), isGroup)) {
    return "expect which groups? as in ;@ expect entity ((0 \"CIRCLE\") (40 3))";
  }
  script.expected_entities.push_back(*list);
  return "";
}

std::string readExpectation(std::string_view text, Script& script) {
  const std::string_view kind = takeWord(text);
  if (kind == "entity") return readEntityExpectation(text, script);
  if (kind == "entities") {
    if (script.expected_entity_count) return "a drawing has one number of entities";
    script.expected_entity_count = readCount(text);
    return script.expected_entity_count ? "" : "expect how many entities? a number is missing";
  }
  if (script.expectation) return "a program ends only once";
  Expectation expectation{.kind = Expectation::Kind::Value, .text = std::string(text)};
  if (kind == "value") {
    std::string error;
    if (!client::readDatum(text, &error)) return error;
  } else if (kind == "error") {
    expectation.kind = Expectation::Kind::Error;
  } else if (kind == "refusal") {
    expectation.kind = Expectation::Kind::Refusal;
  } else {
    return "expect what: value, error, refusal, entity or entities?";
  }
  script.expectation = std::move(expectation);
  return "";
}

std::string readDrawing(std::string_view text, std::size_t line, Script& script) {
  if (script.drawing) return "a program begins with one drawing";
  if (text.empty()) return "which drawing? a file is missing";
  script.drawing = {std::string(text), line};
  return "";
}

std::string readLibrary(std::string_view text, std::size_t line, Script& script) {
  if (text.empty()) return "load what? a file is missing";
  script.libraries.push_back({std::string(text), line});
  return "";
}

// The text behind a word of a picture's page; null for a word that takes none.
std::optional<std::string>* pageText(std::string_view word, PageTexts& texts) {
  if (word == "sheet") return &texts.sheet;
  if (word == "scale") return &texts.scale;
  if (word == "units") return &texts.units;
  return word == "window" ? &texts.window : nullptr;
}

std::string readPictureWishes(std::string_view text, Script& script) {
  PictureWishes& wishes = script.picture;
  PageTexts texts;
  while (!text.empty()) {
    const std::string_view wish = takeWord(text);
    std::optional<std::string>* const page_text = pageText(wish, texts);
    if (page_text != nullptr) {
      *page_text = takeWord(text);
      if ((*page_text)->empty()) return std::string(wish) + " needs a word behind it";
    } else if (wish == "axes" || wish == "cells") {
      (wish == "axes" ? wishes.axes : wishes.cells) = true;
    } else if (wish == "landscape") {
      texts.is_landscape = true;
    } else {
      return "a picture can show axes and cells, and have a sheet, landscape, scale, units and "
             "window";
    }
  }
  std::string error;
  const auto page = readPage(texts, "", error);
  if (!page) return error;
  if (page->sheet) wishes.page.sheet = page->sheet;
  if (page->window) wishes.page.window = page->window;
  return "";
}

std::string readLine(std::string_view text, std::size_t line, Script& script) {
  const std::string_view keyword = takeWord(text);
  if (keyword == "drawing") return readDrawing(text, line, script);
  if (keyword == "load") return readLibrary(text, line, script);
  if (keyword == "picture") return readPictureWishes(text, script);
  if (keyword == "answer") return readAnswer(text, line, script);
  if (keyword == "entity") return readEntity(text, script);
  if (keyword == "system") return readSystem(text, script);
  if (keyword == "expect") return readExpectation(text, script);
  if (keyword == "keep") {
    script.keeps = true;
    return text.empty() ? "" : "keep takes nothing";
  }
  return "unknown: " + std::string(keyword) +
         "; known are answer, drawing, entity, expect, keep, load, picture and system";
}

// Hands every line of `text`, without the blanks around it, and its number to `read`, which returns
// what is wrong with it. False when something is, with the line's number and the reason in `error`.
template <typename Read>
bool readLines(std::string_view text, std::string& error, Read read) {
  for (std::size_t line_number = 1; !text.empty(); ++line_number) {
    const std::size_t size = std::min(text.find('\n'), text.size());
    const std::string_view line = trimmed(text.substr(0, size));
    text.remove_prefix(std::min(size + 1, text.size()));
    const std::string reason = read(line, line_number);
    if (reason.empty()) continue;
    error = "line " + std::to_string(line_number) + ": " + reason;
    return false;
  }
  return true;
}

// In a file of answers a point may stand as a person types it: 10,20. Returns the
// mistake, or an empty string.
std::string readTypedAnswer(ScriptedAnswer& answer) {
  const bool is_point = answer.call == "GETPOINT" || answer.call == "GETCORNER";
  if (is_point) {
    if (const auto point = readTypedPoint(answer.text, {}); point && answer.text[0] != '@') {
      answer.text = client::printDatum(client::point(point->x, point->y, point->z));
    }
  }
  std::string error;
  const auto datum = client::readDatum(answer.text, &error);
  if (!datum) return error;
  const bool is_symbol = datum->kind() == client::DatumKind::Symbol;
  if (is_point && is_symbol) return "a point is 10,20 or (10 20 0), not " + answer.text;
  if (answer.call == "GETDIST" && is_symbol) return "a distance is a number, not " + answer.text;
  return "";
}

}  // namespace

bool isHostCall(std::string_view name) {
  return std::find(kHostCalls.begin(), kHostCalls.end(), name) != kHostCalls.end();
}

std::optional<Script> readScript(std::string_view program, std::string& error) {
  Script script;
  const bool is_understood =
      readLines(program, error, [&script](std::string_view line, std::size_t number) {
        if (!line.starts_with(kMarker)) return std::string();
        line.remove_prefix(kMarker.size());
        return readLine(trimmed(line), number, script);
      });
  if (!is_understood) return std::nullopt;
  return script;
}

std::optional<std::vector<ScriptedAnswer>> readAnswerLines(std::string_view text,
                                                           std::string& error) {
  Script script;
  const bool is_understood =
      readLines(text, error, [&script](std::string_view line, std::size_t number) {
        if (line.empty() || line.starts_with(';')) return std::string();
        std::string reason = readAnswer(line, number, script);
        if (reason.empty()) {
          ScriptedAnswer& answer = script.answers.back();
          reason = readTypedAnswer(answer);
          if (!reason.empty()) reason = "answer to " + answer.call + ": " + reason;
        }
        return reason;
      });
  if (!is_understood) return std::nullopt;
  return std::move(script.answers);
}

}  // namespace lisp_worker::console
