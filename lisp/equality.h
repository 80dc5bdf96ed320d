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

#ifndef LISP_EQUALITY_H_
#define LISP_EQUALITY_H_

#include "lisp/list.h"

namespace lisp {

// Compares two lists of equal length that hold no NaN.
[[nodiscard]] bool listsEqual(const RawValue& a, const RawValue& b);

// Gives up the run's node, if it has one.
void releaseEquality(Run& run);

}  // namespace lisp

#endif  // LISP_EQUALITY_H_
