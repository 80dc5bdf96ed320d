// Shapes that reach far beyond a page, cut down to a box around it: no renderer takes coordinates
// of a billion.

#ifndef CONSOLE_CLIPPING_H_
#define CONSOLE_CLIPPING_H_

#include <optional>
#include <vector>

#include "console/polyline.h"
#include "console/shape.h"
#include "lisp_worker/client/coordinates.h"

namespace lisp_worker::console {

// The chain as points. Arcs are off by at most `tolerance` inside of the box, and by more outside
// of it; where a chain closes, its first point comes again at the end. The number of points does
// not depend on the size of what lies outside.
[[nodiscard]] std::vector<client::Point> flattened(const VertexChain& chain, const Box& box,
                                                   double tolerance);

struct Segment {
  client::Point from;
  client::Point to;
};

// The part of a segment in the box, whose edges belong to it; empty when there is none.
[[nodiscard]] std::optional<Segment> clippedSegment(const Segment& segment, const Box& box);

// The parts of a line through points that lie in the box.
[[nodiscard]] std::vector<std::vector<client::Point>> clippedLine(
    const std::vector<client::Point>& line, const Box& box);

// The part of an area in the box, as its outline. Fewer than three points when there is none. The
// outline of an area that the box cuts in pieces is one, with edges along the box between them.
[[nodiscard]] std::vector<client::Point> clippedArea(std::vector<client::Point> outline,
                                                     const Box& box);

}  // namespace lisp_worker::console

#endif  // CONSOLE_CLIPPING_H_
