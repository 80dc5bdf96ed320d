// The way to a worker and back: two streams of bytes. A worker's pipes are one (process.h), a
// test's memory another.

#ifndef LISP_WORKER_CLIENT_CHANNEL_H_
#define LISP_WORKER_CLIENT_CHANNEL_H_

#include <chrono>
#include <cstddef>
#include <optional>
#include <string_view>

namespace lisp_worker::client {

// A moment after which nobody waits any more. Empty: never.
using Deadline = std::optional<std::chrono::steady_clock::time_point>;

// The moment that comes `limit` after now, or the last one that the clock knows when that is later.
[[nodiscard]] inline std::chrono::steady_clock::time_point momentAfter(
    std::chrono::milliseconds limit) {
  using std::chrono::steady_clock;
  // In parentheses, because Windows has a macro of that name.
  constexpr steady_clock::time_point kLast = (steady_clock::time_point::max)();
  const steady_clock::time_point now = steady_clock::now();
  const auto left = std::chrono::floor<std::chrono::milliseconds>(kLast - now);
  return limit < left ? now + limit : kLast;
}

class Channel {
 public:
  virtual ~Channel() = default;

  // Hands all of `bytes` to the worker, which must not be none: on a pipe a write of no bytes can
  // look like the end of the input. False when the worker no longer takes them. Never raises a
  // signal in the host.
  [[nodiscard]] virtual bool write(std::string_view bytes) = 0;

  // Fills `buffer` with the next `size` bytes from the worker, waiting for them. Returns how many
  // there were: `size`, or fewer when the worker's output ended before.
  [[nodiscard]] virtual std::size_t read(char* buffer, std::size_t size) = 0;

  // From now on write and read give up at `deadline`, as if the worker had gone. They may leave a
  // part of the bytes moved, and the channel to a process may end that process: whoever sets a
  // deadline takes it back when it has been kept. A channel that never waits need not care.
  virtual void setDeadline(Deadline /*deadline*/) {}

  // True when a write or a read has given up at its deadline. Nothing can be said to the worker
  // after that.
  [[nodiscard]] virtual bool hasTimedOut() const { return false; }
};

}  // namespace lisp_worker::client

#endif  // LISP_WORKER_CLIENT_CHANNEL_H_
