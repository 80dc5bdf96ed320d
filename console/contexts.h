// The coordinate context that programs run under.

#ifndef CONSOLE_CONTEXTS_H_
#define CONSOLE_CONTEXTS_H_

#include "lisp_worker/client/coordinates.h"

namespace lisp_worker::console {

// Context 1: the world, a plan turned left by 90 degrees, inches, a sheet at 1:50, and a shadow on
// the x axis that no point can be converted into. Cells are squares of 100 in the world.
[[nodiscard]] client::CoordContext defaultContext();

}  // namespace lisp_worker::console

#endif  // CONSOLE_CONTEXTS_H_
