// All that `lisp_console check` says about a program, with the libraries that it loads.

#ifndef CONSOLE_CHECK_PROGRAM_H_
#define CONSOLE_CHECK_PROGRAM_H_

#include <vector>

#include "check/check.h"
#include "console/program.h"
#include "explain/evaluation.h"

namespace lisp_worker::console {

// The findings in one text, in its order.
struct TextFindings {
  std::vector<check::Finding> findings;
  bool has_more = false;  // Than these.
};

// Checks a program that runs behind `texts`, and appends it and its libraries to them, in the order
// in which they run. Of a library only that it cannot be read, sent or loaded is reported. The last
// of the result is the program's own.
[[nodiscard]] std::vector<TextFindings> checkProgram(const Program& program,
                                                     std::vector<explain::ProgramPointer>& texts);

// The same for a program that is loaded as a library.
[[nodiscard]] std::vector<TextFindings> checkAsLibrary(const Program& program,
                                                       std::vector<explain::ProgramPointer>& texts);

}  // namespace lisp_worker::console

#endif  // CONSOLE_CHECK_PROGRAM_H_
