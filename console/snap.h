// Which point OSNAP finds.

#ifndef CONSOLE_SNAP_H_
#define CONSOLE_SNAP_H_

#include <optional>
#include <string>
#include <string_view>

#include "client/coordinates.h"
#include "client/datum.h"
#include "console/drawing.h"

namespace console {

// How far from the given point OSNAP looks, in units of the drawing.
inline constexpr double kSnapAperture = 10;

// The nearest point within the aperture of `near`, looking at x and y, of the kinds that `modes`
// names, separated by commas: "end" and "mid" of lines, polylines and arcs, "cen" of circles and
// arcs, "qua", the quadrants of circles, "nod", a point entity, "ins", the point of a text. A
// leading underscore and the case of letters do not matter. Of two equally near the one of the
// earlier entity.
[[nodiscard]] std::optional<client::Point> snapPoint(const Drawing& drawing,
                                                     const client::Point& near,
                                                     std::string_view modes);

// What is wrong with the modes: those that there are not, for a person; empty when nothing is.
[[nodiscard]] std::string whyUnknownModes(std::string_view modes);

}  // namespace console

#endif  // CONSOLE_SNAP_H_
