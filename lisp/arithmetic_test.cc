#include "lisp/arithmetic.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>

namespace lisp {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// NaNs that can be told apart by their bits.
double nan(std::uint64_t bits) { return std::bit_cast<double>(0x7FF8000000000000 | bits); }

std::uint64_t bitsOf(double number) { return std::bit_cast<std::uint64_t>(number); }

TEST(Arithmetic, KeepsTheFirstOperandThatIsNan) {
  const double a = nan(1);
  const double b = -nan(2);
  for (double (*const operation)(double, double) : {sum, difference, product, quotient}) {
    EXPECT_EQ(bitsOf(operation(a, b)), bitsOf(a));
    EXPECT_EQ(bitsOf(operation(b, a)), bitsOf(b));
    EXPECT_EQ(bitsOf(operation(a, 1.0)), bitsOf(a));
    EXPECT_EQ(bitsOf(operation(1.0, b)), bitsOf(b));
  }
}

TEST(Arithmetic, MakesANanWithItsSignSet) {
  for (const double invalid :
       {sum(kInfinity, -kInfinity), difference(kInfinity, kInfinity), product(0.0, kInfinity),
        quotient(kInfinity, kInfinity), quotient(0.0, 0.0)}) {
    EXPECT_EQ(bitsOf(invalid), 0xFFF8000000000000);
  }
}

TEST(Arithmetic, LeavesOtherResultsAlone) {
  EXPECT_EQ(sum(0.1, 0.2), 0.1 + 0.2);
  EXPECT_EQ(difference(1.0, kInfinity), -kInfinity);
  EXPECT_EQ(product(-0.5, 4.0), -2.0);
  EXPECT_EQ(quotient(1.0, -4.0), -0.25);
}

TEST(Arithmetic, RefusesDivisorsUpToItsLimitAndNoNan) {
  for (const double divisor : {0.0, -0.0, 1e-300, -1e-300, 5e-324}) {
    EXPECT_TRUE(isRefusedDivisor(divisor)) << divisor;
  }
  for (const double divisor : {1.0000000000000002e-300, -1.0, kInfinity, nan(0)}) {
    EXPECT_FALSE(isRefusedDivisor(divisor)) << divisor;
  }
}

}  // namespace
}  // namespace lisp
