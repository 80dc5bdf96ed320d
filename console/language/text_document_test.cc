#include "console/language/text_document.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "testing/base/random.h"

namespace lisp_worker::console::language {
namespace {

// a, e with an acute accent (2 bytes), a clef (4 bytes, two units of UTF-16), b.
const std::string kLetters =
    "a\xC3\xA9\xF0\x9D\x84\x9E"
    "b";

struct Row {
  std::string text;
  Encoding encoding;
  Position position;
  std::size_t offset;
};

TEST(TextDocument, FindsTheByteOfAPosition) {
  const std::vector<Row> rows = {
      {"", Encoding::Utf16, {0, 0}, 0},
      {"", Encoding::Utf16, {5, 5}, 0},
      {"ab\ncd", Encoding::Utf16, {1, 1}, 4},
      {"ab\ncd", Encoding::Utf16, {0, 9}, 2},  // The end of the line, in front of its line feed.
      {"ab\ncd", Encoding::Utf16, {2, 0}, 5},
      {"ab\r\ncd", Encoding::Utf16, {0, 3}, 2},
      {"ab\r\ncd", Encoding::Utf16, {1, 0}, 4},
      {"ab\rcd", Encoding::Utf16, {1, 1}, 4},
      {"ab\n\r\n\rc", Encoding::Utf16, {3, 0}, 6},
      {"ab\n", Encoding::Utf16, {1, 7}, 3},
      {kLetters, Encoding::Utf16, {0, 1}, 1},
      {kLetters, Encoding::Utf16, {0, 2}, 3},
      {kLetters, Encoding::Utf16, {0, 3}, 3},  // Between the halves of the clef.
      {kLetters, Encoding::Utf16, {0, 4}, 7},
      {kLetters, Encoding::Utf16, {0, 5}, 8},
      {kLetters, Encoding::Utf16, {0, 6}, 8},
      {kLetters, Encoding::Utf8, {0, 2}, 1},  // Inside a letter.
      {kLetters, Encoding::Utf8, {0, 3}, 3},
      {kLetters, Encoding::Utf8, {0, 6}, 3},
      {kLetters, Encoding::Utf8, {0, 8}, 8},
      {std::string("a\0b\nc", 5), Encoding::Utf16, {0, 2}, 2},
      {std::string("a\0b\nc", 5), Encoding::Utf16, {1, 1}, 5},
      {"\n" + kLetters + "\n\n", Encoding::Utf16, {1, ~std::size_t{0}}, 9},
      {"\n" + kLetters + "\n\n", Encoding::Utf16, {~std::size_t{0}, ~std::size_t{0}}, 11},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(TextDocument(row.text, row.encoding).offsetOf(row.position), row.offset)
        << row.text << " " << row.position.line << ":" << row.position.character;
  }
}

TEST(TextDocument, FindsThePositionOfAByte) {
  const TextDocument utf16(kLetters + "\r\nx", Encoding::Utf16);
  EXPECT_EQ(utf16.positionOf(7), (Position{0, 4}));
  EXPECT_EQ(utf16.positionOf(8), (Position{0, 5}));
  EXPECT_EQ(utf16.positionOf(10), (Position{1, 0}));
  const TextDocument utf8(kLetters + "\r\nx", Encoding::Utf8);
  EXPECT_EQ(utf8.positionOf(7), (Position{0, 7}));
}

TEST(TextDocument, TakesARangeThatEndsBeforeItStartsTheOtherWayRound) {
  TextDocument document("abcdef");
  document.replace({{0, 4}, {0, 1}}, "X");
  EXPECT_EQ(document.text(), "aXef");
}

// Every letter's place leads to its byte and back, in texts with all kinds of letters and line
// ends, in lines that are longer than a block of the index.
TEST(TextDocument, LeadsFromBytesToPositionsAndBack) {
  testing_support::Random random(1);
  const std::vector<std::string> pieces = {
      "a", "(", "\xC3\xA9", "\xF0\x9D\x84\x9E", "\xE2\x82\xAC", "\n", " ", "\r\n", "\r", "xyz"};
  for (const Encoding encoding : {Encoding::Utf8, Encoding::Utf16}) {
    for (int round = 0; round < 30; ++round) {
      std::string text;
      std::vector<std::size_t> letters;
      const std::size_t line_chance = round % 3 == 0 ? 500 : 10;
      while (text.size() < 3000) {
        const std::string& piece = random.pick(pieces);
        const bool is_line_end = piece.front() == '\n' || piece.front() == '\r';
        if (is_line_end && !random.chance(1, line_chance)) continue;
        letters.push_back(text.size());
        text += piece;
      }
      const TextDocument document(text, encoding);
      for (const std::size_t at : letters) {
        // Two pieces can make one line end.
        if (at > 0 && text[at - 1] == '\r' && text[at] == '\n') continue;
        ASSERT_EQ(document.offsetOf(document.positionOf(at)), at) << "round " << round;
      }
    }
  }
}

TEST(TextDocument, ThatHasBeenEditedIsAsOneThatIsOpenedAfresh) {
  testing_support::Random random(2);
  const std::vector<std::string> pieces = {"", "a", "\n", "\r\n", "\xF0\x9D\x84\x9E", "(x)\n"};
  TextDocument document;
  for (int round = 0; round < 2000; ++round) {
    const Position start{random.below(6), random.below(12)};
    const Position end{start.line + random.below(3), random.below(12)};
    document.replace({start, end}, random.pick(pieces));
    const TextDocument fresh(document.text());
    ASSERT_EQ(document.lineCount(), fresh.lineCount());
    const std::size_t size = document.text().size();
    const std::size_t at = random.below(size + 1);
    ASSERT_EQ(document.positionOf(at), fresh.positionOf(at));
  }
}

}  // namespace
}  // namespace lisp_worker::console::language
