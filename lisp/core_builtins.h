// Parts of the core builtins that the evaluator shares with them.

#ifndef LISP_CORE_BUILTINS_H_
#define LISP_CORE_BUILTINS_H_

#include "lisp/value.h"

namespace lisp {

// What CONS makes of two values: a list of `first` and then the elements of `rest` when it is a
// list, nothing more when it is nil, or `rest` itself. Takes over both holds.
[[nodiscard]] RawValue construct(RawValue first, RawValue rest);

}  // namespace lisp

#endif  // LISP_CORE_BUILTINS_H_
