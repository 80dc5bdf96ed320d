#include "worker/exact_transfer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <utility>
#include <vector>

namespace lisp_worker::worker {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

// A system that moves the given counts in turn, and everything it is asked for after them.
class System {
 public:
  explicit System(std::vector<std::size_t> counts) : counts_(std::move(counts)) {}

  std::size_t move(std::size_t offset, std::size_t chunk_size) {
    calls_.emplace_back(offset, chunk_size);
    return calls_.size() <= counts_.size() ? counts_[calls_.size() - 1] : chunk_size;
  }

  // (offset, chunk size) of every call.
  [[nodiscard]] const std::vector<std::pair<std::size_t, std::size_t>>& calls() const {
    return calls_;
  }

 private:
  std::vector<std::size_t> counts_;
  std::vector<std::pair<std::size_t, std::size_t>> calls_;
};

std::size_t transfer(System& system, std::size_t size) {
  return transferExactly(size, [&](std::size_t offset, std::size_t chunk_size) {
    return system.move(offset, chunk_size);
  });
}

TEST(TransferExactly, MakesNoCallForNothing) {
  System system({});
  EXPECT_EQ(transfer(system, 0), 0U);
  EXPECT_THAT(system.calls(), IsEmpty());
}

TEST(TransferExactly, AsksForEverythingAtOnce) {
  System system({});
  EXPECT_EQ(transfer(system, 64), 64U);
  EXPECT_THAT(system.calls(), ElementsAre(Pair(0, 64)));
}

TEST(TransferExactly, AsksForTheRestAfterAShortCall) {
  System system({1, 60});
  EXPECT_EQ(transfer(system, 64), 64U);
  EXPECT_THAT(system.calls(), ElementsAre(Pair(0, 64), Pair(1, 63), Pair(61, 3)));
}

TEST(TransferExactly, StopsAtACallThatMovesNothing) {
  System at_once({0});
  EXPECT_EQ(transfer(at_once, 64), 0U);
  EXPECT_THAT(at_once.calls(), ElementsAre(Pair(0, 64)));
  System midway({10, 0});
  EXPECT_EQ(transfer(midway, 64), 10U);
  EXPECT_THAT(midway.calls(), ElementsAre(Pair(0, 64), Pair(10, 54)));
}

TEST(TransferExactly, NeverAsksForMoreThanACallCanReport) {
  constexpr std::size_t kLimit = 0x7FFFFFFF;
  System below({});
  EXPECT_EQ(transfer(below, kLimit - 1), kLimit - 1);
  EXPECT_THAT(below.calls(), ElementsAre(Pair(0, kLimit - 1)));
  System at({});
  EXPECT_EQ(transfer(at, kLimit), kLimit);
  EXPECT_THAT(at.calls(), ElementsAre(Pair(0, kLimit)));
  System above({});
  EXPECT_EQ(transfer(above, kLimit + 1), kLimit + 1);
  EXPECT_THAT(above.calls(), ElementsAre(Pair(0, kLimit), Pair(kLimit, 1)));
  System far_above({});
  EXPECT_EQ(transfer(far_above, 3 * kLimit), 3 * kLimit);
  EXPECT_THAT(far_above.calls(),
              ElementsAre(Pair(0, kLimit), Pair(kLimit, kLimit), Pair(2 * kLimit, kLimit)));
}

}  // namespace
}  // namespace lisp_worker::worker
