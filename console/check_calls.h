// Checks a program's calls of the drawing without running it.

#ifndef CONSOLE_CHECK_CALLS_H_
#define CONSOLE_CHECK_CALLS_H_

#include <span>
#include <vector>

#include "check/check.h"
#include "explain/evaluation.h"

namespace lisp_worker::console {

// The calls of COMMAND, COMMAND-S, ENTMAKE, ENTMAKEX, SSGET and OSNAP in the last of the programs,
// which run in this order, that the console would refuse in any drawing, as far as their arguments
// are known; groups that no entity has, and filters that no entity fits. They are warnings, because
// a program goes on after a refused call. A program that is too long to send is an error.
[[nodiscard]] std::vector<check::Finding> checkCalls(
    std::span<const explain::ProgramPointer> programs);

// The errors of a library that the programs which load it cannot see: it is too long to send, or
// makes a host call as it is loaded. The first of the latter.
[[nodiscard]] std::vector<check::Finding> checkLibrary(const explain::ProgramPointer& library);

}  // namespace lisp_worker::console

#endif  // CONSOLE_CHECK_CALLS_H_
