// The worker that is installed beside this program.

#ifndef CONSOLE_OWN_PATH_H_
#define CONSOLE_OWN_PATH_H_

#include <string>

namespace lisp_worker::console {

// The path of the worker's program beside this one, however this one was found: by its path,
// through a link or through the shell's search path. A bare name where the system does not tell.
[[nodiscard]] std::string workerBeside();

}  // namespace lisp_worker::console

#endif  // CONSOLE_OWN_PATH_H_
