#include "lisp_worker/c_interface/lisp_worker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "lisp_worker/client/geometry.h"
#include "lisp_worker/client/run.h"
#include "lisp_worker/client/version.h"
#include "testing/workers/c_interface_handles.h"
#include "testing/workers/executable_worker.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

using lisp_worker::testing_support::newWorker;
using lisp_worker::testing_support::RunHandle;
using lisp_worker::testing_support::ValueHandle;
using lisp_worker::testing_support::WorkerHandle;

RunHandle run(lisp_worker_handle* worker, const std::string& program, lisp_answer answer = nullptr,
              void* user = nullptr, uint64_t context_id = 0) {
  return RunHandle(
      lisp_worker_run(worker, program.data(), program.size(), context_id, answer, user));
}

std::string textOf(const RunHandle& run) { return lisp_run_text(run.get(), nullptr); }

TEST(CInterface, HasTheVersionOfItsHeader) {
  EXPECT_EQ(lisp_worker_interface_version(), LISP_WORKER_INTERFACE_VERSION);
  EXPECT_EQ(lisp_worker_library_version(), lisp_worker::client::libraryVersion());
}

TEST(CInterface, RunsAProgram) {
  const WorkerHandle worker = newWorker();
  EXPECT_EQ(lisp_worker_ping(worker.get()), 0);
  const RunHandle report = run(worker.get(), "(LIST 1 \"a\" 'X)");
  ASSERT_NE(report, nullptr);
  EXPECT_EQ(lisp_run_end(report.get()), LISP_END_VALUE);
  EXPECT_STREQ(lisp_run_end_name(report.get()), "Value");
  EXPECT_STREQ(lisp_run_end_explanation(report.get()), "the program has ended with a value");
  EXPECT_EQ(textOf(report), "(1 \"a\" X)");
  EXPECT_EQ(lisp_run_steps(report.get()), 4u);
  EXPECT_EQ(lisp_run_host_call_count(report.get()), 0u);
  EXPECT_EQ(lisp_run_warning_count(report.get()), 0u);
  EXPECT_EQ(lisp_run_warning(report.get(), 0), nullptr);
  const ValueHandle value(lisp_run_value(report.get()));
  ASSERT_NE(value, nullptr);
  EXPECT_EQ(lisp_value_count(value.get()), 3u);
}

struct Calls {
  std::vector<std::string> log;
};

lisp_value* answerCall(void* user, const char* name, const lisp_value* arguments,
                       const char* text) {
  auto* const calls = static_cast<Calls*>(user);
  calls->log.push_back(std::string(name) + (arguments == nullptr ? " ? " : " ") + text);
  if (std::string(name) == "GETDIST") return lisp_value_number(2.5);
  if (std::string(name) == "ENTGET") return nullptr;
  return lisp_value_point(1, 2, 3);
}

TEST(CInterface, HasTheHostAnswerCalls) {
  const WorkerHandle worker = newWorker();
  Calls calls;
  const RunHandle report =
      run(worker.get(), "(LIST (GETPOINT \"From: \" 5) (GETDIST \"3\\\" bolt\" 1))", answerCall,
          &calls);
  ASSERT_NE(report, nullptr);
  EXPECT_EQ(textOf(report), "((1 2 3) 2.5)");
  EXPECT_EQ(lisp_run_host_call_count(report.get()), 2u);
  EXPECT_EQ(calls.log,
            (std::vector<std::string>{"GETPOINT (\"From: \" 5)", "GETDIST ? (\"3\" bolt\" 1)"}));
}

TEST(CInterface, CancelsWhatTheHostDoesNotAnswer) {
  const WorkerHandle worker = newWorker();
  Calls calls;
  const RunHandle report = run(worker.get(), "(ENTGET \"1F\")", answerCall, &calls);
  EXPECT_EQ(lisp_run_end(report.get()), LISP_END_UNANSWERED);
  EXPECT_EQ(textOf(report), "the host has not answered ENTGET");
  EXPECT_EQ(lisp_run_value(report.get()), nullptr);
  EXPECT_EQ(lisp_run_end(run(worker.get(), "(GETPOINT)").get()), LISP_END_UNANSWERED);
}

TEST(CInterface, WarnsNearALimit) {
  const WorkerHandle worker = newWorker();
  const RunHandle report = run(worker.get(), "(SETQ N 0)(WHILE (< N 40000) (SETQ N (1+ N)))");
  ASSERT_EQ(lisp_run_warning_count(report.get()), 1u);
  EXPECT_THAT(lisp_run_warning(report.get(), 0), HasSubstr(" of 250000 steps"));
}

TEST(CInterface, MakesAndReadsValues) {
  const ValueHandle parts[] = {ValueHandle(lisp_value_nil()), ValueHandle(lisp_value_number(-0.5)),
                               ValueHandle(lisp_value_string("a\"\0b", 4)),
                               ValueHandle(lisp_value_symbol("$KVSEL"))};
  const lisp_value* elements[] = {parts[0].get(), parts[1].get(), parts[2].get(), parts[3].get()};
  const ValueHandle list(lisp_value_list(elements, 4));
  EXPECT_EQ(lisp_value_kind(list.get()), LISP_LIST);
  ASSERT_EQ(lisp_value_count(list.get()), 4u);
  const int kinds[] = {LISP_NIL, LISP_NUMBER, LISP_STRING, LISP_SYMBOL};
  for (std::size_t index = 0; index < 4; ++index) {
    const ValueHandle element(lisp_value_element(list.get(), index));
    ASSERT_NE(element, nullptr);
    EXPECT_EQ(lisp_value_kind(element.get()), kinds[index]);
    EXPECT_EQ(lisp_value_count(element.get()), 0u);
    EXPECT_EQ(lisp_value_element(element.get(), 0), nullptr);
    EXPECT_EQ(lisp_value_as_number(element.get()), index == 1 ? -0.5 : 0.0);
  }
  EXPECT_EQ(lisp_value_element(list.get(), 4), nullptr);
  size_t size = 0;
  EXPECT_EQ(std::string(lisp_value_text(parts[2].get(), &size)).substr(0, 2), "a\"");
  EXPECT_EQ(size, 4u);
  EXPECT_STREQ(lisp_value_text(parts[3].get(), nullptr), "$KVSEL");
  EXPECT_STREQ(lisp_value_text(parts[1].get(), &size), "");
  EXPECT_EQ(size, 0u);
  const char* const printed = lisp_value_print(list.get(), &size);
  EXPECT_EQ(std::string(printed, size), std::string("(nil -0.5 \"a\\\"\0b\" $KVSEL)", 25));
  const ValueHandle again(lisp_value_read(printed, size));
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(lisp_value_count(again.get()), 4u);
  EXPECT_EQ(lisp_value_read("1 2", 3), nullptr);
  const ValueHandle nothing(lisp_value_list(nullptr, 0));
  EXPECT_STREQ(lisp_value_print(nothing.get(), nullptr), "()");
}

// Each text of a value and of a run lives as long as that, whatever else is asked.
TEST(CInterface, LendsTextsAsLongAsTheirObjectsLive) {
  const ValueHandle value(lisp_value_string("a\"b", 3));
  const char* const text = lisp_value_text(value.get(), nullptr);
  const char* const printed = lisp_value_print(value.get(), nullptr);
  lisp_value_print(value.get(), nullptr);
  lisp_value_text(value.get(), nullptr);
  EXPECT_STREQ(text, "a\"b");
  EXPECT_STREQ(printed, "\"a\\\"b\"");

  const WorkerHandle worker = newWorker();
  const RunHandle report =
      run(worker.get(), "(SETQ N 0)(WHILE (< N 39500) (SETQ N (1+ N)))(GETPOINT)",
          [](void*, const char*, const lisp_value*, const char*) { return lisp_value_nil(); });
  ASSERT_EQ(lisp_run_warning_count(report.get()), 2u);
  const std::string first = lisp_run_warning(report.get(), 0);
  const char* const lent = lisp_run_warning(report.get(), 0);
  EXPECT_NE(lisp_run_warning(report.get(), 1), lent);
  EXPECT_EQ(lent, first);
}

TEST(CInterface, LendsAFaultUntilThereIsAnother) {
  const WorkerHandle worker(lisp_worker_new("no/such/worker", 0));
  EXPECT_EQ(lisp_worker_start(worker.get()), LISP_FAULT);
  const char* const fault = lisp_worker_fault(worker.get());
  const std::string copy = fault;
  EXPECT_EQ(lisp_worker_fault(worker.get()), fault);
  EXPECT_EQ(lisp_worker_restart(worker.get()), LISP_FAULT);
  EXPECT_EQ(fault, copy);

  const WorkerHandle other = newWorker();
  EXPECT_EQ(lisp_worker_start(other.get()), 0);
  lisp_worker_stop(other.get());
  const char* const shut_down = lisp_worker_fault(other.get());
  const char* const exit = lisp_worker_exit(other.get());
  EXPECT_EQ(lisp_worker_restart(other.get()), 0);
  EXPECT_STREQ(lisp_worker_fault(other.get()), "");
  EXPECT_STREQ(lisp_worker_exit(other.get()), "");
  EXPECT_STREQ(shut_down, "the worker has been asked to end");
  EXPECT_THAT(exit, StartsWith("the worker ended with exit code 0"));
}

lisp_value* failToAnswer(void* user, const char* /*name*/, const lisp_value* /*arguments*/,
                         const char* /*text*/) {
  switch (*static_cast<int*>(user)) {
    case 0:
      return lisp_answer_error("the drawing is locked");
    case 1:
      throw std::runtime_error("no mouse");
    default:
      throw 7;
  }
}

TEST(CInterface, TellsThatTheHostHasFailedToAnswer) {
  const WorkerHandle worker = newWorker();
  const char* const texts[] = {"the host has failed to perform GETDIST: the drawing is locked",
                               "the host has failed to perform GETDIST: no mouse",
                               ("the host has failed to perform GETDIST: it has thrown what is "
                                "not a std::exception")};
  for (int way = 0; way < 3; ++way) {
    const RunHandle report = run(worker.get(), "(GETDIST)", failToAnswer, &way);
    ASSERT_NE(report, nullptr);
    EXPECT_EQ(lisp_run_end(report.get()), LISP_END_HOST_ERROR);
    EXPECT_STREQ(lisp_run_end_name(report.get()), "HostError");
    EXPECT_STREQ(lisp_run_end_explanation(report.get()),
                 "cancelled, because the host has failed to perform a call");
    EXPECT_EQ(textOf(report), texts[way]);
    EXPECT_EQ(lisp_run_host_call_count(report.get()), 1u);
    EXPECT_EQ(lisp_run_value(report.get()), nullptr);
  }
  EXPECT_EQ(textOf(run(worker.get(), "(+ 1 2)")), "3");
  const ValueHandle error(lisp_answer_error(nullptr));
  EXPECT_EQ(lisp_value_kind(error.get()), LISP_NIL);
}

TEST(CInterface, TakesNullForAnything) {
  lisp_worker_free(nullptr);
  lisp_value_free(nullptr);
  lisp_run_free(nullptr);
  EXPECT_EQ(lisp_worker_record(nullptr, nullptr), LISP_FAULT);
  EXPECT_EQ(lisp_worker_start(nullptr), LISP_FAULT);
  EXPECT_EQ(lisp_worker_restart(nullptr), LISP_FAULT);
  lisp_worker_stop(nullptr);
  EXPECT_STREQ(lisp_worker_fault(nullptr), "there is no worker");
  EXPECT_EQ(lisp_worker_fault_kind(nullptr), LISP_FAULT_NOT_STARTED);
  EXPECT_STREQ(lisp_worker_exit(nullptr), "");
  EXPECT_EQ(lisp_worker_exit_code(nullptr), -1);
  EXPECT_EQ(lisp_worker_ping(nullptr), LISP_FAULT);
  EXPECT_EQ(lisp_worker_run(nullptr, nullptr, 0, 0, nullptr, nullptr), nullptr);
  EXPECT_EQ(lisp_worker_register_context(nullptr, 1, nullptr, nullptr, 1, 1, 1), LISP_FAULT);
  EXPECT_EQ(lisp_worker_convert(nullptr, 1, nullptr, 0, 0), LISP_FAULT);
  EXPECT_EQ(lisp_worker_cell_plane_to_system(nullptr, 1, nullptr, 0), LISP_FAULT);
  EXPECT_EQ(lisp_worker_locate_cell(nullptr, 1, nullptr, 0, nullptr, nullptr, nullptr), LISP_FAULT);
  EXPECT_EQ(lisp_worker_compute(nullptr, 1, nullptr, 0, nullptr), LISP_FAULT);

  EXPECT_EQ(lisp_value_kind(nullptr), LISP_NIL);
  EXPECT_EQ(lisp_value_as_number(nullptr), 0.0);
  EXPECT_STREQ(lisp_value_text(nullptr, nullptr), "");
  EXPECT_STREQ(lisp_value_print(nullptr, nullptr), "nil");
  EXPECT_EQ(lisp_value_count(nullptr), 0u);
  EXPECT_EQ(lisp_value_element(nullptr, 0), nullptr);
  EXPECT_EQ(lisp_value_read(nullptr, 1), nullptr);
  const ValueHandle string(lisp_value_string(nullptr, 1));
  EXPECT_STREQ(lisp_value_print(string.get(), nullptr), "\"\"");
  const ValueHandle symbol(lisp_value_symbol(nullptr));
  EXPECT_STREQ(lisp_value_text(symbol.get(), nullptr), "");
  const ValueHandle nothing(lisp_value_list(nullptr, 3));
  EXPECT_EQ(lisp_value_count(nothing.get()), 0u);
  const lisp_value* const elements[] = {nullptr, string.get()};
  const ValueHandle list(lisp_value_list(elements, 2));
  EXPECT_STREQ(lisp_value_print(list.get(), nullptr), "(nil \"\")");

  EXPECT_EQ(lisp_run_end(nullptr), LISP_END_REFUSED);
  EXPECT_STREQ(lisp_run_end_name(nullptr), "Refused");
  EXPECT_STRNE(lisp_run_end_explanation(nullptr), "");
  EXPECT_STREQ(lisp_run_text(nullptr, nullptr), "");
  EXPECT_EQ(lisp_run_value(nullptr), nullptr);
  EXPECT_EQ(lisp_run_host_call_count(nullptr), 0u);
  EXPECT_EQ(lisp_run_steps(nullptr), 0u);
  EXPECT_EQ(lisp_run_warning_count(nullptr), 0u);
  EXPECT_EQ(lisp_run_warning(nullptr, 0), nullptr);

  const WorkerHandle nowhere(lisp_worker_new(nullptr, 0));
  EXPECT_EQ(lisp_worker_record(nowhere.get(), nullptr), LISP_FAULT);
  EXPECT_EQ(lisp_worker_start(nowhere.get()), LISP_FAULT);
  const WorkerHandle worker = newWorker();
  EXPECT_EQ(lisp_worker_register_context(worker.get(), 1, nullptr, nullptr, 1, 1, 1),
            LISP_STATUS_BAD_REQUEST);
  EXPECT_EQ(lisp_worker_convert(worker.get(), 1, nullptr, 0, 0), LISP_STATUS_BAD_REQUEST);
  EXPECT_EQ(lisp_worker_cell_plane_to_system(worker.get(), 1, nullptr, 0), LISP_STATUS_BAD_REQUEST);
  EXPECT_EQ(lisp_worker_locate_cell(worker.get(), 1, nullptr, 0, nullptr, nullptr, nullptr),
            LISP_STATUS_BAD_REQUEST);
  std::array<double, 40> systems{};
  for (std::size_t system = 0; system < 5; ++system) {
    systems[8 * system + 2] = systems[8 * system + 5] = systems[8 * system + 6] = 1;
  }
  const double plane[8] = {0, 0, 1, 0, 0, 1, 1, 0};
  EXPECT_EQ(lisp_worker_register_context(worker.get(), 1, systems.data(), plane, 1, 1, 1), 0);
  double point[3] = {0, 0, 0};
  EXPECT_EQ(lisp_worker_locate_cell(worker.get(), 1, point, 0, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(lisp_worker_compute(worker.get(), LISP_COMPUTE_SUM, nullptr, 2, nullptr),
            LISP_STATUS_BAD_REQUEST);
  const double operands[2] = {1, 2};
  EXPECT_EQ(lisp_worker_compute(worker.get(), LISP_COMPUTE_SUM, operands, 2, nullptr), 0);
  const RunHandle empty(lisp_worker_run(worker.get(), nullptr, 5, 0, nullptr, nullptr));
  EXPECT_EQ(lisp_run_end(empty.get()), lisp_run_end(run(worker.get(), "").get()));
}

// A directory whose name is not in any one code page of Windows.
TEST(CInterface, TakesPathsInUtf8) {
  namespace fs = std::filesystem;
  const fs::path directory =
      fs::temp_directory_path() / u8"lisp worker c interface \u00E4\u03BB\u0416";
  fs::remove_all(directory);
  fs::create_directory(directory);
  fs::copy_file(lisp_worker::testing_support::workerExecutable(), directory / "a worker.exe");
  const auto utf8 = [&](const char* name) {
    const std::u8string text = (directory / name).u8string();
    return std::string(text.begin(), text.end());
  };
  {
    const WorkerHandle worker(lisp_worker_new(utf8("a worker.exe").c_str(), 60000));
    EXPECT_EQ(lisp_worker_record(worker.get(), utf8("a record").c_str()), 0);
    EXPECT_EQ(textOf(run(worker.get(), "(+ 1 2)")), "3");
  }
  EXPECT_TRUE(fs::exists(directory / "a record"));
  const WorkerHandle missing(lisp_worker_new(utf8("nothing").c_str(), 60000));
  EXPECT_EQ(lisp_worker_start(missing.get()), LISP_FAULT);
  EXPECT_THAT(lisp_worker_fault(missing.get()), HasSubstr(utf8("nothing")));
  fs::remove_all(directory);
}

TEST(CInterface, KnowsCoordinates) {
  const WorkerHandle worker = newWorker();
  std::array<double, 40> systems{};
  for (std::size_t system = 0; system < 5; ++system) {
    systems[8 * system + 2] = systems[8 * system + 5] = systems[8 * system + 6] = 1;
  }
  systems[8] = 100;  // Origin of system 1.
  const double plane[8] = {0, 0, 1, 0, 0, 1, 1, 0};
  EXPECT_EQ(lisp_worker_register_context(worker.get(), 3, systems.data(), plane, 10, 1, 77), 0);
  double point[3] = {1, 2, 3};
  EXPECT_EQ(lisp_worker_convert(worker.get(), 3, point, 1, 0), 0);
  EXPECT_EQ(point[0], 101);
  EXPECT_EQ(lisp_worker_convert(worker.get(), 4, point, 1, 0), 4);
  EXPECT_STREQ(lisp_status_name(4), "ContextNotFound");
  EXPECT_STREQ(lisp_status_explanation(4), "no coordinate context is registered under this id");
  EXPECT_EQ(lisp_worker_cell_plane_to_system(worker.get(), 3, point, 1), 0);
  EXPECT_EQ(point[0], 1);
  int64_t index[2] = {0, 0};
  uint64_t key = 0;
  uint32_t tag = 0;
  point[0] = -1;
  EXPECT_EQ(lisp_worker_locate_cell(worker.get(), 3, point, 1, index, &key, &tag), 0);
  EXPECT_EQ(index[0], 9);
  EXPECT_EQ(index[1], 0);
  EXPECT_NE(key, 0u);
  EXPECT_EQ(tag, 77u);
  EXPECT_EQ(textOf(run(worker.get(), "(TRANS '(1 2) 1 0)", nullptr, nullptr, 3)), "(101 2 0)");
  ASSERT_EQ(lisp_worker_restart(worker.get()), 0);
  EXPECT_EQ(textOf(run(worker.get(), "(TRANS '(1 2) 1 0)", nullptr, nullptr, 3)), "(101 2 0)");
}

TEST(CInterface, Calculates) {
  const WorkerHandle worker = newWorker();
  const double operands[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  double result[2] = {0, 0};
  EXPECT_EQ(lisp_worker_compute(worker.get(), 1, operands, 7, result), 0);
  EXPECT_EQ(result[0], 28);
  EXPECT_EQ(lisp_worker_compute(worker.get(), 1, operands, 8, result), 3);
  EXPECT_EQ(lisp_worker_compute(worker.get(), 9, operands, 1, result), 6);
}

struct Constant {
  std::int64_t value;
  const char* name;  // As the C++ enumerator is called.
};

template <typename Function>
void expectNames(const std::vector<Constant>& constants, Function nameOf, const char* other) {
  std::set<std::int64_t> values;
  for (const Constant& each : constants) {
    EXPECT_STREQ(nameOf(each.value), each.name);
    values.insert(each.value);
  }
  // There are no more than these.
  for (int value = -1; value < 300; ++value) {
    if (values.contains(value)) continue;
    EXPECT_STREQ(nameOf(value), other);
  }
}

TEST(CInterface, HasTheNumbersOfTheOther) {
  expectNames({{LISP_STATUS_OK, "Ok"},
               {LISP_STATUS_BAD_MAGIC, "BadMagic"},
               {LISP_STATUS_BAD_VERSION, "BadVersion"},
               {LISP_STATUS_BAD_REQUEST, "BadRequest"},
               {LISP_STATUS_CONTEXT_NOT_FOUND, "ContextNotFound"},
               {LISP_STATUS_QUERY_FAILED, "QueryFailed"},
               {LISP_STATUS_UNKNOWN_TYPE, "UnknownType"},
               {LISP_STATUS_DEGENERATE, "Degenerate"},
               {LISP_STATUS_EVAL_PARSE_ERROR, "EvalParseError"},
               {LISP_STATUS_EVAL_FAILED, "EvalFailed"},
               {LISP_STATUS_EVAL_STEP_LIMIT, "EvalStepLimit"},
               {LISP_STATUS_HOST_CALL_PENDING, "HostCallPending"}},
              lisp_status_name, "unknown status");
  expectNames({{LISP_FAULT_REQUEST_NOT_TAKEN, "RequestNotTaken"},
               {LISP_FAULT_RESPONSE_CUT, "ResponseCut"},
               {LISP_FAULT_BAD_HEADER, "BadHeader"},
               {LISP_FAULT_WRONG_ECHO, "WrongEcho"},
               {LISP_FAULT_BAD_RESPONSE, "BadResponse"},
               {LISP_FAULT_SHUT_DOWN, "ShutDown"},
               {LISP_FAULT_DEADLINE_PASSED, "DeadlinePassed"},
               {LISP_FAULT_NOT_STARTED, "NotStarted"}},
              lisp_fault_name, "unknown fault");
  expectNames({{LISP_EXIT_FINISHED, "Finished"},
               {LISP_EXIT_BAD_MAGIC, "BadMagic"},
               {LISP_EXIT_BAD_VERSION, "BadVersion"},
               {LISP_EXIT_PAYLOAD_TOO_LARGE, "PayloadTooLarge"},
               {LISP_EXIT_PAYLOAD_CUT, "PayloadCut"},
               {LISP_EXIT_HEADER_UNWRITTEN, "HeaderUnwritten"},
               {LISP_EXIT_PAYLOAD_UNWRITTEN, "PayloadUnwritten"},
               {LISP_EXIT_OUT_OF_MEMORY, "OutOfMemory"}},
              lisp_exit_code_name, "unknown exit code");
  const auto end_name = [](std::int64_t end) {
    return lisp_worker::client::runEndName(static_cast<lisp_worker::client::RunEnd>(end)).data();
  };
  EXPECT_STREQ(end_name(LISP_END_VALUE), "Value");
  EXPECT_STREQ(end_name(LISP_END_READ_ERROR), "ReadError");
  EXPECT_STREQ(end_name(LISP_END_EVAL_ERROR), "EvalError");
  EXPECT_STREQ(end_name(LISP_END_STEP_LIMIT), "StepLimit");
  EXPECT_STREQ(end_name(LISP_END_REFUSED), "Refused");
  EXPECT_STREQ(end_name(LISP_END_UNANSWERED), "Unanswered");
  EXPECT_STREQ(end_name(LISP_END_UNWRITABLE), "Unwritable");
  EXPECT_STREQ(end_name(LISP_END_TOO_MANY_CALLS), "TooManyCalls");
  EXPECT_STREQ(lisp_exit_code_name(std::int64_t{1} << 32), "unknown exit code");
  EXPECT_STREQ(lisp_exit_code_name((std::int64_t{1} << 32) + 2), "unknown exit code");
  EXPECT_STREQ(lisp_exit_code_explanation(-(std::int64_t{1} << 32)),
               lisp_exit_code_explanation(-1));
  EXPECT_STREQ(lisp_fault_explanation(LISP_FAULT_SHUT_DOWN), "the worker has been asked to end");
  EXPECT_STREQ(lisp_exit_code_explanation(LISP_EXIT_OUT_OF_MEMORY), "it ran out of memory");
}

TEST(CInterface, TellsAFault) {
  const WorkerHandle worker(lisp_worker_new("no/such/worker", 0));
  EXPECT_STREQ(lisp_worker_fault(worker.get()), "");
  EXPECT_EQ(lisp_worker_fault_kind(worker.get()), -1);
  EXPECT_STREQ(lisp_worker_exit(worker.get()), "");
  EXPECT_EQ(lisp_worker_exit_code(worker.get()), -1);
  EXPECT_EQ(lisp_worker_start(worker.get()), LISP_FAULT);
  EXPECT_EQ(lisp_worker_fault_kind(worker.get()), LISP_FAULT_NOT_STARTED);
  EXPECT_EQ(lisp_worker_ping(worker.get()), LISP_FAULT);
  EXPECT_EQ(run(worker.get(), "1"), nullptr);
  EXPECT_THAT(lisp_worker_fault(worker.get()),
              StartsWith("the worker cannot be started: no/such/worker: "));
  EXPECT_EQ(lisp_worker_restart(worker.get()), LISP_FAULT);
}

TEST(CInterface, LetsAWorkerGo) {
  const WorkerHandle worker = newWorker();
  EXPECT_EQ(lisp_worker_start(worker.get()), 0);
  lisp_worker_stop(worker.get());
  EXPECT_STREQ(lisp_worker_exit(worker.get()),
               "the worker ended with exit code 0: its input ended or it was told to shut down");
  EXPECT_EQ(lisp_worker_exit_code(worker.get()), LISP_EXIT_FINISHED);
  EXPECT_EQ(lisp_worker_ping(worker.get()), LISP_FAULT);
  EXPECT_EQ(lisp_worker_fault_kind(worker.get()), LISP_FAULT_SHUT_DOWN);
  EXPECT_EQ(lisp_worker_restart(worker.get()), 0);
  EXPECT_EQ(lisp_worker_exit_code(worker.get()), -1);
  EXPECT_EQ(lisp_worker_fault_kind(worker.get()), -1);
  EXPECT_EQ(lisp_worker_ping(worker.get()), 0);
  lisp_worker_free(nullptr);
}

TEST(CInterface, Records) {
  const std::filesystem::path path =
      std::filesystem::temp_directory_path() / "lisp_worker_c_interface_test.session";
  std::filesystem::remove(path);
  {
    const WorkerHandle worker = newWorker();
    EXPECT_EQ(lisp_worker_record(worker.get(), path.string().c_str()), 0);
    EXPECT_EQ(lisp_worker_record(worker.get(), path.string().c_str()), LISP_FAULT);
    EXPECT_EQ(lisp_worker_ping(worker.get()), 0);
    EXPECT_EQ(lisp_worker_record(worker.get(), path.string().c_str()), LISP_FAULT);
  }
  EXPECT_GT(std::filesystem::file_size(path), 200u);
  std::filesystem::remove(path);
}

}  // namespace
