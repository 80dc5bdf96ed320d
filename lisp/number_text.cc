// Seventeen digits of a double are those of an integer: of number * 10^p, rounded, for the p that
// gives it as many. The power is at hand to 128 bits and the product is exact from there, so the
// integer is right unless the product lies next to the middle between two integers. That is very
// rare, except for the ties of short binary fractions; the standard library writes these.

#include "lisp/number_text.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <string_view>

#include "lisp/wrapping.h"

namespace lisp {
namespace {

__extension__ using Wide = unsigned __int128;

constexpr int kSignificantDigits = 17;  // Enough for every double to come back exactly.

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
    for (std::size_t i = fraction.size(); i > 0;) {
      --i;
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
LISP_WRAPS std::optional<std::uint64_t> scaled(const Binary& number, int power) {
  const Wide ten = kPowers[static_cast<std::size_t>(power - kPowerMin)];
  // The product without its lowest 64 bits. Both that and what the power lacks make it too small,
  // together by less than 2.
  const Wide product = (ten >> 64) * number.mantissa +
                       (static_cast<std::uint64_t>(ten) * Wide{number.mantissa} >> 64);
  const auto high = static_cast<std::uint64_t>(product >> 64);
  const auto low = static_cast<std::uint64_t>(product);
  // The places behind the point in `high`; all of `low` follows them.
  const int shift = -(number.exponent + binaryExponent(power) + 1);
  const std::uint64_t half = std::uint64_t{1} << (shift - 1);
  const std::uint64_t fraction = high & (half | (half - 1));
  const Wide from_middle = (Wide{fraction} << 64 | low) - (Wide{half} << 64);
  if (from_middle + 1 < 2) return std::nullopt;  // It is in the middle, or next below.
  return (high >> shift) + (fraction >= half ? 1 : 0);
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

// The lowest byte first; in one access where the machine has them in that order.
inline void putWord(char* out, std::uint64_t word) {
  if constexpr (std::endian::native == std::endian::little) {
    std::memcpy(out, &word, sizeof(word));
  } else {
    for (int i = 0; i < 8; ++i) out[i] = static_cast<char>(word >> (8 * i));
  }
}

// The eight decimal digits of a number below 10^8, the first in the lowest byte: halves in halves
// of the word, then pairs, then single digits, all those of one size at once.
inline std::uint64_t eightDigits(std::uint32_t value) {
  const std::uint64_t halves = value / 10000 | std::uint64_t{value % 10000} << 32;
  // Quotients by multiplication with a reciprocal: exact for halves below 10^4, pairs below 100.
  const std::uint64_t hundreds = (halves * 10486 >> 20) & 0x7F'0000'007F;
  const std::uint64_t pairs = hundreds | (halves - 100 * hundreds) << 16;
  const std::uint64_t tens = (pairs * 103 >> 10) & 0x000F'000F'000F'000F;
  return tens | (pairs - 10 * tens) << 8;
}

// The digits of a decimal as text, ready to be written in two pieces.
struct DigitText {
  char first;
  Wide others;  // Sixteen, the first of them in the lowest byte.
  int count;    // Without the zeros at the end, except for the first digit.
};

DigitText textOf(std::uint64_t digits) {
  constexpr std::uint32_t kEightDigits = 100'000'000;
  constexpr std::uint64_t kZeros = 0x3030'3030'3030'3030;
  const std::uint64_t leading = digits / kEightDigits;
  const std::uint64_t middle = eightDigits(static_cast<std::uint32_t>(leading % kEightDigits));
  const std::uint64_t last = eightDigits(static_cast<std::uint32_t>(digits % kEightDigits));
  const int zeros = last != 0 ? std::countl_zero(last) / 8 : 8 + std::countl_zero(middle) / 8;
  return {static_cast<char>('0' + leading / kEightDigits),
          Wide{last | kZeros} << 64 | (middle | kZeros), kSignificantDigits - zeros};
}

void putDigits(Wide digits, char* out) {
  putWord(out, static_cast<std::uint64_t>(digits));
  putWord(out + 8, static_cast<std::uint64_t>(digits >> 64));
}

// Writes the decimal as "%.17g" does, and returns where it ends. The digits are written all, from
// the first place where they may stand; what follows is written over those that do not belong
// there.
char* writeDecimal(const Decimal& decimal, char* out) {
  const DigitText text = textOf(decimal.digits);
  const int exponent = decimal.exponent;
  const bool is_scientific = exponent < -4 || exponent >= kSignificantDigits;
  // The digits before the point.
  const int whole = is_scientific ? 1 : exponent + 1;
  if (whole <= 0) {
    putWord(out, 0x3030'3030'3030'2E30);  // "0.000000"
    out += 2 - whole;
    *out = text.first;
    putDigits(text.others, out + 1);
    return out + text.count;
  }
  *out = text.first;
  putDigits(text.others, out + 1);
  if (whole < text.count) {
    out[whole] = '.';
    putDigits(text.others >> (8 * (whole - 1)), out + whole + 1);
    out += text.count + 1;
  } else {
    out += whole;
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

char* writeNumber(double number, char* out) {
  if (std::isnan(number)) {
    const std::string_view text = std::signbit(number) ? "-nan" : "nan";
    return out + text.copy(out, text.size());
  }
  if (isSmallWhole(number)) {
    return std::to_chars(out, out + kNumberRoom, static_cast<std::int64_t>(number)).ptr;
  }
  if (std::isfinite(number) && number != 0.0) {
    if (const std::optional<Decimal> decimal = decimalOf(std::fabs(number))) {
      *out = '-';
      return writeDecimal(*decimal, out + (number < 0.0 ? 1 : 0));
    }
  }
  return std::to_chars(out, out + kNumberRoom, number, std::chars_format::general,
                       kSignificantDigits)
      .ptr;
}

}  // namespace lisp
