#include "lisp/interpreter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "lisp/graveyard.h"
#include "testing/base/list_makers.h"
#include "testing/base/outcome_matchers.h"
#include "testing/base/value_text.h"
#include "testing/workers/evaluator.h"

namespace lisp {
namespace {

using lisp_worker::testing_support::evaluate;
using lisp_worker::testing_support::Evaluator;
using lisp_worker::testing_support::isEvalError;
using lisp_worker::testing_support::isStepLimit;
using lisp_worker::testing_support::isValue;
using lisp_worker::testing_support::read;
using lisp_worker::testing_support::requiresHostCall;
using lisp_worker::testing_support::textOf;
using lisp_worker::testing_support::took;
using testing::AllOf;

const std::string kDepthExceeded = "LISP evaluation depth exceeded";

// `form` inside `levels` list forms that evaluate it.
std::string inside(std::size_t levels, const std::string& form) {
  std::string text;
  for (std::size_t i = 0; i < levels; ++i) text += "(PROGN ";
  return text + form + std::string(levels, ')');
}

TEST(EvalLimits, AreThoseOfTheWorker) {
  EXPECT_EQ(EvalLimits().step_limit, 250000u);
  EXPECT_EQ(EvalLimits().depth_limit, 128u);
}

TEST(Evaluate, YieldsAtomsThemselves) {
  EXPECT_THAT(evaluate("5"), AllOf(isValue("5"), took(1)));
  EXPECT_THAT(evaluate("nil"), AllOf(isValue("nil"), took(1)));
  EXPECT_THAT(evaluate("\"text\""), AllOf(isValue("\"text\""), took(1)));
  EXPECT_THAT(evaluate("T"), AllOf(isValue("T"), took(1)));
  EXPECT_THAT(evaluate("t"), isValue("T"));
}

TEST(Evaluate, YieldsNilForTheEmptyList) {
  EXPECT_THAT(evaluate("()"), AllOf(isValue("nil"), took(1)));
  EXPECT_THAT(evaluate("(LIST () '())"), isValue("(nil ())"));
}

TEST(Evaluate, RequiresASymbolAtTheHead) {
  for (const char* const program : {"(1 2)", "(\"LIST\" 1)", "(nil)", "((LIST) 1)", "(())",
                                    "('LIST 1)", "(1 (FOO))", "(\"LIST\" UNBOUND)"}) {
    EXPECT_THAT(evaluate(program),
                AllOf(isEvalError("first list item must be a function symbol"), took(1)))
        << program;
  }
}

TEST(Evaluate, RefusesATagThatIsNoKind) {
  const LispValue broken = LispValue::adopt(RawValue::of(Tag::Failed));
  const Environment environment;
  Interpreter interpreter(environment, nullptr, nullptr);
  interpreter.start({});
  const Result result = interpreter.evaluate(broken, 0);
  ASSERT_TRUE(result.failed());
  EXPECT_THAT(interpreter.takeFailure(), isEvalError("invalid list"));
}

// A function with few parameters is made anew; one with sixteen names or more is kept for its form.
TEST(MakeFunction, MakesAFunctionWithManyNamesOnce) {
  for (const int count : {15, 16, 17}) {
    std::string text = "(DEFUN F (";
    for (int i = 0; i < count; ++i) text += " P" + std::to_string(i);
    const LispValue form = read(text + ") 1)");
    const Environment environment;
    Interpreter interpreter(environment, nullptr, nullptr);
    UserFunction* const first = interpreter.makeFunction(chunkOf(form.raw()));
    UserFunction* const second = interpreter.makeFunction(chunkOf(form.raw()));
    EXPECT_EQ(first == second, count >= 16) << count;
    releaseFunction(first);
    releaseFunction(second);
  }
}

TEST(Variables, AreFoundLocallyFirstThenGlobally) {
  EXPECT_THAT(evaluate("(SETQ A 1) A"), isValue("1"));
  EXPECT_THAT(evaluate("(SETQ A 1) (DEFUN F (A) A) (LIST (F 2) A)"), isValue("(2 1)"));
  EXPECT_THAT(evaluate("(SETQ A 1) (DEFUN F () A) (F)"), isValue("1"));
}

TEST(Variables, ThatAreUnboundAreNamed) {
  EXPECT_THAT(evaluate("FOO"), AllOf(isEvalError("unbound symbol: FOO"), took(1)));
  EXPECT_THAT(evaluate("(LIST 1 foo 2)"), AllOf(isEvalError("unbound symbol: FOO"), took(3)));
  // Functions are no variables.
  EXPECT_THAT(evaluate("LIST"), isEvalError("unbound symbol: LIST"));
  EXPECT_THAT(evaluate("(DEFUN F () 1) F"), isEvalError("unbound symbol: F"));
  EXPECT_THAT(evaluate("1e999"), isEvalError("unbound symbol: 1E999"));
}

TEST(Variables, AndFunctionsOfOneNameStandApart) {
  EXPECT_THAT(evaluate("(SETQ LIST 5) (LIST LIST)"), isValue("(5)"));
  EXPECT_THAT(evaluate("(SETQ IF 5) (IF IF IF)"), isValue("5"));
  EXPECT_THAT(evaluate("(DEFUN F () 1) (SETQ F 2) (LIST F (F))"), isValue("(2 1)"));
}

TEST(Truth, IsNeverAssigned) {
  EXPECT_THAT(evaluate("(SETQ T 5)"), isValue("5"));
  EXPECT_THAT(evaluate("(SETQ T 5) T"), isValue("T"));
  EXPECT_THAT(evaluate("(SETQ t nil) (LIST T t)"), isValue("(T T)"));
  EXPECT_THAT(evaluate("(DEFUN F (T) T) (F 1)"), isValue("T"));
  EXPECT_THAT(evaluate("(DEFUN F (T / A) (SETQ T 3) (SETQ A T) A) (F 1)"), isValue("T"));
  EXPECT_THAT(evaluate("(DEFUN F (/ T) T) (F)"), isValue("T"));
  EXPECT_THAT(evaluate("(DEFUN G (X) (LIST X T)) (DEFUN F (T) (G (SETQ T 2))) (F 1)"),
              isValue("(2 T)"));
  EXPECT_THAT(evaluate("(DEFUN F (/ T L1 L2 L3 L4 L5 L6 L7 L8 L9) (SETQ T 1) (LIST T L9)) (F)"),
              isValue("(T nil)"));
}

TEST(Truth, SurvivesProgramsThatUseItsNameForAFunction) {
  Evaluator evaluator;
  EXPECT_THAT(evaluator.run("(T)"), isEvalError("unsupported LISP function: T"));
  EXPECT_THAT(evaluator.run("T"), isValue("T"));
  EXPECT_THAT(evaluator.run("(DEFUN T (A) (LIST A T))"), isValue("T"));
  EXPECT_THAT(evaluator.run("(SETQ T 1) (T (= 1 1))"), isValue("(T T)"));
  EXPECT_THAT(evaluator.run("(LIST T (NOT nil) (T T))"), isValue("(T T (T T))"));
}

TEST(Steps, CountEveryEvaluation) {
  struct Row {
    const char* program;
    std::uint64_t steps;
  };
  for (const Row& row : {
           Row{"", 0},
           Row{"5", 1},
           Row{"5 6 7", 3},
           Row{"(+ 1 2)", 3},
           Row{"(+ 1 2) (+ 3 4)", 6},
           Row{"'(1 2 3)", 1},
           Row{"(QUOTE X)", 1},
           Row{"(SETQ A 1)", 2},
           Row{"(SETQ A 1 B 2)", 3},
           Row{"(IF 1 2 3)", 3},
           Row{"(IF nil 2)", 2},
           Row{"(PROGN)", 1},
           Row{"(PROGN 1 2)", 3},
           Row{"(WHILE nil 1)", 2},
           Row{"(AND 1 nil 3)", 3},
           Row{"(OR nil 2 3)", 3},
           Row{"(NOT 1)", 2},
           Row{"(DEFUN F (A) A)", 1},
           Row{"(DEFUN F (A) A A) (F 1)", 5},
           Row{"(LIST 1 (LIST 2) ())", 5},
           Row{"(CAR '(1))", 2},
           Row{"(LENGTH '())", 2},
       }) {
    EXPECT_EQ(evaluate(row.program).steps, row.steps) << row.program;
    EXPECT_EQ(evaluate(row.program).kind, OutcomeKind::Value) << row.program;
  }
}

TEST(StepLimit, LetsAsManyStepsRun) {
  for (std::uint64_t limit = 0; limit <= 8; ++limit) {
    // Takes 6 steps in all.
    const EvalOutcome outcome = evaluate("(+ 1 2) (+ 3 4)", {limit, 128});
    if (limit < 6) {
      EXPECT_THAT(outcome, AllOf(isStepLimit(), took(limit + 1)));
    } else {
      EXPECT_THAT(outcome, AllOf(isValue("7"), took(6)));
    }
  }
}

TEST(StepLimit, HoldsWithinEveryForm) {
  for (const char* const program :
       {"()", "(LIST () 1)", "(1+ 1)", "(1- (1+ 2))", "(CAR '(1))", "(CAR (CDR '(1 2)))",
        "(LENGTH (LIST 1 2))", "(+ 1 2)", "(+ (* 1 2) (/ 3 4))", "(< 1 (- 5))", "(CONS 1 '(2))",
        "(CONS (+ 1 1) (LIST 2))", "(SETQ A 1)", "(SETQ A 1 B (1+ A))", "(IF (NOT nil) 1 2)",
        "(PROGN 1 (AND 1 2) (OR nil 3))", "(DEFUN F (A) (LIST A)) (F (1+ 1))"}) {
    const std::uint64_t steps = evaluate(program).steps;
    for (std::uint64_t limit = 0; limit < steps; ++limit) {
      EXPECT_THAT(evaluate(program, {limit, 128}), AllOf(isStepLimit(), took(limit + 1)))
          << program;
    }
    EXPECT_EQ(evaluate(program, {steps, 128}).kind, OutcomeKind::Value) << program;
  }
  EXPECT_THAT(evaluate("(1 2)", {0, 128}), isStepLimit());
}

// A program of so many steps whose value is 1: a loop, and as many literals as are missing.
std::string programOf(int steps) {
  const int passes = (steps - 7) / 6;
  std::string program = "(SETQ I 0) (WHILE (< I " + std::to_string(passes) + ") (SETQ I (1+ I)))";
  for (int counted = 2 + 1 + 6 * passes + 3; counted < steps - 1; ++counted) program += " 0";
  return program + " 1";
}

TEST(StepLimit, StandsAt250000) {
  EXPECT_THAT(evaluate(programOf(249999)), AllOf(isValue("1"), took(249999)));
  EXPECT_THAT(evaluate(programOf(250000)), AllOf(isValue("1"), took(250000)));
  EXPECT_THAT(evaluate(programOf(250001)), AllOf(isStepLimit(), took(250001)));
  EXPECT_THAT(evaluate("(WHILE T)"), AllOf(isStepLimit(), took(250001)));
  EXPECT_THAT(evaluate("(WHILE T 1 2 3)"), AllOf(isStepLimit(), took(250001)));
}

TEST(StepLimit, CountsEachRunByItself) {
  Evaluator evaluator;
  EXPECT_THAT(evaluator.run(programOf(250000)), took(250000));
  EXPECT_THAT(evaluator.run(programOf(250000)), AllOf(isValue("1"), took(250000)));
}

TEST(DepthLimit, LetsAsManyLevelsEvaluate) {
  for (std::uint32_t limit = 0; limit <= 6; ++limit) {
    const EvalLimits limits{1000, limit};
    EXPECT_THAT(evaluate(inside(limit, "7"), limits), isValue("7"));
    EXPECT_THAT(evaluate(inside(limit + 1, "7"), limits),
                AllOf(isEvalError(kDepthExceeded), took(limit + 2)));
  }
}

TEST(DepthLimit, StandsAt128) {
  EXPECT_THAT(evaluate(inside(127, "7")), isValue("7"));
  EXPECT_THAT(evaluate(inside(128, "7")), AllOf(isValue("7"), took(129)));
  EXPECT_THAT(evaluate(inside(129, "7")), AllOf(isEvalError(kDepthExceeded), took(130)));
  // The list form itself is evaluated one level above its elements.
  EXPECT_THAT(evaluate(inside(128, "()")), isValue("nil"));
  EXPECT_THAT(evaluate(inside(128, "(PROGN)")), isValue("nil"));
  EXPECT_THAT(evaluate(inside(129, "()")), isEvalError(kDepthExceeded));
}

TEST(DepthLimit, HoldsForArgumentsOfEveryOperator) {
  for (const char* const program :
       {"(LIST X)",  "(SETQ A X)", "(IF X 1)",     "(IF 1 X)",    "(IF nil 1 X)",
        "(WHILE X)", "(AND X)",    "(OR X)",       "(NOT X)",     "(NULL X)",
        "(PROGN X)", "(+ X)",      "(+ X 1)",      "(+ 1 X)",     "(1+ X)",
        "(1- X)",    "(CAR X)",    "(CDR X)",      "(CONS X 1)",  "(CONS 1 X)",
        "(< X 1)",   "(LENGTH X)", "(GETPOINT X)", "(NO-SUCH X)", "(IDENTITY X)"}) {
    const std::string text = "(DEFUN IDENTITY (A) A) " + inside(127, program);
    EXPECT_THAT(evaluate(text), isEvalError("unbound symbol: X")) << program;
    const std::string deeper = "(DEFUN IDENTITY (A) A) " + inside(128, program);
    EXPECT_THAT(evaluate(deeper), isEvalError(kDepthExceeded)) << program;
  }
}

TEST(DepthLimit, DoesNotHoldForWhatIsQuoted) {
  const std::string quoted = std::string(400, '(') + std::string(400, ')');
  EXPECT_THAT(evaluate("'" + quoted), isValue(quoted));
}

TEST(DepthLimit, CountsTwoLevelsForACallThroughIf) {
  const std::string define = "(DEFUN F (N) (IF (< N 1) 0 (1+ (F (1- N))))) ";
  // Each call adds its form, the IF and the 1+.
  EXPECT_THAT(evaluate(define + "(F 41)"), isValue("41"));
  EXPECT_THAT(evaluate(define + "(F 43)"), isEvalError(kDepthExceeded));
  const std::string direct = "(DEFUN G (N) (IF (< N 1) 0 (G (1- N)))) ";
  EXPECT_THAT(evaluate(direct + "(G 62)"), isValue("0"));
  EXPECT_THAT(evaluate(direct + "(G 63)"), isEvalError(kDepthExceeded));
}

TEST(Limits, StepsAreCheckedBeforeDepth) {
  EXPECT_THAT(evaluate(inside(3, "7"), {3, 2}), AllOf(isStepLimit(), took(4)));
  EXPECT_THAT(evaluate(inside(3, "7"), {4, 2}), isEvalError(kDepthExceeded));
}

TEST(Limits, DepthIsCheckedBeforeTheForm) {
  EXPECT_THAT(evaluate("(PROGN UNBOUND)", {10, 0}), isEvalError(kDepthExceeded));
  EXPECT_THAT(evaluate("(PROGN (1 2))", {10, 0}), isEvalError(kDepthExceeded));
}

TEST(Dispatch, TakesSpecialFormsThenUserFunctionsThenBuiltins) {
  EXPECT_THAT(evaluate("(DEFUN + (A B) A) (+ 1 2)"), isValue("1"));
  EXPECT_THAT(evaluate("(DEFUN LIST (A) 'MINE) (LIST 1)"), isValue("MINE"));
  EXPECT_THAT(evaluate("(DEFUN GETPOINT () '(1 2)) (GETPOINT)"), isValue("(1 2)"));
  EXPECT_THAT(evaluate("(DEFUN DISTANCE (A) 'MINE) (DISTANCE 1)"), isValue("MINE"));
  for (const std::string name :
       {"QUOTE", "SETQ", "IF", "PROGN", "WHILE", "DEFUN", "AND", "OR", "NOT", "NULL"}) {
    EXPECT_THAT(evaluate("(DEFUN " + name + " (A) 'MINE)"), isValue(name));
  }
  EXPECT_THAT(evaluate("(DEFUN IF (A B C) 'MINE) (IF 1 2 3)"), isValue("2"));
  EXPECT_THAT(evaluate("(DEFUN NOT (A) 'MINE) (NOT nil)"), isValue("T"));
}

TEST(Failures, TravelOutwardUnchanged) {
  const std::string define =
      "(DEFUN F (A) (IF T (PROGN (LIST (AND 1 (G A)))))) "
      "(DEFUN G (A) (WHILE T (SETQ B (+ 1 (NOT (CAR A A)) A)))) ";
  EXPECT_THAT(evaluate(define + "(F nil)"), isEvalError("+ expects numbers"));
  EXPECT_THAT(evaluate(define + "(F (/ 1 0))"), isEvalError("division by zero"));
  EXPECT_THAT(evaluate("(LIST 1 (PROGN (IF (GETPOINT \"p\") 1)))"),
              requiresHostCall("GETPOINT", "(\"p\")"));
}

TEST(Runs, LeaveNothingBehindUnlessTheyEndWithAValue) {
  Evaluator evaluator;
  EXPECT_THAT(evaluator.run("(SETQ A 1) (DEFUN F () A)"), isValue("F"));
  EXPECT_THAT(evaluator.run("(SETQ A 2) (DEFUN F () 'NEW) (DEFUN G () 1) (SETQ B 1) (/ 1 0)"),
              isEvalError("division by zero"));
  EXPECT_THAT(evaluator.run("(LIST A (F))"), isValue("(1 1)"));
  EXPECT_THAT(evaluator.run("B"), isEvalError("unbound symbol: B"));
  EXPECT_THAT(evaluator.run("(G)"), isEvalError("unsupported LISP function: G"));
  EXPECT_THAT(evaluator.run("(SETQ A 3) (WHILE T)"), isStepLimit());
  EXPECT_THAT(evaluator.run("(SETQ A 4) (GETPOINT)"), requiresHostCall("GETPOINT", "()"));
  EXPECT_THAT(evaluator.run("(DEFUN H (A) (SETQ A 5 B 6) (FOO)) (H 1)"),
              isEvalError("unsupported LISP function: FOO"));
  EXPECT_THAT(evaluator.run("A"), isValue("1"));
  EXPECT_THAT(evaluator.run("B"), isEvalError("unbound symbol: B"));
}

// Also when the forms that they stood in are gone.
TEST(Runs, HoldTheNamesThatTheyHaveTouched) {
  const Evaluator installs_builtins;
  takeAllApart();
  const std::size_t symbols = symbolCount();
  {
    const Environment environment;
    Interpreter interpreter(environment, nullptr, nullptr);
    interpreter.start({});
    const auto valueOf = [&](const char* form) {
      return textOf(LispValue::adopt(interpreter.evaluate(read(form), 0).take()));
    };
    EXPECT_EQ(valueOf("(SETQ TOUCHED-ONCE '(1 2))"), "(1 2)");
    takeAllApart();
    EXPECT_EQ(symbolCount(), symbols + 1);
    EXPECT_EQ(valueOf("TOUCHED-ONCE"), "(1 2)");
    takeAllApart();
  }
  takeAllApart();
  EXPECT_EQ(symbolCount(), symbols);
}

TEST(Runs, HandTheirBindingsOn) {
  Evaluator evaluator;
  EXPECT_THAT(evaluator.run("(SETQ A '(1 2) B \"x\")"), isValue("\"x\""));
  EXPECT_THAT(evaluator.run("(DEFUN F (X) (SETQ C X) (LIST A B C))"), isValue("F"));
  EXPECT_THAT(evaluator.run("(F 3)"), isValue("((1 2) \"x\" 3)"));
  EXPECT_THAT(evaluator.run("(SETQ A nil) (F C)"), isValue("(nil \"x\" 3)"));
  EXPECT_THAT(evaluator.run("(DEFUN + (A B) 'MINE)"), isValue("+"));
  EXPECT_THAT(evaluator.run("(+ 1 2)"), isValue("MINE"));
}

}  // namespace
}  // namespace lisp
