// This process's own standard input and output as bytes, and its end.

#ifndef SESSION_STANDARD_STREAMS_H_
#define SESSION_STANDARD_STREAMS_H_

#include <cstddef>
#include <string_view>

#include "lisp_worker/client/process.h"

namespace lisp_worker::session {

// Waits for bytes and puts as many as there are, `size` at most, into `buffer`. Returns how many;
// 0 when the input has ended.
[[nodiscard]] std::size_t readStandardInput(char* buffer, std::size_t size);

// False when nobody reads any more. Raises no signal after surviveBrokenPipe.
[[nodiscard]] bool writeStandardOutput(std::string_view bytes);

// Closes one of them: whoever is at its other end can write no more, or sees the end.
void closeStandardInput();
void closeStandardOutput();

// Makes a write into a pipe that nobody reads fail instead of ending the process.
void surviveBrokenPipe();

// Ends this process at once in the way in which a worker has ended, so that whoever started it
// cannot tell the two apart.
[[noreturn]] void endLike(const client::WorkerExit& exit);

}  // namespace lisp_worker::session

#endif  // SESSION_STANDARD_STREAMS_H_
