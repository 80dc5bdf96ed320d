// The knowledge of former comparisons: which chunks hold equal elements, and how far.
//
// valuesEqual must not walk equal storage twice: neither within one comparison, where sharing can
// make a value exponentially larger than its storage, nor from one comparison to the next. So
// chunks that were found equal are tied together: an edge of level k between two chunks says that
// the lists of k elements (and hence all shorter ones) that end both chunks are equal.
//
// The edges form a forest in which every node has at most one edge to a peer of higher priority.
// Two chunks are known equal up to the lowest level on the path between them. Priorities are
// random, so paths are short, as in a treap.
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

// The hash of slot 0 of a chunk that has a node.
[[nodiscard]] std::uint64_t& hashOfNode(Chunk& chunk);

// Compares two lists of equal length that hold no NaN.
[[nodiscard]] bool listsEqual(const RawValue& a, const RawValue& b);

// The hash of the chunk's slot 0, wherever it stands; the chunk must have a digest.
[[nodiscard]] inline std::uint64_t& frontHash(Chunk& chunk) {
  assert(chunk.hasDigest());
  return chunk.hasNode() ? hashOfNode(chunk) : chunk.front;
}
[[nodiscard]] inline std::uint64_t frontHash(const Chunk& chunk) {
  return frontHash(const_cast<Chunk&>(chunk));
}

// Gives up the chunk's node, if it has one; the chunk must be on its way to the graveyard.
void releaseNodeOf(const Chunk& chunk);
inline void releaseEquality(const Chunk& chunk) {
  if (chunk.hasNode()) releaseNodeOf(chunk);
}

}  // namespace lisp

#endif  // LISP_EQUALITY_H_
