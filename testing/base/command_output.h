// A command of the shell, run to its end. On POSIX systems only.

#ifndef TESTING_BASE_COMMAND_OUTPUT_H_
#define TESTING_BASE_COMMAND_OUTPUT_H_

#include <string>

namespace lisp_worker::testing_support {

struct CommandOutput {
  std::string text;    // All of its standard output.
  int exit_code = -1;  // -1 when it could not be run or was ended by a signal.
};

// A command that cannot be started fails the running test.
CommandOutput runCommand(const std::string& command);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_BASE_COMMAND_OUTPUT_H_
