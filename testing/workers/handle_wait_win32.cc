// As a host with windows waits: messages end the wait, too.

#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX  // The standard library, which the build may include before this file, defines it.
#define NOMINMAX
#endif
#include <windows.h>

#include "testing/workers/handle_wait.h"

namespace lisp_worker::testing_support {

bool waitForHandle(client::WaitHandle handle, std::chrono::milliseconds limit) {
  HANDLE const event = reinterpret_cast<HANDLE>(handle);
  return ::MsgWaitForMultipleObjects(1, &event, FALSE, static_cast<DWORD>(limit.count()),
                                     QS_ALLINPUT) == WAIT_OBJECT_0;
}

}  // namespace lisp_worker::testing_support
