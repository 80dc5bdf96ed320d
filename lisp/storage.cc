#include "lisp/storage.h"

#include <algorithm>
#include <array>

namespace lisp::storage {
namespace {

// Slabs come in regions, so that little is lost to their alignment. What is not used yet of a
// region takes no memory of the machine's.
constexpr std::size_t kSlabsPerRegion = 32;

// So much is cut at a time: a size that is used once touches little of its slab.
constexpr std::size_t kBytesCut = 2048;

// Ends every list: a slab that never has a free block.
constinit Slab no_slab;

constinit Slab* empty_slabs = nullptr;
constinit std::byte* region_position = nullptr;
constinit std::size_t region_slabs_left = 0;
constinit std::size_t region_bytes = 0;

std::byte* endOf(Slab& slab) { return reinterpret_cast<std::byte*>(&slab) + kSlabSize; }

Slab* takeSlab() {
  if (empty_slabs != nullptr) {
    Slab* const slab = empty_slabs;
    empty_slabs = slab->next;
    return slab;
  }
  if (region_slabs_left == 0) {
    constexpr std::size_t kSize = (kSlabsPerRegion + 1) * kSlabSize;
    auto* const region = static_cast<std::byte*>(::operator new(kSize));
    region_bytes += kSize;
    region_position = region + (kSlabSize - reinterpret_cast<std::uintptr_t>(region) % kSlabSize);
    region_slabs_left = kSlabsPerRegion;
  }
  void* const slab = region_position;
  region_position += kSlabSize;
  --region_slabs_left;
  return static_cast<Slab*>(slab);
}

void unlist(Slab& slab) {
  slab.is_listed = false;
  if (slab.next != &no_slab) slab.next->previous = slab.previous;
  (slab.previous == nullptr ? slabs[slab.size_class] : slab.previous->next) = slab.next;
}

// Cuts some of the fresh rest into blocks, the first of which is given out first. Does nothing when
// there is no rest.
void cut(Slab& slab) {
  const std::size_t size = slab.size_class * kGranule;
  const auto left = static_cast<std::size_t>(endOf(slab) - slab.fresh);
  const std::size_t count = std::min(left, kBytesCut) / size;
  for (std::size_t i = count; i-- > 0;) {
    slab.free = new (slab.fresh + i * size) FreeBlock{slab.free};
  }
  slab.fresh += count * size;
}

}  // namespace

constinit std::array<Slab*, kSizeClasses> slabs = [] {
  std::array<Slab*, kSizeClasses> lists{};
  lists.fill(&no_slab);
  return lists;
}();

void* refill(std::size_t size_class) {
  while (slabs[size_class] != &no_slab) {
    Slab& slab = *slabs[size_class];
    if (slab.free == nullptr) cut(slab);
    if (slab.free != nullptr) break;
    unlist(slab);
  }
  if (slabs[size_class] == &no_slab) {
    Slab* const slab = new (takeSlab()) Slab;
    slab->is_listed = true;
    slab->size_class = static_cast<std::uint8_t>(size_class);
    slab->fresh = reinterpret_cast<std::byte*>(slab + 1);
    slab->next = &no_slab;
    slabs[size_class] = slab;
    cut(*slab);
  }
  return allocate(size_class * kGranule);
}

// A slab that has a block again comes second, so that the first is used up first; there is a first,
// for a list that has had a slab is never empty again. One slab stays with its size when all is
// free, for a program that makes and drops the same thing over and over.
void settle(Slab& slab) {
  Slab*& first = slabs[slab.size_class];
  if (!slab.is_listed) {
    slab.is_listed = true;
    slab.previous = first;
    slab.next = first->next;
    if (slab.next != &no_slab) slab.next->previous = &slab;
    first->next = &slab;
  }
  if (slab.used == 0 && &slab != first) {
    unlist(slab);
    slab.next = empty_slabs;
    empty_slabs = &slab;
  }
}

std::size_t slabBytes() { return region_bytes; }

}  // namespace lisp::storage
