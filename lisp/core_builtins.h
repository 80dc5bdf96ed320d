// Parts of the core builtins that the evaluator shares with them.

#ifndef LISP_CORE_BUILTINS_H_
#define LISP_CORE_BUILTINS_H_

#include <cassert>

#include "lisp/arithmetic.h"
#include "lisp/symbol.h"
#include "lisp/value.h"

namespace lisp {

// One step of +, -, * or /. The divisor must not be refused.
template <Operation operation>
[[nodiscard]] inline double combine(double a, double b) {
  if constexpr (operation == Operation::Add) {
    return sum(a, b);
  } else if constexpr (operation == Operation::Subtract) {
    return difference(a, b);
  } else if constexpr (operation == Operation::Multiply) {
    return product(a, b);
  } else {
    static_assert(operation == Operation::Divide);
    assert(!isRefusedDivisor(b));
    return quotient(a, b);
  }
}

// The result of CONS for two values: a list of `first` and then the elements of `rest` when it is a
// list, nothing more when it is nil, or `rest` itself. Takes over both holds.
[[nodiscard]] RawValue construct(RawValue first, RawValue rest);

}  // namespace lisp

#endif  // LISP_CORE_BUILTINS_H_
