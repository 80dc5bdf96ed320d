// The point that OSNAP finds.

#ifndef CONSOLE_SNAP_H_
#define CONSOLE_SNAP_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/drawing.h"
#include "lisp_worker/client/coordinates.h"
#include "lisp_worker/client/datum.h"

namespace lisp_worker::console {

// OSNAP looks this far from the given point, in units of the drawing.
inline constexpr double kSnapAperture = 10;

// The nearest point within the aperture of `near`, looking at x and y, of the kinds that `modes`
// names, separated by commas: "end" and "mid" of lines, polylines and arcs, "cen" of circles and
// arcs, "qua", the quadrants of circles, "nod", a point entity, "ins", the point of a text. A
// leading underscore and the case of letters do not matter. Of two equally near the one of the
// earlier entity.
[[nodiscard]] std::optional<client::Point> snapPoint(const Drawing& drawing,
                                                     const client::Point& near,
                                                     std::string_view modes);

// All points of visible entities of the kinds that `modes` names, in the order of the entities.
[[nodiscard]] std::vector<client::Point> snapPoints(const Drawing& drawing, std::string_view modes);

// Names the unknown modes, for a person; empty when all are known.
[[nodiscard]] std::string whyUnknownModes(std::string_view modes);

}  // namespace lisp_worker::console

#endif  // CONSOLE_SNAP_H_
