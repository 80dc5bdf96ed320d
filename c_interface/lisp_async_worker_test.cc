#include "lisp_worker/c_interface/lisp_async_worker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "testing/base/test_environment.h"
#include "testing/workers/c_interface_handles.h"
#include "testing/workers/handle_wait.h"

namespace {

using lisp_worker::testing_support::AsyncWorkerHandle;
using lisp_worker::testing_support::environment;
using lisp_worker::testing_support::RunHandle;
using lisp_worker::testing_support::textOf;
using lisp_worker::testing_support::ValueHandle;
using lisp_worker::testing_support::waitForHandle;
using lisp_worker::testing_support::workerExecutable;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;

class CAsyncWorker : public testing::Test {
 protected:
  CAsyncWorker() : CAsyncWorker(workerExecutable(), 0) {}

  CAsyncWorker(const std::string& path, std::uint64_t time_limit_ms) {
    lisp_async_options options{};
    options.size = sizeof(options);
    options.path = path.data();
    options.path_size = path.size();
    options.time_limit_ms = time_limit_ms;
    options.user = this;
    options.on_fault = [](void* user, lisp_async_worker* worker) {
      auto& test = *static_cast<CAsyncWorker*>(user);
      test.fault = lisp_async_worker_fault(worker);
      return test.on_fault ? test.on_fault(worker) : 0;
    };
    subject.reset(lisp_async_worker_new(&options, nullptr));
    settings.size = sizeof(settings);
    settings.user = this;
    settings.on_call = [](void* user, std::uint64_t program, const lisp_call* call) {
      auto& test = *static_cast<CAsyncWorker*>(user);
      test.waiting.push_back(program);
      test.calls.push_back(textOf(lisp_call_name, call) + textOf(lisp_call_text, call));
      return test.on_call ? test.on_call(program) : 0;
    };
    settings.on_end = [](void* user, std::uint64_t program, const lisp_run* run) {
      auto& test = *static_cast<CAsyncWorker*>(user);
      test.ends.push_back(lisp_run_end_name(run) + std::string(": ") + textOf(lisp_run_text, run));
      return test.on_end ? test.on_end(program, run) : 0;
    };
  }

  std::uint64_t submit(const char* program) {
    return lisp_async_worker_submit(subject.get(), program, LISP_TO_ZERO, &settings, nullptr);
  }

  // A host's event loop, until `is_done`, or a callback's result that is not 0.
  int loopUntil(const std::function<bool()>& is_done) {
    while (!is_done()) {
      const int result = lisp_async_worker_process(subject.get());
      if (result != 0) return result;
      if (is_done()) break;
      if (!waitForHandle(lisp_async_worker_handle(subject.get()), milliseconds(20000))) {
        ADD_FAILURE() << "nothing happens";
        return 1;
      }
    }
    return 0;
  }
  int loopUntilEnded(std::size_t count) {
    return loopUntil([this, count] { return ends.size() >= count; });
  }

  bool answer(std::uint64_t program, double value) {
    const ValueHandle number(lisp_value_number(value));
    return lisp_async_worker_answer(subject.get(), program, number.get()) == 1;
  }

  AsyncWorkerHandle subject;
  lisp_program_options settings{};
  std::function<int(lisp_async_worker*)> on_fault;
  std::function<int(std::uint64_t)> on_call;
  std::function<int(std::uint64_t, const lisp_run*)> on_end;
  std::vector<std::uint64_t> waiting;
  std::vector<std::string> calls;
  std::vector<std::string> ends;
  std::string fault;
};

TEST_F(CAsyncWorker, EvaluatesPrograms) {
  EXPECT_EQ(lisp_async_worker_handle(subject.get()), -1);
  EXPECT_EQ(lisp_async_worker_start(subject.get()), 0);
  EXPECT_NE(lisp_async_worker_handle(subject.get()), -1);
  RunHandle kept;
  on_end = [&](std::uint64_t, const lisp_run* run) {
    kept.reset(lisp_run_copy(run));
    return 0;
  };
  EXPECT_EQ(submit("(+ 1 2)"), 1u);
  EXPECT_EQ(loopUntilEnded(1), 0);
  EXPECT_EQ(submit("(/ 1 0)"), 2u);
  EXPECT_EQ(loopUntilEnded(2), 0);
  EXPECT_THAT(ends, ElementsAre("Value: 3", "EvalError: division by zero"));
  EXPECT_EQ(lisp_run_status(kept.get()), LISP_STATUS_EVAL_FAILED);
  EXPECT_EQ(lisp_async_worker_progress(subject.get(), 1, nullptr, nullptr, nullptr),
            LISP_PROGRAM_ENDED);
}

TEST_F(CAsyncWorker, LetsManyWaitAndTellsHowFarTheyAre) {
  for (int n = 0; n < 3; ++n) submit("(* 10 (GETDIST \"D\"))");
  EXPECT_EQ(loopUntil([this] { return waiting.size() == 3; }), 0);
  EXPECT_THAT(waiting, ElementsAre(1, 2, 3));
  EXPECT_EQ(calls[0], "GETDIST(\"D\")");
  std::uint64_t call_count = 0;
  std::uint64_t steps = 0;
  std::uint64_t run_id = 0;
  EXPECT_EQ(lisp_async_worker_progress(subject.get(), 2, &call_count, &steps, &run_id),
            LISP_PROGRAM_WAITING);
  EXPECT_EQ(call_count, 1u);
  EXPECT_GT(steps, 0u);
  EXPECT_EQ(run_id, 2u);
  EXPECT_TRUE(answer(3, 3));
  EXPECT_FALSE(answer(3, 4));
  EXPECT_EQ(lisp_async_worker_decline(subject.get(), 2), 1);
  EXPECT_EQ(lisp_async_worker_decline(subject.get(), 2), 0);
  EXPECT_EQ(lisp_async_worker_answer(subject.get(), 1, nullptr), 1);  // Nil.
  EXPECT_EQ(loopUntilEnded(3), 0);
  EXPECT_THAT(ends, testing::UnorderedElementsAre("Value: 30",
                                                  "Unanswered: the host has not answered GETDIST",
                                                  HasSubstr("EvalError: ")));
}

TEST_F(CAsyncWorker, CancelsAProgramFromAnyThread) {
  submit("(GETDIST)");
  const std::uint64_t unwanted = submit("(GETPOINT)");
  EXPECT_EQ(loopUntil([this] { return waiting.size() == 2; }), 0);
  std::thread([&] { lisp_async_worker_cancel(subject.get(), unwanted); }).join();
  EXPECT_EQ(loopUntilEnded(1), 0);
  EXPECT_THAT(ends, ElementsAre("Cancelled: cancelled by the host"));
  EXPECT_TRUE(answer(1, 1));
  EXPECT_EQ(loopUntilEnded(2), 0);
}

TEST_F(CAsyncWorker, EndsAProgramWhoseCallTheHostCannotPerform) {
  on_call = [this](std::uint64_t program) {
    const ValueHandle error(lisp_answer_error("the drawing is locked"));
    EXPECT_EQ(lisp_async_worker_answer(subject.get(), program, error.get()), 1);
    EXPECT_EQ(lisp_async_worker_answer(subject.get(), program, error.get()), 0);
    return 0;
  };
  submit("(GETDIST)");
  EXPECT_EQ(loopUntilEnded(1), 0);
  EXPECT_THAT(
      ends,
      ElementsAre("HostError: the host has failed to perform GETDIST: the drawing is locked"));
}

TEST_F(CAsyncWorker, EndsAProgramThatTakesTooLong) {
  settings.time_limit_ms = 50;
  submit("(GETDIST)");
  EXPECT_EQ(loopUntilEnded(1), 0);
  EXPECT_THAT(ends, ElementsAre("TimedOut: cancelled, because its time limit has passed"));
  settings.time_limit_ms = UINT64_MAX;
  settings.host_call_count_max = 1;
  on_call = [this](std::uint64_t program) { return answer(program, 1) ? 0 : 1; };
  submit("(+ (GETDIST) (GETDIST))");
  EXPECT_EQ(loopUntilEnded(2), 0);
  EXPECT_THAT(ends[1], HasSubstr("TooManyCalls: "));
}

TEST_F(CAsyncWorker, HandsOnWhatACallbackReturnsAndLosesNoOther) {
  on_end = [](std::uint64_t program, const lisp_run*) -> int {
    if (program == 3) throw std::runtime_error("a host's exception");
    return static_cast<int>(program * 10);
  };
  for (int n = 0; n < 3; ++n) submit("1");
  EXPECT_EQ(loopUntilEnded(3), 10);
  EXPECT_EQ(loopUntilEnded(3), 20);
  EXPECT_EQ(loopUntilEnded(3), LISP_CALLBACK_THREW);
  EXPECT_EQ(ends.size(), 3u);
  on_call = [](std::uint64_t) { return 7; };
  submit("(GETDIST)");
  EXPECT_EQ(loopUntilEnded(4), 7);
  EXPECT_TRUE(answer(4, 4));  // It waits on.
  on_end = {};
  EXPECT_EQ(loopUntilEnded(4), 0);
}

TEST_F(CAsyncWorker, MayBeFreedByACallback) {
  on_end = [this](std::uint64_t, const lisp_run* run) {
    subject.reset();
    return textOf(lisp_run_text, run) == "1" ? 5 : 6;
  };
  submit("1");
  submit("2");
  EXPECT_EQ(loopUntilEnded(2), 5);
  EXPECT_EQ(ends.size(), 1u);
}

TEST_F(CAsyncWorker, IsToldOfAWorkerKilledWhileIdleAndStartsAnother) {
  submit("(SETQ A 1)");
  EXPECT_EQ(loopUntilEnded(1), 0);
  EXPECT_STREQ(lisp_async_worker_exit(subject.get()), "");
  EXPECT_EQ(lisp_async_worker_exit_kind(subject.get()), -1);
  on_fault = [](lisp_async_worker* worker) { return lisp_async_worker_restart(worker); };
  std::thread([this] { lisp_async_worker_kill(subject.get()); }).join();
  EXPECT_EQ(loopUntil([this] { return !fault.empty(); }), 0);
  EXPECT_THAT(fault, HasSubstr("the host has killed the worker"));
  submit("(+ 1 1)");
  EXPECT_EQ(loopUntilEnded(2), 0);
  EXPECT_EQ(ends[1], "Value: 2");
}

TEST_F(CAsyncWorker, LosesWhatIsInHandWithTheWorker) {
  submit("(GETDIST)");
  EXPECT_EQ(loopUntil([this] { return waiting.size() == 1; }), 0);
  lisp_async_worker_kill(subject.get());
  EXPECT_EQ(loopUntilEnded(1), 0);
  EXPECT_THAT(ends[0], HasSubstr("WorkerLost: the host has killed the worker"));
  EXPECT_EQ(lisp_async_worker_fault_kind(subject.get()), LISP_FAULT_SHUT_DOWN);
  EXPECT_NE(lisp_async_worker_exit_kind(subject.get()), -1);
  EXPECT_STRNE(lisp_async_worker_exit(subject.get()), "");
  EXPECT_EQ(lisp_async_worker_start(subject.get()), LISP_FAULT);
  const std::uint64_t late = submit("1");
  EXPECT_NE(late, 0u);
  EXPECT_EQ(loopUntilEnded(2), 0);
  EXPECT_EQ(lisp_async_worker_restart(subject.get()), 0);
  submit("1");
  EXPECT_EQ(loopUntilEnded(3), 0);
  EXPECT_EQ(ends[2], "Value: 1");
}

TEST_F(CAsyncWorker, RegistersContextsAndPings) {
  std::vector<int> statuses;
  const lisp_on_status note = [](void* user, int status) {
    static_cast<std::vector<int>*>(user)->push_back(status);
    return 0;
  };
  std::array<double, 40> systems{};
  for (std::size_t system = 0; system < 5; ++system) {
    systems[8 * system + 2] = systems[8 * system + 5] = systems[8 * system + 6] = 1;
  }
  systems[8] = 100;  // Origin of system 1.
  const std::array<double, 8> plane = {0, 0, 1, 0, 0, 1, 1, 0};
  lisp_async_worker* const worker = subject.get();
  EXPECT_EQ(lisp_async_worker_register_context(worker, 3, systems.data(), plane.data(), 10, 1, 77,
                                               note, &statuses),
            LISP_STATUS_OK);
  EXPECT_EQ(lisp_async_worker_register_context(worker, 4, nullptr, plane.data(), 10, 1, 77, note,
                                               &statuses),
            LISP_STATUS_BAD_REQUEST);
  lisp_async_worker_ping(worker, note, &statuses);
  lisp_async_worker_ping(worker, nullptr, nullptr);
  settings.context_id = 3;
  submit("(TRANS '(1 2) 1 0)");
  EXPECT_EQ(loopUntilEnded(1), 0);
  EXPECT_THAT(ends, ElementsAre("Value: (101 2 0)"));
  EXPECT_THAT(statuses, ElementsAre(LISP_STATUS_OK, LISP_STATUS_OK));
  lisp_async_worker_kill(worker);
  EXPECT_EQ(loopUntil([this] { return !fault.empty(); }), 0);
  lisp_async_worker_ping(worker, note, &statuses);
  EXPECT_EQ(lisp_async_worker_process(worker), 0);
  EXPECT_EQ(statuses.back(), LISP_FAULT);
}

TEST(CAsyncWorkerOptions, AreRefusedWithAReason) {
  const char* reason = nullptr;
  lisp_async_options options{};
  options.size = sizeof(options) + 8;
  EXPECT_EQ(lisp_async_worker_new(&options, &reason), nullptr);
  EXPECT_STREQ(reason, "a structure is larger than this version of the library knows");
  options.size = sizeof(options);
  options.path = "a\0b";
  options.path_size = 3;
  EXPECT_EQ(lisp_async_worker_new(&options, &reason), nullptr);
  EXPECT_STREQ(reason, "the path holds a zero");
  options.path = "no/such/program";
  options.path_size = 0;
  const AsyncWorkerHandle worker(lisp_async_worker_new(&options, &reason));
  ASSERT_NE(worker, nullptr);
  EXPECT_EQ(reason, nullptr);
  EXPECT_EQ(lisp_async_worker_start(worker.get()), LISP_FAULT);
  EXPECT_THAT(lisp_async_worker_fault(worker.get()), HasSubstr("no/such/program"));
  lisp_program_options settings{};
  settings.size = sizeof(settings) + 8;
  EXPECT_EQ(lisp_async_worker_submit(worker.get(), "1", 1, &settings, &reason), 0u);
  EXPECT_STREQ(reason, "a structure is larger than this version of the library knows");
  EXPECT_EQ(lisp_async_worker_submit(worker.get(), "1", 1, &settings, nullptr), 0u);
  EXPECT_NE(lisp_async_worker_submit(worker.get(), "1", 1, nullptr, &reason), 0u);
  EXPECT_EQ(lisp_async_worker_process(worker.get()), 0);
}

// The program takes a part of a request and waits for more.
class CAsyncWorkerThatIsStuck : public CAsyncWorker {
 protected:
  CAsyncWorkerThatIsStuck() : CAsyncWorker(environment("LISP_FAULTY_WORKER_PATH"), 200) {}
};

TEST_F(CAsyncWorkerThatIsStuck, IsKilledAtTheLimitOfARequest) {
  submit("");
  submit("");
  EXPECT_EQ(lisp_async_worker_progress(subject.get(), 1, nullptr, nullptr, nullptr),
            LISP_PROGRAM_EVALUATING);
  EXPECT_EQ(lisp_async_worker_progress(subject.get(), 2, nullptr, nullptr, nullptr),
            LISP_PROGRAM_QUEUED);
  EXPECT_EQ(loopUntilEnded(1), 0);
  EXPECT_EQ(lisp_async_worker_fault_kind(subject.get()), LISP_FAULT_DEADLINE_PASSED);
  EXPECT_THAT(ends[0], HasSubstr("WorkerLost: the worker has not answered within 200 ms"));
}

TEST(CAsyncWorkerOfNull, IsOneThatCannotBeStarted) {
  const char* reason = nullptr;
  lisp_async_worker_free(nullptr);
  EXPECT_EQ(lisp_async_worker_start(nullptr), LISP_FAULT);
  EXPECT_EQ(lisp_async_worker_restart(nullptr), LISP_FAULT);
  EXPECT_EQ(lisp_async_worker_handle(nullptr), -1);
  EXPECT_EQ(lisp_async_worker_process(nullptr), 0);
  EXPECT_EQ(lisp_async_worker_submit(nullptr, "1", 1, nullptr, &reason), 0u);
  EXPECT_STREQ(reason, "there is no worker");
  EXPECT_EQ(lisp_async_worker_answer(nullptr, 1, nullptr), 0);
  EXPECT_EQ(lisp_async_worker_decline(nullptr, 1), 0);
  lisp_async_worker_cancel(nullptr, 1);
  lisp_async_worker_kill(nullptr);
  EXPECT_EQ(
      lisp_async_worker_register_context(nullptr, 1, nullptr, nullptr, 1, 1, 1, nullptr, nullptr),
      LISP_FAULT);
  lisp_async_worker_ping(nullptr, nullptr, nullptr);
  EXPECT_EQ(lisp_async_worker_progress(nullptr, 1, nullptr, nullptr, nullptr), LISP_PROGRAM_ENDED);
  EXPECT_STREQ(lisp_async_worker_fault(nullptr), "there is no worker");
  EXPECT_EQ(lisp_async_worker_fault_kind(nullptr), LISP_FAULT_NOT_STARTED);
  EXPECT_STREQ(lisp_async_worker_exit(nullptr), "");
  EXPECT_EQ(lisp_async_worker_exit_kind(nullptr), -1);
  EXPECT_EQ(lisp_async_worker_exit_code(nullptr), -1);
  const AsyncWorkerHandle nowhere(lisp_async_worker_new(nullptr, nullptr));
  EXPECT_EQ(lisp_async_worker_start(nowhere.get()), LISP_FAULT);
  EXPECT_EQ(lisp_async_worker_exit_code(nowhere.get()), -1);
}

}  // namespace
