#include "lisp/list_hash.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "lisp/value.h"

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
  const LispValue joined =
      LispValue::adopt(prepend(number(1).release(), LispValue(tail).release()));
  EXPECT_EQ(listHash(joined.raw()), listHash(list({number(1), number(2), string("B")}).raw()));
}

}  // namespace
}  // namespace lisp
