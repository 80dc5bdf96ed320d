#include "trace/reasons.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "trace/recorded_program.h"

namespace trace {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The forms on the way back from the last value of `text`.
std::vector<std::string> originsOf(const RecordedProgram& run, const std::string& text) {
  std::vector<std::string> texts;
  for (const Position step : originOf(run.index, find(run.index, text))) {
    texts.push_back(textOf(run.index, step));
  }
  return texts;
}

TEST(OriginOf, FollowsVariables) {
  const auto run = record("(SETQ A (CAR '(7))) (SETQ B A) (LIST B)");
  EXPECT_THAT(originsOf(run, "B"), ElementsAre("B", "A", "(CAR '(7))"));
}

TEST(OriginOf, FollowsFormsThatHandAValueOn) {
  const auto loop = record(
      "(SETQ B nil) (PROGN 1 (IF T (AND 1 (OR nil (SETQ A (WHILE (NULL B) (SETQ B T) (+ 2 "
      "3)))))))");
  EXPECT_EQ(originsOf(loop, textOf(loop.index, 3)).back(), "(+ 2 3)");
}

TEST(OriginOf, FollowsCalls) {
  const auto run = record("(DEFUN F (X) 1 (G X)) (DEFUN G (Y) (CDR Y)) (F '(1 2))");
  EXPECT_THAT(originsOf(run, "(F '(1 2))"), ElementsAre("(F '(1 2))", "(G X)", "(CDR Y)"));
  EXPECT_THAT(originsOf(run, "Y"), ElementsAre("Y", "X", "'(1 2)"));
}

TEST(OriginOf, EndsWhereAValueIsMade) {
  const auto run = record("(SETQ A (IF nil 1)) A");
  EXPECT_THAT(originsOf(run, "A"), ElementsAre("A", "(IF nil 1)"));
  const auto loop = record("(SETQ A (WHILE nil 1)) A");
  EXPECT_THAT(originsOf(loop, "A"), ElementsAre("A", "(WHILE nil 1)"));
  const auto local = record("(DEFUN F (/ L) (LIST L)) (F)");
  EXPECT_THAT(originsOf(local, "L"), ElementsAre("L"));
  const auto earlier = record("(LIST A)", {}, definitionsOf("(SETQ A 1)"));
  EXPECT_THAT(originsOf(earlier, "A"), ElementsAre("A"));
  const auto host = record("(SETQ P (GETPOINT)) P", {answered("GETPOINT", "(1 2)")});
  EXPECT_THAT(originsOf(host, "P"), ElementsAre("P", "(GETPOINT)"));
}

// "KIND FORM times", or "KIND"
std::string describe(const RecordedProgram& run, const Obstacle& obstacle) {
  static constexpr const char* kNames[] = {"condition", "never called", "not reached", "data",
                                           "not evaluated"};
  std::string text = kNames[static_cast<int>(obstacle.kind)];
  if (obstacle.form != nullptr) {
    text += " " + std::string(run.program->source.text().substr(
                      obstacle.form->begin, obstacle.form->end - obstacle.form->begin));
  }
  return obstacle.times == 0 ? text : text + " " + std::to_string(obstacle.times);
}

// The obstacles of the first form with this text.
std::vector<std::string> whyNot(const RecordedProgram& run, const std::string& text) {
  const auto& forms = run.program->forms_by_number;
  for (std::uint32_t number = 0; number < forms.size(); ++number) {
    if (run.program->source.text().substr(forms[number]->begin,
                                          forms[number]->end - forms[number]->begin) != text) {
      continue;
    }
    std::vector<std::string> texts;
    for (const Obstacle& obstacle : trace::whyNot(run.index, run.program, number)) {
      texts.push_back(describe(run, obstacle));
    }
    return texts;
  }
  return {"no form " + text};
}

TEST(WhyNot, HasNothingAgainstAFormThatWasEvaluated) {
  EXPECT_THAT(whyNot(record("(LIST (+ 1 2))"), "(+ 1 2)"), IsEmpty());
}

TEST(WhyNot, NamesTheConditionThatWentTheOtherWay) {
  const auto run = record("(SETQ N 0) (WHILE (< N 3) (IF (> N 5) (LIST N) N) (SETQ N (1+ N)))");
  EXPECT_THAT(whyNot(run, "(LIST N)"), ElementsAre("condition (> N 5) 3"));
  EXPECT_THAT(whyNot(record("(IF 1 2 (LIST 3))"), "(LIST 3)"), ElementsAre("condition 1 1"));
  EXPECT_THAT(whyNot(record("(WHILE (< 2 1) (LIST 3))"), "(LIST 3)"),
              ElementsAre("condition (< 2 1) 1"));
  EXPECT_THAT(whyNot(record("(AND 1 (CAR '()) (LIST 3))"), "(LIST 3)"),
              ElementsAre("condition (CAR '()) 1"));
  EXPECT_THAT(whyNot(record("(OR nil 2 (LIST 3))"), "(LIST 3)"), ElementsAre("condition 2 1"));
}

TEST(WhyNot, LooksAtTheOutermostFormThatDecided) {
  EXPECT_THAT(whyNot(record("(IF nil (PROGN (IF T (LIST 3))))"), "(LIST 3)"),
              ElementsAre("condition nil 1"));
}

TEST(WhyNot, FollowsAFunctionThatIsNeverCalledToItsCalls) {
  const auto run = record("(DEFUN F () (LIST 1)) (DEFUN G () (F)) (IF (< 2 1) (G))");
  EXPECT_THAT(whyNot(run, "(LIST 1)"),
              ElementsAre("never called (DEFUN F () (LIST 1))", "never called (DEFUN G () (F))",
                          "condition (< 2 1) 1"));
}

TEST(WhyNot, EndsAtAFunctionWithoutCalls) {
  EXPECT_THAT(whyNot(record("(DEFUN F () (LIST 1)) '(F)"), "(LIST 1)"),
              ElementsAre("never called (DEFUN F () (LIST 1))"));
  // Only its own body calls it, or two call each other.
  EXPECT_THAT(whyNot(record("(DEFUN F () (LIST 1) (F))"), "(LIST 1)"),
              ElementsAre("never called (DEFUN F () (LIST 1) (F))"));
  EXPECT_THAT(
      whyNot(record("(DEFUN F () (LIST 1) (G)) (DEFUN G () (F))"), "(LIST 1)"),
      ElementsAre("never called (DEFUN F () (LIST 1) (G))", "never called (DEFUN G () (F))"));
}

TEST(WhyNot, TellsThatTheRunHadEnded) {
  EXPECT_THAT(whyNot(record("(/ 1 0) (LIST 2)"), "(LIST 2)"), ElementsAre("not reached (/ 1 0)"));
  EXPECT_THAT(whyNot(record("(PROGN (/ 1 0) (LIST 2))"), "(LIST 2)"),
              ElementsAre("not reached (/ 1 0)"));
  EXPECT_THAT(whyNot(record("(IF (/ 1 0) (LIST 2))"), "(LIST 2)"),
              ElementsAre("not reached (/ 1 0)"));
  EXPECT_THAT(whyNot(record("(DEFUN F () (LIST 2)) (LIST (/ 1 0) (F))"), "(LIST 2)"),
              ElementsAre("never called (DEFUN F () (LIST 2))", "not reached (/ 1 0)"));
}

TEST(WhyNot, TellsDataAndPartsThatNobodyEvaluates) {
  EXPECT_THAT(whyNot(record("(CAR '(A (LIST 2)))"), "(LIST 2)"), ElementsAre("data '(A (LIST 2))"));
  EXPECT_THAT(whyNot(record("(DEFUN F (X) 1)"), "(X)"),
              ElementsAre("not evaluated (DEFUN F (X) 1)"));
  EXPECT_THAT(whyNot(record("(SETQ A 1)"), "A"), ElementsAre("not evaluated (SETQ A 1)"));
}

}  // namespace
}  // namespace trace
