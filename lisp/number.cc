// The numbers that readShortDecimal (lisp/number.h) leaves. Decimal ones are read by the standard
// library, hexadecimal ones here: 64 bits of the mantissa, a note that a lower bit was set, and
// one rounding at the end.

#include "lisp/number.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <system_error>

namespace lisp {
namespace {

constexpr std::int64_t kExponentMax = std::int64_t{1} << 40;  // Beyond any token's length.

int hexDigit(char c) {
  if (isDigit(c)) return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Reads an exponent (digits with an optional sign) from the whole of `text`, saturating.
std::optional<std::int64_t> parseExponent(std::string_view text) {
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  if (text.empty() || !std::all_of(text.begin(), text.end(), isDigit)) return std::nullopt;
  std::int64_t exponent = 0;
  for (const char c : text) exponent = std::min(exponent * 10 + (c - '0'), kExponentMax);
  return negative ? -exponent : exponent;
}

// True when a decimal token, well formed and out of the range of doubles, is too large rather than
// too small: when its first digit that is not zero stands for a positive power of ten.
bool isTooLarge(std::string_view digits) {
  const std::size_t exponent_position = std::min(digits.find_first_of("eE"), digits.size());
  const std::string_view mantissa = digits.substr(0, exponent_position);
  std::int64_t exponent = 0;
  if (exponent_position < digits.size()) {
    exponent = parseExponent(digits.substr(exponent_position + 1)).value_or(0);
  }
  const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
  const std::size_t first = std::min(mantissa.find_first_not_of("0."), mantissa.size());
  const auto places = static_cast<std::int64_t>(point) - static_cast<std::int64_t>(first);
  return exponent + places > 0;
}

std::optional<double> parseDecimal(std::string_view digits) {
  double value = 0.0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, value);
  if (stop != end) return std::nullopt;  // Also where no number begins.
  if (error == std::errc::result_out_of_range) {
    if (isTooLarge(digits)) return std::nullopt;
    return 0.0;
  }
  return value;
}

// The double nearest to mantissa * 2^exponent, ties to even; `sticky` says that bits below the
// mantissa's lowest were dropped. The mantissa is 0 or has its highest bit set.
std::optional<double> roundBinary(std::uint64_t mantissa, std::int64_t exponent, bool sticky) {
  constexpr std::int64_t kMantissaBits = 64;
  constexpr std::int64_t kExponentOfSmallest = -1074;  // 2^-1074 is the smallest denormal.
  if (mantissa == 0) return 0.0;
  if (exponent > std::numeric_limits<double>::max_exponent) return std::nullopt;
  // The unit in the last place of the result, at which everything below is rounded.
  const std::int64_t unit =
      std::max(exponent + kMantissaBits - std::numeric_limits<double>::digits, kExponentOfSmallest);
  const std::int64_t dropped = unit - exponent;  // Bits to drop; at least 11.
  if (dropped > kMantissaBits) return 0.0;
  std::uint64_t kept = dropped == kMantissaBits ? 0 : mantissa >> dropped;
  const std::uint64_t half = std::uint64_t{1} << (dropped - 1);
  const std::uint64_t rest = mantissa & (half | (half - 1));
  if (rest > half || (rest == half && (sticky || (kept & 1) != 0))) ++kept;
  const double value = std::ldexp(static_cast<double>(kept), static_cast<int>(unit));
  if (!std::isfinite(value)) return std::nullopt;
  return value;
}

// Reads what follows "0x": hexadecimal digits with an optional point, then optionally "p" and a
// binary exponent.
std::optional<double> parseHexadecimal(std::string_view text) {
  std::uint64_t mantissa = 0;
  std::int64_t exponent = 0;  // Of the mantissa's lowest bit.
  bool sticky = false;
  bool after_point = false;
  bool any_digit = false;
  std::size_t position = 0;
  for (; position < text.size(); ++position) {
    const char c = text[position];
    if (c == '.' && !after_point) {
      after_point = true;
      continue;
    }
    const int digit = hexDigit(c);
    if (digit < 0) break;
    any_digit = true;
    if (mantissa >> 60 == 0) {
      mantissa = mantissa << 4 | static_cast<std::uint64_t>(digit);
      if (after_point) exponent -= 4;
    } else {
      sticky = sticky || digit != 0;
      if (!after_point) exponent += 4;
    }
  }
  if (!any_digit) return std::nullopt;
  if (position < text.size()) {
    if (text[position] != 'p' && text[position] != 'P') return std::nullopt;
    const std::optional<std::int64_t> written = parseExponent(text.substr(position + 1));
    if (!written) return std::nullopt;
    exponent += *written;
  }
  const int shift = mantissa == 0 ? 0 : std::countl_zero(mantissa);
  return roundBinary(mantissa << shift, exponent - shift, sticky);
}

}  // namespace

std::optional<double> parseNumber(std::string_view token) {
  const bool negative = token.starts_with('-');
  if (negative || token.starts_with('+')) token.remove_prefix(1);
  if (token.empty() || !(isDigit(token[0]) || token[0] == '.')) return std::nullopt;
  const bool hexadecimal = token.starts_with("0x") || token.starts_with("0X");
  const std::optional<double> value =
      hexadecimal ? parseHexadecimal(token.substr(2)) : parseDecimal(token);
  if (!value) return std::nullopt;
  return negative ? -*value : *value;
}

}  // namespace lisp
