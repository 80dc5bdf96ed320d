// Calls of user functions. A call works on a copy of its caller's bindings, taken before its
// arguments are evaluated; nothing is copied in fact, which is what most of these tests are about.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lisp/user_function.h"
#include "testing/base/outcome_matchers.h"
#include "testing/base/value_text.h"
#include "testing/workers/evaluator.h"

namespace lisp {
namespace {

using lisp_worker::testing_support::evaluate;
using lisp_worker::testing_support::Evaluator;
using lisp_worker::testing_support::isEvalError;
using lisp_worker::testing_support::isValue;
using lisp_worker::testing_support::read;
using lisp_worker::testing_support::took;
using testing::AllOf;

struct Row {
  std::string program;
  std::string expected;
};

void expectValues(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    EXPECT_THAT(evaluate(row.program), isValue(row.expected)) << row.program;
    // Once more, on records that a run before has used.
    Evaluator evaluator;
    EXPECT_THAT(evaluator.run(row.program), isValue(row.expected)) << row.program;
    EXPECT_THAT(evaluator.run(row.program), isValue(row.expected)) << "again: " << row.program;
  }
}

void expectError(const std::string& message, const std::vector<std::string>& programs) {
  for (const std::string& program : programs) {
    EXPECT_THAT(evaluate(program), isEvalError(message)) << program;
  }
}

// Enough locals for a call to bind them only when they are touched.
const std::string kManyLocals =
    "L1 L2 L3 L4 L5 L6 L7 L8 L9 L10 L11 L12 L13 L14 L15 L16 L17 L18 L19 L20";

TEST(UserCall, BindsParametersAndLocals) {
  expectValues({{"(DEFUN F (A B) (LIST B A)) (F 1 2)", "(2 1)"},
                {"(DEFUN F (/ A) A) (F)", "nil"},
                {"(DEFUN F () 1 2 3) (F)", "3"},
                {"(DEFUN F (A) (SETQ A (1+ A)) A) (LIST (F 1) (F 1))", "(2 2)"},
                {"(DEFUN F (A / B) (SETQ B A) B) (LIST (F 3) (F 4))", "(3 4)"}});
}

TEST(UserCall, ChecksTheArgumentCountBeforeEvaluatingAny) {
  expectError(
      "wrong argument count for F",
      {"(DEFUN F (A) A) (F)", "(DEFUN F (A) A) (F 1 2)", "(DEFUN F () 1) (F 1)",
       "(DEFUN F (A / B) A) (F 1 2)", "(DEFUN F (A A) A) (F 1)", "(DEFUN F (A) A) (f (FOO) 2)"});
  EXPECT_THAT(evaluate("(DEFUN F (A) A) (F (FOO) (BAR))"), took(2));
}

TEST(UserCall, StopsAtTheFirstFailure) {
  expectError("unbound symbol: X",
              {"(DEFUN F (A B) (FOO)) (F X (BAR))", "(DEFUN F (A B) (FOO)) (F 1 X)",
               "(DEFUN F () X (FOO)) (F)", "(DEFUN F () 1 X) (F)"});
}

TEST(UserCall, LetsTheLastOfEqualParametersWinAndLocalsEndAsNil) {
  expectValues({{"(DEFUN F (A A) A) (F 1 2)", "2"},
                {"(DEFUN F (A / A) A) (F 1)", "nil"},
                {"(DEFUN F (A / " + kManyLocals + " A) A) (F 1)", "nil"},
                {"(DEFUN F (A / A) (SETQ A 2) A) (F 1)", "2"},
                {"(DEFUN F (A / " + kManyLocals + " A) (SETQ A 2) A) (F 1)", "2"}});
}

TEST(UserCall, SeesItsCallersBindings) {
  expectValues({{"(DEFUN G () A) (DEFUN F (A) (G)) (F 1)", "1"},
                {"(DEFUN H () A) (DEFUN G () (H)) (DEFUN F (/ A) (SETQ A 2) (G)) (F)", "2"},
                {"(DEFUN G (B) (LIST A B)) (DEFUN F (A) (G (LIST A))) (F 1)", "(1 (1))"}});
  expectError("unbound symbol: A", {"(DEFUN G () A) (DEFUN F (A) 1) (F 1) (G)"});
}

TEST(UserCall, ChangesItsCallersBindingsOnlyInItsCopy) {
  expectValues({{"(DEFUN G () (SETQ A 2) A) (DEFUN F (A) (LIST (G) A (G) A)) (F 1)", "(2 1 2 1)"},
                {"(DEFUN G () (SETQ A (1+ A))) (DEFUN F (A) (G) (G) A) (F 1)", "1"},
                {"(DEFUN H () (SETQ A 3) (LIST A)) (DEFUN G () (SETQ A 2) (LIST (H) A)) "
                 "(DEFUN F (A) (LIST (G) A)) (F 1)",
                 "(((3) 2) 1)"},
                {"(SETQ A 0) (DEFUN G () (SETQ A 2)) (DEFUN F (A) (G)) (F 1) A", "0"}});
}

TEST(UserCall, AssignsGlobalsThatNoCallerBinds) {
  expectValues({{"(DEFUN F () (SETQ A 1)) (F) A", "1"},
                {"(DEFUN G () (SETQ B 1)) (DEFUN F (A) (G) B) (F 2)", "1"},
                {"(SETQ A 1) (DEFUN F () (SETQ A (1+ A)) A) (LIST (F) (F) A)", "(2 3 3)"}});
}

TEST(UserCall, TakesTheCopyBeforeItsArguments) {
  expectValues({
      // An argument that assigns the caller's variable is not seen by the callee.
      {"(DEFUN G (X) (LIST A X)) (DEFUN F (A) (LIST (G (SETQ A 2)) A)) (F 1)", "((1 2) 2)"},
      // Unless the name is a parameter.
      {"(DEFUN G (A) A) (DEFUN F (A) (LIST (G (SETQ A 2)) A)) (F 1)", "(2 2)"},
      // Arguments see the caller's bindings, not those of the parameters before them.
      {"(DEFUN G (A B) (LIST A B)) (DEFUN F (A) (G 5 A)) (F 1)", "(5 1)"},
      {"(DEFUN G (X Y) (LIST A X Y)) (DEFUN F (A) (G (SETQ A 2) (SETQ A (1+ A)))) (F 1)",
       "(1 2 3)"},
      // A global is no local binding.
      {"(SETQ A 1) (DEFUN G (X) (LIST A X)) (G (SETQ A 2))", "(2 2)"},
      {"(SETQ A 1) (DEFUN G (X) (LIST A X)) (DEFUN F () (G (SETQ A 2))) (F)", "(2 2)"},
      // Inside special forms and builtins of the argument.
      {"(DEFUN G (X) (LIST A X)) (DEFUN F (A) (G (PROGN (SETQ A 2) (+ A 1)))) (F 1)", "(1 3)"},
      {"(DEFUN G (X) (LIST A X)) (DEFUN F (A) (G (WHILE (< A 5) (SETQ A (1+ A))))) (F 1)", "(1 5)"},
  });
}

TEST(UserCall, TakesEachCopyOfNestedCallsWhenItBegins) {
  expectValues({
      {"(DEFUN G (X) (LIST A X)) (DEFUN F (A) (G (G (SETQ A 2)))) (F 1)", "(1 (1 2))"},
      {"(DEFUN G (X Y) (LIST A X Y)) (DEFUN F (A) (G (SETQ A 2) (G (SETQ A 3) A))) (F 1)",
       "(1 2 (2 3 3))"},
      {"(DEFUN G (X Y) (LIST A X Y)) (DEFUN F (A) (G (G (SETQ A 2) A) (SETQ A 3))) (F 1)",
       "(1 (1 2 2) 3)"},
      {"(DEFUN G (X Y) (LIST A X Y)) (DEFUN F (A) (LIST (G (G (SETQ A 2) (SETQ A 3)) A) A)) (F 1)",
       "((1 (1 2 3) 3) 3)"},
      // The callee is itself busy with arguments when it assigns its own copy.
      {"(DEFUN H (X) (LIST A X)) (DEFUN G (X) (LIST (H (SETQ A (LIST A))) A)) "
       "(DEFUN F (A) (LIST (G (SETQ A 2)) A)) (F 1)",
       "(((1 (1)) (1)) 2)"},
      {"(DEFUN G (N) (IF (< N 1) A (LIST A (G (PROGN (SETQ A N) (1- N)))))) "
       "(DEFUN F (A) (LIST (G 3) A)) (F 0)",
       "((0 (0 (0 0))) 0)"},
  });
}

TEST(UserCall, UsesTheRecordFoundAtItsStart) {
  expectValues({
      {"(DEFUN F (A) (LIST 'OLD A)) (F (DEFUN F (A B) 'NEW))", "(OLD F)"},
      {"(DEFUN F (A) (LIST 'OLD A)) (F (PROGN (DEFUN F (A) 'NEW) 1)) (F 1)", "NEW"},
      {"(DEFUN F () (DEFUN F () 'NEW) (LIST 'OLD (F))) (F)", "(OLD NEW)"},
      {"(DEFUN F (N) (IF (= N 0) 'END (PROGN (DEFUN F (N) (LIST 'NEW N)) (F (1- N))))) (F 2)",
       "(NEW 1)"},
  });
  // A builtin found at the start of its call is not replaced by its arguments either.
  EXPECT_THAT(evaluate("(LIST 1 (DEFUN LIST (A) 'MINE))"), isValue("(1 LIST)"));
  EXPECT_THAT(evaluate("(CAR (PROGN (DEFUN CAR (A) 'MINE) '(1 2)))"), isValue("1"));
  EXPECT_THAT(evaluate("(+ (PROGN (DEFUN + (A B) 'MINE) 1) 2)"), isValue("3"));
  EXPECT_THAT(evaluate("(LENGTH (PROGN (DEFUN LENGTH (A) 'MINE) '(1 2)))"), isValue("2"));
  EXPECT_THAT(evaluate("(FOO (DEFUN FOO (A) 'MINE))"),
              isEvalError("unsupported LISP function: FOO"));
}

TEST(UserCall, WithManyLocalsBindsThemAll) {
  const std::string define = "(DEFUN G (/ " + kManyLocals + ") ";
  expectValues({
      {define + "(LIST L1 L10)) (G)", "(nil nil)"},
      {"(SETQ L1 'GLOBAL) " + define + "L1) (LIST (G) L1)", "(nil GLOBAL)"},
      {"(SETQ L1 'GLOBAL) " + define + "(SETQ L1 5) L1) (LIST (G) L1)", "(5 GLOBAL)"},
      {define + "L1) (DEFUN F (L1) (LIST (G) L1)) (F 1)", "(nil 1)"},
      {define + "(SETQ L1 5) L1) (DEFUN F (L1) (LIST (G) L1)) (F 1)", "(5 1)"},
      // Its callees see nil, or what it assigned.
      {"(SETQ L1 'GLOBAL) (DEFUN H () L1) " + define + "(LIST (H) (SETQ L1 2) (H))) (LIST (G) (H))",
       "((nil 2 2) GLOBAL)"},
      {"(SETQ L1 'GLOBAL) (DEFUN H () (SETQ L1 7) L1) " + define + "(LIST (H) L1)) (LIST (G) L1)",
       "((7 nil) GLOBAL)"},
      {"(DEFUN H (X) (LIST L1 X)) " + define + "(LIST (H (SETQ L1 2)) L1)) (G)", "((nil 2) 2)"},
      // Other names keep their bindings.
      {"(SETQ A 'GLOBAL) " + define + "(LIST A (SETQ A 2))) (LIST (G) A)", "((GLOBAL 2) 2)"},
      {define + "(LIST A (SETQ A 2))) (DEFUN F (A) (LIST (G) A)) (F 1)", "((1 2) 1)"},
      // One such function inside another, and inside itself.
      {"(DEFUN H (/ L1 A2 A3 A4 A5 A6 A7 A8 A9 A10 A11 A12 A13 A14 A15 A16 A17) "
       "(LIST L1 L2 (SETQ L1 3 L2 4) L1 L2)) " +
           define + "(SETQ L1 1 L2 2) (LIST (H) L1 L2)) (G)",
       "((nil 2 4 3 4) 1 2)"},
      {"(DEFUN G (N / " + kManyLocals +
           ") (SETQ L1 (LIST N L1 L2)) (IF (< N 1) L1 "
           "(PROGN (SETQ L2 N) (LIST L1 (G (1- N)) L1 L2)))) (G 1)",
       "((1 nil nil) (0 nil nil) (1 nil nil) 1)"},
      {"(DEFUN F (L1) L1) " + define + "(LIST (F 5) L1)) (G)", "(5 nil)"},
      // Names whose bindings were made further out, by none and by one inside another such call.
      {"(SETQ A 'GLOBAL) " + define + "(LIST A (SETQ A 2))) (DEFUN F () (G)) (LIST (F) A)",
       "((GLOBAL 2) 2)"},
      {define + "(LIST X (SETQ X 2))) (DEFUN F () (G)) (DEFUN M (X) (LIST (F) X)) "
                "(DEFUN O (/ X A2 A3 A4 A5 A6 A7 A8 A9 A10 A11 A12 A13 A14 A15 A16 A17) (M 1)) (O)",
       "((1 2) 1)"},
  });
}

// `count` names with the letter, each with a blank and `behind` after it: "A1 x A2 x ".
std::string names(char letter, int count, const std::string& behind = "") {
  std::string text;
  for (int i = 1; i <= count; ++i) text += letter + std::to_string(i) + ' ' + behind;
  return text;
}

TEST(UserCall, BindsLocalsLateFromSeventeenOn) {
  for (const int count : {15, 16, 17}) {
    const std::string define =
        "(DEFUN F (/ " + names('A', count) + ") (LIST A1 (SETQ A1 1) A9 (G)))";
    const UserFunction function(read(define));
    EXPECT_EQ(function.bindsLocalsLate(), count > 16) << count;
    EXPECT_THAT(evaluate("(SETQ A1 'GLOBAL) (DEFUN G () A1)" + define + "(LIST (F) A1)"),
                isValue("((nil 1 nil 1) GLOBAL)"))
        << count;
  }
}

// Up to eight are bound as the call begins, and more when they are touched.
TEST(UserCall, CopiesAnyNumberOfNamesThatArgumentsAssign) {
  for (const int count : {7, 8, 9}) {
    const std::string last = "A" + std::to_string(count);
    const std::string program = "(DEFUN G (X) (LIST A1 " + last + "))(DEFUN F (/ " +
                                names('A', count) + ") (SETQ " + names('A', count, "1 ") +
                                ") (LIST (G (SETQ " + names('A', count, "2 ") + ")) A1 " + last +
                                ")) (F)";
    EXPECT_THAT(evaluate(program), isValue("((1 1) 2 2)")) << program;
  }
}

// Enough changes by arguments for a call to undo each only when it is touched.
const std::string kNineNames = "C1 C2 C3 C4 C5 C6 C7 C8 C9";
const std::string kNineOnes = "(SETQ C1 1 C2 1 C3 1 C4 1 C5 1 C6 1 C7 1 C8 1 C9 1)";
const std::string kNineTwos = "(SETQ C1 2 C2 2 C3 2 C4 2 C5 2 C6 2 C7 2 C8 2 C9 2)";
const std::string kNineThrees = "(SETQ C1 3 C2 3 C3 3 C4 3 C5 3 C6 3 C7 3 C8 3 C9 3)";

TEST(UserCall, TakesTheCopyBeforeArgumentsThatAssignManyNames) {
  const std::string begin = "(DEFUN H () (LIST C1 C9)) (DEFUN G (X) (LIST C1 C9 X)) (DEFUN F (/ " +
                            kNineNames + ") " + kNineOnes;
  expectValues({
      {begin + "(LIST (G " + kNineTwos + ") C1 C9)) (F)", "((1 1 2) 2 2)"},
      // A callee of the callee sees what the callee does, and assigns only its own copy.
      {begin + "(I " + kNineTwos + ")) (DEFUN I (X) (LIST (H) (SETQ C9 5) (H) C1 C9)) (F)",
       "((1 1) 5 (1 5) 1 5)"},
      {begin + "(LIST (I " + kNineTwos +
           ") C1)) (DEFUN I (X) (LIST (J) (H))) (DEFUN J () (SETQ C1 5) (H)) (F)",
       "(((5 1) (1 1)) 2)"},
      // Names that an argument assigns before nested calls, between them and in them.
      {begin + "(LIST (G (PROGN " + kNineTwos + "(G " + kNineThrees + "))) C1 C9)) (F)",
       "((1 1 (2 2 3)) 3 3)"},
      {begin + "(LIST (G (LIST (G " + kNineTwos + ") (G " + kNineThrees + ") (H))) C1)) (F)",
       "((1 1 ((1 1 2) (2 2 3) (3 3))) 3)"},
      {begin + "(LIST (G (LIST (G " + kNineTwos + ") (SETQ C1 4) (G C1))) C1)) (F)",
       "((1 1 ((1 1 2) 4 (4 2 4))) 4)"},
      {begin + "(LIST (G (G (G " + kNineTwos + "))) C1)) (F)", "((1 1 (1 1 (1 1 2))) 2)"},
      // A second call after the first: its copy is a later one.
      {begin + "(LIST (G " + kNineTwos + ") (G " + kNineThrees + ") (H))) (F)",
       "((1 1 2) (2 2 3) (3 3))"},
      // A parameter or a local of the callee hides its copy.
      {begin + "(K " + kNineTwos + ")) (DEFUN K (C1 / C9) (LIST C1 C2 C9)) (F)", "(2 1 nil)"},
      {begin + "(K " + kNineTwos + ")) (DEFUN K (X / " + kManyLocals +
           " C9) (LIST C1 L1 C9 (H))) (F)",
       "(1 nil nil (1 nil))"},
      // The names belong to a call further out: the argument has made copies of its own.
      {begin + "(I)) (DEFUN I () (LIST (G " + kNineTwos + ") C1 (H))) (F)", "((1 1 2) 2 (2 2))"},
      {begin + "(LIST (I) C1)) (DEFUN I () (LIST (G " + kNineTwos + ") (G " + kNineThrees +
           ") C1)) (F)",
       "(((1 1 2) (2 2 3) 3) 1)"},
  });
}

// A name that is read in each of several calls inside each other that bind late.
TEST(UserCall, WithManyLocalsLooksAtEachCallOnce) {
  const std::string f = "(DEFUN F (/ " + kManyLocals + ") (LIST X (G)))";
  const std::string g = "(DEFUN G (/ " + kManyLocals + ") (LIST X L1 (H)))";
  const std::string h = "(DEFUN H (/ X " + kManyLocals + ") (LIST X (SETQ X 2) (G2)))";
  const std::string g2 = "(DEFUN G2 (/ " + kManyLocals + ") (LIST X L1))";
  expectValues(
      {{"(SETQ X 1)" + f + g + h + g2 + "(LIST (F) X)", "((1 (1 nil (nil 2 (2 nil)))) 1)"}});
}

TEST(UserCall, RestoresEverythingThatItShadowed) {
  expectValues(
      {{"(SETQ A 1) (DEFUN F (A) (IF (< A 50) (F (1+ A)) A)) (LIST (F 2) A)", "(50 1)"},
       {"(SETQ A 1 B 2) (DEFUN F (A / B) (SETQ B (LIST A)) (IF (< A 5) (LIST B (F (1+ A)) B)"
        " B)) (F 4) (LIST A B)",
        "(1 2)"},
       {"(DEFUN F (N) (IF (< N 1) 0 (+ N (F (1- N))))) (F 30)", "465"}});
}

TEST(UserCall, KeepsTheBindingsOfAFailedRunOutOfTheNext) {
  Evaluator evaluator;
  EXPECT_THAT(evaluator.run("(SETQ A 'GLOBAL) (DEFUN G (X) (FOO)) (DEFUN F (A) (G (SETQ A 2)))"),
              isValue("F"));
  EXPECT_THAT(evaluator.run("(F 1)"), isEvalError("unsupported LISP function: FOO"));
  EXPECT_THAT(evaluator.run("A"), isValue("GLOBAL"));
  EXPECT_THAT(evaluator.run("(DEFUN G (X) (LIST A X)) (F 1)"), isValue("(1 2)"));
}

}  // namespace
}  // namespace lisp
