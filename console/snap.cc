#include "console/snap.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace console {

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
    } else if (c != ' ') {
      name += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    }
  }
  names.insert(name);
  return names;
}

std::vector<Point> snapPointsOf(const Entity& entity, const std::set<std::string>& modes) {
  const std::string_view type = findStringGroup(entity.groups, kTypeGroup);
  const Point first = *readPoint(*findGroup(entity.groups, kPointGroup));
  if (type == "LINE") {
    const Point second = *readPoint(*findGroup(entity.groups, kEndPointGroup));
    std::vector<Point> points;
    if (modes.contains("END")) points = {first, second};
    if (modes.contains("MID")) {
      points.push_back(
          {(first.x + second.x) / 2, (first.y + second.y) / 2, (first.z + second.z) / 2});
    }
    return points;
  }
  const bool round = type == "CIRCLE" || type == "ARC";
  if ((round && modes.contains("CEN")) || (type == "POINT" && modes.contains("NOD"))) {
    return {first};
  }
  return {};
}

}  // namespace

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

}  // namespace console
