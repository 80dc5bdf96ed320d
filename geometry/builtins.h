// The geometric builtins of the dialect: DISTANCE, ANGLE, POLAR and TRANS.
//
// A point argument is a list that begins with two numbers, x and y. Its z is the third element if
// that is a number, otherwise 0; whatever else it holds is ignored.

#ifndef GEOMETRY_BUILTINS_H_
#define GEOMETRY_BUILTINS_H_

#include <span>

#include "lisp/builtin.h"

namespace geometry {

// The four rows. TRANS works in the context of its run (lisp::Interpreter::context).
[[nodiscard]] std::span<const lisp::Builtin> geometry_builtins();

}  // namespace geometry

#endif  // GEOMETRY_BUILTINS_H_
