// A picture is a page with one or two panels, before and after. A Panel maps a box of the drawing
// to a rectangle of pixels; everything in it is written as one SVG element after the other. Sizes
// that a person reads, such as the scale bar, are chosen in pixels and turned back into units of
// the drawing.

#include "console/picture.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <set>
#include <string_view>
#include <vector>

#include "console/colour.h"
#include "console/entity_picture.h"
#include "console/line_style.h"
#include "console/panel.h"
#include "console/shape.h"
#include "console/sheet_picture.h"
#include "console/svg.h"
#include "console/systems_picture.h"
#include "explain/value_text.h"
#include "lisp_worker/client/number_text.h"

namespace lisp_worker::console {

using client::Point;

namespace {

// All in pixels.
constexpr double kPageWidth = 1120;
constexpr double kMillimetre = 4;    // Of paper, so that dashes look right.
constexpr double kLineFactor = 1.6;  // Thin lines are hard to see on a screen.
constexpr double kMargin = 24;
constexpr double kGap = 20;  // Between two panels.
constexpr double kTitleHeight = 34;
constexpr double kCaptionHeight = 28;
constexpr double kPadding = 34;  // Inside a panel, around the drawing.
constexpr double kWindowPadding = 10;
constexpr const char* kWindowStyle =
    " class=\"window\" fill=\"none\" stroke=\"#b0bec5\" stroke-dasharray=\"4 3\"/>\n";
constexpr double kScaleHeight = 30;  // Inside a panel, below the drawing.
constexpr double kPanelHeightMin = 220;
constexpr double kPanelHeightMax = 620;
constexpr double kLegendRow = 22;
constexpr double kLegendColumn = 180;

// 1, 2 or 5 times a power of ten: the largest that is at most `value`.
double niceLength(double value) {
  const double power = std::pow(10, std::floor(std::log10(value)));
  for (const double factor : {5.0, 2.0}) {
    if (factor * power <= value) return factor * power;
  }
  return power;
}

bool isUsable(const Box& box) {
  return !box.isEmpty() && std::isfinite(box.left) && std::isfinite(box.bottom) &&
         std::isfinite(box.width()) && std::isfinite(box.height());
}

// --- Panels -----------------------------------------------------------------------------------

using Marks = std::map<std::string, Mark, std::less<>>;

Mark markOf(const Marks& marks, const Entity& entity) {
  const auto mark = marks.find(entity.handle);
  return mark == marks.end() ? Mark::None : mark->second;
}

// The part of the drawing that its picture shows.
Box shownPart(const Drawing& drawing) {
  return drawing.view() ? *drawing.view() : extentsOf(drawing);
}

std::string scaleBar(const Panel& panel) {
  const double length = niceLength(panel.width / 4 / panel.scale);
  const double x = panel.left + 16;
  const double y = panel.top + panel.height - 12;
  const double end = x + length * panel.scale;
  return "<path d=\"M" + svgNumber(x) + " " + svgNumber(y - 6) + " V" + svgNumber(y) + " H" +
         svgNumber(end) + " V" + svgNumber(y - 6) + "\" class=\"scale\"/>\n" +
         svgLabel(end + 8, y, client::printNumber(length), "class=\"note\"");
}

std::string mappingOf(const Panel& panel) {
  return " data-panel=\"" + panel.name + "\" data-frame=\"" + svgNumber(panel.left) + " " +
         svgNumber(panel.top) + " " + svgNumber(panel.width) + " " +
         svgNumber(panel.height - panel.strip) + "\" data-mapping=\"" +
         client::printNumber(panel.x(0)) + " " + client::printNumber(panel.y(0)) + " " +
         client::printNumber(panel.scale) + "\"";
}

std::string panelContent(const Panel& panel, const Drawing& drawing, const Marks& marks,
                         const client::CoordContext& context, const PictureOptions& options) {
  std::string text = "<g class=\"drawing\" clip-path=\"url(#" + panel.name + ")\"" +
                     (options.tells_mapping ? mappingOf(panel) : "") + ">\n";
  if (options.shows_cells) text += cellElements(panel, context);
  std::string shapes;
  bool is_empty = true;
  for (const Entity& entity : drawing.entities()) {
    if (!isShown(panel, drawing, entity, options.page.window)) continue;
    is_empty = false;
    text += markElement(panel, entity, markOf(marks, entity));
    shapes += entityElement(panel, drawing, entity);
  }
  text += shapes;
  if (options.shows_axes) text += axesElements(panel, context);
  text += "</g>\n";
  if (is_empty) {
    text += svgLabel(panel.middleX(), panel.middleY(),
                     options.page.window ? "nothing lies in the window" : "nothing is drawn",
                     "class=\"note\" text-anchor=\"middle\"");
  }
  return text + scaleBar(panel);
}

std::string panelElement(const Panel& panel, std::string_view caption, const Drawing& drawing,
                         const Marks& marks, const client::CoordContext& context,
                         const PictureOptions& options) {
  const std::string frame = panel.frame();
  const std::optional<Box>& window = options.page.window;
  const std::string shown = window ? panel.frameOf(*window) : frame;
  return svgLabel(panel.left, panel.top - 10, caption, "class=\"caption\"") + "<clipPath id=\"" +
         panel.name + "\"><rect " + shown + "/></clipPath>\n<rect " + frame +
         " class=\"sheet\"/>\n" + (window ? "<rect " + shown + kWindowStyle : "") +
         panelContent(panel, drawing, marks, context, options);
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
    has_two_ = !before.entities().empty() && looksDifferent();
    // On an empty sheet everything is new, and marking it would only hide it.
    if (!has_two_) after_marks_.clear();
  }

  std::string draw() {
    const double top = kMargin + (options_.title.empty() ? 0 : kTitleHeight) + kCaptionHeight;
    const Panel after_panel = layOut(top);
    Panel before_panel = after_panel;
    before_panel.left = kMargin;
    before_panel.name = "before";
    const double legend_top = top + after_panel.height + 14;
    const std::string legend = drawLegend(legend_top, after_panel);
    const double height = legend_top + legend_height_ + kMargin;
    std::string text = head(height, after_panel);
    if (!options_.title.empty()) {
      text += svgLabel(kMargin, kMargin + 18, options_.title, "class=\"title\"");
    }
    if (has_two_) {
      text += panelElement(
          before_panel,
          "before: " + explain::counted(before_.entities().size(), "entity", "entities"), before_,
          before_marks_, context_, options_);
    }
    text += panelElement(after_panel, afterCaption(), after_, after_marks_, context_, options_);
    return text + legend + "</svg>\n";
  }

 private:
  // True when an entity, or a layer that there was, is not what it was.
  [[nodiscard]] bool looksDifferent() const {
    if (added_count_ + changed_count_ + erased_count_ != 0) return true;
    const std::vector<Layer> layers = before_.layers();
    return std::any_of(layers.begin(), layers.end(), [this](const Layer& layer) {
      const Layer* const now = after_.findLayer(layer.name);
      return now == nullptr || *now != layer;
    });
  }

  [[nodiscard]] std::string afterCaption() const {
    const std::string count = explain::counted(after_.entities().size(), "entity", "entities");
    if (!has_two_) {
      return count +
             (before_.entities().empty() ? ", drawn on an empty sheet" : ", nothing has changed");
    }
    return "after: " + count + " \xE2\x80\x94 " + std::to_string(added_count_) + " new, " +
           std::to_string(changed_count_) + " changed, " + std::to_string(erased_count_) +
           " erased";
  }

  // The part of the drawing that both panels show, of any size.
  [[nodiscard]] Box shownBox() const {
    Box world = shownPart(after_);
    if (has_two_ && !after_.view()) world.include(shownPart(before_));
    if (options_.shows_axes && !after_.view() && isUsable(world)) {
      for (const client::PlanarSystem& system : context_.systems) {
        if (isInvertible(system)) world.include(Point{system.origin_x, system.origin_y, 0});
      }
    }
    return world;
  }

  // A box of this middle with a width and a height that can be shown.
  static Box roomyBox(Box world) {
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
    return world;
  }

  // The panel of `after`; that of `before` is as large.
  [[nodiscard]] Panel layOut(double top) const {
    const Box world = options_.page.window ? *options_.page.window : roomyBox(shownBox());
    Panel panel;
    const double room = kPageWidth - 2 * kMargin;
    panel.strip = kScaleHeight;
    panel.millimetre = kMillimetre;
    panel.line_factor = kLineFactor;
    panel.name = "after";
    panel.width = has_two_ ? (room - kGap) / 2 : room;
    panel.left = has_two_ ? kMargin + panel.width + kGap : kMargin;
    panel.top = top;
    panel.world = world;
    const double padding = options_.page.window ? kWindowPadding : kPadding;
    panel.scale = (panel.width - 2 * padding) / world.width();
    panel.height = std::clamp(world.height() * panel.scale + 2 * padding + kScaleHeight,
                              kPanelHeightMin, kPanelHeightMax);
    panel.scale =
        std::min(panel.scale, (panel.height - 2 * padding - kScaleHeight) / world.height());
    return panel;
  }

  static std::string head(double height, const Panel& panel) {
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + svgNumber(kPageWidth) +
           "\" height=\"" + svgNumber(height) + "\" viewBox=\"0 0 " + svgNumber(kPageWidth) + " " +
           svgNumber(height) +
           "\" font-family=\"DejaVu Sans, Verdana, sans-serif\">\n"
           "<style>\n" +
           entityRules(panel) + markRules() + systemsRules() +
           ".sheet { fill: #ffffff; stroke: #b0bec5 }\n"
           ".scale { fill: none; stroke: #455a64; stroke-width: 1.4 }\n"
           ".layer { fill: none; stroke-width: 3; stroke-linecap: round }\n"
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

  [[nodiscard]] std::vector<LegendItem> legendItems(const Panel& panel) const {
    std::set<std::string_view> in_use;
    for (const Drawing* drawing : {&before_, &after_}) {
      for (const Entity& entity : drawing->entities()) {
        in_use.insert(findStringGroup(entity.groups, kLayerGroup));
      }
    }
    std::vector<LegendItem> items;
    for (const Layer& layer : after_.layers()) {
      if (!in_use.contains(layer.name)) continue;
      constexpr double kShorter = 0.4;  // The line of a legend is short.
      std::vector<double> dashes = *dashesOf(layer.line_type);
      for (double& dash : dashes) dash *= kShorter;
      items.push_back({layer.name + (layer.is_visible ? "" : " (off)"),
                       "stroke=\"" + paperColour(layer.colour) + "\" class=\"layer\"" +
                           lineStyle(panel, lineWidth(kWeightDefault), dashes)});
    }
    struct MarkRow {
      std::size_t count;
      const char* name;
      Mark mark;
    };
    const MarkRow marks[] = {{added_count_, "new", Mark::Added},
                             {changed_count_, "changed", Mark::Changed},
                             {erased_count_, "erased", Mark::Erased}};
    for (const MarkRow& row : marks) {
      if (has_two_ && row.count != 0) items.push_back({row.name, markStyle(row.mark)});
    }
    return items;
  }

  std::string drawLegend(double top, const Panel& panel) {
    constexpr std::size_t kNameSizeMax = 20;
    constexpr std::size_t kItemMax = 30;
    std::vector<LegendItem> items = legendItems(panel);
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
        text += "<path d=\"M" + svgNumber(x) + " " + svgNumber(y) + " H" + svgNumber(x + 27) +
                "\" " + items[n].style + "/>\n";
      }
      std::string name = items[n].name;
      if (name.size() > kNameSizeMax) name = name.substr(0, kNameSizeMax - 2) + "..";
      text += svgLabel(x + 32, y + 4, name, "class=\"note\"");
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

std::optional<Picture> makePicture(const Drawing& before, const Drawing& after,
                                   const client::CoordContext& context,
                                   const PictureOptions& options, std::string& error) {
  if (options.page.sheet) {
    return drawSheet(after, *options.page.sheet, options.page.window, options.title, error);
  }
  return Picture{drawPicture(before, after, context, options), ""};
}

std::string pictureLine(const std::string& path, const Picture& picture) {
  return "picture: " + path + (picture.note.empty() ? "" : "   [" + picture.note + "]");
}

std::string whyNoPicture(std::string_view path) {
  const bool is_known = path.ends_with(".svg") || path.ends_with(".png") || path.ends_with(".pdf");
  return is_known ? "" : std::string(path) + ": the name must end in .svg, .png or .pdf";
}

std::optional<std::string> pictureFile(const std::string& svg, std::string_view path,
                                       std::string& error) {
  if (path.ends_with(".png")) return renderPng(svg, error);
  return path.ends_with(".pdf") ? renderPdf(svg, error) : std::optional(svg);
}

}  // namespace lisp_worker::console
