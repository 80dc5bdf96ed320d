// Coordinate systems and cells on a panel, as SVG.

#ifndef CONSOLE_SYSTEMS_PICTURE_H_
#define CONSOLE_SYSTEMS_PICTURE_H_

#include <string>

#include "console/panel.h"
#include "lisp_worker/client/coordinates.h"

namespace lisp_worker::console {

// True when points of the plane can be converted back.
[[nodiscard]] bool isInvertible(const client::PlanarSystem& system);

// The axes of the systems that can be converted back, those like the world's once.
[[nodiscard]] std::string axesElements(const Panel& panel, const client::CoordContext& context);

// The lines between cells; empty where there are too many to see anything.
[[nodiscard]] std::string cellElements(const Panel& panel, const client::CoordContext& context);

// The rules of style that the elements need.
[[nodiscard]] std::string systemsRules();

}  // namespace lisp_worker::console

#endif  // CONSOLE_SYSTEMS_PICTURE_H_
