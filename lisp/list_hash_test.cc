#include "lisp/list_hash.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "lisp/value.h"
#include "testing/base/value_text.h"

namespace lisp {
namespace {

std::uint64_t hashOfListOf(const LispValue& element) { return listHash(list({element}).raw()); }

TEST(ListHash, TellsElementsOfDifferentKindsApart) {
  // The first two have the words that a careless hash would give to nil and to an empty list.
  const std::vector<LispValue> elements = {number(std::numeric_limits<double>::denorm_min()),
                                           number(0),
                                           nil(),
                                           list({}),
                                           symbol("X"),
                                           string("X"),
                                           truth(),
                                           list({nil()}),
                                           list({number(0)}),
                                           list({list({})})};
  for (std::size_t i = 0; i < elements.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      EXPECT_NE(hashOfListOf(elements[i]), hashOfListOf(elements[j])) << i << " and " << j;
    }
  }
}

TEST(ListHash, IsThatOfEveryEqualList) {
  EXPECT_EQ(hashOfListOf(number(-0.0)), hashOfListOf(number(0.0)));
  const LispValue tail = list({number(2), string("B")});
  const LispValue joined = LispValue::adopt(prepend(number(1).take(), LispValue(tail).take()));
  EXPECT_EQ(listHash(joined.raw()), listHash(list({number(1), number(2), string("B")}).raw()));
}

TEST(Digest, OfALiteralIsThatOfTheSameListMadeOtherwise) {
  const LispValue literal = lisp_worker::testing_support::read("(1 (2 (3 ()) \"x\") (4 5) nil)");
  EXPECT_FALSE(chunkOf(literal.raw()).hasDigest());  // None yet.
  const LispValue made =
      list({number(1), list({number(2), list({number(3), list({})}), string("x")}),
            list({number(4), number(5)}), nil()});
  EXPECT_TRUE(chunkOf(made.raw()).hasDigest());
  EXPECT_EQ(listHash(literal.raw()), listHash(made.raw()));
  EXPECT_TRUE(chunkOf(literal.raw()).hasDigest());
}

TEST(Digest, FindsNanAtAnyDepthOfAListWithoutOne) {
  const RawValue nan = RawValue::ofNumber(std::numeric_limits<double>::quiet_NaN());
  const RawValue inner = makeLiteral(&nan, 1);
  const std::vector<RawValue> elements = {RawValue(), inner, RawValue()};
  const LispValue outer = LispValue::adopt(makeLiteral(elements.data(), elements.size()));
  EXPECT_TRUE(listHoldsNan(outer.raw()));
  EXPECT_TRUE(listHoldsNan(LispValue::adopt(restOf(outer.raw())).raw()));
  const LispValue last = LispValue::adopt(restOf(LispValue::adopt(restOf(outer.raw())).raw()));
  EXPECT_FALSE(listHoldsNan(last.raw()));
}

TEST(Digest, IsMadeOnceOfWhatManyListsShare) {
  // Each level holds the one before twice: 2^40 ways lead to the innermost.
  LispValue value = list({number(1)});
  for (int level = 0; level < 40; ++level) {
    const std::vector<RawValue> elements = {LispValue(value).take(), LispValue(value).take()};
    value = LispValue::adopt(makeLiteral(elements.data(), elements.size()));
  }
  EXPECT_NE(listHash(value.raw()), listHash(list({number(1)}).raw()));
}

}  // namespace
}  // namespace lisp
