#include "host/host_call.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "testing/base/outcome_matchers.h"
#include "testing/workers/evaluator.h"

namespace host {
namespace {

using lisp_worker::testing_support::evaluate;
using lisp_worker::testing_support::isEvalError;
using lisp_worker::testing_support::isStepLimit;
using lisp_worker::testing_support::isValue;
using lisp_worker::testing_support::Replay;
using lisp_worker::testing_support::requiresHostCall;
using lisp_worker::testing_support::took;
using testing::AllOf;

constexpr std::array kNames = {"GETPOINT", "GETCORNER", "GETDIST", "SSGET",     "ENTGET", "ENTMOD",
                               "ENTMAKE",  "ENTMAKEX",  "COMMAND", "COMMAND-S", "OSNAP"};

std::string divergence(int call, const std::string& name) {
  return "LISP host replay divergence at call " + std::to_string(call) + ": " + name;
}

TEST(HostCall, IsRequiredForEachOfTheElevenNames) {
  for (const std::string name : kNames) {
    EXPECT_THAT(evaluate("(" + name + ")"), AllOf(requiresHostCall(name, "()"), took(1)));
    EXPECT_THAT(evaluate("(" + name + " 1 \"a\" 'B nil '() (LIST 1 2))"),
                requiresHostCall(name, "(1 \"a\" B nil () (1 2))"));
    EXPECT_THAT(Replay("(" + name + " 1)").answered(name, "(1)", "(A B)").run(), isValue("(A B)"));
  }
  EXPECT_THAT(evaluate("(getpoint)"), requiresHostCall("GETPOINT", "()"));
  EXPECT_THAT(evaluate("(Command-s \"_LINE\" '(0 0) '(1 1) \"\")"),
              requiresHostCall("COMMAND-S", "(\"_LINE\" (0 0) (1 1) \"\")"));
}

TEST(HostCall, IsMadeForTheWholeNameOnly) {
  for (const char* const name : {"GETPOIN", "GETPOINTS", "COMMAND-", "COMMAND-SS", "SSGE", "ENTDEL",
                                 "GETSTRING", "ENTMAKEXX"}) {
    EXPECT_THAT(evaluate("(" + std::string(name) + ")"),
                isEvalError("unsupported LISP function: " + std::string(name)));
  }
}

TEST(HostCall, EvaluatesItsArgumentsInOrder) {
  EXPECT_THAT(evaluate("(SETQ A 1) (GETPOINT (SETQ A (1+ A)) (SETQ A (* A 10)) A)"),
              requiresHostCall("GETPOINT", "(2 20 20)"));
  EXPECT_THAT(evaluate("(DEFUN F (P) (GETPOINT P \"x\")) (F 5)"),
              requiresHostCall("GETPOINT", "(5 \"x\")"));
}

TEST(HostCall, IsNotMadeWhenAnArgumentFails) {
  EXPECT_THAT(evaluate("(GETPOINT (/ 1 0))"), isEvalError("division by zero"));
  EXPECT_THAT(evaluate("(GETPOINT 1 X (FOO))"), isEvalError("unbound symbol: X"));
  EXPECT_THAT(evaluate("(GETPOINT (WHILE T))"), isStepLimit());
  // Nothing is taken from the transcript either.
  EXPECT_THAT(Replay("(GETPOINT (/ 1 0))").answered("GETPOINT", "(1)", "2").run(),
              isEvalError("division by zero"));
}

TEST(HostCall, InAnArgumentComesFirst) {
  const std::string program = "(ENTGET (CAR (SSGET)))";
  EXPECT_THAT(evaluate(program), requiresHostCall("SSGET", "()"));
  EXPECT_THAT(Replay(program).answered("SSGET", "(\"e1\" \"e2\")").run(),
              requiresHostCall("ENTGET", "(\"e1\")"));
  EXPECT_THAT(
      Replay(program).answered("SSGET", "(\"e1\")").answered("ENTGET", "(\"e1\")", "7").run(),
      isValue("7"));
}

TEST(Replay, TakesTheAnswersInOrder) {
  const std::string program = "(PROGN (GETPOINT) (GETPOINT))";
  EXPECT_THAT(evaluate(program), requiresHostCall("GETPOINT", "()"));
  EXPECT_THAT(Replay(program).run(), requiresHostCall("GETPOINT", "()"));
  EXPECT_THAT(Replay(program).answered("GETPOINT", "1").run(), requiresHostCall("GETPOINT", "()"));
  EXPECT_THAT(Replay(program).answered("GETPOINT", "1").answered("GETPOINT", "2").run(),
              AllOf(isValue("2"), took(3)));
  EXPECT_THAT(Replay("(LIST (GETPOINT) (GETDIST 1) (GETPOINT))")
                  .answered("GETPOINT", "(1 2)")
                  .answered("GETDIST", "(1)", "2.5")
                  .answered("GETPOINT", "nil")
                  .run(),
              isValue("((1 2) 2.5 nil)"));
}

TEST(Replay, DoesNotEvaluateAnswers) {
  EXPECT_THAT(Replay("(GETPOINT)").answered("GETPOINT", "(FOO (BAR))").run(),
              isValue("(FOO (BAR))"));
  EXPECT_THAT(Replay("(GETPOINT)").answered("GETPOINT", "UNBOUND").run(), isValue("UNBOUND"));
  EXPECT_THAT(Replay("(GETPOINT)").answered("GETPOINT", "'A").run(), isValue("(QUOTE A)"));
  EXPECT_THAT(Replay("(LIST (GETPOINT))").answered("GETPOINT", "()").run(), isValue("(())"));
}

TEST(Replay, DivergenceNamesTheCallBeingMade) {
  // Another name.
  EXPECT_THAT(Replay("(GETPOINT)").answered("SSGET", "1").run(),
              isEvalError(divergence(1, "GETPOINT")));
  EXPECT_THAT(Replay("(COMMAND)").answered("COMMAND-S", "1").run(),
              isEvalError(divergence(1, "COMMAND")));
  EXPECT_THAT(Replay("(LIST (GETPOINT) (SSGET))")
                  .answered("GETPOINT", "(1 2)")
                  .answered("ENTGET", "nil")
                  .run(),
              isEvalError(divergence(2, "SSGET")));
  // Another number of arguments.
  for (const char* const arguments : {"()", "(1)", "(1 2 3)"}) {
    EXPECT_THAT(Replay("(GETDIST 1 2)").answered("GETDIST", arguments, "5").run(),
                isEvalError(divergence(1, "GETDIST")));
  }
  // Another argument.
  for (const char* const arguments : {"(1 3)", "(2 2)", "(1 \"2\")", "(1 nil)", "(1 (2))"}) {
    EXPECT_THAT(Replay("(GETDIST 1 2)").answered("GETDIST", arguments, "5").run(),
                isEvalError(divergence(1, "GETDIST")))
        << arguments;
  }
  EXPECT_THAT(Replay("(GETDIST nil)").answered("GETDIST", "(())", "5").run(),
              isEvalError(divergence(1, "GETDIST")));
}

TEST(Replay, NumbersCallsInDecimal) {
  std::string program = "(LIST";
  for (int i = 0; i < 12; ++i) program += " (GETPOINT)";
  Replay replay(program + ")");
  for (int i = 0; i < 11; ++i) replay.answered("GETPOINT", "1");
  EXPECT_THAT(replay.answered("OSNAP", "1").run(), isEvalError(divergence(12, "GETPOINT")));
}

TEST(Replay, ComparesArgumentsAsEqualDoes) {
  EXPECT_THAT(
      Replay("(GETDIST 0 '(1 (2)) \"a\")").answered("GETDIST", "(-0.0 (1.0 (2)) \"a\")", "5").run(),
      isValue("5"));
  // A NaN differs from itself.
  EXPECT_THAT(
      Replay("(SETQ I (* 1e308 10)) (GETDIST (- I I))").answered("GETDIST", "(1)", "5").run(),
      isEvalError(divergence(1, "GETDIST")));
}

TEST(Replay, DivergesBeforeItAsksForMore) {
  EXPECT_THAT(Replay("(GETPOINT) (GETDIST)").answered("GETDIST", "1").run(),
              isEvalError(divergence(1, "GETPOINT")));
}

TEST(Replay, CountsTheStepsOfTheWholeProgram) {
  EXPECT_THAT(Replay("(+ 1 2) (GETPOINT (+ 3 4))").answered("GETPOINT", "(7)", "1").run(), took(7));
  EXPECT_THAT(Replay("(GETPOINT) (GETPOINT)").answered("GETPOINT", "1").run({1, 128}),
              AllOf(isStepLimit(), took(2)));
}

}  // namespace
}  // namespace host
