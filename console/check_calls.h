// Checks a program's calls of the drawing without running it.

#ifndef CONSOLE_CHECK_CALLS_H_
#define CONSOLE_CHECK_CALLS_H_

#include <span>
#include <vector>

#include "check/check.h"
#include "explain/evaluation.h"

namespace lisp_worker::console {

// The calls of COMMAND, COMMAND-S, ENTMAKE and ENTMAKEX in the last of the programs, which run in
// this order, that the console would refuse in any drawing: as far as their arguments are known,
// and unknown commands and groups. They are warnings, because a program goes on after a refused
// call. A program that is too long to send is an error.
[[nodiscard]] std::vector<check::Finding> checkCalls(
    std::span<const explain::ProgramPointer> programs);

}  // namespace lisp_worker::console

#endif  // CONSOLE_CHECK_CALLS_H_
