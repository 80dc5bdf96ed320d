#include "lisp_worker/client/run.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "lisp_worker/client/answer_text.h"
#include "lisp_worker/client/worker.h"
#include "testing/workers/executable_worker.h"

namespace lisp_worker::client {
namespace {

using worker::WorkerStatus;

class RunProgram : public testing::Test {
 protected:
  // Runs on a real worker; a fault fails the test.
  RunReport run(std::string_view program, const Answerer& answer,
                const RunSettings& settings = {}) {
    auto report = worker_.run(program, answer, settings);
    if (report) return *std::move(report);
    ADD_FAILURE() << worker_.fault()->message;
    return {};
  }

  // True when a run waits under this id. An answer that cannot be read ends it, if it does.
  bool isWaiting(std::uint64_t run_id) {
    const auto reply = worker_.evalResume(run_id, ")");
    return reply && reply->status == WorkerStatus::EvalParseError;
  }

  Worker worker_{testing_support::workerExecutable()};
};

std::optional<Datum> refuse(const HostCall& /*call*/) { return std::nullopt; }

TEST_F(RunProgram, ReportsAValue) {
  const RunReport report = run("(LIST 1 \"a\" 'X)", refuse);
  EXPECT_EQ(report.end, RunEnd::Value);
  EXPECT_TRUE(report.hasValue());
  EXPECT_EQ(report.status, WorkerStatus::Ok);
  EXPECT_EQ(report.text, "(1 \"a\" X)");
  EXPECT_EQ(report.value, list({number(1), string("a"), symbol("X")}));
  EXPECT_EQ(report.host_call_count, 0u);
  EXPECT_EQ(report.steps, 4u);
}

TEST_F(RunProgram, HandsEveryCallToTheHostInTurn) {
  std::vector<HostCall> calls;
  const RunReport report =
      run("(SETQ A (GETPOINT \"From: \"))(SETQ B (GETPOINT A \"To: \"))(DISTANCE A B)",
          [&calls](const HostCall& call) {
            calls.push_back(call);
            return std::optional(calls.size() == 1 ? point(0, 0, 0) : point(30, 40, 0));
          });
  EXPECT_EQ(report.text, "50");
  EXPECT_EQ(report.host_call_count, 2u);
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_EQ(calls[0].name, "GETPOINT");
  EXPECT_EQ(list(calls[0].arguments), list({string("From: ")}));
  EXPECT_EQ(list(calls[1].arguments), list({point(0, 0, 0), string("To: ")}));
  EXPECT_EQ(calls[1].text, "((0 0 0) \"To: \")");
  EXPECT_EQ(calls[1].unreadable, "");
}

TEST_F(RunProgram, HandsOverACallWhoseArgumentsCannotBeTold) {
  HostCall seen;
  const RunReport report = run("(GETDIST \"3\\\" bolt\" 5)", [&seen](const HostCall& call) {
    seen = call;
    return std::optional(number(1));
  });
  EXPECT_TRUE(report.hasValue());
  EXPECT_EQ(seen.name, "GETDIST");
  EXPECT_TRUE(seen.arguments.empty());
  EXPECT_EQ(seen.text, "(\"3\" bolt\" 5)");
  EXPECT_NE(seen.unreadable, "");
}

TEST_F(RunProgram, ReportsEveryEnd) {
  const auto nothing = [](const HostCall&) { return std::optional(nil()); };
  struct Row {
    const char* program;
    RunEnd end;
    WorkerStatus status;
    const char* text;
  };
  const Row rows[] = {
      {"(", RunEnd::ReadError, WorkerStatus::EvalParseError, "unterminated list"},
      {"(/ 1 0)", RunEnd::EvalError, WorkerStatus::EvalFailed, "division by zero"},
      {"(WHILE T 1)", RunEnd::StepLimit, WorkerStatus::EvalStepLimit,
       "LISP evaluation step limit exceeded"},
      {"(SETQ X 1 N 0)(WHILE (< N 30) (SETQ X (LIST X X) N (1+ N)))X", RunEnd::Refused,
       WorkerStatus::InvalidRequest,
       "the program, an answer, or what came of them is too long to send"},
      {"(PROGN (GETPOINT) (/ 1 0))", RunEnd::EvalError, WorkerStatus::EvalFailed,
       "division by zero"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.program);
    const RunReport report = run(row.program, nothing);
    EXPECT_EQ(report.end, row.end);
    EXPECT_EQ(report.status, row.status);
    EXPECT_EQ(report.text, row.text);
    EXPECT_FALSE(report.hasValue());
    EXPECT_FALSE(report.value.has_value());
  }
  const RunReport refused = run("1", nothing, {.context_id = 77});
  EXPECT_EQ(refused.end, RunEnd::Refused);
  EXPECT_EQ(refused.status, WorkerStatus::ContextNotFound);
  EXPECT_EQ(refused.text, "no coordinate context is registered under this id");
}

TEST_F(RunProgram, CancelsWhatTheHostDoesNotAnswer) {
  const RunReport report = run("(SETQ LEFT-BEHIND 1)(GETPOINT)", refuse);
  EXPECT_EQ(report.end, RunEnd::Unanswered);
  EXPECT_EQ(report.text, "the host has not answered GETPOINT");
  EXPECT_EQ(report.host_call_count, 1u);
  EXPECT_FALSE(isWaiting(1));
  EXPECT_EQ(run("LEFT-BEHIND", refuse).end, RunEnd::EvalError);
}

TEST_F(RunProgram, CancelsACallWhenThereIsNobodyToAnswer) {
  EXPECT_EQ(run("(GETPOINT)", {}).end, RunEnd::Unanswered);
  EXPECT_EQ(worker_.run("(GETPOINT)")->end, RunEnd::Unanswered);
  EXPECT_FALSE(isWaiting(2));
}

TEST_F(RunProgram, CancelsWhatTheHostsAnswerCannotSay) {
  const RunReport report = run("(GETDIST)", [](const HostCall&) {
    return std::optional(number(std::numeric_limits<double>::infinity()));
  });
  EXPECT_EQ(report.end, RunEnd::Unwritable);
  EXPECT_EQ(report.text,
            "the host's answer to GETDIST cannot be written: no text stands for an infinity or a "
            "NaN");
  EXPECT_FALSE(isWaiting(1));
}

TEST_F(RunProgram, CancelsAProgramThatNeverStopsAsking) {
  const auto answer = [](const HostCall&) { return std::optional(nil()); };
  const char* const program = "(GETPOINT)(GETPOINT)(GETPOINT)";
  EXPECT_TRUE(run(program, answer, {.host_call_count_max = 3}).hasValue());
  const RunReport report = run(program, answer, {.host_call_count_max = 2});
  EXPECT_EQ(report.end, RunEnd::TooManyCalls);
  EXPECT_EQ(report.text, "the program makes more than 2 host calls");
  EXPECT_EQ(report.host_call_count, 2u);
  EXPECT_FALSE(isWaiting(2));
}

TEST_F(RunProgram, CancelsWhenTheHostThrows) {
  EXPECT_THROW(static_cast<void>(worker_.run("(GETPOINT)",
                                             [](const HostCall&) -> std::optional<Datum> {
                                               throw std::runtime_error("no mouse");
                                             })),
               std::runtime_error);
  EXPECT_FALSE(isWaiting(1));
  EXPECT_EQ(run("(+ 1 2)", refuse).text, "3");
}

TEST_F(RunProgram, CancelsWhenTheAnswerIsTooLongToSend) {
  const RunReport report = run("(GETPOINT)", [](const HostCall&) {
    return std::optional(string(std::string(2 * worker::kPayloadSizeMax, 'x')));
  });
  EXPECT_EQ(report.end, RunEnd::Refused);
  EXPECT_FALSE(isWaiting(1));
}

// Of a call with these arguments the worker tells nothing, not even the run's id.
constexpr const char* kLongCall = "(GETPOINT (LIST S S S S S S S S S S S))";

TEST_F(RunProgram, CancelsAFirstCallThatIsTooLongToSend) {
  const std::string definition = "(SETQ S \"" + std::string(100000, 'x') + "\")";
  const auto expect_refused = [&](const std::string& program) {
    const RunReport report = run(definition + program, refuse);
    EXPECT_EQ(report.end, RunEnd::Refused);
    EXPECT_EQ(report.status, WorkerStatus::InvalidRequest);
  };
  expect_refused(kLongCall);
  EXPECT_FALSE(isWaiting(1));
  // A value that is too long uses no id up.
  expect_refused("(LIST S S S S S S S S S S S)");
  expect_refused(kLongCall);
  EXPECT_FALSE(isWaiting(2));
  // The host's own runs are left alone.
  const auto started = worker_.evalStart("(GETPOINT)", 0);
  ASSERT_TRUE(started && started->value);
  EXPECT_EQ(started->value->run_id, 3u);
  expect_refused(kLongCall);
  EXPECT_FALSE(isWaiting(4));
  EXPECT_TRUE(isWaiting(3));
}

TEST_F(RunProgram, CancelsALaterCallThatIsTooLongToSend) {
  const RunReport report = run("(SETQ S (GETPOINT))" + std::string(kLongCall), [](const HostCall&) {
    return std::optional(string(std::string(100000, 'x')));
  });
  EXPECT_EQ(report.end, RunEnd::Refused);
  EXPECT_EQ(report.host_call_count, 1u);
  EXPECT_FALSE(isWaiting(1));
}

TEST_F(RunProgram, LetsTheHostUseTheWorkerWhileItAnswers) {
  const RunReport report = run("(+ 1 (GETDIST))", [this](const HostCall&) {
    const RunReport inner = run("(* 6 7)", refuse);
    EXPECT_FALSE(worker_.restart());
    EXPECT_EQ(worker_.stop(), WorkerExit{});
    return inner.value;
  });
  EXPECT_EQ(report.text, "43");
}

TEST_F(RunProgram, CollectsTheWarningsOfAllItsEvaluations) {
  const RunReport report = run("(SETQ N 0)(WHILE (< N 39000) (SETQ N (1+ N)))(GETPOINT)(LIST N)",
                               [](const HostCall&) { return std::optional(nil()); });
  EXPECT_TRUE(report.hasValue()) << report.text;
  ASSERT_EQ(report.warnings.size(), 2u);
  EXPECT_EQ(report.warnings[0].limit, Limit::Steps);
  EXPECT_EQ(report.warnings[1].used, report.steps);
  EXPECT_GE(report.steps, 225000u);
}

// A host's document, with what it was told about transactions.
class Document : public HostTransaction {
 public:
  void begin() override {
    log += "begin ";
    if (fails_to_begin) throw std::runtime_error("read-only");
  }
  void commit() override {
    log += "commit ";
    if (fails_to_commit) throw std::runtime_error("disk full");
  }
  void rollBack() noexcept override { log += "rollBack "; }

  std::string log;
  bool fails_to_begin = false;
  bool fails_to_commit = false;
};

TEST_F(RunProgram, EndsTheTransactionAsTheProgramEnds) {
  struct Row {
    const char* program;
    const char* log;
  };
  const Row rows[] = {
      {"(+ 1 2)", "begin commit "},
      {"(GETDIST)", "begin call commit "},
      {"(GETDIST)(GETDIST)", "begin call call commit "},
      {"(", "begin rollBack "},
      {"(/ 1 0)", "begin rollBack "},
      {"(GETDIST)(/ 1 0)", "begin call rollBack "},
      {"(GETDIST)(WHILE T 1)", "begin call rollBack "},
      {"(SETQ X (GETDIST) N 0)(WHILE (< N 30) (SETQ X (LIST X X) N (1+ N)))X",
       "begin call rollBack "},
      {"(OSNAP 1)", "begin call rollBack "},
      {"(GETDIST)(OSNAP 1)", "begin call call rollBack "},
      {"(GETCORNER)", "begin call rollBack "},
      {"(GETDIST)(GETDIST)(GETDIST)(GETDIST)", "begin call call call rollBack "},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.program);
    Document document;
    const auto answer = [&document](const HostCall& call) -> std::optional<Datum> {
      document.log += "call ";
      if (call.name == "OSNAP") return std::nullopt;
      if (call.name == "GETCORNER") return number(std::numeric_limits<double>::infinity());
      return number(1);
    };
    const RunReport report =
        run(row.program, answer, {.host_call_count_max = 3, .transaction = &document});
    EXPECT_EQ(document.log, row.log);
    EXPECT_EQ(report.hasValue(), document.log.ends_with("commit "));
  }
  Document document;
  run("1", refuse, {.context_id = 77, .transaction = &document});
  EXPECT_EQ(document.log, "begin rollBack ");
}

TEST_F(RunProgram, RollsBackAfterTheProgramIsCancelledWhenTheHostThrows) {
  Document document;
  EXPECT_THROW(static_cast<void>(worker_.run(
                   "(GETPOINT)",
                   [](const HostCall&) -> std::optional<Datum> { throw std::runtime_error("no"); },
                   {.transaction = &document})),
               std::runtime_error);
  EXPECT_EQ(document.log, "begin rollBack ");
  EXPECT_FALSE(isWaiting(1));
}

TEST_F(RunProgram, EndsNothingThatHasNotBegunOrHasFailedToCommit) {
  Document unready;
  unready.fails_to_begin = true;
  EXPECT_THROW(static_cast<void>(worker_.run("(SETQ A 1)", {}, {.transaction = &unready})),
               std::runtime_error);
  EXPECT_EQ(unready.log, "begin ");
  EXPECT_EQ(run("A", refuse).end, RunEnd::EvalError);  // The program was not sent.
  Document full;
  full.fails_to_commit = true;
  EXPECT_THROW(static_cast<void>(worker_.run("(SETQ A 1)", {}, {.transaction = &full})),
               std::runtime_error);
  EXPECT_EQ(full.log, "begin commit ");
  EXPECT_EQ(run("A", refuse).text, "1");
}

TEST_F(RunProgram, RollsBackWhenTheWorkerIsGone) {
  Document document;
  WorkerProcess* process = nullptr;
  Worker worker([&process](std::string* error) {
    auto started = startWorker(testing_support::workerExecutable(), error);
    process = started.get();
    return started;
  });
  const auto report =
      worker.run("(GETPOINT)",
                 [&](const HostCall&) {
                   static_cast<void>(process->finishWithin(std::chrono::milliseconds(0)));
                   return std::optional(nil());
                 },
                 {.transaction = &document});
  EXPECT_FALSE(report.has_value());
  EXPECT_EQ(document.log, "begin rollBack ");
}

TEST_F(RunProgram, NestsTransactions) {
  Document document;
  const RunReport report = run("(GETDIST)",
                               [&](const HostCall&) {
                                 run("(/ 1 0)", refuse, {.transaction = &document});
                                 return std::optional(number(1));
                               },
                               {.transaction = &document});
  EXPECT_TRUE(report.hasValue());
  EXPECT_EQ(document.log, "begin begin rollBack commit ");
}

TEST(RunEndName, AndExplanationDifferForEveryEnd) {
  std::set<std::string_view> words;
  for (int end = 0; end <= static_cast<int>(RunEnd::TooManyCalls); ++end) {
    words.insert(runEndName(static_cast<RunEnd>(end)));
    words.insert(explainRunEnd(static_cast<RunEnd>(end)));
  }
  EXPECT_EQ(words.size(), 16u);
  EXPECT_EQ(runEndName(RunEnd::TooManyCalls), "TooManyCalls");
}

}  // namespace
}  // namespace lisp_worker::client
