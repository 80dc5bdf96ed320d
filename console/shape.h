// The geometry of entities: outlines as chains of points, extents, moving and turning.
//
// All of it looks at x and y alone, as a plan does. z travels with the points.

#ifndef CONSOLE_SHAPE_H_
#define CONSOLE_SHAPE_H_

#include <functional>
#include <limits>
#include <string_view>
#include <vector>

#include "console/entity.h"
#include "lisp_worker/client/coordinates.h"
#include "lisp_worker/client/datum.h"

namespace lisp_worker::console {

inline constexpr double kPi = 3.14159265358979323846;

// The angle of a hatch's lines without a group 52.
inline constexpr double kPatternAngle = kPi / 4;

// A rectangle along the axes. Empty until it includes a point.
struct Box {
  double left = std::numeric_limits<double>::infinity();
  double bottom = std::numeric_limits<double>::infinity();
  double right = -std::numeric_limits<double>::infinity();
  double top = -std::numeric_limits<double>::infinity();

  [[nodiscard]] bool isEmpty() const { return left > right; }
  [[nodiscard]] double width() const { return right - left; }
  [[nodiscard]] double height() const { return top - bottom; }
  // The edges belong to the box.
  [[nodiscard]] bool contains(const client::Point& point) const {
    return point.x >= left && point.x <= right && point.y >= bottom && point.y <= top;
  }
  // Boxes that share an edge meet.
  [[nodiscard]] bool meets(const Box& box) const {
    return left <= box.right && right >= box.left && bottom <= box.top && top >= box.bottom;
  }
  // The box with a margin of that width on each side.
  [[nodiscard]] Box grownBy(double margin) const {
    return {left - margin, bottom - margin, right + margin, top + margin};
  }
  void include(const client::Point& point);
  void include(const Box& box);

  friend bool operator==(const Box&, const Box&) = default;
};

// The box with these two opposite corners, in any order.
[[nodiscard]] Box boxBetween(const client::Point& corner, const client::Point& opposite);

// The entity as a chain of points: one for a point, the corners of the box around a text, closed
// chains with their first point again at the end, curves in steps of at most 5 degrees with their
// ends and quadrants exact. Of a hatch with several outlines the first.
[[nodiscard]] std::vector<client::Point> outlineOf(const Entity& entity);

// The same in pieces, in their order, of all outlines. A piece holds for the call. The memory that
// this takes does not depend on the count of vertices.
void visitPieces(const Entity& entity,
                 const std::function<void(const std::vector<client::Point>& piece)>& visit);

[[nodiscard]] Box boundsOf(const Entity& entity);

// True when all of the entity is in the box, and when some of it is.
[[nodiscard]] bool liesInside(const Entity& entity, const Box& box);
[[nodiscard]] bool touches(const Entity& entity, const Box& box);

// The width of a text whose capitals have this height, in the font that draws it.
[[nodiscard]] double textWidth(std::string_view text, double height);

// A mapping of the plane that keeps shapes:
//   X = origin_x + a*x + c*y      Y = origin_y + b*x + d*y
// with (a b) and (c d) at right angles and equally long.
struct Similarity {
  double origin_x = 0;
  double origin_y = 0;
  double a = 1;
  double b = 0;
  double c = 0;
  double d = 1;
};

[[nodiscard]] Similarity translation(double x, double y);
[[nodiscard]] Similarity rotation(const client::Point& centre, double radians);
[[nodiscard]] Similarity scaling(const client::Point& centre, double factor);
// In the line through two different points.
[[nodiscard]] Similarity reflection(const client::Point& from, const client::Point& to);

[[nodiscard]] client::Point transformed(const client::Point& point, const Similarity& mapping);

// The groups of an entity that lies where `mapping` takes it. A mirrored text stays readable.
[[nodiscard]] client::DatumList transformed(const client::DatumList& groups,
                                            const Similarity& mapping);

}  // namespace lisp_worker::console

#endif  // CONSOLE_SHAPE_H_
