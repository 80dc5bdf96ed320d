// Parts of the core builtins that the evaluator shares with them.

#ifndef LISP_CORE_BUILTINS_H_
#define LISP_CORE_BUILTINS_H_

#include <cmath>

#include "lisp/value.h"

namespace lisp {

// Divisors up to this absolute value are refused with "division by zero".
inline constexpr double kDivisorRefusedMax = 1e-300;

// False for NaN, which divides like any other number.
[[nodiscard]] inline bool isRefusedDivisor(double divisor) {
  return std::fabs(divisor) <= kDivisorRefusedMax;
}

// What CONS makes of two values: a list of `first` and then the elements of `rest` when it is a
// list, nothing more when it is nil, or `rest` itself. Takes over both holds.
[[nodiscard]] RawValue construct(RawValue first, RawValue rest);

}  // namespace lisp

#endif  // LISP_CORE_BUILTINS_H_
