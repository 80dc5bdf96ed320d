// The widths of texts in the font that draws them: DejaVu Sans, which pictures name first.

#ifndef CONSOLE_FONT_H_
#define CONSOLE_FONT_H_

#include <string_view>

namespace lisp_worker::console {

// The height of a capital letter, for a font size of 1.
inline constexpr double kCapitalHeight = 1493.0 / 2048;

// The sum of the letters' widths for a font size of 1. Letters beyond those of Latin scripts,
// except the sign for diameters, count as wide as the font is high, which few are; a byte that
// belongs to no letter counts as a question mark, which is drawn for it. Without kerning, so a text
// is drawn at most as wide.
[[nodiscard]] double widthInFont(std::string_view text);

}  // namespace lisp_worker::console

#endif  // CONSOLE_FONT_H_
