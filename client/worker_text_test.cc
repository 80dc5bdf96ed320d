#include "lisp_worker/client/worker_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "lisp_worker/client/answer_text.h"

namespace lisp_worker::client {
namespace {

std::string errorOf(std::string_view text) {
  std::string error;
  return readWorkerText(text, &error) ? "was read" : error;
}

TEST(ReadWorkerText, ReadsEveryKind) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  struct Row {
    const char* text;
    Datum datum;
  };
  const Row rows[] = {
      {"nil", nil()},
      {"()", list({})},
      {"3", number(3)},
      {"-0", number(-0.0)},
      {"0.10000000000000001", number(0.1)},
      {"1e+20", number(1e20)},
      {"inf", number(kInfinity)},
      {"-inf", number(-kInfinity)},
      {"INF", symbol("INF")},
      {"NAN", symbol("NAN")},
      {"1E999", symbol("1E999")},
      {"$KVSEL", symbol("$KVSEL")},
      {"(1 2.5 X nil)", list({number(1), number(2.5), symbol("X"), nil()})},
      {"((1) () ((T)))", list({list({number(1)}), list({}), list({list({symbol("T")})})})},
      {R"("")", string("")},
      {R"(("A" "B"))", list({string("A"), string("B")})},
      {"\"two\nlines; (x)\"", string("two\nlines; (x)")},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    std::string error;
    const std::optional<Datum> datum = readWorkerText(row.text, &error);
    ASSERT_TRUE(datum.has_value()) << error;
    EXPECT_EQ(*datum, row.datum);
  }
  EXPECT_FALSE(std::signbit(*asNumber(*readWorkerText("nan", nullptr))));
  EXPECT_TRUE(std::signbit(*asNumber(*readWorkerText("-nan", nullptr))));
  EXPECT_TRUE(std::isnan(*asNumber(*readWorkerText("-nan", nullptr))));
}

TEST(ReadWorkerText, TakesABackslashAsItself) {
  EXPECT_EQ(readWorkerText(R"("C:\new\")", nullptr), string(R"(C:\new\)"));
}

// Strings come unescaped: a quote ends one only where a value can end.
TEST(ReadWorkerText, TakesAQuoteInsideAStringForWhatItCanBe) {
  EXPECT_EQ(readWorkerText(R"("a"b")", nullptr), string(R"(a"b)"));
  EXPECT_EQ(readWorkerText(R"(("3/4"x2" 5))", nullptr), list({string(R"(3/4"x2)"), number(5)}));
  EXPECT_EQ(readWorkerText(R"(""")", nullptr), string("\""));
  // One string, A" "B, is written like two.
  EXPECT_EQ(readWorkerText(R"(("A" "B"))", nullptr), list({string("A"), string("B")}));
  EXPECT_EQ(errorOf(R"("a" b")"), "text goes on after the value at byte 3");
  EXPECT_EQ(errorOf(R"(("say "x" "))"), "no end of the string at byte 10");
}

TEST(ReadWorkerText, RefusesWhatNoWorkerWrites) {
  struct Row {
    const char* text;
    const char* error;
  };
  const Row rows[] = {
      {"", "no value at byte 0"},
      {" 1", "no value at byte 0"},
      {"1 ", "text goes on after the value at byte 1"},
      {"1 2", "text goes on after the value at byte 1"},
      {"()()", "text goes on after the value at byte 2"},
      {"(", "no value at byte 1"},
      {"(1", "no end of a list at byte 2"},
      {"(1 ", "no value at byte 3"},
      {"(1  2)", "no value at byte 3"},
      {"( 1)", "no value at byte 1"},
      {"(1 )", "no value at byte 3"},
      {"(1(2))", "no space after the value at byte 1"},
      {"((1)2)", "no end of a list at byte 4"},
      {")", "no value at byte 0"},
      {"\"abc", "no end of the string at byte 0"},
      {"a\"b\"", "no space after the value at byte 0"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(errorOf(row.text), row.error);
    EXPECT_FALSE(readWorkerText(row.text, nullptr).has_value());
  }
}

TEST(ReadWorkerText, StopsAtTheNestingThatAnswersMayHave) {
  const auto nested = [](std::size_t count) {
    return std::string(count, '(') + std::string(count, ')');
  };
  EXPECT_EQ(errorOf(nested(513)), "was read");
  EXPECT_EQ(errorOf(nested(514)), "more than 512 lists inside each other at byte 513");
  EXPECT_EQ(errorOf(nested(500000)), "more than 512 lists inside each other at byte 513");
}

}  // namespace
}  // namespace lisp_worker::client
