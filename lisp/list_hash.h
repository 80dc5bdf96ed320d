// Hashes of lists, which tell almost all unequal lists apart without a look at their elements.
//
// A list's hash is made element by element from its end to its front, with a secret drawn at start.
// Every element of a run has beside it the hash of the list that begins there, so the hash of any
// list is at hand, and that of a new list takes one step for each of its elements, however deep
// they are. Hashes are odd. Equal lists have equal hashes; two lists that somebody chose to be
// different have equal ones about once in 2^60 times, and then a comparison walks them in vain.

#ifndef LISP_LIST_HASH_H_
#define LISP_LIST_HASH_H_

#include <cstdint>

#include "lisp/equality.h"
#include "lisp/list.h"

namespace lisp {

[[nodiscard]] std::uint64_t emptyListHash();

// The hash of `element` in front of a list whose hash is `rest_hash`.
[[nodiscard]] std::uint64_t extendHash(std::uint64_t rest_hash, const LispValue& element);

// The hash of the list that begins at `slot`, which must be in use.
[[nodiscard]] inline std::uint64_t hashAt(const Run& run, std::uint32_t slot) {
  if (slot == 0) return frontHash(run);
  if (run.tail_length == 0 && slot + 1 == run.full_length) {
    // Not a list with elements, or dropFirst would have made a run of it: nothing is asked further.
    return extendHash(emptyListHash(), run.slots()[slot]);
  }
  return run.hashes()[slot - 1];
}

// The hash of a list.
[[nodiscard]] inline std::uint64_t listHash(const RawValue& list) {
  if (list.length == 0) return emptyListHash();
  const Run& run = runOf(list);
  return hashAt(run, run.full_length - list.length);
}

}  // namespace lisp

#endif  // LISP_LIST_HASH_H_
