// The worker's standard input and standard output as byte streams.
//
// Every call asks the system for the stream anew, so a stream that is missing, or was closed in
// the meantime, is a failure of that call and of nothing else. Bytes pass unchanged and unbuffered:
// a read takes no byte beyond those asked for, and what a write reports as written has left the
// process. Calls block, even on a pipe that is set not to; none has a time-out.

#ifndef WORKER_STDIO_H_
#define WORKER_STDIO_H_

#include <span>
#include <string_view>

#include "worker/byte_stream.h"

namespace lisp_worker::worker {

class StandardInput final : public ByteReader {
 public:
  [[nodiscard]] bool readExact(std::span<char> destination) override;
};

class StandardOutput final : public ByteWriter {
 public:
  [[nodiscard]] bool writeExact(std::string_view bytes) override;
  [[nodiscard]] FrameWrite writeFrame(std::string_view header, std::string_view payload) override;
};

// Makes a write into a pipe that nobody reads any more fail like any other write instead of ending
// the process. Called once, before the first write; holds for the whole process.
void keepAliveOnBrokenPipe();

}  // namespace lisp_worker::worker

#endif  // WORKER_STDIO_H_
