// Formats, units and standard scales are tables; the suggestions of a refusal come from them.

#include "console/paper.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "console/command_input.h"
#include "lisp_worker/client/number_text.h"

namespace lisp_worker::console {
namespace {

// From small to large, but for the last, which is suggested to nobody.
constexpr std::array<PaperFormat, 6> kFormats = {{{"A4", {210, 297}},
                                                  {"A3", {297, 420}},
                                                  {"A2", {420, 594}},
                                                  {"A1", {594, 841}},
                                                  {"A0", {841, 1189}},
                                                  {"Letter", {215.9, 279.4}}}};

constexpr std::array<LengthUnit, 4> kUnits = {{{"mm", 1}, {"cm", 10}, {"m", 1000}, {"in", 25.4}}};

// The names in a table: "A4, A3 and A2".
template <typename Table>
std::string namesIn(const Table& table) {
  std::string names;
  for (std::size_t n = 0; n < table.size(); ++n) {
    if (n != 0) names += n + 1 == table.size() ? " and " : ", ";
    names += table[n].name;
  }
  return names;
}

// The row of that name, in upper or lower case; null when there is none.
template <typename Table>
const typename Table::value_type* findNamed(const Table& table, std::string_view name) {
  const auto row = std::find_if(table.begin(), table.end(), [name](const auto& each) {
    return upperCase(each.name) == upperCase(name);
  });
  return row == table.end() ? nullptr : &*row;
}

// From the largest to the smallest.
std::vector<Scale> standardScales() {
  std::vector<Scale> scales;
  for (double power = 1000; power >= 1; power /= 10) {
    for (const double part : {10.0, 5.0, 2.0}) {
      if (part * power <= 1000) scales.push_back({part * power, 1});
    }
  }
  for (double power = 1; power <= kScalePartMax; power *= 10) {
    for (const double part : {1.0, 2.0, 5.0}) {
      if (part * power <= kScalePartMax) scales.push_back({1, part * power});
    }
  }
  return scales;
}

// The box in millimetres, at 1:1.
PaperSize sizeOf(const Box& box, const LengthUnit& unit) {
  return {std::max(box.width(), 0.0) * unit.millimetres,
          std::max(box.height(), 0.0) * unit.millimetres};
}

bool fits(const PaperSize& drawn, const Scale& scale, const PaperSheet& sheet) {
  // Extents are sums of rounded numbers.
  constexpr double kTolerance = 1 + 1e-9;
  const PaperSize room = sheet.room();
  return drawn.width * scale.factor() <= room.width * kTolerance &&
         drawn.height * scale.factor() <= room.height * kTolerance;
}

// The largest standard scale that fits and is smaller than `limit`.
std::optional<Scale> largestScale(const PaperSize& drawn, const PaperSheet& sheet, double limit) {
  for (const Scale& scale : standardScales()) {
    if (scale.factor() < limit && fits(drawn, scale, sheet)) return scale;
  }
  return std::nullopt;
}

std::string roundedUp(double value) {
  // Without the sign of a zero.
  return client::printNumber(std::max(std::ceil(value * 100 - 1e-6) / 100, 0.0) + 0.0);
}

std::string text(const PaperSize& size) {
  return roundedUp(size.width) + " x " + roundedUp(size.height) + " mm";
}

// The option that turns a sheet round.
std::string turnedText(const PaperSheet& turned) {
  return turned.is_landscape ? "--landscape" : "without --landscape";
}

// The smallest larger sheet on which the drawing fits at `scale`, as options; empty when none is.
std::string largerSheet(const PaperSize& drawn, const Scale& scale, const PaperSheet& sheet) {
  for (const PaperFormat& format : kFormats) {
    const bool is_larger = format.upright.width > sheet.format.upright.width;
    for (const bool turns : {false, true}) {
      PaperSheet larger = sheet;
      larger.format = format;
      larger.is_landscape = sheet.is_landscape != turns;
      if (!is_larger || !fits(drawn, scale, larger)) continue;
      return "--sheet " + std::string(format.name) + (turns ? " " + turnedText(larger) : "");
    }
  }
  return "";
}

std::string suggestion(const PaperSize& drawn, const Scale& scale, const PaperSheet& sheet) {
  std::vector<std::string> ways;
  if (const auto smaller = largestScale(drawn, sheet, scale.factor())) {
    ways.push_back("--scale " + smaller->text());
  }
  PaperSheet turned = sheet;
  turned.is_landscape = !sheet.is_landscape;
  if (fits(drawn, scale, turned)) ways.push_back(turnedText(turned));
  if (const std::string larger = largerSheet(drawn, scale, sheet); !larger.empty()) {
    ways.push_back(larger);
  }
  std::string text;
  for (std::size_t n = 0; n < ways.size(); ++n) {
    if (n != 0) text += n + 1 == ways.size() ? " or " : ", ";
    text += ways[n];
  }
  return text.empty() ? "" : "; try: " + text;
}

std::optional<double> readScalePart(std::string_view text) {
  const auto value = client::readNumber(text);
  return value && *value > 0 && *value <= kScalePartMax ? value : std::nullopt;
}

std::optional<Scale> readScale(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  const auto paper = readScalePart(text.substr(0, colon));
  const auto drawing = readScalePart(text.substr(colon + 1));
  if (!paper || !drawing) return std::nullopt;
  return Scale{*paper, *drawing};
}

// Four finite numbers between commas, as two corners.
std::optional<Box> readWindow(std::string_view text) {
  std::array<double, 4> values{};
  for (std::size_t n = 0; n < values.size(); ++n) {
    const std::size_t comma = text.find(',');
    const bool is_last = n + 1 == values.size();
    if ((comma == std::string_view::npos) != is_last) return std::nullopt;
    const auto value = client::readNumber(text.substr(0, comma));
    if (!value) return std::nullopt;
    values[n] = *value;
    text.remove_prefix(is_last ? text.size() : comma + 1);
  }
  return boxBetween({values[0], values[1], 0}, {values[2], values[3], 0});
}

// True when doubles can tell places inside of the window apart.
bool isWindowUsable(const Box& window) {
  constexpr double kLeast = 1e-12;
  const double far = std::max({std::fabs(window.left), std::fabs(window.right),
                               std::fabs(window.bottom), std::fabs(window.top)});
  const auto is_usable = [far](double length) { return length > far * kLeast && length < 1e300; };
  return is_usable(window.width()) && is_usable(window.height());
}

bool readSheet(const PageTexts& texts, const std::string& prefix, PageWishes& wishes,
               std::string& error) {
  const PaperFormat* const format = findNamed(kFormats, *texts.sheet);
  if (format == nullptr) {
    error = prefix + "sheet " + *texts.sheet + ": the sheets are " + namesIn(kFormats);
    return false;
  }
  PaperSheet sheet{.format = *format, .is_landscape = texts.is_landscape, .scale = {}};
  if (texts.scale) {
    sheet.scale = readScale(*texts.scale);
    if (!sheet.scale) {
      error = prefix + "scale " + *texts.scale +
              ": a scale is 1:10 or 2:1, numbers above 0 and at most 1000000";
      return false;
    }
  }
  if (texts.units) {
    const LengthUnit* const unit = findNamed(kUnits, *texts.units);
    if (unit == nullptr) {
      error = prefix + "units " + *texts.units + ": the units are " + namesIn(kUnits);
      return false;
    }
    sheet.unit = *unit;
  }
  wishes.sheet = sheet;
  return true;
}

// The name of a text that needs a sheet where there is none.
std::string nameWithoutSheet(const PageTexts& texts) {
  if (texts.scale) return "scale";
  if (texts.units) return "units";
  return texts.is_landscape ? "landscape" : "";
}

}  // namespace

std::string Scale::text() const {
  return client::printNumber(paper) + ":" + client::printNumber(drawing);
}

PaperSize PaperSheet::size() const {
  const PaperSize upright = format.upright;
  return is_landscape ? PaperSize{upright.height, upright.width} : upright;
}

PaperSize PaperSheet::room() const {
  const PaperSize whole = size();
  return {whole.width - kFileMargin - kFrameMargin - 2 * kClearance,
          whole.height - 2 * kFrameMargin - kTitleBlockHeight - 2 * kClearance};
}

std::string PaperSheet::name() const {
  return std::string(format.name) + (is_landscape ? " landscape" : "");
}

std::optional<Scale> scaleFor(const PaperSheet& sheet, const Box& box, std::string_view what,
                              std::string& refusal) {
  const PaperSize drawn = sizeOf(box, sheet.unit);
  const Scale wanted = sheet.scale.value_or(Scale{});
  if (!sheet.scale) {
    if (!(drawn.width + drawn.height > 0)) return wanted;
    const auto scale = largestScale(drawn, sheet, std::numeric_limits<double>::infinity());
    if (scale) return scale;
  } else if (fits(drawn, wanted, sheet)) {
    return wanted;
  }
  const double factor = wanted.factor();
  refusal = "the " + std::string(what) + " does not fit on " + sheet.name() + ": at " +
            wanted.text() + " it takes " + text({drawn.width * factor, drawn.height * factor}) +
            ", and the sheet, " + text(sheet.size()) + ", has room for " + text(sheet.room()) +
            suggestion(drawn, wanted, sheet);
  return std::nullopt;
}

std::optional<PageWishes> readPage(const PageTexts& texts, std::string_view prefix,
                                   std::string& error) {
  const std::string front(prefix);
  PageWishes wishes;
  if (!texts.sheet) {
    const std::string name = nameWithoutSheet(texts);
    if (!name.empty()) {
      error = front + name + " needs " + front + "sheet";
      return std::nullopt;
    }
  } else if (!readSheet(texts, front, wishes, error)) {
    return std::nullopt;
  }
  if (!texts.window) return wishes;
  wishes.window = readWindow(*texts.window);
  if (!wishes.window) {
    error = front + "window " + *texts.window + ": a window is two corners, X1,Y1,X2,Y2";
  } else if (!isWindowUsable(*wishes.window)) {
    error = front + "window " + *texts.window + ": a window needs a width and a height";
  } else {
    return wishes;
  }
  return std::nullopt;
}

}  // namespace lisp_worker::console
