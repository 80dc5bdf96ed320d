#include "lisp_worker/client/worker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "lisp_worker/client/answer_text.h"
#include "testing/base/test_environment.h"
#include "testing/workers/executable_worker.h"

namespace lisp_worker::client {
namespace {

using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::StartsWith;
using testing_support::workerExecutable;
using worker::WorkerStatus;

CoordContext contextWithOrigin(std::uint64_t id, double x) {
  CoordContext context;
  context.id = id;
  context.systems[1].origin_x = x;
  return context;
}

double worldX(Worker& worker, std::uint64_t context_id) {
  const auto reply = worker.convert(context_id, {1, 0, 0}, 1, 0);
  return reply && reply->value ? reply->value->x : -1;
}

TEST(Worker, StartsWithItsFirstRequest) {
  Worker worker(workerExecutable());
  EXPECT_EQ(worker.ping(), WorkerStatus::Ok);
  EXPECT_FALSE(worker.fault().has_value());
  EXPECT_FALSE(worker.exit().has_value());
}

TEST(Worker, PassesOnEveryRequest) {
  Worker worker(workerExecutable());
  ASSERT_EQ(worker.registerContext(contextWithOrigin(5, 100)), WorkerStatus::Ok);
  EXPECT_EQ(worldX(worker, 5), 101);
  const auto cell = worker.locateCell(5, {2.5, -0.5, 0}, 0);
  ASSERT_TRUE(cell && cell->value);
  EXPECT_EQ(cell->value->i, 2);
  EXPECT_EQ(cell->value->j, -1);
  const auto point = worker.cellPlaneToSystem(5, {1, 2, 3}, 0);
  ASSERT_TRUE(point && point->value);
  EXPECT_EQ(*point->value, (Point{1, 2, 3}));
  const std::array<double, 3> operands = {1, 2, 3};
  const auto sum = worker.computeGeometry(GeometryOperation::Sum, operands);
  ASSERT_TRUE(sum && sum->value);
  EXPECT_EQ(sum->value->x, 6);
  const auto started = worker.evalStart("(GETPOINT)", 0);
  ASSERT_TRUE(started && started->value);
  const auto ended = worker.evalResume(started->value->run_id, "7");
  ASSERT_TRUE(ended && ended->value);
  EXPECT_EQ(ended->value->text, "7");
  EXPECT_EQ(worker.evalCancel(9), WorkerStatus::Ok);
}

TEST(Worker, RegistersItsContextsWithTheNextProcess) {
  Worker worker(workerExecutable());
  EXPECT_EQ(worker.registerContext(contextWithOrigin(5, 100)), WorkerStatus::Ok);
  EXPECT_EQ(worker.registerContext(contextWithOrigin(0, 200)), WorkerStatus::Ok);
  EXPECT_EQ(worker.registerContext(contextWithOrigin(5, 300)), WorkerStatus::Ok);
  ASSERT_TRUE(worker.run("(SETQ KEPT 1)").has_value());
  ASSERT_TRUE(worker.restart());
  EXPECT_EQ(worldX(worker, 5), 301);
  EXPECT_EQ(worldX(worker, 0), 201);
  EXPECT_EQ(worker.run("KEPT")->end, RunEnd::EvalError);
}

TEST(Worker, DoesNotRememberAContextThatWasRefused) {
  Worker worker(workerExecutable());
  for (std::uint64_t id = 1; id <= 32; ++id) {
    ASSERT_EQ(worker.registerContext(contextWithOrigin(id, 1)), WorkerStatus::Ok);
  }
  EXPECT_EQ(worker.registerContext(contextWithOrigin(33, 1)), WorkerStatus::InvalidRequest);
  EXPECT_TRUE(worker.restart());
  EXPECT_EQ(worldX(worker, 32), 2);
  EXPECT_EQ(worldX(worker, 33), -1);
}

TEST(Worker, LetsGoByAShutdown) {
  Worker worker(workerExecutable());
  ASSERT_EQ(worker.ping(), WorkerStatus::Ok);
  EXPECT_EQ(worker.stop(), (WorkerExit{WorkerExit::Kind::Exited, 0}));
  EXPECT_EQ(worker.exit(), (WorkerExit{WorkerExit::Kind::Exited, 0}));
  EXPECT_EQ(worker.ping(), std::nullopt);
  EXPECT_EQ(worker.fault()->kind, Fault::Kind::ShutDown);
  ASSERT_TRUE(worker.restart());
  EXPECT_EQ(worker.ping(), WorkerStatus::Ok);
}

TEST(Worker, TellsThatItCannotBeStarted) {
  Worker worker("no/such/worker");
  EXPECT_EQ(worker.ping(), std::nullopt);
  ASSERT_TRUE(worker.fault().has_value());
  EXPECT_EQ(worker.fault()->kind, Fault::Kind::NotStarted);
  EXPECT_THAT(worker.fault()->message,
              StartsWith("the worker cannot be started: no/such/worker: "));
  EXPECT_FALSE(worker.start());
  EXPECT_FALSE(worker.restart());
  EXPECT_FALSE(worker.run("1").has_value());
}

// Started without arguments, this program only complains.
TEST(Worker, TellsThatAProgramIsNoWorker) {
  Worker worker(testing_support::environment("LISP_SESSION_PATH"),
                {.time_limit = milliseconds(5000)});
  EXPECT_EQ(worker.ping(), std::nullopt);
  ASSERT_TRUE(worker.fault().has_value());
  EXPECT_THAT(worker.fault()->message, HasSubstr("; the worker ended with exit code 2: "));
}

// The notices of an observer, in a few words each.
class Log : public FrameObserver {
 public:
  void onStart() override { entries.emplace_back("start"); }
  void onRequest(std::string_view frame) override { add("request", frame); }
  void onResponse(std::string_view header, std::string_view payload) override {
    EXPECT_EQ(header.size(), worker::kHeaderSize);
    add("response", std::string(header) + std::string(payload));
  }
  void onBrokenResponse(std::string_view bytes) override {
    entries.push_back("broken " + std::to_string(bytes.size()));
  }
  void onEnd(const WorkerExit& exit) override {
    entries.push_back("end " + std::to_string(exit.code));
    ends.push_back(exit.kind);
  }

  std::vector<std::string> entries;
  std::vector<WorkerExit::Kind> ends;

 private:
  void add(const std::string& what, std::string_view frame) {
    entries.push_back(what + " " + std::to_string(worker::getU16(frame.data() + 6)) + " " +
                      std::to_string(frame.size()));
  }
};

TEST(Worker, ShowsItsObserverEverything) {
  Log log;
  {
    Worker worker(workerExecutable(), {.time_limit = {}, .observer = &log});
    ASSERT_TRUE(worker.run("(+ 1 2)").has_value());
    ASSERT_EQ(worker.registerContext(contextWithOrigin(5, 1)), WorkerStatus::Ok);
    ASSERT_TRUE(worker.restart());
    worker.stop();
  }
  const std::vector<std::string> expected = {
      "start", "request 7 71",  "response 7 129", "request 2 480",  "response 2 64",   "end 0",
      "start", "request 2 480", "response 2 64",  "request 255 64", "response 255 64", "end 0"};
  EXPECT_EQ(log.entries, expected);
  using Kind = WorkerExit::Kind;
  EXPECT_EQ(log.ends, (std::vector<Kind>{Kind::Killed, Kind::Exited}));
}

// A healthy worker that is not waited for has always been killed, however far it has come.
TEST(Worker, TellsARestartInOneWay) {
  Log log;
  Worker worker(workerExecutable(), {.observer = &log});
  for (int n = 0; n < 50; ++n) {
    ASSERT_EQ(worker.ping(), WorkerStatus::Ok);
    ASSERT_TRUE(worker.restart());
    EXPECT_EQ(log.ends.back(), WorkerExit::Kind::Killed);
  }
}

// Throws at one of the calls that it gets.
class ThrowingObserver : public FrameObserver {
 public:
  explicit ThrowingObserver(int calls_before) : calls_left_(calls_before) {}

  void onStart() override { count(); }
  void onRequest(std::string_view /*frame*/) override { count(); }
  void onResponse(std::string_view /*header*/, std::string_view /*payload*/) override { count(); }
  void onBrokenResponse(std::string_view /*bytes*/) override { count(); }
  void onEnd(const WorkerExit& /*exit*/) override { count(); }

 private:
  void count() {
    if (calls_left_-- == 0) throw std::runtime_error("no memory for notes");
  }

  int calls_left_;
};

TEST(Worker, CanBeUsedAfterItsObserverHasThrownAnywhere) {
  // Two starts, an end, and what goes both ways for two registrations and three evaluations.
  constexpr int kCallCount = 3 + 2 * (2 + 3);
  for (int calls_before = 0; calls_before < kCallCount; ++calls_before) {
    SCOPED_TRACE(calls_before);
    ThrowingObserver observer(calls_before);
    Worker worker(workerExecutable(), {.observer = &observer});
    bool has_thrown = false;
    try {
      static_cast<void>(worker.registerContext(contextWithOrigin(5, 100)));
      static_cast<void>(
          worker.run("(GETPOINT)(GETPOINT)", [](const HostCall&) { return std::optional(nil()); }));
      worker.restart();
    } catch (const std::runtime_error&) {
      has_thrown = true;
    }
    EXPECT_TRUE(has_thrown);
    EXPECT_EQ(worker.evalResume(1, ")")->status, WorkerStatus::InvalidRequest);
    const auto run = worker.run("(+ 1 2)");
    ASSERT_TRUE(run.has_value());
    EXPECT_EQ(run->text, "3");
  }
  // In the destructor.
  ThrowingObserver observer(3);
  Worker worker(workerExecutable(), {.observer = &observer});
  EXPECT_EQ(worker.ping(), WorkerStatus::Ok);
}

TEST(Worker, CanBeUsedAfterItsStarterHasThrown) {
  int start_count = 0;
  Worker worker([&](std::string* error) {
    if (start_count++ == 0) throw std::runtime_error("no path set");
    return startWorker(workerExecutable(), error);
  });
  EXPECT_THROW(static_cast<void>(worker.ping()), std::runtime_error);
  EXPECT_EQ(worker.ping(), WorkerStatus::Ok);
  start_count = 0;
  EXPECT_THROW(worker.restart(), std::runtime_error);
  EXPECT_EQ(worker.ping(), WorkerStatus::Ok);
}

TEST(ClientSettings, BoundEveryWaitByDefault) {
  EXPECT_EQ(ClientSettings{}.time_limit, std::chrono::seconds(30));
  EXPECT_EQ(ClientSettings{}.stop_time_limit, std::chrono::seconds(5));
}

TEST(ClientSettings, TakeLimitsThatNoClockReaches) {
  for (const milliseconds limit : {milliseconds::max(), milliseconds::max() / 1000000}) {
    Worker worker(workerExecutable(), {.time_limit = limit, .stop_time_limit = limit});
    EXPECT_EQ(worker.ping(), WorkerStatus::Ok);
    EXPECT_EQ(worker.stop(), (WorkerExit{WorkerExit::Kind::Exited, 0}));
  }
}

}  // namespace
}  // namespace lisp_worker::client
