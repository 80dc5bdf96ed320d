// Values as text that the worker's reader makes the same value of.

#ifndef EXPLAIN_VALUE_TEXT_H_
#define EXPLAIN_VALUE_TEXT_H_

#include <cstddef>
#include <optional>
#include <string>

#include "lisp/value.h"

namespace explain {

// At most about `size_max` bytes for a person, with "..." for what is left out.
[[nodiscard]] std::string shorten(const lisp::LispValue& value, std::size_t size_max);

// All of it. Empty when no text stands for the value: an infinity, a NaN, a symbol that would be
// read as something else, lists deeper than the reader allows, or more than `size_max` bytes.
[[nodiscard]] std::optional<std::string> write(const lisp::LispValue& value, std::size_t size_max);

// "1 argument", "2 arguments"; "1 entity", "2 entities"
[[nodiscard]] std::string counted(std::size_t count, const char* thing);
[[nodiscard]] std::string counted(std::size_t count, const char* thing, const char* things);

// "a number", "a text", ...
[[nodiscard]] std::string kindOf(const lisp::LispValue& value);

}  // namespace explain

#endif  // EXPLAIN_VALUE_TEXT_H_
