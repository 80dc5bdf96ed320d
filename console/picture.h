// Pictures of a drawing: before and after programs, or as it is, on a sheet of paper.

#ifndef CONSOLE_PICTURE_H_
#define CONSOLE_PICTURE_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "console/drawing.h"
#include "console/paper.h"
#include "lisp_worker/client/coordinates.h"

namespace lisp_worker::console {

struct PictureOptions {
  std::string title = {};   // Above everything; may be empty.
  bool shows_axes = false;  // Of the coordinate systems that are not the world.
  bool shows_cells = false;
  // The group of each panel says in attributes which panel it is, "before" or "after", where it
  // lies, and in data-mapping="X Y SCALE" how points get there: to (X + x*SCALE, Y - y*SCALE).
  bool tells_mapping = false;
  PageWishes page = {};
};

// The text of an SVG file: both drawings side by side, in the same scale, each layer in its
// colour; what is new in a green band, what has changed in a dashed orange one, what is erased
// under red dots; a scale, and a legend. Without entities before, or when nothing looks different,
// `after` alone has all of the page. A drawing with a view shows that part of it. Hidden layers
// are left out. A window shows what lies in it and nothing else. Each entity's element names it in
// data-handle. Without a sheet, whatever the options say.
[[nodiscard]] std::string drawPicture(const Drawing& before, const Drawing& after,
                                      const client::CoordContext& context,
                                      const PictureOptions& options);

struct Picture {
  std::string svg;
  std::string note;  // "A4 at 1:10" for a sheet; otherwise empty.
};

// As drawPicture, or, when the options name a sheet, as drawSheet. Empty when it does not fit
// there, with the reason in `error`.
[[nodiscard]] std::optional<Picture> makePicture(const Drawing& before, const Drawing& after,
                                                 const client::CoordContext& context,
                                                 const PictureOptions& options, std::string& error);

// "picture: flange.svg   [A4 at 1:10]", for a person.
[[nodiscard]] std::string pictureLine(const std::string& path, const Picture& picture);

// The reason why no picture can have this name; empty when one can.
[[nodiscard]] std::string whyNoPicture(std::string_view path);

// The bytes of the file that `path` names: of an SVG file, or rendered by the name's end. Empty
// when they cannot be rendered, with the reason in `error`.
[[nodiscard]] std::optional<std::string> pictureFile(const std::string& svg, std::string_view path,
                                                     std::string& error);

// Rendering takes memory and time by the size of the text: about a gibibyte and 4 s for 100 MiB.
inline constexpr std::size_t kRenderedSizeMax = std::size_t{16} << 20;

// A picture whose size is in millimetres has so many pixels for each inch as a PNG, and says so.
inline constexpr int kPixelsPerInch = 200;

// The bytes of a PNG or a PDF file of a text that has at most kRenderedSizeMax bytes; the same
// bytes each time. A pixel of an SVG text is three quarters of a point in a PDF. Empty when none
// can be made, with the reason in `error`.
[[nodiscard]] std::optional<std::string> renderPng(const std::string& svg, std::string& error);
[[nodiscard]] std::optional<std::string> renderPdf(const std::string& svg, std::string& error);

}  // namespace lisp_worker::console

#endif  // CONSOLE_PICTURE_H_
