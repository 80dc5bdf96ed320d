// The way to a worker and back: two streams of bytes. A worker's pipes are one (process.h), a
// test's memory another.

#ifndef CLIENT_CHANNEL_H_
#define CLIENT_CHANNEL_H_

#include <cstddef>
#include <string_view>

namespace client {

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
};

}  // namespace client

#endif  // CLIENT_CHANNEL_H_
