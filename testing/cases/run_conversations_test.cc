// Conversations about runs: host calls and their answers, what a run leaves behind and when, run
// ids, several runs at once. Those about the contexts of runs are in
// testing/cases/run_context_conversations_test.cc.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "lisp_worker/worker/frame.h"
#include "testing/cases/whole_conversation.h"
#include "testing/formats/scenario.h"

namespace lisp_worker::testing_support {
namespace {

using worker::WorkerStatus;

std::string repeated(const std::string& text, std::size_t count) {
  std::string bytes;
  for (std::size_t i = 0; i < count; ++i) bytes += text;
  return bytes;
}

// 7 inside so many lists.
std::string nested(std::size_t depth) {
  return repeated("(PROGN ", depth) + "7" + repeated(")", depth);
}

std::vector<Scenario> hostCalls() {
  return {
      Scenario("OneCallAndItsAnswer")
          .start("(1+ (GETDIST))")
          .call(1, "GETDIST", 0, "()", 2)
          .resume(1, "4")
          .value("5", 2)
          .resume(1, "4")
          .answer(WorkerStatus::InvalidRequest),
      Scenario("TwoCallsInAProgram")
          .start("(PROGN (GETPOINT) (GETPOINT))")
          .call(1, "GETPOINT", 0, "()", 2)
          .resume(1, "1")
          .call(1, "GETPOINT", 0, "()", 3)
          .resume(1, "2")
          .value("2", 3),
      Scenario("ACallInTheArgumentOfACall")
          .start("(ENTGET (CAR (SSGET)))")
          .call(1, "SSGET", 0, "()", 3)
          .resume(1, "(\"E1\" \"E2\")")
          .call(1, "ENTGET", 1, "(\"E1\")", 3)
          .resume(1, "nil")
          .value("nil", 3),
      Scenario("AllElevenCalls")
          .start("(LIST (GETPOINT) (GETCORNER) (GETDIST) (SSGET) (ENTGET) (ENTMOD) (ENTMAKE)"
                 " (ENTMAKEX) (COMMAND) (COMMAND-S) (OSNAP))")
          .call(1, "GETPOINT", 0, "()", 2)
          .resume(1, "1")
          .call(1, "GETCORNER", 0, "()", 3)
          .resume(1, "2")
          .call(1, "GETDIST", 0, "()", 4)
          .resume(1, "3")
          .call(1, "SSGET", 0, "()", 5)
          .resume(1, "4")
          .call(1, "ENTGET", 0, "()", 6)
          .resume(1, "5")
          .call(1, "ENTMOD", 0, "()", 7)
          .resume(1, "6")
          .call(1, "ENTMAKE", 0, "()", 8)
          .resume(1, "7")
          .call(1, "ENTMAKEX", 0, "()", 9)
          .resume(1, "8")
          .call(1, "COMMAND", 0, "()", 10)
          .resume(1, "9")
          .call(1, "COMMAND-S", 0, "()", 11)
          .resume(1, "10")
          .call(1, "OSNAP", 0, "()", 12)
          .resume(1, "11")
          .value("(1 2 3 4 5 6 7 8 9 10 11)", 12),
  };
}

INSTANTIATE_TEST_SUITE_P(HostCall, WholeConversation, testing::ValuesIn(hostCalls()), nameOf);

// Arguments of calls, and the values of their answers.
std::vector<Scenario> answers() {
  return {
      Scenario("EveryKindOfArgument")
          .start("(command nil 1.5 \"a\\\"b\" 'sym '(1 (2)) '())")
          .call(1, "COMMAND", 6, "(nil 1.5 \"a\"b\" SYM (1 (2)) ())", 7)
          .resume(1, "nil")
          .value("nil", 7),
      Scenario("AnAnswerOfNil")
          .start("(LIST (GETPOINT) 1)")
          .call(1, "GETPOINT", 0, "()", 2)
          .resume(1, "nil")
          .value("(nil 1)", 3),
      Scenario("AnAnswerIsADatumAndIsNotEvaluated")
          .start("(SETQ X 5) (LIST (SSGET) (ENTGET))")
          .call(1, "SSGET", 0, "()", 4)
          .resume(1, " (+ 1 2) ; a list\n")
          .call(1, "ENTGET", 0, "()", 5)
          .resume(1, "x")
          .value("((+ 1 2) X)", 5),
      Scenario("ASelectionSetOfTheHosts")
          .start("(SETQ S (SSGET)) (LIST (SSLENGTH S) (SSNAME S 0) (SSNAME S 2) (SSNAME S -1))")
          .call(1, "SSGET", 0, "()", 2)
          .resume(1, "($KVSEL \"A\" \"B\")")
          .value("(2 \"A\" nil nil)", 14),
  };
}

INSTANTIATE_TEST_SUITE_P(Answer, WholeConversation, testing::ValuesIn(answers()), nameOf);

std::vector<Scenario> callsNotMade() {
  return {
      Scenario("ABranchNotTaken").start("(IF nil (GETPOINT) 5)").value("5", 3),
      Scenario("AnErrorInAnArgumentComesBeforeTheCall")
          .start("(GETPOINT (/ 1 0))")
          .evalError("division by zero", 4)
          .start("(GETPOINT)")
          .call(1, "GETPOINT", 0, "()", 1),
      Scenario("NoCallUnderAUserFunctionOfItsName")
          .start("(DEFUN GETPOINT () 7) (GETPOINT)")
          .value("7", 3),
  };
}

INSTANTIATE_TEST_SUITE_P(CallNotMade, WholeConversation, testing::ValuesIn(callsNotMade()), nameOf);

std::vector<Scenario> replays() {
  return {
      // Each run has all 250000 steps; 175000 go to the passes of the loop, 7 to each.
      Scenario("EveryReplayCountsFromZero")
          .start("(SETQ I 0) (WHILE (< I 25000) (SETQ I (+ I 1))) (LIST (GETDIST) (GETDIST))")
          .call(1, "GETDIST", 0, "()", 2 + 1 + 25000 * 7 + 3 + 2)
          .resume(1, "1")
          .call(1, "GETDIST", 0, "()", 2 + 1 + 25000 * 7 + 3 + 3)
          .resume(1, "2")
          .value("(1 2)", 2 + 1 + 25000 * 7 + 3 + 3),
      // And the whole depth of 128 lists.
      Scenario("EveryReplayGoesAsDeep")
          .start("(GETDIST) " + nested(128))
          .call(1, "GETDIST", 0, "()", 1)
          .resume(1, "1")
          .value("7", 1 + 129),
      Scenario("NoReplayGoesDeeper")
          .start("(GETDIST) " + nested(129))
          .call(1, "GETDIST", 0, "()", 1)
          .resume(1, "1")
          .evalError("LISP evaluation depth exceeded", 1 + 130)
          .resume(1, "1")
          .answer(WorkerStatus::InvalidRequest),
  };
}

INSTANTIATE_TEST_SUITE_P(Replay, WholeConversation, testing::ValuesIn(replays()), nameOf);

// A pending run that gets `answer`, and nothing else for it: it is gone afterwards.
Scenario badAnswer(const std::string& name, const std::string& answer, const std::string& message) {
  return Scenario(name)
      .start("(SETQ X 1) (GETPOINT)")
      .call(1, "GETPOINT", 0, "()", 3)
      .resume(1, answer)
      .readError("host response parse error: " + message)
      .resume(1, "1")
      .answer(WorkerStatus::InvalidRequest)
      .start("X")
      .evalError("unbound symbol: X", 1);
}

std::vector<Scenario> badAnswers() {
  return {
      badAnswer("Nothing", "", "expected exactly one form"),
      badAnswer("Blanks", " \t\r\n\v\f\x1A", "expected exactly one form"),
      badAnswer("AComment", "; nothing", "expected exactly one form"),
      badAnswer("TwoForms", "1 2", "expected exactly one form"),
      badAnswer("ASymbolAndAString", "abc\"def\"", "expected exactly one form"),
      badAnswer("AFormAndHalfOfAnother", "(A) (B", "unterminated list"),
      badAnswer("AListCut", "(1 2", "unterminated list"),
      badAnswer("AStringCut", "\"1 2", "unterminated string"),
      badAnswer("AClosingParenthesis", ")", "unexpected ')'"),
      badAnswer("AQuoteOfNothing", "'", "unexpected end of input"),
      badAnswer("NestingBeyondTheLimit", repeated("(", 514) + repeated(")", 514),
                "parser nesting limit exceeded"),
      Scenario("NestingAtTheLimitIsAnAnswer")
          .start("(GETPOINT)")
          .call(1, "GETPOINT", 0, "()", 1)
          .resume(1, repeated("(", 513) + repeated(")", 513))
          .value(repeated("(", 513) + repeated(")", 513), 1),
      Scenario("AByte26AfterTheAnswerIsAnAnswer")
          .start("(GETPOINT)")
          .call(1, "GETPOINT", 0, "()", 1)
          .resume(1, "(1 2)\x1A")
          .value("(1 2)", 1),
  };
}

INSTANTIATE_TEST_SUITE_P(BadAnswer, WholeConversation, testing::ValuesIn(badAnswers()), nameOf);

std::vector<Scenario> runIds() {
  return {
      Scenario("CountFromOneThoughTheFirstIsCancelled")
          .start("(GETPOINT)")
          .call(1, "GETPOINT", 0, "()", 1)
          .cancel(1)
          .ok()
          .start("(GETPOINT)")
          .call(2, "GETPOINT", 0, "()", 1)
          .resume(2, "1")
          .value("1", 1)
          .start("(GETPOINT)")
          .call(3, "GETPOINT", 0, "()", 1),
      Scenario("AreGivenToPendingRunsOnly")
          .start("1")
          .value("1", 1)
          .start("(")
          .readError("unterminated list")
          .start("(CAR A)")
          .evalError("unbound symbol: A", 2)
          .start("(GETPOINT)", 5)
          .answer(WorkerStatus::ContextNotFound)
          .start("(GETPOINT)")
          .call(1, "GETPOINT", 0, "()", 1),
      Scenario("StayTheSameFromCallToCall")
          .start("(LIST (GETPOINT) (GETDIST))")
          .call(1, "GETPOINT", 0, "()", 2)
          .start("(GETCORNER)")
          .call(2, "GETCORNER", 0, "()", 1)
          .resume(1, "1")
          .call(1, "GETDIST", 0, "()", 3),
  };
}

INSTANTIATE_TEST_SUITE_P(RunIds, WholeConversation, testing::ValuesIn(runIds()), nameOf);

std::vector<Scenario> idsOfNoRun() {
  return {
      Scenario("ZeroNamesNoRun")
          .start("(GETPOINT)")
          .call(1, "GETPOINT", 0, "()", 1)
          .resume(0, "1")
          .answer(WorkerStatus::InvalidRequest)
          .cancel(0)
          .ok()
          .resume(1, "1")
          .value("1", 1),
      Scenario("NameARunInAll64Bits")
          .start("(GETPOINT)")
          .call(1, "GETPOINT", 0, "()", 1)
          .resume(2, "1")
          .answer(WorkerStatus::InvalidRequest)
          .resume(0x100000001, "1")
          .answer(WorkerStatus::InvalidRequest)
          .cancel(0x8000000000000001)
          .ok()
          .resume(1, "1")
          .value("1", 1),
      Scenario("ComeBeforeTheAnswer")
          .resume(1, "(")
          .answer(WorkerStatus::InvalidRequest)
          .resume(0, "(")
          .answer(WorkerStatus::InvalidRequest),
      Scenario("OfAnUnknownRunCancelNothing")
          .cancel(1)
          .ok()
          .start("(GETPOINT)")
          .call(1, "GETPOINT", 0, "()", 1)
          .cancel(2)
          .ok()
          .cancel(1, "a payload")
          .ok()
          .cancel(1)
          .ok()
          .resume(1, "1")
          .answer(WorkerStatus::InvalidRequest),
  };
}

INSTANTIATE_TEST_SUITE_P(IdsOfNoRun, WholeConversation, testing::ValuesIn(idsOfNoRun()), nameOf);

// One run for each way to end, pending at first: it is gone afterwards and has left nothing.
Scenario lostRun(const std::string& name, const std::string& program, std::uint64_t call_steps) {
  return Scenario(name).start(program).call(1, "GETDIST", 0, "()", call_steps).resume(1, "0");
}

Scenario& gone(Scenario& scenario) {
  return scenario.resume(1, "0")
      .answer(WorkerStatus::InvalidRequest)
      .start("X")
      .evalError("unbound symbol: X", 1);
}

std::vector<Scenario> leftBehind() {
  Scenario error = lostRun("NothingByAnErrorAfterACall", "(SETQ X 1) (/ 1 (GETDIST))", 5);
  error.evalError("division by zero", 5);
  Scenario limit =
      lostRun("NothingByTheStepLimitAfterACall", "(SETQ X 1) (GETDIST) (WHILE X (SETQ X 2))", 3);
  limit.stepLimit();
  return {
      gone(error),
      gone(limit),
      Scenario("EverythingByAValue")
          .start("(SETQ X 1) (DEFUN F (A) (+ A X)) (DEFUN CAR (A) 9)")
          .value("CAR", 4)
          .start("(LIST X (F 2) (CAR '(1)))")
          .value("(1 3 9)", 10)
          .start("(SETQ X 5) X")
          .value("5", 3)
          .start("(F 2)")
          .value("7", 5),
      Scenario("NothingByAFailedProgram")
          .start("(DEFUN F () 1) (SETQ X 1) (FOO)")
          .evalError("unsupported LISP function: FOO", 4)
          .start("(F)")
          .evalError("unsupported LISP function: F", 1)
          .start("X")
          .evalError("unbound symbol: X", 1)
          .start("(DEFUN F () 1) (SETQ X 1) (WHILE T)")
          .stepLimit()
          .start("(F)")
          .evalError("unsupported LISP function: F", 1)
          .start("(SETQ X 1) )")
          .readError("unexpected ')'")
          .start("X")
          .evalError("unbound symbol: X", 1),
      Scenario("NothingWhileARunIsPending")
          .start("(SETQ X 1) (DEFUN F () X) (GETDIST)")
          .call(1, "GETDIST", 0, "()", 4)
          .start("X")
          .evalError("unbound symbol: X", 1)
          .start("(F)")
          .evalError("unsupported LISP function: F", 1)
          .resume(1, "0")
          .value("0", 4)
          .start("(LIST X (F))")
          .value("(1 1)", 4),
      Scenario("NothingByACancelledRun")
          .start("(SETQ X 1) (GETDIST)")
          .call(1, "GETDIST", 0, "()", 3)
          .cancel(1)
          .ok()
          .start("X")
          .evalError("unbound symbol: X", 1),
  };
}

INSTANTIATE_TEST_SUITE_P(LeftBehind, WholeConversation, testing::ValuesIn(leftBehind()), nameOf);

std::vector<Scenario> leftByRunsSideBySide() {
  return {
      // A run works on what it found at its start, however long ago that was.
      Scenario("ByTheLastRunToFinish")
          .start("(SETQ X 1)")
          .value("1", 2)
          .start("(SETQ Y (LIST X (GETDIST)))")
          .call(1, "GETDIST", 0, "()", 4)
          .start("(SETQ X 2 Z 3) (DEFUN F () 4)")
          .value("F", 4)
          .resume(1, "5")
          .value("(1 5)", 4)
          .start("(LIST X Y)")
          .value("(1 (1 5))", 3)
          .start("Z")
          .evalError("unbound symbol: Z", 1)
          .start("(F)")
          .evalError("unsupported LISP function: F", 1),
      Scenario("ByRunsThatEndInAnyOrder")
          .start("(SETQ N 0)")
          .value("0", 2)
          .start("(SETQ N (+ N (GETDIST 1)))")
          .call(1, "GETDIST", 1, "(1)", 5)
          .start("(SETQ N (+ N (GETDIST 2)))")
          .call(2, "GETDIST", 1, "(2)", 5)
          .start("(SETQ N (+ N (GETDIST 3)))")
          .call(3, "GETDIST", 1, "(3)", 5)
          .resume(3, "300")
          .value("300", 5)
          .start("(SETQ N (+ N (GETDIST 4)))")
          .call(4, "GETDIST", 1, "(4)", 5)
          .resume(1, "100")
          .value("100", 5)
          .resume(4, "4000")
          .value("4300", 5)
          .resume(2, "200")
          .value("200", 5)
          .start("N")
          .value("200", 1),
      Scenario("ByAReplayFromTheStartOnly")
          .start("(SETQ N 0)")
          .value("0", 2)
          .start("(SETQ N (1+ N)) (GETPOINT N) (SETQ N (1+ N)) (GETPOINT N) N")
          .call(1, "GETPOINT", 1, "(1)", 5)
          .resume(1, "nil")
          .call(1, "GETPOINT", 1, "(2)", 10)
          .resume(1, "nil")
          .value("2", 11),
  };
}

INSTANTIATE_TEST_SUITE_P(LeftBySeveralRuns, WholeConversation,
                         testing::ValuesIn(leftByRunsSideBySide()), nameOf);

// The decision about a run holds whether or not its result fits into a response.
std::vector<Scenario> leftByLongResults() {
  return {
      Scenario("ByAResultTooLongToSend")
          .start("(SETQ I 0 X (LIST \"0123456789abcdef\"))"
                 " (WHILE (< I 16) (SETQ X (LIST X X) I (1+ I))) X")
          .answer(WorkerStatus::InvalidRequest)
          .start("(LIST I (LENGTH X))")
          .value("(16 2)", 4),
      Scenario("ByACallTooLongToSend")
          .start("(SETQ I 0 X (LIST \"0123456789abcdef\"))"
                 " (WHILE (< I 16) (SETQ X (LIST X X) I (1+ I))) (SETQ Y (GETDIST X))")
          .answer(WorkerStatus::InvalidRequest)
          .start("(GETPOINT)")
          .call(2, "GETPOINT", 0, "()", 1)
          .start("Y")
          .evalError("unbound symbol: Y", 1)
          .resume(1, "5")
          .value("5", 4 + 1 + 16 * (3 + 6) + 3 + 3)
          .start("Y")
          .value("5", 1),
  };
}

INSTANTIATE_TEST_SUITE_P(LeftByLongResults, WholeConversation,
                         testing::ValuesIn(leftByLongResults()), nameOf);

}  // namespace
}  // namespace lisp_worker::testing_support
