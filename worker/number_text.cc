// Seventeen digits of a double are those of an integer: of number * 10^p, rounded, for the p that
// gives it as many. The power is at hand to 128 bits and the product is exact from there, so the
// integer is right unless the product lies next to the middle between two integers. That is very
// rare, but for the ties of short binary fractions; the standard library writes these.

#include "worker/number_text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <optional>

namespace worker {
namespace {

__extension__ using Wide = unsigned __int128;

constexpr int kSignificantDigits = 17;      // Enough for every double to come back exactly.
constexpr std::size_t kNumberSizeMax = 32;  // Bytes; the longest is "-1.7976931348623157e+308".

// The powers of ten that some double is multiplied by.
constexpr int kPowerMin = kSignificantDigits - 1 - 308;
constexpr int kPowerMax = kSignificantDigits - 1 + 324;

// floor(log2(10^power)) and floor(log10(2^power)), for all exponents that doubles meet.
constexpr int binaryExponent(int power) { return (power * 1741647) >> 19; }
constexpr int decimalExponent(int power) { return (power * 315653) >> 20; }

// A number of 1280 bits; the first limb is the lowest.
using Limbs = std::array<std::uint32_t, 40>;

// The highest 128 bits, from the highest that is set.
constexpr Wide leadingBits(const Limbs& limbs) {
  std::size_t top = limbs.size() - 1;
  while (limbs[top] == 0) --top;
  const auto limb = [&](std::size_t below) -> Wide { return top < below ? 0 : limbs[top - below]; };
  const Wide bits = limb(0) << 96 | limb(1) << 64 | limb(2) << 32 | limb(3);
  const int shift = std::countl_zero(limbs[top]);
  return shift == 0 ? bits : bits << shift | limb(4) >> (32 - shift);
}

// For each power of ten, its leading 128 bits, the rest cut off.
constexpr auto makePowers() {
  std::array<Wide, kPowerMax - kPowerMin + 1> powers{};
  Limbs whole{1};
  for (int power = 0; power <= kPowerMax; ++power) {
    powers[static_cast<std::size_t>(power - kPowerMin)] = leadingBits(whole);
    std::uint64_t carry = 0;
    for (std::uint32_t& limb : whole) {
      carry += std::uint64_t{limb} * 10;
      limb = static_cast<std::uint32_t>(carry);
      carry >>= 32;
    }
  }
  // 2^1279 / 10^n: the last quotient has more than 300 bits, so what the divisions cut off is far
  // below the 128 that are kept.
  Limbs fraction{};
  fraction.back() = std::uint32_t{1} << 31;
  for (int power = -1; power >= kPowerMin; --power) {
    std::uint64_t rest = 0;
    for (std::size_t i = fraction.size(); i-- > 0;) {
      rest = rest << 32 | fraction[i];
      fraction[i] = static_cast<std::uint32_t>(rest / 10);
      rest %= 10;
    }
    powers[static_cast<std::size_t>(power - kPowerMin)] = leadingBits(fraction);
  }
  return powers;
}

constexpr auto kPowers = makePowers();

// mantissa * 2^exponent with the highest bit of the mantissa set.
struct Binary {
  std::uint64_t mantissa;
  int exponent;
};

// The parts of a positive, finite number.
Binary normalized(double number) {
  constexpr int kFractionBits = std::numeric_limits<double>::digits - 1;
  constexpr int kBias = std::numeric_limits<double>::max_exponent - 1 + kFractionBits;
  const auto bits = std::bit_cast<std::uint64_t>(number);
  const std::uint64_t fraction = bits & ((std::uint64_t{1} << kFractionBits) - 1);
  const int biased = static_cast<int>(bits >> kFractionBits);
  const bool is_denormal = biased == 0;
  const std::uint64_t mantissa =
      is_denormal ? fraction : fraction | std::uint64_t{1} << kFractionBits;
  const int shift = std::countl_zero(mantissa);
  return {mantissa << shift, (is_denormal ? 1 : biased) - kBias - shift};
}

// number * 10^power, rounded to an integer; nothing when that cannot be told. The product must be
// below 2^63.
std::optional<std::uint64_t> scaled(const Binary& number, int power) {
  const Wide ten = kPowers[static_cast<std::size_t>(power - kPowerMin)];
  // The product without its lowest 64 bits. Both that and what the power lacks make it too small,
  // together by less than 2.
  const Wide product = (ten >> 64) * number.mantissa +
                       (static_cast<std::uint64_t>(ten) * Wide{number.mantissa} >> 64);
  const int shift = -(number.exponent + binaryExponent(power) - 127) - 64;
  const Wide half = Wide{1} << (shift - 1);
  const Wide fraction = product & (half | (half - 1));
  if (fraction - (half - 1) < 2) return std::nullopt;  // It is half, or half - 1.
  return static_cast<std::uint64_t>(product >> shift) + (fraction > half ? 1 : 0);
}

// The digits, as an integer, and the power of ten of the first of them.
struct Decimal {
  std::uint64_t digits;
  int exponent;
};

std::optional<Decimal> decimalOf(double number) {
  constexpr std::uint64_t kLimit = 100'000'000'000'000'000;
  const Binary binary = normalized(number);
  int exponent = decimalExponent(binary.exponent + 63);  // Or one more.
  std::optional<std::uint64_t> digits = scaled(binary, kSignificantDigits - 1 - exponent);
  if (digits && *digits >= kLimit) {
    ++exponent;
    digits = scaled(binary, kSignificantDigits - 1 - exponent);
  }
  if (!digits) return std::nullopt;
  return Decimal{*digits, exponent};
}

// "00" to "99".
constexpr auto makePairs() {
  std::array<char, 200> pairs{};
  for (std::size_t i = 0; i < pairs.size(); i += 2) {
    pairs[i] = static_cast<char>('0' + i / 20);
    pairs[i + 1] = static_cast<char>('0' + i / 2 % 10);
  }
  return pairs;
}

constexpr auto kPairs = makePairs();

void writeEightDigits(std::uint32_t value, char* out) {
  for (int i = 6; i >= 0; i -= 2) {
    const std::size_t pair = value % 100;
    std::copy_n(&kPairs[2 * pair], 2, out + i);
    value /= 100;
  }
}

// Writes the decimal as "%.17g" does, and returns where it ends.
char* writeDecimal(const Decimal& decimal, char* out) {
  constexpr std::uint32_t kEightDigits = 100'000'000;
  std::array<char, kSignificantDigits> digits;
  const std::uint64_t leading = decimal.digits / kEightDigits;
  digits[0] = static_cast<char>('0' + leading / kEightDigits);
  writeEightDigits(static_cast<std::uint32_t>(leading % kEightDigits), &digits[1]);
  writeEightDigits(static_cast<std::uint32_t>(decimal.digits % kEightDigits), &digits[9]);
  int count = kSignificantDigits;
  while (digits[static_cast<std::size_t>(count) - 1] == '0') --count;

  const int exponent = decimal.exponent;
  const bool is_scientific = exponent < -4 || exponent >= kSignificantDigits;
  // What stands before the point.
  const int whole = is_scientific ? 1 : exponent + 1;
  if (whole <= 0) {
    out = std::fill_n(std::copy_n("0.", 2, out), -whole, '0');
    return std::copy_n(digits.begin(), count, out);
  }
  if (whole >= count) {
    out = std::fill_n(std::copy_n(digits.begin(), count, out), whole - count, '0');
  } else {
    out = std::copy_n(digits.begin(), whole, out);
    *out++ = '.';
    out = std::copy_n(digits.begin() + whole, count - whole, out);
  }
  if (!is_scientific) return out;
  *out++ = 'e';
  *out++ = exponent < 0 ? '-' : '+';
  const int size = std::abs(exponent);
  if (size < 10) *out++ = '0';
  return std::to_chars(out, out + 3, size).ptr;
}

// Whole numbers of up to 15 digits, which need neither point nor exponent; not negative zero.
bool isSmallWhole(double number) {
  constexpr double kSmallMax = 1e15;
  return std::fabs(number) < kSmallMax && std::trunc(number) == number &&
         !(number == 0.0 && std::signbit(number));
}

}  // namespace

void appendNumber(double number, std::string& text) {
  if (std::isnan(number)) {
    text.append(std::signbit(number) ? "-nan" : "nan");
    return;
  }
  std::array<char, kNumberSizeMax> buffer;
  char* const begin = buffer.data();
  char* const limit = begin + buffer.size();
  char* end = begin;
  std::optional<Decimal> decimal;
  if (isSmallWhole(number)) {
    end = std::to_chars(begin, limit, static_cast<std::int64_t>(number)).ptr;
  } else if (std::isfinite(number) && number != 0.0 && (decimal = decimalOf(std::fabs(number)))) {
    if (number < 0.0) *end++ = '-';
    end = writeDecimal(*decimal, end);
  } else {
    end = std::to_chars(begin, limit, number, std::chars_format::general, kSignificantDigits).ptr;
  }
  text.append(begin, end);
}

}  // namespace worker
