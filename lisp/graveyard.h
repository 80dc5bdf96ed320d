// The graveyard: what nobody holds any more waits here until it is taken apart, a little at a time.
//
// A value can be of any size, so destroying one at once could delay a response, and by recursion
// could run out of stack. So the last hold on a record only puts it into a chain, in O(1), and
// taking a record apart puts what it held alone into its chain in turn. An example, with L the list
// (1 (2 (3))): as L is dropped, its chunk waits; taking it apart releases its two elements, and the
// chunk of (2 (3)) waits; and so on. Three kinds of records wait, each in a chain of its own:
//
//   chunks of lists      lisp/list.cc            an allocation of n elements takes 2n+2 apart
//   environment nodes    lisp/environment.cc     each new node takes two apart
//   user functions       lisp/user_function.cc   each new function takes twice its locals apart
//
// Making something takes apart more than it makes, so a chain never grows for long, and each
// request takes a further part. This header is the whole interface for everybody outside lisp/.

#ifndef LISP_GRAVEYARD_H_
#define LISP_GRAVEYARD_H_

#include <cstddef>

namespace lisp {

// Ends a request: takes a bounded part of the graveyard apart, gives empty memory back to the
// system, and renews what the next request may spend on haste (lisp/list.h) and on comparisons
// (lisp/equality.h).
void tidyUp();

// Takes up to `count` elements of dead lists apart, and as many locals and inner functions of dead
// functions.
void takeApart(std::size_t count);

// True while dead lists or functions wait, whose memory is still counted as in use.
[[nodiscard]] bool hasDeadValues();

// Takes everything apart, for tests that count what is left.
void takeAllApart();

}  // namespace lisp

#endif  // LISP_GRAVEYARD_H_
