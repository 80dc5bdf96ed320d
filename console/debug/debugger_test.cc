// Whole debugging sessions: a program is run by a worker in this process, and each command is
// compared with its answer.

#include "console/debug/debugger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "testing/workers/recorded_run.h"

namespace lisp_worker::console {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using testing_support::recordedRun;

class DebuggerTest : public testing::Test {
 protected:
  void debug(const std::string& text, const std::vector<std::string>& libraries = {}) {
    auto run = recordedRun(text, libraries);
    ASSERT_TRUE(run);
    EXPECT_EQ(run->doubt, "");
    debugger_.emplace(std::move(*run));
  }

  std::string tell(std::string_view command) { return debugger_->execute(command); }

  // The first line of the answer, after those that tell values.
  std::string placeAfter(std::string_view command) {
    static_cast<void>(tell(command));
    const std::string where = debugger_->whereText();
    return where.substr(0, where.find('\n'));
  }

  std::optional<Debugger> debugger_;
};

constexpr const char* kAreas =
    "(DEFUN AREA (W H)\n"
    "  (* W H))\n"
    "(SETQ TOTAL 0)\n"
    "(SETQ TOTAL (+ TOTAL (AREA 2 3)))\n"
    "(SETQ TOTAL (+ TOTAL (AREA 4 5)))\n"
    "TOTAL\n";

TEST_F(DebuggerTest, BeginsAtTheFirstForm) {
  debug(kAreas);
  EXPECT_EQ(debugger_->summary(), "p.lsp: = 26, after 22 steps and 0 host calls\n");
  EXPECT_EQ(debugger_->whereText(),
            "p.lsp:1:1   step 1 of 22\n"
            "    1 | (DEFUN AREA (W H)\n"
            "      | ^^^^^^^^^^^^^^^^^\n");
}

TEST_F(DebuggerTest, StepsIntoOverAndOutOfForms) {
  debug(kAreas);
  EXPECT_EQ(placeAfter("over"), "p.lsp:3:1   step 2 of 22");
  EXPECT_EQ(placeAfter("over"), "p.lsp:4:1   step 4 of 22");
  EXPECT_EQ(placeAfter("step"), "p.lsp:4:13   step 5 of 22");
  EXPECT_EQ(placeAfter("step"), "p.lsp:4:22   step 7 of 22");
  EXPECT_EQ(placeAfter("step"), "p.lsp:2:3   step 10 of 22, in AREA");
  EXPECT_EQ(tell("out"),
            "(AREA 2 3) = 6\n"
            "p.lsp:5:1   step 13 of 22\n"
            "    5 | (SETQ TOTAL (+ TOTAL (AREA 4 5)))\n"
            "      | ^^^^^^^^^^^^^^^^^^^^^^^^^^^^^^^^^\n");
  EXPECT_EQ(tell("over"),
            "(SETQ TOTAL (+ TOTAL (AREA 4 5))) = 26\n"
            "the end, after 22 steps: = 26\n");
}

TEST_F(DebuggerTest, StepsBackwardsTheSameWay) {
  debug(kAreas);
  static_cast<void>(tell("goto end"));
  EXPECT_EQ(placeAfter("back"), "p.lsp:2:3   step 19 of 22, in AREA");
  EXPECT_EQ(placeAfter("back-out"), "p.lsp:5:22   step 16 of 22");
  EXPECT_EQ(placeAfter("back-over"), "p.lsp:5:13   step 14 of 22");
  EXPECT_EQ(placeAfter("back-over"), "p.lsp:5:1   step 13 of 22");
  EXPECT_EQ(placeAfter("back-over"), "p.lsp:4:1   step 4 of 22");
  EXPECT_EQ(placeAfter("goto start"), "p.lsp:1:1   step 1 of 22");
  EXPECT_EQ(placeAfter("back"), "p.lsp:1:1   step 1 of 22");
}

TEST_F(DebuggerTest, AnEmptyLineMovesOnAsBefore) {
  debug(kAreas);
  static_cast<void>(tell("over"));
  EXPECT_EQ(placeAfter(""), "p.lsp:4:1   step 4 of 22");
  static_cast<void>(tell("vars"));
  EXPECT_EQ(placeAfter(""), "p.lsp:5:1   step 13 of 22");
}

TEST_F(DebuggerTest, StopsAtBreakpointsInBothDirections) {
  debug(kAreas);
  EXPECT_EQ(tell("break area"), "breakpoint 1, function AREA: 2 times in this run\n");
  EXPECT_EQ(tell("continue"),
            "breakpoint 1, function AREA\n"
            "p.lsp:2:3   step 10 of 22, in AREA\n"
            "    2 |   (* W H))\n"
            "      |   ^^^^^^^\n");
  EXPECT_EQ(placeAfter("c"), "p.lsp:2:3   step 19 of 22, in AREA");
  EXPECT_EQ(tell("c"), "the end, after 22 steps: = 26\n");
  EXPECT_EQ(placeAfter("reverse"), "p.lsp:2:3   step 19 of 22, in AREA");
  EXPECT_EQ(placeAfter("rc"), "p.lsp:2:3   step 10 of 22, in AREA");
  EXPECT_EQ(placeAfter("rc"), "p.lsp:1:1   step 1 of 22");
  EXPECT_EQ(tell("delete 1"), "");
  EXPECT_EQ(tell("delete 1"), "no breakpoint of that number\n");
  EXPECT_EQ(placeAfter("c"), "the end, after 22 steps: = 26");
}

TEST_F(DebuggerTest, KnowsEveryKindOfBreakpoint) {
  debug(
      "(SETQ N 0)\n"
      "(WHILE (< N 5)\n"
      "  (SETQ N (1+ N)))\n"
      "(COMMAND \"CIRCLE\" '(0 0) N)\n"
      "(+ N nil)\n");
  EXPECT_EQ(tell("break"), "no breakpoints\n");
  EXPECT_EQ(tell("break 3"), "breakpoint 1, line 3: 5 times in this run\n");
  EXPECT_EQ(tell("break p.lsp:3 if (> N 2)"),
            "breakpoint 2, line 3 if (> N 2): 2 times in this run\n");
  EXPECT_EQ(tell("break 3 after 4"), "breakpoint 3, line 3: 1 time in this run\n");
  EXPECT_EQ(tell("break set n"), "breakpoint 4, assignments of N: 6 times in this run\n");
  EXPECT_EQ(tell("break set n if (= N 3)"),
            "breakpoint 5, assignments of N if (= N 3): 1 time in this run\n");
  EXPECT_EQ(tell("break call command"),
            "breakpoint 6, host calls of COMMAND: 1 time in this run\n");
  EXPECT_EQ(tell("break call"), "breakpoint 7, host calls: 1 time in this run\n");
  EXPECT_EQ(tell("break entity e1"), "breakpoint 8, changes of E1: 1 time in this run\n");
  EXPECT_EQ(tell("break error"), "breakpoint 9, the error: 1 time in this run\n");
  EXPECT_THAT(tell("break"), StartsWith("1  line 3, 5 times\n2  line 3 if (> N 2), 2 times\n"));
}

TEST_F(DebuggerTest, RefusesBreakpointsThatCannotBe) {
  debug(kAreas);
  EXPECT_EQ(tell("break 99"), "no form begins in line 99 or after it\n");
  EXPECT_EQ(tell("break other.lsp:3"), "no file other.lsp takes part in this run\n");
  EXPECT_EQ(tell("break NOBODY"), "the program never calls a function NOBODY\n");
  EXPECT_EQ(tell("break entity E1"), "the program neither adds, changes nor erases an entity E1\n");
  EXPECT_EQ(tell("break error"), "the program does not fail\n");
  EXPECT_EQ(tell("break 3 if (CAR"), "the condition cannot be read: unterminated list\n");
  EXPECT_EQ(tell("break 3 after x"), "after: how many times? For example: break 7 after 10\n");
}

TEST_F(DebuggerTest, StopsNeitherAtParametersNorAtData) {
  debug("(DEFUN F\n  (X)\n  (LIST X))\n(F '(1\n  (2)))\n(LIST 9)\n");
  EXPECT_EQ(tell("break 2"), "breakpoint 1, line 3: 1 time in this run\n");
  EXPECT_EQ(tell("break 5"), "breakpoint 2, line 6: 1 time in this run\n");
}

TEST_F(DebuggerTest, RefusesConditionsThatCostTooMuch) {
  debug(
      "(DEFUN SLOW (/ I) (SETQ I 0) (WHILE (< I 900) (SETQ I (1+ I))) nil)\n"
      "(SETQ N 0)\n(WHILE (< N 3000)\n  (SETQ N (1+ N)))\n");
  EXPECT_EQ(tell("break 4 if (SLOW)"),
            "the condition costs too many steps to be evaluated each time\n");
  EXPECT_EQ(tell("when (OR (SLOW) (> N 9000))"),
            "it is not true from here on; where it has no value: it costs too many steps to be "
            "evaluated again and again\n");
}

TEST_F(DebuggerTest, ShowsVariablesOfEveryCall) {
  debug(
      "(DEFUN F (A / L) (SETQ L (* 2 A) G 7) (H L))\n(DEFUN H (A) (SETQ L 0) (LIST A L))\n(F 4)\n",
      {"(SETQ OLD \"x\")"});
  static_cast<void>(tell("break h"));
  static_cast<void>(tell("c"));
  EXPECT_EQ(tell("vars"),
            "H\n  A = 8\n"
            "F\n  A = 4\n  L = 8\n"
            "global\n  G = 7\n  OLD = \"x\"\n");
  EXPECT_EQ(tell("stack"),
            "  p.lsp:2:14           in (H 8)\n"
            "  p.lsp:1:39           in (F 4)\n"
            "  p.lsp:3:1            at the top level\n");
  EXPECT_EQ(tell("print (+ A G)"), "= 15\n");
  EXPECT_EQ(tell("print (+ A"), "it cannot be read: unterminated list\n");
  EXPECT_EQ(tell("print B"), "unbound symbol: B\n");
  EXPECT_EQ(tell("print"), "print what? For example: print (CAR L)\n");
  static_cast<void>(tell("over"));
  EXPECT_EQ(tell("print L"), "= 0\n");
}

TEST_F(DebuggerTest, TellsWhyAVariableHasItsValue) {
  debug(
      "(SETQ POINTS '((1 2) (3 4)))\n"
      "(DEFUN FIRST-X (L) (CAR (CAR L)))\n"
      "(SETQ REST (CAR (CDR (CDR POINTS))))\n"
      "(SETQ X (IF REST (FIRST-X REST)))\n"
      "(SETQ Y X)\n"
      "(+ Y 1)\n");
  static_cast<void>(tell("goto error"));
  EXPECT_EQ(tell("why y"),
            "Y is nil\n"
            "  set by    p.lsp:5:1            (SETQ Y X) = nil\n"
            "  value     p.lsp:5:9            X = nil\n"
            "  from      p.lsp:4:9            (IF REST (FIRST-X REST)) = nil\n"
            "  where     p.lsp:4:13           REST = nil\n");
  EXPECT_EQ(tell("why rest"),
            "REST is nil\n"
            "  set by    p.lsp:3:1            (SETQ REST (CAR (CDR (CDR POINTS)))) = nil\n"
            "  value     p.lsp:3:12           (CAR (CDR (CDR POINTS))) = nil\n"
            "  where     p.lsp:3:17           (CDR (CDR POINTS)) = ()\n");
  EXPECT_EQ(tell("why Z"), "Z is unbound\n  nothing in this run assigns it\n");
  EXPECT_EQ(tell("why"), "why what? why NAME, why entity HANDLE, why not LINE\n");
  static_cast<void>(tell("goto start"));
  EXPECT_EQ(tell("why y"), "Y is unbound\n  it has a value at other moments: history Y\n");
}

TEST_F(DebuggerTest, TellsWhyParametersAndLocalsHaveTheirValues) {
  debug("(DEFUN F (A / L) (LIST A L OLD))\n(F (+ 1 2))\n", {"(SETQ OLD 9)"});
  static_cast<void>(tell("break f"));
  static_cast<void>(tell("c"));
  EXPECT_EQ(tell("why a"),
            "A is 3, in F\n"
            "  passed by p.lsp:2:1            (F (+ 1 2)) = (3 nil 9)\n"
            "  value     p.lsp:2:4            (+ 1 2) = 3\n");
  EXPECT_EQ(tell("why l"),
            "L is nil, in F\n"
            "  local of  p.lsp:2:1            (F (+ 1 2)) = (3 nil 9)\n"
            "  not assigned since\n");
  EXPECT_EQ(tell("why old"), "OLD is 9\n  set by an earlier program\n");
}

TEST_F(DebuggerTest, TellsWhichFormsDrewAnEntity) {
  debug(
      ";@ entity ((0 \"POINT\") (10 (9 9)))\n"
      "(DEFUN HOLE (P)\n"
      "  (COMMAND \"CIRCLE\" P 2))\n"
      "(HOLE '(1 1))\n"
      "(COMMAND \"MOVE\" \"E2\" \"\" '(0 0) '(5 0))\n");
  EXPECT_EQ(
      tell("why entity e2"),
      "E2\n"
      "  added     p.lsp:3:3            (COMMAND \"CIRCLE\" P 2) = nil\n"
      "  in        p.lsp:4:1            (HOLE '(1 1)) = nil\n"
      "  changed   p.lsp:5:1            (COMMAND \"MOVE\" \"E2\" \"\" '(0 0) '(5 0)) = nil\n");
  EXPECT_THAT(tell("goto entity e2"), StartsWith("p.lsp:5:1   step "));
  EXPECT_EQ(tell("goto entity E3"), "E3 is no entity of this run\n");
  EXPECT_EQ(tell("why entity E1"), "E1 was there before the program, which has not changed it\n");
  EXPECT_EQ(tell("why entity E3"), "E3 is no entity of this run\n");
}

TEST_F(DebuggerTest, ShowsTheDrawingOfTheMoment) {
  debug(
      "(COMMAND \"CIRCLE\" '(1 1) 2)\n"
      "(COMMAND \"LINE\" '(0 0) '(5 5) \"\")\n"
      "(COMMAND \"ERASE\" \"E1\" \"\")\n");
  EXPECT_EQ(tell("drawing"), "0 entities\n");
  EXPECT_EQ(tell("changes"), "nothing is changed so far\n");
  static_cast<void>(tell("over"));
  EXPECT_THAT(tell("drawing"), StartsWith("1 entity\n  E1 CIRCLE on layer 0"));
  static_cast<void>(tell("over"));
  EXPECT_THAT(tell("changes"), HasSubstr("  added E2 LINE on layer 0"));
  static_cast<void>(tell("over"));
  EXPECT_THAT(tell("drawing"), StartsWith("1 entity\n  E2 LINE"));
  static_cast<void>(tell("back"));
  EXPECT_THAT(tell("drawing"), StartsWith("2 entities\n"));
}

TEST_F(DebuggerTest, ListsHostCallsWithTheirAnswers) {
  debug(
      ";@ answer GETDIST 5\n"
      "(SETQ R (GETDIST \"Radius: \"))\n"
      "(COMMAND \"CIRCLE\" '(0 0) -1)\n");
  static_cast<void>(tell("over"));
  EXPECT_EQ(tell("calls"),
            "  done      p.lsp:2:9            (GETDIST \"Radius: \") = 5\n"
            "  to come   p.lsp:3:1            (COMMAND \"CIRCLE\" '(0 0) -1) = nil\n"
            "            refused: nothing done: CIRCLE: group 40 needs a number above 0\n");
  debug("1");
  EXPECT_EQ(tell("calls"), "the program makes no host calls\n");
}

TEST_F(DebuggerTest, TellsWhyALineWasNotEvaluated) {
  debug(
      "(DEFUN DRAW (N)\n"
      "  (IF (> N 5)\n"
      "    (COMMAND \"CIRCLE\" '(0 0) N)))\n"
      "(DRAW 3) (DRAW 4)\n"
      "(DEFUN NEVER ()\n"
      "  (DRAW 9))\n"
      "(/ 1 0)\n"
      "(DRAW 8)\n");
  EXPECT_EQ(tell("why not 3"),
            "p.lsp:3:5 (COMMAND \"CIRCLE\" '(0 0) N)\n"
            "  it depends on a condition, which has decided against it twice\n"
            "  condition p.lsp:2:7            (> N 5) = nil\n"
            "  where     p.lsp:2:10           N = 4\n");
  EXPECT_EQ(tell("why not 6"),
            "p.lsp:6:3 (DRAW 9)\n"
            "  it is in the function NEVER (p.lsp:5:1), which was not called\n");
  EXPECT_EQ(tell("why not 8"),
            "p.lsp:8:1 (DRAW 8)\n"
            "  the run has ended before: division by zero\n"
            "  at        p.lsp:7:1            (/ 1 0) : no value\n");
  EXPECT_EQ(tell("why not 4"), "p.lsp:4:1 (DRAW 3)\n  it was evaluated once\n");
  EXPECT_EQ(tell("why not 99"), "no form begins in line 99\n");
  EXPECT_EQ(tell("why not x"), "which line? For example: why not 7\n");
  EXPECT_EQ(tell("why not q.lsp:1"), "no file q.lsp takes part in this run\n");
}

TEST_F(DebuggerTest, FindsTheMomentWhenSomethingBecomesTrue) {
  debug("(SETQ N 0)\n(WHILE (< N 100)\n  (SETQ N (1+ N)))\n");
  EXPECT_THAT(tell("when (> N 41)"), StartsWith("p.lsp:2:8   step "));
  EXPECT_EQ(tell("print N"), "= 42\n");
  EXPECT_EQ(tell("when (> N 100)"), "it is not true from here on\n");
  EXPECT_EQ(tell("when (> M 1)"),
            "it is not true from here on; where it has no value: unbound symbol: M\n");
  EXPECT_EQ(tell("when (> N"), "the expression cannot be read: unterminated list\n");
  EXPECT_EQ(tell("when"), "when what is true? For example: when (> N 5)\n");
  EXPECT_THAT(tell("history n"), HasSubstr("p.lsp:3:3            N = 100\n"));
  EXPECT_THAT(tell("history n"), StartsWith("... 61 values before\n"));
  EXPECT_EQ(tell("history q"), "nothing in this run assigns Q\n");
  EXPECT_EQ(tell("history"), "history of which name?\n");
}

TEST_F(DebuggerTest, GoesToTheError) {
  debug("(DEFUN F (L)\n  (1+ L))\n(F \"a\")\n");
  debugger_->goToError();
  EXPECT_EQ(debugger_->whereText(),
            "p.lsp:2:3   step 4 of 5, in F\n"
            "    2 |   (1+ L))\n"
            "      |   ^^^^^^\n");
  EXPECT_EQ(tell("goto end"), "the end, after 5 steps: 1+ expects one number\n");
  EXPECT_EQ(placeAfter("goto 3"), "p.lsp:3:4   step 3 of 5");
  EXPECT_EQ(tell("goto 7"), "goto takes start, end, error, entity HANDLE or a step from 1 to 6\n");
  EXPECT_EQ(tell("goto 0"), "goto takes start, end, error, entity HANDLE or a step from 1 to 6\n");
}

TEST_F(DebuggerTest, ShowsTheLinesAround) {
  debug("1\n2\n(LIST 3)\n");
  static_cast<void>(tell("step"));
  EXPECT_EQ(tell("list"), "    1 | 1\n    2 | 2\n    3 > (LIST 3)\n    4 | \n");
}

TEST_F(DebuggerTest, FollowsAProgramIntoItsLibrary) {
  debug("(TWICE 4)", {"; a library\n(DEFUN TWICE (X)\n  (* 2 X))"});
  EXPECT_EQ(placeAfter("step"), "lib.lsp:3:3   step 3 of 5, in TWICE");
  EXPECT_EQ(tell("break lib.lsp:3"), "breakpoint 1, line 3: 1 time in this run\n");
}

TEST_F(DebuggerTest, OfAProgramAtItsLimitsGoesUpToThere) {
  debug("(WHILE T 1)");
  EXPECT_EQ(placeAfter("goto end"),
            "the end, after 250001 steps: LISP evaluation step limit exceeded");
}

TEST_F(DebuggerTest, OfAProgramWithoutFormsHasNothingToShow) {
  debug("");
  EXPECT_EQ(debugger_->whereText(), "the end, after 0 steps: = nil\n");
  EXPECT_EQ(tell("step") + tell("over") + tell("out") + tell("back"),
            "the end, after 0 steps: = nil\nthe end, after 0 steps: = nil\n"
            "the end, after 0 steps: = nil\nthe end, after 0 steps: = nil\n");
  EXPECT_EQ(tell("stack"), "  no steps\n");
  EXPECT_EQ(tell("vars"), "global\n  none\n");
}

TEST_F(DebuggerTest, KnowsItsCommands) {
  debug("1");
  EXPECT_EQ(tell("fly"), "no command fly; help lists them\n");
  for (const std::string& name : Debugger::commandNames()) {
    EXPECT_THAT(tell("help"), HasSubstr("  " + name + ", "));
  }
  EXPECT_FALSE(debugger_->isOver());
  EXPECT_EQ(tell("quit"), "");
  EXPECT_TRUE(debugger_->isOver());
}

TEST(RecordRun, OfAProgramThatCannotBeReadIsNothing) { EXPECT_FALSE(recordedRun("(CAR")); }

}  // namespace
}  // namespace lisp_worker::console
