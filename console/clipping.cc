// An arc is halved until it is flat, or lies outside of the box with its chord. For a chord of
// length c and a bulge b the arc is b c / 2 high, and each half has the bulge b / (1 + sqrt(1 +
// b^2)). This needs no centre, which may be too far away to be known well.

#include "console/clipping.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace lisp_worker::console {

using client::Point;

namespace {

constexpr std::size_t kArcPointMax = 10000;  // An arc at the ends of numbers may never get flat.

struct Flattening {
  const Box& box;
  double tolerance;
  std::vector<Point>& points;

  // True when the arc, which is at most half a circle, and its chord lie outside of the box.
  [[nodiscard]] bool isOutside(const Point& from, const Point& to, double height) const {
    return !boxBetween(from, to).grownBy(height).meets(box);
  }

  // Adds the points behind `from`, up to `to`.
  void append(const Point& from, const Point& to, double bulge) {
    appendPart(from, to, bulge, points.size() + kArcPointMax);
  }

  void appendPart(const Point& from, const Point& to, double bulge, std::size_t size_max) {
    const double dx = to.x - from.x;
    const double dy = to.y - from.y;
    const double height = std::fabs(bulge) * std::hypot(dx, dy) / 2;
    const bool is_flat =
        !(height > tolerance) || !std::isfinite(height) || points.size() >= size_max;
    if (is_flat || (std::fabs(bulge) <= 1 && isOutside(from, to, height))) {
      points.push_back(to);
      return;
    }
    const Point middle = {(from.x + to.x) / 2 + dy * bulge / 2,
                          (from.y + to.y) / 2 - dx * bulge / 2, from.z};
    const double half = bulge / (1 + std::sqrt(1 + bulge * bulge));
    appendPart(from, middle, half, size_max);
    appendPart(middle, to, half, size_max);
  }
};

bool isSame(const Point& a, const Point& b) { return a.x == b.x && a.y == b.y; }

// The part of an area on one side of a line along an axis: `depth` is how far inside a point is.
template <typename Depth>
std::vector<Point> clippedSide(const std::vector<Point>& outline, Depth depth) {
  std::vector<Point> inside;
  for (std::size_t n = 0; n < outline.size(); ++n) {
    const Point& to = outline[n];
    const Point& from = outline[(n == 0 ? outline.size() : n) - 1];
    const double from_depth = depth(from);
    const double to_depth = depth(to);
    if ((from_depth >= 0) != (to_depth >= 0)) {
      const double part = from_depth / (from_depth - to_depth);
      inside.push_back({from.x + part * (to.x - from.x), from.y + part * (to.y - from.y), from.z});
    }
    if (to_depth >= 0) inside.push_back(to);
  }
  return inside;
}

}  // namespace

std::vector<Point> flattened(const VertexChain& chain, const Box& box, double tolerance) {
  std::vector<Point> points;
  const std::vector<Vertex>& vertices = chain.vertices;
  if (vertices.empty()) return points;
  points.push_back(vertices.front().at);
  Flattening flattening{box, tolerance, points};
  for (std::size_t n = 1; n < vertices.size(); ++n) {
    flattening.append(vertices[n - 1].at, vertices[n].at, vertices[n - 1].bulge);
  }
  if (chain.is_closed) {
    flattening.append(vertices.back().at, vertices.front().at, vertices.back().bulge);
  }
  return points;
}

// It is cut at each side, and something remains or not.
std::optional<Segment> clippedSegment(const Segment& segment, const Box& box) {
  const Point& a = segment.from;
  const Point& b = segment.to;
  double from = 0;
  double to = 1;
  const std::pair<double, double> cuts[] = {{a.x - b.x, a.x - box.left},
                                            {b.x - a.x, box.right - a.x},
                                            {a.y - b.y, a.y - box.bottom},
                                            {b.y - a.y, box.top - a.y}};
  for (const auto& [step, room] : cuts) {
    if (step == 0 && room < 0) return std::nullopt;
    if (step < 0) from = std::max(from, room / step);
    if (step > 0) to = std::min(to, room / step);
  }
  if (!(from <= to)) return std::nullopt;
  const auto at = [&](double part) {
    if (part == 0) return a;
    if (part == 1) return b;
    return Point{a.x + part * (b.x - a.x), a.y + part * (b.y - a.y), a.z};
  };
  return Segment{at(from), at(to)};
}

std::vector<std::vector<Point>> clippedLine(const std::vector<Point>& line, const Box& box) {
  std::vector<std::vector<Point>> parts;
  for (std::size_t n = 1; n < line.size(); ++n) {
    const auto segment = clippedSegment({line[n - 1], line[n]}, box);
    if (!segment) continue;
    if (parts.empty() || !isSame(parts.back().back(), segment->from)) {
      parts.push_back({segment->from});
    }
    parts.back().push_back(segment->to);
  }
  return parts;
}

std::vector<Point> clippedArea(std::vector<Point> outline, const Box& box) {
  outline = clippedSide(outline, [&box](const Point& p) { return p.x - box.left; });
  outline = clippedSide(outline, [&box](const Point& p) { return box.right - p.x; });
  outline = clippedSide(outline, [&box](const Point& p) { return p.y - box.bottom; });
  return clippedSide(outline, [&box](const Point& p) { return box.top - p.y; });
}

}  // namespace lisp_worker::console
