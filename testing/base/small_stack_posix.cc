// A thread with a stack of kSmallStackSize bytes.

#include <gtest/gtest.h>
#include <pthread.h>

#include "testing/base/small_stack.h"

namespace lisp_worker::testing_support {
namespace {

void* callFunction(void* function) {
  (*static_cast<const std::function<void()>*>(function))();
  return nullptr;
}

}  // namespace

void runOnSmallStack(const std::function<void()>& function) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, kSmallStackSize), 0);
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, &attributes, callFunction,
                           const_cast<std::function<void()>*>(&function)),
            0);
  ASSERT_EQ(pthread_join(thread, nullptr), 0);
  ASSERT_EQ(pthread_attr_destroy(&attributes), 0);
}

}  // namespace lisp_worker::testing_support
