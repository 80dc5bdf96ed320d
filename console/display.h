// Texts made fit for a person's terminal: no control characters, no endless lines.

#ifndef CONSOLE_DISPLAY_H_
#define CONSOLE_DISPLAY_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "lisp_worker/client/datum.h"

namespace lisp_worker::console {

// Longer texts are cut to this many bytes, with a word on how many there were.
inline constexpr std::size_t kDisplaySizeMax = 200;

// `text` with everything escaped that a terminal might obey: control characters except line feeds
// and tabs, those from U+0080 to U+009F, marks that turn the direction of writing, and bytes that
// are no UTF-8. As \x1B, or \u202E where a letter has more bytes.
[[nodiscard]] std::string safeText(std::string_view text);

// `text` with control characters as \n, \r, \t or \xNN, cut where it is too long.
[[nodiscard]] std::string displayText(std::string_view text,
                                      std::size_t size_max = kDisplaySizeMax);

// A text of the worker, with numbers in the fewest digits that mean the same; unchanged when it
// cannot be read.
[[nodiscard]] std::string displayWorkerText(std::string_view text,
                                            std::size_t size_max = kDisplaySizeMax);

[[nodiscard]] std::string displayDatum(const client::Datum& datum,
                                       std::size_t size_max = kDisplaySizeMax);

}  // namespace lisp_worker::console

#endif  // CONSOLE_DISPLAY_H_
