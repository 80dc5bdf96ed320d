// Sheets of paper: their sizes, the scale of a drawing on them, and the room that it has there.
//
// A sheet has a frame, 20 mm from its left edge and 10 mm from the others. The title block lies in
// the frame's lower right corner. The drawing has the room above the title block, 5 mm inside of
// the frame.

#ifndef CONSOLE_PAPER_H_
#define CONSOLE_PAPER_H_

#include <optional>
#include <string>
#include <string_view>

#include "console/shape.h"

namespace lisp_worker::console {

// In millimetres of paper.
inline constexpr double kFileMargin = 20;  // On the left, where sheets are filed.
inline constexpr double kFrameMargin = 10;
inline constexpr double kTitleBlockHeight = 15;
inline constexpr double kTitleBlockWidth = 180;
inline constexpr double kClearance = 5;

struct PaperSize {
  double width = 0;  // In millimetres.
  double height = 0;
};

struct PaperFormat {
  std::string_view name;
  PaperSize upright;
};

struct LengthUnit {
  std::string_view name = "mm";
  double millimetres = 1;
};

// 1:10 is one millimetre of paper for ten of the drawing.
struct Scale {
  double paper = 1;
  double drawing = 1;

  [[nodiscard]] double factor() const { return paper / drawing; }
  // "1:10".
  [[nodiscard]] std::string text() const;
};

inline constexpr double kScalePartMax = 1e6;

struct PaperSheet {
  PaperFormat format;
  bool is_landscape = false;
  std::optional<Scale> scale = {};  // Empty: the largest standard scale that fits.
  LengthUnit unit = {};             // The length of 1 in the drawing.

  [[nodiscard]] PaperSize size() const;
  [[nodiscard]] PaperSize room() const;
  // "A4", or "A4 landscape".
  [[nodiscard]] std::string name() const;
};

// The scale at which a drawing of this box lies on the sheet: the sheet's own, or else the largest
// standard one that fits. 1:1 for a box without a size. Empty when the drawing does not fit, with
// its size, the sheet's, and what fits, in `refusal`. Standard scales are 1, 2 and 5 times powers
// of ten, from 1000:1 to 1:1000000. `what` is in the box, for the refusal: "drawing".
[[nodiscard]] std::optional<Scale> scaleFor(const PaperSheet& sheet, const Box& box,
                                            std::string_view what, std::string& refusal);

// The part of a drawing that a picture shows, and the sheet that it lies on.
struct PageWishes {
  std::optional<PaperSheet> sheet = {};
  std::optional<Box> window = {};
};

// The same as a user writes it.
struct PageTexts {
  std::optional<std::string> sheet = {};   // "A4"
  std::optional<std::string> scale = {};   // "1:10"
  std::optional<std::string> units = {};   // "mm"
  std::optional<std::string> window = {};  // "X1,Y1,X2,Y2"
  bool is_landscape = false;
};

// Empty when the texts make no sense, with the reason in `error`. In it the names of the texts have
// `prefix` in front, such as "--".
[[nodiscard]] std::optional<PageWishes> readPage(const PageTexts& texts, std::string_view prefix,
                                                 std::string& error);

}  // namespace lisp_worker::console

#endif  // CONSOLE_PAPER_H_
