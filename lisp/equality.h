// What comparisons have learnt: which runs hold equal elements, and how far.
//
// valuesEqual must not walk equal storage twice: neither within one comparison, where sharing can
// make a value exponentially larger than its storage, nor from one comparison to the next. So runs
// that were found equal are tied together: an edge of level k between two runs says that the lists
// of k elements (and hence all shorter ones) that end both runs are equal.
//
// The edges form a forest in which every node has at most one edge to a peer of higher priority.
// Two runs are known equal up to the lowest level on the path between them. Priorities are random,
// so paths are short, as in a treap.
//
// Walking is a second look: lists of equal hashes are equal, but for one pair in 2^60 that nobody
// can choose (lisp/list_hash.h). It is bounded, because a request may compare what many former ones
// have built. Beyond the bound the hashes alone decide.

#ifndef LISP_EQUALITY_H_
#define LISP_EQUALITY_H_

#include <cassert>
#include <cstddef>
#include <cstdint>

#include "lisp/list.h"

namespace lisp {

// The elements that comparisons may yet visit in this request; kComparisonsMax as it begins.
inline constexpr std::size_t kComparisonsMax = 16384;
[[nodiscard]] std::size_t comparisonsLeft();
void renewComparisons(std::size_t count = kComparisonsMax);

// The hash of slot 0 of a run that has a node.
[[nodiscard]] std::uint64_t& hashOfNode(Run& run);

// Compares two lists of equal length that hold no NaN.
[[nodiscard]] bool listsEqual(const RawValue& a, const RawValue& b);

// The hash of the run's slot 0, wherever it stands; the run must have a digest.
[[nodiscard]] inline std::uint64_t& frontHash(Run& run) {
  assert(run.hasDigest());
  return run.hasNode() ? hashOfNode(run) : run.front;
}
[[nodiscard]] inline std::uint64_t frontHash(const Run& run) {
  return frontHash(const_cast<Run&>(run));
}

// Gives up the run's node, if it has one; the run must be on its way to the graveyard.
void releaseNodeOf(const Run& run);
inline void releaseEquality(const Run& run) {
  if (run.hasNode()) releaseNodeOf(run);
}

}  // namespace lisp

#endif  // LISP_EQUALITY_H_
