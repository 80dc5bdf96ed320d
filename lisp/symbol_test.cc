#include "lisp/symbol.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "lisp/graveyard.h"
#include "lisp/value.h"
#include "testing/base/list_makers.h"
#include "testing/base/random.h"

namespace lisp {
namespace {

TEST(InternSymbol, GivesEqualNamesOneRecord) {
  const LispValue a = symbol("SOME-NAME");
  const LispValue b = symbol(std::string("SOME-") + "NAME");
  EXPECT_EQ(a.raw().record, b.raw().record);
  for (const char* const other : {"some-name", "SOME-NAM", "SOME-NAMEE", "", " SOME-NAME"}) {
    EXPECT_NE(a.raw().record, symbol(other).raw().record) << other;
  }
}

TEST(InternSymbol, ComparesEveryByteOfNamesOfEachLength) {
  for (std::size_t size = 1; size <= 40; ++size) {
    const std::string name(size, 'N');
    const LispValue original = symbol(name);
    for (std::size_t i = 0; i < size; ++i) {
      std::string other = name;
      other[i] = '\0';
      const LispValue different = symbol(other);
      EXPECT_NE(original.raw().record, different.raw().record) << size << ", byte " << i;
      EXPECT_EQ(asText(different), other);
    }
  }
}

// The hash decides where a name is looked for, the bytes which name it is. No program can choose
// names of one hash, which is keyed with a secret: here one gets the hash of another.
TEST(InternSymbol, TellsNamesOfOneHashApart) {
  // Among so many names, some are looked for in one place however large the table is here.
  constexpr int kNames = 10000;
  constexpr std::uint64_t kPlaceMask = 0xFFFFF;
  lisp_worker::testing_support::Random random(1);
  std::map<std::uint64_t, LispValue> by_place;
  LispValue forged = nil();
  std::string other;
  std::uint64_t hash = 0;
  for (int i = 0; i < kNames && other.empty(); ++i) {
    const std::string name = std::to_string(random.bits());
    const LispValue candidate = symbol(name);
    const auto [place, is_new] =
        by_place.emplace(symbolOf(candidate.raw()).hash & kPlaceMask, candidate);
    if (is_new) continue;
    forged = place->second;
    other = name;
    hash = symbolOf(candidate.raw()).hash;
  }
  ASSERT_NE(other, "");
  const std::uint64_t own_hash = std::exchange(symbolOf(forged.raw()).hash, hash);
  const LispValue different = symbol(other);
  EXPECT_NE(different.raw().record, forged.raw().record);
  EXPECT_EQ(asText(different), other);
  EXPECT_EQ(symbolOf(different.raw()).hash, hash);
  symbolOf(forged.raw()).hash = own_hash;
}

TEST(InternText, KeepsTextsAndNamesApart) {
  const LispValue text = string("SAME");
  const LispValue name = symbol("SAME");
  EXPECT_EQ(text.raw().record, string("SAME").raw().record);
  EXPECT_NE(text.raw().record, name.raw().record);
}

TEST(InternSymbol, GivesARecordBackWithItsLastReference) {
  takeAllApart();
  const std::size_t symbols = symbolCount();
  const std::size_t texts = textCount();
  {
    const LispValue a = symbol("ONLY-HERE");
    const LispValue again = a;
    const LispValue b = string("only here");
    EXPECT_EQ(symbolCount(), symbols + 1);
    EXPECT_EQ(textCount(), texts + 1);
    {
      const LispValue once_more = symbol("ONLY-HERE");
      EXPECT_EQ(symbolCount(), symbols + 1);
    }
    EXPECT_EQ(symbolCount(), symbols + 1);
  }
  EXPECT_EQ(symbolCount(), symbols);
  EXPECT_EQ(textCount(), texts);
}

TEST(InternSymbol, FindsEachOfManyNames) {
  constexpr int kNames = 20000;  // Several times the buckets that the table begins with.
  takeAllApart();
  const std::size_t symbols = symbolCount();
  {
    std::vector<LispValue> values;
    for (int i = 0; i < kNames; ++i) values.push_back(symbol("NAME-" + std::to_string(i)));
    EXPECT_EQ(symbolCount(), symbols + kNames);
    // Half of them go, in an order that is not that of their making.
    for (int i = kNames - 1; i > 0; i -= 2) values[static_cast<std::size_t>(i)] = nil();
    EXPECT_EQ(symbolCount(), symbols + kNames / 2);
    for (int i = 0; i < kNames; i += 2) {
      const LispValue again = symbol("NAME-" + std::to_string(i));
      ASSERT_EQ(again.raw().record, values[static_cast<std::size_t>(i)].raw().record) << i;
    }
    EXPECT_EQ(symbolCount(), symbols + kNames / 2);
  }
  EXPECT_EQ(symbolCount(), symbols);
}

TEST(InternSymbol, TakesAMillionBytes) {
  const std::string name(1'000'000, 'N');
  const LispValue a = symbol(name);
  EXPECT_EQ(a.raw().record, symbol(name).raw().record);
  EXPECT_EQ(asText(a), name);
  EXPECT_NE(a.raw().record, symbol(name + "N").raw().record);
}

TEST(InternSymbol, StartsARecordAtRest) {
  const LispValue value = symbol("FRESH-NAME");
  const Symbol& record = symbolOf(value.raw());
  EXPECT_EQ(record.value.tag(), Tag::NotLoaded);
  EXPECT_EQ(record.owner, kGlobalOwner);
  EXPECT_EQ(record.operation, Operation::Unresolved);
  EXPECT_EQ(record.base_operation, Operation::Unknown);
  EXPECT_EQ(record.environment_index, kNoEnvironmentIndex);
}

TEST(AssignEnvironmentIndex, GivesEachRecordItsOwnPlaceUntilItGoes) {
  LispValue a = symbol("PLACED-A");
  const LispValue b = symbol("PLACED-B");
  assignEnvironmentIndex(symbolOf(a.raw()));
  assignEnvironmentIndex(symbolOf(b.raw()));
  const std::uint32_t index = symbolOf(a.raw()).environment_index;
  EXPECT_NE(index, kNoEnvironmentIndex);
  EXPECT_NE(index, symbolOf(b.raw()).environment_index);
  assignEnvironmentIndex(symbolOf(a.raw()));
  EXPECT_EQ(symbolOf(a.raw()).environment_index, index);
  a = nil();
  const LispValue c = symbol("PLACED-C");
  assignEnvironmentIndex(symbolOf(c.raw()));
  EXPECT_EQ(symbolOf(c.raw()).environment_index, index);
}

TEST(StandingSymbols, AreTheTruthAndTheMarkOfSelectionSets) {
  EXPECT_EQ(kTruthSymbol->bytes(), "T");
  EXPECT_EQ(truth().raw().record, kTruthSymbol);
  EXPECT_EQ(symbol("T").raw().record, kTruthSymbol);
  EXPECT_EQ(kSelectionSetSymbol->bytes(), "$KVSEL");
  EXPECT_EQ(symbol("$KVSEL").raw().record, kSelectionSetSymbol);
}

TEST(InternSymbol, KnowsShortNamesWhicheverWereAskedForLast) {
  takeAllApart();
  const std::size_t symbols = symbolCount();
  constexpr int kCount = 3000;  // Many times as many as are at hand.
  const auto nameOf = [](int i) { return "Q" + std::to_string(i); };
  for (int round = 0; round < 2; ++round) {
    std::vector<LispValue> held;
    for (int i = 0; i < kCount; ++i) held.push_back(symbol(nameOf(i)));
    EXPECT_EQ(symbolCount(), symbols + kCount);
    for (int i = 0; i < kCount; ++i) {
      EXPECT_EQ(asText(held[i]), nameOf(i));
      EXPECT_EQ(symbol(nameOf(i)).raw().record, held[i].raw().record) << i;
    }
    held.clear();
    EXPECT_EQ(symbolCount(), symbols);
  }
}

}  // namespace
}  // namespace lisp
