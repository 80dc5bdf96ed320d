#include "lisp/growing_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "testing/base/random.h"

namespace lisp {
namespace {

struct Entry {
  std::uint64_t hash = 0;
  Entry* next = nullptr;
};

bool isThere(const GrowingTable<Entry>& table, const Entry& entry) {
  const Entry* found = table.firstOf(entry.hash);
  while (found != nullptr && found != &entry) found = found->next;
  return found != nullptr;
}

std::vector<Entry> entriesWithHashes(std::size_t count, std::uint64_t hashes) {
  lisp_worker::testing_support::Random random(1);
  std::vector<Entry> entries(count);
  for (Entry& entry : entries) entry.hash = random.below(hashes);
  return entries;
}

TEST(GrowingTable, FindsEverythingAfterEveryInsertion) {
  GrowingTable<Entry> table;
  std::vector<Entry> entries = entriesWithHashes(1500, 1 << 20);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    EXPECT_FALSE(isThere(table, entries[i]));
    table.insert(&entries[i]);
    ASSERT_EQ(table.size(), i + 1);
    for (std::size_t k = 0; k <= i; ++k) ASSERT_TRUE(isThere(table, entries[k])) << k;
  }
}

TEST(GrowingTable, FindsWhatIsLeftAfterEveryRemoval) {
  GrowingTable<Entry> table;
  std::vector<Entry> entries = entriesWithHashes(1500, 1 << 20);
  for (Entry& entry : entries) table.insert(&entry);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    table.remove(&entries[i]);
    EXPECT_FALSE(isThere(table, entries[i]));
    for (std::size_t k = i + 1; k < entries.size(); ++k) {
      ASSERT_TRUE(isThere(table, entries[k])) << k;
    }
  }
  EXPECT_EQ(table.size(), 0U);
}

TEST(GrowingTable, VisitsEachRecordOnce) {
  GrowingTable<Entry> table;
  std::vector<Entry> entries = entriesWithHashes(1000, 300);  // With many equal hashes.
  for (Entry& entry : entries) table.insert(&entry);
  std::vector<const Entry*> visited;
  table.forEach([&](Entry* entry) {
    visited.push_back(entry);
    entry->next = nullptr;
  });
  std::sort(visited.begin(), visited.end());
  ASSERT_EQ(visited.size(), entries.size());
  for (std::size_t i = 0; i < entries.size(); ++i) EXPECT_EQ(visited[i], &entries[i]);
}

// One record a bucket at most on average, and one to four buckets a record at rest; never more than
// a segment at once.
TEST(GrowingTable, GrowsAndShrinksInSmallParts) {
  constexpr std::size_t kStepMax = 64;
  GrowingTable<Entry> table;
  const std::size_t count_before = table.bucketCount();
  std::vector<Entry> entries = entriesWithHashes(100000, std::uint64_t{1} << 60);
  for (Entry& entry : entries) {
    const std::size_t count = table.bucketCount();
    table.insert(&entry);
    ASSERT_LE(table.bucketCount() - count, kStepMax);
    ASSERT_LE(table.size(), table.bucketCount());
  }
  EXPECT_LE(table.bucketCount(), entries.size() + kStepMax);
  for (Entry& entry : entries) {
    const std::size_t count = table.bucketCount();
    table.remove(&entry);
    ASSERT_LE(count - table.bucketCount(), kStepMax);
    ASSERT_LE(table.bucketCount(), std::max(count_before, 4 * table.size() + 2 * kStepMax));
  }
  EXPECT_EQ(table.bucketCount(), count_before);
}

}  // namespace
}  // namespace lisp
