#include <poll.h>

#include "testing/workers/handle_wait.h"

namespace lisp_worker::testing_support {

bool waitForHandle(client::WaitHandle handle, std::chrono::milliseconds limit) {
  pollfd waiting{static_cast<int>(handle), POLLIN, 0};
  return ::poll(&waiting, 1, static_cast<int>(limit.count())) == 1;
}

}  // namespace lisp_worker::testing_support
