#include "lisp_worker/client/number_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

namespace lisp_worker::client {
namespace {

// The tests themselves run under the "C" locale, as the worker does.
std::optional<double> readByStrtod(const std::string& token) {
  if (token.empty() || token.front() == ' ') return std::nullopt;
  char* end = nullptr;
  const double value = std::strtod(token.c_str(), &end);
  if (end != token.c_str() + token.size() || !std::isfinite(value)) return std::nullopt;
  return value;
}

std::uint64_t bitsOf(double value) { return std::bit_cast<std::uint64_t>(value); }

TEST(ReadNumber, TakesWhatStrtodTakes) {
  const std::string zeros(400, '0');
  const std::string tokens[] = {"0",
                                "-0",
                                "+0",
                                "1",
                                "+5",
                                "-0.5",
                                ".5",
                                "5.",
                                "-.5",
                                "+.5e1",
                                "1e3",
                                "1E3",
                                "1e+3",
                                "1e-3",
                                "0.1",
                                "123456789012345678901234567890",
                                "4.9e-324",
                                "2.4e-324",
                                "2.5e-324",
                                "1e-400",
                                "-1e-400",
                                "1e-99999999999999999999",
                                "0e99999999999999999999",
                                "1.7976931348623157e308",
                                "1.7976931348623159e308",
                                "1e308",
                                "1e309",
                                "-1e309",
                                "1e99999999999999999999",
                                "0." + zeros + "1e402",
                                "0." + zeros + "1",
                                "1" + zeros,
                                "1" + zeros + "e-400",
                                "0x10",
                                "0X1F",
                                "-0x1p-3",
                                "0x.8",
                                "0x1.8p3",
                                "0x1p1024",
                                "0x1p-1100",
                                "-0x1p-1100",
                                "0x1p1023",
                                "0x",
                                "0xg",
                                "0x.",
                                "0x.p1",
                                "0x1p",
                                "x10",
                                "e3",
                                ".",
                                "-",
                                "+",
                                "",
                                "..5",
                                "1e",
                                "1e+",
                                "1d5",
                                "0b1",
                                "1+",
                                "1-",
                                "+-5",
                                "--5",
                                "-+5",
                                "1 ",
                                "1x",
                                "inf",
                                "INF",
                                "-inf",
                                "nan",
                                "NAN",
                                "nan(7)",
                                "infinity",
                                "1e999",
                                "1,5",
                                "0x1e+3",
                                "1_000",
                                "00012",
                                "1.5.2"};
  for (const std::string& token : tokens) {
    SCOPED_TRACE("token: " + token.substr(0, 60));
    const std::optional<double> expected = readByStrtod(token);
    const std::optional<double> read = readNumber(token);
    ASSERT_EQ(read.has_value(), expected.has_value());
    if (expected) {
      EXPECT_EQ(bitsOf(*read), bitsOf(*expected));
    }
  }
}

TEST(ReadNumber, TakesTheWholeTokenEvenPastAZeroByte) {
  EXPECT_EQ(readNumber(std::string_view("1\0", 2)), std::nullopt);
  EXPECT_EQ(readNumber(" 1"), std::nullopt);
}

TEST(PrintNumber, WritesTheFewestDigitsThatReadBack) {
  struct Row {
    double value;
    const char* text;
  };
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const Row rows[] = {{0, "0"},
                      {-0.0, "-0"},
                      {3, "3"},
                      {-2.5, "-2.5"},
                      {0.1, "0.1"},
                      {1.0 / 3, "0.3333333333333333"},
                      {0.1 + 0.2, "0.30000000000000004"},
                      {100000, "100000"},
                      {123456789012345, "123456789012345"},
                      {1e20, "1e+20"},
                      {1e-7, "1e-07"},
                      {5e-324, "4.94065645841247e-324"},
                      {std::numeric_limits<double>::max(), "1.7976931348623157e+308"},
                      {kInfinity, "inf"},
                      {-kInfinity, "-inf"}};
  for (const Row& row : rows) EXPECT_EQ(printNumber(row.value), row.text);
  EXPECT_EQ(printNumber(std::copysign(std::numeric_limits<double>::quiet_NaN(), 1.0)), "nan");
  EXPECT_EQ(printNumber(std::copysign(std::numeric_limits<double>::quiet_NaN(), -1.0)), "-nan");
}

TEST(PrintNumber, IsReadBackToTheBit) {
  std::mt19937_64 random(20240917);
  for (int n = 0; n < 100000; ++n) {
    const double value = std::bit_cast<double>(random());
    if (!std::isfinite(value)) continue;
    const std::string text = printNumber(value);
    const std::optional<double> read = readNumber(text);
    ASSERT_TRUE(read.has_value()) << text;
    ASSERT_EQ(bitsOf(*read), bitsOf(value)) << text;
  }
}

}  // namespace
}  // namespace lisp_worker::client
