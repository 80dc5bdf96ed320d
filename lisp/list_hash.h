// Hashes of lists, which tell almost all unequal lists apart without a look at their elements.
//
// A list's hash is made element by element from its end to its front, with a secret drawn at start.
// In a chunk with a digest every element has beside it the hash of the list that begins there, so
// the hash of any such list is at hand, and that of a new list takes one step for each of its
// elements, however deep they are. The hashes of lists with elements are odd. Equal lists have
// equal hashes; two lists that somebody chose to be different have equal ones about once in 2^60
// times, and then a comparison walks them in vain.

#ifndef LISP_LIST_HASH_H_
#define LISP_LIST_HASH_H_

#include <bit>
#include <cassert>
#include <cmath>
#include <cstdint>

#include "lisp/equality.h"
#include "lisp/list.h"
#include "lisp/symbol.h"
#include "lisp/wrapping.h"

namespace lisp {

// The secret of this process: the hash of the empty list, an odd factor, and the word of nil.
struct HashKey {
  std::uint64_t seed;
  std::uint64_t factor;
  std::uint64_t nil_word;
};

[[nodiscard]] HashKey drawHashKey();

[[nodiscard]] inline const HashKey& hashKey() {
  static const HashKey key = drawHashKey();
  return key;
}

// The hash of every list that holds a NaN at any depth: it equals nothing. No other list has it.
inline constexpr std::uint64_t kNanHash = 1;

[[nodiscard]] inline std::uint64_t emptyListHash() { return hashKey().seed; }

// Makes the digest of a chunk that has none, and of those that it leads to. Linear in their
// elements.
void digest(Chunk& chunk);

// True for a list that has no digest yet. The empty list needs none.
[[nodiscard]] inline bool lacksDigest(const RawValue& value) {
  return value.tag() == Tag::List && value.length() != 0 && !chunkOf(value).hasDigest();
}

// Ensures that a list has its digest; no effect on other kinds.
inline void ensureDigest(const RawValue& value) {
  if (lacksDigest(value)) digest(chunkOf(value));
}

// The hash of the list that begins at `slot`, which must be in use, of a chunk with a digest.
[[nodiscard]] std::uint64_t hashAt(const Chunk& chunk, std::uint32_t slot);

// The hash of a list with a digest.
[[nodiscard]] inline std::uint64_t digestedHash(const RawValue& list) {
  if (list.length() == 0) return emptyListHash();
  const Chunk& chunk = chunkOf(list);
  return hashAt(chunk, chunk.fullLength() - list.length());
}

// The hash of a list.
[[nodiscard]] inline std::uint64_t listHash(const RawValue& list) {
  ensureDigest(list);
  return digestedHash(list);
}

// True when the list holds a NaN at any depth.
[[nodiscard]] inline bool listHoldsNan(const RawValue& list) { return listHash(list) == kNanHash; }

// The hash of `element`, which has a digest if it can have one, in front of a list whose hash is
// `rest_hash`. Elements that are equal have equal words. Only the words of numbers can be known
// outside: those of all other kinds are secret, so nobody can choose a number that has the word of
// something else.
[[nodiscard, gnu::always_inline]] LISP_WRAPS inline std::uint64_t extendHash(
    std::uint64_t rest_hash, const RawValue& element, const HashKey& key = hashKey()) {
  std::uint64_t word = key.nil_word;
  if (element.tag() == Tag::Number) {
    if (std::isnan(element.number)) return kNanHash;
    word = std::bit_cast<std::uint64_t>(element.number + 0.0);  // -0.0 equals 0.0.
  } else if (element.tag() == Tag::String) {
    word = ~textOf(element).hash;
  } else if (element.tag() == Tag::Symbol) {
    word = symbolOf(element).hash;
  } else if (element.tag() == Tag::List) {
    const std::uint64_t hash = digestedHash(element);
    if (hash == kNanHash) return kNanHash;
    word = std::rotl(hash, 1) + element.length();
  }
  if (rest_hash == kNanHash) return kNanHash;
  __extension__ using Wide = unsigned __int128;
  const Wide product = static_cast<Wide>(rest_hash ^ word) * key.factor + key.seed;
  return (static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64)) | 3;
}

inline std::uint64_t hashAt(const Chunk& chunk, std::uint32_t slot) {
  assert(chunk.hasDigest() && chunk.isInUse(chunk.fullLength() - slot));
  if (slot == 0) return frontHash(chunk);
  if (slot + 1 == chunk.full_length_and_flag) {  // Of a flat chunk.
    // The last element is never a list with elements here (restOf makes a chunk of such a tail), so
    // this call does not recurse.
    return extendHash(emptyListHash(), chunk.slots()[slot].raw());
  }
  return chunk.hashes()[slot - 1];
}

}  // namespace lisp

#endif  // LISP_LIST_HASH_H_
