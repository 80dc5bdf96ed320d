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

// Where the number ends that begins at `at`, which must be before `end`, if it is as short and
// plain as almost all are: digits with at most one point among them and a sign in front, 15 digits
// in all. Null for anything else. The number, correctly rounded, is in `value` then.
[[nodiscard]] const char* readShortDecimal(const char* at, const char* end, double& value);

}  // namespace lisp

#endif  // LISP_NUMBER_H_
