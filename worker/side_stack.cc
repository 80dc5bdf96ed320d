// The part of a side stack that is the same on every system: who is running, and what may be asked
// when.

#include "worker/side_stack.h"

#include <cassert>

namespace lisp_worker::worker {

std::size_t SideStack::size() {
#if defined(LISP_SANITIZE) || defined(LISP_SANITIZE_INTEGERS) || !defined(__OPTIMIZE__)
  return 4 << 20;
#else
  return 256 << 10;
#endif
}

void SideStack::begin(Body body, void* argument) {
  assert(!is_in_progress_);
  body_ = body;
  argument_ = argument;
  is_in_progress_ = true;
  prepare();
  switchTo();
}

void SideStack::resume() {
  assert(is_in_progress_);
  switchTo();
}

void SideStack::leave() {
  assert(is_in_progress_);
  switchBack();
}

void SideStack::runBody() {
  body_(argument_);
  is_in_progress_ = false;
}

}  // namespace lisp_worker::worker
