// The storage of values: blocks for the records that values share.
//
// Programs make and drop millions of small records, so blocks up to kSmallBlockMax bytes come from
// slabs; larger blocks come from the general allocator. A slab is cut into blocks of one size and
// knows which of them are free. When all are, it serves whatever size is needed next, or its memory
// goes back to the system, a few slabs after each request. A slab with a single block in use stays,
// so slabs are small. With LISP_PLAIN_ALLOCATION every block comes from the general allocator, so
// that the sanitizers see each one.
//
// Against the general allocator of the C library the slabs save 31 % of the instructions of reading
// (40 a byte for 58), 23 % of those of small programs, 9 % of those of lists of points, and next to
// nothing where a program makes few records (bench/count_instructions, glibc 2.36).
//
// Single-threaded, like everything that holds values.

#ifndef LISP_STORAGE_H_
#define LISP_STORAGE_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <new>

#include "lisp/work.h"

namespace lisp::storage {

inline constexpr std::size_t kGranule = 8;          // Bytes; blocks are aligned to it.
inline constexpr std::size_t kSmallBlockMax = 512;  // Bytes.
inline constexpr std::size_t kSlabSize = 0x2000;    // Bytes; slabs are aligned to it.
inline constexpr std::size_t kSizeClasses = kSmallBlockMax / kGranule + 1;

struct FreeBlock {
  FreeBlock* next;
};

struct Region;

// The head of a slab; its blocks follow.
struct Slab {
  FreeBlock* free = nullptr;  // Its free blocks, except those from `fresh` on.
  std::uint32_t used = 0;     // Blocks given out.
  bool is_listed = false;     // Among the slabs of its size that may have free blocks.
  std::uint8_t size_class = 0;
  std::byte* fresh = nullptr;  // The rest that has never been cut into blocks.
  Slab* next = nullptr;        // In that list, or among the empty slabs.
  Slab* previous = nullptr;
  Region* region = nullptr;  // Where its memory is from.
};

// The lists of slabs that serve blocks, and the count of live bytes. Nobody reaches them except the
// functions below, which are in line because every value of a program passes them.
class Slabs {
  friend void* allocate(std::size_t size);
  friend void deallocate(void* block, std::size_t size);
  friend std::size_t liveBytes();
  friend void addLiveBytes(std::size_t size);
  friend void removeLiveBytes(std::size_t size);

  // Finds a block where the first slab of the list has none at hand. Throws std::bad_alloc, and is
  // not to be used after that: the worker ends then.
  [[nodiscard]] static void* refill(std::size_t size_class);

  // Puts a slab where it belongs that has a free block again, or nothing but free blocks.
  static void relist(Slab& slab);

  static void unlist(Slab& slab);

  // The first slab of each list, by size class (block size / kGranule); never null.
  static std::array<Slab*, kSizeClasses> first_;

  static inline constinit std::size_t live_bytes_ = 0;
};

// Slabs that have blocks in use or are kept for their size; tests watch it for growth.
[[nodiscard]] std::size_t slabsInUse();
// Empty slabs whose memory has not gone back to the system.
[[nodiscard]] std::size_t slabsAtHand();

// So many empty slabs are kept at hand.
inline constexpr std::size_t kSlabsKept = 256;

// Gives the memory of up to `count` empty slabs back to the system, beyond those kept.
void giveBack(std::size_t count);

// Bytes of all blocks given out and not given back, and of what holders of values add (LocalTable).
// A kept evaluation holds as much as it has added to this.
[[nodiscard]] inline std::size_t liveBytes() { return Slabs::live_bytes_; }

// For memory of the general allocator that belongs to a value.
inline void addLiveBytes(std::size_t size) { Slabs::live_bytes_ += size; }
inline void removeLiveBytes(std::size_t size) { Slabs::live_bytes_ -= size; }

#ifdef LISP_PLAIN_ALLOCATION

[[nodiscard]] inline void* allocate(std::size_t size) {
  countWork();
  addLiveBytes(size);
  return ::operator new(size);
}

inline void deallocate(void* block, std::size_t size) {
  removeLiveBytes(size);
  ::operator delete(block);
}

#else

// Returns an uninitialised block of at least `size` bytes. Throws std::bad_alloc.
[[nodiscard]] inline void* allocate(std::size_t size) {
  countWork();
  addLiveBytes(size);
  if (size > kSmallBlockMax) return ::operator new(size);
  const std::size_t size_class = (size + kGranule - 1) / kGranule;
  Slab& slab = *Slabs::first_[size_class];
  FreeBlock* const block = slab.free;
  if (block == nullptr) [[unlikely]]
    return Slabs::refill(size_class);
  slab.free = block->next;
  ++slab.used;
  return block;
}

// Gives back a block that allocate returned for the same `size`.
inline void deallocate(void* block, std::size_t size) {
  removeLiveBytes(size);
  if (size > kSmallBlockMax) {
    ::operator delete(block);
    return;
  }
  const std::size_t offset = reinterpret_cast<std::uintptr_t>(block) % kSlabSize;
  Slab& slab = *reinterpret_cast<Slab*>(static_cast<std::byte*>(block) - offset);
  auto* const free_block = static_cast<FreeBlock*>(block);
  free_block->next = slab.free;
  slab.free = free_block;
  if (--slab.used == 0 || !slab.is_listed) [[unlikely]]
    Slabs::relist(slab);
}

#endif

}  // namespace lisp::storage

#endif  // LISP_STORAGE_H_
