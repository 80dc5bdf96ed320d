// The ways of a person through a run: into a form, over it, out of a function, and each of them
// backwards.

#ifndef CONSOLE_DEBUG_MOVEMENTS_H_
#define CONSOLE_DEBUG_MOVEMENTS_H_

#include "trace/index.h"

namespace lisp_worker::console {

// A debugger stops at lists that are evaluated; not at numbers, names and quoted data.
[[nodiscard]] bool isStop(const trace::Index& index, trace::Position position);

// Each gives the position where it arrives: one where a debugger stops, the first one or the end.

// The next form that is evaluated, inside the one at the position if there is any.
[[nodiscard]] trace::Position stepInto(const trace::Index& index, trace::Position position);
// The form after the one at the position.
[[nodiscard]] trace::Position stepOver(const trace::Index& index, trace::Position position);
// Where the function has returned.
[[nodiscard]] trace::Position stepOut(const trace::Index& index, trace::Position position);
// The form before.
[[nodiscard]] trace::Position stepBackInto(const trace::Index& index, trace::Position position);
// The form that was over last.
[[nodiscard]] trace::Position stepBackOver(const trace::Index& index, trace::Position position);
// The call of the function.
[[nodiscard]] trace::Position stepBackOut(const trace::Index& index, trace::Position position);

}  // namespace lisp_worker::console

#endif  // CONSOLE_DEBUG_MOVEMENTS_H_
