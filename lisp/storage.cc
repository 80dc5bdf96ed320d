#include "lisp/storage.h"

namespace lisp::storage {
namespace {

// Bytes; small enough that an idle worker stays small.
constexpr std::size_t kSlabSize = 0x8000;

// The unused rest of the current slab.
constinit std::byte* slab_position = nullptr;
constinit std::size_t slab_left = 0;

}  // namespace

constinit FreeBlock* free_blocks[kSmallBlockMax / kGranule + 1] = {};

// Slabs are cut one block at a time, so a size class that is used once costs one block. What is
// left of a slab when a larger block no longer fits goes to the free list of its own size.
void* refill(std::size_t size_class) {
  const std::size_t size = size_class * kGranule;
  if (slab_left < size) {
    auto* const slab = static_cast<std::byte*>(::operator new(kSlabSize));
    if (slab_left >= sizeof(FreeBlock)) {
      auto* const rest = reinterpret_cast<FreeBlock*>(slab_position);
      rest->next = free_blocks[slab_left / kGranule];
      free_blocks[slab_left / kGranule] = rest;
    }
    slab_position = slab;
    slab_left = kSlabSize;
  }
  void* const block = slab_position;
  slab_position += size;
  slab_left -= size;
  return block;
}

}  // namespace lisp::storage
