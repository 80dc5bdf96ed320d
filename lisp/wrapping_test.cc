#include "lisp/wrapping.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>

namespace lisp {
namespace {

// Volatile, so that the compiler cannot compute the results.
volatile std::uint32_t highest = 0xFFFFFFFF;

std::uint32_t increment() { return highest + 1; }
std::uint8_t lowestByte() { return highest; }
LISP_WRAPS std::uint32_t incrementModulo() { return highest + 1; }
LISP_WRAPS std::uint32_t shiftModulo() { return highest << 4; }

TEST(Wrapping, IsAllowedWhereItIsMarked) {
  EXPECT_EQ(incrementModulo(), 0u);
  EXPECT_EQ(shiftModulo(), 0xFFFFFFF0);
}

TEST(WrappingDeathTest, IsReportedElsewhereByTheBuildThatLooksForIt) {
#ifdef LISP_SANITIZE_INTEGERS
  // It goes on after a report where nothing says otherwise.
  EXPECT_DEATH((increment(), std::abort()), "unsigned integer overflow");
  EXPECT_DEATH((lowestByte(), std::abort()), "implicit conversion");
#else
  EXPECT_EQ(increment(), 0u);
  EXPECT_EQ(lowestByte(), 0xFF);
#endif
}

}  // namespace
}  // namespace lisp
