// Where two values differ first.

#ifndef SESSION_DIFFERENCE_H_
#define SESSION_DIFFERENCE_H_

#include <optional>
#include <string>

#include "lisp_worker/client/datum.h"

namespace lisp_worker::session {

// The way to a value inside a list of arguments, and what stands there on both sides.
struct Difference {
  std::string path;  // "argument 2, element 1"; "the value" when there is no way.
  std::string recorded;
  std::string made;
};

// The first place, from left to right, in which the elements of two lists differ. The outermost
// list's elements are named `element_name`. A NaN differs from everything, itself included, as it
// does in the worker. Empty when the lists are equal.
[[nodiscard]] std::optional<Difference> firstDifferentElement(const client::Datum& recorded,
                                                              const client::Datum& made,
                                                              const std::string& element_name);

// True when a value is a NaN or holds one.
[[nodiscard]] bool holdsNaN(const client::Datum& datum);

}  // namespace lisp_worker::session

#endif  // SESSION_DIFFERENCE_H_
