// Numbers and keys of JSON objects.

#include "console/json_parts.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace lisp_worker::console {

std::string inQuotes(std::string_view text) { return '"' + std::string(text) + '"'; }

std::string dumped(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string whyUnknownKey(const Json& object, std::initializer_list<std::string_view> known) {
  for (const auto& [key, value] : object.items()) {
    if (std::find(known.begin(), known.end(), key) != known.end()) continue;
    std::string message = "unknown key " + inQuotes(key) + "; known are";
    for (const std::string_view name : known) message += " " + std::string(name);
    return message;
  }
  return "";
}

std::vector<double> readNumbers(const Json& json, std::size_t size_min, std::size_t size_max) {
  std::vector<double> numbers;
  if (!json.is_array() || json.size() < size_min || json.size() > size_max) return numbers;
  for (const Json& part : json) {
    if (!part.is_number()) return {};
    numbers.push_back(part.get<double>());
  }
  return numbers;
}

Json numberJson(double number) {
  constexpr double kWholeMax = 1e15;
  const bool is_negative_zero = number == 0 && std::signbit(number);
  if (std::fabs(number) <= kWholeMax && number == std::floor(number) && !is_negative_zero) {
    return static_cast<std::int64_t>(number);
  }
  return number;
}

}  // namespace lisp_worker::console
