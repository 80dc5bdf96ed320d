// The guard page below a side stack, and the lack of memory for one. Windows guards fibers itself,
// which Wine does not do alike.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstddef>
#include <cstdlib>
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

#ifndef LISP_SANITIZE

// Ends the process, with 0 when no stack can be made while a limit of the process is that low.
[[noreturn]] void endWithLimit(__rlimit_resource resource, rlim_t limit) {
  rlimit before;
  static_cast<void>(::getrlimit(resource, &before));
  const rlimit low = {limit, before.rlim_max};
  const bool is_set = ::setrlimit(resource, &low) == 0;
  const bool is_made = SideStack::make() != nullptr;
  const bool is_restored = ::setrlimit(resource, &before) == 0;
  std::exit(is_set && !is_made && is_restored && SideStack::make() != nullptr ? 0 : 1);
}

TEST(SideStackDeathTest, IsNotMadeWithoutMemory) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(endWithLimit(RLIMIT_AS, 0), testing::ExitedWithCode(0), "");
  // The address space is there, memory that can be written is not.
  EXPECT_EXIT(endWithLimit(RLIMIT_DATA, 4096), testing::ExitedWithCode(0), "");
}

#endif

}  // namespace
}  // namespace lisp_worker::worker
