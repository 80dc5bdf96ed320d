// Histories that leave work or memory behind for a later request to be charged with, against the
// executable: each request's answer, time and memory are judged (testing/watched_worker.h).

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "lisp/storage.h"
#include "testing/cases/attack.h"
#include "testing/formats/scenario.h"
#include "testing/generators/greedy_programs.h"
#include "testing/wire/frame_makers.h"
#include "testing/workers/child_process.h"
#include "testing/workers/watched_worker.h"
#include "worker/frame.h"

namespace testing_support {
namespace {

using lisp::storage::kSlabSize;
using std::chrono::microseconds;
using std::chrono::milliseconds;
using worker::MessageType;

class AttackByHistory : public Attack {
 protected:
  // The processor time of a request.
  microseconds timeOf(std::string_view program, std::string_view value) {
    const microseconds before = worker_.process().processorTime();
    worker_.expectValue(program, value);
    return worker_.process().processorTime() - before;
  }

  void ping(int count) {
    for (int i = 0; i < count; ++i) worker_.handle({MessageType::Ping, 0, 0, ""});
  }

  // What may be resident of `held` KiB, after a peak and a thousand requests.
  static long grantedFor(long held) { return held + held / 4 + 8L * 1024; }
};

// Whoever adds the name that makes a table too small is not charged with all of it: each thousand
// of new names costs the same.
TEST_F(AttackByHistory, AMillionNamesAndAFewMore) {
  const std::size_t count = isSanitized() ? 20000 : 1000000;
  std::size_t made = 0;
  const auto make = [&](std::size_t names) {
    std::string pairs;
    for (const std::size_t end = made + names; made < end; ++made) {
      pairs += " " + shortName(made) + " 1";
    }
    return timeOf("(SETQ" + pairs + ")", "1");
  };
  while (made < count) make(100000);
  microseconds longest{};
  for (int i = 0; i < 100; ++i) longest = std::max(longest, make(1000));
  EXPECT_LT(longest, milliseconds(isSanitized() ? 1000 : 10));
}

TEST_F(AttackByHistory, ManyPendingRunsAndAFewMore) {
  constexpr std::uint64_t kRunsPerBatch = 1000;
  const std::uint64_t count = isSanitized() ? 2000 : 250000;
  ChildProcess& process = worker_.process();
  std::vector<microseconds> times;
  for (std::uint64_t run_id = 1; run_id <= count; run_id += kRunsPerBatch) {
    Scenario batch("Batch");
    for (std::uint64_t i = 0; i < kRunsPerBatch; ++i) {
      batch.start("(GETPOINT)").call(run_id + i, "GETPOINT", 0, "()", 1);
    }
    const std::string expected = batch.output();
    const microseconds before = process.processorTime();
    process.send(batch.input());
    ASSERT_TRUE(process.receive(expected.size()) == expected) << run_id;
    times.push_back(process.processorTime() - before);
  }
  std::sort(times.begin(), times.end());
  EXPECT_LT(times.back(), 3 * times[times.size() / 2] + milliseconds(2));
}

// Names that are dropped in another order than they were made lie all over the memory.
TEST_F(AttackByHistory, NamesDroppedOutOfOrder) {
  const std::size_t count = isSanitized() ? 20000 : 1000000;
  const std::size_t per_request = count / 10;
  const long size_before = worker_.residentSize();
  const auto make = [&](char list, auto number_of) {
    for (std::size_t request = 0; request < 10; ++request) {
      std::string names;
      for (std::size_t i = 0; i < per_request; ++i) {
        names += " " + shortName(number_of(request * per_request + i));
      }
      worker_.expectValue(
          "(SETQ " + std::string(1, list) + std::to_string(request) + "_ '(" + names + ")) 1", "1");
    }
  };
  const auto drop = [&](char list) {
    std::string pairs;
    for (int i = 0; i < 10; ++i) pairs += " " + std::string(1, list) + std::to_string(i) + "_ nil";
    return timeOf("(SETQ" + pairs + ")", "nil");
  };
  make('L', [](std::size_t i) { return i; });
  make('M', [&](std::size_t i) { return i * 7919 % count; });
  drop('L');
  microseconds longest = drop('M');
  for (int i = 0; i < 200; ++i) {
    longest = std::max(longest, timeOf("(SETQ X (LIST 1 2 3))", "(1 2 3)"));
  }
  EXPECT_LT(longest, milliseconds(isSanitized() ? 1000 : 15));
  ping(800);
  worker_.expectResidentAtMost(grantedFor(size_before));
}

// What was dropped goes back to the system, and a worker that is only pinged gives it back, too.
TEST_F(AttackByHistory, MillionsOfSmallListsDropped) {
  const int rounds = isSanitized() ? 2 : 70;
  const long size_before = worker_.residentSize();
  worker_.expectValue("(SETQ K nil)", "nil");
  for (int round = 0; round < rounds; ++round) {
    worker_.expectValue(
        "(SETQ J '()) " + loop(19000, "(SETQ J (CONS (LIST I) J))") + "(SETQ K (LIST J K)) 1", "1");
  }
  const long peak = worker_.residentSize();
  EXPECT_GT(peak, size_before + (isSanitized() ? 0 : 64L * 1024));
  worker_.expectValue("(SETQ K nil J nil)", "nil");
  ping(1000);
  worker_.expectResidentAtMost(grantedFor(size_before));
}

// A list that is kept keeps the slab that it is in, 8 KiB, and no more.
TEST_F(AttackByHistory, WavesOfListsOfWhichFewAreKept) {
  constexpr std::size_t kKeptOneIn = 80;
  const std::string next = repeated("(CDR ", kKeptOneIn) + "J" + repeated(")", kKeptOneIn);
  const std::size_t size_max = isSanitized() ? 50000 : 1000000;
  const long size_before = worker_.residentSize();
  worker_.expectValue("(SETQ K nil)", "nil");
  std::size_t kept = 0;
  for (std::size_t length = 6; length <= 25; ++length) {
    const std::string list = "(" + repeated("1 ", length - 1) + "1)";
    const std::size_t passes = size_max / list.size() / kKeptOneIn;
    worker_.expectValue("(SETQ J '(" + repeated(list, passes * kKeptOneIn + 1) + ")) " +
                            loop(passes, "(SETQ K (LIST (CAR J) K) J " + next + ")") +
                            "(SETQ J nil) 1",
                        "1");
    kept += passes;
  }
  ping(1000);
  // Each kept list with its slab, and what keeps it.
  const long held = size_before + static_cast<long>(kept * (kSlabSize + 100) / 1024);
  worker_.expectResidentAtMost(grantedFor(held));
}

}  // namespace
}  // namespace testing_support
