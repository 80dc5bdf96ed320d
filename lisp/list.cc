// Chunks: making, prepending, finding, taking apart. (CONS 1 L) claims the free slot in front of
// the first element of L if there is one. Otherwise it makes a new linked chunk, whose tail is the
// chunk of L.

#include "lisp/list.h"

#include <algorithm>
#include <new>
#include <utility>

#include "lisp/equality.h"
#include "lisp/list_hash.h"
#include "lisp/storage.h"
#include "lisp/work.h"

namespace lisp {
namespace {

// A chunk that CONS makes has room for twice as many elements as the chunk that it continues, up to
// the first of these: long lists cost few allocations and short ones little room. That holds for
// the first chunk that continues another. Further ones, and those that begin in the middle of
// another chunk or continue a flat one, begin small: a program could make thousands of them and use
// none.
constexpr std::uint32_t kLinkedCapacityMax = 16;
constexpr std::uint32_t kFirstCapacityMax = 4;
constexpr std::uint32_t kBranchCapacity = 2;

// Elements of a dead chunk that are released before what was in them is taken apart.
constexpr std::size_t kElementsAtOnce = 4;

std::size_t chunk_count = 0;

// The chunk that is next taken apart, or further taken apart.
constinit Chunk* dead_chunks = nullptr;

constinit std::size_t haste_left = kHasteMax;

// Since the last allocation.
constinit std::size_t records_made = 0;

// Units that names have cost beyond those given; the next allocations pay them.
constinit std::size_t units_owed = 0;

constexpr Chunk makeEmptyChunk() {
  Chunk chunk;
  chunk.setShape(kEmptyListShape);
  return chunk;
}

// The empty list's chunk is shared by all and never retired: its own reference stays.
Chunk& emptyChunk() {
  static constinit Chunk chunk = makeEmptyChunk();
  return chunk;
}

constexpr std::size_t chunkSize(std::size_t capacity, std::size_t hashes) {
  return sizeof(Chunk) + capacity * sizeof(LispValue) + hashes * sizeof(std::uint64_t);
}
constexpr std::size_t flatSize(std::size_t capacity) {
  return chunkSize(capacity, capacity > 2 ? capacity - 2 : 0);
}
constexpr std::size_t linkedSize(std::size_t capacity) {
  return sizeof(ChunkLink) + chunkSize(capacity, capacity - 1);
}

// A name or text that nobody else holds.
bool isLastRecord(const RawValue& raw) {
  return (raw.tag() == Tag::Symbol || raw.tag() == Tag::String) && raw.record->references == 1;
}

// Takes apart what an allocation of so many elements is to take.
void takeApartFor(std::uint32_t capacity) {
  const std::size_t records = std::exchange(records_made, 0);
  if (dead_chunks == nullptr) return;
  const std::size_t units = std::size_t{capacity} + 1;
  const std::size_t more = std::min(14 * units, haste_left);
  haste_left -= more;
  takeChunksApart(2 * (units + kRecordUnits * records) + more, kRecordUnits);
}

Chunk* allocateFlat(std::uint32_t capacity) {
  takeApartFor(capacity);
  auto* const chunk = new (storage::allocate(flatSize(capacity))) Chunk;
  chunk->full_length_and_flag = capacity;
  ++chunk_count;
  return chunk;
}

Chunk* allocateLinked(std::uint32_t capacity) {
  takeApartFor(capacity);
  auto* const link = new (storage::allocate(linkedSize(capacity))) ChunkLink;
  ++chunk_count;
  return new (link + 1) Chunk;
}

void deallocateChunk(Chunk& chunk) {
  --chunk_count;
  if (!chunk.isLinked()) {
    storage::deallocate(&chunk, flatSize(chunk.capacity()));
  } else {
    storage::deallocate(&linkOf(chunk), linkedSize(chunk.capacity()));
  }
}

// The first slot in use.
std::uint32_t firstSlot(const Chunk& chunk) {
  assert(chunk.fullLength() >= (chunk.isLinked() ? linkOf(chunk).front_length : 0));
  return chunk.isLinked() ? chunk.fullLength() - linkOf(chunk).front_length : 0;
}

// Lists up to this many elements are looked through for lists among them.
constexpr std::uint32_t kLeafLengthMax = 16;

// True when the chunk is a flat one of atoms, such as a point.
bool isLeaf(const Chunk& chunk) {
  if (chunk.full_length_and_flag > kLeafLengthMax) return false;  // Too long, or linked.
  // The whole chunk: it holds the elements before those in view, too.
  return std::none_of(chunk.slots(), chunk.slots() + chunk.flatLength(),
                      [](const LispValue& value) {
                        return value.raw().tag() == Tag::List && value.raw().length() != 0;
                      });
}

// True when `element` leads to no chunk but perhaps a leaf.
bool leadsToNoList(const RawValue& element) {
  return element.tag() != Tag::List || element.length() == 0 || isLeaf(chunkOf(element));
}

std::uint32_t depthOf(const Chunk& chunk) { return chunk.isLinked() ? linkOf(chunk).depth : 0; }

// Skew-binary jump pointers (Myers, "An applicative random-access stack"): the jump of a chunk
// leads to where its tail's jump leads on when two equal jumps meet, and to its tail otherwise, so
// that a walk to any depth takes a number of steps logarithmic in the number of chunks.
void linkTo(Chunk& chunk, Chunk& tail) {
  ChunkLink& link = linkOf(chunk);
  link.tail = &tail;
  link.jump = &tail;
  link.depth = depthOf(tail) + 1;
  if (!tail.isLinked()) return;
  const Chunk& middle = *linkOf(tail).jump;
  if (!middle.isLinked()) return;
  Chunk& far = *linkOf(middle).jump;
  if (depthOf(tail) - depthOf(middle) == depthOf(middle) - depthOf(far)) link.jump = &far;
}

// Puts `element` in front of what the chunk shows, into the slot there; `hash` is that of the list
// that begins there.
inline RawValue claimSlot(Chunk& chunk, std::uint32_t slot, RawValue element, std::uint64_t hash) {
  const std::uint32_t length = chunk.fullLength() - slot;
  assert(length > chunk.tailLength());
  linkOf(chunk).front_length = length;
  (slot == 0 ? frontHash(chunk) : chunk.hashes()[slot - 1]) = hash;
  new (chunk.slots() + slot) LispValue(LispValue::adopt(element));
  return RawValue::ofList(chunk, length);
}

// The room of a chunk that continues in `tail` with a list of `length` elements.
std::uint32_t capacityOnto(Chunk& tail, std::uint32_t length) {
  if (!tail.isLinked()) return std::min(kFirstCapacityMax, 2 * length);
  ChunkLink& link = linkOf(tail);
  if (length != tail.fullLength() || link.is_continued) return kBranchCapacity;
  link.is_continued = true;
  return std::min(kLinkedCapacityMax, 2 * (length - link.tail_length));
}

// `element` in front of `list`, which is not empty, in a chunk of its own. An element that may lead
// back to the chunk of the list must not stand in that chunk, which would hold itself for ever;
// after such a one there are no free slots.
RawValue prependChunk(RawValue element, RawValue list, bool may_share) {
  ensureDigest(element);
  const std::uint64_t hash = extendHash(listHash(list), element);
  Chunk& tail = chunkOf(list);
  const std::uint32_t capacity = may_share ? capacityOnto(tail, list.length()) : 1;
  Chunk& chunk = *allocateLinked(capacity);
  chunk.full_length_and_flag = (list.length() + capacity) | Chunk::kLinked;
  linkOf(chunk).tail_length = list.length();
  linkOf(chunk).is_continued = false;
  linkTo(chunk, tail);
  return claimSlot(chunk, capacity - 1, element, hash);
}

}  // namespace

const Chunk& findChunk(const Chunk& chunk, std::uint32_t remaining) {
  assert(remaining >= 1 && remaining <= chunk.fullLength());
  const Chunk* at = &chunk;
  while (remaining <= at->tailLength()) {
    countWork();
    const ChunkLink& link = linkOf(*at);
    at = remaining <= link.jump->tailLength() ? link.jump : link.tail;
  }
  return *at;
}

RawValue emptyList() {
  const RawValue raw = RawValue::ofList(emptyChunk(), 0);
  retain(raw);
  return raw;
}

RawValue makeLiteral(const RawValue* elements, std::size_t count) {
  if (count == 0) return emptyList();
  assert(count < Chunk::kLinked);
  countWork(count);
  Chunk* const chunk = allocateFlat(static_cast<std::uint32_t>(count));
  chunk->setShape(kUnseenShape);
  auto* const slots = reinterpret_cast<RawValue*>(chunk->slots());
  for (std::size_t i = 0; i < count; ++i) copyWords(slots[i], elements[i]);
  return RawValue::ofList(*chunk, chunk->flatLength());
}

RawValue makeList(const RawValue* elements, std::size_t count) {
  const RawValue list = makeLiteral(elements, count);
  const bool holds_lists = std::any_of(elements, elements + count, [](const RawValue& element) {
    return element.tag() == Tag::List;
  });
  if (holds_lists) digest(chunkOf(list));
  return list;
}

RawValue prepend(RawValue element, RawValue list) {
  if (list.length() == 0) {
    release(list);
    return makeList(&element, 1);
  }
  countWork();
  Chunk& chunk = chunkOf(list);
  const std::uint32_t slot =
      chunk.fullLength() - list.length();  // That of the list's first element.
  const bool may_share = leadsToNoList(element);
  if (!may_share || slot == 0 || !chunk.isLinked() || linkOf(chunk).front_length != list.length()) {
    return prependChunk(element, list, may_share);
  }
  ensureDigest(element);
  return claimSlot(chunk, slot - 1, element, extendHash(chunk.hashes()[slot - 1], element));
}

RawValue restElsewhere(const RawValue& list) {
  const std::uint32_t length = list.length() - 1;
  if (length == 0) return emptyList();
  Chunk& chunk = chunkOf(list);
  RawValue rest =
      RawValue::ofList(length == chunk.tailLength() ? *linkOf(chunk).tail : chunk, length);
  const RawValue& element = chunkOf(rest).own(length).raw();
  if (length == 1 && &chunkOf(rest) == &chunk && element.tag() == Tag::List &&
      element.length() != 0) {
    // The hash of this list would be made from its element's whenever it is asked for, and so, if
    // that is such a list too, from all that nest in it. In a chunk of its own it is kept.
    retain(element);
    return makeList(&element, 1);
  }
  retain(rest);
  return rest;
}

void bury(Chunk& chunk) {
  assert(chunk.references == 0);
  releaseEquality(chunk);
  chunk.references = firstSlot(chunk);
  chunk.next_dead = dead_chunks;
  dead_chunks = &chunk;
}

// A few elements of a chunk at once, so that the memory of the lists among them is fetched
// together, and then those of them that nobody holds, while they are in the cache.
void noteRecordMade() { ++records_made; }

void takeChunksApart(std::size_t units, std::size_t record_units) {
  if (dead_chunks == nullptr) return;  // Before registers are saved.
  const std::size_t paid = std::min(units, units_owed);
  units_owed -= paid;
  units -= paid;
  while (units > 0 && dead_chunks != nullptr) {
    Chunk& chunk = *dead_chunks;
    const LispValue* const slot = chunk.slots() + chunk.references;
    const std::size_t left = chunk.capacity() - chunk.references;
    const std::size_t count = std::min({left, kElementsAtOnce, units});
    countWork(count + 1);
    units -= count;
    const bool is_done = count == left && units > 0;
    if (is_done) {
      dead_chunks = chunk.next_dead;
      --units;
    } else {
      chunk.references += static_cast<std::uint32_t>(count);
    }
    for (std::size_t i = count; i > 0;) {
      --i;
      const RawValue& element = slot[i].raw();
      if (isLastRecord(element)) units_owed += record_units;
      release(element);
    }
    const std::size_t cost = std::min(units, units_owed);
    units_owed -= cost;
    units -= cost;
    if (!is_done) continue;
    if (chunk.isLinked() && --linkOf(chunk).tail->references == 0) bury(*linkOf(chunk).tail);
    deallocateChunk(chunk);
  }
}

bool hasDeadChunks() { return dead_chunks != nullptr; }

std::size_t hasteLeft() { return haste_left; }

void renewHaste(std::size_t count) { haste_left = count; }

std::size_t chunkCount() { return chunk_count; }

}  // namespace lisp
