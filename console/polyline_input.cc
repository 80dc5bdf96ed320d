// An arc is known by the direction in which it leaves, or by a point on it. Both give its bulge.

#include "console/polyline_input.h"

#include <cmath>

#include "console/shape.h"

namespace lisp_worker::console {

using client::Point;

std::optional<Point> centreOf(const Point& p, const Point& q, const Point& r) {
  const double ax = q.x - p.x;
  const double ay = q.y - p.y;
  const double bx = r.x - p.x;
  const double by = r.y - p.y;
  const double twice_area = ax * by - ay * bx;
  const double scale = (ax * ax + ay * ay) + (bx * bx + by * by);
  if (!(std::fabs(twice_area) > 1e-12 * scale)) return std::nullopt;
  const double aa = ax * ax + ay * ay;
  const double bb = bx * bx + by * by;
  return Point{p.x + (by * aa - ay * bb) / (2 * twice_area),
               p.y + (ax * bb - bx * aa) / (2 * twice_area), p.z};
}

double directionOf(const Point& from, const Point& to) {
  return std::atan2(to.y - from.y, to.x - from.x);
}

namespace {

// The arc from `from` to `to` that leaves in this direction. Empty when it would never arrive.
std::optional<double> bulgeFrom(const Point& from, double direction, const Point& to) {
  const double half_angle = std::remainder(directionOf(from, to) - direction, 2 * kPi);
  constexpr double kStraightBack = kPi - 1e-6;
  if (!(std::fabs(half_angle) < kStraightBack)) return std::nullopt;
  return std::tan(half_angle / 2);
}

// The arc from `from` through `between` to `to`. Empty when the three lie on a line.
std::optional<double> bulgeThrough(const Point& from, const Point& between, const Point& to) {
  if (!centreOf(from, between, to)) return std::nullopt;
  const double turn =
      std::remainder(directionOf(between, to) - directionOf(from, between), 2 * kPi);
  return std::tan(turn / 2);
}

// Takes the inputs of PLINE: points, and the words that change how they are joined.
class PolylineInput {
 public:
  explicit PolylineInput(CommandInput& input) : input_(input) {}

  // Empty after an error, which is in the input.
  std::optional<VertexChain> take() {
    const auto first = input_.takePoint("a point");
    if (!first) return std::nullopt;
    chain_.vertices.push_back({*first, 0});
    while (chain_.vertices.size() < 2 || !input_.takeEnter()) {
      if (input_.takeWord("A", "ARC")) {
        draws_arcs_ = true;
      } else if (input_.takeWord("L", "LINE")) {
        draws_arcs_ = false;
      } else if (chain_.vertices.size() > 1 && input_.takeWord("C", "CLOSE")) {
        if (draws_arcs_ && !setArcTo(chain_.vertices.front().at)) return std::nullopt;
        chain_.is_closed = true;
        break;
      } else if (!takeNext()) {
        return std::nullopt;
      }
    }
    return chain_;
  }

 private:
  bool takeNext() {
    const bool is_through = draws_arcs_ && input_.takeWord("S", "SECOND");
    const auto between = is_through ? input_.takePoint("a point on the arc") : std::nullopt;
    if (is_through && !between) return false;
    const auto point = input_.takePoint(draws_arcs_ ? "the end of the arc" : "another point");
    if (!point) return false;
    const Point from = chain_.vertices.back().at;
    if (between) {
      const auto bulge = bulgeThrough(from, *between, *point);
      if (!bulge) input_.fail("three points on a line make no arc");
      if (!bulge || !setBulge(*bulge, *point)) return false;
    } else if (draws_arcs_) {
      if (!setArcTo(*point)) return false;
    } else {
      direction_ = directionOf(from, *point);
    }
    chain_.vertices.push_back({*point, 0});
    return true;
  }

  bool setArcTo(const Point& to) {
    const auto bulge = bulgeFrom(chain_.vertices.back().at, direction_, to);
    if (!bulge) input_.fail("no arc leads straight back; give a point on it with S");
    return bulge && setBulge(*bulge, to);
  }

  bool setBulge(double bulge, const Point& to) {
    Vertex& from = chain_.vertices.back();
    from.bulge = bulge;
    direction_ = directionOf(from.at, to) + 2 * std::atan(bulge);
    return true;
  }

  CommandInput& input_;
  VertexChain chain_;
  bool draws_arcs_ = false;
  double direction_ = 0;  // In which the last piece has ended.
};

}  // namespace

std::optional<VertexChain> takePolyline(CommandInput& input) { return PolylineInput(input).take(); }

}  // namespace lisp_worker::console
