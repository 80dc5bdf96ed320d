// Checks a program's calls of the drawing without running it.

#ifndef CONSOLE_CHECK_CALLS_H_
#define CONSOLE_CHECK_CALLS_H_

#include <vector>

#include "explain/check.h"
#include "explain/evaluation.h"

namespace lisp_worker::console {

// The calls of COMMAND, COMMAND-S, ENTMAKE and ENTMAKEX whose arguments are constants and that the
// console would refuse in any drawing, and unknown commands. They are warnings, because a program
// goes on after a refused call. A program that is too long to send is an error.
[[nodiscard]] std::vector<explain::Finding> checkCalls(const explain::ProgramPointer& program);

}  // namespace lisp_worker::console

#endif  // CONSOLE_CHECK_CALLS_H_
