#include "console/font.h"

#include <gtest/gtest.h>

namespace lisp_worker::console {
namespace {

TEST(Font, KnowsTheWidthOfEachLetter) {
  EXPECT_EQ(widthInFont(""), 0);
  EXPECT_EQ(widthInFont("I"), 604.0 / 2048);
  EXPECT_EQ(widthInFont("W"), 2025.0 / 2048);
  EXPECT_EQ(widthInFont("IW"), 2629.0 / 2048);
  EXPECT_EQ(widthInFont(" "), 651.0 / 2048);
  EXPECT_EQ(widthInFont("\xC2\xB0"), 1024.0 / 2048);  // The sign for degrees.
  EXPECT_EQ(widthInFont("\xC3\x84"), widthInFont("A"));
  EXPECT_EQ(widthInFont("\xC5\xBF"), 721.0 / 2048);  // U+017F, the last of the table.
}

TEST(Font, HasAWidthForEverything) {
  EXPECT_EQ(widthInFont("\x01"), widthInFont(" "));
  EXPECT_EQ(widthInFont("\xC2\x9F"), widthInFont(" "));
  EXPECT_EQ(widthInFont("\xC6\x80"), 1);                  // U+0180, the first after the table.
  EXPECT_EQ(widthInFont("\xE2\x8C\x80"), 1233.0 / 2048);  // The sign for diameters.
  EXPECT_EQ(widthInFont("\xE2\x8C\x81"), 1);
  EXPECT_EQ(widthInFont("\xFF"), widthInFont("?"));
  EXPECT_EQ(widthInFont("\xC3"), widthInFont("?"));  // Cut in the middle.
}

}  // namespace
}  // namespace lisp_worker::console
