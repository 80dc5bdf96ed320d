#include "lisp_worker/client/answer_text.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <string>

namespace lisp_worker::client {
namespace {

std::string nested(std::size_t count, const std::string& inside = "") {
  return std::string(count, '(') + inside + std::string(count, ')');
}

std::string errorOf(std::string_view text) {
  std::string error;
  return readDatum(text, &error) ? "was read" : error;
}

TEST(PrintDatum, WritesTheDialectsSyntax) {
  struct Row {
    Datum datum;
    const char* text;
  };
  const Row rows[] = {
      {nil(), "nil"},
      {list({}), "()"},
      {number(0.1), "0.1"},
      {symbol("X"), "X"},
      {string(""), R"("")"},
      {string(R"(3/4" pipe)"), R"("3/4\" pipe")"},
      {string(R"(C:\new)"), R"("C:\\new")"},
      {string("two\nlines"), "\"two\nlines\""},
      {list({number(1), number(2.5), symbol("X"), nil(), list({list({})})}), "(1 2.5 X nil (()))"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(printDatum(row.datum), row.text);
    std::ostringstream stream;
    stream << row.datum;
    EXPECT_EQ(stream.str(), row.text);
  }
}

TEST(ReadDatum, ReadsEveryKind) {
  struct Row {
    const char* text;
    Datum datum;
  };
  const Row rows[] = {
      {"nil", nil()},
      {"NIL", nil()},
      {"Nil", nil()},
      {"()", list({})},
      {" ( ) ", list({})},
      {"1e3", number(1000)},
      {"0x10", number(16)},
      {"+5", number(5)},
      {"1e999", symbol("1E999")},
      {"inf", symbol("INF")},
      {"1+", symbol("1+")},
      {"foo", symbol("FOO")},
      {"\xC3\xA4", symbol("\xC3\xA4")},
      {"'a", list({symbol("QUOTE"), symbol("A")})},
      {"''a", list({symbol("QUOTE"), list({symbol("QUOTE"), symbol("A")})})},
      {"(a . b)", list({symbol("A"), symbol("."), symbol("B")})},
      {"(a(b)c)", list({symbol("A"), list({symbol("B")}), symbol("C")})},
      {R"((1"a"2))", list({number(1), string("a"), number(2)})},
      {R"("a\"b\\c\n\r\t\q")", string("a\"b\\c\n\r\tq")},
      {"\"two\nlines\"", string("two\nlines")},
      {"; a comment\n 5 ; and another", number(5)},
      {"()\x1A", list({})},
      {"a\x1A", symbol("A\x1A")},
      {"\x1A 5", number(5)},
      {"5;", number(5)},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    const std::optional<Datum> datum = readDatum(row.text, nullptr);
    ASSERT_TRUE(datum.has_value());
    EXPECT_EQ(*datum, row.datum);
  }
}

TEST(ReadDatum, SaysWhatTheWorkerWouldSay) {
  struct Row {
    const char* text;
    const char* error;
  };
  const Row rows[] = {
      {"", "expected exactly one form"},
      {"  ; nothing", "expected exactly one form"},
      {"1 2", "expected exactly one form"},
      {"abc\"def\"", "expected exactly one form"},
      {"(", "unterminated list"},
      {"(1 (2)", "unterminated list"},
      {"(A) (B", "unterminated list"},
      {"(A) )", "unexpected ')'"},
      {")", "unexpected ')'"},
      {"(1 '", "unexpected end of input"},
      {"'", "unexpected end of input"},
      {"(')", "unexpected ')'"},
      {"\"abc", "unterminated string"},
      {"\"abc\\", "unterminated string"},
      {"(\"abc)", "unterminated string"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(errorOf(row.text), row.error);
  }
}

TEST(ReadDatum, NestsAsDeepAsTheWorkerReads) {
  EXPECT_EQ(errorOf(nested(512)), "was read");
  EXPECT_EQ(errorOf(nested(513)), "was read");  // The innermost list stands inside 512.
  EXPECT_EQ(errorOf(nested(514)), "parser nesting limit exceeded");
  EXPECT_EQ(errorOf(nested(512, "1")), "was read");
  EXPECT_EQ(errorOf(nested(513, "1")), "parser nesting limit exceeded");
  EXPECT_EQ(errorOf(std::string(1000000, '(')), "parser nesting limit exceeded");
  EXPECT_EQ(errorOf(std::string(512, '\'') + "A"), "was read");
  EXPECT_EQ(errorOf(std::string(513, '\'') + "A"), "parser nesting limit exceeded");
}

TEST(AnswerText, ReadsBackAsTheAnswer) {
  const Datum answers[] = {
      nil(),
      list({}),
      number(-0.1),
      string("\"\\\n\r\t\x1A;'()"),
      symbol("$KVSEL"),
      symbol("1E999"),
      symbol("A\\B"),
      symbol("A\x1A"),
      symbol("\xE4"),
      point(1, 2, 3),
      selectionSet({string("E1")}),
      *readDatum(nested(513), nullptr),
  };
  for (const Datum& answer : answers) {
    std::string error;
    const std::optional<std::string> text = answerText(answer, &error);
    ASSERT_TRUE(text.has_value()) << answer << ": " << error;
    EXPECT_EQ(readDatum(*text, nullptr), answer);
  }
}

TEST(AnswerText, IsRefusedWhereNoTextReadsBack) {
  struct Row {
    Datum answer;
    const char* error;
  };
  const char* const kNotFinite = "no text stands for an infinity or a NaN";
  const char* const kBadCharacter = "a symbol's name holds a character that cannot stand in one";
  const Row rows[] = {
      {number(std::numeric_limits<double>::infinity()), kNotFinite},
      {number(-std::numeric_limits<double>::infinity()), kNotFinite},
      {number(std::numeric_limits<double>::quiet_NaN()), kNotFinite},
      {symbol(""), "a symbol needs a name"},
      {symbol("A B"), kBadCharacter},
      {symbol("A\nB"), kBadCharacter},
      {symbol("A("), kBadCharacter},
      {symbol(")"), kBadCharacter},
      {symbol("'A"), kBadCharacter},
      {symbol("A;"), kBadCharacter},
      {symbol("A\""), kBadCharacter},
      {symbol("\x1A"), kBadCharacter},
      {symbol("Abc"), "a symbol's name would be read in upper case"},
      {symbol("NIL"), "a symbol named NIL would be read as nil"},
      {symbol("12"), "a symbol's name would be read as a number"},
      {symbol("0X1F"), "a symbol's name would be read as a number"},
      {list({list({symbol("NIL")})}), "a symbol named NIL would be read as nil"},
      {list({*readDatum(nested(513), nullptr)}), "more than 512 lists inside each other"},
  };
  for (const Row& row : rows) {
    std::string error;
    EXPECT_EQ(answerText(row.answer, &error), std::nullopt);
    EXPECT_EQ(error, row.error);
    EXPECT_EQ(answerText(row.answer, nullptr), std::nullopt);
  }
}

}  // namespace
}  // namespace lisp_worker::client
