// The inputs of PLINE, and what drawing arcs needs.

#ifndef CONSOLE_POLYLINE_INPUT_H_
#define CONSOLE_POLYLINE_INPUT_H_

#include <optional>

#include "console/command_input.h"
#include "console/polyline.h"
#include "lisp_worker/client/coordinates.h"

namespace lisp_worker::console {

// The centre of the circle through three points; empty when they lie on a line.
[[nodiscard]] std::optional<client::Point> centreOf(const client::Point& p, const client::Point& q,
                                                    const client::Point& r);

// In radians.
[[nodiscard]] double directionOf(const client::Point& from, const client::Point& to);

// Points up to Enter or the word C, which closes; at least two. Behind the word A they are joined
// by arcs, each in the direction in which the piece before it ends, or, behind S, through a point;
// behind L by lines. Empty after an error, which is in the input.
[[nodiscard]] std::optional<VertexChain> takePolyline(CommandInput& input);

}  // namespace lisp_worker::console

#endif  // CONSOLE_POLYLINE_INPUT_H_
