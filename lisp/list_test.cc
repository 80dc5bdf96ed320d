#include "lisp/list.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "lisp/graveyard.h"
#include "lisp/list_hash.h"
#include "lisp/symbol.h"
#include "testing/base/list_makers.h"
#include "testing/base/random.h"
#include "testing/base/small_stack.h"
#include "testing/base/value_text.h"

namespace lisp {
namespace {

using lisp_worker::testing_support::cons;
using lisp_worker::testing_support::nest;
using lisp_worker::testing_support::Random;
using lisp_worker::testing_support::read;
using lisp_worker::testing_support::rest;
using lisp_worker::testing_support::textOf;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

bool holdsNan(const LispValue& value) { return listHoldsNan(value.raw()); }

TEST(MakeList, TakesTheElementsOver) {
  takeAllApart();
  const std::size_t text_count = textCount();
  std::vector<RawValue> elements = {number(1).take(), string("over").take()};
  {
    const LispValue value = LispValue::adopt(makeList(elements.data(), elements.size()));
    EXPECT_EQ(textOf(value), "(1 \"over\")");
  }
  takeAllApart();
  EXPECT_EQ(textCount(), text_count);
}

TEST(MakeList, OfNothingIsTheEmptyListAndNotNil) {
  EXPECT_EQ(textOf(LispValue::adopt(makeList(nullptr, 0))), "()");
  EXPECT_EQ(textOf(LispValue::adopt(emptyList())), "()");
  EXPECT_EQ(LispValue::adopt(emptyList()).kind(), ValueKind::List);
}

TEST(Prepend, PutsAnElementInFront) {
  EXPECT_EQ(textOf(cons(number(1), read("()"))), "(1)");
  EXPECT_EQ(textOf(cons(number(1), read("(2 3)"))), "(1 2 3)");
  EXPECT_EQ(textOf(cons(read("(1)"), read("(2)"))), "((1) 2)");
  EXPECT_EQ(textOf(cons(nil(), cons(read("()"), read("(nil)")))), "(nil () nil)");
}

TEST(Prepend, LeavesTheListAsItWas) {
  const LispValue original = read("(1 2)");
  const LispValue a = cons(string("a"), original);
  const LispValue aa = cons(string("aa"), a);
  const LispValue b = cons(string("b"), original);
  const LispValue ba = cons(string("ba"), a);  // The free slot in front of `a` is taken by `aa`.
  EXPECT_EQ(textOf(original), "(1 2)");
  EXPECT_EQ(textOf(a), "(\"a\" 1 2)");
  EXPECT_EQ(textOf(aa), "(\"aa\" \"a\" 1 2)");
  EXPECT_EQ(textOf(b), "(\"b\" 1 2)");
  EXPECT_EQ(textOf(ba), "(\"ba\" \"a\" 1 2)");
}

TEST(DropFirst, LeavesTheElementsAfterTheFirst) {
  EXPECT_EQ(textOf(rest(read("(1)"))), "()");
  EXPECT_EQ(textOf(rest(read("(1 2 3)"))), "(2 3)");
  const LispValue pieced = cons(number(1), cons(number(2), read("(3)")));
  EXPECT_EQ(textOf(rest(pieced)), "(2 3)");
  EXPECT_EQ(textOf(rest(rest(pieced))), "(3)");
  EXPECT_EQ(textOf(rest(rest(rest(pieced)))), "()");
  EXPECT_EQ(textOf(pieced), "(1 2 3)");
}

TEST(DropFirst, ThenPrependReplacesTheFirstElement) {
  const LispValue original = cons(number(1), cons(number(2), read("(3 4)")));
  LispValue changed = original;
  for (int i = 0; i < 100; ++i) changed = cons(number(i), rest(changed));
  EXPECT_EQ(textOf(changed), "(99 2 3 4)");
  EXPECT_EQ(textOf(original), "(1 2 3 4)");
  changed = cons(number(8), rest(rest(rest(changed))));
  EXPECT_EQ(textOf(changed), "(8 4)");
}

TEST(ListHoldsNan, LooksAtTheElementsInView) {
  EXPECT_FALSE(holdsNan(read("()")));
  EXPECT_FALSE(holdsNan(read("(1 \"nan\" NAN)")));
  EXPECT_TRUE(holdsNan(list({number(1), number(kNan), number(2)})));
  EXPECT_TRUE(holdsNan(list({number(1), list({number(-kNan)})})));
  EXPECT_TRUE(holdsNan(nest(number(kNan), 1000)));

  const LispValue first_two = list({number(kNan), number(kNan), number(3)});
  EXPECT_TRUE(holdsNan(rest(first_two)));
  EXPECT_FALSE(holdsNan(rest(rest(first_two))));
}

TEST(ListHoldsNan, LooksThroughRunsThatAreShared) {
  const LispValue plain = read("(1 2)");
  const LispValue a = cons(number(0), plain);
  const LispValue with_nan = cons(number(kNan), a);  // Shares the chunk of `a`.
  EXPECT_FALSE(holdsNan(a));
  EXPECT_TRUE(holdsNan(with_nan));
  EXPECT_TRUE(holdsNan(cons(number(1), with_nan)));
  EXPECT_FALSE(holdsNan(rest(with_nan)));
  EXPECT_FALSE(holdsNan(cons(number(1), rest(with_nan))));
  // A tail whose NaN stands in front of the shared part.
  const LispValue tail = list({number(kNan), number(2), number(3)});
  EXPECT_FALSE(holdsNan(cons(number(1), rest(tail))));
  EXPECT_TRUE(holdsNan(cons(number(1), tail)));
}

TEST(RunCount, ReturnsToItsStartWhenValuesGo) {
  takeAllApart();
  const std::size_t chunks = chunkCount();
  {
    LispValue value = read("(1 (2 (3)) ((4)))");
    for (int i = 0; i < 1000; ++i) value = cons(value, rest(value));
    EXPECT_GT(chunkCount(), chunks);
  }
  takeAllApart();
  EXPECT_EQ(chunkCount(), chunks);
}

// An element that shares the chunk in front of which it is put must not stand in that chunk.
TEST(RunCount, ReturnsToItsStartWhenListsHoldThemselves) {
  takeAllApart();
  const std::size_t chunks = chunkCount();
  {
    const LispValue begin = cons(number(0), cons(number(1), read("(2 3 4)")));
    LispValue a = begin, b = begin, c = begin, d = begin, e = begin;
    for (int i = 0; i < 100; ++i) {
      a = cons(a, a);
      b = cons(list({b}), b);
      c = cons(cons(number(i), c), c);
      d = cons(rest(list({list({d}), nil()})), d);  // Its chunk holds what is not in view.
      e = cons(nil(), cons(list({number(1), list({nil(), e})}), e));
    }
    EXPECT_EQ(asList(a)->size(), 105u);
    EXPECT_EQ(asList(*(asList(a)->begin()))->size(), 104u);
  }
  takeAllApart();
  EXPECT_EQ(chunkCount(), chunks);
}

TEST(Decompose, TakesAsManyUnitsAsItIsGiven) {
  takeAllApart();
  const std::size_t chunks = chunkCount();
  { const LispValue value = list(std::vector<LispValue>(100, nil())); }
  EXPECT_EQ(chunkCount(), chunks + 1);
  takeChunksApart(100);  // 100 elements and the head are 101 units.
  EXPECT_EQ(chunkCount(), chunks + 1);
  takeChunksApart(2);
  EXPECT_EQ(chunkCount(), chunks);
  takeChunksApart(1000);
  EXPECT_EQ(chunkCount(), chunks);
}

TEST(Decompose, CountsTheLastHoldOnANameAsSeventeenUnits) {
  takeAllApart();
  const std::size_t names = symbolCount();
  std::vector<LispValue> elements;
  for (int i = 0; i < 100; ++i) elements.push_back(symbol("NAME-" + std::to_string(i)));
  const LispValue held = elements.front();
  { const LispValue value = list(std::move(elements)); }
  elements.clear();
  ASSERT_EQ(symbolCount(), names + 100);
  takeChunksApart(90, kRecordUnits);
  EXPECT_LE(symbolCount(), names + 96);
  EXPECT_GE(symbolCount(), names + 91);
  takeAllApart();
  EXPECT_EQ(symbolCount(), names + 1);
}

// Each of many small allocations may take one name apart; together they take no more than one
// large.
TEST(Decompose, OwesWhatANameCostsBeyondItsUnits) {
  takeAllApart();
  const std::size_t names = symbolCount();
  std::vector<LispValue> elements;
  for (int i = 0; i < 1000; ++i) elements.push_back(symbol("NAME-" + std::to_string(i)));
  { const LispValue value = list(elements); }
  elements.clear();
  for (int i = 0; i < 850; ++i) takeChunksApart(4, kRecordUnits);
  EXPECT_LE(symbolCount(), names + 804);  // 850 * 4 / 17 = 200 of them are gone.
  EXPECT_GE(symbolCount(), names + 790);
  takeAllApart();
}

// A program that makes names and drops them does not come to hold ever more.
TEST(Decompose, KeepsDeadNamesFromPilingUp) {
  takeAllApart();
  const std::size_t names = symbolCount();
  for (int round = 0; round < 200; ++round) {
    renewHaste(0);
    std::vector<LispValue> elements;
    for (int i = 0; i < 100; ++i) {
      elements.push_back(symbol("NAME-" + std::to_string(round) + "-" + std::to_string(i)));
    }
    const LispValue value = list(elements);
    elements.clear();
    ASSERT_LT(symbolCount(), names + 1000) << round;
  }
  renewHaste();
}

TEST(Decompose, KeepsTheDeadFromPilingUp) {
  takeAllApart();
  const std::size_t chunks = chunkCount();
  const LispValue element = string("held");
  for (int i = 0; i < 10000; ++i) {
    LispValue value = list({element, element, list({element})});
    value = cons(element, value);
    ASSERT_LT(chunkCount(), chunks + 20);
  }
  takeAllApart();
  EXPECT_EQ(chunkCount(), chunks);
}

TEST(Decompose, TakesDeepAndLongStructuresApartWithoutRecursion) {
  lisp_worker::testing_support::runOnSmallStack([] {
    takeAllApart();
    const std::size_t chunks = chunkCount();
    {
      const LispValue deep = nest(nil(), 1'000'000);
      LispValue chain = read("(0 0)");
      // Each list begins in a chunk of its own, because the slot before its tail is taken.
      for (int i = 0; i < 100'000; ++i) {
        const LispValue taken = cons(nil(), chain);
        chain = cons(number(i), chain);
      }
      const LispValue copy = deep;
      EXPECT_EQ(asList(copy)->size(), 1u);
    }
    takeAllApart();
    EXPECT_EQ(chunkCount(), chunks);
  });
}

TEST(Prepend, OntoALongListCostsTheSameEachTime) {
  takeAllApart();
  const LispValue base = list(std::vector<LispValue>(100'000, number(7)));
  std::vector<LispValue> results;
  for (int i = 0; i < 50'000; ++i) results.push_back(cons(number(i), base));
  for (std::uint32_t i = 0; i < 50'000; i += 9'999) {
    const LispList elements = asList(results[i]).value();
    ASSERT_EQ(elements.size(), 100'001u);
    EXPECT_EQ(asNumber(elements[0]), i);
    EXPECT_EQ(asNumber(elements[1]), 7.0);
    EXPECT_EQ(asNumber(elements[100'000]), 7.0);
  }
  results.clear();
  takeAllApart();
}

// Steps of findChunk would show as time: 50,000 chunks, each element looked up by its index.
TEST(LispList, FindsElementsOfAListOfManyRunsByIndex) {
  std::vector<LispValue> taken;
  LispValue value = read("(0)");
  for (int i = 1; i < 50'000; ++i) {
    taken.push_back(cons(nil(), value));
    value = cons(number(i), value);
  }
  const LispList elements = asList(value).value();
  for (std::uint32_t i = 0; i < 50'000; ++i) ASSERT_EQ(asNumber(elements[i]), 49'999.0 - i);
}

// The lists of a pool, each beside a vector that shows what it must hold.
struct Modelled {
  LispValue value;
  std::vector<int> model;  // Back to front.
};

void expectSame(const Modelled& modelled, Random& random) {
  const LispList elements = asList(modelled.value).value();
  const std::size_t size = modelled.model.size();
  ASSERT_EQ(elements.size(), size);
  if (size > 0) {
    const std::size_t index = random.below(size);
    ASSERT_EQ(asNumber(elements[static_cast<std::uint32_t>(index)]),
              modelled.model[size - 1 - index]);
  }
  if (!random.chance(1, 16)) return;
  std::size_t index = size;
  for (const LispValue& element : elements) ASSERT_EQ(asNumber(element), modelled.model[--index]);
  ASSERT_EQ(index, 0u);
}

// The same list with some elements put in front or taken from there; sometimes as a flat one.
Modelled changed(Modelled made, int number_in_front, Random& random) {
  const std::size_t repeats = random.chance(1, 4) ? random.below(40) : 1;
  const bool grow = random.chance(5, 9);
  for (std::size_t i = 0; i < repeats; ++i) {
    if (grow || made.model.empty()) {
      made.model.push_back(number_in_front);
      made.value = cons(number(number_in_front), made.value);
    } else {
      made.model.pop_back();
      made.value = rest(made.value);
    }
  }
  if (random.chance(1, 50)) {
    const LispList elements = asList(made.value).value();
    made.value = list(std::vector<LispValue>(elements.begin(), elements.end()));
  }
  return made;
}

TEST(LispList, AgreesWithVectorsUnderRandomConsAndCdr) {
  takeAllApart();
  const std::size_t chunks = chunkCount();
  for (std::uint64_t seed = 1; seed <= 8; ++seed) {
    Random random(seed);
    std::vector<Modelled> pool(12, {list({}), {}});
    for (int round = 0; round < 20'000; ++round) {
      Modelled made = changed(random.pick(pool), round, random);
      ASSERT_NO_FATAL_FAILURE(expectSame(made, random));
      Modelled& replaced = pool[random.below(pool.size())];
      replaced = std::move(made);
      ASSERT_NO_FATAL_FAILURE(expectSame(random.pick(pool), random));
    }
  }
  takeAllApart();
  EXPECT_EQ(chunkCount(), chunks);
}

}  // namespace
}  // namespace lisp
