// A drawing on a sheet of paper, as SVG in millimetres: to scale, with a frame and a title block.

#ifndef CONSOLE_SHEET_PICTURE_H_
#define CONSOLE_SHEET_PICTURE_H_

#include <optional>
#include <string>

#include "console/drawing.h"
#include "console/paper.h"
#include "console/picture.h"
#include "console/shape.h"

namespace lisp_worker::console {

// The drawing as it is, or its part in a window, in the middle of the sheet's room. Marks of what
// is new, axes and cells belong to other pictures. `title` is the drawing's name; it may be empty.
// Nothing in the text depends on the time or the place. Empty when the drawing does not fit, with
// the reason in `error`.
[[nodiscard]] std::optional<Picture> drawSheet(const Drawing& drawing, const PaperSheet& sheet,
                                               const std::optional<Box>& window,
                                               const std::string& title, std::string& error);

}  // namespace lisp_worker::console

#endif  // CONSOLE_SHEET_PICTURE_H_
