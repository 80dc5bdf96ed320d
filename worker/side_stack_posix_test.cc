// The guard page below a side stack. Windows guards fibers itself, which Wine does not do alike.

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>

#include "worker/side_stack.h"

namespace lisp_worker::worker {
namespace {

void fallThrough(std::size_t depth) {
  volatile char frame[512];
  frame[0] = static_cast<char>(depth);
  if (depth > 0) fallThrough(depth - 1);
  frame[511] = frame[0];
}

TEST(SideStackDeathTest, MeetsItsGuardAtTheEnd) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(
      {
        const std::unique_ptr<SideStack> stack = SideStack::make();
        std::size_t depth = SideStack::size();
        stack->begin([](void* d) { fallThrough(*static_cast<std::size_t*>(d)); }, &depth);
      },
      "");
}

}  // namespace
}  // namespace lisp_worker::worker
