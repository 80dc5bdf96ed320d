// The syntax is that of strtod, so strtod is asked. Hexadecimal denormals are left out: libraries
// in use drop bits of those before they round, and number_test.cc has them from exact arithmetic.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "lisp/number.h"
#include "testing/base/random.h"

namespace lisp {
namespace {

using lisp_worker::testing_support::Random;

// strtod's number for the whole token, when that is finite.
std::optional<double> referenceNumber(const std::string& token) {
  if (token.empty() || std::isspace(static_cast<unsigned char>(token[0])) != 0) return std::nullopt;
  char* end = nullptr;
  const double value = std::strtod(token.c_str(), &end);
  if (end == token.c_str() || end != token.c_str() + token.size()) return std::nullopt;
  if (!std::isfinite(value)) return std::nullopt;
  return value;
}

void expectAgreement(const std::string& token) {
  const std::optional<double> expected = referenceNumber(token);
  const std::optional<double> actual = parseNumber(token);
  if (!token.empty()) {
    double value = 0.0;
    const char* const end = token.data() + token.size();
    if (readShortDecimal(token.data(), end, value) == end) {
      ASSERT_TRUE(expected.has_value()) << token;
      ASSERT_EQ(std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(*expected))
          << token;
    }
  }
  ASSERT_EQ(actual.has_value(), expected.has_value()) << token;
  if (!expected) return;
  ASSERT_EQ(std::bit_cast<std::uint64_t>(*actual), std::bit_cast<std::uint64_t>(*expected))
      << token;
}

std::string digits(Random& random, std::string_view alphabet, std::size_t size_max) {
  std::string text;
  for (std::size_t i = random.below(size_max + 1); i > 0; --i) text += random.pick(alphabet);
  return text;
}

TEST(ParseNumber, AgreesWithTheLibraryOnRandomBytes) {
  Random random(1);
  for (int i = 0; i < 200'000; ++i) {
    expectAgreement(digits(random, "0019..eE+-xXpPaAfFnNiI", 9));
    if (HasFatalFailure()) return;
  }
}

TEST(ParseNumber, AgreesWithTheLibraryOnDecimals) {
  Random random(2);
  for (int i = 0; i < 100'000; ++i) {
    std::string token = random.chance(1, 3) ? "-" : "";
    token += digits(random, "0123456789", 25);
    if (random.chance(2, 3)) token += "." + digits(random, "0123456789", 30);
    if (random.chance(2, 3)) token += "e" + std::to_string(random.between(-345, 325));
    expectAgreement(token);
    if (HasFatalFailure()) return;
  }
}

TEST(ReadShortDecimal, AgreesWithTheLibrary) {
  Random random(5);
  for (int i = 0; i < 200'000; ++i) {
    std::string token = random.chance(1, 3) ? random.chance(1, 2) ? "-" : "+" : "";
    const std::string all = digits(random, "0123456789", 16);
    const std::size_t point = random.below(all.size() + 2);
    token += point <= all.size() ? all.substr(0, point) + "." + all.substr(point) : all;
    if (token.empty()) continue;
    expectAgreement(token);
    if (HasFatalFailure()) return;
  }
}

TEST(ParseNumber, AgreesWithTheLibraryOnHexadecimals) {
  Random random(3);
  for (int i = 0; i < 100'000; ++i) {
    std::string token = random.chance(1, 3) ? "-0x" : "0X";
    const std::string_view alphabet = random.chance(1, 2) ? "0123456789abcdefABCDEF" : "000000018f";
    token += digits(random, alphabet, 24);
    if (random.chance(2, 3)) token += "." + digits(random, alphabet, 30);
    if (random.chance(2, 3)) token += "p" + std::to_string(random.between(-1100, 1100));
    const std::optional<double> value = referenceNumber(token);
    if (value && std::fpclassify(*value) == FP_SUBNORMAL) continue;
    expectAgreement(token);
    if (HasFatalFailure()) return;
  }
}

TEST(ParseNumber, BringsEveryDoubleBackFromSeventeenDigits) {
  Random random(4);
  for (int i = 0; i < 100'000; ++i) {
    const double value = std::bit_cast<double>(random.bits());
    if (!std::isfinite(value)) continue;
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", value);
    const std::optional<double> back = parseNumber(text);
    ASSERT_TRUE(back.has_value()) << text;
    ASSERT_EQ(std::bit_cast<std::uint64_t>(*back), std::bit_cast<std::uint64_t>(value)) << text;
  }
}

}  // namespace
}  // namespace lisp
