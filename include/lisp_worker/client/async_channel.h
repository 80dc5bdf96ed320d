// The way to a worker and back for a host that never waits for it: bytes are moved as far as they
// go at once, and one handle tells when more will go.

#ifndef LISP_WORKER_CLIENT_ASYNC_CHANNEL_H_
#define LISP_WORKER_CLIENT_ASYNC_CHANNEL_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "lisp_worker/client/channel.h"
#include "lisp_worker/client/process.h"

namespace lisp_worker::client {

// The handle that an event loop waits for. On POSIX systems a descriptor that becomes readable; on
// Windows a HANDLE of an event that becomes signaled.
using WaitHandle = std::intptr_t;

// Everything is for one thread, except wake and kill.
class AsyncChannel {
 public:
  virtual ~AsyncChannel() = default;

  // Hands on as many of `bytes`, which must not be none, as go at once. Returns how many; empty
  // when the worker no longer takes any.
  [[nodiscard]] virtual std::optional<std::size_t> writeSome(std::string_view bytes) = 0;

  // Fetches what has come, `size` bytes at most. Returns how many, 0 when there is nothing yet;
  // empty when the worker's output has ended.
  [[nodiscard]] virtual std::optional<std::size_t> readSome(char* buffer, std::size_t size) = 0;

  // Becomes ready when bytes have come or the output has ended, as `prepare` says, and after a
  // wake(). The same as long as the channel lives.
  [[nodiscard]] virtual WaitHandle handle() const = 0;

  // Takes back the wakes before this call.
  virtual void acknowledge() = 0;

  // Before the host waits: has the handle become ready at `deadline` and, if `wants_to_write`, when
  // writeSome would take bytes.
  virtual void prepare(bool wants_to_write, Deadline deadline) = 0;

  // Makes the handle ready. From any thread.
  virtual void wake() = 0;

  // Ends the worker at once; its output then ends. From any thread, until `finish` is called.
  virtual void kill() = 0;

  // Lets the worker end, kills it after `grace`, and returns how it has ended. Afterwards nothing
  // is written or read, and the handle serves wakes alone.
  virtual WorkerExit finish(std::chrono::milliseconds grace) = 0;
};

// Starts a worker as startWorker does, with such a channel to it.
[[nodiscard]] std::unique_ptr<AsyncChannel> startAsyncWorker(const std::filesystem::path& path,
                                                             std::string* error_out);

}  // namespace lisp_worker::client

#endif  // LISP_WORKER_CLIENT_ASYNC_CHANNEL_H_
