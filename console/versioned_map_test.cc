#include "console/versioned_map.h"

#include <gtest/gtest.h>

#include <map>
#include <tuple>
#include <utility>
#include <vector>

#include "testing/base/random.h"

namespace lisp_worker::console {
namespace {

using Map = VersionedMap<int>;
using Model = std::map<std::uint64_t, int>;

Model contentOf(const Map& map) {
  Model content;
  for (Map::Entry entry = map.firstFrom(0); entry.value != nullptr;
       entry = map.firstFrom(entry.key + 1)) {
    content[entry.key] = *entry.value;
  }
  return content;
}

using Difference = std::tuple<std::uint64_t, int, int>;  // Key, before and after; 0 is none.

std::vector<Difference> differences(const Map& before, const Map& after) {
  std::vector<Difference> all;
  Map::compare(before, after, [&all](std::uint64_t key, const int* earlier, const int* later) {
    const int was = earlier == nullptr ? 0 : *earlier;
    const int is = later == nullptr ? 0 : *later;
    if (was != is) all.emplace_back(key, was, is);
  });
  return all;
}

TEST(VersionedMap, IsEmptyAtFirst) {
  const Map map;
  EXPECT_EQ(map.size(), 0u);
  EXPECT_EQ(map.find(0), nullptr);
  EXPECT_EQ(map.firstFrom(0).value, nullptr);
  EXPECT_EQ(map.last().value, nullptr);
}

TEST(VersionedMap, FindsKeysFarApart) {
  Map map;
  const std::uint64_t keys[] = {0, 31, 32, 1023, 1024, 1'000'000'000'000, Map::kKeyEnd - 1};
  int value = 0;
  for (const std::uint64_t key : keys) map.set(key, ++value);
  EXPECT_EQ(map.size(), 7u);
  value = 0;
  for (const std::uint64_t key : keys) {
    ASSERT_NE(map.find(key), nullptr) << key;
    EXPECT_EQ(*map.find(key), ++value);
    EXPECT_EQ(map.firstFrom(key).key, key);
  }
  EXPECT_EQ(map.find(33), nullptr);
  EXPECT_EQ(map.firstFrom(33).key, 1023u);
  EXPECT_EQ(map.firstFrom(1025).key, 1'000'000'000'000u);
  EXPECT_EQ(map.last().key, Map::kKeyEnd - 1);
}

// Changes and copies at random, beside a map of the standard library for every copy.
TEST(VersionedMap, KeepsEveryVersionApart) {
  testing_support::Random random(7);
  for (const std::uint64_t key_end : {40u, 2000u, 3'000'000u}) {
    std::vector<std::pair<Map, Model>> versions(1);
    for (int n = 1; n <= 4000; ++n) {
      auto& [map, model] = versions[random.below(versions.size())];
      const std::uint64_t key = random.below(key_end);
      if (random.chance(1, 3)) {
        map.erase(key);
        model.erase(key);
      } else {
        map.set(key, n);
        model[key] = n;
      }
      EXPECT_EQ(map.size(), model.size());
      EXPECT_EQ(map.last().key, model.empty() ? Map::kKeyEnd : model.rbegin()->first);
      if (n % 100 == 0 && versions.size() < 8) versions.emplace_back(map, model);
    }
    for (const auto& [map, model] : versions) {
      EXPECT_EQ(contentOf(map), model);
      for (const auto& [other, other_model] : versions) {
        std::vector<Difference> expected;
        for (std::uint64_t key = 0; key < std::min<std::uint64_t>(key_end, 3000); ++key) {
          const auto was = model.find(key);
          const auto is = other_model.find(key);
          const int earlier = was == model.end() ? 0 : was->second;
          const int later = is == other_model.end() ? 0 : is->second;
          if (earlier != later) expected.emplace_back(key, earlier, later);
        }
        auto found = differences(map, other);
        std::erase_if(found, [](const Difference& each) { return std::get<0>(each) >= 3000; });
        EXPECT_EQ(found, expected);
      }
    }
  }
}

// Of two versions, only the nodes on the way to what has changed are looked at.
TEST(VersionedMap, ComparesWhatHasChangedOnly) {
  Map before;
  for (std::uint64_t key = 0; key < 40000; ++key) before.set(key, 1);
  Map after = before;
  after.set(20000, 2);
  after.set(50000, 3);
  int visited = 0;
  Map::compare(before, after, [&visited](std::uint64_t, const int*, const int*) { ++visited; });
  EXPECT_LE(visited, 64);
  EXPECT_EQ(differences(before, after), (std::vector<Difference>{{20000, 1, 2}, {50000, 0, 3}}));
}

}  // namespace
}  // namespace lisp_worker::console
