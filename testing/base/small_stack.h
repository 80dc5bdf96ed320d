// A small stack to run on, so that recursion over data shows.

#ifndef TESTING_BASE_SMALL_STACK_H_
#define TESTING_BASE_SMALL_STACK_H_

#include <cstddef>
#include <functional>

namespace lisp_worker::testing_support {

inline constexpr std::size_t kSmallStackSize = 0x40000;  // Bytes.

// Runs `function` to its end on a stack of kSmallStackSize.
void runOnSmallStack(const std::function<void()>& function);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_BASE_SMALL_STACK_H_
