#include "lisp/printer.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>

#include "testing/base/list_makers.h"
#include "testing/base/value_text.h"

namespace lisp {
namespace {

using lisp_worker::testing_support::cons;
using lisp_worker::testing_support::read;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

TEST(EncodeValue, WritesNumbersWithSeventeenDigits) {
  struct Row {
    double number;
    const char* text;
  };
  for (const Row& row : {Row{0.0, "0"},
                         Row{-0.0, "-0"},
                         Row{3.0, "3"},
                         Row{-1.5, "-1.5"},
                         Row{2.5, "2.5"},
                         Row{0.1, "0.10000000000000001"},
                         Row{1.0 / 3, "0.33333333333333331"},
                         Row{100000, "100000"},
                         Row{1e16, "10000000000000000"},
                         Row{12345678901234567.0, "12345678901234568"},
                         Row{1e17, "1e+17"},
                         Row{1e20, "1e+20"},
                         Row{1e100, "1e+100"},
                         Row{0.0001, "0.0001"},
                         Row{0.00001, "1.0000000000000001e-05"},
                         Row{123456.789, "123456.789"},
                         Row{1.7976931348623157e308, "1.7976931348623157e+308"},
                         Row{2.2250738585072014e-308, "2.2250738585072014e-308"},
                         Row{5e-324, "4.9406564584124654e-324"},
                         Row{-1.2345678901234567e-101, "-1.2345678901234567e-101"},
                         Row{kInfinity, "inf"},
                         Row{-kInfinity, "-inf"},
                         Row{kNan, "nan"},
                         Row{-kNan, "-nan"}}) {
    EXPECT_EQ(encodeValue(number(row.number)), row.text);
  }
}

TEST(EncodeValue, WritesEveryKind) {
  EXPECT_EQ(encodeValue(nil()), "nil");
  EXPECT_EQ(encodeValue(symbol("NAME")), "NAME");
  EXPECT_EQ(encodeValue(symbol("mixed case")), "mixed case");
  EXPECT_EQ(encodeValue(string("")), "\"\"");
  EXPECT_EQ(encodeValue(list({})), "()");
  EXPECT_EQ(encodeValue(read("(1 2.5 X nil)")), "(1 2.5 X nil)");
  EXPECT_EQ(encodeValue(read("(()((1))(nil \"a\" ())2)")), "(() ((1)) (nil \"a\" ()) 2)");
  EXPECT_EQ(encodeValue(read("($KVSEL \"e1\" 2)")), "($KVSEL \"e1\" 2)");
  EXPECT_EQ(encodeValue(cons(read("(1)"), cons(number(2), read("(3 (4))")))), "((1) 2 3 (4))");
}

TEST(EncodeValue, EscapesNothing) {
  using namespace std::string_view_literals;
  EXPECT_EQ(encodeValue(string("a\"b")), "\"a\"b\"");
  for (const std::string_view text :
       {"a\\b"sv, "line\nbreak\r\t"sv, "\0\x1A\x80\xFF"sv, "(;')"sv}) {
    EXPECT_EQ(encodeValue(string(text)), "\"" + std::string(text) + "\"");
    EXPECT_EQ(encodeValue(symbol(text)), text);
  }
}

TEST(AppendValue, StopsBeyondItsLimit) {
  for (const char* const form :
       {"nil", "12345", "\"text\"", "NAME", "()", "(1)", "((()) (1 2) \"x\")"}) {
    const LispValue value = read(form);
    const std::string expected = encodeValue(value);
    for (std::size_t size_max = 0; size_max <= expected.size() + 2; ++size_max) {
      std::string text = "ab";
      EXPECT_EQ(appendValue(value, size_max, text), expected.size() + 2 <= size_max) << size_max;
      if (expected.size() + 2 <= size_max) {
        EXPECT_EQ(text, "ab" + expected);
      }
    }
  }
}

}  // namespace
}  // namespace lisp
