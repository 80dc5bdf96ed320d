// A thread with a stack of kSmallStackSize bytes, reserved and not only committed.

#include <gtest/gtest.h>
#include <windows.h>

#include "testing/base/small_stack.h"

namespace lisp_worker::testing_support {
namespace {

DWORD WINAPI callFunction(void* function) {
  (*static_cast<const std::function<void()>*>(function))();
  return 0;
}

}  // namespace

void runOnSmallStack(const std::function<void()>& function) {
  const HANDLE thread = CreateThread(nullptr, kSmallStackSize, callFunction,
                                     const_cast<std::function<void()>*>(&function),
                                     STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
  ASSERT_NE(thread, nullptr);
  ASSERT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
  ASSERT_NE(CloseHandle(thread), 0);
}

}  // namespace lisp_worker::testing_support
