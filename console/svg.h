// Pieces of SVG text.

#ifndef CONSOLE_SVG_H_
#define CONSOLE_SVG_H_

#include <string>
#include <string_view>

namespace lisp_worker::console {

// A length or coordinate of the page, rounded to a hundredth. 0 for what no page has: numbers that
// are not finite, or of ten million and more.
[[nodiscard]] std::string svgNumber(double value);

// Text inside an element or an attribute, whatever its bytes: a question mark for each byte that
// belongs to no letter, a blank for each control character.
[[nodiscard]] std::string svgText(std::string_view text);

// "x=... y=... width=... height=...", as rectangles take them.
[[nodiscard]] std::string svgRectangle(double x, double y, double width, double height);

// An element that writes `text` at a point of the page. `attributes` is SVG.
[[nodiscard]] std::string svgLabel(double x, double y, std::string_view text,
                                   std::string_view attributes);

}  // namespace lisp_worker::console

#endif  // CONSOLE_SVG_H_
