// The worker, except that LISP_KEEPING names how much of stopped evaluations it keeps
// (testing/workers/keepings.h). All tests with the executable can be run with it: ./dev keepings.

#include <cstdio>
#include <cstdlib>

#include "lisp_worker/worker/exit_code.h"
#include "testing/workers/keepings.h"
#include "worker/dispatch.h"
#include "worker/heap.h"
#include "worker/loop.h"
#include "worker/stdio.h"

int main() {
  const char* const name = std::getenv("LISP_KEEPING");
  const lisp_worker::worker::KeepLimits* const limits =
      lisp_worker::testing_support::keepLimitsOf(name == nullptr ? "default" : name);
  if (limits == nullptr) {
    std::fputs("LISP_KEEPING names no keeping\n", stderr);
    return 99;
  }
  lisp_worker::worker::keepAliveOnBrokenPipe();
  lisp_worker::worker::keepFreedMemory();
  lisp_worker::worker::StandardInput input;
  lisp_worker::worker::StandardOutput output;
  // Never destroyed, as in the worker's own main().
  static auto& dispatcher = *new lisp_worker::worker::Dispatcher(*limits);
  const lisp_worker::worker::ExitCode code = lisp_worker::worker::serve(dispatcher, input, output);
#ifdef LISP_SANITIZE
  delete &dispatcher;
#endif
  return static_cast<int>(code);
}
