#include "lisp/reader.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "testing/base/small_stack.h"
#include "testing/base/value_text.h"

namespace lisp {
namespace {

using namespace std::string_literals;
using lisp_worker::testing_support::textOf;

std::string repeated(std::string_view text, std::size_t count) {
  std::string result;
  for (std::size_t i = 0; i < count; ++i) result += text;
  return result;
}

// The value's text, or the message after an exclamation mark.
std::string parsed(const std::string& text) {
  std::string error = "not cleared";
  const std::optional<LispValue> value = parseProgram(text, &error);
  EXPECT_EQ(value.has_value(), error.empty()) << text;
  return value ? textOf(*value) : "!" + error;
}

struct Row {
  std::string text;
  std::string expected;
};

void expectParsed(const std::vector<Row>& rows) {
  for (const Row& row : rows) EXPECT_EQ(parsed(row.text), row.expected) << row.text;
}

TEST(ParseProgram, ReadsAtoms) {
  expectParsed(
      {{"nil", "nil"},       {"NIL", "nil"},  {"Nil", "nil"},     {"NILL", "NILL"},
       {"T", "T"},           {"t", "T"},      {"1", "1"},         {"+5", "5"},
       {"-0.5", "-0.5"},     {"1e3", "1000"}, {"1E3", "1000"},    {".5", "0.5"},
       {"1.", "1"},          {"5.", "5"},     {"0x1F", "31"},     {"1e999", "1E999"},
       {"-1e999", "-1E999"}, {"inf", "INF"},  {"nan", "NAN"},     {"1+", "1+"},
       {"1-", "1-"},         {"-", "-"},      {"+", "+"},         {"/=", "/="},
       {"<=", "<="},         {"foo", "FOO"},  {"Foo", "FOO"},     {"FOO", "FOO"},
       {"$kvsel", "$KVSEL"}, {"1d5", "1D5"},  {"0b1", "0B1"},     {"#x", "#X"},
       {"a.b", "A.B"},       {".", "."},      {"a`b,c", "A`B,C"}, {"[a]", "[A]"},
       {"-0.0", "-0"},       {"1e-999", "0"}, {"-1e-999", "-0"},  {"command-s", "COMMAND-S"}});
}

TEST(ParseProgram, TellsTheKindsOfAtomsApart) {
  EXPECT_EQ(parseProgram("nil", nullptr)->kind(), ValueKind::Nil);
  EXPECT_EQ(parseProgram("()", nullptr)->kind(), ValueKind::List);
  EXPECT_EQ(parseProgram("1", nullptr)->kind(), ValueKind::Number);
  EXPECT_EQ(parseProgram("1+", nullptr)->kind(), ValueKind::Symbol);
  EXPECT_EQ(parseProgram("\"1\"", nullptr)->kind(), ValueKind::String);
}

TEST(ParseProgram, FoldsOnlyTheLettersAToZ) {
  expectParsed({{"abcxyz{|}~", "ABCXYZ{|}~"},
                {"\xE4\xF6\xFC\xE0", "\xE4\xF6\xFC\xE0"},
                {"gr\xC3\xBC\xC3\x9F", "GR\xC3\xBC\xC3\x9F"},
                {"a\x80z\xFF", "A\x80Z\xFF"},
                {"\x85", "\x85"},  // No byte from 128 on is a space.
                {"\xA0", "\xA0"}});
}

TEST(ParseProgram, ComparesNumbersWithTheWholeToken) {
  expectParsed({{"1\0"s, "1\0"s},
                {"1\0002"s, "1\0002"s},
                {"1\x1A", "1\x1A"},
                {"\0"s, "\0"s},
                {"nil\0"s, "NIL\0"s}});
}

TEST(ParseProgram, ReadsLists) {
  expectParsed({{"()", "()"},
                {"( )", "()"},
                {"(())", "(())"},
                {"(1 2.5 x nil)", "(1 2.5 X nil)"},
                {"(a(b)c)", "(A (B) C)"},
                {"(a . b)", "(A . B)"},
                {"(\n\t a\r\nb\v\f)", "(A B)"},
                {"(a ; comment ) \n b)", "(A B)"},
                {"(\"a\"\"b\"c)", "(\"a\" \"b\" C)"},
                {"($KVSEL 1 \"A1\")", "($KVSEL 1 \"A1\")"}});
  EXPECT_EQ(textOf(asList(*parseProgram("(a . b)", nullptr)).value()[1]), ".");
}

TEST(ParseProgram, ReadsQuoteMarks) {
  expectParsed({{"'a", "(QUOTE A)"},
                {"'()", "(QUOTE ())"},
                {"''a", "(QUOTE (QUOTE A))"},
                {"' a", "(QUOTE A)"},
                {"';comment\n a", "(QUOTE A)"},
                {"('a 'b)", "((QUOTE A) (QUOTE B))"},
                {"('(1 'x) y)", "((QUOTE (1 (QUOTE X))) Y)"},
                {"'nil", "(QUOTE nil)"}});
}

TEST(ParseProgram, ReadsStrings) {
  expectParsed({{R"("")", R"("")"},
                {R"("a b")", R"("a b")"},
                {R"("MiXed")", R"("MiXed")"},
                {R"("a\qb")", R"("aqb")"},
                {R"("a\"b")", R"("a"b")"},
                {R"("a\\b")", R"("a\b")"},
                {R"("\n\r\t")", "\"\n\r\t\""},
                {R"("\N\R\T")", R"("NRT")"},
                {R"("\\n")", R"("\n")"},
                {"\"a\nb\"", "\"a\nb\""},
                {"\"a\\\nb\"", "\"a\nb\""},
                {"\"\\\0\0\x1A\xFF\""s, "\"\0\0\x1A\xFF\""s},
                {R"(";not a comment")", R"(";not a comment")"},
                {R"("()'")", R"("()'")"}});
}

TEST(ParseProgram, SkipsBlanksAroundTheForm) {
  expectParsed({{"  \t\n\v\f\r 1 \t\n", "1"},
                {"1\x1A"s + "\x1A", "1\x1A\x1A"},
                {"1 \x1A", "1"},
                {"(1)\x1A", "(1)"},
                {"\x1A\x1A(1)\x1A \x1A", "(1)"},
                {"(1 \x1A 2)", "(1 2)"},
                {"; comment\n1", "1"},
                {"1;comment", "1"},
                {"1;comment without end of line \x1A(", "1"},
                {";a\n;b\n\n;c\n  1 ;d", "1"},
                {";a\r1", "!expected exactly one form"},
                {"a;b\n", "A"}});
}

TEST(ParseProgram, EndsTokensAtDelimiters) {
  expectParsed({{"(a\"b\")", "(A \"b\")"},
                {"(a'b)", "(A (QUOTE B))"},
                {"(1(2))", "(1 (2))"},
                {"(a;b\n)", "(A)"},
                {"(a\vb\fc)", "(A B C)"}});
}

TEST(ParseProgram, ReportsEveryFailure) {
  expectParsed({{"", "!expected exactly one form"},
                {"   ; only a comment", "!expected exactly one form"},
                {" \x1A\n", "!expected exactly one form"},
                {"1 2", "!expected exactly one form"},
                {"(A) (B)", "!expected exactly one form"},
                {"abc\"def\"", "!expected exactly one form"},
                {"a'b", "!expected exactly one form"},
                {"'", "!unexpected end of input"},
                {"' ; comment", "!unexpected end of input"},
                {"('", "!unexpected end of input"},
                {"('  ", "!unexpected end of input"},
                {"(", "!unterminated list"},
                {"(1 2", "!unterminated list"},
                {"((1)", "!unterminated list"},
                {"(1 ; )", "!unterminated list"},
                {"'(", "!unterminated list"},
                {")", "!unexpected ')'"},
                {" )", "!unexpected ')'"},
                {"')", "!unexpected ')'"},
                {"(')", "!unexpected ')'"},
                {"(1))", "!unexpected ')'"},
                {"\"", "!unterminated string"},
                {"\"abc", "!unterminated string"},
                {"\"abc\\", "!unterminated string"},
                {"\"abc\\\"", "!unterminated string"},
                {"(\"abc)", "!unterminated string"}});
}

TEST(ParseProgram, LetsALaterFailureWinOverTheCount) {
  expectParsed({{"(A) (B", "!unterminated list"},
                {"(A) )", "!unexpected ')'"},
                {"1 2 \"", "!unterminated string"},
                {"1 2 '", "!unexpected end of input"},
                {") (", "!unexpected ')'"},
                {"( \" )", "!unterminated string"}});
}

TEST(ParseProgram, BoundsNesting) {
  EXPECT_EQ(parsed(repeated("(", 512) + repeated(")", 512)),
            repeated("(", 512) + repeated(")", 512));
  EXPECT_EQ(parsed(repeated("(", 513) + repeated(")", 513)),
            repeated("(", 513) + repeated(")", 513));
  EXPECT_EQ(parsed(repeated("(", 514) + repeated(")", 514)), "!parser nesting limit exceeded");
  // An atom stands one level below its list.
  for (const std::string atom : {"A", "1", "\"a\"", "1A"}) {
    EXPECT_EQ(parsed(repeated("(", 512) + atom + repeated(")", 512)),
              repeated("(", 512) + atom + repeated(")", 512));
    EXPECT_EQ(parsed(repeated("(", 513) + atom + repeated(")", 513)),
              "!parser nesting limit exceeded");
  }
  EXPECT_EQ(parsed(repeated("'", 511) + "A").size(), 511 * 8 + 1u);
  EXPECT_EQ(parsed(repeated("'", 512) + "A").size(), 512 * 8 + 1u);
  EXPECT_EQ(parsed(repeated("'", 513) + "A"), "!parser nesting limit exceeded");
  EXPECT_EQ(parsed(repeated("('", 256) + "A" + repeated(")", 256)).size(), 256 * 10 + 1u);
  EXPECT_EQ(parsed(repeated("('", 257) + "A" + repeated(")", 257)),
            "!parser nesting limit exceeded");
  // Closing makes room again.
  EXPECT_EQ(parsed("(" + repeated("(()())", 1000) + ")").size(), 2 + 1000 * 8 - 2 + 1u);
}

TEST(ParseProgram, ChecksTheLevelBeforeBlanksAndTheEnd) {
  EXPECT_EQ(parsed(repeated("'", 512)), "!unexpected end of input");
  EXPECT_EQ(parsed(repeated("'", 513)), "!parser nesting limit exceeded");
  EXPECT_EQ(parsed(repeated("'", 513) + ")"), "!parser nesting limit exceeded");
  EXPECT_EQ(parsed(repeated("(", 513)), "!unterminated list");
  EXPECT_EQ(parsed(repeated("(", 513) + "  ; end"), "!unterminated list");
  EXPECT_EQ(parsed(repeated("(", 513) + "  \""), "!parser nesting limit exceeded");
  EXPECT_EQ(parsed(repeated("(", 100000)), "!parser nesting limit exceeded");
}

TEST(ParseProgram, CountsTheLevelFromTheDepthGiven) {
  Reader at_the_limit("(())");
  EXPECT_TRUE(at_the_limit.readForm(kNestingMax - 1).has_value());
  Reader over_the_limit("((()))");
  EXPECT_FALSE(over_the_limit.readForm(kNestingMax - 1).has_value());
  EXPECT_EQ(over_the_limit.error(), "parser nesting limit exceeded");
}

TEST(ParseProgram, NeedsNoPlaceForItsMessage) {
  EXPECT_FALSE(parseProgram("(", nullptr).has_value());
  EXPECT_TRUE(parseProgram("()", nullptr).has_value());
}

// Short ones have a way of their own, up to a byte 0.
TEST(ParseProgram, ReadsNamesAndStringsOfEveryLength) {
  for (std::size_t size = 1; size <= 20; ++size) {
    for (std::size_t zero = 0; zero <= size; ++zero) {
      std::string name = repeated("z", size);
      std::string folded = repeated("Z", size);
      if (zero < size) name[zero] = folded[zero] = '\0';
      for (const std::string& end : {""s, " "s, ";"s}) {
        const LispValue read = parseProgram(name + end, nullptr).value();
        EXPECT_TRUE(valuesEqual(read, symbol(folded))) << size << " " << zero;
        EXPECT_EQ(asText(read), folded);
      }
      const LispValue read = parseProgram("\"" + name + "\"", nullptr).value();
      EXPECT_TRUE(valuesEqual(read, string(name))) << size << " " << zero;
      EXPECT_EQ(asText(read), name);
      EXPECT_EQ(parsed("\"" + name), "!unterminated string");
    }
  }
  EXPECT_EQ(asText(*parseProgram("\"\"", nullptr)), "");
}

TEST(ReadForms, ReadsAnyNumberOfForms) {
  std::string error = "not cleared";
  for (const char* const text : {"", "  ", "\x1A", "; comment", "\n;a\n;b"}) {
    EXPECT_EQ(textOf(readForms(text, &error).value()), "()") << text;
    EXPECT_EQ(error, "");
  }
  const LispValue forms = readForms("1(2)\"3\"'4 five\x1A six", &error).value();
  EXPECT_EQ(textOf(forms), "(1 (2) \"3\" (QUOTE 4) FIVE\x1A SIX)");
}

TEST(ReadForms, ReportsTheFirstFailureAndNoForms) {
  EXPECT_FALSE(readForms("1 2 (", nullptr).has_value());
  std::string error;
  EXPECT_FALSE(readForms("1 2 (", &error).has_value());
  EXPECT_EQ(error, "unterminated list");
  EXPECT_FALSE(readForms("1 ) (", &error).has_value());
  EXPECT_EQ(error, "unexpected ')'");
}

TEST(ParseProgram, ReadsLongTextsOnASmallStack) {
  lisp_worker::testing_support::runOnSmallStack([] {
    EXPECT_EQ(asList(*parseProgram("(" + repeated("() ", 300'000) + ")", nullptr))->size(),
              300'000u);
    EXPECT_TRUE(parseProgram(repeated("(", 513) + repeated(")", 513), nullptr).has_value());
    EXPECT_EQ(asText(*parseProgram("\"" + repeated("\\\"", 500'000) + "\"", nullptr))->size(),
              500'000u);
    EXPECT_EQ(asText(*parseProgram(repeated("a", 1'000'000), nullptr)), repeated("A", 1'000'000));
    EXPECT_EQ(parseProgram(repeated("; comment\n", 100'000) + "1", nullptr)->kind(),
              ValueKind::Number);
  });
}

// The texts of the data of `text`, a bar behind each, as far as it can be read.
std::string placesIn(std::string_view text) {
  Places places;
  Reader reader(text);
  static_cast<void>(reader.readForms(&places));
  std::string joined;
  for (const std::string_view place : places) joined += std::string(place) + "|";
  return joined;
}

TEST(Places, AreTheTextsOfAllDataInTheirOrder) {
  EXPECT_EQ(placesIn(""), "");
  EXPECT_EQ(placesIn(" 5 ; x\n nil\"a b\"Cd"), "5|nil|\"a b\"|Cd|");
  EXPECT_EQ(placesIn("(A (1.5 \"x\\\"y\") ())"),
            "(A (1.5 \"x\\\"y\") ())|A|(1.5 \"x\\\"y\")|1.5|\"x\\\"y\"|()|");
  EXPECT_EQ(placesIn("'X"), "'X|'|X|");
  EXPECT_EQ(placesIn("(F ''(1) 'B) C"), "(F ''(1) 'B)|F|''(1)|'|'(1)|'|(1)|1|'B|'|B|C|");
}

TEST(Places, HaveNoTextForAListWithoutAnEnd) {
  EXPECT_EQ(placesIn("(A (B) (C"), "|A|(B)|B||C|");
  EXPECT_EQ(placesIn("(A '"), "|A||'|");
  EXPECT_EQ(placesIn("5 \"x"), "5|");
}

TEST(Reader, StopsWhereTheTextCannotBeRead) {
  const auto stopOf = [](std::string_view text) {
    Reader reader(text);
    EXPECT_FALSE(reader.readForms().has_value()) << text;
    return reader.at() - text.data();
  };
  EXPECT_EQ(stopOf("(A) )"), 4);
  EXPECT_EQ(stopOf("(A \"b c"), 3);
  EXPECT_EQ(stopOf("(A (B)"), 6);
  EXPECT_EQ(stopOf(std::string(514, '(')), 513);
}

}  // namespace
}  // namespace lisp
