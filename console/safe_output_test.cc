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

TEST(SafeBuffer, ShowsStylesOnlyWhenItIsTold) {
  const auto written = [](bool has_colours) {
    std::ostringstream target;
    SafeBuffer buffer(*target.rdbuf());
    buffer.setColours(has_colours);
    std::ostream out(&buffer);
    out << Style::Error << "er\x1B[0mror" << Style::Plain << "\nnext " << std::flush << Style::Added
        << "\xC3\xA9" << std::flush << Style::Plain << "\n";
    return target.str();
  };
  EXPECT_EQ(written(false), "er\\x1B[0mror\nnext \xC3\xA9\n");
  EXPECT_EQ(written(true), "\x1B[1;31mer\\x1B[0mror\x1B[0m\nnext \x1B[32m\xC3\xA9\x1B[0m\n");
  std::ostringstream elsewhere;
  elsewhere << Style::Error << "error";
  EXPECT_EQ(elsewhere.str(), "error");
}

TEST(SafeBuffer, BreaksLinesBetweenWords) {
  struct Row {
    const char* line;
    const char* shown;
  };
  const Row rows[] = {
      {"as wide as it can be", "as wide as it can be"},
      {"one more than can be there", "one more than can be\n  there"},
      {"  (10 20 30 40 50 60 70 80 90)", "  (10 20 30 40 50 60\n    70 80 90)"},
      {"a  column to the right of it", "a  column to the\n   right of it"},
      {"awordthatisfartoolongforit is left", "awordthatisfartoolongforit\n  is left"},
      {"\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9 \xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9 "
       "\xC3\xA9\xC3\xA9\xC3\xA9 1234",
       "\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9 \xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9 "
       "\xC3\xA9\xC3\xA9\xC3\xA9 1234"},
      {"    1 | (LIST 1 2 3 4 5 6 7)", "    1 | (LIST 1 2 3 4 5 6 7)"},
      {"      |       ^^^^^^^^^^^^^^", "      |       ^^^^^^^^^^^^^^"},
  };
  for (const Row& row : rows) {
    std::ostringstream target;
    SafeBuffer buffer(*target.rdbuf());
    buffer.setWidth(20);
    std::ostream(&buffer) << row.line << "\n";
    EXPECT_EQ(target.str(), std::string(row.shown) + "\n");
  }
}

}  // namespace
}  // namespace lisp_worker::console
