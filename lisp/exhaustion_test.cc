// Programs that try to exhaust the worker: each is a legal request, so each is answered at once.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <string>

#include "lisp/graveyard.h"
#include "lisp/list.h"
#include "lisp/symbol.h"
#include "testing/base/list_makers.h"
#include "testing/base/outcome_matchers.h"
#include "testing/workers/evaluator.h"

namespace lisp {
namespace {

using lisp_worker::testing_support::evaluate;
using lisp_worker::testing_support::Evaluator;
using lisp_worker::testing_support::isStepLimit;
using lisp_worker::testing_support::isValue;

// What any of these takes in a plain build is far below; what it takes when some part of its work
// is done once for each step is far above, with or without a sanitizer.
constexpr std::chrono::seconds kAtOnce{2};

class Exhaustion : public testing::Test {
 protected:
  void SetUp() override { takeAllApart(); }

  EvalOutcome runAtOnce(const std::string& program) {
    const auto begin = std::chrono::steady_clock::now();
    EvalOutcome outcome = evaluator_.run(program);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, kAtOnce) << program.substr(0, 200);
    return outcome;
  }

 private:
  Evaluator evaluator_;
};

// `count` names with `prefix`, a space before each.
std::string names(const std::string& prefix, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += " " + prefix + std::to_string(i);
  return text;
}

std::string repeated(const std::string& text, int count) {
  std::string result;
  for (int i = 0; i < count; ++i) result += text;
  return result;
}

// A loop of `passes` passes over I around `body`.
std::string loop(int passes, const std::string& body) {
  return "(SETQ I 0) (WHILE (< I " + std::to_string(passes) + ") (SETQ I (1+ I)) " + body + ") ";
}

TEST_F(Exhaustion, FailsByDoubling) {
  EXPECT_THAT(runAtOnce("(SETQ X '(1)) " + loop(10000, "(SETQ X (LIST X X))") + "(LENGTH X)"),
              isValue("2"));
  EXPECT_THAT(runAtOnce("(SETQ X '(1)) " + loop(30, "(SETQ X (CONS X X))") + "(LENGTH X)"),
              isValue("31"));
}

TEST_F(Exhaustion, FailsByNestingInOneRunAndAcrossRuns) {
  EXPECT_THAT(runAtOnce("(SETQ X nil) " + loop(27000, "(SETQ X (LIST X))") + "(LENGTH X)"),
              isValue("1"));
  for (int i = 0; i < 5; ++i) {
    EXPECT_THAT(runAtOnce(loop(27000, "(SETQ X (LIST X))") + "(LENGTH X)"), isValue("1"));
  }
  EXPECT_THAT(runAtOnce("(SETQ X nil)"), isValue("nil"));
}

TEST_F(Exhaustion, FailsByComparingWhatWasDoubled) {
  const std::string build =
      "(SETQ X '(1) Y '(1)) " + loop(15000, "(SETQ X (LIST X X) Y (LIST Y Y))");
  EXPECT_THAT(runAtOnce(build + "(EQUAL X Y)"), isValue("T"));
  EXPECT_THAT(runAtOnce(loop(20000, "(EQUAL X Y)") + "(EQUAL X Y)"), isValue("T"));
  EXPECT_THAT(runAtOnce(loop(15000, "(EQUAL (LIST I X) (LIST I Y))") + "(EQUAL X (LIST Y Y))"),
              isValue("nil"));
}

TEST_F(Exhaustion, FailsByComparingLongLists) {
  const std::string ones = repeated("1 ", 200'000);
  const std::string build = "(SETQ A '(" + ones + ") B '(" + ones + ") C '(" + ones + "2)) ";
  EXPECT_THAT(runAtOnce(build + "(SETQ C (CDR C)) " + loop(15000, "(EQUAL A B) (EQUAL B C)") +
                        "(LIST (EQUAL A B) (EQUAL A C))"),
              isValue("(T nil)"));
  EXPECT_THAT(runAtOnce(loop(12000, "(EQUAL (LIST I A) (LIST (- I) B))") + "1"), isValue("1"));
  EXPECT_THAT(runAtOnce(loop(12000, "(EQUAL (CONS I A) (CONS (- I) B))") + "1"), isValue("1"));
}

TEST_F(Exhaustion, FailsByIndexingAListOfManyRuns) {
  // Every element has a chunk of its own: the slot in front of its tail is always taken.
  const std::string build =
      "(SETQ S '($KVSEL 0)) " +
      loop(12000, "(CONS 0 (CDR S)) (SETQ S (CONS '$KVSEL (CONS I (CDR S))))");
  EXPECT_THAT(runAtOnce(build + "(SSLENGTH S)"), isValue("12001"));
  EXPECT_THAT(runAtOnce(loop(25000, "(SSNAME S 12000)") + "(LIST (SSNAME S 0) (SSNAME S 11999))"),
              isValue("(12000 1)"));
  EXPECT_THAT(runAtOnce("(SETQ N 0) " + loop(12000, "(SETQ N (+ N (SSNAME S (1- I))))") + "N"),
              isValue("72006000"));
}

TEST_F(Exhaustion, FailsByConsOntoALongList) {
  const std::string build = "(SETQ L '(" + repeated("1 ", 100'000) + ") K '()) ";
  EXPECT_THAT(runAtOnce(build + loop(20000, "(SETQ K (CONS (CONS I L) K))") +
                        "(LIST (LENGTH K) (LENGTH (CAR K)) (CAR (CAR K)))"),
              isValue("(20000 100001 20000)"));
}

TEST_F(Exhaustion, FailsByManyLocals) {
  EXPECT_THAT(runAtOnce("(SETQ N 0) (DEFUN F (/" + names("L", 150'000) + ") (SETQ N (1+ N) L7 N))" +
                        loop(20000, "(F)") + "N"),
              isValue("20000"));
}

TEST_F(Exhaustion, FailsByManyLocalsUnderManyCalls) {
  EXPECT_THAT(runAtOnce("(SETQ G 0) (DEFUN F (N /" + names("L", 100'000) +
                        ") (IF (< N 60) (F (1+ N)) (WHILE (< G 30000) (SETQ G (1+ G))))) (F 1)"),
              isValue("30000"));
}

// Each of the functions that are being called declares many names, none of them the one that is
// read.
TEST_F(Exhaustion, FailsByManyLocalsOfManyCalls) {
  std::string program = "(SETQ G 0) ";
  for (int i = 0; i < 120; ++i) {
    program += "(DEFUN F" + std::to_string(i) + " (/" + names("L" + std::to_string(i) + "-", 20) +
               ") (F" + std::to_string(i + 1) + ")) ";
  }
  program += "(DEFUN F120 () (WHILE (< G 40000) (SETQ G (1+ G)))) (F0)";
  EXPECT_THAT(runAtOnce(program), isValue("40000"));
}

TEST_F(Exhaustion, FailsByDefiningManyLocalsInManyFunctions) {
  for (int i = 0; i < 12; ++i) {
    const std::string number = std::to_string(i);
    EXPECT_THAT(runAtOnce("(DEFUN MAKE" + number + " () (DEFUN F (/" + names("L", 130'000) + ") " +
                          number + "))"),
                isValue("MAKE" + number));
  }
  std::string defines;
  for (int i = 0; i < 12; ++i) defines += "(MAKE" + std::to_string(i) + ") (F) ";
  EXPECT_THAT(runAtOnce(loop(2000, defines) + "(F)"), isValue("11"));
}

TEST_F(Exhaustion, FailsByDefiningManyParameters) {
  EXPECT_THAT(runAtOnce(loop(25000, "(DEFUN F (" + names("P", 150'000) + ") 1)") + "I"),
              isValue("25000"));
}

TEST_F(Exhaustion, FailsByArgumentsThatAssignTheCallersVariables) {
  EXPECT_THAT(runAtOnce("(DEFUN G (X) X) (DEFUN F (A) (G (G (G (WHILE (< A 20000) "
                        "(G (SETQ A (1+ A)))))))) (F 0)"),
              isValue("20000"));
}

// Every one of the nested calls has copied what the innermost argument assigns.
TEST_F(Exhaustion, FailsByArgumentsThatAssignManyVariables) {
  std::string assignments;
  for (int i = 0; i < 50'000; ++i) assignments += " V" + std::to_string(i) + " 1";
  EXPECT_THAT(
      runAtOnce("(DEFUN I (X) X) (DEFUN F (/" + names("V", 50'000) + ") " + repeated("(I ", 100) +
                "(SETQ" + assignments + ")" + repeated(")", 100) + ") (F) (F) (F) (F)"),
      isValue("1"));
}

TEST_F(Exhaustion, FailsByLongTokens) {
  EXPECT_EQ(runAtOnce(repeated("1", 300)).kind, OutcomeKind::Value);
  EXPECT_THAT(runAtOnce("0." + repeated("9", 1'000'000)), isValue("1"));
  EXPECT_EQ(runAtOnce(repeated("9", 1'000'000)).message,
            "unbound symbol: " + repeated("9", 1'000'000));
  const std::string name = repeated("N", 1'000'000);
  EXPECT_THAT(runAtOnce("(SETQ " + name + " 1)"), isValue("1"));
  EXPECT_THAT(runAtOnce(name), isValue("1"));
  EXPECT_THAT(runAtOnce("(CAR '(\"" + name + "\"))"), isValue("\"" + name + "\""));
}

TEST_F(Exhaustion, FailsByNewNames) {
  const std::size_t symbols = symbolCount();
  const std::size_t texts = textCount();
  for (int i = 0; i < 20; ++i) {
    const std::string unique = "NAME-" + std::to_string(i) + "-";
    EXPECT_EQ(runAtOnce("'(" + names(unique, 20'000) + ")").kind, OutcomeKind::Value);
    EXPECT_EQ(runAtOnce("(SETQ" + repeated(" " + unique + "X 1", 1000) + ") (FOO)").kind,
              OutcomeKind::EvalError);
    EXPECT_EQ(runAtOnce("(LIST \"" + unique + "\")").kind, OutcomeKind::Value);
    takeAllApart();
    ASSERT_LE(symbolCount(), symbols + 10);
    ASSERT_EQ(textCount(), texts);
  }
}

TEST_F(Exhaustion, FailsByDroppingWhatItMakes) {
  const std::size_t chunks = chunkCount();
  EXPECT_THAT(runAtOnce("(SETQ X nil) " + loop(15000, "(SETQ X (LIST I (LIST I I) (CONS I X)))") +
                        "(SETQ X nil)"),
              isValue("nil"));
  EXPECT_THAT(runAtOnce("(SETQ X '(1 2)) " + loop(15000, "(SETQ X (CONS X (CONS I X)))") + "(FOO)"),
              lisp_worker::testing_support::isEvalError("unsupported LISP function: FOO"));
  takeAllApart();
  EXPECT_EQ(chunkCount(), chunks);
}

TEST_F(Exhaustion, FailsByLoopingForEver) {
  EXPECT_THAT(runAtOnce("(WHILE T)"), isStepLimit());
  EXPECT_THAT(runAtOnce("(DEFUN F (A) (WHILE T (SETQ A (LIST A A)))) (F 1)"), isStepLimit());
}

}  // namespace
}  // namespace lisp
