// A worker as a process of its own, reached over two pipes.

#ifndef LISP_WORKER_CLIENT_PROCESS_H_
#define LISP_WORKER_CLIENT_PROCESS_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "lisp_worker/client/channel.h"

namespace lisp_worker::client {

// The end of a worker.
struct WorkerExit {
  // Recorded sessions hold the numbers.
  enum class Kind : std::uint8_t {
    Exited = 0,    // By itself; `code` is its exit code.
    Signaled = 1,  // By the signal `code`. On Windows a crash is an exit code of its own.
    Killed = 2,    // By us, because it went on when it should have ended.
    Unknown = 3,   // The system would not tell, as when the host collects its children elsewhere.
  };

  Kind kind = Kind::Unknown;
  std::uint32_t code = 0;

  friend bool operator==(const WorkerExit&, const WorkerExit&) = default;
};

// A worker lets go within milliseconds when its input ends: at once when it is idle, and after
// the request in hand, which its step limit bounds, when it is not.
inline constexpr std::chrono::milliseconds kExitGrace{2000};

// A running worker. Destroying it finishes it, so no process and no handle is left behind. When the
// host dies instead, the system kills the worker, whatever that does. On Linux a thread of the host
// must live for that: the host's first one when that has started the worker, otherwise one of ours,
// which all workers share.
//
// A process that the host has forked, without starting another program in it, holds the pipes too:
// the worker does not see the end of its input before it has ended as well. There the object may be
// destroyed, which leaves the worker alone, and nothing else.
//
// One thread may write while another reads; everything else is for one thread at a time.
class WorkerProcess : public Channel {
 public:
  // Ends the worker's input, waits for the worker to end, and kills it if that takes longer than
  // kExitGrace. Afterwards write and read fail, and a second call returns the same again.
  WorkerExit finish() { return finishWithin(kExitGrace); }

  // As finish, with another grace. With none, a worker that has not ended yet is killed at once.
  virtual WorkerExit finishWithin(std::chrono::milliseconds grace) = 0;

  // The end of the worker, if it comes by itself within `grace`. Closes nothing.
  [[nodiscard]] virtual std::optional<WorkerExit> waitForEnd(std::chrono::milliseconds grace) = 0;

  // Waits for bytes from the worker and puts as many as there are, `size` at most, into `buffer`.
  // Returns how many; 0 when the worker's output has ended.
  [[nodiscard]] virtual std::size_t readSome(char* buffer, std::size_t size) = 0;

  // Closes one pipe: the worker sees the end of its input, or can write no more.
  virtual void endInput() = 0;
  virtual void endOutput() = 0;
};

// Starts the program at `path` without arguments. It gets the two pipes as its standard input and
// output, the host's standard error, and no other handle of the host's. It is out of reach of the
// keys ^C and ^Z: on POSIX systems it has a process group of its own, on Windows it has no console.
// A path without a directory is taken from the current one; no search path is used. Null when the
// program cannot be started, with the system's reason in `error_out`.
[[nodiscard]] std::unique_ptr<WorkerProcess> startWorker(const std::filesystem::path& path,
                                                         std::string* error_out);

}  // namespace lisp_worker::client

#endif  // LISP_WORKER_CLIENT_PROCESS_H_
