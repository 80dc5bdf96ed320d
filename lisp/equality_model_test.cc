// valuesEqual remembers what it has found equal, so one comparison can spoil the next. Here a pool
// of values that share their storage in every way that programs can bring about is compared again
// and again with a plain recursive equality beside it.

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <ostream>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "lisp/graveyard.h"
#include "lisp/list.h"
#include "lisp/value.h"
#include "testing/base/list_makers.h"
#include "testing/base/random.h"
#include "testing/base/value_text.h"

namespace lisp {
namespace {

using lisp_worker::testing_support::cons;
using lisp_worker::testing_support::Random;
using lisp_worker::testing_support::rest;
using lisp_worker::testing_support::textOf;

// The definition, word for word.
bool plainlyEqual(const LispValue& a, const LispValue& b) {
  if (a.kind() != b.kind()) return false;
  switch (a.kind()) {
    case ValueKind::Nil:
      return true;
    case ValueKind::Number:
      return *asNumber(a) == *asNumber(b);
    case ValueKind::String:
    case ValueKind::Symbol:
      return *asText(a) == *asText(b);
    case ValueKind::List:
      break;
  }
  const LispList x = *asList(a);
  const LispList y = *asList(b);
  if (x.size() != y.size()) return false;
  for (std::uint32_t i = 0; i < x.size(); ++i) {
    if (!plainlyEqual(x[i], y[i])) return false;
  }
  return true;
}

std::size_t leavesOf(const LispValue& value) {
  if (value.kind() != ValueKind::List) return 1;
  std::size_t leaves = 1;
  const LispList elements = *asList(value);
  for (const LispValue& element : elements) leaves += leavesOf(element);
  return leaves;
}

constexpr std::size_t kLeavesMax = 400;  // Bounds what the plain equality visits.

// The settings of one round: how its pool is made and used.
struct Mix {
  std::size_t pool_size;
  std::size_t atoms;          // Different numbers; few make many equal lists.
  std::size_t part_nested;    // Of 8 elements, how many are themselves from the pool.
  std::size_t length_max;     // Of the lists that are made at once.
  std::size_t compares;       // For each change.
  bool with_special_numbers;  // NaN and -0.0.

  friend void PrintTo(const Mix& mix, std::ostream* out) {
    *out << mix.pool_size << " values, " << mix.atoms << " atoms, " << mix.part_nested
         << "/8 nested, length " << mix.length_max;
  }
};

class Pool {
 public:
  Pool(std::uint64_t seed, const Mix& mix) : random_(seed), mix_(mix) {
    for (std::size_t i = 0; i < mix.pool_size; ++i) values_.push_back(list({atom()}));
  }

  void change() {
    LispValue made = make();
    if (leavesOf(made) > kLeavesMax) made = list({atom()});
    values_[random_.below(values_.size())] = std::move(made);
  }

  void compare() {
    LispValue a = random_.pick(values_);
    LispValue b = random_.pick(values_);
    // Lists of one length end in the same way more often than whole lists are equal.
    if (random_.chance(1, 2)) trimToOneLength(a, b);
    if (random_.chance(1, 8)) {
      const LispValue other = element();
      a = cons(other, a);
      b = cons(other, b);
    }
    const bool expected = plainlyEqual(a, b);
    ++(expected ? equal_count_ : different_count_);
    ASSERT_EQ(valuesEqual(a, b), expected) << textOf(a) << '\n' << textOf(b);
    ASSERT_EQ(valuesEqual(b, a), expected) << textOf(b) << '\n' << textOf(a);
  }

  [[nodiscard]] std::size_t equalCount() const { return equal_count_; }
  [[nodiscard]] std::size_t differentCount() const { return different_count_; }

 private:
  LispValue atom() {
    if (mix_.with_special_numbers && random_.chance(1, 12)) {
      static constexpr double kSpecial[] = {-0.0, 0.0, std::numeric_limits<double>::quiet_NaN()};
      return number(random_.pick(kSpecial));
    }
    const std::size_t atom = random_.below(mix_.atoms);
    switch (random_.below(12)) {
      case 0:
        return nil();
      case 1:
        return string(std::to_string(atom));
      case 2:
        return list({});
      default:
        return number(static_cast<double>(atom));
    }
  }

  LispValue element() {
    return random_.chance(mix_.part_nested, 8) ? random_.pick(values_) : atom();
  }

  LispValue make() {
    const LispValue& base = random_.pick(values_);
    switch (random_.below(8)) {
      case 0:
      case 1: {
        LispValue value = base;
        for (std::size_t i = random_.below(6) + 1; i > 0; --i) value = cons(element(), value);
        return value;
      }
      case 2: {
        LispValue value = base;
        for (std::size_t i = random_.below(4) + 1; i > 0; --i) {
          if (asList(value)->empty()) break;
          value = rest(value);
        }
        return value;
      }
      case 3: {
        std::vector<LispValue> elements(random_.below(mix_.length_max + 1));
        for (LispValue& made : elements) made = element();
        return list(elements);
      }
      case 4:  // The same elements in a chunk of their own.
        return list(std::vector<LispValue>(asList(base)->begin(), asList(base)->end()));
      case 5:
      case 6:  // The same again, from the leaves up.
        return rebuild(base);
      default: {  // The same but for one element.
        std::vector<LispValue> elements(asList(base)->begin(), asList(base)->end());
        if (!elements.empty()) elements[random_.below(elements.size())] = element();
        return list(elements);
      }
    }
  }

  // An equal value that shares nothing, in chunks of other lengths.
  LispValue rebuild(const LispValue& value) {
    if (value.kind() != ValueKind::List) return value;
    std::vector<LispValue> elements;
    const LispList list_elements = *asList(value);
    for (const LispValue& element : list_elements) elements.push_back(rebuild(element));
    const std::size_t flat = elements.size() - random_.below(elements.size() + 1);
    LispValue made = list(std::span(elements).last(flat));
    for (std::size_t i = elements.size() - flat; i > 0;) {
      --i;
      if (random_.chance(1, 4)) static_cast<void>(cons(nil(), made));  // Takes the slot in front.
      made = cons(elements[i], made);
    }
    return made;
  }

  void trimToOneLength(LispValue& a, LispValue& b) {
    while (asList(a)->size() > asList(b)->size()) a = rest(a);
    while (asList(b)->size() > asList(a)->size()) b = rest(b);
  }

  Random random_;
  Mix mix_;
  std::vector<LispValue> values_;
  std::size_t equal_count_ = 0;
  std::size_t different_count_ = 0;
};

class EqualityModel : public testing::TestWithParam<Mix> {};

TEST_P(EqualityModel, AgreesWithPlainRecursion) {
  takeAllApart();
  const std::size_t chunks = chunkCount();
  std::size_t equal_count = 0;
  std::size_t different_count = 0;
  for (std::uint64_t seed = 1; seed <= 12; ++seed) {
    Pool pool(seed, GetParam());
    for (int round = 0; round < 1000; ++round) {
      pool.change();
      for (std::size_t i = 0; i < GetParam().compares; ++i) {
        pool.compare();
        if (HasFatalFailure()) FAIL() << "seed " << seed << ", round " << round;
      }
    }
    equal_count += pool.equalCount();
    different_count += pool.differentCount();
  }
  // Both answers must come often enough to mean something.
  EXPECT_GT(equal_count, 500u);
  EXPECT_GT(different_count, 500u);
  takeAllApart();
  EXPECT_EQ(chunkCount(), chunks);
}

INSTANTIATE_TEST_SUITE_P(
    OfPools, EqualityModel,
    testing::Values(Mix{6, 1, 2, 12, 3, false},   // Nearly everything is equal.
                    Mix{12, 1, 0, 30, 4, false},  // Flat lists of one number and other lengths.
                    Mix{10, 2, 3, 10, 3, false},  // Much nesting.
                    Mix{30, 2, 1, 14, 6, false},  // A large pool that changes slowly.
                    Mix{8, 2, 2, 12, 2, true},    // NaN comes and goes.
                    Mix{16, 3, 4, 9, 1, true}));  // Nested half and half.

}  // namespace
}  // namespace lisp
