// The operations of programs on lists, on values: CONS, CDR and nesting.

#ifndef TESTING_BASE_LIST_MAKERS_H_
#define TESTING_BASE_LIST_MAKERS_H_

#include <cstddef>

#include "lisp/list.h"
#include "lisp/value.h"

namespace lisp_worker::testing_support {

// `element` in front of the elements of `list`, as CONS puts it.
[[nodiscard]] inline lisp::LispValue cons(const lisp::LispValue& element,
                                          const lisp::LispValue& list) {
  return lisp::LispValue::adopt(
      lisp::prepend(lisp::LispValue(element).take(), lisp::LispValue(list).take()));
}

// The elements of `list` after the first, which it must have, as CDR takes them.
[[nodiscard]] inline lisp::LispValue rest(const lisp::LispValue& list) {
  return lisp::LispValue::adopt(lisp::restOf(list.raw()));
}

// `levels` lists of one element around `innermost`.
[[nodiscard]] inline lisp::LispValue nest(lisp::LispValue innermost, std::size_t levels) {
  for (std::size_t i = 0; i < levels; ++i) innermost = lisp::list({innermost});
  return innermost;
}

// A list of two elements that are both the list before, and so on: 2^rounds leaves in storage for
// `rounds` lists.
[[nodiscard]] inline lisp::LispValue doubled(lisp::LispValue leaf, std::size_t rounds) {
  for (std::size_t i = 0; i < rounds; ++i) leaf = lisp::list({leaf, leaf});
  return leaf;
}

}  // namespace lisp_worker::testing_support

#endif  // TESTING_BASE_LIST_MAKERS_H_
