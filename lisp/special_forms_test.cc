#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "testing/base/outcome_matchers.h"
#include "testing/workers/evaluator.h"

namespace lisp {
namespace {

using lisp_worker::testing_support::evaluate;
using lisp_worker::testing_support::isEvalError;
using lisp_worker::testing_support::isStepLimit;
using lisp_worker::testing_support::isValue;
using lisp_worker::testing_support::requiresHostCall;
using lisp_worker::testing_support::took;
using testing::AllOf;

struct Row {
  std::string program;
  std::string expected;
};

void expectValues(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    EXPECT_THAT(evaluate(row.program), isValue(row.expected)) << row.program;
  }
}

void expectError(const std::string& message, const std::vector<std::string>& programs) {
  for (const std::string& program : programs) {
    EXPECT_THAT(evaluate(program), isEvalError(message)) << program;
  }
}

TEST(Quote, YieldsItsArgumentUnevaluated) {
  expectValues({{"(QUOTE A)", "A"},
                {"'A", "A"},
                {"'()", "()"},
                {"'nil", "nil"},
                {"'(FOO (BAR))", "(FOO (BAR))"},
                {"''A", "(QUOTE A)"}});
  expectError("quote expects one argument", {"(QUOTE)", "(QUOTE A B)", "(QUOTE A B C)"});
}

TEST(Setq, AssignsPairsInOrder) {
  expectValues({{"(SETQ A 1)", "1"},
                {"(SETQ A 1 B 2)", "2"},
                {"(SETQ A 1 B (1+ A)) (LIST A B)", "(1 2)"},
                {"(SETQ A 1 A 2) A", "2"},
                {"(SETQ A '()) A", "()"},
                {"(SETQ A nil) A", "nil"},
                {"(SETQ A 1) (SETQ A (LIST A A)) A", "(1 1)"}});
}

TEST(Setq, ChecksItsCountBeforeAnythingElse) {
  expectError("setq expects symbol/value pairs",
              {"(SETQ)", "(SETQ A)", "(SETQ A 1 B)", "(SETQ 1)", "(SETQ \"A\" 1 B)",
               "(SETQ A (FOO) B)", "(SETQ A 1 B 2 C)"});
  EXPECT_THAT(evaluate("(SETQ A (FOO) B)"), took(1));
}

TEST(Setq, ChecksEachTargetAsItsPairIsReached) {
  expectError("setq target must be a symbol",
              {"(SETQ \"A\" 1)", "(SETQ 1 1)", "(SETQ nil 1)", "(SETQ () 1)", "(SETQ (A) 1)",
               "(SETQ 'A 1)", "(SETQ \"A\" (FOO))", "(SETQ A 1 \"B\" 2)"});
  // The pairs before it have been assigned, the value after it has not been evaluated.
  EXPECT_THAT(evaluate("(DEFUN F (/ A) (SETQ A 1 B 2 \"C\" (FOO)) A) (F)"),
              AllOf(isEvalError("setq target must be a symbol"), took(5)));
  EXPECT_THAT(evaluate("(SETQ A 1 B (GETDIST A) \"C\" 3)"), requiresHostCall("GETDIST", "(1)"));
}

TEST(Setq, DoesNotAssignWhenItsValueFails) {
  EXPECT_THAT(evaluate("(SETQ A 1) (SETQ A 2 B (LIST (SETQ A 3) (GETDIST A)))"),
              requiresHostCall("GETDIST", "(3)"));
  expectError("unsupported LISP function: FOO", {"(SETQ A (FOO))"});
}

TEST(If, EvaluatesOneBranch) {
  expectValues({{"(IF 1 2 3)", "2"},
                {"(IF nil 2 3)", "3"},
                {"(IF nil 1)", "nil"},
                {"(IF T 1)", "1"},
                {"(IF '() 1 2)", "1"},
                {"(IF 0 1 2)", "1"},
                {"(IF \"\" 1 2)", "1"},
                {"(IF () 1 2)", "2"},
                {"(IF T 1 (FOO))", "1"},
                {"(IF nil (FOO) 2)", "2"},
                {"(IF nil (FOO))", "nil"}});
  expectError("if expects condition, true and optional false expression",
              {"(IF)", "(IF 1)", "(IF (FOO))", "(IF 1 2 3 4)", "(IF (FOO) 2 3 4)"});
  expectError("unsupported LISP function: FOO",
              {"(IF (FOO) 1 2)", "(IF 1 (FOO))", "(IF nil 1 (FOO))"});
}

TEST(Progn, YieldsItsLastValue) {
  expectValues({{"(PROGN)", "nil"},
                {"(PROGN 1)", "1"},
                {"(PROGN 1 2 '(3))", "(3)"},
                {"(PROGN (SETQ A 1) (SETQ A (1+ A)) A)", "2"}});
  expectError("unbound symbol: X", {"(PROGN X (FOO))", "(PROGN 1 X)"});
}

TEST(While, YieldsTheLastValueOfItsBody) {
  expectValues({{"(WHILE nil)", "nil"},
                {"(WHILE nil (FOO))", "nil"},
                {"(SETQ I 0) (WHILE (< I 3) (SETQ I (1+ I)))", "3"},
                {"(SETQ I 0) (WHILE (< I 3) (SETQ I (1+ I)) 5)", "5"},
                {"(SETQ I 0) (WHILE (< (SETQ I (1+ I)) 3))", "nil"},
                {"(SETQ I 3) (WHILE (< 0 I) (SETQ I (1- I)) (IF (< 0 I) 'MORE))", "nil"},
                {"(SETQ L '(1 2)) (WHILE (CAR L) (SETQ L (CDR L)))", "()"}});
  expectError("while expects a condition", {"(WHILE)"});
  expectError("unbound symbol: X", {"(WHILE X)", "(WHILE T 1 X (FOO))"});
  EXPECT_THAT(evaluate("(WHILE '())"), isStepLimit());
}

TEST(Defun, YieldsTheNameOfTheFunction) {
  expectValues({{"(DEFUN F (A) A)", "F"},
                {"(DEFUN f () 1)", "F"},
                {"(DEFUN F (A / B) (FOO) (BAR))", "F"},
                {"(DEFUN IF () 1)", "IF"},
                {"(DEFUN F (A A / A /) 1)", "F"}});
}

TEST(Defun, ChecksItsPartsInOrder) {
  expectError("defun syntax error",
              {"(DEFUN)", "(DEFUN F)", "(DEFUN F ())", "(DEFUN F (1))", "(DEFUN \"F\" () 1)",
               "(DEFUN 1 () 1)", "(DEFUN nil () 1)", "(DEFUN (F) () 1)", "(DEFUN F A 1)",
               "(DEFUN F nil 1)", "(DEFUN F \"A\" 1)", "(DEFUN F 1 1)", "(DEFUN \"F\" (1) 1)"});
  expectError("defun parameter must be symbol",
              {"(DEFUN F (1) 1)", "(DEFUN F (A \"B\") 1)", "(DEFUN F (nil) 1)", "(DEFUN F (()) 1)",
               "(DEFUN F ((A)) 1)", "(DEFUN F (A / B 1) 1)", "(DEFUN F (A 'B) 1)"});
}

TEST(Defun, DefinesNothingWhenItFails) {
  expectError("unsupported LISP function: F", {"(IF nil (DEFUN F (A) 1)) (F)"});
  lisp_worker::testing_support::Evaluator evaluator;
  EXPECT_THAT(evaluator.run("(DEFUN F () 'OLD)"), isValue("F"));
  EXPECT_THAT(evaluator.run("(DEFUN F (1) 'NEW)"), isEvalError("defun parameter must be symbol"));
  EXPECT_THAT(evaluator.run("(F)"), isValue("OLD"));
}

TEST(Defun, SwitchesToLocalsAtTheFirstSlash) {
  expectValues({{"(DEFUN F (A / B) (SETQ B A) B) (F 3)", "3"},
                {"(DEFUN F (A / B / C) (LIST A B C)) (F 1)", "(1 nil nil)"},
                {"(DEFUN F (/) 5) (F)", "5"},
                {"(DEFUN F (/ /) 5) (F)", "5"},
                {"(DEFUN F (A //) (LIST A //)) (F 1 2)", "(1 2)"}});
  expectError("unbound symbol: B", {"(DEFUN F (A / B) (SETQ B A) B) (F 3) B"});
}

TEST(Defun, ReplacesWhatWasDefinedBefore) {
  expectValues({{"(DEFUN F () 1) (DEFUN F (A) A) (F 2)", "2"},
                {"(DEFUN F () (DEFUN F () 'SECOND) 'FIRST) (LIST (F) (F))", "(FIRST SECOND)"},
                {"(DEFUN CAR (A) 'ONE) (DEFUN CAR (A) 'TWO) (CAR 1)", "TWO"}});
}

// A function that stays has the definitions inside it prepared; each is found by its form, and is
// the one function however often it is evaluated.
TEST(Defun, MayStandInsideAFunctionThatStays) {
  std::string body;
  for (int i = 0; i < 600; ++i) {
    const std::string number = std::to_string(i);
    body += " (DEFUN H" + number + " () (+ N " + number + "))";
  }
  lisp_worker::testing_support::Evaluator evaluator;
  EXPECT_THAT(evaluator.run("(DEFUN G ()" + body + ")"), isValue("G"));
  EXPECT_THAT(evaluator.run("(SETQ N 1000) (G) (LIST (H0) (H1) (H299) (H598) (H599))"),
              isValue("(1000 1001 1299 1598 1599)"));
  EXPECT_THAT(evaluator.run("(SETQ N 0) (G) (LIST (H0) (H1) (H299) (H598) (H599))"),
              isValue("(0 1 299 598 599)"));
}

// The inner function stays by its own name first, so its form is not the outer one's to prepare.
TEST(Defun, MayStayBeforeTheFunctionAroundIt) {
  lisp_worker::testing_support::Evaluator evaluator;
  EXPECT_THAT(evaluator.run("(DEFUN F () 0) (DEFUN G () (DEFUN F () (+ N 1))) (G)"), isValue("F"));
  EXPECT_THAT(evaluator.run("(SETQ N 5) (LIST (F) (G) (F))"), isValue("(6 F 6)"));
  EXPECT_THAT(evaluator.run("(DEFUN F () 'OTHER) (LIST (F) (G) (F))"), isValue("(OTHER F 6)"));
}

// Forms with long parameter lists are kept for their next evaluation.
TEST(Defun, MayBeEvaluatedAgainAndAgain) {
  std::string params;
  std::string arguments;
  for (int i = 0; i < 20; ++i) {
    params += " P" + std::to_string(i);
    arguments += " " + std::to_string(i);
  }
  const std::string define = "(DEFUN F (" + params + ") (LIST P0 P19 N))";
  const std::string other = "(DEFUN F () 'OTHER)";
  expectValues({{"(SETQ N 0 R '()) (WHILE (< N 3) " + define + " (SETQ R (CONS (F" + arguments +
                     ") R)) " + other + " (SETQ R (CONS (F) R)) (SETQ N (1+ N))) R",
                 "(OTHER (0 19 2) OTHER (0 19 1) OTHER (0 19 0))"}});
}

TEST(And, StopsAtTheFirstNil) {
  expectValues({{"(AND)", "T"},
                {"(AND 1)", "1"},
                {"(AND 1 2)", "2"},
                {"(AND nil)", "nil"},
                {"(AND 1 nil 3)", "nil"},
                {"(AND 1 nil (FOO))", "nil"},
                {"(AND '() '())", "()"},
                {"(AND 1 \"x\" '(2))", "(2)"}});
  expectError("unsupported LISP function: FOO", {"(AND 1 (FOO) 3)", "(AND (FOO))"});
}

TEST(Or, StopsAtTheFirstTrueValue) {
  expectValues({{"(OR)", "nil"},
                {"(OR nil)", "nil"},
                {"(OR nil 5)", "5"},
                {"(OR nil nil)", "nil"},
                {"(OR 1 (UNDEFINED))", "1"},
                {"(OR nil '() (FOO))", "()"},
                {"(OR nil 0)", "0"}});
  expectError("unsupported LISP function: FOO", {"(OR nil (FOO) 3)", "(OR (FOO))"});
}

TEST(NotAndNull, HoldForNilAlone) {
  for (const std::string name : {"NOT", "NULL"}) {
    const std::string call = "(" + name + " ";
    expectValues({{call + "nil)", "T"},
                  {call + "())", "T"},
                  {call + "'())", "nil"},
                  {call + "0)", "nil"},
                  {call + "\"\")", "nil"},
                  {call + "'(1 2))", "nil"},
                  {call + "T)", "nil"}});
    expectError(name + " expects one argument",
                {"(" + name + ")", call + "1 2)", call + "(FOO) 2)"});
    expectError("unsupported LISP function: FOO", {call + "(FOO))"});
  }
  expectError("NOT expects one argument", {"(not 1 2)"});
}

TEST(SpecialForms, AreMatchedByTheWholeName) {
  for (const std::string name :
       {"QUOT", "QUOTES", "SETQQ", "IFF", "PROG", "NULLL", "ANDD", "ORR"}) {
    expectError("unsupported LISP function: " + name, {"(" + name + " 1)"});
  }
}

}  // namespace
}  // namespace lisp
