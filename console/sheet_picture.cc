// A unit of the page is a millimetre of paper, so lines, dashes and hatches have their true sizes.

#include "console/sheet_picture.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

#include "console/entity_picture.h"
#include "console/font.h"
#include "console/panel.h"
#include "console/svg.h"
#include "console/utf8.h"
#include "lisp_worker/client/coordinates.h"

namespace lisp_worker::console {

using client::Point;

namespace {

// Heights of capitals in the title block.
constexpr double kLabelHeight = 1.8;
constexpr double kValueHeight = 3.5;
constexpr double kCellPadding = 2;

// The frame without its margins.
struct Frame {
  double left = kFileMargin;
  double top = kFrameMargin;
  double width = 0;
  double height = 0;

  explicit Frame(const PaperSize& size)
      : width(size.width - kFileMargin - kFrameMargin), height(size.height - 2 * kFrameMargin) {}
};

Panel layOut(const PaperSheet& sheet, const Box& world, const Scale& scale) {
  Panel panel;
  panel.name = "sheet";
  panel.left = kFileMargin + kClearance;
  panel.top = kFrameMargin + kClearance;
  panel.width = sheet.room().width;
  panel.height = sheet.room().height;
  panel.world = world;
  panel.scale = scale.factor() * sheet.unit.millimetres;
  return panel;
}

// As much of the text as is `width` wide, with two dots for the rest.
std::string fittingText(std::string_view text, double font_size, double width) {
  if (widthInFont(text) * font_size <= width) return std::string(text);
  const double room = width / font_size - widthInFont("..");
  std::size_t size = 0;
  double used = 0;
  while (size < text.size()) {
    const std::size_t letter_size = letterAt(text.substr(size)).size;
    used += widthInFont(text.substr(size, letter_size));
    if (used > room) break;
    size += letter_size;
  }
  return std::string(text.substr(0, size)) + "..";
}

std::string cell(double left, double top, double width, std::string_view label,
                 std::string_view value) {
  const double size = kValueHeight / kCapitalHeight;
  const double x = left + kCellPadding;
  return "<rect " + svgRectangle(left, top, width, kTitleBlockHeight) + " class=\"cell\"/>\n" +
         svgLabel(x, top + kCellPadding + kLabelHeight, label, "class=\"label\"") +
         svgLabel(x, top + kTitleBlockHeight - kCellPadding - 1,
                  fittingText(value, size, width - 2 * kCellPadding), "class=\"value\"");
}

// In the lower right corner of the frame.
std::string titleBlock(const Frame& frame, const PaperSheet& sheet, const Scale& scale,
                       const std::string& title) {
  constexpr double kScaleWidth = 36;
  constexpr double kUnitsWidth = 20;
  constexpr double kSheetWidth = 28;
  const double width = std::min(kTitleBlockWidth, frame.width);
  const double top = frame.top + frame.height - kTitleBlockHeight;
  const double title_width = width - kScaleWidth - kUnitsWidth - kSheetWidth;
  double left = frame.left + frame.width - width;
  std::string text = cell(left, top, title_width, "drawing", title);
  left += title_width;
  text += cell(left, top, kScaleWidth, "scale", scale.text());
  left += kScaleWidth;
  text += cell(left, top, kUnitsWidth, "units", sheet.unit.name);
  left += kUnitsWidth;
  return text + cell(left, top, kSheetWidth, "sheet", sheet.format.name);
}

std::string head(const PaperSize& size, const Panel& panel) {
  const std::string width = svgNumber(size.width);
  const std::string height = svgNumber(size.height);
  return "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + width + "mm\" height=\"" + height +
         "mm\" viewBox=\"0 0 " + width + " " + height +
         "\" font-family=\"DejaVu Sans, Verdana, sans-serif\">\n"
         "<style>\n" +
         entityRules(panel) +
         ".frame { fill: none; stroke: #000000; stroke-width: 0.7 }\n"
         ".cell { fill: none; stroke: #000000; stroke-width: 0.35 }\n"
         ".label { fill: #000000; font-size: " +
         svgNumber(kLabelHeight / kCapitalHeight) +
         "px }\n.value { fill: #000000; font-size: " + svgNumber(kValueHeight / kCapitalHeight) +
         "px }\n"
         "</style>\n"
         "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
}

}  // namespace

std::optional<Picture> drawSheet(const Drawing& drawing, const PaperSheet& sheet,
                                 const std::optional<Box>& window, const std::string& title,
                                 std::string& error) {
  Box world = window ? *window : extentsOf(drawing);
  const auto scale = scaleFor(sheet, world, window ? "window" : "drawing", error);
  if (!scale) return std::nullopt;
  if (world.isEmpty()) world.include(Point{0, 0, 0});
  const Panel panel = layOut(sheet, world, *scale);
  const Frame frame(sheet.size());
  const std::string shown = window ? panel.frameOf(*window)
                                   : svgRectangle(frame.left, frame.top, frame.width, frame.height);
  std::string text = head(sheet.size(), panel) + "<clipPath id=\"sheet\"><rect " + shown +
                     "/></clipPath>\n<g class=\"drawing\" clip-path=\"url(#sheet)\">\n";
  for (const Entity& entity : drawing.entities()) {
    if (isShown(panel, drawing, entity, window)) text += entityElement(panel, drawing, entity);
  }
  text += "</g>\n<rect " + svgRectangle(frame.left, frame.top, frame.width, frame.height) +
          " class=\"frame\"/>\n" + titleBlock(frame, sheet, *scale, title) + "</svg>\n";
  return Picture{std::move(text), sheet.name() + " at " + scale->text()};
}

}  // namespace lisp_worker::console
