// The worker, except that LISP_KEEPING names how much of stopped evaluations it keeps
// (testing/workers/keepings.h). All tests with the executable can be run with it: ./dev keepings.

#include <cstdio>
#include <cstdlib>

#include "testing/workers/keepings.h"
#include "worker/dispatch.h"
#include "worker/exit_code.h"
#include "worker/heap.h"
#include "worker/loop.h"
#include "worker/stdio.h"

int main() {
  const char* const name = std::getenv("LISP_KEEPING");
  const worker::KeepLimits* const limits =
      testing_support::keepLimitsOf(name == nullptr ? "default" : name);
  if (limits == nullptr) {
    std::fputs("LISP_KEEPING names no keeping\n", stderr);
    return 99;
  }
  worker::keepAliveOnBrokenPipe();
  worker::keepFreedMemory();
  worker::StandardInput input;
  worker::StandardOutput output;
  // Never destroyed, as in the worker's own main().
  static auto& dispatcher = *new worker::Dispatcher(*limits);
  const worker::ExitCode code = worker::serve(dispatcher, input, output);
#ifdef LISP_SANITIZE
  delete &dispatcher;
#endif
  return static_cast<int>(code);
}
