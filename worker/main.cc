// The worker as a process. It takes no arguments, opens nothing and prints nothing: requests come
// in on standard input, responses leave on standard output, and the exit code tells why it ended.

#include <cstdlib>
#include <new>

#include "lisp_worker/worker/exit_code.h"
#include "worker/dispatch.h"
#include "worker/heap.h"
#include "worker/least_privilege.h"
#include "worker/loop.h"
#include "worker/stdio.h"

namespace {

// Nobody can ask the worker for its version; whoever has the file finds it there.
[[gnu::used]] constexpr char kVersion[] = "lisp_worker " LISP_VERSION;

// Without memory the worker can neither carry out a request nor say so. It ends on the spot:
// nothing is unwound, nothing caught, and no half-made state ever answers another request.
[[noreturn]] void endWithoutMemory() {
  std::_Exit(static_cast<int>(lisp_worker::worker::ExitCode::OutOfMemory));
}

// Objects that exist before main() need memory, too: this comes before them.
[[gnu::constructor(101)]] void prepareForTheLackOfMemory() {
  std::set_new_handler(endWithoutMemory);
}

}  // namespace

int main() {
  lisp_worker::worker::keepAliveOnBrokenPipe();
  lisp_worker::worker::keepFreedMemory();
  lisp_worker::worker::StandardInput input;
  lisp_worker::worker::StandardOutput output;
  // Never destroyed: taking millions of values apart would take time, and the system takes their
  // memory back anyway. A leak checker does not look at the stacks of kept evaluations.
  static auto& dispatcher = *new lisp_worker::worker::Dispatcher;
  lisp_worker::worker::giveUpPrivileges();
  const lisp_worker::worker::ExitCode code = lisp_worker::worker::serve(dispatcher, input, output);
#ifdef LISP_SANITIZE
  delete &dispatcher;
#endif
  return static_cast<int>(code);
}
