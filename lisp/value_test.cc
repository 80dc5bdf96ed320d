#include "lisp/value.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "testing/base/list_makers.h"
#include "testing/base/value_text.h"

namespace lisp {
namespace {

using lisp_worker::testing_support::cons;
using lisp_worker::testing_support::read;
using lisp_worker::testing_support::textOf;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

TEST(ValueKind, HasTheFiveCodes) {
  EXPECT_EQ(static_cast<int>(ValueKind::Nil), 0);
  EXPECT_EQ(static_cast<int>(ValueKind::Number), 1);
  EXPECT_EQ(static_cast<int>(ValueKind::String), 2);
  EXPECT_EQ(static_cast<int>(ValueKind::Symbol), 3);
  EXPECT_EQ(static_cast<int>(ValueKind::List), 4);
}

TEST(LispValue, IsNilUnlessMadeOtherwise) {
  EXPECT_EQ(LispValue().kind(), ValueKind::Nil);
  EXPECT_EQ(nil().kind(), ValueKind::Nil);
}

TEST(LispValue, MakersGiveTheirKind) {
  EXPECT_EQ(number(0).kind(), ValueKind::Number);
  EXPECT_EQ(string("").kind(), ValueKind::String);
  EXPECT_EQ(symbol("A").kind(), ValueKind::Symbol);
  EXPECT_EQ(list({}).kind(), ValueKind::List);
  EXPECT_EQ(list({nil()}).kind(), ValueKind::List);
  EXPECT_EQ(truth().kind(), ValueKind::Symbol);
  EXPECT_EQ(asText(truth()), "T");
}

TEST(LispValue, MakersKeepTextAsItStands) {
  using namespace std::string_view_literals;
  for (const std::string_view text :
       {""sv, "a"sv, "MiXed"sv, "nil"sv, "\0"sv, "a\0b"sv, "\"\\\n\r\t"sv, "\x80\xFF\x1A"sv}) {
    EXPECT_EQ(asText(string(text)), text);
    EXPECT_EQ(asText(symbol(text)), text);
  }
}

TEST(LispValue, ListsHoldTheirElementsInOrder) {
  const std::vector<LispValue> elements = {number(1), nil(), string("x"), list({symbol("A")})};
  EXPECT_EQ(textOf(list(elements)), "(1 nil \"x\" (A))");
  EXPECT_EQ(textOf(elements[3]), "(A)");
  EXPECT_EQ(textOf(list({})), "()");
  EXPECT_EQ(textOf(list(std::vector<LispValue>())), "()");
}

TEST(LispValue, CopiesKeepTheirValueWhenTheOriginalChanges) {
  for (const char* const text : {"nil", "1", "\"text\"", "NAME", "()", "(1 (2) \"x\")"}) {
    LispValue original = read(text);
    const LispValue copy = original;
    LispValue assigned = number(5);
    assigned = original;
    original = list({number(9)});
    EXPECT_EQ(textOf(copy), text);
    EXPECT_EQ(textOf(assigned), text);
    assigned = nil();
    EXPECT_EQ(textOf(copy), text);
  }
}

TEST(LispValue, MovingLeavesNil) {
  LispValue original = read("(1 2)");
  LispValue moved = std::move(original);
  EXPECT_EQ(textOf(moved), "(1 2)");
  EXPECT_EQ(original.kind(), ValueKind::Nil);  // NOLINT(bugprone-use-after-move)
  LispValue assigned = string("x");
  assigned = std::move(moved);
  EXPECT_EQ(textOf(assigned), "(1 2)");
  EXPECT_EQ(moved.kind(), ValueKind::Nil);  // NOLINT(bugprone-use-after-move)
}

TEST(LispValue, SurvivesAssignmentToItselfAndToItsOwnElement) {
  LispValue value = read("((1 2) 3)");
  const LispValue& alias = value;
  value = alias;
  EXPECT_EQ(textOf(value), "((1 2) 3)");
  value = asList(value)->front();
  EXPECT_EQ(textOf(value), "(1 2)");
}

TEST(LispList, GivesTheSameElementsByIndexAndInOrder) {
  LispValue value = read("(3 4 5)");
  for (int i = 2; i >= -40; --i) value = cons(number(i), value);
  const LispList elements = asList(value).value();
  ASSERT_EQ(elements.size(), 46u);
  EXPECT_FALSE(elements.empty());
  std::uint32_t index = 0;
  for (const LispValue& element : elements) {
    EXPECT_EQ(asNumber(element), -40.0 + index);
    EXPECT_EQ(asNumber(elements[index]), -40.0 + index);
    ++index;
  }
  EXPECT_EQ(index, 46u);
  EXPECT_EQ(asNumber(elements.front()), -40.0);
}

TEST(LispList, OfNoElementsHasNothingToVisit) {
  const LispValue value = list({});
  const LispList elements = asList(value).value();
  EXPECT_EQ(elements.size(), 0u);
  EXPECT_TRUE(elements.empty());
  EXPECT_TRUE(elements.begin() == elements.end());
}

TEST(LispList, IteratorsStepBothWaysOfWriting) {
  const LispValue value = read("(1 2)");
  LispList::Iterator iterator = asList(value)->begin();
  EXPECT_EQ(asNumber(*iterator++), 1.0);
  EXPECT_EQ(iterator->kind(), ValueKind::Number);
  EXPECT_EQ(asNumber(*iterator), 2.0);
  EXPECT_TRUE(++iterator == asList(value)->end());
}

TEST(Accessors, AnswerForTheirOwnKindsOnly) {
  struct Row {
    const char* text;
    bool is_number, has_text, is_list;
  };
  for (const Row& row : {Row{"nil", false, false, false}, Row{"1", true, false, false},
                         Row{"\"x\"", false, true, false}, Row{"X", false, true, false},
                         Row{"()", false, false, true}, Row{"(1)", false, false, true}}) {
    const LispValue value = read(row.text);
    EXPECT_EQ(asNumber(value).has_value(), row.is_number) << row.text;
    EXPECT_EQ(asText(value).has_value(), row.has_text) << row.text;
    EXPECT_EQ(asList(value).has_value(), row.is_list) << row.text;
  }
  EXPECT_EQ(asNumber(number(-2.5)), -2.5);
  EXPECT_EQ(asText(string("a b")), "a b");
  EXPECT_EQ(asText(symbol("AB")), "AB");
}

TEST(Accessors, ThrowOnATagThatIsNoKind) {
  for (const Tag tag : {Tag::Unbound, Tag::NotLoaded, Tag::Failed}) {
    const LispValue broken = LispValue::adopt(RawValue::of(tag));
    EXPECT_THROW(static_cast<void>(asNumber(broken)), std::bad_variant_access);
    EXPECT_THROW(static_cast<void>(asText(broken)), std::bad_variant_access);
    EXPECT_THROW(static_cast<void>(asList(broken)), std::bad_variant_access);
    EXPECT_THROW(static_cast<void>(isNumberList(broken)), std::bad_variant_access);
    EXPECT_THROW(static_cast<void>(asSelectionSet(broken)), std::bad_variant_access);
    EXPECT_THROW(static_cast<void>(valuesEqual(broken, nil())), std::bad_variant_access);
    EXPECT_THROW(static_cast<void>(valuesEqual(nil(), broken)), std::bad_variant_access);
  }
  EXPECT_STREQ(std::bad_variant_access().what(), "bad variant access");
}

TEST(IsTrue, RefusesNilAlone) {
  EXPECT_FALSE(isTrue(nil()));
  for (const LispValue& value : {number(0), number(-0.0), number(kNan), string(""), symbol(""),
                                 symbol("NIL"), symbol("F"), list({}), list({nil()}), truth()}) {
    EXPECT_TRUE(isTrue(value)) << textOf(value);
  }
}

TEST(IsNumberList, HoldsForListsOfNumbersAlone) {
  for (const char* const text : {"()", "(1)", "(1 2)", "(1 2 3 4 5)", "(0x1p3 -0.0)"}) {
    EXPECT_TRUE(isNumberList(read(text))) << text;
  }
  EXPECT_TRUE(isNumberList(list({number(kNan)})));
  EXPECT_TRUE(isNumberList(cons(number(1), cons(number(2), read("(3)")))));
  for (const char* const text : {"nil", "1", "\"1\"", "X", "(nil)", "(1 nil)", "(nil 1)",
                                 "(1 \"2\")", "(1 X 3)", "((1))", "(1 ())"}) {
    EXPECT_FALSE(isNumberList(read(text))) << text;
  }
  EXPECT_FALSE(isNumberList(cons(number(1), cons(nil(), read("(3)")))));
}

TEST(AsSelectionSet, RequiresAListHeadedByItsMark) {
  for (const char* const text :
       {"($KVSEL)", "($kvsel)", "($KVSEL 1)", "($KVSEL nil ())", "($KVSEL \"A\" \"B\" $KVSEL)"}) {
    const LispValue value = read(text);
    const std::optional<LispList> set = asSelectionSet(value);
    ASSERT_TRUE(set.has_value()) << text;
    EXPECT_EQ(set->size(), asList(value)->size());
  }
  for (const char* const text :
       {"nil", "1", "$KVSEL", "\"$KVSEL\"", "()", "(\"$KVSEL\" 1)", "(nil)", "(1 $KVSEL)",
        "($KVSE)", "($KVSELL)", "($KVSEK)", "(KVSEL)", "(%KVSEL 1)", "(($KVSEL))", "(())"}) {
    EXPECT_FALSE(asSelectionSet(read(text)).has_value()) << text;
  }
  EXPECT_FALSE(asSelectionSet(list({symbol("$kvsel")})).has_value());
  EXPECT_FALSE(asSelectionSet(list({symbol(std::string("$KVSEL\0", 7))})).has_value());
  EXPECT_TRUE(asSelectionSet(cons(symbol("$KVSEL"), read("(1 2)"))).has_value());
}

}  // namespace
}  // namespace lisp
