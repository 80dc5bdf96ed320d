// Storage of lists: chunks of contiguous elements, with shared tails.
//
// A list value is a chunk and a number of elements k. Elements are named by how many remain from
// them to the end of the list, themselves included: the first element of the value has k remaining,
// the last has 1. That number never changes as lists are put together in front, so it names the
// same element for every list that shares it.
//
// A chunk holds the elements with full length >= remaining > tail length; the element with r
// remaining is in slot full length - r. A flat chunk (from the reader or LIST) has no tail. A
// linked chunk (from CONS) continues in its tail chunk at the tail length. So CDR only lowers k,
// moving on to the tail where it begins, and CONS either claims the free slot in front of its
// argument's first element or makes a chunk of one element and a few free slots. Only atoms and
// lists of atoms claim slots: any other element might lead back to the very chunk, which would then
// hold itself.
//
// A chunk that is no longer held is not destroyed at once: it waits in the graveyard
// (lisp/graveyard.h). Every allocation of n elements frees 2n + 2 dead elements, or 16n + 16 while
// the request's haste lasts; a name of which that was the last hold counts as seventeen. Haste
// gives back what one large program made long before as much is made again: then slabs are empty
// when they are used again, and lists that are made one after another lie one after another. No
// list, however deep, is destroyed by recursion or in one go.

#ifndef LISP_LIST_H_
#define LISP_LIST_H_

#include <cassert>
#include <cstddef>
#include <cstdint>

#include "lisp/value.h"

namespace lisp {

struct EqualityNode;

// The shape of a list as a form (lisp/form_shape.h); one that has never been evaluated, and
// the empty list.
using FormShape = std::uint32_t;
inline constexpr FormShape kUnseenShape = 0;
inline constexpr FormShape kEmptyListShape = 1;

// The head of a chunk; `capacity()` slots follow it, and then hashes: for every slot in use, that
// of the list that begins there (lisp/list_hash.h). Two slots have none there: slot 0 has its hash
// in the head, and the last slot of a flat chunk stores none, since making it takes one step. Slots
// in use are initialised.
//
// Hashes are the chunk's digest. Lists of atoms and lists from the reader get theirs when they are
// first compared, or as the run ends that made them, if a variable or a function keeps them. Most
// are neither compared nor kept, so they never get one. All chunks that a chunk with a digest leads
// to have a digest, too.
//
// In the graveyard a chunk has no references, and the number of them is that of the slots that no
// longer hold their element.
struct Chunk : Counted {
  static constexpr std::uint32_t kLinked = 0x80000000;
  static constexpr std::uint64_t kSearched = 0x80000000;
  static constexpr std::uint32_t kFormNumberMax = (1U << 29) - 1;

  // The full length, and in a linked chunk the flag kLinked besides. The flag never meets the
  // length: a list of 2^31 elements would take 32 GiB.
  std::uint32_t full_length_and_flag = 0;
  // One of four:
  //   - with a digest: the hash of slot 0, which is odd;
  //   - with a digest, once it was compared: the address of the chunk's node (lisp/equality.h),
  //     lowest bits 00. The chunk holds the node, and the node has the hash;
  //   - without a digest, and for the empty list: lowest bits 10, above them the number of an
  //     observed form, then kSearched, and the shape in the upper half;
  //   - in the graveyard: the next chunk.
  // The compilers that build this let one member be read as another.
  union {
    std::uint64_t front = 1;
    EqualityNode* node;
    Chunk* next_dead;
  };

  [[nodiscard]] bool hasDigest() const { return (front & 3) != 2; }
  [[nodiscard]] bool hasNode() const { return (front & 3) == 0; }
  // The evaluator of a chunk without a digest.
  [[nodiscard]] FormShape shape() const {
    assert(!hasDigest());
    return static_cast<FormShape>(front >> 32);
  }
  constexpr void setShape(FormShape shape, std::uint32_t form_number = 0) {
    assert(form_number <= kFormNumberMax);
    front = std::uint64_t{shape} << 32 | (front & kSearched) | std::uint64_t{form_number} << 2 | 2;
  }
  // The number of an observed form (lisp/observer.h).
  [[nodiscard]] std::uint32_t formNumber() const {
    assert(!hasDigest());
    return static_cast<std::uint32_t>(front & ~kSearched) >> 2;
  }
  // True when UserFunction::prepare has been here, of a chunk without a digest.
  [[nodiscard]] bool isSearched() const {
    assert(!hasDigest());
    return (front & kSearched) != 0;
  }
  void setSearched() {
    assert(!hasDigest());
    front |= kSearched;
  }

  [[nodiscard]] bool isLinked() const { return (full_length_and_flag & kLinked) != 0; }
  // The items that remain, from slot 0 on.
  [[nodiscard]] std::uint32_t fullLength() const { return full_length_and_flag & ~kLinked; }
  // The same of a flat chunk, as all forms are: its number of slots.
  [[nodiscard]] std::uint32_t flatLength() const {
    assert(!isLinked());
    return full_length_and_flag;
  }
  // Elements of the list that follow in the tail; 0 when flat.
  [[nodiscard]] std::uint32_t tailLength() const;
  [[nodiscard]] std::uint32_t capacity() const { return fullLength() - tailLength(); }
  [[nodiscard]] LispValue* slots() { return reinterpret_cast<LispValue*>(this + 1); }
  [[nodiscard]] const LispValue* slots() const {
    return reinterpret_cast<const LispValue*>(this + 1);
  }
  // That of slot 1 comes first.
  [[nodiscard]] std::uint64_t* hashes() {
    return reinterpret_cast<std::uint64_t*>(slots() + capacity());
  }
  [[nodiscard]] const std::uint64_t* hashes() const {
    return reinterpret_cast<const std::uint64_t*>(slots() + capacity());
  }
  // True when the chunk itself holds the element with `remaining` and the slot is in use.
  [[nodiscard]] bool isInUse(std::uint32_t remaining) const;
  // The element from which `remaining` elements remain; it must be one of this chunk's own.
  [[nodiscard]] const LispValue& own(std::uint32_t remaining) const {
    assert(isInUse(remaining));
    return slots()[fullLength() - remaining];
  }
};

// The part before the head of a linked chunk.
struct ChunkLink {
  Chunk* tail;                 // Holds it.
  Chunk* jump;                 // A chunk further down the chain of tails; borrowed from the chain.
  std::uint32_t depth;         // Number of tails below this chunk.
  std::uint32_t front_length;  // What remains from the chunk's first element in use.
  std::uint32_t tail_length;   // Elements of the list that follow in the tail.
  bool is_continued;           // A chunk with room for more elements continues in this one.
};

static_assert(sizeof(Chunk) == 16 && sizeof(ChunkLink) == 32);

// The chunk in which a list begins.
[[nodiscard]] inline Chunk& chunkOf(const RawValue& raw) {
  assert(raw.tag() == Tag::List);
  return *static_cast<Chunk*>(raw.record);
}
// The link of a linked chunk.
[[nodiscard]] inline ChunkLink& linkOf(Chunk& chunk) {
  assert(chunk.isLinked());
  return reinterpret_cast<ChunkLink*>(&chunk)[-1];
}
[[nodiscard]] inline const ChunkLink& linkOf(const Chunk& chunk) {
  assert(chunk.isLinked());
  return reinterpret_cast<const ChunkLink*>(&chunk)[-1];
}

inline std::uint32_t Chunk::tailLength() const {
  return isLinked() ? linkOf(*this).tail_length : 0;
}

inline bool Chunk::isInUse(std::uint32_t remaining) const {
  return remaining > tailLength() &&
         remaining <= (isLinked() ? linkOf(*this).front_length : full_length_and_flag);
}

// The chunk that holds the element with `remaining` of a list that begins in `chunk`, found in
// O(log chunks): `remaining` must be from 1 to the list's length.
[[nodiscard]] const Chunk& findChunk(const Chunk& chunk, std::uint32_t remaining);

// A list of `count` elements; takes over the hold on each. It has a digest if there are lists among
// them.
[[nodiscard]] RawValue makeList(const RawValue* elements, std::size_t count);

// The same without a digest, for the reader: its lists nest at most kNestingMax deep, which bounds
// how much is ever digested at once.
[[nodiscard]] RawValue makeLiteral(const RawValue* elements, std::size_t count);

// The empty list; `()`, not nil.
[[nodiscard]] RawValue emptyList();

// `element` in front of the elements of `list`; takes over both holds. O(1).
[[nodiscard]] RawValue prepend(RawValue element, RawValue list);

// For restOf: the rest that is in another chunk, has one element or has none.
[[nodiscard]] RawValue restElsewhere(const RawValue& list);

// The elements after the first of `list`, which must not be empty; a further hold. O(1).
[[nodiscard]] inline RawValue restOf(const RawValue& list) {
  assert(list.length() > 0);
  Chunk& chunk = chunkOf(list);
  const std::uint32_t length = list.length() - 1;
  if (length <= 1 || length == chunk.tailLength()) return restElsewhere(list);
  ++chunk.references;
  return RawValue::ofList(chunk, length);
}

// The graveyard's part for chunks (lisp/graveyard.h).

// Puts a chunk that nobody holds into the graveyard.
void bury(Chunk& chunk);
// Takes at most `units` elements and heads of dead chunks apart. The last hold on a name or text
// costs `record_units` more: its record leaves its table, for which several places of the memory
// are waited for.
inline constexpr std::size_t kRecordUnits = 16;
void takeChunksApart(std::size_t units, std::size_t record_units = 0);
// A name or text has been made: the next allocation takes another one apart besides what it takes
// anyway. So dead names are taken apart as fast as new ones are made.
void noteRecordMade();
[[nodiscard]] bool hasDeadChunks();
// The elements that allocations may yet take apart in haste, in this request; kHasteMax as it
// begins.
inline constexpr std::size_t kHasteMax = 1'000'000;
[[nodiscard]] std::size_t hasteLeft();
void renewHaste(std::size_t count = kHasteMax);

// Chunks alive or in the graveyard; tests watch them for growth.
[[nodiscard]] std::size_t chunkCount();

}  // namespace lisp

#endif  // LISP_LIST_H_
