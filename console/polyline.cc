// For a chord of length c and a bulge b, the angle is 4 atan b and the radius c (1 + b^2) / (4
// |b|). The centre is (1 - b^2) / (4 b) chords to the left of the chord's middle.

#include "console/polyline.h"

#include <cmath>
#include <cstddef>
#include <string_view>

namespace lisp_worker::console {

using client::asList;
using client::asNumber;
using client::Datum;
using client::DatumList;
using client::Point;

bool hasChains(const DatumList& groups) {
  const std::string_view type = findStringGroup(groups, kTypeGroup);
  return type == "POLYLINE" || type == "HATCH";
}

bool isVertexGroup(const Datum& group) {
  return isGroupOf(group, kPointGroup) || isGroupOf(group, kBulgeGroup) ||
         isGroupOf(group, kOutlineGroup);
}

std::vector<VertexChain> chainsOf(const Entity& entity) {
  std::vector<VertexChain> chains;
  if (!hasChains(entity.groups)) return chains;
  const bool is_hatch = findStringGroup(entity.groups, kTypeGroup) == "HATCH";
  const bool is_closed = is_hatch || findNumberGroup(entity.groups, kClosedGroup, 0) == 1;
  for (const Datum& group : entity.groups) {
    const Datum& value = asList(group)->back();
    if (isGroupOf(group, kPointGroup)) {
      if (chains.empty()) chains.push_back({{}, is_closed});
      if (const auto point = readPoint(value)) chains.back().vertices.push_back({*point, 0});
    } else if (isGroupOf(group, kBulgeGroup) && !chains.empty() &&
               !chains.back().vertices.empty()) {
      chains.back().vertices.back().bulge = asNumber(value).value_or(0);
    } else if (is_hatch && isGroupOf(group, kOutlineGroup)) {
      chains.push_back({{}, is_closed});
    }
  }
  return chains;
}

std::string whyNoChains(const DatumList& groups) {
  const bool is_hatch = findStringGroup(groups, kTypeGroup) == "HATCH";
  bool is_after_vertex = false;
  std::size_t count = 0;  // Of vertices in the outline.
  double announced = 0;   // By the outline's group 93; 0 without one.
  const auto why_no_outline = [&]() -> std::string {
    if (count < 2) return is_hatch ? "an outline needs two groups 10" : "";
    if (announced == 0 || announced == static_cast<double>(count)) return "";
    return "group 93 counts the vertices of its outline, which has " + std::to_string(count);
  };
  for (const Datum& group : groups) {
    if (isGroupOf(group, kPointGroup)) {
      is_after_vertex = true;
      ++count;
    } else if (isGroupOf(group, kBulgeGroup)) {
      if (!is_after_vertex) return "group 42 belongs behind the group 10 of its vertex, once";
      is_after_vertex = false;
    } else if (is_hatch && isGroupOf(group, kOutlineGroup)) {
      std::string reason = count == 0 && announced == 0 ? "" : why_no_outline();
      if (!reason.empty()) return reason;
      announced = asNumber(asList(group)->back()).value_or(0);
      if (!(announced >= 2)) return "group 93 needs the number of vertices that follow";
      count = 0;
      is_after_vertex = false;
    }
  }
  return why_no_outline();
}

std::optional<VertexChain> closedChainOf(const Entity& entity) {
  const std::string_view type = findStringGroup(entity.groups, kTypeGroup);
  if (type == "CIRCLE") {
    const Point centre = findPoints(entity.groups, kPointGroup).front();
    const double radius = findNumberGroup(entity.groups, kSizeGroup, 1);
    return VertexChain{{{{centre.x + radius, centre.y, centre.z}, 1},
                        {{centre.x - radius, centre.y, centre.z}, 1}},
                       true};
  }
  if (type != "POLYLINE") return std::nullopt;
  VertexChain chain = chainsOf(entity).front();
  const Point first = chain.vertices.front().at;
  const Point last = chain.vertices.back().at;
  const bool returns = chain.vertices.size() > 2 && first.x == last.x && first.y == last.y;
  if (!chain.is_closed && !returns) return std::nullopt;
  if (!chain.is_closed) chain.vertices.pop_back();
  return chain;
}

std::optional<ArcPiece> arcBetween(const Point& from, const Point& to, double bulge) {
  const double dx = to.x - from.x;
  const double dy = to.y - from.y;
  const double chord = std::hypot(dx, dy);
  const double radius = chord * (1 + bulge * bulge) / (4 * std::fabs(bulge));
  const double offset = (1 - bulge * bulge) / (4 * bulge);
  const Point centre = {(from.x + to.x) / 2 - dy * offset, (from.y + to.y) / 2 + dx * offset,
                        from.z};
  // Flatter, and a double no longer knows the arc from its chord.
  constexpr double kFlattest = 1e-9;
  if (!(chord > 0) || !(std::fabs(bulge) > kFlattest) || !std::isfinite(radius) ||
      !std::isfinite(centre.x) || !std::isfinite(centre.y)) {
    return std::nullopt;
  }
  return ArcPiece{centre, radius, std::atan2(from.y - centre.y, from.x - centre.x),
                  4 * std::atan(bulge)};
}

}  // namespace lisp_worker::console
