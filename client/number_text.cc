// Numbers as the language reads them, without the C library's functions, which depend on the locale
// that the host has set.

#include "lisp_worker/client/number_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <system_error>

namespace lisp_worker::client {
namespace {

constexpr int kDigitsMin = 15;  // Any decimal number of 15 digits survives the way to a double...
constexpr int kDigitsMax = 17;  // ...and any double the way to 17 digits, and back.

bool isHexadecimal(std::string_view magnitude) {
  return magnitude.size() > 2 && magnitude[0] == '0' &&
         (magnitude[1] == 'x' || magnitude[1] == 'X');
}

// An exponent beyond this outweighs any count of digits that fits in memory.
constexpr std::int64_t kExponentMax = std::int64_t{1} << 60;

std::int64_t readExponent(std::string_view text) {
  if (text.starts_with('+')) text.remove_prefix(1);
  std::int64_t exponent = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), exponent);
  const bool too_long = error == std::errc::result_out_of_range;
  if (too_long) exponent = text.starts_with('-') ? -kExponentMax : kExponentMax;
  return std::clamp(exponent, -kExponentMax, kExponentMax);
}

// Of a magnitude outside the range of doubles: whether it lies above the range, not below it. The
// place of its first digit and the exponent tell, since nothing outside the range is near 1.
bool isAboveRange(std::string_view magnitude, std::string_view exponent_letters,
                  std::int64_t exponents_per_digit) {
  const std::size_t mantissa_size =
      std::min(magnitude.find_first_of(exponent_letters), magnitude.size());
  const std::string_view mantissa = magnitude.substr(0, mantissa_size);
  const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
  const std::size_t first_digit = mantissa.find_first_not_of("0.");
  const std::int64_t place =
      static_cast<std::int64_t>(point) - static_cast<std::int64_t>(first_digit);
  const std::int64_t exponent =
      mantissa_size < magnitude.size() ? readExponent(magnitude.substr(mantissa_size + 1)) : 0;
  return place * exponents_per_digit + exponent > 0;
}

std::optional<double> readMagnitude(std::string_view magnitude) {
  const bool hexadecimal = isHexadecimal(magnitude);
  if (hexadecimal) magnitude.remove_prefix(2);
  // Neither a second sign nor the words for infinity and NaN may follow.
  if (magnitude.find_first_of(hexadecimal ? "0123456789abcdefABCDEF." : "0123456789.") != 0) {
    return std::nullopt;
  }
  const char* const last = magnitude.data() + magnitude.size();
  double value = 0;
  const auto [end, error] =
      std::from_chars(magnitude.data(), last, value,
                      hexadecimal ? std::chars_format::hex : std::chars_format::general);
  if (error == std::errc::invalid_argument || end != last) return std::nullopt;
  if (error == std::errc::result_out_of_range) {
    const bool above =
        hexadecimal ? isAboveRange(magnitude, "pP", 4) : isAboveRange(magnitude, "eE", 1);
    if (above) return std::nullopt;
    return 0.0;
  }
  if (!std::isfinite(value)) return std::nullopt;
  return value;
}

}  // namespace

std::optional<double> readNumber(std::string_view token) {
  const bool negative = token.starts_with('-');
  if (negative || token.starts_with('+')) token.remove_prefix(1);
  const std::optional<double> magnitude = readMagnitude(token);
  if (!magnitude) return std::nullopt;
  return negative ? -*magnitude : *magnitude;
}

std::string printNumber(double value) {
  if (std::isnan(value)) return std::signbit(value) ? "-nan" : "nan";
  if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
  std::array<char, 32> buffer{};
  // A whole number of up to 15 digits is written as one, -0 excepted.
  constexpr double kWholeEnd = 1e15;
  if (std::fabs(value) < kWholeEnd && value == std::trunc(value) &&
      (value != 0 || !std::signbit(value))) {
    const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(),
                                            static_cast<std::int64_t>(value));
    return std::string(buffer.data(), end);
  }
  std::string_view text;
  for (int digits = kDigitsMin; digits <= kDigitsMax; ++digits) {
    const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                            std::chars_format::general, digits);
    text = std::string_view(buffer.data(), end);
    double read_back = 0;
    std::from_chars(buffer.data(), end, read_back);
    if (read_back == value) break;
  }
  return std::string(text);
}

}  // namespace lisp_worker::client
