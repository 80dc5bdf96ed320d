#include "lisp/equality.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "lisp/graveyard.h"
#include "lisp/list_hash.h"
#include "testing/base/list_makers.h"
#include "testing/base/small_stack.h"
#include "testing/base/value_text.h"

namespace lisp {
namespace {

using lisp_worker::testing_support::cons;
using lisp_worker::testing_support::doubled;
using lisp_worker::testing_support::nest;
using lisp_worker::testing_support::read;
using lisp_worker::testing_support::rest;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Far more than linear work takes under a sanitizer, far less than work that multiplies.
constexpr std::chrono::seconds kAtOnce{1};

template <typename Work>
void expectAtOnce(const Work& work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, kAtOnce);
}

LispValue numbers(int count, int last) {
  std::vector<LispValue> elements;
  for (int i = 0; i < count - 1; ++i) elements.push_back(number(i));
  elements.push_back(number(last));
  return list(elements);
}

// The same elements, each in a chunk of its own or nearly so.
LispValue pieced(const LispValue& flat) {
  LispValue value = list({});
  std::vector<LispValue> elements(asList(flat)->begin(), asList(flat)->end());
  for (; !elements.empty(); elements.pop_back()) value = cons(elements.back(), value);
  return value;
}

TEST(ValuesEqual, NeverHoldsAcrossKinds) {
  const std::vector<LispValue> values = {nil(),         number(0),   string(""),  symbol(""),
                                         list({}),      string("T"), symbol("T"), string("NIL"),
                                         symbol("NIL"), string("A"), symbol("A"), list({nil()})};
  for (std::size_t i = 0; i < values.size(); ++i) {
    for (std::size_t j = 0; j < values.size(); ++j) {
      EXPECT_EQ(valuesEqual(values[i], values[j]), i == j) << i << ' ' << j;
    }
  }
}

TEST(ValuesEqual, ComparesNumbersWithoutTolerance) {
  EXPECT_TRUE(valuesEqual(number(2), number(2.0)));
  EXPECT_TRUE(valuesEqual(number(-0.0), number(0.0)));
  EXPECT_TRUE(valuesEqual(number(kInfinity), number(kInfinity)));
  EXPECT_FALSE(valuesEqual(number(kInfinity), number(-kInfinity)));
  EXPECT_FALSE(valuesEqual(number(1), number(1 + std::numeric_limits<double>::epsilon())));
  EXPECT_FALSE(valuesEqual(number(kNan), number(kNan)));
  EXPECT_FALSE(valuesEqual(number(kNan), number(0)));
  const LispValue nan = number(kNan);
  EXPECT_FALSE(valuesEqual(nan, nan));
}

TEST(ValuesEqual, ComparesTextsByteForByte) {
  EXPECT_TRUE(valuesEqual(string("a\nb"), string("a\nb")));
  EXPECT_FALSE(valuesEqual(string("a"), string("A")));
  EXPECT_FALSE(valuesEqual(string("a"), string("ab")));
  EXPECT_FALSE(valuesEqual(string("a"), string(std::string("a\0", 2))));
  EXPECT_TRUE(valuesEqual(symbol("AB"), symbol("AB")));
  EXPECT_FALSE(valuesEqual(symbol("AB"), symbol("ab")));
}

TEST(ValuesEqual, ComparesListsElementByElement) {
  EXPECT_TRUE(valuesEqual(read("()"), read("()")));
  EXPECT_TRUE(valuesEqual(read("(1 \"a\" B nil () (2))"), read("(1.0 \"a\" b NIL ( ) (2))")));
  for (const char* const other : {"()", "(1)", "(1 2)", "(2 1 3)", "(1 2 4)", "(1 2 3 nil)",
                                  "(1 2 (3))", "((1 2 3))", "(1 2 \"3\")", "nil"}) {
    EXPECT_FALSE(valuesEqual(read("(1 2 3)"), read(other))) << other;
    EXPECT_FALSE(valuesEqual(read(other), read("(1 2 3)"))) << other;
  }
  EXPECT_FALSE(valuesEqual(read("(nil)"), read("(())")));
  EXPECT_FALSE(valuesEqual(read("((1) (2))"), read("((1) (3))")));
}

// Lists around the length up to which they are compared on the spot.
TEST(ValuesEqual, FindsADifferenceAtEveryPositionOfEveryShortLength) {
  for (int length = 1; length <= 12; ++length) {
    const LispValue original = numbers(length, 100);
    EXPECT_TRUE(valuesEqual(original, numbers(length, 100)));
    EXPECT_TRUE(valuesEqual(original, pieced(original)));
    for (int position = 0; position < length; ++position) {
      std::vector<LispValue> elements(asList(original)->begin(), asList(original)->end());
      for (const LispValue& other : {nil(), number(-1), list({}), list({nil()})}) {
        elements[static_cast<std::size_t>(position)] = other;
        const LispValue changed = list(elements);
        EXPECT_FALSE(valuesEqual(original, changed)) << length << ", " << position;
        EXPECT_FALSE(valuesEqual(pieced(changed), original)) << length << ", " << position;
        EXPECT_TRUE(valuesEqual(pieced(changed), changed)) << length << ", " << position;
      }
    }
  }
}

TEST(ValuesEqual, LooksAtNegativeZeroInsideListsAsZero) {
  EXPECT_TRUE(valuesEqual(read("(0 1 (0))"), read("(-0.0 1 (-0.0))")));
  EXPECT_TRUE(valuesEqual(nest(number(0), 100), nest(number(-0.0), 100)));
}

TEST(ValuesEqual, NeverHoldsForListsThatHoldNan) {
  const LispValue flat = list({number(1), number(kNan)});
  const LispValue nested = list({number(1), flat});
  const LispValue long_list = cons(number(kNan), numbers(1000, 0));
  const LispValue shared = list({flat, flat});
  for (const LispValue& value : {flat, nested, long_list, shared, nest(number(kNan), 50)}) {
    const LispValue copy = value;
    EXPECT_FALSE(valuesEqual(value, value));
    EXPECT_FALSE(valuesEqual(value, copy));
    EXPECT_FALSE(valuesEqual(list({value}), list({value})));
  }
  EXPECT_TRUE(valuesEqual(rest(long_list), rest(long_list)));
}

TEST(ValuesEqual, DoesNotMindHowListsAreCutIntoRuns) {
  const LispValue flat = numbers(100, 100);
  LispValue in_twos = list({});
  for (int i = 98; i >= 0; i -= 2) {
    const LispValue tail = i == 98 ? read("(98 100)") : in_twos;
    const LispValue taken = cons(nil(), tail);
    in_twos = i == 98 ? tail : cons(number(i), cons(number(i + 1), tail));
  }
  const LispValue prefixed = rest(rest(cons(nil(), cons(nil(), flat))));
  for (const LispValue& a : {flat, in_twos, pieced(flat), prefixed}) {
    for (const LispValue& b : {flat, in_twos, pieced(flat), prefixed}) {
      EXPECT_TRUE(valuesEqual(a, b));
      EXPECT_TRUE(valuesEqual(rest(a), rest(b)));
      EXPECT_FALSE(valuesEqual(a, rest(b)));
      EXPECT_FALSE(valuesEqual(cons(number(1), a), cons(number(2), b)));
    }
  }
}

TEST(ValuesEqual, ForgetsWhatAFailedComparisonAssumed) {
  const LispValue a = numbers(50, 1);
  const LispValue b = numbers(50, 1);
  const LispValue c = numbers(50, 2);
  // The parts that are equal are met before the parts that differ, and after.
  EXPECT_FALSE(valuesEqual(list({a, c}), list({b, a})));
  EXPECT_FALSE(valuesEqual(list({c, a}), list({a, b})));
  EXPECT_FALSE(valuesEqual(a, c));
  EXPECT_FALSE(valuesEqual(list({a, a, c}), list({c, b, b})));
  EXPECT_TRUE(valuesEqual(a, b));
  EXPECT_FALSE(valuesEqual(b, c));
  EXPECT_FALSE(valuesEqual(list({a, a, c}), list({c, b, b})));
  EXPECT_TRUE(valuesEqual(list({a, b, c}), list({b, a, c})));
}

// Gives the list `b` the hash of `a`. No program can: the hash is keyed with a secret.
void forgeHash(const LispValue& a, const LispValue& b) {
  EXPECT_NE(listHash(a.raw()), listHash(b.raw()));
  frontHash(chunkOf(b.raw())) = listHash(a.raw());
}

// Lists of `length`, which differ in the last element alone and have one hash.
struct Forged {
  LispValue a;
  LispValue b;
};
Forged forged(std::size_t length, const LispValue& last_a, const LispValue& last_b) {
  renewComparisons();  // As at the beginning of a request.
  std::vector<LispValue> elements(length, number(0));
  elements.back() = last_a;
  const LispValue a = list(elements);
  elements.back() = last_b;
  const LispValue b = list(elements);
  forgeHash(a, b);
  return {a, b};
}

// Lists that are compared on the spot, and longer ones.
TEST(ValuesEqual, IsDecidedByTheElementsAndNotByTheirHash) {
  const std::vector<std::pair<const char*, const char*>> elements = {
      {"1", "2"},   {"1", "nil"},   {"1", "\"1\""},   {"\"A\"", "\"B\""},    {"A", "B"},
      {"A", "nil"}, {"nil", "()"},  {"(1)", "(1 2)"}, {"()", "(1)"},         {"(1)", "(2)"},
      {"A", "(A)"}, {"\"A\"", "A"}, {"(nil)", "(A)"}, {"(1 (2))", "(1 (3))"}};
  for (const auto& [last_a, last_b] : elements) {
    for (const std::size_t length : {1, 8, 9, 30}) {
      const auto [a, b] = forged(length, read(last_a), read(last_b));
      EXPECT_FALSE(valuesEqual(a, b)) << length << ": " << last_a << ' ' << last_b;
      EXPECT_FALSE(valuesEqual(b, a)) << length << ": " << last_a << ' ' << last_b;
    }
  }
}

// A request walks so many elements of lists of equal hash, and 32 of each pair besides.
TEST(ValuesEqual, BelievesTheHashesOnceARequestHasWalkedEnough) {
  const auto [a, b] = forged(1000, number(1), number(2));
  const auto [short_a, short_b] = forged(20, number(1), number(2));
  renewComparisons(967);
  EXPECT_TRUE(valuesEqual(a, b));
  renewComparisons(2000);
  EXPECT_FALSE(valuesEqual(a, b));
  EXPECT_LT(comparisonsLeft(), 1100U);
  renewComparisons(0);
  EXPECT_TRUE(valuesEqual(a, b));
  EXPECT_FALSE(valuesEqual(short_a, short_b));
  renewComparisons();
  EXPECT_FALSE(valuesEqual(a, b));
}

// Pairs that were taken for equal on the way to a difference, each in a list of its own.
TEST(ValuesEqual, TakesBackWhatItAssumedOnTheWayToADifference) {
  const auto [a, b] = forged(20, number(1), number(2));
  const LispValue same = numbers(20, 1);
  const LispValue again = numbers(20, 1);
  const LispValue outer_a = list({a, same, list({same, a})});
  const LispValue outer_b = list({b, again, list({again, b})});
  ASSERT_EQ(listHash(outer_a.raw()), listHash(outer_b.raw()));
  for (int i = 0; i < 3; ++i) {
    EXPECT_FALSE(valuesEqual(outer_a, outer_b));
    EXPECT_FALSE(valuesEqual(outer_b, outer_a));
    EXPECT_FALSE(valuesEqual(a, b));
  }
  EXPECT_TRUE(valuesEqual(same, again));
  EXPECT_FALSE(valuesEqual(outer_a, outer_b));
  EXPECT_TRUE(valuesEqual(outer_a, list({a, again, list({again, a})})));
}

TEST(ValuesEqual, KnowsNoMoreThanTheElementsCompared) {
  // Equal last elements, different first ones, of chunks that grow after they were compared.
  LispValue a = read("(1 2 3 4 5 6 7 8 9 10)");
  LispValue b = read("(1 2 3 4 5 6 7 8 9 10)");
  const LispValue longer_a = cons(number(1), a);
  const LispValue longer_b = cons(number(2), b);
  EXPECT_TRUE(valuesEqual(a, b));
  EXPECT_FALSE(valuesEqual(longer_a, longer_b));
  EXPECT_TRUE(valuesEqual(rest(longer_a), rest(longer_b)));
  const LispValue longest_a = cons(number(5), longer_a);
  const LispValue longest_b = cons(number(5), longer_b);
  EXPECT_FALSE(valuesEqual(longest_a, longest_b));
  EXPECT_FALSE(valuesEqual(longer_a, longer_b));
  EXPECT_TRUE(valuesEqual(cons(number(2), a), longer_b));
}

TEST(ValuesEqual, RemembersAcrossThirdLists) {
  const LispValue a = numbers(30, 1);
  const LispValue b = numbers(30, 1);
  const LispValue d = numbers(30, 9);
  {
    const LispValue c = numbers(30, 1);
    EXPECT_TRUE(valuesEqual(a, c));
    EXPECT_TRUE(valuesEqual(c, b));
    EXPECT_FALSE(valuesEqual(c, d));
  }
  takeAllApart();  // What was learnt outlives the list that it was learnt through.
  EXPECT_TRUE(valuesEqual(a, b));
  EXPECT_FALSE(valuesEqual(a, d));
}

TEST(ValuesEqual, ComparesAMillionLevelsWithoutRecursion) {
  lisp_worker::testing_support::runOnSmallStack([] {
    const LispValue a = nest(number(1), 1'000'000);
    const LispValue b = nest(number(1), 1'000'000);
    const LispValue c = nest(number(2), 1'000'000);
    EXPECT_TRUE(valuesEqual(a, b));
    EXPECT_FALSE(valuesEqual(a, c));
    EXPECT_FALSE(valuesEqual(a, list({b})));
  });
  takeAllApart();
}

TEST(ValuesEqual, VisitsSharedStructureOnce) {
  const LispValue a = doubled(number(1), 60'000);
  const LispValue b = doubled(number(1), 60'000);
  const LispValue c = doubled(number(2), 60'000);
  expectAtOnce([&] {
    EXPECT_TRUE(valuesEqual(a, b));
    EXPECT_FALSE(valuesEqual(a, c));
    EXPECT_FALSE(valuesEqual(c, b));
  });
  takeAllApart();
}

TEST(ValuesEqual, DoesNotWalkEqualListsAgain) {
  const LispValue a = numbers(100'000, 1);
  const LispValue b = numbers(100'000, 1);
  const LispValue c = pieced(a);
  expectAtOnce([&] {
    for (int i = 0; i < 10'000; ++i) {
      ASSERT_TRUE(valuesEqual(a, b));
      ASSERT_TRUE(valuesEqual(rest(b), rest(c)));
      ASSERT_TRUE(valuesEqual(cons(number(i), a), cons(number(i), c)));
      ASSERT_TRUE(valuesEqual(list({a, b}), list({c, a})));
    }
  });
  takeAllApart();
}

TEST(ValuesEqual, DoesNotWalkDifferentListsAgain) {
  const LispValue a = numbers(100'000, 1);
  const LispValue b = numbers(100'000, 2);
  const LispValue equal = numbers(100'000, 1);
  expectAtOnce([&] {
    for (int i = 0; i < 10'000; ++i) {
      ASSERT_FALSE(valuesEqual(a, b));
      ASSERT_FALSE(valuesEqual(list({a, number(i)}), list({b, number(i)})));
      // The parts that are equal must not be walked for the sake of a part that is not.
      ASSERT_FALSE(valuesEqual(list({list({number(i)}), a}), list({list({number(-1)}), equal})));
    }
  });
  takeAllApart();
}

}  // namespace
}  // namespace lisp
