// Moves an exact number of bytes by calls that may each move fewer, for any system's call.

#ifndef WORKER_EXACT_TRANSFER_H_
#define WORKER_EXACT_TRANSFER_H_

#include <algorithm>
#include <cstddef>

namespace lisp_worker::worker {

// The most bytes that one call of the system is asked to move: the largest count that every
// system's call takes and reports back without a change of sign.
inline constexpr std::size_t kTransferSizeMax = 0x7FFFFFFF;

// Moves `size` bytes by calls of move_chunk(offset, chunk_size), which moves up to chunk_size bytes
// (never more than kTransferSizeMax) from or to `offset` and returns how many it moved, 0 when it
// failed. A call that moves less than it was asked for is followed by another one for the rest.
//
// Returns how many bytes were moved: `size`, or less when a call moved nothing. A size of 0 makes
// no call.
template <typename MoveChunk>
[[nodiscard]] std::size_t transferExactly(std::size_t size, MoveChunk move_chunk) {
  std::size_t moved = 0;
  while (moved < size) {
    const std::size_t chunk_size = std::min(size - moved, kTransferSizeMax);
    const std::size_t chunk_moved = move_chunk(moved, chunk_size);
    if (chunk_moved == 0) break;
    moved += chunk_moved;
  }
  return moved;
}

}  // namespace lisp_worker::worker

#endif  // WORKER_EXACT_TRANSFER_H_
