#include "worker/kept_evaluations.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "geometry/context_table.h"
#include "lisp/graveyard.h"
#include "lisp/storage.h"
#include "lisp/symbol.h"
#include "worker/evaluation_requests.h"

namespace lisp_worker::worker {
namespace {

constexpr KeepLimits kFromTheFirstAnswer{.steps_min = 0};

class KeptEvaluationsTest : public testing::Test {
 protected:
  // Values that other tests have dropped would keep these from keeping anything.
  void SetUp() override { lisp::takeAllApart(); }

  void useLimits(const KeepLimits& limits) { evaluation_.emplace(contexts_, limits); }

  // The run that a program has opened, 0 for none.
  std::uint64_t start(std::string_view program, std::uint64_t context_id = 0) {
    MessageHeader request;
    request.context_id = context_id;
    std::string response;
    static_cast<void>(evaluation_->handleEvalStart(request, program, response));
    return take(response);
  }
  std::uint64_t resume(std::uint64_t run_id, std::string_view answer = "1") {
    MessageHeader request;
    request.run_id = run_id;
    std::string response;
    status_ = evaluation_->handleEvalResume(request, answer, response);
    return take(response);
  }
  void cancel(std::uint64_t run_id) {
    MessageHeader request;
    request.run_id = run_id;
    ASSERT_EQ(evaluation_->handleEvalCancel(request), WorkerStatus::Ok);
  }
  void registerContext(double origin_x) {
    geometry::CoordContext context;
    context.id = 9;
    context.systems[1].plane.origin_x = origin_x;
    ASSERT_TRUE(contexts_.register_context(context));
  }
  [[nodiscard]] std::size_t kept() const { return evaluation_->keptEvaluations().count(); }
  [[nodiscard]] std::size_t bytes() const { return evaluation_->keptEvaluations().bytes(); }

  WorkerStatus status_ = WorkerStatus::Ok;
  std::string text_;

 private:
  std::uint64_t take(const std::string& response) {
    if (response.size() < kEvalResultHeaderSize) return 0;
    text_ = response.substr(kEvalResultHeaderSize);
    return getU64(response.data() + EvalResultOffset::kRunId);
  }

  geometry::ContextTable contexts_;
  std::optional<EvaluationRequests> evaluation_{std::in_place, contexts_, kFromTheFirstAnswer};
};

TEST_F(KeptEvaluationsTest, BeginWithTheFirstAnswer) {
  const std::uint64_t run = start("(LIST (GETDIST 1) (GETDIST 2) (GETDIST 3))");
  EXPECT_EQ(kept(), 0U);
  resume(run);
  EXPECT_EQ(kept(), 1U);
  resume(run);
  EXPECT_EQ(kept(), 1U);
  EXPECT_GE(bytes(), KeepLimits::kStackBytes);
  EXPECT_EQ(resume(run), 0U);
  EXPECT_EQ(text_, "(1 1 1)");
  EXPECT_EQ(kept(), 0U);
  EXPECT_EQ(bytes(), 0U);
}

TEST_F(KeptEvaluationsTest, LeaveShortEvaluationsToReplay) {
  useLimits({.steps_min = 12});
  // The first call takes 4 steps, each further turn 12.
  const std::uint64_t run = start("(WHILE (GETDIST (+ 1 2)) (+ 1 2 3 4 5 6))");
  std::size_t answers = 0;
  while (kept() == 0 && ++answers < 10) resume(run);
  EXPECT_EQ(answers, 2U);
}

TEST_F(KeptEvaluationsTest, TakeAThousandStepsBeforeTheirFirstCall) {
  for (const int steps : {999, 1000, 1001}) {
    useLimits({});
    std::string program;
    for (int i = 1; i < steps; ++i) program += "1 ";
    resume(start(program + "(GETDIST) (GETDIST)"));
    EXPECT_EQ(kept(), steps < 1000 ? 0U : 1U) << steps;
  }
}

TEST_F(KeptEvaluationsTest, GoWithTheirRun) {
  const std::uint64_t cancelled = start("(LIST (GETDIST) (GETDIST) (GETDIST))");
  resume(cancelled);
  EXPECT_EQ(kept(), 1U);
  cancel(cancelled);
  EXPECT_EQ(kept(), 0U);
  resume(cancelled);
  EXPECT_EQ(status_, WorkerStatus::InvalidRequest);

  const std::uint64_t failing = start("(LIST (GETDIST) (GETDIST) (CAR (NOTHING)))");
  resume(failing);
  EXPECT_EQ(kept(), 1U);
  resume(failing);
  EXPECT_EQ(status_, WorkerStatus::EvalFailed);
  EXPECT_EQ(kept(), 0U);

  const std::uint64_t unreadable = start("(LIST (GETDIST) (GETDIST))");
  resume(unreadable);
  EXPECT_EQ(kept(), 1U);
  resume(unreadable, "(1");
  EXPECT_EQ(status_, WorkerStatus::EvalParseError);
  EXPECT_EQ(kept(), 0U);
  EXPECT_EQ(bytes(), 0U);
}

TEST_F(KeptEvaluationsTest, AreNotTouchedByRequestsForNoRun) {
  const std::uint64_t run = start("(LIST (GETDIST) (GETDIST))");
  resume(run);
  resume(0);
  EXPECT_EQ(status_, WorkerStatus::InvalidRequest);
  resume(run + 1);
  EXPECT_EQ(status_, WorkerStatus::InvalidRequest);
  cancel(run + 1);
  EXPECT_EQ(kept(), 1U);
  resume(run, "7");
  EXPECT_EQ(text_, "(1 7)");
}

TEST_F(KeptEvaluationsTest, GiveWayInTheOrderOfTheirLastAnswer) {
  useLimits({.count_max = 2, .steps_min = 0});
  std::vector<std::uint64_t> runs;
  for (int i = 0; i < 3; ++i) runs.push_back(start("(LIST (GETDIST) (GETDIST) (GETDIST))"));
  resume(runs[0]);
  resume(runs[1]);
  resume(runs[0]);
  EXPECT_EQ(kept(), 2U);
  resume(runs[2]);  // The second gives way.
  EXPECT_EQ(kept(), 2U);
  cancel(runs[1]);
  EXPECT_EQ(kept(), 2U);
  cancel(runs[0]);
  EXPECT_EQ(kept(), 1U);
  cancel(runs[2]);
  EXPECT_EQ(kept(), 0U);
}

TEST_F(KeptEvaluationsTest, AreAtMostSixtyFour) {
  std::vector<std::uint64_t> runs;
  for (std::size_t i = 1; i <= 66; ++i) {
    runs.push_back(start("(LIST (GETDIST) (GETDIST))"));
    resume(runs.back());
    EXPECT_EQ(kept(), std::min<std::size_t>(i, 64));
  }
  for (const std::uint64_t run : runs) {
    resume(run, "2");
    EXPECT_EQ(text_, "(1 2)");
  }
  EXPECT_EQ(kept(), 0U);
}

// Each holds a list of n elements, 16 bytes each, in a variable.
TEST_F(KeptEvaluationsTest, HoldAtMostSixteenMebibytesTogether) {
  const std::string program =
      "(SETQ L '() I 0) (WHILE (< I 20000) (SETQ L (CONS (LIST I I) L) I (1+ I))) "
      "(GETDIST) (GETDIST) (GETDIST)";
  std::vector<std::uint64_t> runs;
  std::size_t kept_most = 0;
  for (int i = 0; i < 40; ++i) {
    runs.push_back(start(program));
    // Values that other runs drop are freed by the requests that follow.
    while (lisp::hasDeadValues()) lisp::takeApart(1 << 20);
    resume(runs.back());
    EXPECT_LE(bytes(), std::size_t{16} << 20);
    kept_most = std::max(kept_most, kept());
  }
  EXPECT_GT(kept_most, 5U);
  EXPECT_LT(kept_most, 20U);
  EXPECT_GT(bytes(), std::size_t{12} << 20);
  for (const std::uint64_t run : runs) cancel(run);
  EXPECT_EQ(bytes(), 0U);
}

TEST_F(KeptEvaluationsTest, DoNotKeepOneThatHoldsTooMuchAlone) {
  useLimits({.bytes_max = KeepLimits::kStackBytes + (std::size_t{1} << 20), .steps_min = 0});
  for (const char* const turns : {"2000", "15000"}) {
    const std::uint64_t run = start("(SETQ L '() I 0) (WHILE (< I " + std::string(turns) +
                                    ") (SETQ L (CONS (LIST I I) L) I (1+ I))) (GETDIST) (GETDIST)");
    ASSERT_NE(run, 0U);
    lisp::takeAllApart();  // Else it would not be kept because of what its start has dropped.
    resume(run);
    EXPECT_EQ(kept(), std::string(turns) == "2000" ? 1U : 0U);
    cancel(run);
  }
}

// Evaluated arguments count, of the call that waits and of those around it.
TEST_F(KeptEvaluationsTest, MayHoldAsMuchAsTheLimitAndNoByteMore) {
  const std::string program = "(SETQ L (LIST 1 2 3)) (GETDIST) (GETDIST)";
  const auto bytes_kept = [&](const KeepLimits& limits) {
    useLimits(limits);
    lisp::takeAllApart();
    resume(start(program));
    return bytes();
  };
  const std::size_t needed = bytes_kept(kFromTheFirstAnswer);
  ASSERT_GT(needed, KeepLimits::kStackBytes);
  EXPECT_EQ(bytes_kept({.bytes_max = needed - 1, .steps_min = 0}), 0U);
  EXPECT_EQ(bytes_kept({.bytes_max = needed, .steps_min = 0}), needed);
  EXPECT_EQ(bytes_kept({.bytes_max = needed + 1, .steps_min = 0}), needed);
}

TEST_F(KeptEvaluationsTest, DoNotKeepManyArguments) {
  std::string numbers;
  for (int i = 0; i < 10000; ++i) numbers += " 1";
  for (const std::string& call : {"(COMMAND" + numbers + " (GETPOINT))", "(COMMAND" + numbers + ")",
                                  "(LIST" + numbers + " (GETPOINT))"}) {
    const std::uint64_t run = start("(GETDIST) " + call);
    ASSERT_NE(run, 0U);
    EXPECT_EQ(resume(run), run);
    EXPECT_EQ(kept(), 0U);
  }
  const std::uint64_t run = start("(GETDIST) (COMMAND (LIST" + numbers + "))");
  EXPECT_EQ(resume(run), run);
  EXPECT_EQ(kept(), 1U);
  EXPECT_GE(bytes(), KeepLimits::kStackBytes + 16 * 10000);
}

// A function with many locals that is no longer needed, and waits to be taken apart, is not taken
// for the memory of who is evaluated meanwhile.
TEST_F(KeptEvaluationsTest, DoNotCountWhatOthersHaveDropped) {
  std::string locals;
  for (int i = 0; i < 40000; ++i) locals += " A";
  const std::string definition = "(DEFUN F (/" + locals + ") 1) ";
  const std::uint64_t run = start("(GETDIST) " + definition + "(GETDIST)");
  ASSERT_NE(run, 0U);
  EXPECT_EQ(start(definition + "(NOTHING)"), 0U);  // Leaves a dead function behind.
  EXPECT_TRUE(lisp::hasDeadValues());
  EXPECT_EQ(resume(run), run);
  EXPECT_TRUE(kept() == 0 || bytes() > 40000 * 16) << kept() << " " << bytes();
}

TEST_F(KeptEvaluationsTest, KeepOnlyWhatTouchesFewBindings) {
  for (const int globals : {4, 5, 6}) {
    useLimits({.steps_min = 0, .bindings_max = 5});
    std::string program;
    for (int i = 0; i < globals; ++i) program += "(SETQ V" + std::to_string(i) + " 1)";
    // GETDIST is a name that the run touches, too.
    const std::uint64_t run = start(program + "(GETDIST) (GETDIST)");
    resume(run);
    EXPECT_EQ(kept(), globals == 4 ? 1U : 0U) << globals;
  }
}

TEST_F(KeptEvaluationsTest, TouchAtMostTenThousandBindings) {
  for (const int bindings : {9999, 10000, 10001}) {
    useLimits({});
    std::string program = "(SETQ";
    // GETDIST is the last of them.
    for (int i = 1; i < bindings; ++i) program += " V" + std::to_string(i) + " 1";
    const std::uint64_t run = start(program + ") (GETDIST) (GETDIST)");
    ASSERT_NE(run, 0U);
    lisp::takeAllApart();
    resume(run);
    EXPECT_EQ(kept(), bindings <= 10000 ? 1U : 0U) << bindings;
  }
}

TEST_F(KeptEvaluationsTest, AreReplayedWhenTheirContextHasOtherBytes) {
  registerContext(10);
  const std::uint64_t run =
      start("(SETQ P (TRANS '(1 2) 1 0)) (GETPOINT) (GETPOINT) (TRANS '(1 2) 1 0)", 9);
  resume(run);
  EXPECT_EQ(kept(), 1U);
  registerContext(10);  // The same bytes.
  resume(run);
  EXPECT_EQ(text_, "(11 2 0)");

  const std::uint64_t other = start("(GETPOINT) (GETPOINT) (TRANS '(1 2) 1 0)", 9);
  resume(other);
  registerContext(20);
  resume(other);
  EXPECT_EQ(text_, "(21 2 0)");

  const std::uint64_t diverging = start("(GETPOINT (TRANS '(1 2) 1 0)) (GETPOINT) (GETPOINT)", 9);
  resume(diverging);
  registerContext(0.0);
  resume(diverging);
  EXPECT_EQ(text_, "LISP host replay divergence at call 1: GETPOINT");
}

TEST_F(KeptEvaluationsTest, DivergeAtACallWithANan) {
  const std::uint64_t run =
      start("(SETQ I (* 1e308 10)) (GETDIST) (GETDIST (LIST 1 (LIST (- I I)))) 5");
  resume(run);
  EXPECT_EQ(kept(), 1U);
  resume(run);
  EXPECT_EQ(text_, "LISP host replay divergence at call 2: GETDIST");
  EXPECT_EQ(kept(), 0U);
}

// T and the names of special forms are never bound anew, but a program may use them.
TEST_F(KeptEvaluationsTest, StepAsideWithNamesThatKeepTheirMeaning) {
  const std::uint64_t run =
      start("(DEFUN T () 5) (SETQ IF 6) (LIST (GETDIST) (GETDIST) (T) T IF (IF T 1 2))");
  resume(run);
  const std::uint64_t other = start("(LIST (GETDIST) (GETDIST) T (IF T 3 4))");
  resume(other);
  EXPECT_EQ(kept(), 2U);
  resume(run);
  EXPECT_EQ(text_, "(1 1 5 T 6 1)");
  resume(other);
  EXPECT_EQ(text_, "(1 1 T 3)");
  start("IF");
  EXPECT_EQ(text_, "unbound symbol: IF");
}

TEST_F(KeptEvaluationsTest, MayBeNone) {
  useLimits({.count_max = 0, .steps_min = 0});
  const std::uint64_t run = start("(LIST (GETDIST) (GETDIST))");
  resume(run);
  EXPECT_EQ(kept(), 0U);
  resume(run, "2");
  EXPECT_EQ(text_, "(1 2)");
}

// An evaluation that was given up is replayed, and then kept again.
TEST_F(KeptEvaluationsTest, AreGivenUpAtEverySoManyAnswers) {
  useLimits({.steps_min = 0, .give_up_every = 2});
  const std::uint64_t run = start("(LIST (GETDIST) (GETDIST) (GETDIST) (GETDIST))");
  for (const char* const answer : {"1", "2", "3"}) {
    resume(run, answer);
    EXPECT_EQ(kept(), 1U) << answer;
  }
  resume(run, "4");
  EXPECT_EQ(text_, "(1 2 3 4)");
}

TEST_F(KeptEvaluationsTest, LeaveNothingBehind) {
  const auto come_and_go = [] {
    geometry::ContextTable contexts;
    EvaluationRequests evaluation(contexts, kFromTheFirstAnswer);
    for (int i = 0; i < 100; ++i) {
      MessageHeader request;
      std::string response;
      ASSERT_EQ(evaluation.handleEvalStart(
                    request,
                    "(DEFUN LOCAL-F (PA PB / LA) (SETQ LA (LIST PA PB) NEW-GLOBAL LA) (GETDIST LA) "
                    "(GETDIST PA) LA) (LIST 1 (LOCAL-F (LIST 1 2) \"text\"))",
                    response),
                WorkerStatus::HostCallPending);
      request.run_id = static_cast<std::uint64_t>(i) + 1;
      response.clear();
      ASSERT_EQ(evaluation.handleEvalResume(request, "(1 2 NEW-SYMBOL)", response),
                WorkerStatus::HostCallPending);
    }
    EXPECT_EQ(evaluation.keptEvaluations().count(), 64U);
  };
  // The process makes some things once, the first time, and keeps them.
  come_and_go();
  lisp::takeAllApart();
  const std::size_t symbols = lisp::symbolCount();
  const std::size_t live = lisp::storage::liveBytes();
  come_and_go();
  lisp::takeAllApart();
  EXPECT_EQ(lisp::symbolCount(), symbols);
  EXPECT_EQ(lisp::storage::liveBytes(), live);
}

}  // namespace
}  // namespace lisp_worker::worker
