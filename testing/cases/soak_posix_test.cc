// A long life: 200,000 requests of every kind, or as many as LISP_SOAK_REQUESTS says, after which
// the worker is as it was.

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "lisp_worker/worker/frame.h"
#include "testing/base/random.h"
#include "testing/base/same_bytes.h"
#include "testing/base/test_environment.h"
#include "testing/formats/scenario.h"
#include "testing/wire/frame_makers.h"
#include "testing/wire/wire_frames.h"
#include "testing/workers/child_process.h"
#include "testing/workers/watched_worker.h"

namespace lisp_worker::testing_support {
namespace {

using worker::MessageType;
using worker::WorkerStatus;

constexpr std::uint64_t kContextId = 7;

// Some sixty requests of every type but Shutdown, with their answers. `round` makes names, values
// and ids differ from one batch to the next; `run_id` is the next that the worker gives out, and
// moves on.
Scenario batch(std::uint64_t round, std::uint64_t& run_id) {
  Random random(round);
  const std::string n = std::to_string(round % 100000);
  const std::string name = "NAME-" + n;
  Scenario scenario("Batch");
  scenario.registerContext(kContextId, identityContextRecord(kContextId)).ok();
  scenario.start("(SETQ KEPT 0)").value("0", 2);
  for (int i = 0; i < 4; ++i) {
    scenario.ping(std::string(random.below(300), 'p')).ok();
    scenario.query(MessageType::Convert, kContextId, pointPayload(i, 2, 3, 0, 1))
        .ok(pointResult(i, 2, 3));
    scenario.query(MessageType::CellPlaneToSystem, kContextId, pointPayload(1, i, 3, 0, 1))
        .ok(pointResult(1, i, 3));
    scenario.query(MessageType::LocateCell, kContextId + 1, pointPayload(0, 0, 0, 0, 0))
        .answer(WorkerStatus::ContextNotFound);
    scenario.geometry(geometryPayload(worker::GeometryOperation::Sum, 2, {1.0 * i, 2}))
        .ok(geometryResult(i + 2, 0));
    scenario.start("(SETQ " + name + " '(" + n + " \"" + name + "\"))")
        .value("(" + n + " \"" + name + "\")", 2);
    scenario.start("(DEFUN F-" + n + " (A / B) (SETQ B A) (LIST B))").value("F-" + n, 1);
    scenario.start("(SETQ KEPT (F-" + n + " 1) KEPT 0)").value("0", 8);
    scenario.start("(" + name + ")").evalError("unsupported LISP function: " + name, 1);
    scenario.start("(LIST '(" + name).readError("unterminated list");
    scenario.start("(1+ (GETDIST " + n + "))").call(run_id, "GETDIST", 1, "(" + n + ")", 3);
    scenario.start("(ENTGET)").call(run_id + 1, "ENTGET", 0, "()", 1);
    scenario.resume(run_id, "41").value("42", 3);
    scenario.resume(run_id, "1").answer(WorkerStatus::InvalidRequest);
    scenario.cancel(run_id + 1).ok();
    run_id += 2;
  }
  scenario.start("(SETQ " + name + " nil)").value("nil", 2);
  const worker::MessageHeader unknown = requestHeader(std::uint16_t{77});
  return scenario.request(unknown).answer(WorkerStatus::UnknownType);
}

TEST(Soak, ItsBatchesAreRight) {
  std::uint64_t run_id = 1;
  EXPECT_EQ(holdInProcess(batch(12, run_id)), "");
  EXPECT_EQ(run_id, 9U);
  EXPECT_GT(batch(12, run_id).turns().size(), 60U);
}

TEST(Soak, ManyRequestsLeaveTheWorkerAsItWas) {
  const std::size_t request_count = isSanitized() ? 20000 : setting("LISP_SOAK_REQUESTS", 200000);
  WatchedWorker watched;
  ChildProcess& worker = watched.process();
  std::uint64_t run_id = 1;
  std::uint64_t round = 0;
  std::size_t sent = 0;
  long size_after_warm_up = 0;
  while (sent < request_count) {
    // The names come again every thousand batches: what programs define stays, as it must.
    const Scenario scenario = batch(round++ % 1000, run_id);
    const std::string expected = scenario.output();
    worker.send(scenario.input());
    ASSERT_TRUE(areSameBytes(worker.receive(expected.size()), expected)) << "round " << round;
    sent += scenario.turns().size();
    if (round == 2000) size_after_warm_up = watched.residentSize();
  }
  if (size_after_warm_up != 0) watched.expectResidentAtMost(size_after_warm_up + 1024);
  RecordProperty("requests", std::to_string(sent));

  const auto used = worker.processorTime();
  const auto begin = std::chrono::steady_clock::now();
  worker.endInput();
  EXPECT_EQ(worker.end(), "exit code 0");
  const auto elapsed = std::chrono::steady_clock::now() - begin;
  const std::chrono::milliseconds limit(isSanitized() ? 5000 : 10);
  EXPECT_LT(worker.processorTime() - used, limit);
  // The machine may be busy with other things.
  EXPECT_LT(elapsed, limit * 10);
  RecordProperty(
      "left_after_us",
      std::to_string(std::chrono::duration_cast<std::chrono::microseconds>(elapsed).count()));
}

// Thirty-two programs at a time wait for their host, answered in random order and sometimes given
// up. When none waits any more, the worker is as it was.
TEST(Soak, ManyAnswersLeaveTheWorkerAsItWas) {
  const std::size_t answer_count =
      isSanitized() ? 2000 : setting("LISP_SOAK_REQUESTS", 200000) / 10;
  constexpr std::size_t kRunCount = 32;
  const Frame program = startFrame(
      "(DEFUN F (X / Y) (SETQ Y (GETDIST X)) (LIST X Y)) (SETQ L '() I 0)"
      "(WHILE (< I 300) (SETQ L (CONS (F (ENTMAKE (LIST I L))) L) I (1+ I)) (SETQ L (LIST I)))");
  WatchedWorker watched;
  Random random(1);
  std::vector<std::uint64_t> runs;
  const auto endAll = [&] {
    for (const std::uint64_t run : runs) watched.handle(cancelFrame(run));
    runs.clear();
    // Dropped memory goes back in the requests that follow.
    for (int i = 0; i < 1000; ++i) watched.handle(startFrame("1"));
    return watched.residentSize();
  };
  long size_after_warm_up = 0;
  for (std::size_t answer = 0; answer < answer_count; ++answer) {
    if (answer == answer_count / 2) size_after_warm_up = endAll();
    while (runs.size() < kRunCount) {
      const FrameResponse response = watched.handle(program);
      ASSERT_EQ(response.status, WorkerStatus::HostCallPending);
      runs.push_back(decodeEvalResult(response.payload).run_id);
    }
    const std::size_t chosen = random.below(runs.size());
    if (random.chance(1, 200)) {
      watched.handle(cancelFrame(runs[chosen]));
      runs.erase(runs.begin() + static_cast<std::ptrdiff_t>(chosen));
      continue;
    }
    const FrameResponse response = watched.handle(resumeFrame(runs[chosen], "(1 2)"));
    if (response.status == WorkerStatus::HostCallPending) continue;
    ASSERT_EQ(response.status, WorkerStatus::Ok);
    runs.erase(runs.begin() + static_cast<std::ptrdiff_t>(chosen));
  }
  EXPECT_GT(size_after_warm_up, 0);
  endAll();
  watched.expectResidentAtMost(size_after_warm_up + 1024);
  watched.expectLeaves();
}

}  // namespace
}  // namespace lisp_worker::testing_support
