// Programs step by step, with options, with observers and recorders.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "testing/base/test_environment.h"
#include "testing/workers/c_interface_handles.h"

namespace {

using lisp_worker::testing_support::environment;
using lisp_worker::testing_support::newWorker;
using lisp_worker::testing_support::RecorderHandle;
using lisp_worker::testing_support::RunHandle;
using lisp_worker::testing_support::textOf;
using lisp_worker::testing_support::ValueHandle;
using lisp_worker::testing_support::workerExecutable;
using lisp_worker::testing_support::WorkerHandle;
using testing::ElementsAre;
using testing::HasSubstr;

RunHandle startRun(const WorkerHandle& worker, const char* program) {
  return RunHandle(lisp_worker_start_run(worker.get(), program, LISP_TO_ZERO, 0));
}

RunHandle resumeRun(const WorkerHandle& worker, const RunHandle& waiting, double answer) {
  const ValueHandle value(lisp_value_number(answer));
  return RunHandle(lisp_worker_resume_run(worker.get(), lisp_run_id(waiting.get()), value.get()));
}

TEST(CRuns, AreCarriedOnByTheHost) {
  const WorkerHandle worker = newWorker();
  const RunHandle first = startRun(worker, "(+ (GETDIST \"A\") (GETDIST \"B\" 7))");
  ASSERT_EQ(lisp_run_end(first.get()), LISP_END_WAITING);
  EXPECT_STREQ(lisp_run_end_name(first.get()), "Waiting");
  EXPECT_STREQ(lisp_run_end_explanation(first.get()), "the program waits for the answer to a call");
  EXPECT_EQ(lisp_run_status(first.get()), LISP_STATUS_HOST_CALL_PENDING);
  EXPECT_EQ(textOf(lisp_call_name, lisp_run_call(first.get())), "GETDIST");
  EXPECT_EQ(textOf(lisp_call_text, lisp_run_call(first.get())), "(\"A\")");
  EXPECT_EQ(textOf(lisp_call_unreadable, lisp_run_call(first.get())), "");
  EXPECT_EQ(lisp_run_value(first.get()), nullptr);
  EXPECT_EQ(lisp_run_result(first.get()), nullptr);
  EXPECT_EQ(lisp_run_host_call_count(first.get()), 1u);

  const RunHandle second = resumeRun(worker, first, 1);
  ASSERT_EQ(lisp_run_end(second.get()), LISP_END_WAITING);
  const lisp_value* const arguments = lisp_call_arguments(lisp_run_call(second.get()));
  EXPECT_EQ(lisp_value_as_number(lisp_value_at(arguments, 1)), 7);

  const RunHandle third = resumeRun(worker, second, 2);
  EXPECT_EQ(lisp_run_end(third.get()), LISP_END_VALUE);
  EXPECT_EQ(lisp_run_status(third.get()), LISP_STATUS_OK);
  EXPECT_EQ(textOf(lisp_run_text, third.get()), "3");
  EXPECT_EQ(lisp_value_as_number(lisp_run_result(third.get())), 3);
  EXPECT_EQ(lisp_run_id(third.get()), 0u);
  EXPECT_EQ(lisp_run_call(third.get()), nullptr);
  EXPECT_EQ(lisp_run_host_call_count(third.get()), 0u);
}

TEST(CRuns, WaitManyAtATimeAndAreAnsweredInAnyOrder) {
  const WorkerHandle worker = newWorker();
  std::vector<RunHandle> waiting;
  for (int n = 0; n < 3; ++n) waiting.push_back(startRun(worker, "(* 10 (GETDIST))"));
  EXPECT_EQ(lisp_worker_cancel_run(worker.get(), lisp_run_id(waiting[1].get())), LISP_STATUS_OK);
  EXPECT_EQ(textOf(lisp_run_text, resumeRun(worker, waiting[2], 3).get()), "30");
  EXPECT_EQ(textOf(lisp_run_text, resumeRun(worker, waiting[0], 1).get()), "10");
  const RunHandle cancelled = resumeRun(worker, waiting[1], 2);
  EXPECT_EQ(lisp_run_end(cancelled.get()), LISP_END_REFUSED);
  EXPECT_EQ(lisp_run_status(cancelled.get()), LISP_STATUS_BAD_REQUEST);
  EXPECT_NE(textOf(lisp_run_text, cancelled.get()), "");
}

TEST(CRuns, WaitOnAfterAnAnswerThatCannotBeWritten) {
  const WorkerHandle worker = newWorker();
  const RunHandle waiting = startRun(worker, "(GETDIST)");
  const std::uint64_t id = lisp_run_id(waiting.get());
  const ValueHandle name(lisp_value_symbol("a b"));
  const RunHandle refused(lisp_worker_resume_run(worker.get(), id, name.get()));
  EXPECT_EQ(lisp_run_end(refused.get()), LISP_END_UNWRITABLE);
  EXPECT_THAT(textOf(lisp_run_text, refused.get()), HasSubstr("cannot be written"));
  EXPECT_EQ(textOf(lisp_run_text, resumeRun(worker, waiting, 4).get()), "4");
}

TEST(CRuns, EndWithAnErrorForAnAnswer) {
  const WorkerHandle worker = newWorker();
  const RunHandle waiting = startRun(worker, "(GETDIST)");
  const ValueHandle error(lisp_answer_error("no mouse"));
  const RunHandle ended(
      lisp_worker_resume_run(worker.get(), lisp_run_id(waiting.get()), error.get()));
  EXPECT_EQ(lisp_run_end(ended.get()), LISP_END_HOST_ERROR);
  EXPECT_THAT(textOf(lisp_run_text, ended.get()), HasSubstr("no mouse"));
  EXPECT_EQ(lisp_run_end(resumeRun(worker, waiting, 1).get()), LISP_END_REFUSED);
}

TEST(CRuns, TellEveryFailure) {
  const WorkerHandle worker = newWorker();
  const RunHandle unread = startRun(worker, "(");
  EXPECT_EQ(lisp_run_end(unread.get()), LISP_END_READ_ERROR);
  EXPECT_EQ(lisp_run_status(unread.get()), LISP_STATUS_EVAL_PARSE_ERROR);
  EXPECT_EQ(textOf(lisp_run_text, unread.get()), "unterminated list");
  const RunHandle failed = startRun(worker, "(/ 1 0)");
  EXPECT_EQ(lisp_run_end(failed.get()), LISP_END_EVAL_ERROR);
  EXPECT_EQ(lisp_run_status(failed.get()), LISP_STATUS_EVAL_FAILED);
  const RunHandle endless = startRun(worker, "(WHILE T)");
  EXPECT_EQ(lisp_run_end(endless.get()), LISP_END_STEP_LIMIT);
  EXPECT_EQ(lisp_run_status(endless.get()), LISP_STATUS_EVAL_STEP_LIMIT);
  const RunHandle nowhere(lisp_worker_start_run(worker.get(), "1", 1, 77));
  EXPECT_EQ(lisp_run_end(nowhere.get()), LISP_END_REFUSED);
  EXPECT_EQ(lisp_run_status(nowhere.get()), LISP_STATUS_CONTEXT_NOT_FOUND);
  lisp_worker_stop(worker.get());
  EXPECT_EQ(startRun(worker, "1"), nullptr);
  const ValueHandle answer(lisp_value_nil());
  EXPECT_EQ(lisp_worker_resume_run(worker.get(), 1, answer.get()), nullptr);
  const ValueHandle error(lisp_answer_error("x"));
  EXPECT_EQ(lisp_worker_resume_run(worker.get(), 1, error.get()), nullptr);
  EXPECT_EQ(lisp_worker_cancel_run(worker.get(), 1), LISP_FAULT);
  EXPECT_STREQ(lisp_worker_fault(worker.get()), "the worker has been asked to end");
}

TEST(CRuns, AreCopied) {
  const WorkerHandle worker = newWorker();
  RunHandle waiting = startRun(worker, "(GETDIST \"A\")");
  const RunHandle copy(lisp_run_copy(waiting.get()));
  waiting.reset();
  EXPECT_EQ(lisp_run_end(copy.get()), LISP_END_WAITING);
  EXPECT_EQ(textOf(lisp_call_text, lisp_run_call(copy.get())), "(\"A\")");
  EXPECT_EQ(lisp_value_count(lisp_call_arguments(lisp_run_call(copy.get()))), 1u);
  RunHandle ended = resumeRun(worker, copy, 5);
  const RunHandle copy_of_end(lisp_run_copy(ended.get()));
  ended.reset();
  EXPECT_EQ(lisp_value_as_number(lisp_run_result(copy_of_end.get())), 5);
  EXPECT_EQ(lisp_run_copy(nullptr), nullptr);
}

TEST(CRuns, TakeNull) {
  EXPECT_EQ(lisp_worker_start_run(nullptr, "1", 1, 0), nullptr);
  EXPECT_EQ(lisp_worker_resume_run(nullptr, 1, nullptr), nullptr);
  EXPECT_EQ(lisp_worker_cancel_run(nullptr, 1), LISP_FAULT);
  EXPECT_EQ(lisp_worker_run_program(nullptr, "1", 1, nullptr), nullptr);
  EXPECT_EQ(lisp_run_result(nullptr), nullptr);
  EXPECT_EQ(lisp_run_status(nullptr), LISP_FAULT);
  EXPECT_EQ(lisp_run_id(nullptr), 0u);
  EXPECT_EQ(lisp_run_call(nullptr), nullptr);
  const lisp_call* const no_call = nullptr;
  EXPECT_EQ(textOf(lisp_call_name, no_call), "");
  EXPECT_EQ(textOf(lisp_call_text, no_call), "");
  EXPECT_EQ(textOf(lisp_call_unreadable, no_call), "");
  EXPECT_EQ(lisp_call_arguments(nullptr), nullptr);
  EXPECT_EQ(lisp_worker_exit_kind(nullptr), -1);
  EXPECT_STREQ(lisp_recorder_failure(nullptr, nullptr), "there is no recorder");
  lisp_recorder_free(nullptr);
  const RecorderHandle nowhere(lisp_recorder_new(nullptr, 0));
  EXPECT_STREQ(lisp_recorder_failure(nowhere.get(), nullptr), "there is no path");
  const WorkerHandle worker = newWorker();
  const RunHandle waiting = startRun(worker, "(GETDIST)");
  const RunHandle ended(lisp_worker_resume_run(worker.get(), lisp_run_id(waiting.get()), nullptr));
  EXPECT_EQ(textOf(lisp_run_text, ended.get()), "nil");
}

// --- Options ---

lisp_worker_options optionsOf(const std::string& path) {
  lisp_worker_options options{};
  options.size = sizeof(options);
  options.path = path.data();
  options.path_size = path.size();
  return options;
}

TEST(COptions, OfAnEarlierVersionAreShorter) {
  const std::string path = workerExecutable();
  lisp_worker_options options = optionsOf(path);
  // The library must not read the memory behind such a structure.
  options.size = offsetof(lisp_worker_options, time_limit_ms);
  std::memset(reinterpret_cast<char*>(&options) + options.size, 0x5A,
              sizeof(options) - options.size);
  const char* reason = "";
  const WorkerHandle worker(lisp_worker_open(&options, &reason));
  ASSERT_NE(worker, nullptr) << reason;
  EXPECT_EQ(reason, nullptr);
  EXPECT_EQ(lisp_worker_ping(worker.get()), 0);
}

TEST(COptions, OfALaterVersionAreRefused) {
  struct Longer {
    lisp_worker_options options;
    void* another;
  } longer{};
  longer.options.size = sizeof(longer);
  const char* reason = nullptr;
  EXPECT_EQ(lisp_worker_open(&longer.options, &reason), nullptr);
  EXPECT_STREQ(reason, "a structure is larger than this version of the library knows");
  EXPECT_EQ(lisp_worker_open(&longer.options, nullptr), nullptr);
  for (const std::size_t size : {std::size_t{0}, std::size_t{7}, sizeof(lisp_worker_options) - 1}) {
    longer.options.size = size;
    EXPECT_EQ(lisp_worker_open(&longer.options, &reason), nullptr);
    EXPECT_STREQ(reason, "a structure does not begin with its size") << size;
  }
  lisp_observer observer{};
  observer.size = sizeof(observer) + 8;
  longer.options.size = sizeof(longer.options);
  longer.options.observer = &observer;
  EXPECT_EQ(lisp_worker_open(&longer.options, &reason), nullptr);
  EXPECT_STREQ(reason, "a structure is larger than this version of the library knows");
}

TEST(COptions, NameAProgramWithoutAZeroInItsPath) {
  const std::string path = workerExecutable() + std::string("\0x", 2);
  lisp_worker_options options = optionsOf(path);
  const char* reason = nullptr;
  EXPECT_EQ(lisp_worker_open(&options, &reason), nullptr);
  EXPECT_STREQ(reason, "the path holds a zero");
  options.path_size = 0;  // Up to the zero.
  const WorkerHandle worker(lisp_worker_open(&options, &reason));
  EXPECT_EQ(lisp_worker_ping(worker.get()), 0);
  const WorkerHandle nowhere(lisp_worker_open(nullptr, &reason));
  EXPECT_EQ(lisp_worker_start(nowhere.get()), LISP_FAULT);
}

lisp_value* performCall(void* user, const lisp_call* call) {
  auto& log = *static_cast<std::vector<std::string>*>(user);
  log.push_back(textOf(lisp_call_name, call) + " " + textOf(lisp_call_text, call) + " " +
                textOf(lisp_call_unreadable, call));
  if (log.back().starts_with("GETPOINT")) throw std::runtime_error("no mouse");
  return lisp_value_number(static_cast<double>(lisp_value_count(lisp_call_arguments(call))));
}

TEST(COptions, OfARunTakeWholeCalls) {
  const WorkerHandle worker = newWorker();
  std::vector<std::string> log;
  lisp_run_options options{};
  options.size = sizeof(options);
  options.perform = performCall;
  options.user = &log;
  const auto run = [&](const char* program) {
    return RunHandle(lisp_worker_run_program(worker.get(), program, LISP_TO_ZERO, &options));
  };
  EXPECT_EQ(textOf(lisp_run_text, run("(+ (GETDIST 1 2 3) (GETDIST \"3\\\" bolt\" 1))").get()),
            "3");
  ASSERT_EQ(log.size(), 2u);
  EXPECT_EQ(log[0], "GETDIST (1 2 3) ");
  EXPECT_GT(log[1].size(), std::strlen("GETDIST (\"3\" bolt\" 1) "));
  const RunHandle failed = run("(GETPOINT)");
  EXPECT_EQ(lisp_run_end(failed.get()), LISP_END_HOST_ERROR);
  EXPECT_EQ(textOf(lisp_run_text, failed.get()),
            "the host has failed to perform GETPOINT: no mouse");
  options.host_call_count_max = 1;
  EXPECT_EQ(lisp_run_end(run("(+ (GETDIST) (GETDIST))").get()), LISP_END_TOO_MANY_CALLS);
  options.context_id = 77;
  EXPECT_EQ(lisp_run_status(run("1").get()), LISP_STATUS_CONTEXT_NOT_FOUND);
  options.size = sizeof(options) + 8;
  const RunHandle refused = run("1");
  EXPECT_EQ(lisp_run_end(refused.get()), LISP_END_REFUSED);
  EXPECT_EQ(textOf(lisp_run_text, refused.get()),
            "a structure is larger than this version of the library knows");
  const RunHandle plain(lisp_worker_run_program(worker.get(), "(GETDIST)", LISP_TO_ZERO, nullptr));
  EXPECT_EQ(lisp_run_end(plain.get()), LISP_END_UNANSWERED);
}

TEST(COptions, BoundTheTimeOfRequests) {
  const std::string path = workerExecutable();
  lisp_worker_options options = optionsOf(path);
  options.time_limit_ms = LISP_NO_LIMIT;
  options.stop_time_limit_ms = 1000;
  const WorkerHandle worker(lisp_worker_open(&options, nullptr));
  EXPECT_EQ(lisp_worker_ping(worker.get()), 0);
  lisp_worker_stop(worker.get());
  EXPECT_EQ(lisp_worker_exit_kind(worker.get()), LISP_ENDED_EXITED);
}

// --- Observers and recorders ---

struct Seen {
  std::vector<std::string> events;
};

lisp_observer observerOf(Seen& seen) {
  lisp_observer observer{};
  observer.size = sizeof(observer);
  observer.user = &seen;
  observer.on_start = [](void* user) { static_cast<Seen*>(user)->events.push_back("start"); };
  observer.on_request = [](void* user, const char* frame, size_t size) {
    static_cast<Seen*>(user)->events.push_back("request " + std::string(frame + 64, size - 64));
  };
  observer.on_response = [](void* user, const char*, size_t header_size, const char* payload,
                            size_t payload_size) {
    static_cast<Seen*>(user)->events.push_back(
        "response " + std::to_string(header_size) + " " +
        std::string(payload, payload_size).substr(payload_size > 64 ? 64 : 0));
    throw std::runtime_error("an exception that is lost");
  };
  observer.on_broken_response = [](void* user, const char*, size_t size) {
    static_cast<Seen*>(user)->events.push_back("broken " + std::to_string(size));
  };
  observer.on_end = [](void* user, int kind, uint32_t code) {
    static_cast<Seen*>(user)->events.push_back("end " + std::to_string(kind) + " " +
                                               std::to_string(code));
  };
  return observer;
}

TEST(CObserver, SeesAllThatIsSaid) {
  Seen seen;
  const std::string path = workerExecutable();
  lisp_worker_options options = optionsOf(path);
  const lisp_observer observer = observerOf(seen);
  options.observer = &observer;
  {
    const WorkerHandle worker(lisp_worker_open(&options, nullptr));
    EXPECT_EQ(textOf(lisp_run_text, startRun(worker, "(+ 1 2)").get()), "3");
    lisp_worker_stop(worker.get());
  }
  ASSERT_EQ(seen.events.size(), 6u);
  EXPECT_EQ(seen.events[0], "start");
  EXPECT_EQ(seen.events[1], "request (+ 1 2)");
  EXPECT_THAT(seen.events[2], HasSubstr("response 64 "));
  EXPECT_THAT(seen.events[2], HasSubstr("3"));
  EXPECT_EQ(seen.events[5], "end 0 0");
}

// The program takes a part of the request and waits for more.
TEST(CObserver, SeesThatNoResponseComes) {
  Seen seen;
  const std::string path = environment("LISP_FAULTY_WORKER_PATH");
  lisp_worker_options options = optionsOf(path);
  const lisp_observer observer = observerOf(seen);
  options.observer = &observer;
  options.time_limit_ms = 300;
  const WorkerHandle worker(lisp_worker_open(&options, nullptr));
  EXPECT_EQ(lisp_worker_ping(worker.get()), LISP_FAULT);
  EXPECT_EQ(lisp_worker_fault_kind(worker.get()), LISP_FAULT_DEADLINE_PASSED);
  EXPECT_EQ(lisp_worker_exit_kind(worker.get()), LISP_ENDED_KILLED);
  EXPECT_EQ(lisp_worker_exit_code(worker.get()), -1);
  EXPECT_THAT(seen.events, ElementsAre("start", "request ", "broken 0", "end 2 0"));
}

TEST(CObserver, NeedsNoneOfItsFunctions) {
  lisp_observer observer{};
  observer.size = sizeof(observer);
  const std::string path = workerExecutable();
  lisp_worker_options options = optionsOf(path);
  options.observer = &observer;
  const WorkerHandle worker(lisp_worker_open(&options, nullptr));
  EXPECT_EQ(lisp_worker_ping(worker.get()), 0);
}

class CRecorder : public testing::Test {
 protected:
  ~CRecorder() override { std::filesystem::remove(path_); }
  std::filesystem::path path_ =
      std::filesystem::temp_directory_path() / "lisp_worker_c_recorder_test.session";
};

TEST_F(CRecorder, OutlivesItsHandleAndTellsItsErrors) {
  std::filesystem::remove(path_);
  const std::string path = path_.string();
  Seen seen;
  const lisp_observer observer = observerOf(seen);
  RecorderHandle recorder(lisp_recorder_new(path.data(), path.size()));
  EXPECT_EQ(textOf(lisp_recorder_failure, recorder.get()), "");
  const std::string worker_path = workerExecutable();
  lisp_worker_options options = optionsOf(worker_path);
  options.recorder = recorder.get();
  options.observer = &observer;
  {
    const WorkerHandle worker(lisp_worker_open(&options, nullptr));
    EXPECT_EQ(lisp_worker_record(worker.get(), "another"), LISP_FAULT);
    EXPECT_EQ(lisp_worker_ping(worker.get()), 0);
    recorder.reset();
    EXPECT_EQ(lisp_worker_ping(worker.get()), 0);
  }
  EXPECT_EQ(seen.events.size(), 6u);
  EXPECT_GT(std::filesystem::file_size(path_), 400u);

  const RecorderHandle second(lisp_recorder_new(path.data(), path.size()));
  EXPECT_NE(textOf(lisp_recorder_failure, second.get()), "");
  options.recorder = second.get();
  const WorkerHandle unrecorded(lisp_worker_open(&options, nullptr));
  EXPECT_EQ(lisp_worker_ping(unrecorded.get()), 0);
}

TEST_F(CRecorder, RefusesAPathThatHoldsAZero) {
  const RecorderHandle recorder(lisp_recorder_new("a\0b", 3));
  EXPECT_EQ(textOf(lisp_recorder_failure, recorder.get()), "the path holds a zero");
}

TEST_F(CRecorder, StopsWhenTwoWorkersShareIt) {
  std::filesystem::remove(path_);
  const std::string path = path_.string();
  const RecorderHandle recorder(lisp_recorder_new(path.data(), path.size()));
  const std::string worker_path = workerExecutable();
  lisp_worker_options options = optionsOf(worker_path);
  options.recorder = recorder.get();
  const WorkerHandle first(lisp_worker_open(&options, nullptr));
  const WorkerHandle second(lisp_worker_open(&options, nullptr));
  EXPECT_EQ(lisp_worker_ping(first.get()), 0);
  EXPECT_EQ(lisp_worker_ping(second.get()), 0);
  EXPECT_EQ(textOf(lisp_recorder_failure, recorder.get()),
            "two workers at a time share the recorder");
}

}  // namespace
