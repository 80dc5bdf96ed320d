// Forms that are evaluated again and again: the evaluator treats them by their shape then. Whatever
// happens to their variables and names in between, and wherever a limit strikes, outcome and steps
// are those of the literal implementation, which knows no shapes.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "lisp/interpreter.h"
#include "lisp/outcome.h"
#include "testing/base/value_text.h"
#include "testing/reference/literal_encoder.h"
#include "testing/reference/literal_interpreter.h"
#include "testing/workers/evaluator.h"

namespace lisp {
namespace {

using lisp_worker::testing_support::evaluate;
using lisp_worker::testing_support::Evaluator;
using lisp_worker::testing_support::literalEncodeValue;
using lisp_worker::testing_support::LiteralInterpreter;
using lisp_worker::testing_support::LiteralOutcome;
using lisp_worker::testing_support::LiteralOutcomeKind;
using lisp_worker::testing_support::LiteralState;
using lisp_worker::testing_support::textOf;

constexpr std::uint64_t kStepsMax = 3000;
constexpr std::uint32_t kDepthMax = 128;

// An outcome of either implementation, in words.
template <typename Outcome>
std::string wordsOf(const Outcome& outcome, const std::string& value) {
  return std::to_string(static_cast<int>(outcome.kind)) + " after " +
         std::to_string(outcome.steps) + ": " + outcome.message + value;
}

std::string outcomeOf(const std::string& program, std::uint64_t steps_max,
                      std::uint32_t depth_max) {
  const EvalOutcome outcome = evaluate(program, {steps_max, depth_max});
  return wordsOf(outcome, textOf(outcome.value));
}

std::string literalOutcomeOf(const std::string& program, std::uint64_t steps_max,
                             std::uint32_t depth_max) {
  LiteralInterpreter interpreter({}, {steps_max, depth_max}, nullptr, nullptr);
  const LiteralOutcome outcome = interpreter.runProgram(program);
  return wordsOf(outcome, literalEncodeValue(outcome.value));
}

std::uint64_t stepsOf(const std::string& program) { return evaluate(program).steps; }

void expectSame(const std::string& program, std::uint64_t steps_max = kStepsMax,
                std::uint32_t depth_max = kDepthMax) {
  ASSERT_EQ(outcomeOf(program, steps_max, depth_max),
            literalOutcomeOf(program, steps_max, depth_max))
      << program << "\nwith " << steps_max << " steps at most, depth " << depth_max;
}

const std::string kSetup =
    "(SETQ A 3 B 4.5 L '(1 (2 3) 4) P '(7 8 9) E '() X \"text\" N NIL S '($KVSEL \"1F\" \"2A\"))"
    "(SETQ M (CONS 1 (CONS 2 (CONS 3 P))) G 0)"
    "(DEFUN F (X) (+ X 1)) (DEFUN H (X Y / Z) (SETQ Z (- X Y) G Z) (LIST X Y Z)) (DEFUN K () A)"
    "(DEFUN W (X) X)";

// All kinds of operands of arithmetic and comparison, and every other shape.
std::vector<std::string> forms(const std::vector<std::string>& numeric_names = {
                                   "+", "-", "*", "/", "=", "/=", "<", ">", "<=", ">="}) {
  std::vector<std::string> result;
  for (const std::string& operation : numeric_names) {
    for (const char* first : {"A", "2", "(+ A 1)", "X", "(CAR P)"}) {
      for (const char* second : {"B", "3", "(- B 1)", "N", "(SETQ A 5)", "(/ A A)"}) {
        const std::string form = std::string("(") + operation + " " + first + " " + second + ")";
        result.push_back(form);
        result.push_back("(IF " + form + " 'YES 'NO)");
      }
    }
  }
  for (const char* operation : {"1+", "1-", "CAR", "CDR", "LENGTH"}) {
    for (const char* operand : {"A", "L", "E", "N", "UNBOUND", "7", "\"s\"", "(CDR L)", "(CAR L)",
                                "(CDR (CDR P))", "(CDR (CDR (CDR M)))", "(CDR (CDR (CDR (CDR P))))",
                                "(CDR UNBOUND)", "(CDR (K))", "(CDR (CDR N))", "(K)"}) {
      result.push_back(std::string("(") + operation + " " + operand + ")");
    }
  }
  const char* const others[] = {
      "A",
      "7",
      "()",
      "(A)",
      "(\"A\" 1)",
      "((K))",
      "(UNKNOWN A (F 1))",
      "(SETQ B A)",
      "(SETQ B (1+ A))",
      "(SETQ B (1+ A) A (- B 1))",
      "(SETQ T 1)",
      "(SETQ A 1 B UNBOUND)",
      "(SETQ A)",
      "(SETQ A 1 7 2)",
      "(SETQ)",
      "(SETQ \"A\" 1)",
      "(F A)",
      "(+ \"s\" A)",
      "(+ A \"s\")",
      "(CAR L L)",
      "(CDR 'L)",
      "(CAR (CDR))",
      "(CAR (\"CDR\" L))",
      "(CAR (CDR (CDR (CDR (CDR (CDR (CDR (CDR (CDR (CDR L))))))))))",
      "(PROGN (DEFUN V (X) (DEFUN V (Y) (* Y 2)) X) (V 1))",
      "(PROGN (DEFUN V (X W) (DEFUN V (Y) (* Y 2)) X) (V 1 2))",
      "(F (F (F A)))",
      "(F)",
      "(F A B)",
      "(W ())",
      "(W 'A)",
      "(W (IF N ((A)) 1))",
      "(/ 2 (+ B 0))",
      "(/ (K) (+ B 0))",
      "(F (SETQ A 9))",
      "(F (UNKNOWN))",
      "(F X)",
      "(H A B)",
      "(H (SETQ A 1) A)",
      "(H A (PROGN (SETQ B 2) B))",
      "(H (K) (H A B))",
      "(H (IF (< A 100) (SETQ A (1+ A)) A) (K))",
      "(K)",
      "(SSLENGTH S)",
      "(SSNAME S 1)",
      "(SSNAME S A)",
      "(SSNAME S (1- A))",
      "(SSNAME S UNBOUND)",
      "(SSLENGTH A)",
      "(EQUAL L M)",
      "(EQUAL P '(7 8 9))",
      "(PRINC)",
      "(PRINC X A)",
      "(CONS A P)",
      "(CONS L M)",
      "(CONS A B)",
      "(CONS A N)",
      "(CONS A)",
      "(CONS (K) (CDR P))",
      "(CONS A UNBOUND)",
      "(LIST A B L)",
      "(LIST)",
      "(LIST A (UNKNOWN))",
      "(IF (EQUAL A 3) (SETQ A 4))",
      "(IF A)",
      "(IF (AND A (< A 100) (OR N (> B 1))) (SETQ A (1+ A)) 'DONE)",
      "(IF (NOT (NULL A)) 1 2)",
      "(IF (NOT A B) 1 2)",
      "(IF (NOT UNBOUND) 1 2)",
      "(IF (AND) 1 2)",
      "(IF (OR) 1 2)",
      "(IF (OR N UNBOUND) 1 2)",
      "(IF N 1)",
      "(IF UNBOUND 1 2)",
      "(IF (SETQ A N) 1 2)",
      "(IF (QUOTE) 1 2)",
      "(NOT (< A B))",
      "(NULL N)",
      "(AND (< A B) L)",
      "(OR (< B A) L)",
      "(PROGN (SETQ I 0) (WHILE (< I 3) (SETQ I (1+ I)) (F I)))",
      "(PROGN (SETQ I 0) (WHILE (< I 3) (SETQ I (+ I (F 0)))))",
      "(WHILE N 1)",
      "(WHILE UNBOUND 1)",
      "(WHILE)",
      "(WHILE (< A 6) (SETQ A (1+ A)) (UNKNOWN))",
      "(PROGN)",
      "(PROGN A (F A))",
      "(DEFUN F (Y) (* Y 2))",
      "(+ A B 1)",
      "(+ A)",
      "(+)",
      "(- A)",
      "(< A)",
      "(GETDIST A)",
      "(TRANS P 0 0)",
  };
  result.insert(result.end(), std::begin(others), std::end(others));
  return result;
}

// A program that evaluates `form` three times, does something else and evaluates it again.
std::string repeating(const std::string& form, const std::string& between) {
  return kSetup + "(DEFUN AGAIN () " + form + ") (SETQ R (LIST (AGAIN) (AGAIN) (AGAIN)))" +
         between + "(LIST R (AGAIN) A B G)";
}

// In a loop of the program's own, where bindings are global.
std::string looping(const std::string& form) {
  return kSetup + "(SETQ J 0 R NIL) (WHILE (< J 4) (SETQ R (CONS " + form +
         " R) J (1+ J))) (LIST R A B G)";
}

TEST(RepeatedForms, AreWhatTheyWereTheFirstTime) {
  for (const std::string& form : forms()) {
    expectSame(repeating(form, ""));
    expectSame(looping(form));
    if (HasFatalFailure()) return;
  }
}

TEST(RepeatedForms, SeeWhatHappensToTheirVariables) {
  for (const std::string& form : forms()) {
    for (const char* between :
         {"(SETQ A \"three\")", "(SETQ A NIL B NIL)", "(SETQ A '(1 2) L 5 P 6 S 7)",
          "(SETQ B 1e-301 A 0)", "(SETQ L '() P '(1) S '() M P)", "(SETQ X 1 N 2 UNBOUND 3 E L)"}) {
      expectSame(repeating(form, between));
      if (HasFatalFailure()) return;
    }
  }
}

TEST(RepeatedForms, SeeWhatTheirNamesComeToStandFor) {
  for (const std::string& form : forms()) {
    for (const char* name : {"+", "<", "1+", "CAR", "CDR", "LENGTH", "CONS", "LIST", "SSNAME",
                             "SSLENGTH", "EQUAL", "UNKNOWN", "F", "H", "K", "IF", "NOT"}) {
      if (form.find(name) == std::string::npos) continue;
      const std::string definition = std::string("(DEFUN ") + name;
      for (const char* rest : {" (Q) (SETQ A 8) 'MINE)", " (Q W) (PRINC W))", " () 'NONE)"}) {
        expectSame(repeating(form, definition + rest));
        if (HasFatalFailure()) return;
      }
    }
  }
}

// Functions with so many locals that these are bound only when they are touched.
TEST(RepeatedForms, SeeTheLocalsOfFunctionsWithMany) {
  std::string locals = "/ A L";
  for (int i = 0; i < 20; ++i) locals += " V" + std::to_string(i);
  for (const std::string& form : forms()) {
    expectSame(kSetup + "(DEFUN AGAIN () " + form + ") (DEFUN MANY (B " + locals +
               ") (LIST (AGAIN) (SETQ A 5 L '(6)) (AGAIN) (AGAIN) (AGAIN)))" +
               "(LIST (AGAIN) (AGAIN) (AGAIN) (MANY 2) (MANY 3) A B)");
    if (HasFatalFailure()) return;
  }
}

// A run that ends early leaves shapes behind in the forms of functions, and nothing else.
TEST(RepeatedForms, AreTheSameInRunsThatFollowOneAnother) {
  for (const std::string& form : forms()) {
    Evaluator evaluator;
    LiteralState state;
    for (const std::string& program :
         {kSetup + "(DEFUN AGAIN () " + form + ")", std::string("(AGAIN)"), std::string("(AGAIN)"),
          std::string("(AGAIN)"),
          std::string("(LIST (SSLENGTH '($KVSEL)) (SSNAME '($KVSEL 1) 0) (CONS 1 NIL)) (AGAIN)"),
          std::string("(SETQ A 3 B 1) (CONS A NIL) (AGAIN)"),
          std::string("(DEFUN CAR (Q) 'MINE) (AGAIN)"), std::string("(SETQ A \"three\") (AGAIN)"),
          std::string("(LIST (AGAIN) A B G)")}) {
      const EvalOutcome outcome = evaluator.run(program);
      LiteralInterpreter literal(state, {}, nullptr, nullptr);
      const LiteralOutcome expected = literal.runProgram(program);
      ASSERT_EQ(textOf(outcome.value), literalEncodeValue(expected.value)) << program;
      ASSERT_EQ(outcome.message, expected.message) << form << " in " << program;
      ASSERT_EQ(outcome.steps, expected.steps) << form << " in " << program;
      if (expected.kind == LiteralOutcomeKind::Value) state = literal.state();
    }
  }
}

// A pair short, or with a target that is no symbol: the error is the same each time.
TEST(RepeatedForms, FailTheSameWayEveryTimeWhenMalformed) {
  for (const char* const form :
       {"(SETQ)", "(SETQ A)", "(SETQ A 1 B)", "(SETQ A 1 B 2 C)", "(SETQ A 1 2 B)", "(SETQ 1 2)"}) {
    Evaluator evaluator;
    evaluator.run(std::string("(DEFUN AGAIN () ") + form + ")");
    const std::string first = evaluator.run("(AGAIN)").message;
    EXPECT_NE(first, "") << form;
    for (int i = 0; i < 4; ++i) {
      const EvalOutcome outcome = evaluator.run("(AGAIN)");
      EXPECT_EQ(outcome.message, first) << form;
      EXPECT_EQ(outcome.kind, OutcomeKind::EvalError) << form;
    }
  }
}

// All arithmetic and comparison counts alike.
TEST(RepeatedForms, EndAtTheStepThatIsOneTooMany) {
  for (const std::string& form : forms({"/", "<"})) {
    const std::string program = looping(form);
    const std::uint64_t steps = stepsOf(program);
    const std::uint64_t begin = stepsOf(kSetup);
    for (std::uint64_t limit = begin; limit <= steps + 1; ++limit) {
      expectSame(program, limit);
      if (HasFatalFailure()) return;
    }
  }
}

TEST(RepeatedForms, EndAtTheDepthThatIsOneTooMuch) {
  for (const std::string& form : forms({"/", "<"})) {
    for (std::uint32_t depth = 3; depth <= 12; ++depth) {
      expectSame(looping(form), kStepsMax, depth);
      expectSame(repeating(form, ""), kStepsMax, depth);
      if (HasFatalFailure()) return;
    }
  }
}

}  // namespace
}  // namespace lisp
