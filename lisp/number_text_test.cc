#include "lisp/number_text.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "testing/base/random.h"

namespace lisp {
namespace {

using lisp_worker::testing_support::Random;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::string textOf(double number) {
  std::array<char, kNumberRoom> room;
  return {room.data(), writeNumber(number, room.data())};
}

// The library's own text, whose digits are made with integers as long as need be.
std::string referenceText(double number) {
  std::array<char, 64> buffer;
  const auto written =
      std::to_chars(buffer.begin(), buffer.end(), number, std::chars_format::general, 17);
  return {buffer.begin(), written.ptr};
}

TEST(NumberText, HasTheFormsOfPrintf) {
  const std::vector<std::pair<double, const char*>> rows = {
      {0.0, "0"},
      {-0.0, "-0"},
      {0.5, "0.5"},
      {-12.25, "-12.25"},
      {0.1, "0.10000000000000001"},
      {1e-4, "0.0001"},
      {0.00012207031250000003, "0.00012207031250000003"},
      {1e-5, "1.0000000000000001e-05"},
      {6.103515625e-05, "6.103515625e-05"},
      {123456789012345678.0, "1.2345678901234568e+17"},
      {12345678901234568.0, "12345678901234568"},
      {1234567890123456.5, "1234567890123456.5"},
      {1e15, "1000000000000000"},
      {1e16, "10000000000000000"},
      {1e17, "1e+17"},
      {1e22, "1e+22"},
      {1e23, "9.9999999999999992e+22"},
      {1e100, "1e+100"},
      {-1.7976931348623157e+308, "-1.7976931348623157e+308"},
      {2.2250738585072014e-308, "2.2250738585072014e-308"},
      {5e-324, "4.9406564584124654e-324"},
      {kInfinity, "inf"},
      {-kInfinity, "-inf"},
  };
  for (const auto& [number, text] : rows) EXPECT_EQ(textOf(number), text);
}

TEST(NumberText, OfNanShowsItsSignOnly) {
  EXPECT_EQ(textOf(std::bit_cast<double>(std::uint64_t{0x7FF8000000000000})), "nan");
  EXPECT_EQ(textOf(std::bit_cast<double>(std::uint64_t{0xFFF0000000000001})), "-nan");
}

TEST(NumberText, IsThatOfTheLibraryForRandomBits) {
  Random random(17);
  for (int i = 0; i < 300'000; ++i) {
    const double number = std::bit_cast<double>(random.bits());
    if (std::isnan(number)) continue;
    ASSERT_EQ(textOf(number), referenceText(number));
  }
}

TEST(NumberText, IsThatOfTheLibraryAroundPowers) {
  for (int exponent = -1074; exponent < 1024; ++exponent) {
    const double power = std::ldexp(1.0, exponent);
    for (const double number :
         {std::nextafter(power, 0.0), power, std::nextafter(power, kInfinity)}) {
      ASSERT_EQ(textOf(number), referenceText(number));
    }
  }
  for (int exponent = -323; exponent <= 308; ++exponent) {
    double below = std::strtod(("1e" + std::to_string(exponent)).c_str(), nullptr);
    double above = below;
    for (int i = 0; i < 8; ++i) {
      ASSERT_EQ(textOf(below), referenceText(below));
      ASSERT_EQ(textOf(above), referenceText(above));
      below = std::nextafter(below, 0.0);
      above = std::nextafter(above, kInfinity);
    }
  }
}

// Many of these lie in the middle between two texts.
TEST(NumberText, IsThatOfTheLibraryForShortBinaryFractions) {
  Random random(18);
  for (int i = 0; i < 200'000; ++i) {
    const auto mantissa = static_cast<double>(random.bits() >> random.between(11, 63));
    const double number = std::ldexp(mantissa, -static_cast<int>(random.below(70)));
    ASSERT_EQ(textOf(number), referenceText(number));
  }
}

TEST(NumberText, IsThatOfTheLibraryForDenormals) {
  Random random(19);
  for (int i = 0; i < 100'000; ++i) {
    const double number = std::bit_cast<double>(random.bits() >> random.between(12, 63));
    ASSERT_EQ(textOf(number), referenceText(number));
  }
}

}  // namespace
}  // namespace lisp
