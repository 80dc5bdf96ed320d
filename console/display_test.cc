#include "console/display.h"

#include <gtest/gtest.h>

namespace lisp_worker::console {
namespace {

TEST(DisplayText, ShowsControlCharactersByName) {
  EXPECT_EQ(displayText("plain (1 2) \xC3\xA4"), "plain (1 2) \xC3\xA4");
  EXPECT_EQ(displayText("a\nb\rc\td"), "a\\nb\\rc\\td");
  EXPECT_EQ(displayText(std::string("\x1B[2J\x7F\0", 6)), "\\x1B[2J\\x7F\\x00");
}

TEST(DisplayText, CutsWhatIsTooLong) {
  const std::string longest(kDisplaySizeMax, 'x');
  EXPECT_EQ(displayText(longest), longest);
  EXPECT_EQ(displayText(longest + "y"), longest + "... (201 bytes in all)");
}

TEST(DisplayWorkerText, ShortensNumbers) {
  EXPECT_EQ(displayWorkerText("(0.10000000000000001 \"a\\b\")"), R"((0.1 "a\\b"))");
  EXPECT_EQ(displayWorkerText("(no end"), "(no end");
}

}  // namespace
}  // namespace lisp_worker::console
