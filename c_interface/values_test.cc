#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <string>

#include "testing/workers/c_interface_handles.h"

namespace {

using lisp_worker::testing_support::textOf;
using lisp_worker::testing_support::ValueHandle;

ValueHandle parse(const std::string& text) {
  ValueHandle value(lisp_value_parse(text.data(), text.size()));
  EXPECT_EQ(lisp_value_error(value.get(), nullptr), nullptr) << text;
  return value;
}

TEST(CValues, LendTheirElements) {
  const ValueHandle list = parse("(1 \"a\" (X nil))");
  EXPECT_EQ(lisp_value_as_number(lisp_value_at(list.get(), 0)), 1);
  EXPECT_EQ(textOf(lisp_value_text, lisp_value_at(list.get(), 1)), "a");
  const lisp_value* const inner = lisp_value_at(list.get(), 2);
  EXPECT_EQ(lisp_value_at(list.get(), 2), inner);
  EXPECT_EQ(lisp_value_count(inner), 2u);
  EXPECT_EQ(textOf(lisp_value_print, inner), "(X nil)");
  EXPECT_EQ(textOf(lisp_value_text, lisp_value_at(inner, 0)), "X");
  EXPECT_EQ(lisp_value_kind(lisp_value_at(inner, 1)), LISP_NIL);
  EXPECT_EQ(lisp_value_at(list.get(), 3), nullptr);
  EXPECT_EQ(lisp_value_at(lisp_value_at(list.get(), 0), 0), nullptr);
}

// A walk that copies each element with all that is in it takes a second here.
TEST(CValues, LendElementsWithoutCopyingThem) {
  constexpr int kLevels = 500;
  constexpr int kNumbers = 100000;
  std::string text(kLevels, '(');
  for (int n = 0; n < kNumbers; ++n) text += "1 ";
  text.append(kLevels, ')');
  const ValueHandle value = parse(text);
  const auto begin = std::chrono::steady_clock::now();
  const lisp_value* inner = value.get();
  for (int level = 1; level < kLevels; ++level) inner = lisp_value_at(inner, 0);
  double sum = 0;
  for (std::size_t index = 0; index < lisp_value_count(inner); ++index) {
    sum += lisp_value_as_number(lisp_value_at(inner, index));
  }
  const auto elapsed = std::chrono::steady_clock::now() - begin;
  EXPECT_EQ(sum, kNumbers);
  // A third of a copying walk's time at most; without sanitizers it is some milliseconds.
  EXPECT_LT(elapsed, std::chrono::milliseconds(300));
}

TEST(CValues, AreCopiedWholeAndInPart) {
  const ValueHandle list = parse("(1 (2 \"b\"))");
  const ValueHandle whole(lisp_value_copy(list.get()));
  const ValueHandle part(lisp_value_copy(lisp_value_at(list.get(), 1)));
  const ValueHandle element(lisp_value_element(list.get(), 1));
  EXPECT_EQ(lisp_value_equals(whole.get(), list.get()), 1);
  EXPECT_EQ(lisp_value_equals(part.get(), element.get()), 1);
  EXPECT_EQ(lisp_value_equals(part.get(), list.get()), 0);
  EXPECT_EQ(textOf(lisp_value_print, part.get()), "(2 \"b\")");
  const ValueHandle nothing(lisp_value_copy(nullptr));
  EXPECT_EQ(lisp_value_kind(nothing.get()), LISP_NIL);
  EXPECT_EQ(lisp_value_equals(nothing.get(), nullptr), 1);
  const ValueHandle error(lisp_answer_error_of("a\0b", 3));
  const ValueHandle copy(lisp_value_copy(error.get()));
  EXPECT_EQ(textOf(lisp_value_error, copy.get()), std::string("a\0b", 3));
}

TEST(CValues, AreAppended) {
  const ValueHandle list(lisp_value_list(nullptr, 0));
  EXPECT_STREQ(lisp_value_print(list.get(), nullptr), "()");
  EXPECT_EQ(lisp_value_append(list.get(), lisp_value_number(1)), LISP_STATUS_OK);
  EXPECT_EQ(lisp_value_as_number(lisp_value_at(list.get(), 0)), 1);
  EXPECT_EQ(lisp_value_append(list.get(), parse("(2 3)").release()), LISP_STATUS_OK);
  EXPECT_EQ(lisp_value_append(list.get(), nullptr), LISP_STATUS_OK);
  EXPECT_EQ(textOf(lisp_value_print, list.get()), "(1 (2 3) nil)");
  EXPECT_EQ(lisp_value_count(lisp_value_at(list.get(), 1)), 2u);
  EXPECT_EQ(lisp_value_append(list.get(), list.get()), LISP_STATUS_BAD_REQUEST);
  const ValueHandle number(lisp_value_number(1));
  EXPECT_EQ(lisp_value_append(number.get(), lisp_value_nil()), LISP_STATUS_BAD_REQUEST);
  EXPECT_EQ(lisp_value_append(nullptr, lisp_value_nil()), LISP_STATUS_BAD_REQUEST);
  EXPECT_EQ(textOf(lisp_value_print, list.get()), "(1 (2 3) nil)");
}

TEST(CValues, AreSelectionSets) {
  const ValueHandle first(lisp_value_string("1F", LISP_TO_ZERO));
  const ValueHandle second(lisp_value_string("20", 2));
  const lisp_value* const members[] = {first.get(), second.get()};
  const ValueHandle set(lisp_value_selection_set(members, 2));
  EXPECT_EQ(textOf(lisp_value_print, set.get()), "($KVSEL \"1F\" \"20\")");
  EXPECT_EQ(lisp_value_is_selection_set(set.get()), 1);
  ASSERT_EQ(lisp_value_member_count(set.get()), 2u);
  EXPECT_EQ(textOf(lisp_value_text, lisp_value_member(set.get(), 1)), "20");
  EXPECT_EQ(lisp_value_member(set.get(), 2), nullptr);
  const ValueHandle empty(lisp_value_selection_set(nullptr, 5));
  EXPECT_EQ(lisp_value_is_selection_set(empty.get()), 1);
  EXPECT_EQ(lisp_value_member_count(empty.get()), 0u);
  for (const char* const other : {"()", "nil", "(1)", "(\"$KVSEL\")", "$KVSEL"}) {
    const ValueHandle value = parse(other);
    EXPECT_EQ(lisp_value_is_selection_set(value.get()), 0) << other;
    EXPECT_EQ(lisp_value_member_count(value.get()), 0u) << other;
    EXPECT_EQ(lisp_value_member(value.get(), 0), nullptr) << other;
  }
}

TEST(CValues, TellWhyATextIsNotOne) {
  const ValueHandle cut(lisp_value_parse("(1", LISP_TO_ZERO));
  EXPECT_EQ(textOf(lisp_value_error, cut.get()), "unterminated list");
  EXPECT_EQ(lisp_value_kind(cut.get()), LISP_NIL);
  const ValueHandle two(lisp_value_parse("1 2", 3));
  EXPECT_EQ(textOf(lisp_value_error, two.get()), "expected exactly one form");
  const ValueHandle one(lisp_value_parse("1 2", 1));
  size_t size = 7;
  EXPECT_EQ(lisp_value_error(one.get(), &size), nullptr);
  EXPECT_EQ(size, 0u);
  const ValueHandle nothing(lisp_value_parse(nullptr, 3));
  EXPECT_NE(lisp_value_error(nothing.get(), nullptr), nullptr);
}

TEST(CValues, TellWhyTheyCannotBeAnswers) {
  const ValueHandle infinity(lisp_value_number(std::numeric_limits<double>::infinity()));
  EXPECT_STREQ(lisp_value_why_unwritable(infinity.get()),
               "no text stands for an infinity or a NaN");
  EXPECT_EQ(lisp_value_why_unwritable(parse("(1 (2))").get()), nullptr);
  EXPECT_EQ(lisp_value_why_unwritable(nullptr), nullptr);
}

TEST(CValues, AreEqualAsProgramsCompareThem) {
  const ValueHandle nan(lisp_value_number(std::nan("")));
  EXPECT_EQ(lisp_value_equals(nan.get(), nan.get()), 0);
  EXPECT_EQ(lisp_value_equals(parse("-0.0").get(), parse("0.0").get()), 1);
  EXPECT_EQ(lisp_value_equals(parse("()").get(), nullptr), 0);
}

TEST(CValues, HaveTextsWithZeros) {
  const ValueHandle string(lisp_value_string("a\0b", 3));
  EXPECT_EQ(textOf(lisp_value_text, string.get()), std::string("a\0b", 3));
  const ValueHandle symbol(lisp_value_symbol_of("A\0B", 3));
  EXPECT_EQ(textOf(lisp_value_text, symbol.get()), std::string("A\0B", 3));
  EXPECT_EQ(lisp_value_kind(symbol.get()), LISP_SYMBOL);
  const ValueHandle terminated(lisp_value_symbol_of("A\0B", LISP_TO_ZERO));
  EXPECT_EQ(textOf(lisp_value_text, terminated.get()), "A");
}

}  // namespace
