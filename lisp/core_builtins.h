// Parts of the core builtins that the evaluator shares with them.

#ifndef LISP_CORE_BUILTINS_H_
#define LISP_CORE_BUILTINS_H_

#include "lisp/arithmetic.h"
#include "lisp/symbol.h"
#include "lisp/value.h"

namespace lisp {

// One step of +, -, * or /. The divisor must not be refused.
template <Operation operation>
[[nodiscard]] inline double combine(double a, double b) {
  switch (operation) {
    case Operation::Add:
      return sum(a, b);
    case Operation::Subtract:
      return difference(a, b);
    case Operation::Multiply:
      return product(a, b);
    default:
      static_assert(operation >= Operation::Add && operation <= Operation::Divide);
      return quotient(a, b);
  }
}

// What CONS makes of two values: a list of `first` and then the elements of `rest` when it is a
// list, nothing more when it is nil, or `rest` itself. Takes over both holds.
[[nodiscard]] RawValue construct(RawValue first, RawValue rest);

}  // namespace lisp

#endif  // LISP_CORE_BUILTINS_H_
