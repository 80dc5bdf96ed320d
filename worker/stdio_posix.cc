#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>

#include "worker/exact_transfer.h"
#include "worker/stdio.h"

namespace worker {
namespace {

// Repeats a call that a signal interrupted before it moved anything. Returns the bytes moved; the
// end of the input and every failure count as 0.
template <typename Call>
std::size_t bytesMoved(Call call) {
  ssize_t moved = 0;
  do {
    moved = call();
  } while (moved < 0 && errno == EINTR);
  return moved < 0 ? 0 : static_cast<std::size_t>(moved);
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
  return bytesMoved(
      [&] { return ::writev(STDOUT_FILENO, pieces.data(), static_cast<int>(pieces.size())); });
}

}  // namespace

bool StandardInput::readExact(std::span<char> destination) {
  const auto read_chunk = [destination](std::size_t offset, std::size_t chunk_size) {
    return bytesMoved(
        [&] { return ::read(STDIN_FILENO, destination.data() + offset, chunk_size); });
  };
  return transferExactly(destination.size(), read_chunk) == destination.size();
}

bool StandardOutput::writeExact(std::string_view bytes) {
  const auto write_chunk = [bytes](std::size_t offset, std::size_t chunk_size) {
    return bytesMoved([&] { return ::write(STDOUT_FILENO, bytes.data() + offset, chunk_size); });
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

}  // namespace worker
