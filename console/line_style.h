// Line types, such as dashed lines, and line weights. Their lengths are those on paper, at every
// scale of a picture.

#ifndef CONSOLE_LINE_STYLE_H_
#define CONSOLE_LINE_STYLE_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lisp_worker::console {

// The names that leave the choice to the layer, and that draw a line without gaps.
inline constexpr std::string_view kTypeByLayer = "BYLAYER";
inline constexpr std::string_view kContinuous = "CONTINUOUS";

// Weights are in hundredths of a millimetre. Below 0 they leave the choice: to the layer, to the
// block (there are none), to the drawing.
inline constexpr int kWeightByLayer = -1;
inline constexpr int kWeightDefault = -3;
inline constexpr int kWeightMax = 211;

// Dashes and gaps in turn, in millimetres; a dash of 0 is a dot. Empty for a continuous line.
// No value for a name that is not known. Upper and lower case are the same; a 2 behind a name
// halves the lengths, X2 doubles them.
[[nodiscard]] std::optional<std::vector<double>> dashesOf(std::string_view line_type);

// "CONTINUOUS DASHED ...", for messages.
[[nodiscard]] std::string knownLineTypes();

// The width of a line of this weight in millimetres. The thinnest has a twentieth.
[[nodiscard]] double lineWidth(int weight);

}  // namespace lisp_worker::console

#endif  // CONSOLE_LINE_STYLE_H_
