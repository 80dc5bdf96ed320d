#include "lisp_worker/client/datum.h"

#include <gtest/gtest.h>

#include <limits>

#include "lisp_worker/client/answer_text.h"

namespace lisp_worker::client {
namespace {

TEST(Datum, IsNilUnlessMadeOtherwise) {
  EXPECT_EQ(Datum().kind(), DatumKind::Nil);
  EXPECT_EQ(nil().kind(), DatumKind::Nil);
  EXPECT_EQ(number(1).kind(), DatumKind::Number);
  EXPECT_EQ(string("A").kind(), DatumKind::String);
  EXPECT_EQ(symbol("A").kind(), DatumKind::Symbol);
  EXPECT_EQ(list({}).kind(), DatumKind::List);
}

TEST(Datum, AccessorsAnswerForTheirOwnKindOnly) {
  EXPECT_EQ(asNumber(number(2.5)), 2.5);
  EXPECT_EQ(asString(string("text")), "text");
  EXPECT_EQ(asSymbol(symbol("NAME")), "NAME");
  const Datum two = list({number(1), number(2)});
  ASSERT_NE(asList(two), nullptr);
  EXPECT_EQ(asList(two)->size(), 2u);

  EXPECT_EQ(asNumber(string("1")), std::nullopt);
  EXPECT_EQ(asString(symbol("A")), std::nullopt);
  EXPECT_EQ(asSymbol(string("A")), std::nullopt);
  EXPECT_EQ(asList(nil()), nullptr);
}

TEST(Datum, EqualityComparesKindAndContent) {
  EXPECT_EQ(nil(), nil());
  EXPECT_FALSE(nil() == list({}));
  EXPECT_FALSE(string("A") == symbol("A"));
  EXPECT_EQ(number(-0.0), number(0.0));
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_FALSE(number(nan) == number(nan));
  EXPECT_EQ(list({string("A"), list({nil()})}), list({string("A"), list({nil()})}));
  EXPECT_FALSE(list({number(1)}) == list({number(1), number(2)}));
}

TEST(Datum, CopiesAreDeep) {
  const Datum original = list({string("A")});
  Datum copy = original;
  copy = list({string("B")});
  EXPECT_EQ(original, list({string("A")}));
}

TEST(Datum, GivesItsElementsAway) {
  EXPECT_EQ(list(takeElements(list({number(1), string("a")}))), list({number(1), string("a")}));
  EXPECT_TRUE(takeElements(number(1)).empty());
}

TEST(Datum, PointsAndSelectionSetsAreLists) {
  EXPECT_EQ(printDatum(point(1, 2.5, -3)), "(1 2.5 -3)");
  EXPECT_EQ(printDatum(selectionSet({string("E1"), string("E2")})), R"(($KVSEL "E1" "E2"))");
  EXPECT_EQ(printDatum(selectionSet({})), "($KVSEL)");
}

}  // namespace
}  // namespace lisp_worker::client
