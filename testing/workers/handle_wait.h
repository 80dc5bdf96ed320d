// Waiting for what an event loop waits for.

#ifndef TESTING_WORKERS_HANDLE_WAIT_H_
#define TESTING_WORKERS_HANDLE_WAIT_H_

#include <chrono>

#include "lisp_worker/client/async_channel.h"

namespace lisp_worker::testing_support {

// True when the handle becomes ready within `limit`.
[[nodiscard]] bool waitForHandle(client::WaitHandle handle, std::chrono::milliseconds limit);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_WORKERS_HANDLE_WAIT_H_
