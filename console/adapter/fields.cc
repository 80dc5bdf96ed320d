#include "console/adapter/fields.h"

#include <algorithm>
#include <limits>

namespace lisp_worker::console {
namespace {

constexpr std::int64_t kNumberMax = std::numeric_limits<std::int32_t>::max();

const Json& nothing() {
  static const Json kNothing;
  return kNothing;
}

bool areAll(const Json& list, bool (*is_right)(const Json&)) {
  return list.is_array() && std::all_of(list.begin(), list.end(), is_right);
}

}  // namespace

const Json* Fields::find(const char* key) const {
  if (!object_.is_object()) return nullptr;
  const auto found = object_.find(key);
  return found == object_.end() || found->is_null() ? nullptr : &*found;
}

void Fields::blame(const char* key, const char* wanted) {
  if (error_.empty()) error_ = inQuotes(key) + " must be " + wanted;
}

std::string Fields::text(const char* key, const std::string& otherwise) {
  const Json* const found = find(key);
  if (found == nullptr) return otherwise;
  if (found->is_string()) return found->get<std::string>();
  blame(key, "a text");
  return otherwise;
}

std::string Fields::neededText(const char* key) {
  std::string found = text(key);
  if (found.empty()) blame(key, "a text, and not empty");
  return found;
}

std::int64_t Fields::number(const char* key, std::int64_t otherwise) {
  const Json* const found = find(key);
  if (found == nullptr) return otherwise;
  if (found->is_number_unsigned() && found->get<std::uint64_t>() <= kNumberMax) {
    return found->get<std::int64_t>();
  }
  blame(key, "a whole number from 0 to 2147483647");
  return otherwise;
}

std::int64_t Fields::neededNumber(const char* key) {
  if (!has(key)) blame(key, "a whole number from 0 to 2147483647");
  return number(key, 0);
}

bool Fields::flag(const char* key, bool otherwise) {
  const Json* const found = find(key);
  if (found == nullptr) return otherwise;
  if (found->is_boolean()) return found->get<bool>();
  blame(key, "true or false");
  return otherwise;
}

const Json& Fields::objects(const char* key) {
  const Json* const found = find(key);
  if (found == nullptr) return nothing();
  if (areAll(*found, [](const Json& each) { return each.is_object(); })) return *found;
  blame(key, "a list of objects");
  return nothing();
}

const Json& Fields::texts(const char* key) {
  const Json* const found = find(key);
  if (found == nullptr) return nothing();
  if (areAll(*found, [](const Json& each) { return each.is_string(); })) return *found;
  blame(key, "a list of texts");
  return nothing();
}

const Json& Fields::object(const char* key) {
  const Json* const found = find(key);
  if (found == nullptr) return nothing();
  if (found->is_object()) return *found;
  blame(key, "an object");
  return nothing();
}

}  // namespace lisp_worker::console
