// An arc becomes a chain of points, one for every five degrees at least, with its quadrants among
// them so that extents are exact. A text is the box that its letters take in the font that draws
// it, as high as a capital.

#include "console/shape.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string_view>
#include <utility>

#include "console/clipping.h"
#include "console/font.h"
#include "console/polyline.h"
#include "console/text_codes.h"

namespace lisp_worker::console {

using client::Datum;
using client::DatumList;
using client::Point;

namespace {

constexpr double kFullTurn = 2 * kPi;
constexpr double kCurveStep = kPi / 36;

// In [0, 2 pi).
double normalizedAngle(double radians) {
  const double angle = std::fmod(radians, kFullTurn);
  return angle < 0 ? angle + kFullTurn : angle;
}

Point onCircle(const Point& centre, double radius, double radians) {
  return {centre.x + radius * std::cos(radians), centre.y + radius * std::sin(radians), centre.z};
}

std::vector<Point> arcOutline(const Point& centre, double radius, double start, double sweep) {
  std::vector<double> stops = {0};
  // Quadrants inside the sweep, so that extents are exact.
  for (double quadrant = std::ceil(start / (kPi / 2)) * (kPi / 2); quadrant < start + sweep;
       quadrant += kPi / 2) {
    if (quadrant > start) stops.push_back(quadrant - start);
  }
  stops.push_back(sweep);
  std::vector<Point> points = {onCircle(centre, radius, start)};
  for (std::size_t n = 1; n < stops.size(); ++n) {
    const double span = stops[n] - stops[n - 1];
    const double count = std::max(1.0, std::ceil(span / kCurveStep - 1e-9));
    for (double step = 1; step <= count; ++step) {
      points.push_back(onCircle(centre, radius, start + stops[n - 1] + span * step / count));
    }
  }
  return points;
}

// One piece of a chain: its ends, and what is between them on an arc.
std::vector<Point> pieceOutline(const Vertex& from, const Vertex& to) {
  const auto arc = arcBetween(from.at, to.at, from.bulge);
  if (!arc) return {from.at, to.at};
  const bool is_backwards = arc->sweep < 0;
  const double start = normalizedAngle(is_backwards ? arc->start + arc->sweep : arc->start);
  std::vector<Point> points = arcOutline(arc->centre, arc->radius, start, std::fabs(arc->sweep));
  if (is_backwards) std::reverse(points.begin(), points.end());
  points.front() = from.at;
  points.back() = to.at;
  return points;
}

void visitChain(const VertexChain& chain,
                const std::function<void(const std::vector<Point>&)>& visit) {
  const std::vector<Vertex>& vertices = chain.vertices;
  for (std::size_t n = 1; n < vertices.size(); ++n) {
    visit(pieceOutline(vertices[n - 1], vertices[n]));
  }
  if (chain.is_closed && !vertices.empty()) {
    visit(pieceOutline(vertices.back(), vertices.front()));
  }
}

std::vector<Point> textOutline(const DatumList& groups, const Point& at) {
  const double height = findNumberGroup(groups, kSizeGroup, 1);
  const double width = textWidth(drawnText(findStringGroup(groups, kTextGroup)), height);
  const double begin = -width * findNumberGroup(groups, kAlignmentGroup, 0) / 2;
  const Similarity turn = rotation(at, findNumberGroup(groups, kStartAngleGroup, 0));
  std::vector<Point> corners = {{at.x + begin, at.y, at.z},
                                {at.x + begin + width, at.y, at.z},
                                {at.x + begin + width, at.y + height, at.z},
                                {at.x + begin, at.y + height, at.z},
                                {at.x + begin, at.y, at.z}};
  for (Point& corner : corners) corner = transformed(corner, turn);
  return corners;
}

double asNumberOr(const Datum& datum, double otherwise) {
  return client::asNumber(datum).value_or(otherwise);
}

Datum pointDatum(const Point& point, std::size_t size) {
  DatumList parts = {client::number(point.x), client::number(point.y)};
  if (size == 3) parts.push_back(client::number(point.z));
  return client::list(std::move(parts));
}

}  // namespace

void Box::include(const Point& point) {
  left = std::min(left, point.x);
  right = std::max(right, point.x);
  bottom = std::min(bottom, point.y);
  top = std::max(top, point.y);
}

void Box::include(const Box& box) {
  if (box.isEmpty()) return;
  include(Point{box.left, box.bottom, 0});
  include(Point{box.right, box.top, 0});
}

Box boxBetween(const Point& corner, const Point& opposite) {
  Box box;
  box.include(corner);
  box.include(opposite);
  return box;
}

std::vector<Point> outlineOf(const Entity& entity) {
  const std::string_view type = findStringGroup(entity.groups, kTypeGroup);
  std::vector<Point> points = findPoints(entity.groups, kPointGroup);
  if (points.empty()) return points;
  if (hasChains(entity.groups)) {
    points.clear();
    visitChain(chainsOf(entity).front(), [&points](const std::vector<Point>& piece) {
      points.insert(points.end(), piece.begin() + (points.empty() ? 0 : 1), piece.end());
    });
    return points;
  }
  const Point first = points.front();
  const double size = findNumberGroup(entity.groups, kSizeGroup, 0);
  if (type == "LINE") return {first, findPoints(entity.groups, kEndPointGroup).front()};
  if (type == "CIRCLE") return arcOutline(first, size, 0, kFullTurn);
  if (type == "ARC") {
    const double start = normalizedAngle(findNumberGroup(entity.groups, kStartAngleGroup, 0));
    const double sweep = normalizedAngle(findNumberGroup(entity.groups, kEndAngleGroup, 0) - start);
    return arcOutline(first, size, start, sweep == 0 ? kFullTurn : sweep);
  }
  if (type == "TEXT") return textOutline(entity.groups, first);
  return {first};
}

void visitPieces(const Entity& entity,
                 const std::function<void(const std::vector<Point>& piece)>& visit) {
  if (!hasChains(entity.groups)) {
    visit(outlineOf(entity));
    return;
  }
  for (const VertexChain& chain : chainsOf(entity)) visitChain(chain, visit);
}

Box boundsOf(const Entity& entity) {
  Box box;
  visitPieces(entity, [&box](const std::vector<Point>& piece) {
    for (const Point& point : piece) box.include(point);
  });
  return box;
}

bool liesInside(const Entity& entity, const Box& box) {
  bool is_inside = true;
  bool is_empty = true;
  visitPieces(entity, [&](const std::vector<Point>& piece) {
    is_empty = is_empty && piece.empty();
    is_inside = is_inside && std::all_of(piece.begin(), piece.end(), [&box](const Point& point) {
                  return box.contains(point);
                });
  });
  return is_inside && !is_empty;
}

bool touches(const Entity& entity, const Box& box) {
  bool is_touched = false;
  visitPieces(entity, [&](const std::vector<Point>& piece) {
    if (piece.size() == 1) is_touched = box.contains(piece.front());
    for (std::size_t n = 1; n < piece.size() && !is_touched; ++n) {
      is_touched = clippedSegment({piece[n - 1], piece[n]}, box).has_value();
    }
  });
  return is_touched;
}

double textWidth(std::string_view text, double height) {
  return widthInFont(text) * height / kCapitalHeight;
}

Similarity translation(double x, double y) { return {x, y, 1, 0, 0, 1}; }

Similarity rotation(const Point& centre, double radians) {
  const double cosine = std::cos(radians);
  const double sine = std::sin(radians);
  return {centre.x - cosine * centre.x + sine * centre.y,
          centre.y - sine * centre.x - cosine * centre.y,
          cosine,
          sine,
          -sine,
          cosine};
}

Similarity scaling(const Point& centre, double factor) {
  return {centre.x * (1 - factor), centre.y * (1 - factor), factor, 0, 0, factor};
}

Similarity reflection(const Point& from, const Point& to) {
  const double twice = 2 * std::atan2(to.y - from.y, to.x - from.x);
  const double cosine = std::cos(twice);
  const double sine = std::sin(twice);
  return {from.x - cosine * from.x - sine * from.y,
          from.y - sine * from.x + cosine * from.y,
          cosine,
          sine,
          sine,
          -cosine};
}

Point transformed(const Point& point, const Similarity& m) {
  return {m.origin_x + m.a * point.x + m.c * point.y, m.origin_y + m.b * point.x + m.d * point.y,
          point.z};
}

DatumList transformed(const DatumList& groups, const Similarity& mapping) {
  const std::string_view type = findStringGroup(groups, kTypeGroup);
  const bool mirrors = mapping.a * mapping.d - mapping.b * mapping.c < 0;
  const double turn = std::atan2(mapping.b, mapping.a);
  const double factor = std::hypot(mapping.a, mapping.b);
  const double start = findNumberGroup(groups, kStartAngleGroup, 0);
  const double end = findNumberGroup(groups, kEndAngleGroup, 0);
  DatumList moved;
  bool has_direction = false;
  for (const Datum& group : groups) {
    const DatumList& parts = *client::asList(group);
    const double code = *client::asNumber(parts.front());
    const auto point = readPoint(parts.back());
    if ((code == kPointGroup || code == kEndPointGroup) && point) {
      moved.push_back(makeGroup(
          static_cast<int>(code),
          pointDatum(transformed(*point, mapping), client::asList(parts.back())->size())));
    } else if (code == kSizeGroup && client::asNumber(parts.back())) {
      moved.push_back(
          makeGroup(kSizeGroup, client::number(factor * *client::asNumber(parts.back()))));
    } else if (code == kBulgeGroup && mirrors && hasChains(groups)) {
      moved.push_back(makeGroup(kBulgeGroup, client::number(-asNumberOr(parts.back(), 0))));
    } else if (code == kPatternAngleGroup && type == "HATCH") {
      has_direction = true;
      const double angle = asNumberOr(parts.back(), 0);
      moved.push_back(makeGroup(kPatternAngleGroup, client::number(normalizedAngle(
                                                        mirrors ? turn - angle : turn + angle))));
    } else if (code == kStartAngleGroup && (type == "ARC" || type == "TEXT")) {
      has_direction = true;
      const double angle = mirrors && type == "ARC" ? turn - end : turn + start;
      const bool keeps = mirrors && type == "TEXT";
      moved.push_back(
          makeGroup(kStartAngleGroup, client::number(normalizedAngle(keeps ? start : angle))));
    } else if (code == kEndAngleGroup && type == "ARC") {
      moved.push_back(makeGroup(
          kEndAngleGroup, client::number(normalizedAngle(mirrors ? turn - start : turn + end))));
    } else {
      moved.push_back(group);
    }
  }
  if (type == "HATCH" && !has_direction) {
    const double angle = mirrors ? turn - kPatternAngle : turn + kPatternAngle;
    if (normalizedAngle(angle) != kPatternAngle) {
      moved.push_back(makeGroup(kPatternAngleGroup, client::number(normalizedAngle(angle))));
    }
  }
  if (type == "TEXT" && !has_direction && !mirrors && normalizedAngle(turn) != 0) {
    moved.push_back(makeGroup(kStartAngleGroup, client::number(normalizedAngle(turn))));
  }
  return moved;
}

}  // namespace lisp_worker::console
