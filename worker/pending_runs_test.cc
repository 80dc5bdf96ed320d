#include "worker/pending_runs.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "lisp/wrapping.h"

namespace lisp_worker::worker {
namespace {

constexpr std::uint64_t kLast = std::numeric_limits<std::uint64_t>::max();

PendingRun runOf(std::uint64_t run_id, const std::string& call) {
  PendingRun run;
  run.run_id = run_id;
  run.pending_call.name = call;
  return run;
}

LISP_WRAPS std::uint64_t fnv1a(std::uint64_t run_id) {
  std::uint64_t hash = 14695981039346656037U;
  for (int i = 0; i < 8; ++i, run_id /= 256) hash = (hash ^ run_id % 256) * 1099511628211U;
  return hash;
}

// FNV-1a over the bytes of the id, as its authors publish it: these are the hashes of the byte
// strings "\0\0\0\0\0\0\0\0" and "a\0\0\0\0\0\0\0" and of eight bytes that are all different.
TEST(HashRunId, IsFnv1aOverTheBytesOfTheId) {
  for (const std::uint64_t run_id : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{'a'},
                                     std::uint64_t{0x0102030405060708}, kLast}) {
    EXPECT_EQ(hashRunId(run_id), fnv1a(run_id)) << run_id;
  }
  EXPECT_EQ(hashRunId(0), 0xa8c7f832281a39c5U);
}

TEST(AllocateRunId, CountsFromOne) {
  PendingRunTable table;
  EXPECT_EQ(table.allocateRunId(), 1u);
  EXPECT_EQ(table.allocateRunId(), 2u);
  EXPECT_EQ(table.allocateRunId(), 3u);
}

TEST(AllocateRunId, SkipsZeroWhenItWraps) {
  PendingRunTable table(kLast - 1);
  EXPECT_EQ(table.allocateRunId(), kLast - 1);
  EXPECT_EQ(table.allocateRunId(), kLast);
  EXPECT_EQ(table.allocateRunId(), 1u);
  EXPECT_EQ(table.allocateRunId(), 2u);
}

TEST(AllocateRunId, GivesNoIdTwiceWhateverIsErased) {
  PendingRunTable table;
  table.storeRun(runOf(table.allocateRunId(), "A"));
  table.eraseRun(1);
  EXPECT_EQ(table.allocateRunId(), 2u);
}

TEST(PendingRunTable, HoldsManyRunsWhileItGrowsAndShrinks) {
  constexpr std::uint64_t kCount = 5000;
  PendingRunTable table;
  for (std::uint64_t run_id = 1; run_id <= kCount; ++run_id) table.storeRun(runOf(run_id, "A"));
  table.storeRun(runOf(7, "B"));
  EXPECT_EQ(table.size(), kCount);
  for (std::uint64_t run_id = kCount; run_id > 7; --run_id) {
    ASSERT_NE(table.findRun(run_id), nullptr) << run_id;
    EXPECT_EQ(table.findRun(run_id)->run_id, run_id);
    table.eraseRun(run_id);
    ASSERT_EQ(table.findRun(run_id), nullptr) << run_id;
  }
  EXPECT_EQ(table.size(), 7U);
  EXPECT_EQ(table.findRun(7)->pending_call.name, "B");
}

TEST(PendingRunTable, FindsWhatIsStoredUntilItIsErased) {
  PendingRunTable table;
  EXPECT_EQ(table.findRun(1), nullptr);
  EXPECT_EQ(table.size(), 0u);
  table.storeRun(runOf(1, "A"));
  table.storeRun(runOf(kLast, "B"));
  EXPECT_EQ(table.size(), 2u);
  ASSERT_NE(table.findRun(1), nullptr);
  ASSERT_NE(table.findRun(kLast), nullptr);
  EXPECT_EQ(table.findRun(1)->pending_call.name, "A");
  EXPECT_EQ(table.findRun(1)->run_id, 1u);
  EXPECT_EQ(table.findRun(kLast)->pending_call.name, "B");
  EXPECT_EQ(table.findRun(0), nullptr);
  EXPECT_EQ(table.findRun(2), nullptr);
  table.eraseRun(1);
  EXPECT_EQ(table.findRun(1), nullptr);
  ASSERT_NE(table.findRun(kLast), nullptr);
  table.eraseRun(1);
  table.eraseRun(0);
  EXPECT_EQ(table.size(), 1u);
}

TEST(PendingRunTable, HasNoBound) {
  PendingRunTable table;
  for (int i = 0; i < 20'000; ++i) {
    const std::uint64_t run_id = table.allocateRunId();
    table.storeRun(runOf(run_id, std::to_string(run_id)));
  }
  EXPECT_EQ(table.size(), 20'000u);
  for (std::uint64_t run_id = 1; run_id <= 20'000; run_id += 777) {
    EXPECT_EQ(table.findRun(run_id)->pending_call.name, std::to_string(run_id));
  }
}

}  // namespace
}  // namespace lisp_worker::worker
