// Reads and writes by descriptor. A call that a signal interrupts is made again, and on a pipe that
// does not block the wait is a poll(). A frame is written by one system call for header and
// payload, so that its reader wakes once.

#include <poll.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>

#include "worker/exact_transfer.h"
#include "worker/stdio.h"

namespace lisp_worker::worker {
namespace {

// Waits until `stream` is ready for `events` or has an end or a failure to report, which the next
// call on it then finds. A host may hand over a pipe that does not block: the mode belongs to the
// pipe's end, which the host may share, so it is left as it is. False when the system cannot wait.
bool waitFor(int stream, short events) {
  pollfd waiting = {.fd = stream, .events = events, .revents = 0};
  return ::poll(&waiting, 1, -1) >= 0 || errno == EINTR;
}

// Repeats a call on `stream` that a signal interrupted, or that would have had to wait for
// `events`, before it moved anything. Returns the bytes moved; the end of the input and every
// failure count as 0.
template <typename Call>
std::size_t bytesMoved(int stream, short events, Call call) {
  while (true) {
    const ssize_t moved = call();
    if (moved >= 0) return static_cast<std::size_t>(moved);
    if (errno == EINTR) continue;
    if (errno != EAGAIN || !waitFor(stream, events)) return 0;
  }
}

// writev only reads from its buffers, but shares their type with readv.
iovec gatherFrom(std::string_view bytes) {
  return {.iov_base = const_cast<char*>(bytes.data()), .iov_len = bytes.size()};
}

// One write of up to `size_max` of the bytes that follow the first `offset` bytes of a frame.
std::size_t writeGathered(std::string_view header, std::string_view payload, std::size_t offset,
                          std::size_t size_max) {
  const std::size_t header_offset = std::min(offset, header.size());
  const std::string_view header_rest = header.substr(header_offset, size_max);
  const std::string_view payload_rest =
      payload.substr(offset - header_offset, size_max - header_rest.size());
  const std::array<iovec, 2> pieces = {gatherFrom(header_rest), gatherFrom(payload_rest)};
  return bytesMoved(STDOUT_FILENO, POLLOUT, [&] {
    return ::writev(STDOUT_FILENO, pieces.data(), static_cast<int>(pieces.size()));
  });
}

}  // namespace

bool StandardInput::readExact(std::span<char> destination) {
  const auto read_chunk = [destination](std::size_t offset, std::size_t chunk_size) {
    return bytesMoved(STDIN_FILENO, POLLIN, [&] {
      return ::read(STDIN_FILENO, destination.data() + offset, chunk_size);
    });
  };
  return transferExactly(destination.size(), read_chunk) == destination.size();
}

bool StandardOutput::writeExact(std::string_view bytes) {
  const auto write_chunk = [bytes](std::size_t offset, std::size_t chunk_size) {
    return bytesMoved(STDOUT_FILENO, POLLOUT,
                      [&] { return ::write(STDOUT_FILENO, bytes.data() + offset, chunk_size); });
  };
  return transferExactly(bytes.size(), write_chunk) == bytes.size();
}

FrameWrite StandardOutput::writeFrame(std::string_view header, std::string_view payload) {
  const std::size_t frame_size = header.size() + payload.size();
  const std::size_t moved =
      transferExactly(frame_size, [&](std::size_t offset, std::size_t chunk_size) {
        return writeGathered(header, payload, offset, chunk_size);
      });
  if (moved < header.size()) return FrameWrite::HeaderFailed;
  if (moved < frame_size) return FrameWrite::PayloadFailed;
  return FrameWrite::Complete;
}

void keepAliveOnBrokenPipe() { std::signal(SIGPIPE, SIG_IGN); }

}  // namespace lisp_worker::worker
