// The worker's byte interfaces over memory: a test hands in a whole conversation, cut where it
// likes, delivered in pieces as small as it likes, and reads the answers from a string.

#ifndef TESTING_WIRE_MEMORY_STREAM_H_
#define TESTING_WIRE_MEMORY_STREAM_H_

#include <algorithm>
#include <cstddef>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "worker/byte_stream.h"
#include "worker/exact_transfer.h"

namespace lisp_worker::testing_support {

inline constexpr std::size_t kAnySize = std::numeric_limits<std::size_t>::max();

// An input that holds `bytes` and then ends, as a closed pipe does; an input that fails looks the
// same to its reader.
class MemoryReader final : public worker::ByteReader {
 public:
  // Hands out at most `piece_size_max` bytes at a time.
  explicit MemoryReader(std::string bytes, std::size_t piece_size_max = kAnySize)
      : bytes_(std::move(bytes)), piece_size_max_(piece_size_max) {}

  [[nodiscard]] bool readExact(std::span<char> destination) override {
    const std::size_t moved =
        worker::transferExactly(destination.size(), [&](std::size_t offset, std::size_t size) {
          size = std::min({size, piece_size_max_, bytes_.size() - position_});
          std::copy_n(bytes_.data() + position_, size, destination.data() + offset);
          position_ += size;
          return size;
        });
    return moved == destination.size();
  }

  // The number of bytes that have been read, those of a read that failed included.
  [[nodiscard]] std::size_t position() const { return position_; }

 private:
  std::string bytes_;
  std::size_t piece_size_max_;
  std::size_t position_ = 0;
};

// An output that takes `size_max` bytes and then fails, as a pipe does that nobody reads any more.
class MemoryWriter final : public worker::ByteWriter {
 public:
  // Takes at most `piece_size_max` bytes at a time.
  explicit MemoryWriter(std::size_t size_max = kAnySize, std::size_t piece_size_max = kAnySize)
      : size_max_(size_max), piece_size_max_(piece_size_max) {}

  [[nodiscard]] bool writeExact(std::string_view bytes) override {
    const std::size_t moved =
        worker::transferExactly(bytes.size(), [&](std::size_t offset, std::size_t size) {
          size = std::min({size, piece_size_max_, size_max_ - written_.size()});
          written_.append(bytes, offset, size);
          return size;
        });
    return moved == bytes.size();
  }

  // The bytes that were taken, those of a write that failed included.
  [[nodiscard]] const std::string& written() const { return written_; }

 private:
  std::string written_;
  std::size_t size_max_;
  std::size_t piece_size_max_;
};

}  // namespace lisp_worker::testing_support

#endif  // TESTING_WIRE_MEMORY_STREAM_H_
