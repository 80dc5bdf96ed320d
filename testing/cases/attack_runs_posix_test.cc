// Conversations that attack by what the worker keeps between requests, against the executable: each
// request's answer, time and memory are judged (testing/workers/watched_worker.h).

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "lisp_worker/worker/frame.h"
#include "testing/base/random.h"
#include "testing/base/same_bytes.h"
#include "testing/base/test_environment.h"
#include "testing/cases/attack.h"
#include "testing/formats/scenario.h"
#include "testing/generators/greedy_programs.h"
#include "testing/wire/frame_makers.h"
#include "testing/workers/child_process.h"
#include "testing/workers/watched_worker.h"

namespace lisp_worker::testing_support {
namespace {

using worker::kPayloadSizeMax;
using worker::WorkerStatus;

class AttackByRuns : public Attack {};

TEST_F(AttackByRuns, TwentyThousandPendingResumedInRandomOrder) {
  const std::size_t count = isSanitized() ? 2000 : 20000;
  worker_.expectValue("(SETQ N 0)", "0");
  std::vector<std::pair<std::uint64_t, std::size_t>> runs;
  for (std::size_t i = 0; i < count; ++i) {
    // Each sees the N of its own time.
    runs.emplace_back(
        worker_.expectCall("(SETQ M (+ N (* 2 (GETDIST " + std::to_string(i) + ")))) (LIST M N)",
                           "GETDIST"),
        i);
    if (i % 4 == 3)
      worker_.expectValue("(SETQ N " + std::to_string(i + 1) + ")", std::to_string(i + 1));
  }
  Random random(1);
  for (std::size_t left = count; left > 0; --left) {
    std::swap(runs[random.below(left)], runs[left - 1]);
    const auto [run_id, i] = runs[left - 1];
    const std::size_t n = i / 4 * 4;
    worker_.expectAnswered(run_id, "3",
                           "(" + std::to_string(n + 6) + " " + std::to_string(n) + ")");
  }
}

TEST_F(AttackByRuns, TinyProgramsOnFiftyThousandGlobals) {
  std::string pairs;
  for (std::size_t i = 0; i < 50000; ++i) pairs += " " + shortName(i) + " " + std::to_string(i);
  worker_.expectValue("(SETQ" + pairs + ")", "49999");
  const std::string last = shortName(49999);
  const std::size_t count = isSanitized() ? 1000 : 10000;
  std::vector<std::uint64_t> waiting;
  for (std::size_t i = 0; i < count; ++i) {
    const std::string n = std::to_string(i);
    switch (i % 5) {
      case 0:
        worker_.expectValue("(SETQ A " + n + ")", n);
        break;
      case 1:
        worker_.expectError("(SETQ A 'LOST) (CAR A A) (BAD)", "unsupported LISP function: BAD");
        break;
      case 2:
        waiting.push_back(worker_.expectCall("(SETQ B (LIST A (GETPOINT)))", "GETPOINT"));
        break;
      case 3:
        worker_.expectValue("(LIST A " + last + ")", "(" + std::to_string(i - 3) + " 49999)");
        break;
      default:
        if (i % 2 == 0) {
          worker_.expectAnswered(waiting.back(), "1", "(" + std::to_string(i - 4) + " 1)");
        } else {
          worker_.expectStatus(cancelFrame(waiting.back()), WorkerStatus::Ok);
        }
        waiting.pop_back();
    }
  }
  EXPECT_EQ(waiting.size(), 0U);
  // The cost of a million bytes of such programs must not depend on the globals either.
  EXPECT_LE(worker_.longestTime().count(), 150000 * (isSanitized() ? 20 : 1));
}

// However many runs wait when the input ends, the worker does not take them apart.
TEST(LeavingWorker, LeavesAtOnceWithAHundredThousandRunsPending) {
  constexpr std::uint64_t kRunsPerBatch = 1000;
  const std::uint64_t count = isSanitized() ? 2000 : 100000;
  ChildProcess process;
  for (std::uint64_t run_id = 1; run_id <= count; run_id += kRunsPerBatch) {
    Scenario batch("Batch");
    for (std::uint64_t i = 0; i < kRunsPerBatch; ++i) {
      batch.start("(GETPOINT)").call(run_id + i, "GETPOINT", 0, "()", 1);
    }
    const std::string expected = batch.output();
    process.send(batch.input());
    ASSERT_TRUE(areSameBytes(process.receive(expected.size()), expected)) << run_id;
  }
  const std::chrono::microseconds used = process.processorTime();
  process.endInput();
  EXPECT_EQ(process.end(), "exit code 0");
  const std::chrono::milliseconds limit(isSanitized() ? 5000 : 10);
  EXPECT_LT(process.processorTime() - used, limit);
}

TEST_F(AttackByRuns, ThreeThousandHostCallsInOneRun) {
  const std::size_t count = isSanitized() ? 300 : 3000;
  const std::uint64_t run_id = worker_.expectCall(
      "(SETQ N 0) " + loop(count, "(SETQ N (+ N (GETDIST I N)))") + "N", "GETDIST");
  for (std::size_t i = 1; i < count; ++i) {
    const FrameResponse response = worker_.handle(resumeFrame(run_id, "2"));
    ASSERT_EQ(response.status, WorkerStatus::HostCallPending);
    ASSERT_EQ(decodeEvalResult(response.payload).text,
              "(" + std::to_string(i + 1) + " " + std::to_string(2 * i) + ")");
  }
  worker_.expectAnswered(run_id, "2", std::to_string(2 * count));
}

TEST_F(AttackByRuns, AnswersOfAMebibyte) {
  const std::string largest = "\"" + std::string(kPayloadSizeMax - 66, 's') + "\"";
  worker_.expectAnswered(worker_.expectCall("(GETPOINT)", "GETPOINT"), largest, largest);
  const std::string ones = "(" + asOftenAsFits("1 ", 0xFFF00) + ")";
  worker_.expectAnswered(worker_.expectCall("(LENGTH (GETPOINT))", "GETPOINT"), ones,
                         std::to_string(0xFFF00 / 2));
  const std::string quotes = "(" + asOftenAsFits("'1", 0xFFF00) + ")";
  worker_.expectAnswered(worker_.expectCall("(LENGTH (GETPOINT))", "GETPOINT"), quotes,
                         std::to_string(0xFFF00 / 2));
  EXPECT_EQ(worker_
                .handle(resumeFrame(worker_.expectCall("(GETPOINT)", "GETPOINT"),
                                    std::string(kPayloadSizeMax, '(')))
                .status,
            WorkerStatus::EvalParseError);
  // Twenty of them in one run; every replay compares what the last one was given.
  const std::uint64_t run_id = worker_.expectCall(
      "(SETQ A nil) " + loop(20, "(SETQ A (ENTMOD A))") + "(LENGTH A)", "ENTMOD");
  for (int i = 1; i < 20; ++i) {
    EXPECT_EQ(worker_.handle(resumeFrame(run_id, "(" + repeated("1 ", 500000) + ")")).status,
              WorkerStatus::HostCallPending);
  }
  worker_.expectAnswered(run_id, "(1 2)", "2");
}

TEST_F(AttackByRuns, LargeProgramsPendingAndCancelled) {
  const std::string program =
      "(GETPOINT) '(" + asOftenAsFits("(1)", 900000) + ") '(" + shortNames(20000) + ")";
  for (int round = 0; round < (isSanitized() ? 1 : 3); ++round) {
    std::vector<std::uint64_t> runs;
    for (int i = 0; i < 8; ++i) runs.push_back(worker_.expectCall(program, "GETPOINT"));
    for (const std::uint64_t run_id : runs) {
      worker_.expectStatus(cancelFrame(run_id), WorkerStatus::Ok);
    }
  }
}

// Half a million forms that lead nowhere, dropped by a request of no bytes.
TEST_F(AttackByRuns, ProgramsOfManyFormsPendingAndCancelled) {
  const std::string program = "(GETPOINT)" + asOftenAsFits("'1", 0xFFF00);
  for (int i = 0; i < 5; ++i) {
    const std::uint64_t run_id = worker_.expectCall(program, "GETPOINT");
    worker_.expectStatus(cancelFrame(run_id), WorkerStatus::Ok);
  }
}

// Versions of one environment, each pending run holding another.
TEST_F(AttackByRuns, AVersionForEveryPendingRun) {
  std::string pairs;
  for (std::size_t i = 0; i < 20000; ++i) pairs += " " + shortName(i) + " 0";
  worker_.expectValue("(SETQ" + pairs + ")", "0");
  const std::size_t count = isSanitized() ? 300 : 3000;
  std::vector<std::uint64_t> runs;
  for (std::size_t i = 0; i < count; ++i) {
    runs.push_back(worker_.expectCall(
        "(LIST (GETPOINT) " + shortName(i) + " " + shortName(i + 1) + ")", "GETPOINT"));
    worker_.expectValue("(SETQ " + shortName(i) + " 1)", "1");
  }
  for (std::size_t i = 0; i < count; ++i) {
    worker_.expectAnswered(runs[i], "nil", "(nil 0 0)");
  }
}

}  // namespace
}  // namespace lisp_worker::testing_support
