// Pieces of JSON that drawings and their entities share.

#ifndef CONSOLE_JSON_PARTS_H_
#define CONSOLE_JSON_PARTS_H_

#include <cstddef>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace lisp_worker::console {

using Json = nlohmann::ordered_json;

[[nodiscard]] std::string inQuotes(std::string_view text);

// The text of a value, in one line.
[[nodiscard]] std::string dumped(const Json& json);

// The mistake of an object that has a key besides these; otherwise empty.
[[nodiscard]] std::string whyUnknownKey(const Json& object,
                                        std::initializer_list<std::string_view> known);

// Between `size_min` and `size_max` numbers; empty for anything else.
[[nodiscard]] std::vector<double> readNumbers(const Json& json, std::size_t size_min,
                                              std::size_t size_max);

// Whole numbers without a point, as a person would write them.
[[nodiscard]] Json numberJson(double number);

}  // namespace lisp_worker::console

#endif  // CONSOLE_JSON_PARTS_H_
