// Slabs: where they come from, and the lists that they are in. A slab is in the list of its size
// while it may have a free block, and is put aside when all its blocks are free. When many are
// aside, their memory goes back to the system; their addresses stay.

#include "lisp/storage.h"

#include <algorithm>
#include <array>

#include "lisp/pages.h"

namespace lisp::storage {
namespace {

// Slabs come in regions, so that little is lost to their alignment. What is not used yet of a
// region takes no memory of the machine's.
constexpr std::size_t kSlabsPerRegion = 128;

// So much is cut at a time: a size that is used once touches little of its slab.
constexpr std::size_t kBytesCut = 4096;

// Ends every list: a slab that never has a free block.
constinit Slab no_slab;

}  // namespace

// Regions live as long as the process. A slab whose memory has gone back to the system is listed
// here by its number, because nothing can be kept in that memory.
struct Region {
  std::byte* begin = nullptr;
  Region* next = nullptr;  // Among the regions that have such slabs.
  std::uint32_t without_memory_count = 0;
  std::array<std::uint8_t, kSlabsPerRegion> without_memory = {};
};

namespace {

constinit Slab* empty_slabs = nullptr;
constinit std::size_t empty_count = 0;
constinit std::size_t in_use_count = 0;
constinit Region* regions_without_memory = nullptr;
constinit Region* last_region = nullptr;
constinit std::size_t last_region_used = kSlabsPerRegion;  // Slabs.

std::byte* endOf(Slab& slab) { return reinterpret_cast<std::byte*>(&slab) + kSlabSize; }

Slab* slabOf(Region& region, std::size_t number) {
  return new (region.begin + number * kSlabSize) Slab{.region = &region};
}

// A slab in its first state, except for its region.
Slab* takeSlab() {
  ++in_use_count;
  if (empty_slabs != nullptr) {
    Slab* const slab = empty_slabs;
    empty_slabs = slab->next;
    --empty_count;
    Region* const region = slab->region;
    return new (slab) Slab{.region = region};
  }
  if (regions_without_memory != nullptr) {
    Region& region = *regions_without_memory;
    const std::size_t number = region.without_memory[--region.without_memory_count];
    if (region.without_memory_count == 0) regions_without_memory = region.next;
    return slabOf(region, number);
  }
  if (last_region_used == kSlabsPerRegion) {
    auto* const memory = static_cast<std::byte*>(::operator new((kSlabsPerRegion + 1) * kSlabSize));
    last_region = new Region;
    last_region->begin =
        memory + (kSlabSize - reinterpret_cast<std::uintptr_t>(memory) % kSlabSize);
    last_region_used = 0;
  }
  return slabOf(*last_region, last_region_used++);
}

void putAside(Slab& slab) {
  --in_use_count;
  ++empty_count;
  slab.next = empty_slabs;
  empty_slabs = &slab;
}

// Cuts some of the fresh rest into blocks, the first of which is given out first. Does nothing when
// there is no rest.
void cut(Slab& slab) {
  const std::size_t size = slab.size_class * kGranule;
  const auto left = static_cast<std::size_t>(endOf(slab) - slab.fresh);
  const std::size_t count = std::min(left, kBytesCut) / size;
  for (std::size_t i = count; i > 0;) {
    --i;
    slab.free = new (slab.fresh + i * size) FreeBlock{slab.free};
  }
  slab.fresh += count * size;
}

}  // namespace

constinit std::array<Slab*, kSizeClasses> Slabs::first_ = [] {
  std::array<Slab*, kSizeClasses> lists{};
  lists.fill(&no_slab);
  return lists;
}();

void Slabs::unlist(Slab& slab) {
  slab.is_listed = false;
  if (slab.next != &no_slab) slab.next->previous = slab.previous;
  (slab.previous == nullptr ? first_[slab.size_class] : slab.previous->next) = slab.next;
}

void* Slabs::refill(std::size_t size_class) {
  while (first_[size_class] != &no_slab) {
    Slab& slab = *first_[size_class];
    if (slab.free == nullptr) cut(slab);
    if (slab.free != nullptr) break;
    unlist(slab);
  }
  if (first_[size_class] == &no_slab) {
    Slab* const slab = takeSlab();
    slab->is_listed = true;
    slab->size_class = static_cast<std::uint8_t>(size_class);
    slab->fresh = reinterpret_cast<std::byte*>(slab + 1);
    slab->next = &no_slab;
    first_[size_class] = slab;
    cut(*slab);
  }
  FreeBlock* const block = first_[size_class]->free;
  first_[size_class]->free = block->next;
  ++first_[size_class]->used;
  return block;
}

// A slab that has a block again comes second, so that the first is used up first; there is a first,
// for a list that has had a slab is never empty again. One slab stays with its size when all is
// free, for a program that makes and drops the same thing over and over.
void Slabs::relist(Slab& slab) {
  Slab*& first = first_[slab.size_class];
  if (!slab.is_listed) {
    slab.is_listed = true;
    slab.previous = first;
    slab.next = first->next;
    if (slab.next != &no_slab) slab.next->previous = &slab;
    first->next = &slab;
  }
  if (slab.used == 0 && &slab != first) {
    unlist(slab);
    putAside(slab);
  }
}

void giveBack(std::size_t count) {
  for (; count > 0 && empty_count > kSlabsKept; --count) {
    Slab* const slab = empty_slabs;
    empty_slabs = slab->next;
    --empty_count;
    Region& region = *slab->region;
    const auto offset = static_cast<std::size_t>(reinterpret_cast<std::byte*>(slab) - region.begin);
    returnPages(slab, kSlabSize);
    if (region.without_memory_count == 0) {
      region.next = regions_without_memory;
      regions_without_memory = &region;
    }
    region.without_memory[region.without_memory_count++] =
        static_cast<std::uint8_t>(offset / kSlabSize);
  }
}

std::size_t slabsInUse() { return in_use_count; }

std::size_t slabsAtHand() { return empty_count; }

}  // namespace lisp::storage
