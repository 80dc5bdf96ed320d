// Questions about a run that is over, answered in words: who set this, which form drew this, why
// was that not evaluated, when did this become true.

#ifndef CONSOLE_DEBUG_QUESTIONS_H_
#define CONSOLE_DEBUG_QUESTIONS_H_

#include <optional>
#include <string>
#include <string_view>

#include "console/debug/recorded_run.h"

namespace lisp_worker::console {

// Each answer is some lines, the last ended too. What cannot be answered is said in the same way.

// The value of the variable at the position, the form that gave it that value, and the way back to
// the form that made the value.
[[nodiscard]] std::string whyVariable(const RecordedRun& run, std::string_view name,
                                      trace::Position position);

// The host calls that have added, changed and erased the entity, each with its form and the calls
// that lead to it.
[[nodiscard]] std::string whyEntity(const RecordedRun& run, std::string_view handle);

// The reason why the first form that begins in the line was not evaluated. The line is one of the
// main program, or of the file in "FILE:LINE".
[[nodiscard]] std::string whyNotLine(const RecordedRun& run, std::string_view place);

// The first position at or after `from` where the expression is true.
struct WhenAnswer {
  std::optional<trace::Position> position;
  std::string text;  // Why there is none; otherwise empty.
};
[[nodiscard]] WhenAnswer whenTrue(const RecordedRun& run, std::string_view expression,
                                  trace::Position from);

// The values that variables of that name have had, each with the form that gave it.
[[nodiscard]] std::string historyText(const RecordedRun& run, std::string_view name);

// The variables of each call in progress, innermost first, and the global ones.
[[nodiscard]] std::string variablesText(const RecordedRun& run, trace::Position position);

// The calls in progress, innermost first, each with its arguments.
[[nodiscard]] std::string stackText(const RecordedRun& run, trace::Position position);

// The value of an expression with the variables of the position, or why it has none.
[[nodiscard]] std::string valueTextOf(const RecordedRun& run, std::string_view expression,
                                      trace::Position position);

// The host calls of the run, in order; `position` is marked among them.
[[nodiscard]] std::string hostCallsText(const RecordedRun& run, trace::Position position);

}  // namespace lisp_worker::console

#endif  // CONSOLE_DEBUG_QUESTIONS_H_
