#include "lisp/core_builtins.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "testing/base/outcome_matchers.h"
#include "testing/workers/evaluator.h"

namespace lisp {
namespace {

using lisp_worker::testing_support::evaluate;
using lisp_worker::testing_support::Evaluator;
using lisp_worker::testing_support::isEvalError;
using lisp_worker::testing_support::isStepLimit;
using lisp_worker::testing_support::isValue;

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

// Every kind but a number, evaluated.
const std::vector<std::string> kNotNumbers = {"nil", "\"2\"", "'A", "T", "'()", "'(1)"};

// 1e308 * 10 and the difference of two of them.
const std::string kInfinity = "(* 1e308 10)";
const std::string kNan = "(- " + kInfinity + " " + kInfinity + ")";

TEST(Add, SumsFromZeroLeftToRight) {
  expectValues({{"(+)", "0"},
                {"(+ 5)", "5"},
                {"(+ -0.0)", "0"},
                {"(+ -0.0 -0.0)", "0"},
                {"(+ -0.0 -0.0 -0.0)", "0"},
                {"(+ 1 2)", "3"},
                {"(+ 1 2 3 4 5)", "15"},
                {"(+ 0.1 0.2)", "0.30000000000000004"},
                {"(+ 1e16 1 1)", "10000000000000000"},
                {"(+ 1 1 1e16)", "10000000000000002"},
                {kInfinity, "inf"},
                {"(- " + kInfinity + ")", "-inf"}});
}

TEST(Subtract, TakesAwayLeftToRightOrFlipsTheSign) {
  expectValues({{"(- 5)", "-5"},
                {"(- 0)", "-0"},
                {"(- -0.0)", "0"},
                {"(- 5 3)", "2"},
                {"(- 10 1 2)", "7"},
                {"(- 0 0)", "0"},
                {"(- -0.0 0)", "-0"},
                {"(- 1e16 1 1 1)", "10000000000000000"}});
  // The sign of a NaN is flipped too.
  const std::string text = lisp_worker::testing_support::textOf(evaluate(kNan).value);
  EXPECT_THAT(evaluate("(- " + kNan + ")"), isValue(text == "nan" ? "-nan" : "nan"));
}

TEST(Multiply, MultipliesFromOneLeftToRight) {
  expectValues({{"(*)", "1"},
                {"(* 5)", "5"},
                {"(* -0.0)", "-0"},
                {"(* 2 3)", "6"},
                {"(* 2 3 4)", "24"},
                {"(* 0 -1)", "-0"},
                {"(* 1e200 1e200 1e-300)", "inf"},
                {"(* 1e-200 1e-200 1e300)", "0"}});
}

TEST(Divide, DividesLeftToRight) {
  expectValues({{"(/ 5)", "5"},
                {"(/ 0)", "0"},
                {"(/ 7 2)", "3.5"},
                {"(/ 0 5)", "0"},
                {"(/ 100 5 2)", "10"},
                {"(/ -1 2)", "-0.5"},
                {"(/ 1e-310)", "9.9999999999999694e-311"},
                {"(/ 1 1e-299)", "1.0000000000000001e+299"},
                {"(/ 1 -1e-299)", "-1.0000000000000001e+299"},
                {"(/ 1 " + kInfinity + ")", "0"}});
  EXPECT_EQ(evaluate("(/ 1 " + kNan + ")").kind, OutcomeKind::Value);
  EXPECT_THAT(evaluate("(= (/ 1 " + kNan + ") 0)"), isValue("nil"));
}

TEST(Divide, RefusesSmallDivisors) {
  expectError("division by zero",
              {"(/ 1 0)", "(/ 1 -0.0)", "(/ 1 1e-300)", "(/ 1 -1e-300)", "(/ 1 1e-301)", "(/ 0 0)",
               "(/ 1 2 0)", "(/ 1 0 2)", "(/ 1 2 3 1e-300)", "(/ " + kNan + " 0)"});
  // The next double above the limit.
  EXPECT_EQ(evaluate("(/ 1 1.0000000000000002e-300)").kind, OutcomeKind::Value);
}

TEST(Arithmetic, RefusesWhatIsNotANumber) {
  for (const std::string& other : kNotNumbers) {
    for (const std::string name : {"+", "-", "*", "/"}) {
      expectError(name + " expects numbers",
                  {"(" + name + " " + other + ")", "(" + name + " " + other + " 1)",
                   "(" + name + " 1 " + other + ")", "(" + name + " 1 2 " + other + ")"});
    }
  }
  expectError("- expects numbers", {"(-)"});
  expectError("/ expects numbers", {"(/)"});
  // Kinds are tested before divisors.
  expectError("/ expects numbers", {"(/ 1 0 nil)", "(/ nil 0)"});
}

TEST(IncrementAndDecrement, TakeOneNumber) {
  expectValues({{"(1+ 1)", "2"},
                {"(1- 1)", "0"},
                {"(1+ -0.5)", "0.5"},
                {"(1- -0.0)", "-1"},
                {"(1+ 1e16)", "10000000000000000"}});
  for (const std::string name : {"1+", "1-"}) {
    const std::string message = name + " expects one number";
    expectError(message, {"(" + name + ")", "(" + name + " 1 2)", "(" + name + " nil nil)"});
    for (const std::string& other : kNotNumbers)
      expectError(message, {"(" + name + " " + other + ")"});
  }
}

TEST(List, HoldsItsArguments) {
  expectValues({{"(LIST)", "()"},
                {"(LIST nil)", "(nil)"},
                {"(LIST 1 \"a\" 'B (LIST) nil)", "(1 \"a\" B () nil)"},
                {"(IF (LIST) 1 2)", "1"}});
}

TEST(Car, AnswersMisuseWithNil) {
  expectValues({{"(CAR '(1 2))", "1"},
                {"(CAR '((1) 2))", "(1)"},
                {"(CAR '(nil))", "nil"},
                {"(CAR (CONS 1 (CONS 2 nil)))", "1"},
                {"(CAR nil)", "nil"},
                {"(CAR '())", "nil"},
                {"(CAR 5)", "nil"},
                {"(CAR \"(1)\")", "nil"},
                {"(CAR 'A)", "nil"},
                {"(CAR)", "nil"},
                {"(CAR '(1) '(2))", "nil"}});
}

TEST(Cdr, AnswersMisuseWithNil) {
  expectValues({{"(CDR '(1 2 3))", "(2 3)"},
                {"(CDR '(1))", "()"},
                {"(CDR (CONS 1 '(2)))", "(2)"},
                {"(IF (CDR '(1)) 1 2)", "1"},
                {"(CDR nil)", "nil"},
                {"(CDR '())", "nil"},
                {"(CDR 5)", "nil"},
                {"(CDR \"x\")", "nil"},
                {"(CDR)", "nil"},
                {"(CDR '(1 2) '(3 4))", "nil"},
                {"(CDR (CDR '(1 2)))", "()"}});
}

TEST(Cons, PutsAValueInFront) {
  expectValues({{"(CONS 1 nil)", "(1)"},
                {"(CONS 1 '())", "(1)"},
                {"(CONS 1 '(2 3))", "(1 2 3)"},
                {"(CONS '(1) '(2))", "((1) 2)"},
                {"(CONS nil nil)", "(nil)"},
                {"(CONS 1 2)", "(1 2)"},
                {"(CONS 1 \"x\")", "(1 \"x\")"},
                {"(CONS 1 'A)", "(1 A)"},
                {"(CONS 1 T)", "(1 T)"},
                {"(SETQ L '(1 2)) (SETQ A (CONS 'A L)) (SETQ B (CONS 'B L)) (LIST L A B)",
                 "((1 2) (A 1 2) (B 1 2))"}});
  expectError("cons expects two arguments", {"(CONS)", "(CONS 1)", "(CONS 1 2 3)"});
}

TEST(Length, CountsElements) {
  expectValues({{"(LENGTH '())", "0"},
                {"(LENGTH '(1 nil (2 3)))", "3"},
                {"(LENGTH (CONS 1 (CONS 2 '(3))))", "3"},
                {"(LENGTH (CDR '(1 2 3)))", "2"}});
  expectError("length expects list", {"(LENGTH)", "(LENGTH nil)", "(LENGTH 5)", "(LENGTH \"abc\")",
                                      "(LENGTH 'A)", "(LENGTH '(1) '(2))"});
}

TEST(EqAndEqual, CompareStructure) {
  for (const std::string name : {"EQ", "EQUAL"}) {
    const std::string call = "(" + name;
    expectValues({{call + " '(1 2) '(1 2))", "T"},
                  {call + " 1 1.0)", "T"},
                  {call + " 0 -0.0)", "T"},
                  {call + " nil nil)", "T"},
                  {call + " nil '())", "nil"},
                  {call + " \"A\" 'A)", "nil"},
                  {call + " \"a\" \"A\")", "nil"},
                  {call + " \"a\" \"a\")", "T"},
                  {call + " 'A 'a)", "T"},
                  {call + " '(1 (2)) '(1 (3)))", "nil"},
                  {call + " 1 2)", "nil"},
                  {call + " " + kNan + " " + kNan + ")", "nil"},
                  {"(SETQ X (LIST " + kNan + ")) " + call + " X X)", "nil"}});
    expectError(name + " expects two arguments", {call + ")", call + " 1)", call + " 1 1 1)"});
  }
}

TEST(Comparisons, TakeTwoNumbers) {
  struct Comparison {
    std::string name;
    const char *less, *equal, *greater, *unordered;
  };
  for (const Comparison& row :
       {Comparison{"=", "nil", "T", "nil", "nil"}, Comparison{"/=", "T", "nil", "T", "T"},
        Comparison{"<", "T", "nil", "nil", "nil"}, Comparison{">", "nil", "nil", "T", "nil"},
        Comparison{"<=", "T", "T", "nil", "nil"}, Comparison{">=", "nil", "T", "T", "nil"}}) {
    const std::string call = "(" + row.name + " ";
    expectValues({{call + "1 2)", row.less},
                  {call + "2 2.0)", row.equal},
                  {call + "-0.0 0)", row.equal},
                  {call + "2 1)", row.greater},
                  {call + kInfinity + " " + kInfinity + ")", row.equal},
                  {call + kNan + " 1)", row.unordered},
                  {call + "1 " + kNan + ")", row.unordered},
                  {call + kNan + " " + kNan + ")", row.unordered}});
    const std::string message = row.name + " expects two numbers";
    expectError(message, {"(" + row.name + ")", call + "1)", call + "1 1 1)", call + "1 2 nil)"});
    for (const std::string& other : kNotNumbers) {
      expectError(message, {call + "1 " + other + ")", call + other + " 1)",
                            call + other + " " + other + ")"});
    }
  }
}

TEST(PrincAndPrin1, YieldTheirLastArgument) {
  for (const std::string name : {"PRINC", "PRIN1"}) {
    expectValues({{"(" + name + ")", "nil"},
                  {"(" + name + " \"hi\")", "\"hi\""},
                  {"(" + name + " 1 2)", "2"},
                  {"(" + name + " 1 '())", "()"}});
  }
}

TEST(Dispatch, EvaluatesArgumentsBeforeAnythingElse) {
  // Failures of arguments come before those of the call, and arguments before one have been run.
  for (const std::string name :
       {"+",        "-",      "*",        "/",      "1+",    "1-",    "LIST",
        "CAR",      "CDR",    "CONS",     "LENGTH", "EQ",    "EQUAL", "=",
        "/=",       "<",      ">",        "<=",     ">=",    "PRINC", "PRIN1",
        "SSLENGTH", "SSNAME", "DISTANCE", "ANGLE",  "POLAR", "TRANS", "NO-SUCH-FUNCTION"}) {
    expectError("unbound symbol: X", {"(" + name + " X)", "(" + name + " nil X)",
                                      "(" + name + " X Y)", "(" + name + " nil nil X Y)"});
  }
  expectError("unsupported LISP function: BAR", {"(FOO (BAR))", "(FOO (FOO (BAR)))"});
  expectError("unsupported LISP function: FOO",
              {"(FOO)", "(foo 1 2)", "(FOO (SETQ X 1))", "(DEFUN G (A) (FOO A)) (G 1)"});
  expectError("unsupported LISP function: $KVSEL", {"($KVSEL)"});
}

TEST(Dispatch, KeepsWhatArgumentsAssignedBeforeAFailure) {
  // Within one run, a host call stops where the assignment can be seen.
  const EvalOutcome outcome = evaluate("(SETQ X 0) (LIST (SETQ X 1) (GETDIST X) (FOO))");
  EXPECT_THAT(outcome, lisp_worker::testing_support::requiresHostCall("GETDIST", "(1)"));
}

TEST(Dispatch, ComparesNamesByEveryByte) {
  expectError("unsupported LISP function: CA", {"(CA '(1))"});
  expectError("unsupported LISP function: CARR", {"(CARR '(1))"});
  expectError("unsupported LISP function: ++", {"(++ 1)"});
  expectError("unsupported LISP function: 2+", {"(2+ 1)"});
  expectValues({{"(car '(1))", "1"}, {"(Car '(1))", "1"}, {"(list)", "()"}});
}

TEST(Results, AreNilAndTAsSuch) {
  EXPECT_EQ(evaluate("(= 1 2)").value.kind(), ValueKind::Nil);
  EXPECT_EQ(evaluate("(CAR '())").value.kind(), ValueKind::Nil);
  EXPECT_EQ(evaluate("(= 1 1)").value.kind(), ValueKind::Symbol);
  EXPECT_EQ(evaluate("(EQ 1 1)").value.kind(), ValueKind::Symbol);
  EXPECT_EQ(evaluate("(CDR '(1))").value.kind(), ValueKind::List);
}

}  // namespace
}  // namespace lisp
