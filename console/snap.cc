// All entities give the points that the modes ask for. The one nearest to the given point wins, if
// it lies within kSnapAperture.

#include "console/snap.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include "console/polyline.h"
#include "console/shape.h"

namespace lisp_worker::console {

using client::Datum;
using client::DatumList;
using client::Point;

namespace {

// "END, mid" as {"END", "MID"}.
std::set<std::string> splitModes(std::string_view modes) {
  std::set<std::string> names;
  std::string name;
  for (const char c : modes) {
    if (c == ',') {
      names.insert(name);
      name.clear();
    } else if (c != ' ' && c != '_') {
      name += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    }
  }
  names.insert(name);
  return names;
}

Point middleOf(const Point& a, const Point& b) {
  return {(a.x + b.x) / 2, (a.y + b.y) / 2, (a.z + b.z) / 2};
}

Point onCircle(const Point& centre, double radius, double angle) {
  return {centre.x + radius * std::cos(angle), centre.y + radius * std::sin(angle), centre.z};
}

// Of a chain of lines and arcs.
void appendChain(const VertexChain& chain, const std::set<std::string>& modes,
                 std::vector<Point>& points) {
  const std::vector<Vertex>& vertices = chain.vertices;
  if (modes.contains("END")) {
    for (const Vertex& vertex : vertices) points.push_back(vertex.at);
  }
  const std::size_t piece_count = vertices.size() - (chain.is_closed ? 0 : 1);
  for (std::size_t n = 0; n < piece_count; ++n) {
    const Point from = vertices[n].at;
    const Point to = vertices[(n + 1) % vertices.size()].at;
    const auto arc = arcBetween(from, to, vertices[n].bulge);
    if (modes.contains("MID")) {
      points.push_back(arc ? onCircle(arc->centre, arc->radius, arc->start + arc->sweep / 2)
                           : middleOf(from, to));
    }
    if (arc && modes.contains("CEN")) points.push_back(arc->centre);
  }
}

void appendArc(const DatumList& groups, const Point& centre, const std::set<std::string>& modes,
               std::vector<Point>& points) {
  const double radius = findNumberGroup(groups, kSizeGroup, 0);
  const double start = findNumberGroup(groups, kStartAngleGroup, 0);
  double sweep = std::fmod(findNumberGroup(groups, kEndAngleGroup, 0) - start, 2 * kPi);
  if (sweep <= 0) sweep += 2 * kPi;
  if (modes.contains("END")) {
    points.push_back(onCircle(centre, radius, start));
    points.push_back(onCircle(centre, radius, start + sweep));
  }
  if (modes.contains("MID")) points.push_back(onCircle(centre, radius, start + sweep / 2));
}

void appendQuadrants(const Point& centre, double radius, std::vector<Point>& points) {
  points.push_back({centre.x + radius, centre.y, centre.z});
  points.push_back({centre.x, centre.y + radius, centre.z});
  points.push_back({centre.x - radius, centre.y, centre.z});
  points.push_back({centre.x, centre.y - radius, centre.z});
}

std::vector<Point> snapPointsOf(const Entity& entity, const std::set<std::string>& modes) {
  const std::string_view type = findStringGroup(entity.groups, kTypeGroup);
  const Point first = *readPoint(*findGroup(entity.groups, kPointGroup));
  std::vector<Point> points;
  if (type == "LINE") {
    const Point end = *readPoint(*findGroup(entity.groups, kEndPointGroup));
    appendChain({{{first, 0}, {end, 0}}, false}, modes, points);
  } else if (type == "POLYLINE") {
    appendChain(chainsOf(entity).front(), modes, points);
  } else if (type == "ARC") {
    appendArc(entity.groups, first, modes, points);
  } else if (type == "CIRCLE" && modes.contains("QUA")) {
    appendQuadrants(first, findNumberGroup(entity.groups, kSizeGroup, 0), points);
  }
  const bool is_round = type == "CIRCLE" || type == "ARC";
  if ((is_round && modes.contains("CEN")) || (type == "POINT" && modes.contains("NOD")) ||
      (type == "TEXT" && modes.contains("INS"))) {
    points.push_back(first);
  }
  return points;
}

constexpr std::array<std::string_view, 6> kModes = {"END", "MID", "CEN", "QUA", "NOD", "INS"};

}  // namespace

std::string whyUnknownModes(std::string_view modes) {
  std::string unknown;
  for (const std::string& mode : splitModes(modes)) {
    if (std::find(kModes.begin(), kModes.end(), mode) == kModes.end()) unknown += " " + mode;
  }
  if (unknown.empty()) return "";
  return "this host cannot snap to" + unknown + "; it knows end, mid, cen, qua, nod and ins";
}

std::vector<Point> snapPoints(const Drawing& drawing, std::string_view modes) {
  const std::set<std::string> wanted = splitModes(modes);
  std::vector<Point> points;
  for (const Entity& entity : drawing.entities()) {
    if (!drawing.isVisible(entity)) continue;
    const std::vector<Point> more = snapPointsOf(entity, wanted);
    points.insert(points.end(), more.begin(), more.end());
  }
  return points;
}

std::optional<Point> snapPoint(const Drawing& drawing, const Point& near, std::string_view modes) {
  const std::set<std::string> wanted = splitModes(modes);
  std::optional<Point> nearest;
  double nearest_distance = kSnapAperture;
  for (const Entity& entity : drawing.entities()) {
    for (const Point& point : snapPointsOf(entity, wanted)) {
      const double distance = std::hypot(point.x - near.x, point.y - near.y);
      if (nearest ? distance < nearest_distance : distance <= nearest_distance) {
        nearest = point;
        nearest_distance = distance;
      }
    }
  }
  return nearest;
}

}  // namespace lisp_worker::console
