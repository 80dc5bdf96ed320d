// This process's own standard input and output as bytes, for a protocol that another program speaks
// with it. Nothing is buffered, changed or shown safe for a terminal.

#ifndef CONSOLE_STANDARD_BYTES_H_
#define CONSOLE_STANDARD_BYTES_H_

#include <cstddef>
#include <string_view>

namespace lisp_worker::console {

// Waits for bytes and puts as many as there are, `size` at most, into `buffer`. Returns how many;
// 0 when the input has ended.
[[nodiscard]] std::size_t readStandardInput(char* buffer, std::size_t size);

// False when nobody reads any more; no signal ends the process for it.
[[nodiscard]] bool writeStandardOutput(std::string_view bytes);

}  // namespace lisp_worker::console

#endif  // CONSOLE_STANDARD_BYTES_H_
