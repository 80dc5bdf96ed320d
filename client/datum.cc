#include "lisp_worker/client/datum.h"

#include <utility>

namespace lisp_worker::client {

Datum nil() { return Datum(); }

Datum number(double value) {
  Datum datum;
  datum.content_ = value;
  return datum;
}

Datum string(std::string text) {
  Datum datum;
  datum.content_ = std::move(text);
  return datum;
}

Datum symbol(std::string name) {
  Datum datum;
  datum.content_ = Datum::SymbolName{std::move(name)};
  return datum;
}

Datum list(DatumList elements) {
  Datum datum;
  datum.content_ = std::move(elements);
  return datum;
}

Datum point(double x, double y, double z) { return list({number(x), number(y), number(z)}); }

Datum selectionSet(DatumList members) {
  members.insert(members.begin(), symbol("$KVSEL"));
  return list(std::move(members));
}

std::optional<double> asNumber(const Datum& datum) {
  const double* value = std::get_if<double>(&datum.content_);
  if (value == nullptr) return std::nullopt;
  return *value;
}

std::optional<std::string_view> asString(const Datum& datum) {
  const std::string* text = std::get_if<std::string>(&datum.content_);
  if (text == nullptr) return std::nullopt;
  return *text;
}

std::optional<std::string_view> asSymbol(const Datum& datum) {
  const Datum::SymbolName* symbol = std::get_if<Datum::SymbolName>(&datum.content_);
  if (symbol == nullptr) return std::nullopt;
  return symbol->name;
}

const DatumList* asList(const Datum& datum) { return std::get_if<DatumList>(&datum.content_); }

DatumList takeElements(Datum&& datum) {
  DatumList* const elements = std::get_if<DatumList>(&datum.content_);
  return elements == nullptr ? DatumList() : std::move(*elements);
}

bool operator==(const Datum& a, const Datum& b) { return a.content_ == b.content_; }

}  // namespace lisp_worker::client
