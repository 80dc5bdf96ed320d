#include "lisp/plain_stack.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>

namespace lisp {
namespace {

TEST(PlainStack, HoldsWhatIsPushedUntilItIsTruncated) {
  PlainStack<std::uint64_t> stack;
  EXPECT_EQ(stack.size(), 0U);
  for (std::uint64_t i = 0; i < 1000; ++i) stack.push(i);
  stack.extend() = 1000;
  ASSERT_EQ(stack.size(), 1001U);
  for (std::size_t i = 0; i < stack.size(); ++i) EXPECT_EQ(stack[i], i);
  stack.truncate(10);
  EXPECT_EQ(stack.size(), 10U);
  EXPECT_EQ(stack.top(), 9U);
}

}  // namespace
}  // namespace lisp
