// One conversation with a worker that fails at every byte of it, in every way that a process can.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "lisp_worker/client/names.h"
#include "lisp_worker/client/worker.h"
#include "testing/base/test_environment.h"
#include "testing/workers/faulty/orders.h"

namespace lisp_worker::client {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::HasSubstr;
using testing::StartsWith;
using testing_support::FaultKind;
using testing_support::FaultOrders;
using testing_support::setting;
using worker::WorkerStatus;

const milliseconds kTimeLimit{setting("LISP_FAULT_TIME_LIMIT", 600)};

// Only each so many bytes, besides the first and the last of every frame; 1 is every byte.
const std::size_t kStride = setting("LISP_FAULT_STRIDE", 7);

// A stalled worker costs its time limit and no work, so many can stall at the same time.
const std::size_t kThreadCount = setting("LISP_FAULT_THREADS", 160);

WorkerStarter faultyStarter(FaultOrders orders) {
  return [orders](std::string* error_out) -> std::unique_ptr<WorkerProcess> {
    auto process = startWorker(testing_support::environment("LISP_FAULTY_WORKER_PATH"), error_out);
    if (process != nullptr && !process->write(testing_support::encodeOrders(orders))) {
      *error_out = "the orders were not taken";
      return nullptr;
    }
    return process;
  };
}

// Where the frames of a conversation begin and end, in the bytes of each direction.
class FrameSizes : public FrameObserver {
 public:
  void onRequest(std::string_view frame) override { requests.push_back(frame.size()); }
  void onResponse(std::string_view header, std::string_view payload) override {
    responses.push_back(header.size() + payload.size());
  }
  void onBrokenResponse(std::string_view /*bytes*/) override { ADD_FAILURE(); }

  std::vector<std::size_t> requests;
  std::vector<std::size_t> responses;
};

// Keeps what it is told, in order.
class TransactionLog : public HostTransaction {
 public:
  void begin() override { text += "begin "; }
  void commit() override { text += "commit "; }
  void rollBack() noexcept override { text += "rollBack "; }

  std::string text;
};

// A context, a conversion, a program with two host calls, and a word at the end. The program's
// transaction ends as the program does, wherever the worker fails.
void converse(Worker& worker) {
  CoordContext context;
  context.id = 5;
  if (worker.registerContext(context) != WorkerStatus::Ok) return;
  if (!worker.convert(5, {1, 2, 3}, 0, 1)) return;
  const auto answer = [](const HostCall& call) {
    return std::optional(call.name == "GETDIST" ? number(12.5) : point(1, 2, 3));
  };
  TransactionLog log;
  const auto report = worker.run("(LIST (GETDIST \"Radius: \") (GETPOINT))", answer,
                                 {.context_id = 5, .transaction = &log});
  EXPECT_EQ(log.text, report && report->hasValue() ? "begin commit " : "begin rollBack ");
  if (!report) return;
  static_cast<void>(worker.ping());
}

struct FaultCase {
  FaultOrders orders;
  std::size_t request = 0;  // The one that meets the fault, counted from 0.
  std::size_t offset = 0;   // Of the fault in that request's or response's frame.
};

class FaultInjection : public testing::Test {
 protected:
  FaultInjection() {
    Worker worker(faultyStarter({}), {.time_limit = {}, .observer = &sizes_});
    converse(worker);
    EXPECT_FALSE(worker.fault().has_value()) << worker.fault()->message;
    EXPECT_EQ(sizes_.responses.size(), 6u);
  }

  // One case for every byte of all requests or all responses.
  [[nodiscard]] std::vector<FaultCase> casesOf(FaultKind kind) const {
    const bool is_input = kind == FaultKind::InputExit || kind == FaultKind::InputStall ||
                          kind == FaultKind::CloseInput;
    std::vector<FaultCase> cases;
    std::size_t begin = 0;
    const std::vector<std::size_t>& sizes = is_input ? sizes_.requests : sizes_.responses;
    for (std::size_t request = 0; request < sizes.size(); ++request) {
      for (std::size_t offset = 0; offset < sizes[request]; ++offset) {
        const bool is_edge = offset == 0 || offset + 1 == sizes[request];
        if (is_edge || (begin + offset) % kStride == 0) {
          cases.push_back({{kind, begin + offset}, request, offset});
        }
      }
      begin += sizes[request];
    }
    return cases;
  }

  // Holds the conversation in every case, and hands its worker to `judge`.
  void forEveryByte(FaultKind kind,
                    const std::function<void(const FaultCase&, Worker&)>& judge) const {
    const std::vector<FaultCase> cases = casesOf(kind);
    ASSERT_GT(cases.size(), 12u);
    std::atomic<std::size_t> next = 0;
    std::mutex judging;
    // A fault that is seen at once keeps the machine busy instead, and needs patience with it. Few
    // of the flipped bytes stall, those of a size.
    const bool stalls = kind == FaultKind::Stall || kind == FaultKind::CloseOutput ||
                        kind == FaultKind::InputStall || kind == FaultKind::CloseInput;
    const std::size_t busy_thread_count = kind == FaultKind::FlipByte ? 24 : 8;
    const std::size_t thread_count =
        stalls ? kThreadCount : std::min(kThreadCount, busy_thread_count);
    const milliseconds time_limit = stalls ? kTimeLimit : 5 * kTimeLimit;
    std::vector<std::thread> threads;
    for (std::size_t n = 0; n < thread_count; ++n) {
      threads.emplace_back([&] {
        for (std::size_t index = next++; index < cases.size(); index = next++) {
          Worker worker(faultyStarter(cases[index].orders), {.time_limit = time_limit});
          converse(worker);
          const std::lock_guard lock(judging);
          SCOPED_TRACE("at byte " + std::to_string(cases[index].orders.position) + ", in frame " +
                       std::to_string(cases[index].request) + " at " +
                       std::to_string(cases[index].offset));
          judge(cases[index], worker);
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
  }

  // "0 of 64 header bytes", as far as the case's response got.
  [[nodiscard]] std::string progressOf(const FaultCase& each) const {
    constexpr std::size_t kHeader = worker::kHeaderSize;
    if (each.offset < kHeader) return std::to_string(each.offset) + " of 64 header bytes";
    return std::to_string(each.offset - kHeader) + " of " +
           std::to_string(sizes_.responses[each.request] - kHeader) + " payload bytes";
  }

  static std::string notAnswered() {
    return "the worker has not answered within " + std::to_string(kTimeLimit.count()) + " ms: ";
  }

  // The worker's occupation, as the client tells it.
  static std::string workOf(const FaultCase& each) {
    static const char* const kWork[] = {"a RegisterContext under context 5",
                                        "a Convert under context 5",
                                        "an EvalStart with a program of 38 bytes under context 5",
                                        "an EvalResume of run 1 with an answer of 4 bytes",
                                        "an EvalResume of run 1 with an answer of 7 bytes",
                                        "a Ping"};
    return "request " + std::to_string(each.request + 1) + ", " + kWork[each.request];
  }

  FrameSizes sizes_;
};

TEST_F(FaultInjection, ReportsAnExitAtEveryByteOfTheResponses) {
  forEveryByte(FaultKind::Exit, [this](const FaultCase& each, Worker& worker) {
    ASSERT_TRUE(worker.fault().has_value());
    EXPECT_EQ(worker.fault()->kind, Fault::Kind::ResponseCut);
    EXPECT_EQ(worker.fault()->message,
              "the worker's output ended after " + progressOf(each) +
                  "; the worker ended with exit code 9: not an exit code of the worker");
    EXPECT_EQ(worker.exit(), (WorkerExit{WorkerExit::Kind::Exited, 9}));
  });
}

TEST_F(FaultInjection, ReportsACrashAtEveryByteOfTheResponses) {
  forEveryByte(FaultKind::Crash, [this](const FaultCase& each, Worker& worker) {
    ASSERT_TRUE(worker.fault().has_value());
    EXPECT_EQ(worker.fault()->kind, Fault::Kind::ResponseCut);
    EXPECT_THAT(worker.fault()->message,
                StartsWith("the worker's output ended after " + progressOf(each) + "; "));
    EXPECT_TRUE(worker.exit().has_value());
    EXPECT_NE(worker.exit(), (WorkerExit{WorkerExit::Kind::Exited, 0}));
    EXPECT_NE(worker.exit()->kind, WorkerExit::Kind::Killed);
  });
}

TEST_F(FaultInjection, ReportsAStallAtEveryByteOfTheResponses) {
  forEveryByte(FaultKind::Stall, [this](const FaultCase& each, Worker& worker) {
    ASSERT_TRUE(worker.fault().has_value());
    EXPECT_EQ(worker.fault()->kind, Fault::Kind::DeadlinePassed);
    EXPECT_EQ(worker.fault()->message, notAnswered() + workOf(each) + "; " + progressOf(each) +
                                           " have come; it has been killed");
    EXPECT_EQ(worker.exit(), (WorkerExit{WorkerExit::Kind::Killed, 0}));
  });
}

TEST_F(FaultInjection, ReportsAClosedOutputAtEveryByteOfTheResponses) {
  forEveryByte(FaultKind::CloseOutput, [this](const FaultCase& each, Worker& worker) {
    ASSERT_TRUE(worker.fault().has_value());
    EXPECT_EQ(worker.fault()->kind, Fault::Kind::ResponseCut);
    EXPECT_EQ(worker.fault()->message,
              "the worker's output ended after " + progressOf(each) + "; it has been killed");
  });
}

TEST_F(FaultInjection, ReportsRubbishAtEveryByteOfTheResponses) {
  forEveryByte(FaultKind::Rubbish, [](const FaultCase& each, Worker& worker) {
    // Letters in the reserved bytes or in a text are as good as any other.
    const bool may_be_taken = each.offset >= worker::HeaderOffset::kReserved;
    if (!worker.fault()) {
      EXPECT_TRUE(may_be_taken);
      return;
    }
    EXPECT_NE(worker.fault()->kind, Fault::Kind::DeadlinePassed);
    EXPECT_TRUE(worker.exit().has_value());
  });
}

// A flipped byte is met in the response itself, or by whatever the host makes of a wrong figure.
TEST_F(FaultInjection, ReportsAFlippedByteOfEveryHeader) {
  forEveryByte(FaultKind::FlipByte, [](const FaultCase& each, Worker& worker) {
    if (each.offset >= worker::HeaderOffset::kReserved) {
      if (worker.fault()) {
        EXPECT_NE(worker.fault()->kind, Fault::Kind::NotStarted);
      }
      return;
    }
    ASSERT_TRUE(worker.fault().has_value());
    const bool is_size = each.offset >= worker::HeaderOffset::kPayloadLength &&
                         each.offset < worker::HeaderOffset::kStatus;
    // A worker that seems to announce more than it sends is waited for, and no longer.
    if (!is_size) {
      EXPECT_NE(worker.fault()->kind, Fault::Kind::DeadlinePassed);
    }
    EXPECT_THAT(worker.fault()->message, HasSubstr("the worker"));
    EXPECT_TRUE(worker.exit().has_value());
  });
}

TEST_F(FaultInjection, ReportsAnExitAtEveryByteOfTheRequests) {
  forEveryByte(FaultKind::InputExit, [](const FaultCase& each, Worker& worker) {
    ASSERT_TRUE(worker.fault().has_value());
    // Between two requests the pipe may break before or after the second one is written.
    const bool is_between = each.offset == 0;
    if (!is_between) {
      EXPECT_EQ(worker.fault()->kind, Fault::Kind::ResponseCut);
    }
    EXPECT_THAT(worker.fault()->kind,
                testing::AnyOf(Fault::Kind::ResponseCut, Fault::Kind::RequestNotTaken));
    EXPECT_EQ(worker.exit(), (WorkerExit{WorkerExit::Kind::Exited, 9}));
  });
}

TEST_F(FaultInjection, ReportsAStallAtEveryByteOfTheRequests) {
  forEveryByte(FaultKind::InputStall, [](const FaultCase& each, Worker& worker) {
    ASSERT_TRUE(worker.fault().has_value());
    EXPECT_EQ(worker.fault()->message, notAnswered() + workOf(each) +
                                           "; 0 of 64 header bytes have come; it has been killed");
    EXPECT_EQ(worker.exit(), (WorkerExit{WorkerExit::Kind::Killed, 0}));
  });
}

TEST_F(FaultInjection, ReportsAClosedInputAtEveryByteOfTheRequests) {
  forEveryByte(FaultKind::CloseInput, [](const FaultCase& each, Worker& worker) {
    ASSERT_TRUE(worker.fault().has_value());
    const bool is_between = each.offset == 0;
    if (!is_between) {
      EXPECT_EQ(worker.fault()->kind, Fault::Kind::DeadlinePassed);
    }
    EXPECT_THAT(worker.fault()->kind,
                testing::AnyOf(Fault::Kind::DeadlinePassed, Fault::Kind::RequestNotTaken));
    EXPECT_EQ(worker.exit(), (WorkerExit{WorkerExit::Kind::Killed, 0}));
  });
}

// The ways to keep a host waiting. The response to each program is a header and sixty bytes or so.
struct Delay {
  const char* name;
  FaultOrders orders;
  std::size_t program_size;
};

class FaultDelay : public testing::TestWithParam<Delay> {};

// The promise to a host: a fault is reported no later than 100 ms after the deadline, the killing
// and reaping included. The middle of several, because a machine may be busy with other things.
TEST_P(FaultDelay, EndsWithinATenthOfASecondOfTheDeadline) {
  constexpr milliseconds kShortLimit{100};
  const std::string program(GetParam().program_size, '7');
  std::vector<milliseconds> times;
  for (int n = 0; n < 5; ++n) {
    Worker worker(faultyStarter(GetParam().orders), {.time_limit = kShortLimit});
    ASSERT_TRUE(worker.start());
    const auto begin = steady_clock::now();
    EXPECT_FALSE(worker.evalStart(program, 0).has_value());
    times.push_back(std::chrono::duration_cast<milliseconds>(steady_clock::now() - begin));
    EXPECT_GE(times.back(), kShortLimit);
    EXPECT_EQ(worker.fault()->kind, Fault::Kind::DeadlinePassed);
    EXPECT_EQ(worker.exit(), (WorkerExit{WorkerExit::Kind::Killed, 0}));
  }
  std::sort(times.begin(), times.end());
  EXPECT_LE(times[2], kShortLimit + milliseconds(100));
}

INSTANTIATE_TEST_SUITE_P(
    Every, FaultDelay,
    testing::Values(
        Delay{"NoResponse", {FaultKind::Stall, 0}, 3},
        Delay{"HalfAHeader", {FaultKind::Stall, 32}, 3},
        Delay{"HeaderWithoutPayload", {FaultKind::Stall, worker::kHeaderSize}, 3},
        Delay{"DribbledHeader", {FaultKind::Dribble, 8}, 3},
        Delay{"DribbledPayload", {FaultKind::Dribble, worker::kHeaderSize}, 3},
        Delay{"RequestNotRead", {FaultKind::InputStall, 0}, 3},
        Delay{"LongRequestNotRead", {FaultKind::InputStall, 0}, worker::kPayloadSizeMax},
        Delay{"InputClosedAfterAHeader", {FaultKind::CloseInput, worker::kHeaderSize}, 3}),
    [](const testing::TestParamInfo<Delay>& delay) { return delay.param.name; });

// A worker that takes nothing, and a request that fills the pipe.
TEST(FaultDeadline, EndsTheWritingOfALongRequest) {
  Worker worker(faultyStarter({FaultKind::InputStall, 0}), {.time_limit = milliseconds(100)});
  EXPECT_FALSE(worker.evalStart(std::string(worker::kPayloadSizeMax, ' '), 0).has_value());
  ASSERT_TRUE(worker.fault().has_value());
  EXPECT_EQ(worker.fault()->kind, Fault::Kind::DeadlinePassed);
  EXPECT_EQ(worker.fault()->message,
            "the worker has not taken the request within 100 ms: request 1, an EvalStart with a "
            "program of 1048576 bytes; it has been killed");
}

// The request to end is one like any other, and what has become of it is told.
TEST(FaultDeadline, IsThatOfStopping) {
  constexpr milliseconds kLimit{300};
  Worker worker(faultyStarter({FaultKind::Stall, 0}), {.time_limit = kLimit});
  ASSERT_TRUE(worker.start());
  const auto begin = steady_clock::now();
  EXPECT_EQ(worker.stop().kind, WorkerExit::Kind::Killed);
  EXPECT_LT(steady_clock::now() - begin, 2 * kLimit);
  ASSERT_TRUE(worker.fault().has_value());
  EXPECT_EQ(worker.fault()->kind, Fault::Kind::DeadlinePassed);
}

TEST(FaultDeadline, OfStoppingHoldsWithoutAnyOther) {
  constexpr milliseconds kLimit{300};
  Worker worker(faultyStarter({FaultKind::Stall, 0}),
                {.time_limit = milliseconds(0), .stop_time_limit = kLimit});
  ASSERT_TRUE(worker.start());
  const auto begin = steady_clock::now();
  EXPECT_EQ(worker.stop().kind, WorkerExit::Kind::Killed);
  EXPECT_LT(steady_clock::now() - begin, 2 * kLimit);
}

// A deadline is for one request, not for what the host does between two.
TEST(FaultDeadline, DoesNotCountTheHostsOwnTime) {
  constexpr milliseconds kLimit{600};  // Of a busy machine, too.
  Worker worker(faultyStarter({}), {.time_limit = kLimit});
  ASSERT_EQ(worker.ping(), WorkerStatus::Ok);
  std::this_thread::sleep_for(kLimit + milliseconds(100));
  EXPECT_EQ(worker.ping(), WorkerStatus::Ok);
}

}  // namespace
}  // namespace lisp_worker::client
