// The storage of values: blocks for the records that values share.
//
// Programs make and drop millions of small records, so blocks up to kSmallBlockMax bytes come from
// free lists, one for each size class, that are filled from slabs; larger blocks come from the
// general allocator. Memory of slabs is reused but never returned. With LISP_PLAIN_ALLOCATION every
// block comes from the general allocator, so that the sanitizers see each one.
//
// Single-threaded, like everything that holds values.

#ifndef LISP_STORAGE_H_
#define LISP_STORAGE_H_

#include <cstddef>
#include <new>

namespace lisp::storage {

inline constexpr std::size_t kGranule = 8;          // Bytes; blocks are aligned to it.
inline constexpr std::size_t kSmallBlockMax = 512;  // Bytes.

// Takes a free list's block from a fresh slab. Throws std::bad_alloc.
[[nodiscard]] void* refill(std::size_t size_class);

struct FreeBlock {
  FreeBlock* next;
};

// Heads of the free lists, by size class (block size / kGranule).
extern constinit FreeBlock* free_blocks[kSmallBlockMax / kGranule + 1];

#ifdef LISP_PLAIN_ALLOCATION

[[nodiscard]] inline void* allocate(std::size_t size) { return ::operator new(size); }

inline void deallocate(void* block, std::size_t /*size*/) { ::operator delete(block); }

#else

// Returns an uninitialised block of at least `size` bytes. Throws std::bad_alloc.
[[nodiscard]] inline void* allocate(std::size_t size) {
  if (size > kSmallBlockMax) return ::operator new(size);
  const std::size_t size_class = (size + kGranule - 1) / kGranule;
  FreeBlock* const block = free_blocks[size_class];
  if (block == nullptr) return refill(size_class);
  free_blocks[size_class] = block->next;
  return block;
}

// Gives back a block that allocate returned for the same `size`.
inline void deallocate(void* block, std::size_t size) {
  if (size > kSmallBlockMax) {
    ::operator delete(block);
    return;
  }
  const std::size_t size_class = (size + kGranule - 1) / kGranule;
  auto* const free_block = static_cast<FreeBlock*>(block);
  free_block->next = free_blocks[size_class];
  free_blocks[size_class] = free_block;
}

#endif

}  // namespace lisp::storage

#endif  // LISP_STORAGE_H_
