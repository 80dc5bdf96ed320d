// What can be known of a program's calls of the drawing without running it.

#ifndef CONSOLE_CHECK_CALLS_H_
#define CONSOLE_CHECK_CALLS_H_

#include <vector>

#include "explain/check.h"
#include "explain/evaluation.h"

namespace console {

// The calls of COMMAND, COMMAND-S, ENTMAKE and ENTMAKEX whose arguments are constants and that the
// console would refuse, whatever the drawing, and commands that there are not. As warnings: a
// refused call is no error. A program that is too long to send is one.
[[nodiscard]] std::vector<explain::Finding> checkCalls(const explain::ProgramPointer& program);

}  // namespace console

#endif  // CONSOLE_CHECK_CALLS_H_
