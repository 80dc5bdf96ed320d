// The number syntax of tokens: that of C's strtod in the "C" locale, hexadecimal forms included.

#ifndef LISP_NUMBER_H_
#define LISP_NUMBER_H_

#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "lisp/wrapping.h"

namespace lisp {

// The double that the whole of `token` denotes, correctly rounded; nothing when the token is not a
// number from its first byte to its last, or when its value overflows ("1e999"), is infinite or is
// not a number ("inf", "nan"). A value too small for a double is zero or denormal with its sign.
// Linear in the length of the token.
[[nodiscard]] std::optional<double> parseNumber(std::string_view token);

[[nodiscard]] constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }

// So many digits make a whole number that a double holds exactly, and so many zeros a power of ten
// that it does: the quotient of the two is rounded once, as the number's own value would be
// (Clinger, "How to read floating point numbers accurately").
inline constexpr std::size_t kExactDigitsMax = 15;
inline constexpr std::array<double, kExactDigitsMax + 1> kPowersOfTen = {
    1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

// Where the number ends that begins at `at`, which must be before `end`, if it is as short and
// plain as almost all are: digits with at most one point among them and a sign in front, 15 digits
// in all. Null for anything else. The number, correctly rounded, is in `value` then. In line, for
// the reader.
[[nodiscard, gnu::always_inline]] inline const char* readShortDecimal(const char* at,
                                                                      const char* end,
                                                                      double& value) {
  assert(at != end);
  const bool negative = *at == '-';
  if (negative || *at == '+') ++at;
  std::uint64_t digits = 0;
  // More digits than fit wrap around, and are refused below.
  const auto skip_digits = [&]() LISP_WRAPS {
    const char* const first = at;
    for (; at != end && isDigit(*at); ++at) {
      digits = digits * 10 + static_cast<std::uint64_t>(*at - '0');
    }
    return static_cast<std::size_t>(at - first);
  };
  std::size_t count = skip_digits();
  std::size_t places = 0;
  if (at != end && *at == '.') {
    ++at;
    places = skip_digits();
    count += places;
  }
  if (count == 0 || count > kExactDigitsMax) return nullptr;
  value = static_cast<double>(static_cast<std::int64_t>(digits));  // Signed: one instruction.
  if (places != 0) value /= kPowersOfTen[places];
  if (negative) value = -value;
  return at;
}

}  // namespace lisp

#endif  // LISP_NUMBER_H_
