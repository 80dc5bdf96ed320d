// Pictures of a drawing before and after programs, as SVG.

#ifndef CONSOLE_PICTURE_H_
#define CONSOLE_PICTURE_H_

#include <cstddef>
#include <optional>
#include <string>

#include "console/drawing.h"
#include "lisp_worker/client/coordinates.h"

namespace lisp_worker::console {

struct PictureOptions {
  std::string title;        // Above everything; may be empty.
  bool shows_axes = false;  // Of the coordinate systems that are not the world.
  bool shows_cells = false;
  // The group of each panel says in attributes which panel it is, "before" or "after", where it
  // lies, and in data-mapping="X Y SCALE" how points get there: to (X + x*SCALE, Y - y*SCALE).
  bool tells_mapping = false;
};

// The text of an SVG file: both drawings side by side, in the same scale, each layer in its
// colour; what is new in a green band, what has changed in a dashed orange one, what is erased
// under red dots; a scale, and a legend. Without entities before, or when nothing looks different,
// `after` alone has all of the page. A drawing with a view shows that part of it. Hidden layers
// are left out. Each entity's element names it in data-handle.
[[nodiscard]] std::string drawPicture(const Drawing& before, const Drawing& after,
                                      const client::CoordContext& context,
                                      const PictureOptions& options);

// Rendering takes memory and time by the size of the text: about a gibibyte and 4 s for 100 MiB.
inline constexpr std::size_t kRenderedSizeMax = std::size_t{16} << 20;

// The bytes of a PNG file of a text that has at most kRenderedSizeMax bytes. Empty when none can be
// made, with the reason in `error`.
[[nodiscard]] std::optional<std::string> renderPng(const std::string& svg, std::string& error);

}  // namespace lisp_worker::console

#endif  // CONSOLE_PICTURE_H_
