// A rectangle of the page that shows a box of the drawing.

#ifndef CONSOLE_PANEL_H_
#define CONSOLE_PANEL_H_

#include <string>

#include "console/shape.h"
#include "console/svg.h"
#include "lisp_worker/client/coordinates.h"

namespace lisp_worker::console {

// All lengths but those of `world` are in units of the page, whose y axis points down.
struct Panel {
  std::string name;  // Letters; no other panel of the page has it.
  double left = 0;
  double top = 0;
  double width = 0;
  double height = 0;
  double strip = 0;  // As much of the height lies below the drawing.
  Box world;
  double scale = 1;        // For each unit of the drawing.
  double millimetre = 1;   // For each millimetre of paper.
  double line_factor = 1;  // Lines are as many times as wide as on paper.

  [[nodiscard]] double middleX() const { return left + width / 2; }
  [[nodiscard]] double middleY() const { return top + (height - strip) / 2; }
  [[nodiscard]] double x(double world_x) const {
    return middleX() + (world_x - (world.left + world.right) / 2) * scale;
  }
  [[nodiscard]] double y(double world_y) const {
    return middleY() - (world_y - (world.bottom + world.top) / 2) * scale;
  }
  // "X Y", as paths take it.
  [[nodiscard]] std::string position(const client::Point& point) const {
    return svgNumber(x(point.x)) + " " + svgNumber(y(point.y));
  }
  // "x=... y=... width=... height=...", as rectangles take them: the panel, and a box of the
  // drawing.
  [[nodiscard]] std::string frame() const { return svgRectangle(left, top, width, height); }
  [[nodiscard]] std::string frameOf(const Box& box) const {
    return svgRectangle(x(box.left), y(box.top), box.width() * scale, box.height() * scale);
  }
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_PANEL_H_
