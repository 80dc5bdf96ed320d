// The command `lisp_console debug`: runs a program once, then looks at the run.

#ifndef CONSOLE_DEBUG_DEBUG_SESSION_H_
#define CONSOLE_DEBUG_DEBUG_SESSION_H_

#include <functional>
#include <iosfwd>
#include <optional>
#include <string_view>

#include "console/completion.h"
#include "console/debug/debugger.h"
#include "console/debug/recorded_run.h"
#include "console/explainer.h"
#include "console/line_editor.h"
#include "console/program.h"
#include "console/progress.h"
#include "console/session.h"

namespace lisp_worker::console {

// Runs the program in the session, whose libraries have been loaded and whose explainer is
// `explainer`; keeps what it has drawn there. Nothing if there is nothing to look at: the program
// cannot be read, or could not be begun. `progress` is asked as Session::setProgress says. Of a
// program whose library fails, the run of the library.
[[nodiscard]] std::optional<RecordedRun> recordRun(
    Session& session, Explainer& explainer, const Program& program,
    const std::function<bool(const Progress&)>& progress);

// Reads commands until "quit" or the end of the input, and prints their answers.
void converse(Debugger& debugger, LineEditor& editor, std::ostream& out);

// Completes the word before the cursor: a command in front, names of variables behind it.
[[nodiscard]] Completion completeCommand(const Debugger& debugger, std::string_view before);

}  // namespace lisp_worker::console

#endif  // CONSOLE_DEBUG_DEBUG_SESSION_H_
