// A picture is a page with one or two panels, before and after. A Panel maps a box of the drawing
// to a rectangle of pixels; everything in it is written as one SVG element after the other. Sizes
// that a person reads, such as the scale bar, are chosen in pixels and turned back into units of
// the drawing.

#include "console/picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string_view>
#include <vector>

#include "console/colour.h"
#include "console/font.h"
#include "console/shape.h"
#include "console/utf8.h"
#include "lisp_worker/client/number_text.h"

namespace lisp_worker::console {

using client::Point;

namespace {

// All in pixels.
constexpr double kPageWidth = 1120;
constexpr double kMargin = 24;
constexpr double kGap = 20;  // Between two panels.
constexpr double kTitleHeight = 34;
constexpr double kCaptionHeight = 28;
constexpr double kPadding = 34;      // Inside a panel, around the drawing.
constexpr double kScaleHeight = 30;  // Inside a panel, below the drawing.
constexpr double kPanelHeightMin = 220;
constexpr double kPanelHeightMax = 620;
constexpr double kLegendRow = 22;
constexpr double kLegendColumn = 180;
constexpr double kAxisLength = 46;
constexpr std::size_t kCellLineMax = 200;

constexpr const char* kAddedColour = "#43a047";
constexpr const char* kChangedColour = "#fb8c00";
constexpr const char* kErasedColour = "#e53935";

enum class Mark : std::uint8_t { None, Added, Changed, Erased };

std::string pixels(double value) {
  if (!std::isfinite(value)) return "0";
  const double rounded = std::round(value * 100) / 100;
  return client::printNumber(std::fabs(rounded) < 1e7 ? rounded + 0.0 : 0);
}

// Text inside an element or an attribute. Control characters cannot be written at all.
std::string escaped(std::string_view text) {
  std::string out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '&') {
      out += "&amp;";
    } else if (c == '<') {
      out += "&lt;";
    } else if (c == '>') {
      out += "&gt;";
    } else if (c == '"') {
      out += "&quot;";
    } else if (byte < 0x20 || byte == 0x7F) {
      out += ' ';
    } else {
      out += c;
    }
  }
  return out;
}

// The letters of `text`, with a question mark for each byte that belongs to none.
std::string wholeLetters(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    const Letter letter = letterAt(text);
    out += letter.is_whole ? text.substr(0, letter.size) : "?";
    text.remove_prefix(letter.size);
  }
  return out;
}

std::string label(double x, double y, std::string_view text, std::string_view attributes) {
  return "<text x=\"" + pixels(x) + "\" y=\"" + pixels(y) + "\" " + std::string(attributes) + ">" +
         escaped(wholeLetters(text)) + "</text>\n";
}

// 1, 2 or 5 times a power of ten: the largest that is at most `value`.
double niceLength(double value) {
  const double power = std::pow(10, std::floor(std::log10(value)));
  for (const double factor : {5.0, 2.0}) {
    if (factor * power <= value) return factor * power;
  }
  return power;
}

// --- From the drawing to the page -------------------------------------------------------------

// A panel: a rectangle of the page that shows a box of the drawing.
struct Panel {
  double left = 0;
  double top = 0;
  double width = 0;
  double height = 0;
  Box world;
  double scale = 1;  // Pixels for each unit of the drawing.

  [[nodiscard]] double middleX() const { return left + width / 2; }
  [[nodiscard]] double middleY() const { return top + (height - kScaleHeight) / 2; }
  [[nodiscard]] double x(double world_x) const {
    return middleX() + (world_x - (world.left + world.right) / 2) * scale;
  }
  [[nodiscard]] double y(double world_y) const {
    return middleY() - (world_y - (world.bottom + world.top) / 2) * scale;
  }
};

std::string position(const Panel& panel, const Point& point) {
  return pixels(panel.x(point.x)) + " " + pixels(panel.y(point.y));
}

bool isUsable(const Box& box) {
  return !box.isEmpty() && std::isfinite(box.left) && std::isfinite(box.bottom) &&
         std::isfinite(box.width()) && std::isfinite(box.height());
}

bool isInvertible(const client::PlanarSystem& s) {
  const double determinant = s.a * s.d - s.b * s.c;
  return std::isfinite(determinant) && std::fabs(determinant) > 1e-18;
}

bool isWorld(const client::PlanarSystem& s) {
  return s.origin_x == 0 && s.origin_y == 0 && s.a == 1 && s.b == 0 && s.c == 0 && s.d == 1;
}

std::string pathOf(const Panel& panel, const std::vector<Point>& points) {
  std::string path;
  for (const Point& point : points) {
    path += (path.empty() ? "M" : " L") + position(panel, point);
  }
  return path;
}

// --- Entities ---------------------------------------------------------------------------------

std::string arcPath(const Panel& panel, const Entity& entity) {
  const std::vector<Point> outline = outlineOf(entity);
  const double radius = findNumberGroup(entity.groups, kSizeGroup, 1) * panel.scale;
  const double sweep = std::fmod(findNumberGroup(entity.groups, kEndAngleGroup, 0) -
                                     findNumberGroup(entity.groups, kStartAngleGroup, 0) + 4 * kPi,
                                 2 * kPi);
  if (!(radius < 1e5) || sweep == 0) return pathOf(panel, outline);
  return "M" + position(panel, outline.front()) + " A" + pixels(radius) + " " + pixels(radius) +
         " 0 " + (sweep > kPi ? "1" : "0") + " 0 " + position(panel, outline.back());
}

std::string textElement(const Panel& panel, const Entity& entity, const std::string& style) {
  constexpr std::array<const char*, 3> kAnchors = {"start", "middle", "end"};
  const Point at = findPoints(entity.groups, kPointGroup).front();
  const double size = findNumberGroup(entity.groups, kSizeGroup, 1) * panel.scale / kCapitalHeight;
  const double degrees = findNumberGroup(entity.groups, kStartAngleGroup, 0) * 180 / kPi;
  const auto alignment =
      static_cast<std::size_t>(findNumberGroup(entity.groups, kAlignmentGroup, 0));
  const std::string_view text = findStringGroup(entity.groups, kTextGroup);
  // Where another font must do, it is drawn as wide as this one.
  std::string attributes =
      "font-size=\"" + pixels(size) + "\" textLength=\"" + pixels(widthInFont(text) * size) +
      "\" lengthAdjust=\"spacingAndGlyphs\" text-anchor=\"" + kAnchors[alignment] + "\" " + style;
  if (degrees != 0) {
    attributes += " transform=\"rotate(" + pixels(-degrees) + " " + position(panel, at) + ")\"";
  }
  return label(panel.x(at.x), panel.y(at.y), text, attributes);
}

// The entity's shape with a style of its own: `stroke` and what belongs to it.
std::string shapeElement(const Panel& panel, const Entity& entity, const std::string& style) {
  const std::string_view type = findStringGroup(entity.groups, kTypeGroup);
  const Point first = findPoints(entity.groups, kPointGroup).front();
  if (type == "CIRCLE") {
    return "<circle cx=\"" + pixels(panel.x(first.x)) + "\" cy=\"" + pixels(panel.y(first.y)) +
           "\" r=\"" + pixels(findNumberGroup(entity.groups, kSizeGroup, 1) * panel.scale) + "\" " +
           style + "/>\n";
  }
  std::string path;
  if (type == "POINT") {
    constexpr double kArm = 4;
    const double x = panel.x(first.x);
    const double y = panel.y(first.y);
    path = "M" + pixels(x - kArm) + " " + pixels(y) + " H" + pixels(x + kArm) + " M" + pixels(x) +
           " " + pixels(y - kArm) + " V" + pixels(y + kArm);
  } else {
    path = type == "ARC" ? arcPath(panel, entity) : pathOf(panel, outlineOf(entity));
    if (type == "POLYLINE" && findNumberGroup(entity.groups, kClosedGroup, 0) == 1) path += " Z";
  }
  return "<path d=\"" + path + "\" " + style + "/>\n";
}

std::string halo(const Panel& panel, const Entity& entity, Mark mark) {
  if (mark == Mark::None) return "";
  const char* const colour = mark == Mark::Added     ? kAddedColour
                             : mark == Mark::Changed ? kChangedColour
                                                     : kErasedColour;
  const bool is_text = findStringGroup(entity.groups, kTypeGroup) == "TEXT";
  const std::string fill = is_text ? " fill=\"" + std::string(colour) + "\"" : "";
  return shapeElement(panel, entity,
                      "stroke=\"" + std::string(colour) + "\" class=\"mark\"" + fill);
}

std::string entityElement(const Panel& panel, const Drawing& drawing, const Entity& entity,
                          Mark mark) {
  const std::string colour = paperColour(drawing.colourOf(entity));
  if (findStringGroup(entity.groups, kTypeGroup) == "TEXT") {
    return textElement(panel, entity, "fill=\"" + colour + "\"");
  }
  return shapeElement(
      panel, entity,
      "stroke=\"" + colour + "\"" + (mark == Mark::Erased ? " stroke-dasharray=\"6 4\"" : ""));
}

// --- Coordinate systems -----------------------------------------------------------------------

std::string arrow(double x, double y, double dx, double dy, std::string_view name) {
  constexpr double kHead = 7;
  const double length = std::hypot(dx, dy);
  const double ux = dx / length;
  const double uy = dy / length;
  const double tip_x = x + ux * kAxisLength;
  const double tip_y = y + uy * kAxisLength;
  std::string path = "M" + pixels(x) + " " + pixels(y) + " L" + pixels(tip_x) + " " + pixels(tip_y);
  for (const double side : {-1.0, 1.0}) {
    path += " M" + pixels(tip_x) + " " + pixels(tip_y) + " L" +
            pixels(tip_x - kHead * (ux + side * 0.5 * -uy)) + " " +
            pixels(tip_y - kHead * (uy + side * 0.5 * ux));
  }
  return "<path d=\"" + path + "\" class=\"axis\"/>\n" +
         label(tip_x + ux * 9, tip_y + uy * 9 + 4, name, "class=\"axis-name\"");
}

std::string axes(const Panel& panel, const client::CoordContext& context) {
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
    path += (path.empty() ? "M" : " M") + position(panel, {p.origin_x + p.a * u0 + p.c * v0,
                                                           p.origin_y + p.b * u0 + p.d * v0, 0});
    path += " L" + position(panel, {p.origin_x + p.a * u1 + p.c * v1,
                                    p.origin_y + p.b * u1 + p.d * v1, 0});
  }
  return path.empty() ? "" : "<path d=\"" + path + "\" class=\"cell\"/>\n";
}

// --- Panels -----------------------------------------------------------------------------------

using Marks = std::map<std::string, Mark, std::less<>>;

Mark markOf(const Marks& marks, const Entity& entity) {
  const auto mark = marks.find(entity.handle);
  return mark == marks.end() ? Mark::None : mark->second;
}

Box extentsOf(const Drawing& drawing) {
  if (drawing.view()) return *drawing.view();
  Box box;
  for (const Entity& entity : drawing.entities()) {
    if (drawing.isVisible(entity)) box.include(boundsOf(entity));
  }
  return box;
}

std::string scaleBar(const Panel& panel) {
  const double length = niceLength(panel.width / 4 / panel.scale);
  const double x = panel.left + 16;
  const double y = panel.top + panel.height - 12;
  const double end = x + length * panel.scale;
  return "<path d=\"M" + pixels(x) + " " + pixels(y - 6) + " V" + pixels(y) + " H" + pixels(end) +
         " V" + pixels(y - 6) + "\" class=\"scale\"/>\n" +
         label(end + 8, y, client::printNumber(length), "class=\"note\"");
}

std::string panelContent(const Panel& panel, const Drawing& drawing, const Marks& marks,
                         const client::CoordContext& context, const PictureOptions& options,
                         std::string_view clip) {
  std::string text = "<g clip-path=\"url(#" + std::string(clip) + ")\">\n";
  if (options.shows_cells && isInvertible(context.cell_plane)) {
    text += cellLines(panel, context.cell_plane, context.cell_size, true);
    text += cellLines(panel, context.cell_plane, context.cell_size, false);
  }
  std::string shapes;
  bool is_empty = true;
  for (const Entity& entity : drawing.entities()) {
    if (!drawing.isVisible(entity)) continue;
    is_empty = false;
    const Mark mark = markOf(marks, entity);
    text += halo(panel, entity, mark);
    shapes += entityElement(panel, drawing, entity, mark);
  }
  text += shapes;
  if (options.shows_axes) text += axes(panel, context);
  text += "</g>\n";
  if (is_empty) {
    text += label(panel.middleX(), panel.middleY(), "nothing is drawn",
                  "class=\"note\" text-anchor=\"middle\"");
  }
  return text + scaleBar(panel);
}

std::string panelElement(const Panel& panel, std::string_view caption, const Drawing& drawing,
                         const Marks& marks, const client::CoordContext& context,
                         const PictureOptions& options, std::string_view clip) {
  const std::string frame = "x=\"" + pixels(panel.left) + "\" y=\"" + pixels(panel.top) +
                            "\" width=\"" + pixels(panel.width) + "\" height=\"" +
                            pixels(panel.height) + "\"";
  return label(panel.left, panel.top - 10, caption, "class=\"caption\"") + "<clipPath id=\"" +
         std::string(clip) + "\"><rect " + frame + "/></clipPath>\n<rect " + frame +
         " class=\"sheet\"/>\n" + panelContent(panel, drawing, marks, context, options, clip);
}

std::string counted(std::size_t count, const char* thing, const char* things) {
  return std::to_string(count) + " " + (count == 1 ? thing : things);
}

// --- The page ---------------------------------------------------------------------------------

class Page {
 public:
  Page(const Drawing& before, const Drawing& after, const client::CoordContext& context,
       const PictureOptions& options)
      : before_(before), after_(after), context_(context), options_(options) {
    for (const EntityChange& change : compareDrawings(before, after)) {
      switch (change.kind) {
        case EntityChange::Kind::Added:
          ++added_count_;
          after_marks_[change.entity.handle] = Mark::Added;
          break;
        case EntityChange::Kind::Changed:
          ++changed_count_;
          after_marks_[change.entity.handle] = Mark::Changed;
          before_marks_[change.entity.handle] = Mark::Changed;
          break;
        case EntityChange::Kind::Erased:
          ++erased_count_;
          before_marks_[change.entity.handle] = Mark::Erased;
          break;
      }
    }
    has_two_ = !before.entities().empty();
    // On an empty sheet everything is new, and marking it would only hide it.
    if (!has_two_) after_marks_.clear();
  }

  std::string draw() {
    const double top = kMargin + (options_.title.empty() ? 0 : kTitleHeight) + kCaptionHeight;
    const Panel after_panel = layOut(top);
    Panel before_panel = after_panel;
    before_panel.left = kMargin;
    const double legend_top = top + after_panel.height + 14;
    const std::string legend = drawLegend(legend_top);
    const double height = legend_top + legend_height_ + kMargin;
    std::string text = head(height);
    if (!options_.title.empty()) {
      text += label(kMargin, kMargin + 18, options_.title, "class=\"title\"");
    }
    if (has_two_) {
      text += panelElement(before_panel,
                           "before: " + counted(before_.entities().size(), "entity", "entities"),
                           before_, before_marks_, context_, options_, "before");
    }
    text += panelElement(after_panel, afterCaption(), after_, after_marks_, context_, options_,
                         "after");
    return text + legend + "</svg>\n";
  }

 private:
  [[nodiscard]] std::string afterCaption() const {
    const std::string count = counted(after_.entities().size(), "entity", "entities");
    if (!has_two_) return count + ", drawn on an empty sheet";
    return "after: " + count + " \xE2\x80\x94 " + std::to_string(added_count_) + " new, " +
           std::to_string(changed_count_) + " changed, " + std::to_string(erased_count_) +
           " erased";
  }

  // The panel of `after`; that of `before` is as large.
  [[nodiscard]] Panel layOut(double top) const {
    Box world = extentsOf(after_);
    if (has_two_ && !after_.view()) world.include(extentsOf(before_));
    if (options_.shows_axes && !after_.view() && isUsable(world)) {
      for (const client::PlanarSystem& system : context_.systems) {
        if (isInvertible(system)) world.include(Point{system.origin_x, system.origin_y, 0});
      }
    }
    if (!isUsable(world)) world = boxBetween({0, 0, 0}, {100, 50, 0});
    double size = std::max(world.width(), world.height());
    if (!(size > 1e-9)) size = 500;  // A point alone: any size will do.
    // A single line would have no height, and far away even a small height is none.
    const double far = std::max(std::fabs(world.left), std::fabs(world.bottom));
    const double least = std::max(size / 50, far * 1e-9);
    if (world.width() < least) {
      world.left -= least / 2;
      world.right += least / 2;
    }
    if (world.height() < least) {
      world.bottom -= least / 2;
      world.top += least / 2;
    }
    Panel panel;
    const double room = kPageWidth - 2 * kMargin;
    panel.width = has_two_ ? (room - kGap) / 2 : room;
    panel.left = has_two_ ? kMargin + panel.width + kGap : kMargin;
    panel.top = top;
    panel.world = world;
    panel.scale = (panel.width - 2 * kPadding) / world.width();
    panel.height = std::clamp(world.height() * panel.scale + 2 * kPadding + kScaleHeight,
                              kPanelHeightMin, kPanelHeightMax);
    panel.scale =
        std::min(panel.scale, (panel.height - 2 * kPadding - kScaleHeight) / world.height());
    return panel;
  }

  static std::string head(double height) {
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + pixels(kPageWidth) +
           "\" height=\"" + pixels(height) + "\" viewBox=\"0 0 " + pixels(kPageWidth) + " " +
           pixels(height) +
           "\" font-family=\"DejaVu Sans, Verdana, sans-serif\">\n"
           "<style>\n"
           "path, circle { fill: none; stroke-width: 1.6; stroke-linecap: round; "
           "stroke-linejoin: round }\n"
           ".mark { stroke-width: 8; stroke-opacity: 0.3; fill-opacity: 0.15 }\n"
           ".sheet { fill: #ffffff; stroke: #b0bec5 }\n"
           ".cell { stroke: #b3d4ea; stroke-width: 1 }\n"
           ".axis { stroke: #6a1b9a; stroke-width: 1.4 }\n"
           ".axis-name { fill: #6a1b9a; font-size: 11px; text-anchor: middle }\n"
           ".scale { stroke: #455a64; stroke-width: 1.4 }\n"
           ".title { fill: #263238; font-size: 19px; font-weight: bold }\n"
           ".caption { fill: #37474f; font-size: 14px }\n"
           ".note { fill: #455a64; font-size: 12px }\n"
           "</style>\n"
           "<rect width=\"100%\" height=\"100%\" fill=\"#f4f6f8\"/>\n";
  }

  struct LegendItem {
    std::string name;
    std::string style;  // Of the line in front of it.
  };

  [[nodiscard]] std::vector<LegendItem> legendItems() const {
    std::set<std::string_view> in_use;
    for (const Drawing* drawing : {&before_, &after_}) {
      for (const Entity& entity : drawing->entities()) {
        in_use.insert(findStringGroup(entity.groups, kLayerGroup));
      }
    }
    std::vector<LegendItem> items;
    for (const Layer& layer : after_.layers()) {
      if (!in_use.contains(layer.name)) continue;
      items.push_back({layer.name + (layer.is_visible ? "" : " (off)"),
                       "stroke=\"" + paperColour(layer.colour) + "\" style=\"stroke-width: 3\""});
    }
    struct MarkRow {
      std::size_t count;
      const char* name;
      const char* colour;
    };
    const MarkRow marks[] = {{added_count_, "new", kAddedColour},
                             {changed_count_, "changed", kChangedColour},
                             {erased_count_, "erased", kErasedColour}};
    for (const MarkRow& mark : marks) {
      if (!has_two_ || mark.count == 0) continue;
      items.push_back({mark.name, "stroke=\"" + std::string(mark.colour) + "\" class=\"mark\""});
    }
    return items;
  }

  std::string drawLegend(double top) {
    constexpr std::size_t kNameSizeMax = 20;
    constexpr std::size_t kItemMax = 30;
    std::vector<LegendItem> items = legendItems();
    const std::size_t left_out = items.size() > kItemMax ? items.size() - kItemMax : 0;
    items.resize(items.size() - left_out);
    if (left_out != 0) items.push_back({"and " + std::to_string(left_out) + " more", ""});
    const auto columns = static_cast<std::size_t>((kPageWidth - 2 * kMargin) / kLegendColumn);
    std::string text;
    for (std::size_t n = 0; n < items.size(); ++n) {
      const std::size_t row = n / columns;
      const double x = kMargin + kLegendColumn * static_cast<double>(n % columns);
      const double y = top + kLegendRow * (static_cast<double>(row) + 0.6);
      if (!items[n].style.empty()) {
        text += "<path d=\"M" + pixels(x) + " " + pixels(y) + " H" + pixels(x + 24) + "\" " +
                items[n].style + "/>\n";
      }
      std::string name = items[n].name;
      if (name.size() > kNameSizeMax) name = name.substr(0, kNameSizeMax - 2) + "..";
      text += label(x + 32, y + 4, name, "class=\"note\"");
    }
    const std::size_t rows = (items.size() + columns - 1) / columns;
    legend_height_ = kLegendRow * static_cast<double>(rows);
    return text;
  }

  const Drawing& before_;
  const Drawing& after_;
  const client::CoordContext& context_;
  const PictureOptions& options_;
  Marks before_marks_;
  Marks after_marks_;
  std::size_t added_count_ = 0;
  std::size_t changed_count_ = 0;
  std::size_t erased_count_ = 0;
  bool has_two_ = false;
  double legend_height_ = 0;
};

}  // namespace

std::string drawPicture(const Drawing& before, const Drawing& after,
                        const client::CoordContext& context, const PictureOptions& options) {
  return Page(before, after, context, options).draw();
}

}  // namespace lisp_worker::console
