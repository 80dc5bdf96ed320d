// Shapes of entities on a panel, first without a style: entities, and the bands that mark them, are
// the same shapes in styles of their own.

#include "console/entity_picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include "console/clipping.h"
#include "console/colour.h"
#include "console/font.h"
#include "console/line_style.h"
#include "console/polyline.h"
#include "console/shape.h"
#include "console/svg.h"
#include "console/text_codes.h"

namespace lisp_worker::console {

using client::Point;

namespace {

std::string pathOf(const Panel& panel, const std::vector<Point>& points) {
  std::string path;
  for (const Point& point : points) {
    path += (path.empty() ? "M" : " L") + panel.position(point);
  }
  return path;
}

// Nearer to the panel than that, in units of the page, shapes are drawn as they are, if their arcs
// have smaller radii too. Others become lines, cut at a box around the panel.
constexpr double kFar = 1e5;
constexpr double kReach = 2e4;
constexpr double kFlatness = 0.05;  // As far as such a line may be from its arc.

bool isNear(const Panel& panel, const Point& point, double limit = kFar) {
  return std::fabs(panel.x(point.x)) <= limit && std::fabs(panel.y(point.y)) <= limit;
}

// A circle, or a part of one.
bool isRoundNear(const Panel& panel, const Point& centre, double radius) {
  return isNear(panel, centre) && radius * panel.scale < kFar;
}

// The part of the drawing around the panel that far shapes are cut to.
Box reachOf(const Panel& panel) {
  Box box;
  box.include(Point{(panel.world.left + panel.world.right) / 2,
                    (panel.world.bottom + panel.world.top) / 2, 0});
  return box.grownBy((std::max(panel.width, panel.height) / 2 + kReach) / panel.scale);
}

std::string clippedPath(const Panel& panel, const VertexChain& chain, bool is_area) {
  const Box reach = reachOf(panel);
  std::vector<Point> points = flattened(chain, reach, kFlatness / panel.scale);
  if (is_area) {
    const std::vector<Point> outline = clippedArea(std::move(points), reach);
    return outline.size() < 3 ? "" : pathOf(panel, outline) + " Z";
  }
  std::string path;
  for (const std::vector<Point>& part : clippedLine(points, reach)) {
    path += (path.empty() ? "" : " ") + pathOf(panel, part);
  }
  return path;
}

// An arc of a circle as a chain of two pieces.
VertexChain arcChain(const std::vector<Point>& outline, const Point& centre, double radius,
                     double start, double sweep) {
  const double middle = start + sweep / 2;
  const double bulge = std::tan(sweep / 8);
  return {{{outline.front(), bulge},
           {{centre.x + radius * std::cos(middle), centre.y + radius * std::sin(middle), centre.z},
            bulge},
           {outline.back(), 0}},
          false};
}

std::string arcPath(const Panel& panel, const Entity& entity) {
  const std::vector<Point> outline = outlineOf(entity);
  const Point centre = findPoints(entity.groups, kPointGroup).front();
  const double radius = findNumberGroup(entity.groups, kSizeGroup, 1);
  const double start = findNumberGroup(entity.groups, kStartAngleGroup, 0);
  const double turns =
      std::fmod(findNumberGroup(entity.groups, kEndAngleGroup, 0) - start + 4 * kPi, 2 * kPi);
  if (!isRoundNear(panel, centre, radius)) {
    return clippedPath(
        panel, arcChain(outline, centre, radius, start, turns == 0 ? 2 * kPi : turns), false);
  }
  if (turns == 0) return pathOf(panel, outline);
  const std::string length = svgNumber(radius * panel.scale);
  return "M" + panel.position(outline.front()) + " A" + length + " " + length + " 0 " +
         (turns > kPi ? "1" : "0") + " 0 " + panel.position(outline.back());
}

// A chain as pieces of a path; empty when a part of it is too large or too far away.
std::string nearPath(const Panel& panel, const VertexChain& chain) {
  const std::vector<Vertex>& vertices = chain.vertices;
  std::string path = "M" + panel.position(vertices.front().at);
  const std::size_t piece_count = vertices.size() - (chain.is_closed ? 0 : 1);
  for (std::size_t n = 0; n < piece_count; ++n) {
    const Point to = vertices[(n + 1) % vertices.size()].at;
    const auto arc = arcBetween(vertices[n].at, to, vertices[n].bulge);
    if (!isNear(panel, vertices[n].at) || !isNear(panel, to)) return "";
    if (arc) {
      const double radius = arc->radius * panel.scale;
      if (!(radius < kFar)) return "";
      path += " A" + svgNumber(radius) + " " + svgNumber(radius) + " 0 " +
              (std::fabs(arc->sweep) > kPi ? "1 " : "0 ") + (arc->sweep < 0 ? "1 " : "0 ") +
              panel.position(to);
    } else if (n + 1 < vertices.size()) {
      path += " L" + panel.position(to);
    }
  }
  return path + (chain.is_closed ? " Z" : "");
}

std::string chainPath(const Panel& panel, const VertexChain& chain, bool is_area) {
  const std::string path = nearPath(panel, chain);
  return path.empty() ? clippedPath(panel, chain, is_area) : path;
}

std::string chainsPath(const Panel& panel, const Entity& entity) {
  const bool is_area = findStringGroup(entity.groups, kTypeGroup) == "HATCH";
  std::string path;
  for (const VertexChain& chain : chainsOf(entity)) {
    const std::string piece = chainPath(panel, chain, is_area);
    if (!piece.empty()) path += (path.empty() ? "" : " ") + piece;
  }
  return path;
}

// False for a text so large, or so far away, that no letter of it can be drawn.
bool isTextNear(const Panel& panel, const Entity& entity) {
  constexpr double kTextFar = 1e6;
  return isNear(panel, findPoints(entity.groups, kPointGroup).front(), kTextFar) &&
         findNumberGroup(entity.groups, kSizeGroup, 1) * panel.scale < kTextFar;
}

// `style` is what the shape's element has besides its shape, `inside` the element's content.
std::string textElement(const Panel& panel, const Entity& entity, const std::string& style,
                        const std::string& inside) {
  constexpr std::array<const char*, 3> kAnchors = {"start", "middle", "end"};
  const Point at = findPoints(entity.groups, kPointGroup).front();
  const double size = findNumberGroup(entity.groups, kSizeGroup, 1) * panel.scale / kCapitalHeight;
  const double degrees = findNumberGroup(entity.groups, kStartAngleGroup, 0) * 180 / kPi;
  const auto alignment =
      static_cast<std::size_t>(findNumberGroup(entity.groups, kAlignmentGroup, 0));
  const std::string text = drawnText(findStringGroup(entity.groups, kTextGroup));
  // Where another font must do, it is drawn as wide as this one.
  std::string attributes =
      "font-size=\"" + svgNumber(size) + "\" textLength=\"" + svgNumber(widthInFont(text) * size) +
      "\" lengthAdjust=\"spacingAndGlyphs\" text-anchor=\"" + kAnchors[alignment] + "\" " + style;
  if (degrees != 0) {
    attributes += " transform=\"rotate(" + svgNumber(-degrees) + " " + panel.position(at) + ")\"";
  }
  return "<text x=\"" + svgNumber(panel.x(at.x)) + "\" y=\"" + svgNumber(panel.y(at.y)) + "\" " +
         attributes + ">" + inside + svgText(text) + "</text>\n";
}

std::string circleElement(double x, double y, double radius, const std::string& style,
                          const std::string& inside) {
  return "<circle cx=\"" + svgNumber(x) + "\" cy=\"" + svgNumber(y) + "\" r=\"" +
         svgNumber(radius) + "\" " + style + (inside.empty() ? "" : ">" + inside + "</circle") +
         (inside.empty() ? "/>\n" : ">\n");
}

std::string pathElement(const std::string& path, const std::string& style,
                        const std::string& inside) {
  return "<path d=\"" + path + "\" " + style +
         (inside.empty() ? "/>\n" : ">" + inside + "</path>\n");
}

std::string pointPath(const Panel& panel, const Point& point) {
  const double arm = panel.millimetre;
  const double x = panel.x(point.x);
  const double y = panel.y(point.y);
  return "M" + svgNumber(x - arm) + " " + svgNumber(y) + " H" + svgNumber(x + arm) + " M" +
         svgNumber(x) + " " + svgNumber(y - arm) + " V" + svgNumber(y + arm);
}

// Empty for a shape of which nothing lies near the panel.
std::string shapePath(const Panel& panel, const Entity& entity) {
  const std::string_view type = findStringGroup(entity.groups, kTypeGroup);
  const Point first = findPoints(entity.groups, kPointGroup).front();
  if (type == "POINT") return isNear(panel, first) ? pointPath(panel, first) : "";
  if (hasChains(entity.groups)) return chainsPath(panel, entity);
  if (type == "ARC") return arcPath(panel, entity);
  if (type == "CIRCLE") return clippedPath(panel, *closedChainOf(entity), false);
  const Point last = findPoints(entity.groups, kEndPointGroup).front();
  return chainPath(panel, {{{first, 0}, {last, 0}}, false}, false);
}

// Empty for an entity of which nothing lies near the panel.
std::string shapeElement(const Panel& panel, const Entity& entity, const std::string& style,
                         const std::string& inside) {
  const std::string_view type = findStringGroup(entity.groups, kTypeGroup);
  if (type == "TEXT") {
    return isTextNear(panel, entity) ? textElement(panel, entity, style, inside) : "";
  }
  const Point first = findPoints(entity.groups, kPointGroup).front();
  const double radius = findNumberGroup(entity.groups, kSizeGroup, 1);
  if (type == "CIRCLE" && isRoundNear(panel, first, radius)) {
    return circleElement(panel.x(first.x), panel.y(first.y), radius * panel.scale, style, inside);
  }
  const std::string path = shapePath(panel, entity);
  return path.empty() ? "" : pathElement(path, style, inside);
}

// On a screen a line of the usual weight is wider than on paper, to be seen well.
double strokeWidth(const Panel& panel, double line_width) {
  return line_width * panel.line_factor * panel.millimetre;
}

}  // namespace

std::string lineStyle(const Panel& panel, double line_width, const std::vector<double>& dashes) {
  std::string style;
  if (line_width != lineWidth(kWeightDefault)) {
    style += " stroke-width=\"" + svgNumber(strokeWidth(panel, line_width)) + "\"";
  }
  if (dashes.empty()) return style;
  bool has_dots = false;
  std::string lengths;
  for (std::size_t n = 0; n < dashes.size(); ++n) {
    has_dots = has_dots || dashes[n] == 0;
    lengths += (n == 0 ? "" : " ") + svgNumber(dashes[n] * panel.millimetre);
  }
  // Round ends make dots, and dashes longer than they are.
  return style + " stroke-dasharray=\"" + lengths + "\"" +
         (has_dots ? "" : " stroke-linecap=\"butt\"");
}

namespace {

struct MarkLook {
  const char* colour;
  const char* rule;  // Beyond the colour.
};

// Of Added, Changed and Erased.
constexpr std::array<MarkLook, 3> kMarkLooks = {
    {{"#43a047", "stroke-width: 8"},
     {"#fb8c00", "stroke-width: 7; stroke-dasharray: 9 6; stroke-linecap: butt"},
     {"#e53935", "stroke-width: 9; stroke-dasharray: 0 13"}}};
constexpr std::array<const char*, 3> kMarkNames = {"new", "changed", "erased"};

// Parallel lines across a box of the page, as a path. They lie on the same lines for all hatches of
// this direction and distance, so that neighbours fit.
std::string parallelLines(const Box& box, double distance, double radians) {
  const Point along = {std::cos(radians), -std::sin(radians), 0};
  const Point across = {std::sin(radians), std::cos(radians), 0};
  Box corners;  // Of the box, along and across the lines.
  for (const double x : {box.left, box.right}) {
    for (const double y : {box.bottom, box.top}) {
      corners.include(Point{x * along.x + y * along.y, x * across.x + y * across.y, 0});
    }
  }
  const auto at = [&](double u, double v) {
    return Point{u * along.x + v * across.x, u * along.y + v * across.y, 0};
  };
  std::string path;
  for (double n = std::ceil(corners.bottom / distance - 0.5); (n + 0.5) * distance <= corners.top;
       ++n) {
    const double v = (n + 0.5) * distance;
    const auto line = clippedSegment({at(corners.left, v), at(corners.right, v)}, box);
    if (!line) continue;
    path += (path.empty() ? "M" : " M") + svgNumber(line->from.x) + " " + svgNumber(line->from.y) +
            " L" + svgNumber(line->to.x) + " " + svgNumber(line->to.y);
  }
  return path;
}

// The part of the page that the lines of a hatch have to cover: its box, near the panel.
Box hatchBox(const Panel& panel, const Entity& entity) {
  const Box world = boundsOf(entity);
  const double margin = std::max(panel.width, panel.height);
  const Box near =
      Box{panel.left, panel.top, panel.left + panel.width, panel.top + panel.height}.grownBy(
          margin);
  return {std::max(panel.x(world.left), near.left), std::max(panel.y(world.top), near.bottom),
          std::min(panel.x(world.right), near.right), std::min(panel.y(world.bottom), near.top)};
}

// A hatch of lines: they are cut at its outline. Below them the whole area takes clicks.
std::string hatchElement(const Panel& panel, const Drawing& drawing, const Entity& entity,
                         const std::string& colour, const std::string& title) {
  constexpr double kUsualDistance = 3;
  const double distance =
      findNumberGroup(entity.groups, kPatternDistanceGroup, kUsualDistance) * panel.millimetre;
  const double angle = findNumberGroup(entity.groups, kPatternAngleGroup, kPatternAngle);
  const std::string outline = chainsPath(panel, entity);
  const Box box = hatchBox(panel, entity);
  if (outline.empty() || !(box.left <= box.right && box.bottom <= box.top)) return "";
  // A path of its own for each direction: where lines of one path cross, renderers take long.
  const auto lines = [&](double way) {
    return "<path d=\"" + parallelLines(box, distance, way) + "\"/>";
  };
  const bool is_net = findStringGroup(entity.groups, kPatternGroup) == "NET";
  const std::string name = panel.name + "-" + svgText(entity.handle);
  const std::string area = "M" + svgNumber(box.left) + " " + svgNumber(box.bottom) + " H" +
                           svgNumber(box.right) + " V" + svgNumber(box.top) + " H" +
                           svgNumber(box.left) + " Z";
  return "<clipPath id=\"" + name + "\"><path d=\"" + outline +
         "\" clip-rule=\"evenodd\"/></clipPath>\n<g clip-path=\"url(#" + name +
         ")\" class=\"hatch\" stroke=\"" + colour + "\" stroke-width=\"" +
         svgNumber(strokeWidth(panel, drawing.lineWidthOf(entity))) + "\" data-handle=\"" +
         svgText(entity.handle) + "\">" + title + "<path d=\"" + area +
         "\" stroke=\"none\" pointer-events=\"fill\"/>" + lines(angle) +
         (is_net ? lines(angle + kPi / 2) : "") + "</g>\n";
}

std::size_t markIndex(Mark mark) { return static_cast<std::size_t>(mark) - 1; }

}  // namespace

bool isShown(const Panel& panel, const Drawing& drawing, const Entity& entity,
             const std::optional<Box>& window) {
  if (!drawing.isVisible(entity)) return false;
  constexpr double kWidest = 3;  // The wings of lines, bands and marks, in millimetres.
  return !window ||
         boundsOf(entity).meets(window->grownBy(kWidest * panel.millimetre / panel.scale));
}

std::string markStyle(Mark mark) {
  return "class=\"mark " + std::string(kMarkNames[markIndex(mark)]) + "\"";
}

std::string markElement(const Panel& panel, const Entity& entity, Mark mark) {
  if (mark == Mark::None) return "";
  const std::string style = markStyle(mark);
  const std::string_view type = findStringGroup(entity.groups, kTypeGroup);
  if (type == "TEXT") {
    // A band along letters cannot be told from another one; it lies around them.
    if (!isTextNear(panel, entity)) return "";
    return pathElement(pathOf(panel, outlineOf(entity)) + " Z", style, "");
  }
  if (type == "POINT") {
    const Point at = findPoints(entity.groups, kPointGroup).front();
    if (!isNear(panel, at)) return "";
    return circleElement(panel.x(at.x), panel.y(at.y), 2.5 * panel.millimetre, style, "");
  }
  return shapeElement(panel, entity, style, "");
}

std::string entityElement(const Panel& panel, const Drawing& drawing, const Entity& entity) {
  const std::string_view type = findStringGroup(entity.groups, kTypeGroup);
  const std::string colour = paperColour(drawing.colourOf(entity));
  const std::string title = "<title>" +
                            svgText(entity.handle + " " + std::string(type) + " on layer " +
                                    std::string(findStringGroup(entity.groups, kLayerGroup))) +
                            "</title>";
  std::string style;
  if (type == "TEXT") {
    style = "fill=\"" + colour + "\"";
  } else if (type != "HATCH") {
    style = "stroke=\"" + colour + "\"" +
            lineStyle(panel, drawing.lineWidthOf(entity), drawing.dashesFor(entity));
  } else if (findStringGroup(entity.groups, kPatternGroup) == "SOLID") {
    style = "fill=\"" + colour + "\" fill-rule=\"evenodd\" class=\"hatch\"";
  } else {
    return hatchElement(panel, drawing, entity, colour, title);
  }
  style += " data-handle=\"" + svgText(entity.handle) + "\"";
  return shapeElement(panel, entity, style, title);
}

std::string entityRules(const Panel& panel) {
  return ".drawing { fill: none; stroke-width: " +
         svgNumber(strokeWidth(panel, lineWidth(kWeightDefault))) +
         "; stroke-linecap: round; stroke-linejoin: round }\n";
}

std::string markRules() {
  std::string rules =
      ".mark { fill: none; stroke-opacity: 0.4; stroke-linecap: round; pointer-events: none }\n";
  for (std::size_t n = 0; n < kMarkLooks.size(); ++n) {
    rules += "." + std::string(kMarkNames[n]) + " { stroke: " + kMarkLooks[n].colour + "; " +
             kMarkLooks[n].rule + " }\n";
  }
  return rules;
}

}  // namespace lisp_worker::console
