// The terminals behind standard output and standard error.

#ifndef CONSOLE_TERMINAL_H_
#define CONSOLE_TERMINAL_H_

#include <cstddef>

namespace lisp_worker::console {

// True when what is printed goes to a person's terminal.
[[nodiscard]] bool isOutputTerminal();

// True when messages go there.
[[nodiscard]] bool isTerminalAttached();

// True when the terminals, if there are any, understand colours and their user wants them: NO_COLOR
// is not set, or empty, and TERM is something other than "dumb". Prepares them for it.
[[nodiscard]] bool wantColours();

// The number of columns that standard output has; 0 when it is not a terminal.
[[nodiscard]] std::size_t outputWidth();

}  // namespace lisp_worker::console

#endif  // CONSOLE_TERMINAL_H_
