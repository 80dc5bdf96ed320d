#include "trace/condition.h"

#include <gtest/gtest.h>

#include <string>

#include "explain/value_text.h"
#include "trace/recorded_program.h"

namespace trace {
namespace {

std::string valueAt(const RecordedProgram& run, const std::string& text, Position position) {
  Condition condition(run.index, text);
  if (!condition.error().empty()) return condition.error();
  const auto value = condition.valueAt(position);
  return value ? explain::shorten(*value, 60) : condition.failure();
}

TEST(Condition, IsEvaluatedWithTheVariablesOfTheMoment) {
  const auto run = record("(SETQ A 1) (SETQ A 2) (DEFUN F (A / L) (LIST A L)) (F 3)", {},
                          definitionsOf("(SETQ B 10)"));
  EXPECT_EQ(valueAt(run, "(+ A B)", 1), "unbound symbol: A");
  EXPECT_EQ(valueAt(run, "(+ A B)", find(run.index, "(SETQ A 2)")), "11");
  EXPECT_EQ(valueAt(run, "(LIST A L)", find(run.index, "(LIST A L)")), "(3 nil)");
  EXPECT_EQ(valueAt(run, "A", run.index.end()), "2");
  EXPECT_EQ(valueAt(run, "T", 1), "T");
}

TEST(Condition, MayCallTheFunctionsOfTheRunAndOfEarlierPrograms) {
  const auto run = record("(SETQ N 2) (DEFUN TWICE (X) (* 2 (ADD-N X)))", {},
                          definitionsOf("(DEFUN ADD-N (X) (+ X N))"));
  EXPECT_EQ(valueAt(run, "(TWICE 5)", run.index.end()), "14");
}

TEST(Condition, LeavesTheRunAsItIs) {
  const auto run = record("(SETQ A 1) A");
  EXPECT_EQ(valueAt(run, "(SETQ A 7)", run.index.end()), "7");
  EXPECT_EQ(valueAt(run, "A", run.index.end()), "1");
}

TEST(Condition, FailsWithAReason) {
  const auto run = record("1");
  EXPECT_EQ(valueAt(run, "(CAR", 1), "unterminated list");
  EXPECT_EQ(valueAt(run, "(GETPOINT)", 1), "it asks the host");
  EXPECT_EQ(valueAt(run, "(WHILE T 1)", 1), "LISP evaluation step limit exceeded");
  EXPECT_EQ(valueAt(run, "(+ 1 \"a\")", 1), "+ expects numbers");
}

TEST(FirstTrue, FindsTheFirstMoment) {
  const auto run = record("(SETQ N 0) (WHILE (< N 9) (SETQ N (1+ N))) (SETQ N 0)");
  Condition condition(run.index, "(> N 5)");
  const auto first = condition.firstTrue(1);
  ASSERT_TRUE(first);
  EXPECT_EQ(valueAt(run, "N", *first), "6");
  EXPECT_EQ(condition.firstTrue(*first), first);
  EXPECT_EQ(condition.firstTrue(*first + 1), *first + 1);
  EXPECT_EQ(condition.firstTrue(run.index.end()), std::nullopt);
  EXPECT_EQ(condition.firstTrue(1, 3), std::nullopt);
}

TEST(FirstTrue, SeesWhatCallsHideAndBringBack) {
  const auto run = record("(SETQ X 1) (DEFUN F (X) (LIST X)) (DEFUN G () (F 2) (F 3)) (G)");
  Condition two(run.index, "(= X 2)");
  EXPECT_EQ(two.firstTrue(1), find(run.index, "(LIST X)"));
  Condition one(run.index, "(= X 1)");
  EXPECT_EQ(one.firstTrue(find(run.index, "(LIST X)")), find(run.index, "(F 3)"));
}

}  // namespace
}  // namespace trace
