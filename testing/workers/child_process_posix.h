// Questions about a child that only POSIX systems answer.

#ifndef TESTING_WORKERS_CHILD_PROCESS_POSIX_H_
#define TESTING_WORKERS_CHILD_PROCESS_POSIX_H_

#include <sys/types.h>

#include <chrono>
#include <string>

namespace lisp_worker::testing_support {

// Waits for any child of this process as ChildProcess::end does. Sets the processor time that it
// has used, unless that is null.
[[nodiscard]] std::string waitForEnd(pid_t process, std::chrono::microseconds* processor_time);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_WORKERS_CHILD_PROCESS_POSIX_H_
