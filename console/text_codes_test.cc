#include "console/text_codes.h"

#include <gtest/gtest.h>

namespace lisp_worker::console {
namespace {

TEST(DrawnText, HasTheSignsForCodes) {
  struct Row {
    const char* text;
    const char* drawn;
  };
  const Row rows[] = {
      {"", ""},
      {"%%c20",
       "\xE2\x8C\x80"
       "20"},
      {"%%C20 %%p0.1",
       "\xE2\x8C\x80"
       "20 \xC2\xB1"
       "0.1"},
      {"45%%d", "45\xC2\xB0"},
      {"45%%D", "45\xC2\xB0"},
      {"100%%%", "100%"},
      {"100%", "100%"},
      {"%%", "%%"},
      {"%%u1", "%%u1"},
      {"%%%%c", "%%c"},  // A per cent sign, and no code.
  };
  for (const Row& row : rows) EXPECT_EQ(drawnText(row.text), row.drawn) << row.text;
}

}  // namespace
}  // namespace lisp_worker::console
