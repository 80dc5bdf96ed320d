// The geometric builtins of the dialect: DISTANCE, ANGLE, POLAR and TRANS.
//
// A point argument is a list that begins with two numbers, x and y. Its z is the third element if
// that is a number, otherwise 0; further elements are ignored.

#ifndef GEOMETRY_BUILTINS_H_
#define GEOMETRY_BUILTINS_H_

#include <cstddef>
#include <optional>
#include <span>

#include "geometry/coord_context.h"
#include "lisp/builtin.h"
#include "lisp/value.h"

namespace geometry {

// The four rows. TRANS works in the context of its run (lisp::Interpreter::context).
[[nodiscard]] std::span<const lisp::Builtin> geometry_builtins();

// The point that an argument gives; nothing when it is not a point.
[[nodiscard]] std::optional<Point> read_point(const lisp::LispValue& value);

// The index of the system that an argument of TRANS names, if it names one. A number counts by its
// integer part, taken toward zero: -0.5 is 0 and 4.9 is 4.
[[nodiscard]] std::optional<std::size_t> read_system_code(const lisp::LispValue& value);

}  // namespace geometry

#endif  // GEOMETRY_BUILTINS_H_
