// Values of the C interface: made, read, taken apart.

#include <span>
#include <string>
#include <utility>

#include "c_interface/objects.h"
#include "lisp_worker/client/answer_text.h"

namespace client = lisp_worker::client;

using client::Datum;
using client::DatumList;
using lisp_worker::c_interface::datumOf;
using lisp_worker::c_interface::errorOf;
using lisp_worker::c_interface::giveText;
using lisp_worker::c_interface::makeError;
using lisp_worker::c_interface::viewOf;

// NOLINTBEGIN(readability-identifier-naming): the names are C's.

namespace {

constexpr std::string_view kSelectionSetHead = "$KVSEL";

lisp_value* toHandle(Datum datum) { return new lisp_value(std::move(datum)); }

DatumList copiesOf(const lisp_value* const* elements, std::size_t count) {
  DatumList data;
  if (elements == nullptr) count = 0;
  data.reserve(count);
  for (const lisp_value* const element : std::span(elements, count)) {
    data.push_back(datumOf(element));
  }
  return data;
}

lisp_value::Extras& extrasOf(const lisp_value& value) {
  if (value.extras == nullptr) value.extras = std::make_unique<lisp_value::Extras>();
  return *value.extras;
}

}  // namespace

lisp_value* lisp_value_nil() { return toHandle(client::nil()); }

lisp_value* lisp_value_number(double number) { return toHandle(client::number(number)); }

lisp_value* lisp_value_string(const char* bytes, size_t size) {
  return toHandle(client::string(std::string(viewOf(bytes, size))));
}

lisp_value* lisp_value_symbol(const char* name) { return lisp_value_symbol_of(name, LISP_TO_ZERO); }

lisp_value* lisp_value_symbol_of(const char* name, size_t size) {
  return toHandle(client::symbol(std::string(viewOf(name, size))));
}

lisp_value* lisp_value_list(const lisp_value* const* elements, size_t count) {
  return toHandle(client::list(copiesOf(elements, count)));
}

int lisp_value_append(lisp_value* list, lisp_value* element) {
  if (list == element) return LISP_STATUS_BAD_REQUEST;
  const std::unique_ptr<lisp_value> taken(element);
  if (client::asList(datumOf(list)) == nullptr) return LISP_STATUS_BAD_REQUEST;
  // Only whole values are not const, and those own their data.
  lisp_value::Extras& extras = *list->extras;
  extras.elements.clear();
  extras.printed.reset();
  DatumList elements = client::takeElements(std::move(extras.own));
  elements.push_back(taken == nullptr ? Datum() : std::move(taken->extras->own));
  extras.own = client::list(std::move(elements));
  return LISP_STATUS_OK;
}

lisp_value* lisp_value_point(double x, double y, double z) {
  return toHandle(client::point(x, y, z));
}

lisp_value* lisp_value_selection_set(const lisp_value* const* members, size_t count) {
  return toHandle(client::selectionSet(copiesOf(members, count)));
}

lisp_value* lisp_value_read(const char* text, size_t size) {
  std::optional<Datum> datum = client::readDatum(viewOf(text, size), nullptr);
  return datum ? toHandle(*std::move(datum)) : nullptr;
}

lisp_value* lisp_value_parse(const char* text, size_t size) {
  std::string reason;
  std::optional<Datum> datum = client::readDatum(viewOf(text, size), &reason);
  return datum ? toHandle(*std::move(datum)) : makeError(reason).release();
}

lisp_value* lisp_value_copy(const lisp_value* value) {
  const std::string* const error = errorOf(value);
  return error == nullptr ? toHandle(datumOf(value)) : makeError(*error).release();
}

void lisp_value_free(lisp_value* value) { delete value; }

int lisp_value_kind(const lisp_value* value) { return static_cast<int>(datumOf(value).kind()); }

double lisp_value_as_number(const lisp_value* value) {
  return client::asNumber(datumOf(value)).value_or(0);
}

const char* lisp_value_text(const lisp_value* value, size_t* size_out) {
  // Both kinds of text are views of whole strings, so a zero follows them.
  const auto string = client::asString(datumOf(value));
  return giveText(string ? *string : client::asSymbol(datumOf(value)).value_or(""), size_out);
}

size_t lisp_value_count(const lisp_value* value) {
  const DatumList* const elements = client::asList(datumOf(value));
  return elements == nullptr ? 0 : elements->size();
}

lisp_value* lisp_value_element(const lisp_value* value, size_t index) {
  const DatumList* const elements = client::asList(datumOf(value));
  if (elements == nullptr || index >= elements->size()) return nullptr;
  return toHandle((*elements)[index]);
}

const lisp_value* lisp_value_at(const lisp_value* value, size_t index) {
  const DatumList* const elements = client::asList(datumOf(value));
  if (elements == nullptr || index >= elements->size()) return nullptr;
  std::vector<lisp_value>& views = extrasOf(*value).elements;
  if (views.empty()) {
    views.reserve(elements->size());
    for (const Datum& element : *elements) views.emplace_back(element);
  }
  return &views[index];
}

int lisp_value_is_selection_set(const lisp_value* value) {
  const DatumList* const elements = client::asList(datumOf(value));
  if (elements == nullptr || elements->empty()) return 0;
  return client::asSymbol(elements->front()) == kSelectionSetHead ? 1 : 0;
}

size_t lisp_value_member_count(const lisp_value* value) {
  return lisp_value_is_selection_set(value) == 0 ? 0 : lisp_value_count(value) - 1;
}

const lisp_value* lisp_value_member(const lisp_value* value, size_t index) {
  return index < lisp_value_member_count(value) ? lisp_value_at(value, index + 1) : nullptr;
}

int lisp_value_equals(const lisp_value* value, const lisp_value* other) {
  return datumOf(value) == datumOf(other) ? 1 : 0;
}

const char* lisp_value_error(const lisp_value* value, size_t* size_out) {
  const std::string* const error = errorOf(value);
  if (error != nullptr) return giveText(*error, size_out);
  giveText("", size_out);
  return nullptr;
}

const char* lisp_value_why_unwritable(const lisp_value* value) {
  return client::whyUnwritable(datumOf(value));
}

const char* lisp_value_print(const lisp_value* value, size_t* size_out) {
  if (value == nullptr) return giveText("nil", size_out);
  lisp_value::Extras& extras = extrasOf(*value);
  if (!extras.printed) extras.printed = client::printDatum(*value->datum);
  return giveText(*extras.printed, size_out);
}

lisp_value* lisp_answer_error(const char* message) {
  return lisp_answer_error_of(message, LISP_TO_ZERO);
}

lisp_value* lisp_answer_error_of(const char* message, size_t size) {
  return makeError(viewOf(message, size)).release();
}

// NOLINTEND(readability-identifier-naming)
