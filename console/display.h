// Texts made fit for a person's terminal: no control characters, no endless lines.

#ifndef CONSOLE_DISPLAY_H_
#define CONSOLE_DISPLAY_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "client/datum.h"

namespace console {

// Longer texts are cut to this many bytes, with a word on how many there were.
inline constexpr std::size_t kDisplaySizeMax = 200;

// `text` with control characters as \n, \r, \t or \xNN, cut where it is too long.
[[nodiscard]] std::string displayText(std::string_view text);

// What the worker wrote, with numbers in the fewest digits that mean the same; as it stands when
// it cannot be read.
[[nodiscard]] std::string displayWorkerText(std::string_view text);

[[nodiscard]] std::string displayDatum(const client::Datum& datum);

}  // namespace console

#endif  // CONSOLE_DISPLAY_H_
