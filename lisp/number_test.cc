#include "lisp/number.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>

namespace lisp {
namespace {

constexpr double kMax = std::numeric_limits<double>::max();
constexpr double kMin = std::numeric_limits<double>::min();
constexpr double kDenormal = std::numeric_limits<double>::denorm_min();

void expectNumber(const std::string& token, double expected) {
  const std::optional<double> actual = parseNumber(token);
  const std::string shown = token.substr(0, 60);
  ASSERT_TRUE(actual.has_value()) << shown;
  EXPECT_EQ(std::bit_cast<std::uint64_t>(*actual), std::bit_cast<std::uint64_t>(expected))
      << shown << " gives " << *actual << ", not " << expected;
}

TEST(ParseNumber, ReadsDecimals) {
  struct Row {
    const char* token;
    double expected;
  };
  for (const Row& row : {
           Row{"0", 0.0},
           Row{"-0", -0.0},
           Row{"+0", 0.0},
           Row{"-0.0", -0.0},
           Row{"7", 7.0},
           Row{"+5", 5.0},
           Row{"-5", -5.0},
           Row{"007", 7.0},
           Row{"3.14", 3.14},
           Row{".5", 0.5},
           Row{"-.5", -0.5},
           Row{"+.5", 0.5},
           Row{"1.", 1.0},
           Row{"-5.", -5.0},
           Row{"1e3", 1000.0},
           Row{"1E3", 1000.0},
           Row{"1e+3", 1000.0},
           Row{"1e-3", 0.001},
           Row{"+1e-3", 0.001},
           Row{"1.e2", 100.0},
           Row{".5e1", 5.0},
           Row{"1e0003", 1000.0},
           Row{"0.1", 0.1},
           Row{"123456789012345678", 123456789012345678.0},
           Row{"9007199254740993", 9007199254740992.0},
           Row{"9007199254740993.0000000000000000000000000001", 9007199254740994.0},
           Row{"0e999999999999999999999", 0.0},
           Row{"-0e-999999999999999999999", -0.0},
       }) {
    expectNumber(row.token, row.expected);
  }
}

TEST(ParseNumber, ReadsHexadecimals) {
  struct Row {
    const char* token;
    double expected;
  };
  for (const Row& row : {
           Row{"0x0", 0.0},
           Row{"-0x0", -0.0},
           Row{"0x10", 16.0},
           Row{"0X1F", 31.0},
           Row{"-0xff", -255.0},
           Row{"+0xAbC", 2748.0},
           Row{"0x1.8", 1.5},
           Row{"0x.8", 0.5},
           Row{"0x8.", 8.0},
           Row{"0x1p3", 8.0},
           Row{"0x1P+3", 8.0},
           Row{"0x1p-3", 0.125},
           Row{"0x1.8p1", 3.0},
           Row{"0x0p99999999999999999999", 0.0},
           Row{"0x1p-99999999999999999999", 0.0},
           Row{"-0x1p-2000", -0.0},
           Row{"0x1p1023", 0x1p1023},
           Row{"0x1.fffffffffffffp1023", kMax},
           Row{"0x1.fffffffffffff7ffp1023", kMax},
           Row{"0x1p-1022", kMin},
           Row{"0x1p-1074", kDenormal},
           Row{"0x1p-1075", 0.0},  // Half of the smallest: to even.
           Row{"0x1.0000000001p-1075", kDenormal},
           Row{"0x0.ffffffffffffep-1022", 0x0.ffffffffffffep-1022},
           Row{"0x85Bf5d.be9a5e68p-1046", 0x0.85bf5dbe9a5e6p-1022},  // To even.
           Row{"0x85Bf5d.be9a5e6cp-1046", 0x0.85bf5dbe9a5e7p-1022},  // Three quarters.
           Row{"0x3p-1075", 2 * kDenormal},                          // One and a half: to even.
           Row{"0x1.00000000000008p0", 1.0},                         // Halfway: to even.
           Row{"0x1.00000000000018p0", 0x1.0000000000002p0},
           Row{"0x1.000000000000080000000000000000000001p0", 0x1.0000000000001p0},
           Row{"0x10000000000000000000000000000000p-124", 1.0},
           Row{"0x0.0000000000000000000000000000001p124", 1.0},
       }) {
    expectNumber(row.token, row.expected);
  }
}

TEST(ParseNumber, RoundsAtTheEndsOfTheRange) {
  expectNumber("1.7976931348623157e308", kMax);
  expectNumber("-1.7976931348623157e308", -kMax);
  expectNumber("1.7976931348623158e308", kMax);
  EXPECT_EQ(parseNumber("1.7976931348623159e308"), std::nullopt);
  EXPECT_EQ(parseNumber("-1.7976931348623159e308"), std::nullopt);
  expectNumber("2.2250738585072014e-308", kMin);
  expectNumber("2.2250738585072011e-308", 0x0.fffffffffffffp-1022);
  expectNumber("4.9406564584124654e-324", kDenormal);
  expectNumber("2.5e-324", kDenormal);
  expectNumber("2.4e-324", 0.0);
  expectNumber("-2.4e-324", -0.0);
}

TEST(ParseNumber, KeepsUnderflowWithItsSignAndRefusesOverflow) {
  for (const char* const token : {"1e-999", "0.0001e-400", "1e-99999999999999999999",
                                  "0.00000000000000000000001e-310", "123456e-400"}) {
    expectNumber(token, 0.0);
    expectNumber("-" + std::string(token), -0.0);
  }
  for (const char* const token :
       {"1e999", "-1e999", "1e309", "0.0001e400", "1e99999999999999999999", "123456e304",
        "100000000000000000000e300", "0x1p1024", "-0x1p1024", "0x1.fffffffffffff8p1023",
        "0x1p99999999999999999999"}) {
    EXPECT_EQ(parseNumber(token), std::nullopt) << token;
  }
}

TEST(ParseNumber, RefusesWhatIsNotANumberToItsEnd) {
  for (const char* const token :
       {"",         "+",      "-",    ".",     "+.",     "-.",    "..",   "1+",    "1-",   "--1",
        "+-1",      "-+1",    "++1",  "1.2.3", "1e",     "1e+",   "1e-",  "e5",    ".e5",  "1e5.",
        "1e5e5",    "1 ",     " 1",   "1\n",   "1,5",    "1_000", "1d5",  "1f",    "1L",   "0b1",
        "0o7",      "1x",     "0x",   "0X",    "0xg",    "0x.",   "0xp1", "0x.p1", "0x1p", "0x1p+",
        "0x1p1.",   "0x1.8.", "0x1g", "x10",   "1e0x3",  "0x-1",  "- 1",  "inf",   "INF",  "-inf",
        "infinity", "nan",    "NAN",  "-nan",  "nan(7)", "1e999", "/=",   "<=",    "A",    "1A"}) {
    EXPECT_EQ(parseNumber(token), std::nullopt) << '"' << token << '"';
  }
  EXPECT_EQ(parseNumber(std::string("1\0", 2)), std::nullopt);
  EXPECT_EQ(parseNumber(std::string("1\0002", 3)), std::nullopt);
  EXPECT_EQ(parseNumber(std::string("\0001", 2)), std::nullopt);
  EXPECT_EQ(parseNumber("1\x1A"), std::nullopt);
}

TEST(ParseNumber, ReadsAMillionDigits) {
  const std::string zeros(1'000'000, '0');
  const std::string nines(1'000'000, '9');
  expectNumber("0." + nines, 1.0);
  expectNumber(zeros + "12", 12.0);
  expectNumber("1." + zeros + "1", 1.0);
  expectNumber("9007199254740993." + zeros + "1", 9007199254740994.0);
  expectNumber("1" + zeros + "e-1000000", 1.0);
  expectNumber("0." + zeros + "1e1000001", 1.0);
  expectNumber("0x1" + zeros + "p-4000000", 1.0);
  expectNumber("0x0." + zeros + "1p4000004", 1.0);
  expectNumber("0x" + zeros + "1", 1.0);
  expectNumber("1e-" + nines, 0.0);
  expectNumber("1e" + zeros + "1", 10.0);
  EXPECT_EQ(parseNumber(nines), std::nullopt);
  EXPECT_EQ(parseNumber("0x" + nines), std::nullopt);
  EXPECT_EQ(parseNumber("1e" + nines), std::nullopt);
  EXPECT_EQ(parseNumber(nines + "x"), std::nullopt);
}

// The bytes that the number at the beginning of `text` takes, 0 for none, and its value.
std::pair<std::size_t, double> shortDecimal(const std::string& text) {
  double value = -1.0;
  const char* const end = readShortDecimal(text.data(), text.data() + text.size(), value);
  return {end == nullptr ? 0 : static_cast<std::size_t>(end - text.data()), value};
}

TEST(ReadShortDecimal, TakesUpTo15Digits) {
  using Taken = std::pair<std::size_t, double>;
  EXPECT_EQ(shortDecimal("12345678901234"), Taken(14, 12345678901234));
  EXPECT_EQ(shortDecimal("123456789012345"), Taken(15, 123456789012345));
  EXPECT_EQ(shortDecimal("1234567890123456").first, 0U);
  EXPECT_EQ(shortDecimal("-.123456789012345"), Taken(17, -0.123456789012345));
  EXPECT_EQ(shortDecimal("0.123456789012345").first, 0U);
}

TEST(ReadShortDecimal, EndsBeforeWhatIsNoDigit) {
  using Taken = std::pair<std::size_t, double>;
  EXPECT_EQ(shortDecimal("12.5)"), Taken(4, 12.5));
  EXPECT_EQ(shortDecimal("1.5.2"), Taken(3, 1.5));
  EXPECT_EQ(shortDecimal("1e5"), Taken(1, 1));
  EXPECT_EQ(shortDecimal("7."), Taken(2, 7));
  EXPECT_EQ(shortDecimal("+.5"), Taken(3, 0.5));
  EXPECT_TRUE(std::signbit(shortDecimal("-0").second));
  for (const char* const none : {"+", "-", ".", "-.", "x", "-x", "..1"}) {
    EXPECT_EQ(shortDecimal(none).first, 0U) << none;
  }
}

}  // namespace
}  // namespace lisp
