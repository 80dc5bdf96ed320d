// The number syntax of tokens: that of C's strtod in the "C" locale, hexadecimal forms included.

#ifndef LISP_NUMBER_H_
#define LISP_NUMBER_H_

#include <optional>
#include <string_view>

namespace lisp {

// The double that the whole of `token` denotes, correctly rounded; nothing when the token is not a
// number from its first byte to its last, or when its value overflows ("1e999"), is infinite or is
// not a number ("inf", "nan"). A value too small for a double is zero or denormal with its sign.
// Linear in the length of the token.
[[nodiscard]] std::optional<double> parseNumber(std::string_view token);

}  // namespace lisp

#endif  // LISP_NUMBER_H_
