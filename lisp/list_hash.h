// Hashes of lists, which tell almost all unequal lists apart without a look at their elements.
//
// A list's hash is made element by element from its end to its front, with a secret drawn at start.
// Every element of a run has beside it the hash of the list that begins there, so the hash of any
// list is at hand, and that of a new list takes one step for each of its elements, however deep
// they are. Hashes are odd. Equal lists have equal hashes; two lists that somebody chose to be
// different have equal ones about once in 2^60 times, and then a comparison walks them in vain.

#ifndef LISP_LIST_HASH_H_
#define LISP_LIST_HASH_H_

#include <bit>
#include <cmath>
#include <cstdint>

#include "lisp/equality.h"
#include "lisp/list.h"
#include "lisp/symbol.h"

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

[[nodiscard]] inline std::uint64_t emptyListHash() { return hashKey().seed; }

// Makes the digest of a run that has none, and of those that it leads to. Linear in their elements.
void digest(Run& run);

// Whatever `value` is, it has a digest afterwards if it can have one.
inline void ensureDigest(const RawValue& value) {
  if (value.tag() == Tag::List && runOf(value).front == 0) digest(runOf(value));
}

// The hash of the list that begins at `slot`, which must be in use, of a run with a digest.
[[nodiscard]] std::uint64_t hashAt(const Run& run, std::uint32_t slot);

// The hash of a list with a digest.
[[nodiscard]] inline std::uint64_t digestedHash(const RawValue& list) {
  if (list.length() == 0) return emptyListHash();
  const Run& run = runOf(list);
  return hashAt(run, run.full_length - list.length());
}

// The hash of a list.
[[nodiscard]] inline std::uint64_t listHash(const RawValue& list) {
  ensureDigest(list);
  return digestedHash(list);
}

// True when the list holds a NaN at any depth.
[[nodiscard]] inline bool listHoldsNan(const RawValue& list) {
  ensureDigest(list);
  return runOf(list).nan_length <= list.length();
}

// True when the value, which has a digest if it can have one, is or holds a NaN.
[[nodiscard]] inline bool holdsNan(const RawValue& value) {
  if (value.tag() == Tag::Number) return std::isnan(value.number);
  return value.tag() == Tag::List && runOf(value).nan_length <= value.length();
}

// Values that are equal have equal words. Only the words of numbers can be known outside: those of
// all other kinds are secret, so nobody can choose a number that has the word of something else. A
// list must have a digest.
[[nodiscard]] inline std::uint64_t wordOf(const RawValue& value, const HashKey& key) {
  switch (value.tag()) {
    case Tag::Number:
      return std::bit_cast<std::uint64_t>(value.number + 0.0);  // -0.0 equals 0.0.
    case Tag::String:
      return ~textOf(value).hash;
    case Tag::Symbol:
      return symbolOf(value).hash;
    case Tag::List:
      return std::rotl(digestedHash(value), 1) + value.length();
    default:
      return key.nil_word;
  }
}

// The hash of `element`, which has a digest if it can have one, in front of a list whose hash is
// `rest_hash`.
[[nodiscard]] inline std::uint64_t extendHash(std::uint64_t rest_hash, const RawValue& element,
                                              const HashKey& key = hashKey()) {
  __extension__ using Wide = unsigned __int128;
  const Wide product = static_cast<Wide>(rest_hash ^ wordOf(element, key)) * key.factor + key.seed;
  return (static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64)) | 1;
}

inline std::uint64_t hashAt(const Run& run, std::uint32_t slot) {
  if (slot == 0) return frontHash(run);
  if (run.tail_length == 0 && slot + 1 == run.full_length) {
    // Not a list with elements, or restOf would have made a run of it: nothing is asked further.
    return extendHash(emptyListHash(), run.slots()[slot].raw());
  }
  return run.hashes()[slot - 1];
}

}  // namespace lisp

#endif  // LISP_LIST_HASH_H_
