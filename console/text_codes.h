// Signs in texts that keyboards lack.

#ifndef CONSOLE_TEXT_CODES_H_
#define CONSOLE_TEXT_CODES_H_

#include <string>
#include <string_view>

namespace lisp_worker::console {

// The text as it is drawn: %%c is the sign for a diameter, %%d for degrees, %%p plus or minus, in
// either case, and %%% a per cent sign. Everything else is drawn as it is written.
[[nodiscard]] std::string drawnText(std::string_view text);

}  // namespace lisp_worker::console

#endif  // CONSOLE_TEXT_CODES_H_
