#include "trace/index.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "explain/evaluation.h"
#include "explain/form.h"
#include "explain/value_text.h"
#include "lisp/graveyard.h"
#include "lisp/storage.h"
#include "trace/recorded_program.h"

namespace trace {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// "step form around call end value"
std::string lineOf(const Index& index, Position number) {
  const Step& step = index.step(number);
  const auto value = index.valueOf(number);
  return std::to_string(number) + " " + textOf(index, number) + " " + std::to_string(step.around) +
         " " + std::to_string(step.call) + " " + std::to_string(step.end) + " " +
         (value ? explain::shorten(*value, 40) : "-");
}

std::vector<std::string> linesOf(const Index& index) {
  std::vector<std::string> lines;
  for (Position n = 1; n < index.end(); ++n) lines.push_back(lineOf(index, n));
  return lines;
}

// "VALUE from FORM in CALL"
std::string variableAt(const Index& index, std::string_view name, Position position) {
  const Variable variable = index.find(name, position);
  const auto value = index.valueOf(name, variable);
  std::string text = value ? explain::shorten(*value, 40) : "unbound";
  if (variable.step != 0) text += " from " + textOf(index, variable.step);
  return variable.call == 0 ? text : text + " in call " + std::to_string(variable.call);
}

TEST(Index, HasALineForEachStep) {
  const auto run = record("(DEFUN F (X) (* X 2)) (SETQ A (F 5))");
  EXPECT_THAT(linesOf(run.index),
              ElementsAre("1 (DEFUN F (X) (* X 2)) 0 0 2 F", "2 (SETQ A (F 5)) 0 0 8 10",
                          "3 (F 5) 2 0 8 10", "4 5 3 0 5 5", "5 (* X 2) 3 1 8 10", "6 X 5 1 7 5",
                          "7 2 5 1 8 2"));
  EXPECT_EQ(run.index.stepCount(), run.outcome.steps);
}

TEST(Index, OfAProgramWithoutFormsHasNoSteps) {
  const auto run = record("");
  EXPECT_EQ(run.index.stepCount(), 0U);
  EXPECT_EQ(run.index.end(), 1U);
  EXPECT_EQ(run.index.over(1), 1U);
  EXPECT_EQ(run.index.out(1), 1U);
  EXPECT_EQ(run.index.backOver(1), 1U);
  EXPECT_EQ(run.index.backOut(1), 1U);
  EXPECT_EQ(variableAt(run.index, "A", 1), "unbound");
}

TEST(Index, OfARunThatFailedLeavesTheFormsOnTheWayOpen) {
  const auto run = record("(DEFUN F (X) (/ X 0)) (LIST 1 (F 2) 3)");
  EXPECT_THAT(linesOf(run.index),
              ElementsAre("1 (DEFUN F (X) (/ X 0)) 0 0 2 F", "2 (LIST 1 (F 2) 3) 0 0 0 -",
                          "3 1 2 0 4 1", "4 (F 2) 2 0 0 -", "5 2 4 0 6 2", "6 (/ X 0) 4 1 0 -",
                          "7 X 6 1 8 2", "8 0 6 1 9 0"));
  EXPECT_THAT(run.index.callsAt(run.index.end()), ElementsAre(1));
}

TEST(Index, TellsTheEvaluationsOfAForm) {
  const auto run = record("(SETQ N 0) (WHILE (< N 3) (SETQ N (1+ N)))");
  const Position last = find(run.index, "(1+ N)", 3);
  EXPECT_EQ(run.index.lastStepOf(run.program, run.index.step(last).form), last);
  EXPECT_EQ(run.index.step(last).before, find(run.index, "(1+ N)", 2));
  EXPECT_EQ(run.index.step(find(run.index, "(1+ N)")).before, 0U);
  EXPECT_EQ(run.index.lastStepOf(explain::readProgram("other", "1"), 0), 0U);
}

TEST(Index, TellsThePartsOfAStepWithoutTheBodyItCalls) {
  const auto run = record("(DEFUN F (X Y) X Y) (F (LIST 1 2) 3)");
  const Position call = find(run.index, "(F (LIST 1 2) 3)");
  EXPECT_THAT(run.index.partsOf(call),
              ElementsAre(find(run.index, "(LIST 1 2)"), find(run.index, "3")));
  EXPECT_THAT(run.index.partsOf(find(run.index, "3")), IsEmpty());
}

TEST(Index, MovesOverAndOutOfForms) {
  const auto run = record("(DEFUN F (X) (SETQ Y X) (* X 2)) (SETQ A (F 5)) A");
  const Index& index = run.index;
  const Position call = find(index, "(F 5)");
  const Position body = find(index, "(SETQ Y X)");
  const Position product = find(index, "(* X 2)");
  const Position last = find(index, "A");
  EXPECT_EQ(index.over(call), last);
  EXPECT_EQ(index.over(body), product);
  EXPECT_EQ(index.out(body), last);
  EXPECT_EQ(index.out(call), index.end());
  EXPECT_EQ(index.over(last), index.end());
  EXPECT_EQ(index.over(index.end()), index.end());
  EXPECT_EQ(index.backOver(product), body);
  EXPECT_EQ(index.backOver(body), call);
  EXPECT_EQ(index.backOver(call), find(index, "(SETQ A (F 5))"));
  EXPECT_EQ(index.backOver(last), find(index, "(SETQ A (F 5))"));
  EXPECT_EQ(index.backOver(index.end()), last);
  EXPECT_EQ(index.backOver(1), 1U);
  EXPECT_EQ(index.backOut(product), call);
  EXPECT_EQ(index.backOut(call), 1U);
}

TEST(Index, MovesToTheEndFromFormsThatNeverCameToAValue) {
  const auto run = record("(DEFUN F () (/ 1 0)) (F)");
  const Position call = find(run.index, "(F)");
  EXPECT_EQ(run.index.over(call), run.index.end());
  EXPECT_EQ(run.index.out(find(run.index, "(/ 1 0)")), run.index.end());
  EXPECT_EQ(run.index.backOver(run.index.end()), call);
}

TEST(TracedVariables, HaveTheValueOfTheMoment) {
  const auto run = record("(SETQ A 1) (SETQ A (+ A 1) B A) A");
  EXPECT_EQ(variableAt(run.index, "A", 1), "unbound");
  EXPECT_EQ(variableAt(run.index, "A", find(run.index, "(+ A 1)")), "1 from (SETQ A 1)");
  EXPECT_EQ(variableAt(run.index, "A", find(run.index, "A", 2)), "2 from (SETQ A (+ A 1) B A)");
  EXPECT_EQ(variableAt(run.index, "B", find(run.index, "A", 2)), "unbound");
  EXPECT_EQ(variableAt(run.index, "B", run.index.end()), "2 from (SETQ A (+ A 1) B A)");
}

TEST(TracedVariables, OfEarlierProgramsAreKnown) {
  const auto run = record("(SETQ B A) (SETQ A 8)", {}, definitionsOf("(SETQ A 7)"));
  EXPECT_EQ(variableAt(run.index, "A", 1), "7");
  EXPECT_EQ(run.index.find("A", 1).origin, Origin::EarlierProgram);
  EXPECT_EQ(variableAt(run.index, "A", run.index.end()), "8 from (SETQ A 8)");
}

TEST(TracedVariables, OfACallAreItsParametersAndLocals) {
  const auto run = record("(SETQ X 1 L 2) (DEFUN F (X / L) (SETQ L X) L) (F 5) X");
  const Index& index = run.index;
  EXPECT_EQ(variableAt(index, "X", find(index, "(SETQ L X)")), "5 from (F 5) in call 1");
  EXPECT_EQ(variableAt(index, "L", find(index, "(SETQ L X)")), "nil from (F 5) in call 1");
  EXPECT_EQ(index.find("L", find(index, "(SETQ L X)")).origin, Origin::Local);
  EXPECT_EQ(variableAt(index, "L", find(index, "L")), "5 from (SETQ L X) in call 1");
  EXPECT_EQ(variableAt(index, "X", find(index, "X", 2)), "1 from (SETQ X 1 L 2)");
  EXPECT_EQ(variableAt(index, "L", index.end()), "2 from (SETQ X 1 L 2)");
}

// By contract a callee works on a copy of its caller's variables.
TEST(TracedVariables, OfACallerAreCopiedForItsCallees) {
  const auto run = record(
      "(DEFUN INNER () X (SETQ X 99) (LIST X)) (DEFUN OUTER (X) (INNER) (CAR X)) (OUTER '(5))");
  const Index& index = run.index;
  EXPECT_EQ(variableAt(index, "X", find(index, "(SETQ X 99)")), "(5) from (OUTER '(5)) in call 1");
  EXPECT_EQ(variableAt(index, "X", find(index, "(LIST X)")), "99 from (SETQ X 99) in call 2");
  EXPECT_EQ(variableAt(index, "X", find(index, "(CAR X)")), "(5) from (OUTER '(5)) in call 1");
}

// The copy is taken before the arguments are evaluated; globals are not copied.
TEST(TracedVariables, ThatArgumentsAssignAreNotSeenByTheCallee) {
  const auto run = record(
      "(DEFUN CALLEE (IGNORED) (LIST X G)) (DEFUN CALLER (X) (CALLEE (SETQ G 3 X 2)) (CAR X))"
      "(SETQ G 0) (CALLER 1)");
  const Index& index = run.index;
  const Position inside = find(index, "(LIST X G)");
  EXPECT_EQ(variableAt(index, "X", inside), "1 from (CALLER 1) in call 1");
  EXPECT_EQ(variableAt(index, "G", inside), "3 from (SETQ G 3 X 2)");
  EXPECT_EQ(variableAt(index, "X", find(index, "(CAR X)")), "2 from (SETQ G 3 X 2) in call 1");
}

TEST(TracedVariables, DeclaredTwiceFollowTheLastDeclaration) {
  const auto run = record("(DEFUN F (A A) (LIST A)) (DEFUN G (A / A) (CAR A)) (F 1 2) (G 1)");
  EXPECT_EQ(variableAt(run.index, "A", find(run.index, "(LIST A)")), "2 from (F 1 2) in call 1");
  EXPECT_EQ(variableAt(run.index, "A", find(run.index, "(CAR A)")), "nil from (G 1) in call 2");
}

TEST(TracedVariables, DoNotIncludeT) {
  const auto run = record("(DEFUN F (T X) (SETQ T 5) (LIST X)) (F 1 2)");
  const Position inside = find(run.index, "(LIST X)");
  EXPECT_EQ(variableAt(run.index, "T", inside), "unbound");
  EXPECT_EQ(variableAt(run.index, "X", inside), "2 from (F 1 2) in call 1");
  EXPECT_THAT(run.index.namesOf(1, inside), ElementsAre("X"));
}

TEST(TracedVariables, OfRecursiveCallsAreOnesOfTheirOwn) {
  const auto run = record("(DEFUN FACT (N) (IF (< N 2) 1 (* N (FACT (1- N))))) (FACT 3)");
  const Index& index = run.index;
  EXPECT_EQ(variableAt(index, "N", find(index, "(< N 2)", 3)), "1 from (FACT (1- N)) in call 3");
  EXPECT_EQ(variableAt(index, "N", find(index, "(< N 2)", 1)), "3 from (FACT 3) in call 1");
  EXPECT_THAT(index.callsAt(find(index, "(< N 2)", 3)), ElementsAre(3, 2, 1));
}

TEST(TracedVariables, AreListedByCall) {
  const auto run =
      record("(SETQ B 1) (DEFUN F (P / L) (SETQ B 2) (G 1)) (DEFUN G (Q) (SETQ P 3) Q) (F 0)", {},
             definitionsOf("(SETQ A 7)"));
  const Index& index = run.index;
  EXPECT_THAT(index.namesOf(0, 1), ElementsAre("A"));
  EXPECT_THAT(index.namesOf(0, index.end()), ElementsAre("A", "B"));
  EXPECT_THAT(index.namesOf(1, index.end()), ElementsAre("P", "L"));
  EXPECT_THAT(index.namesOf(2, find(index, "(SETQ P 3)")), ElementsAre("Q"));
  EXPECT_THAT(index.namesOf(2, find(index, "Q")), ElementsAre("Q", "P"));
}

TEST(TracedVariables, HaveAHistory) {
  const auto run = record("(SETQ X 1) (DEFUN F (X) (SETQ X (* 2 X))) (F 5) (SETQ X 3)", {},
                          definitionsOf("(SETQ X 0)"));
  std::vector<std::string> texts;
  for (const auto& [position, variable] : run.index.historyOf("X")) {
    texts.push_back(std::to_string(position) + " " +
                    explain::shorten(*run.index.valueOf("X", variable), 20));
  }
  EXPECT_THAT(texts, ElementsAre("1 0", "3 1", "6 5", "10 10", "12 3"));
  EXPECT_THAT(run.index.historyOf("Y"), IsEmpty());
}

TEST(HostCalls, AreKnownByTheirSteps) {
  const auto run = record("(SETQ P (GETPOINT \"From\" (GETDIST))) (GETCORNER P)",
                          {answered("GETDIST", "2"), answered("GETPOINT", "(1 2)")});
  const Index& index = run.index;
  ASSERT_EQ(run.outcome.kind, explain::OutcomeKind::HostCallRequired);
  ASSERT_EQ(index.hostCalls().size(), 3U);
  EXPECT_EQ(index.hostCallOf(find(index, "(GETDIST)")), 0U);
  EXPECT_EQ(index.hostCallOf(find(index, "(GETPOINT \"From\" (GETDIST))")), 1U);
  EXPECT_EQ(index.hostCallOf(find(index, "(GETCORNER P)")), 2U);
  EXPECT_EQ(index.hostCallOf(find(index, "\"From\"")), std::nullopt);
  EXPECT_TRUE(index.hostCalls()[1].is_answered);
  EXPECT_FALSE(index.hostCalls()[2].is_answered);
  EXPECT_EQ(index.answersBefore(find(index, "(GETDIST)")), 0U);
  EXPECT_EQ(index.answersBefore(find(index, "(GETCORNER P)")), 2U);
  EXPECT_EQ(index.answersBefore(index.end()), 2U);
}

TEST(Functions, OfEarlierProgramsAreFollowed) {
  const auto run = record("(F 2)", {}, definitionsOf("(DEFUN F (X) (* X X))"));
  EXPECT_THAT(linesOf(run.index), ElementsAre("1 (F 2) 0 0 6 4", "2 2 1 0 3 2", "3 (* X X) 1 1 6 4",
                                              "4 X 3 1 5 2", "5 X 3 1 6 2"));
  EXPECT_EQ(run.index.program(run.index.step(3).program)->source.name(), "lib.lsp");
}

TEST(Values, AreKeptUpToALimit) {
  const auto all = record("(SETQ A (LIST 1 2 3)) (SETQ B \"text\") (SETQ C 5)");
  EXPECT_FALSE(all.index.isValueLost(find(all.index, "(LIST 1 2 3)")));
  const auto none = record("(SETQ A (LIST 1 2 3)) (SETQ B \"text\") (SETQ C 5)", {}, {}, 0);
  const Position list = find(none.index, "(LIST 1 2 3)");
  EXPECT_TRUE(none.index.isValueLost(list));
  EXPECT_EQ(none.index.valueOf(list), std::nullopt);
  EXPECT_EQ(variableAt(none.index, "C", none.index.end()), "5 from (SETQ C 5)");
}

// Each pass makes a list of a hundred numbers and drops the one before: half a mebibyte in all.
TEST(Values, TakeNoMoreMemoryThanTheLimit) {
  constexpr std::size_t kLimit = 100000;
  constexpr std::size_t kSlack = 10000;  // The list that reached the limit, and names.
  std::string list = "(LIST";
  for (int n = 0; n < 100; ++n) list += " N";
  list += ")";
  const std::string text = "(SETQ N 0)(WHILE (< N 300)(SETQ N (1+ N))(SETQ L " + list + "))";
  lisp::takeAllApart();
  const std::size_t before = lisp::storage::liveBytes();
  const auto program = explain::readProgram("p.lsp", text);
  const std::size_t read = lisp::storage::liveBytes();
  explain::Definitions definitions;
  Recorder recorder(definitions, kLimit);
  static_cast<void>(explain::evaluate(program, definitions, {}, nullptr, {}, &recorder));
  const Index index = recorder.take();
  EXPECT_LE(lisp::storage::liveBytes() - read, kLimit + kSlack);
  EXPECT_GT(read, before);
  EXPECT_EQ(explain::shorten(*index.valueOf(find(index, list)), 20).substr(0, 6), "(1 1 1");
  EXPECT_TRUE(index.isValueLost(find(index, list, 300)));
}

TEST(DifferenceFrom, ComparesTextAndSteps) {
  const auto value = record("(LIST 1 \"a\")");
  EXPECT_EQ(differenceFrom(value.outcome, true, "(1 \"a\")", 3), "");
  EXPECT_EQ(differenceFrom(value.outcome, true, "(1)", 3),
            "the worker came to \"(1)\" after 3 steps, this run to \"(1 \"a\"\" after 3 steps");
  EXPECT_NE(differenceFrom(value.outcome, true, "(1 \"a\")", 4), "");
  EXPECT_NE(differenceFrom(value.outcome, false, "(1 \"a\")", 3), "");
  const auto error = record("(/ 1 0)");
  EXPECT_EQ(differenceFrom(error.outcome, false, "division by zero", 3), "");
  EXPECT_NE(differenceFrom(error.outcome, true, "division by zero", 3), "");
}

}  // namespace
}  // namespace trace
