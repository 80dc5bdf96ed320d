#include "console/safe_output.h"

#include <gtest/gtest.h>

#include <ostream>
#include <sstream>
#include <string>

#include "console/display.h"

namespace lisp_worker::console {
namespace {

TEST(SafeText, EscapesWhatATerminalObeys) {
  struct Row {
    std::string text;
    const char* safe;
  };
  const Row rows[] = {
      {"plain \t text\n", "plain \t text\n"},
      {"\x1B[2J\x07\x7F", "\\x1B[2J\\x07\\x7F"},
      {std::string("\0", 1), "\\x00"},
      {"\xC2\x9B"
       "31m",
       "\\u009B31m"},
      {"\x9B"
       "31m",
       "\\x9B31m"},
      {"a\xE2\x80\xAE"
       "b",
       "a\\u202Eb"},
      {"\xE2\x81\xA6\xE2\x81\xA9\xE2\x80\x8F\xD8\x9C", "\\u2066\\u2069\\u200F\\u061C"},
      {"\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x99\x82", "\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x99\x82"},
      {"\xC3", "\\xC3"},
      {"\xC0\x9B \xE0\x80\x9B \xED\xA0\x80 \xF8",
       "\\xC0\\x9B \\xE0\\x80\\x9B \\xED\\xA0\\x80 \\xF8"},
  };
  for (const Row& row : rows) EXPECT_EQ(safeText(row.text), row.safe);
}

TEST(SafeBuffer, PutsLettersTogetherThatCameApart) {
  std::ostringstream target;
  {
    SafeBuffer buffer(*target.rdbuf());
    std::ostream out(&buffer);
    const std::string text = "\xC3\xA9\x1B\xE2\x80\xAE\xE2\x82\xAC";
    for (const char c : text) out << c << std::flush;
    EXPECT_EQ(target.str(), "\xC3\xA9\\x1B\\u202E\xE2\x82\xAC");
    out << "\xE2\x82";
  }
  EXPECT_EQ(target.str(), "\xC3\xA9\\x1B\\u202E\xE2\x82\xAC\\xE2\\x82");
}

TEST(SafeBuffer, PassesWholeLinesAtOnce) {
  std::ostringstream target;
  SafeBuffer buffer(*target.rdbuf());
  std::ostream out(&buffer);
  out << "one\ntwo";
  EXPECT_EQ(target.str(), "one\n");
  out << std::flush;
  EXPECT_EQ(target.str(), "one\ntwo");
}

}  // namespace
}  // namespace lisp_worker::console
