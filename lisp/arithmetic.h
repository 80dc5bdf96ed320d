// IEEE arithmetic whose NaNs are the same on every platform and in every build.
//
// The standard leaves open which NaN an operation yields, and compilers exchange operands freely;
// the sign of a NaN shows in its text. So the rule is ours, and it is the one that the common
// processors follow in the written order of operands: the first operand that is a NaN, and where
// neither is (inf - inf), a NaN with the sign bit set.

#ifndef LISP_ARITHMETIC_H_
#define LISP_ARITHMETIC_H_

#include <cmath>
#include <limits>

namespace lisp {

// The NaN of an operation without a NaN among its operands.
inline constexpr double kInvalidResult = -std::numeric_limits<double>::quiet_NaN();

// `result`, which must be that of an operation on `a` and `b`, with its NaN settled.
[[nodiscard]] inline double settleNan(double result, double a, double b) {
  if (!std::isnan(result)) [[likely]]
    return result;
  if (std::isnan(a)) return a;
  return std::isnan(b) ? b : kInvalidResult;
}

[[nodiscard]] inline double sum(double a, double b) { return settleNan(a + b, a, b); }
[[nodiscard]] inline double difference(double a, double b) { return settleNan(a - b, a, b); }
[[nodiscard]] inline double product(double a, double b) { return settleNan(a * b, a, b); }
[[nodiscard]] inline double quotient(double a, double b) { return settleNan(a / b, a, b); }

// Divisors up to this absolute value are refused with "division by zero".
inline constexpr double kDivisorRefusedMax = 1e-300;

// False for NaN, which divides like any other number.
[[nodiscard]] inline bool isRefusedDivisor(double divisor) {
  return std::fabs(divisor) <= kDivisorRefusedMax;
}

}  // namespace lisp

#endif  // LISP_ARITHMETIC_H_
