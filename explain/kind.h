// The kinds of arguments that builtin functions ask for, to explain why one was refused.

#ifndef EXPLAIN_KIND_H_
#define EXPLAIN_KIND_H_

#include <string>
#include <string_view>

#include "lisp/value.h"

namespace explain {

// By the letters that the reference uses.
enum class Kind : char {
  Any = 'a',
  Number = 'n',
  Divisor = 'd',
  List = 'l',
  SelectionSet = 's',
  Point = 'p',
  System = 'c',  // A coordinate system.
};

// True when a function that asks for `kind` accepts `value`, as far as the kind is concerned.
[[nodiscard]] bool fits(Kind kind, const lisp::LispValue& value);

// A value that fits.
[[nodiscard]] lisp::LispValue valueOf(Kind kind);

// The expectation that `value`, which does not fit, misses: "a number, not a text".
[[nodiscard]] std::string expectationOf(Kind kind, const lisp::LispValue& value);

// The advice for that case, in a call of the function `name`.
[[nodiscard]] std::string adviceFor(Kind kind, const lisp::LispValue& value, std::string_view name);

}  // namespace explain

#endif  // EXPLAIN_KIND_H_
