#include "worker/evaluation_requests.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "geometry/coord_context.h"
#include "lisp/graveyard.h"
#include "lisp/list.h"
#include "worker/dispatch.h"

namespace lisp_worker::worker {
namespace {

// A response as a host sees it.
struct Response {
  WorkerStatus status = WorkerStatus::Ok;
  std::string payload;

  [[nodiscard]] std::string text() const {
    return payload.size() < kEvalResultHeaderSize ? "no result"
                                                  : payload.substr(kEvalResultHeaderSize);
  }
  [[nodiscard]] std::uint64_t runId() const {
    return getU64(payload.data() + EvalResultOffset::kRunId);
  }
  [[nodiscard]] std::uint64_t steps() const {
    return getU64(payload.data() + EvalResultOffset::kSteps);
  }
  [[nodiscard]] int kind() const { return getU8(payload.data()); }
  [[nodiscard]] std::string callName() const {
    return payload.data() + EvalResultOffset::kCallName;  // Zero-terminated.
  }
};

class EvaluationTest : public testing::Test {
 protected:
  Response start(std::string_view program, std::uint64_t context_id = 0) {
    MessageHeader request;
    request.context_id = context_id;
    request.run_id = 77;  // Not looked at.
    Response response;
    response.status = evaluation_.handleEvalStart(request, program, response.payload);
    return response;
  }

  Response resume(std::uint64_t run_id, std::string_view answer, std::uint64_t context_id = 0) {
    MessageHeader request;
    request.context_id = context_id;
    request.run_id = run_id;
    Response response;
    response.status = evaluation_.handleEvalResume(request, answer, response.payload);
    return response;
  }

  WorkerStatus cancel(std::uint64_t run_id) {
    MessageHeader request;
    request.run_id = run_id;
    return evaluation_.handleEvalCancel(request);
  }

  void registerContext(std::uint64_t id, double origin_x) {
    geometry::CoordContext context;
    context.id = id;
    context.systems[1].plane.origin_x = origin_x;
    ASSERT_TRUE(contexts_->register_context(context));
  }

  // As if the slots had been freed, which no message does.
  void forgetContexts() { contexts_.emplace(); }

  void expectValue(const Response& response, const std::string& text) {
    EXPECT_EQ(response.status, WorkerStatus::Ok);
    EXPECT_EQ(response.text(), text);
    if (response.payload.empty()) return;
    EXPECT_EQ(response.kind(), 0);
    EXPECT_EQ(response.runId(), 0u);
  }

  void expectFailure(const Response& response, WorkerStatus status, int kind,
                     const std::string& message) {
    EXPECT_EQ(response.status, status);
    EXPECT_EQ(response.text(), message);
    if (response.payload.empty()) return;
    EXPECT_EQ(response.kind(), kind);
    EXPECT_EQ(response.runId(), 0u);
    EXPECT_EQ(response.callName(), "");
  }

  void expectEvalError(const Response& response, const std::string& message) {
    expectFailure(response, WorkerStatus::EvalFailed, 2, message);
  }

  void expectRefused(const Response& response, WorkerStatus status) {
    EXPECT_EQ(response.status, status);
    EXPECT_EQ(response.payload, "");
  }

  void expectPending(const Response& response, std::uint64_t run_id, const std::string& name,
                     const std::string& arguments) {
    EXPECT_EQ(response.status, WorkerStatus::HostCallPending);
    EXPECT_EQ(response.text(), arguments);
    if (response.payload.empty()) return;
    EXPECT_EQ(response.kind(), 4);
    EXPECT_EQ(response.runId(), run_id);
    EXPECT_EQ(response.callName(), name);
  }

 private:
  std::optional<geometry::ContextTable> contexts_{std::in_place};
  EvaluationRequests evaluation_{*contexts_};
};

TEST_F(EvaluationTest, StartAnswersEachKindOfOutcomeWithItsStatus) {
  expectValue(start("(+ 1 1)"), "2");
  expectValue(start(""), "nil");
  expectFailure(start("(+ 1"), WorkerStatus::EvalParseError, 1, "unterminated list");
  expectEvalError(start("(+ 1 X)"), "unbound symbol: X");
  expectFailure(start("(WHILE T)"), WorkerStatus::EvalStepLimit, 3,
                "LISP evaluation step limit exceeded");
  expectPending(start("(ENTMOD 1 '(\"a\" nil))"), 1, "ENTMOD", "(1 (\"a\" nil))");
}

TEST_F(EvaluationTest, StartReportsTheSteps) {
  EXPECT_EQ(start("").steps(), 0u);
  EXPECT_EQ(start("(").steps(), 0u);
  EXPECT_EQ(start("(+ 1 1) 5").steps(), 4u);
  EXPECT_EQ(start("(/ 1 0)").steps(), 3u);
  EXPECT_EQ(start("(WHILE T)").steps(), 250001u);
  EXPECT_EQ(start("(GETPOINT 1)").steps(), 2u);
}

TEST_F(EvaluationTest, AllBuiltinsAreThere) {
  expectValue(start("(SSLENGTH '($KVSEL 1))"), "1");
  expectValue(start("(DISTANCE '(0 0) '(3 4))"), "5");
  expectValue(start("(CAR '(1))"), "1");
}

TEST_F(EvaluationTest, StartNeedsItsContextToBeRegistered) {
  expectRefused(start("(SETQ A 1)", 5), WorkerStatus::ContextNotFound);
  expectRefused(start("(", 5), WorkerStatus::ContextNotFound);
  expectEvalError(start("A"), "unbound symbol: A");
  registerContext(5, 10);
  expectValue(start("(TRANS '(1 2) 1 0)", 5), "(11 2 0)");
}

TEST_F(EvaluationTest, ContextZeroMeansNoneEvenWhenRegistered) {
  const std::string without = start("(TRANS '(1 2) 1 0)").text();
  registerContext(0, 10);
  EXPECT_EQ(start("(TRANS '(1 2) 1 0)").text(), without);
  EXPECT_EQ(start("(TRANS '(1 2) 1 0)").status, WorkerStatus::EvalFailed);
}

TEST_F(EvaluationTest, OnlyAValueChangesTheEnvironment) {
  expectValue(start("(SETQ A 1) (DEFUN F () 'OLD)"), "F");
  expectEvalError(start("(SETQ A 2) (DEFUN F () 'NEW) (DEFUN G () 1) (FOO)"),
                  "unsupported LISP function: FOO");
  EXPECT_EQ(start("(SETQ A 3) (WHILE T)").status, WorkerStatus::EvalStepLimit);
  expectPending(start("(SETQ A 4) (GETPOINT)"), 1, "GETPOINT", "()");
  EXPECT_EQ(start("(SETQ A 5) (").status, WorkerStatus::EvalParseError);
  expectValue(start("(LIST A (F))"), "(1 OLD)");
  expectEvalError(start("(G)"), "unsupported LISP function: G");
}

TEST_F(EvaluationTest, ARedefinedBuiltinStaysRedefined) {
  expectValue(start("(DEFUN + (A B) 'MINE)"), "+");
  expectValue(start("(+ 1 2)"), "MINE");
}

TEST_F(EvaluationTest, ResumeGoesOnWithTheAnswer) {
  expectPending(start("(LIST (GETPOINT \"p\") (GETDIST 2))"), 1, "GETPOINT", "(\"p\")");
  expectPending(resume(1, "(1 2)"), 1, "GETDIST", "(2)");
  expectValue(resume(1, "2.5"), "((1 2) 2.5)");
  expectRefused(resume(1, "3"), WorkerStatus::InvalidRequest);
}

TEST_F(EvaluationTest, ResumeTakesNilAsAnAnswer) {
  expectPending(start("(LIST (GETPOINT) 1)"), 1, "GETPOINT", "()");
  expectValue(resume(1, "nil"), "(nil 1)");
}

TEST_F(EvaluationTest, ResumeCountsEveryStepAgain) {
  start("(+ 1 2) (GETPOINT) (+ 3 4)");
  EXPECT_EQ(resume(1, "1").steps(), 7u);
  const std::string loop = "(SETQ I 0) (WHILE (< I 30000) (SETQ I (1+ I))) ";
  expectPending(start(loop + "(GETPOINT) (GETPOINT)"), 2, "GETPOINT", "()");
  expectPending(resume(2, "1"), 2, "GETPOINT", "()");
  expectValue(resume(2, "1"), "1");
}

TEST_F(EvaluationTest, RunIdsCountUp) {
  expectPending(start("(GETPOINT)"), 1, "GETPOINT", "()");
  EXPECT_EQ(cancel(1), WorkerStatus::Ok);
  expectPending(start("(SSGET)"), 2, "SSGET", "()");
  expectValue(start("1"), "1");
  expectPending(start("(OSNAP)"), 3, "OSNAP", "()");
}

TEST_F(EvaluationTest, ResumeNeedsAPendingRun) {
  expectRefused(resume(1, "1"), WorkerStatus::InvalidRequest);
  start("(GETPOINT)");
  expectRefused(resume(0, "1"), WorkerStatus::InvalidRequest);
  expectRefused(resume(2, "("), WorkerStatus::InvalidRequest);
  expectValue(resume(1, "1"), "1");
}

TEST_F(EvaluationTest, ResumeEndsTheRunOnAnAnswerThatCannotBeRead) {
  struct Row {
    const char* answer;
    const char* message;
  };
  std::uint64_t run_id = 0;
  for (const Row& row :
       {Row{"", "expected exactly one form"}, Row{" ; x", "expected exactly one form"},
        Row{"1 2", "expected exactly one form"}, Row{"(1", "unterminated list"},
        Row{")", "unexpected ')'"}, Row{"\"a", "unterminated string"},
        Row{"'", "unexpected end of input"}}) {
    ++run_id;
    expectPending(start("(SETQ A 1) (GETPOINT)"), run_id, "GETPOINT", "()");
    const Response response = resume(run_id, row.answer);
    expectFailure(response, WorkerStatus::EvalParseError, 1,
                  "host response parse error: " + std::string(row.message));
    EXPECT_EQ(response.steps(), 0u);
    expectRefused(resume(run_id, "1"), WorkerStatus::InvalidRequest);
  }
  expectEvalError(start("A"), "unbound symbol: A");
}

TEST_F(EvaluationTest, ResumeEndsTheRunWhenItFails) {
  start("(+ 1 (GETDIST))");
  expectEvalError(resume(1, "\"x\""), "+ expects numbers");
  expectRefused(resume(1, "1"), WorkerStatus::InvalidRequest);
  start("(IF (GETPOINT) (WHILE T))");
  EXPECT_EQ(resume(2, "1").status, WorkerStatus::EvalStepLimit);
  expectRefused(resume(2, "1"), WorkerStatus::InvalidRequest);
}

TEST_F(EvaluationTest, ResumeDoesNotEvaluateTheAnswer) {
  start("(GETPOINT)");
  expectValue(resume(1, "(FOO 'A)"), "(FOO (QUOTE A))");
}

TEST_F(EvaluationTest, EachPendingRunSeesItsOwnSnapshot) {
  expectValue(start("(SETQ A 1)"), "1");
  expectPending(start("(LIST A (GETPOINT) A)"), 1, "GETPOINT", "()");
  expectValue(start("(SETQ A 2)"), "2");
  expectPending(start("(LIST A (GETPOINT) (GETPOINT) A)"), 2, "GETPOINT", "()");
  expectValue(start("(SETQ A 3) (DEFUN LIST () 'MINE)"), "LIST");
  expectPending(resume(2, "1"), 2, "GETPOINT", "()");
  expectValue(resume(1, "0"), "(1 0 1)");
  expectValue(resume(2, "0"), "(2 1 0 2)");
}

TEST_F(EvaluationTest, TheLastRunToFinishWins) {
  expectValue(start("(SETQ A 1 B 1) (DEFUN F () 'FIRST)"), "F");
  expectPending(start("(SETQ A (GETPOINT))"), 1, "GETPOINT", "()");
  expectValue(start("(SETQ B 2 C 2) (DEFUN F () 'SECOND) (DEFUN G () 1)"), "G");
  expectValue(resume(1, "5"), "5");
  expectValue(start("(LIST A B (F))"), "(5 1 FIRST)");
  expectEvalError(start("C"), "unbound symbol: C");
  expectEvalError(start("(G)"), "unsupported LISP function: G");
}

TEST_F(EvaluationTest, ARunIsNotSeenByOthersBeforeItEnds) {
  expectPending(start("(SETQ A 1) (DEFUN F () 1) (GETPOINT)"), 1, "GETPOINT", "()");
  expectEvalError(start("A"), "unbound symbol: A");
  expectEvalError(start("(F)"), "unsupported LISP function: F");
  expectValue(resume(1, "nil"), "nil");
  expectValue(start("(LIST A (F))"), "(1 1)");
}

TEST_F(EvaluationTest, AReplayStartsWithoutWhatEarlierPartsAssigned) {
  expectValue(start("(SETQ N 0)"), "0");
  expectPending(start("(SETQ N (1+ N)) (GETPOINT) (SETQ N (1+ N)) (GETPOINT) N"), 1, "GETPOINT",
                "()");
  expectPending(resume(1, "1"), 1, "GETPOINT", "()");
  expectValue(resume(1, "1"), "2");
  expectValue(start("N"), "2");
}

TEST_F(EvaluationTest, ResumeUsesTheContextOfTheStart) {
  registerContext(5, 10);
  registerContext(6, 20);
  expectPending(start("(GETPOINT) (TRANS '(1 2) 1 0)", 5), 1, "GETPOINT", "()");
  expectValue(resume(1, "1", 6), "(11 2 0)");
  expectPending(start("(GETPOINT) (TRANS '(1 2) 1 0)", 5), 2, "GETPOINT", "()");
  expectValue(resume(2, "1", 99), "(11 2 0)");
  expectPending(start("(GETPOINT) (TRANS '(1 2) 1 0)"), 3, "GETPOINT", "()");
  EXPECT_EQ(resume(3, "1", 5).status, WorkerStatus::EvalFailed);
}

TEST_F(EvaluationTest, AContextReplacedMeanwhileMakesTheReplayDiverge) {
  registerContext(5, 10);
  expectPending(start("(GETDIST) (GETPOINT (TRANS '(1 2) 1 0)) (OSNAP)", 5), 1, "GETDIST", "()");
  expectPending(resume(1, "1"), 1, "GETPOINT", "((11 2 0))");
  registerContext(5, 30);
  expectEvalError(resume(1, "1"), "LISP host replay divergence at call 2: GETPOINT");
  expectRefused(resume(1, "1"), WorkerStatus::InvalidRequest);
}

TEST_F(EvaluationTest, ANanArgumentDivergesWhenReplayed) {
  const Response pending = start("(SETQ I (* 1e308 10)) (GETPOINT (- I I))");
  EXPECT_EQ(pending.status, WorkerStatus::HostCallPending);
  EXPECT_EQ(pending.text(), "(-nan)");
  expectEvalError(resume(1, "(1)"), "LISP host replay divergence at call 1: GETPOINT");
}

TEST_F(EvaluationTest, ResumeEndsTheRunWhenItsContextIsGone) {
  registerContext(5, 10);
  expectPending(start("(GETPOINT)", 5), 1, "GETPOINT", "()");
  expectPending(start("(GETPOINT)"), 2, "GETPOINT", "()");
  forgetContexts();
  // Before the answer is read.
  expectRefused(resume(1, "("), WorkerStatus::ContextNotFound);
  expectRefused(resume(1, "1"), WorkerStatus::InvalidRequest);
  expectValue(resume(2, "1"), "1");
}

TEST_F(EvaluationTest, CancelForgetsARun) {
  start("(GETPOINT)");
  start("(SSGET)");
  EXPECT_EQ(cancel(1), WorkerStatus::Ok);
  expectRefused(resume(1, "1"), WorkerStatus::InvalidRequest);
  EXPECT_EQ(cancel(1), WorkerStatus::Ok);
  EXPECT_EQ(cancel(0), WorkerStatus::Ok);
  EXPECT_EQ(cancel(99), WorkerStatus::Ok);
  expectValue(resume(2, "1"), "1");
}

// A string of about a third of what fits; three of them do not fit.
std::string thirdOfAFrame() { return "\"" + std::string(kPayloadSizeMax / 3, 'x') + "\""; }

TEST_F(EvaluationTest, AValueTooLongToSendStillCommits) {
  expectRefused(start("(SETQ A " + thirdOfAFrame() + ") (SETQ B 1) (LIST A A A)"),
                WorkerStatus::InvalidRequest);
  expectValue(start("B"), "1");
  expectPending(start("(SETQ B (GETPOINT)) (LIST A A A)"), 1, "GETPOINT", "()");
  expectRefused(resume(1, "2"), WorkerStatus::InvalidRequest);
  expectValue(start("B"), "2");
  expectRefused(resume(1, "2"), WorkerStatus::InvalidRequest);
  expectValue(start("B"), "2");
}

TEST_F(EvaluationTest, AHostCallTooLongToSendIsStillKept) {
  expectValue(start("(SETQ A " + thirdOfAFrame() + ") nil"), "nil");
  expectRefused(start("(LENGTH (COMMAND A A A))"), WorkerStatus::InvalidRequest);
  expectPending(start("(GETPOINT) (COMMAND A A A)"), 2, "GETPOINT", "()");
  expectValue(resume(1, "(1 2)"), "2");
  expectRefused(resume(2, "1"), WorkerStatus::InvalidRequest);
  expectValue(resume(2, "7"), "7");
}

TEST_F(EvaluationTest, AMessageTooLongToSendIsRefused) {
  const std::string name(kPayloadSizeMax - kEvalResultHeaderSize, 'N');
  const std::string prefix = "unbound symbol: ";
  expectRefused(start(name.substr(prefix.size() - 1)), WorkerStatus::InvalidRequest);
  expectEvalError(start(name.substr(prefix.size())), prefix + name.substr(prefix.size()));
}

TEST_F(EvaluationTest, ManyRunsWaitSideBySide) {
  for (std::uint64_t run_id = 1; run_id <= 1000; ++run_id) {
    expectPending(start("(LIST " + std::to_string(run_id) + " (GETPOINT))"), run_id, "GETPOINT",
                  "()");
  }
  for (std::uint64_t run_id = 1000; run_id >= 1; --run_id) {
    expectValue(resume(run_id, "X"), "(" + std::to_string(run_id) + " X)");
  }
}

TEST_F(EvaluationTest, AThousandCallsInOneProgramAreAnsweredOneByOne) {
  expectPending(start("(SETQ N 0 I 0) (WHILE (< I 1000) (SETQ I (1+ I) N (+ N (GETDIST I)))) N"), 1,
                "GETDIST", "(1)");
  for (int i = 2; i <= 1000; ++i) {
    expectPending(resume(1, "2"), 1, "GETDIST", "(" + std::to_string(i) + ")");
    if (HasFailure()) return;
  }
  expectValue(resume(1, "2"), "2000");
}

// Nothing that only an ended run held is left after the request that ended it.
TEST_F(EvaluationTest, LeavesNothingOfAnEndedRun) {
  start("1");
  lisp::takeAllApart();  // Environments of earlier tests, too.
  const std::size_t chunks = lisp::chunkCount();
  const auto chunks_after_tidying = [] {
    lisp::tidyUp();
    return lisp::chunkCount();
  };
  const auto waiting_run = [this] {
    const std::uint64_t run = start("(SETQ X (GETPOINT)) (GETDIST)").runId();
    return resume(run, "((1 2) (3 (4)) (5))").runId();
  };
  const std::uint64_t cancelled = waiting_run();
  EXPECT_GT(lisp::chunkCount(), chunks + 5);
  cancel(cancelled);
  EXPECT_EQ(chunks_after_tidying(), chunks);
  resume(waiting_run(), ")");
  EXPECT_EQ(chunks_after_tidying(), chunks);
  registerContext(5, 1);
  const std::uint64_t orphaned =
      resume(start("(SETQ X (GETPOINT)) (GETDIST)", 5).runId(), "((1))").runId();
  forgetContexts();
  resume(orphaned, "1");
  EXPECT_EQ(chunks_after_tidying(), chunks);
}

}  // namespace
}  // namespace lisp_worker::worker
