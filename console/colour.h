// Colours by number, as CAD systems count them: 1 red, 2 yellow, 3 green, 4 cyan, 5 blue,
// 6 magenta, 7 black on paper, 8 and 9 greys, 10 to 249 hues, 250 to 255 greys.

#ifndef CONSOLE_COLOUR_H_
#define CONSOLE_COLOUR_H_

#include <optional>
#include <string>
#include <string_view>

namespace lisp_worker::console {

// The tone of colour `number`, 1 to 255, on white paper, such as "#c62828". Dark enough to be seen.
[[nodiscard]] std::string paperColour(int number);

// A number from 1 to 255, or the name of one of the first nine, with or without double quotes.
[[nodiscard]] std::optional<int> readColour(std::string_view text);

// "red"; the number itself from 10 on.
[[nodiscard]] std::string colourName(int number);

}  // namespace lisp_worker::console

#endif  // CONSOLE_COLOUR_H_
