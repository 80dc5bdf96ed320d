// Shapes of entities on a panel, first without a style: entities, and the bands that mark them, are
// the same shapes in styles of their own.

#include "console/entity_picture.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <string_view>
#include <vector>

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

std::string arcPath(const Panel& panel, const Entity& entity) {
  const std::vector<Point> outline = outlineOf(entity);
  const double radius = findNumberGroup(entity.groups, kSizeGroup, 1) * panel.scale;
  const double sweep = std::fmod(findNumberGroup(entity.groups, kEndAngleGroup, 0) -
                                     findNumberGroup(entity.groups, kStartAngleGroup, 0) + 4 * kPi,
                                 2 * kPi);
  if (!(radius < 1e5) || sweep == 0) return pathOf(panel, outline);
  return "M" + panel.position(outline.front()) + " A" + svgNumber(radius) + " " +
         svgNumber(radius) + " 0 " + (sweep > kPi ? "1" : "0") + " 0 " +
         panel.position(outline.back());
}

// A chain as pieces of a path. An arc that is too flat to be seen is a line.
std::string chainPath(const Panel& panel, const VertexChain& chain) {
  constexpr double kFlat = 1e6;
  const std::vector<Vertex>& vertices = chain.vertices;
  std::string path = "M" + panel.position(vertices.front().at);
  const std::size_t piece_count = vertices.size() - (chain.is_closed ? 0 : 1);
  for (std::size_t n = 0; n < piece_count; ++n) {
    const Point to = vertices[(n + 1) % vertices.size()].at;
    const auto arc = arcBetween(vertices[n].at, to, vertices[n].bulge);
    const double radius = arc ? arc->radius * panel.scale : kFlat;
    if (radius < kFlat) {
      path += " A" + svgNumber(radius) + " " + svgNumber(radius) + " 0 " +
              (std::fabs(arc->sweep) > kPi ? "1 " : "0 ") + (arc->sweep < 0 ? "1 " : "0 ") +
              panel.position(to);
    } else if (n + 1 < vertices.size()) {
      path += " L" + panel.position(to);
    }
  }
  return path + (chain.is_closed ? " Z" : "");
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

std::string shapeElement(const Panel& panel, const Entity& entity, const std::string& style,
                         const std::string& inside) {
  const std::string_view type = findStringGroup(entity.groups, kTypeGroup);
  const Point first = findPoints(entity.groups, kPointGroup).front();
  if (type == "TEXT") return textElement(panel, entity, style, inside);
  if (type == "CIRCLE") {
    return circleElement(panel.x(first.x), panel.y(first.y),
                         findNumberGroup(entity.groups, kSizeGroup, 1) * panel.scale, style,
                         inside);
  }
  std::string path;
  if (type == "POINT") {
    const double arm = panel.millimetre;
    const double x = panel.x(first.x);
    const double y = panel.y(first.y);
    path = "M" + svgNumber(x - arm) + " " + svgNumber(y) + " H" + svgNumber(x + arm) + " M" +
           svgNumber(x) + " " + svgNumber(y - arm) + " V" + svgNumber(y + arm);
  } else if (hasChains(entity.groups)) {
    for (const VertexChain& chain : chainsOf(entity)) {
      path += (path.empty() ? "" : " ") + chainPath(panel, chain);
    }
  } else {
    path = type == "ARC" ? arcPath(panel, entity) : pathOf(panel, outlineOf(entity));
  }
  return pathElement(path, style, inside);
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

std::string patternName(const Panel& panel, const Entity& entity) {
  return panel.name + "-" + svgText(entity.handle);
}

// The tile that a hatch is filled with: one line, or two that cross.
std::string patternElement(const Panel& panel, const Drawing& drawing, const Entity& entity,
                           const std::string& colour) {
  constexpr double kUsualDistance = 3;
  const double size =
      findNumberGroup(entity.groups, kPatternDistanceGroup, kUsualDistance) * panel.millimetre;
  const double degrees =
      findNumberGroup(entity.groups, kPatternAngleGroup, kPatternAngle) * 180 / kPi;
  const std::string length = svgNumber(size);
  const std::string middle = svgNumber(size / 2);
  const bool is_net = findStringGroup(entity.groups, kPatternGroup) == "NET";
  return "<pattern id=\"" + patternName(panel, entity) +
         "\" patternUnits=\"userSpaceOnUse\" width=\"" + length + "\" height=\"" + length +
         "\" patternTransform=\"rotate(" + svgNumber(-degrees) + ")\"><path d=\"M0 " + middle +
         " H" + length + (is_net ? " M" + middle + " 0 V" + length : "") + "\" stroke=\"" + colour +
         "\" stroke-width=\"" + svgNumber(strokeWidth(panel, drawing.lineWidthOf(entity))) +
         "\"/></pattern>\n";
}

std::size_t markIndex(Mark mark) { return static_cast<std::size_t>(mark) - 1; }

}  // namespace

std::string markStyle(Mark mark) {
  return "class=\"mark " + std::string(kMarkNames[markIndex(mark)]) + "\"";
}

std::string markElement(const Panel& panel, const Entity& entity, Mark mark) {
  if (mark == Mark::None) return "";
  const std::string style = markStyle(mark);
  const std::string_view type = findStringGroup(entity.groups, kTypeGroup);
  if (type == "TEXT") {
    // A band along letters cannot be told from another one; it lies around them.
    return pathElement(pathOf(panel, outlineOf(entity)) + " Z", style, "");
  }
  if (type == "POINT") {
    const Point at = findPoints(entity.groups, kPointGroup).front();
    return circleElement(panel.x(at.x), panel.y(at.y), 2.5 * panel.millimetre, style, "");
  }
  return shapeElement(panel, entity, style, "");
}

std::string entityElement(const Panel& panel, const Drawing& drawing, const Entity& entity) {
  const std::string_view type = findStringGroup(entity.groups, kTypeGroup);
  const std::string colour = paperColour(drawing.colourOf(entity));
  const std::string title = svgText(entity.handle + " " + std::string(type) + " on layer " +
                                    std::string(findStringGroup(entity.groups, kLayerGroup)));
  std::string before;
  std::string style;
  if (type == "TEXT") {
    style = "fill=\"" + colour + "\"";
  } else if (type == "HATCH") {
    std::string paint = colour;
    if (findStringGroup(entity.groups, kPatternGroup) != "SOLID") {
      before = patternElement(panel, drawing, entity, colour);
      paint = "url(#" + patternName(panel, entity) + ")";
    }
    style = "fill=\"" + paint + "\" fill-rule=\"evenodd\"";
  } else {
    style = "stroke=\"" + colour + "\"" +
            lineStyle(panel, drawing.lineWidthOf(entity), drawing.dashesFor(entity));
  }
  style += " data-handle=\"" + svgText(entity.handle) + "\"";
  return before + shapeElement(panel, entity, style, "<title>" + title + "</title>");
}

std::string entityRules(const Panel& panel) {
  std::string rules =
      ".drawing { fill: none; stroke-width: " +
      svgNumber(strokeWidth(panel, lineWidth(kWeightDefault))) +
      "; stroke-linecap: round; stroke-linejoin: round }\n"
      ".mark { fill: none; stroke-opacity: 0.4; stroke-linecap: round; pointer-events: none }\n";
  for (std::size_t n = 0; n < kMarkLooks.size(); ++n) {
    rules += "." + std::string(kMarkNames[n]) + " { stroke: " + kMarkLooks[n].colour + "; " +
             kMarkLooks[n].rule + " }\n";
  }
  return rules;
}

}  // namespace lisp_worker::console
