// Axes are arrows of a fixed length; cells are lines across the panel in both directions.

#include "console/systems_picture.h"

#include <cmath>
#include <cstddef>
#include <string_view>

#include "console/shape.h"
#include "console/svg.h"

namespace lisp_worker::console {

using client::Point;

namespace {

constexpr double kAxisLength = 46;
constexpr std::size_t kCellLineMax = 200;

bool isWorld(const client::PlanarSystem& s) {
  return s.origin_x == 0 && s.origin_y == 0 && s.a == 1 && s.b == 0 && s.c == 0 && s.d == 1;
}

std::string arrow(double x, double y, double dx, double dy, std::string_view name) {
  constexpr double kHead = 7;
  const double length = std::hypot(dx, dy);
  const double ux = dx / length;
  const double uy = dy / length;
  const double tip_x = x + ux * kAxisLength;
  const double tip_y = y + uy * kAxisLength;
  std::string path =
      "M" + svgNumber(x) + " " + svgNumber(y) + " L" + svgNumber(tip_x) + " " + svgNumber(tip_y);
  for (const double side : {-1.0, 1.0}) {
    path += " M" + svgNumber(tip_x) + " " + svgNumber(tip_y) + " L" +
            svgNumber(tip_x - kHead * (ux + side * 0.5 * -uy)) + " " +
            svgNumber(tip_y - kHead * (uy + side * 0.5 * ux));
  }
  return "<path d=\"" + path + "\" class=\"axis\"/>\n" +
         svgLabel(tip_x + ux * 9, tip_y + uy * 9 + 4, name, "class=\"axis-name\"");
}

// Lines of the cell plane across the panel, in one of its two directions.
std::string cellLines(const Panel& panel, const client::PlanarSystem& plane, double size,
                      bool is_across) {
  const double determinant = plane.a * plane.d - plane.b * plane.c;
  // The panel's box, in cells.
  Box cells;
  const double half_width = panel.width / 2 / panel.scale;
  const double half_height = panel.height / 2 / panel.scale;
  const double middle_x = (panel.world.left + panel.world.right) / 2;
  const double middle_y = (panel.world.bottom + panel.world.top) / 2;
  for (const double sx : {-1.0, 1.0}) {
    for (const double sy : {-1.0, 1.2}) {  // The strip of the scale lies below the drawing.
      const double dx = middle_x + sx * half_width - plane.origin_x;
      const double dy = middle_y - sy * half_height - plane.origin_y;
      cells.include(Point{(plane.d * dx - plane.c * dy) / determinant / size,
                          (plane.a * dy - plane.b * dx) / determinant / size, 0});
    }
  }
  const double first = std::ceil(is_across ? cells.bottom : cells.left);
  const double last = std::floor(is_across ? cells.top : cells.right);
  if (!(last - first < static_cast<double>(kCellLineMax))) return "";
  const client::PlanarSystem& p = plane;
  std::string path;
  for (double n = first; n <= last; ++n) {
    const double u0 = (is_across ? cells.left : n) * size;
    const double u1 = (is_across ? cells.right : n) * size;
    const double v0 = (is_across ? n : cells.bottom) * size;
    const double v1 = (is_across ? n : cells.top) * size;
    path += (path.empty() ? "M" : " M") +
            panel.position({p.origin_x + p.a * u0 + p.c * v0, p.origin_y + p.b * u0 + p.d * v0, 0});
    path += " L" +
            panel.position({p.origin_x + p.a * u1 + p.c * v1, p.origin_y + p.b * u1 + p.d * v1, 0});
  }
  return path.empty() ? "" : "<path d=\"" + path + "\" class=\"cell\"/>\n";
}

}  // namespace

bool isInvertible(const client::PlanarSystem& s) {
  const double determinant = s.a * s.d - s.b * s.c;
  return std::isfinite(determinant) && std::fabs(determinant) > 1e-18;
}

std::string axesElements(const Panel& panel, const client::CoordContext& context) {
  std::string text;
  for (std::size_t n = 0; n < context.systems.size(); ++n) {
    const client::PlanarSystem& s = context.systems[n];
    if ((n != 0 && isWorld(s)) || !isInvertible(s)) continue;
    const double x = panel.x(s.origin_x);
    const double y = panel.y(s.origin_y);
    const std::string name = std::to_string(n);
    text += arrow(x, y, s.a, -s.b, "x" + name);
    text += arrow(x, y, s.c, -s.d, "y" + name);
  }
  return text;
}

std::string cellElements(const Panel& panel, const client::CoordContext& context) {
  if (!isInvertible(context.cell_plane)) return "";
  return cellLines(panel, context.cell_plane, context.cell_size, true) +
         cellLines(panel, context.cell_plane, context.cell_size, false);
}

std::string systemsRules() {
  return ".cell { fill: none; stroke: #b3d4ea; stroke-width: 1 }\n"
         ".axis { fill: none; stroke: #6a1b9a; stroke-width: 1.4 }\n"
         ".axis-name { fill: #6a1b9a; font-size: 11px; text-anchor: middle }\n";
}

}  // namespace lisp_worker::console
