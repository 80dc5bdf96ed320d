#include "lisp/observer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "lisp/interpreter.h"
#include "lisp/outcome.h"
#include "lisp/reader.h"
#include "testing/base/list_makers.h"
#include "testing/base/outcome_matchers.h"
#include "testing/base/value_text.h"
#include "testing/workers/evaluator.h"

namespace lisp {
namespace {

using lisp_worker::testing_support::isEvalError;
using lisp_worker::testing_support::isValue;
using lisp_worker::testing_support::read;
using lisp_worker::testing_support::requiresHostCall;
using lisp_worker::testing_support::textOf;
using testing::ElementsAre;
using testing::IsEmpty;

std::string textOf(const RawValue* value) {
  return value == nullptr ? "-" : textOf(LispValue::share(*value));
}

// Writes down what it is told: "+3" for entered, "-3 value" for left.
class Watcher : public Observer {
 public:
  void entered(FormNumber form) override { log.push_back("+" + std::to_string(form)); }
  void left(FormNumber form, const RawValue* value) override {
    log.push_back("-" + std::to_string(form) + " " + textOf(value));
  }
  void assigned(const Symbol& variable, const RawValue* before, const RawValue& value) override {
    log.push_back(std::string(variable.bytes()) + (variable.owner == kGlobalOwner ? " " : " own ") +
                  textOf(before) + " > " + textOf(&value));
  }
  void called(const UserFunction& function) override {
    log.push_back("call of " + std::to_string(function.params().size()));
  }
  void returned() override { log.push_back("return"); }
  void hostCalled(std::string_view name, std::span<const LispValue> arguments) override {
    log.push_back(std::string(name) + " with " + std::to_string(arguments.size()));
  }
  void hostAnswered(const HostTranscriptEntry& entry) override {
    log.push_back(entry.name + " is " + textOf(entry.answer));
  }

  std::vector<std::string> log;
};

// The observed copy of a text, run from its first form on until one fails.
EvalOutcome runObserved(Interpreter& interpreter, std::string_view text,
                        const EvalLimits& limits = {}) {
  const lisp_worker::testing_support::Evaluator installs_builtins;
  std::string error;
  const LispValue program = observedProgram(readForms(text, &error).value());
  interpreter.start(limits);
  EvalOutcome outcome;
  const LispList forms = asList(program).value();
  for (const LispValue& form : forms) {
    Result result = interpreter.evaluate(form, 0);
    if (result.failed()) return interpreter.takeFailure();
    outcome.value = LispValue::adopt(result.take());
  }
  outcome.steps = interpreter.stepsUsed();
  return outcome;
}

// Runs programs one after the other on what the former left behind.
class ObservedRun : public testing::Test {
 protected:
  EvalOutcome run(std::string_view text, const EvalLimits& limits = {}) {
    Interpreter interpreter(environment, nullptr, &transcript);
    interpreter.observe(&watcher);
    watcher.log.clear();
    EvalOutcome outcome = runObserved(interpreter, text, limits);
    if (outcome.kind == OutcomeKind::Value) interpreter.commit(environment);
    return outcome;
  }

  // Everything that is told of `text`, joined by commas.
  std::string told(std::string_view text) {
    static_cast<void>(run(text));
    std::string joined;
    for (const std::string& line : watcher.log) joined += (joined.empty() ? "" : ", ") + line;
    return joined;
  }

  HostTranscript transcript;
  Environment environment;
  Watcher watcher;
};

TEST_F(ObservedRun, TellsOfTheExampleInTheHeader) {
  EXPECT_EQ(told("(SETQ A (+ 1 2))"), "+0, +3, +5, -5 1, +6, -6 2, -3 3, A - > 3, -0 3");
}

TEST_F(ObservedRun, TellsOfAtomsAndTheEmptyList) {
  EXPECT_EQ(told("5 \"x\" T () NIL"), "+0, -0 5, +1, -1 \"x\", +2, -2 T, +3, -3 nil, +4, -4 nil");
  EXPECT_EQ(told(""), "");
}

TEST_F(ObservedRun, DoesNotEnterWhatIsQuotedOrNames) {
  EXPECT_EQ(told("'(1 (2 3)) 4"), "+0, -0 (1 (2 3)), +7, -7 4");
  EXPECT_EQ(told("(SETQ B 1) B"), "+0, +3, -3 1, B - > 1, -0 1, +4, -4 1");
  EXPECT_EQ(told("(DEFUN F (X / Y) X) 7"), "+0, -0 F, +8, -8 7");
}

TEST_F(ObservedRun, TellsOfEveryRoundOfALoop) {
  EXPECT_EQ(told("(SETQ N 0) (WHILE (< N 2) (SETQ N (1+ N)))"),
            "+0, +3, -3 0, N - > 0, -0 0, +4, "
            "+6, +8, -8 0, +9, -9 2, -6 T, +10, +13, +15, -15 0, -13 1, N 0 > 1, -10 1, "
            "+6, +8, -8 1, +9, -9 2, -6 T, +10, +13, +15, -15 1, -13 2, N 1 > 2, -10 2, "
            "+6, +8, -8 2, +9, -9 2, -6 nil, -4 2");
}

TEST_F(ObservedRun, TellsOfCallsAndReturns) {
  // Arguments before the call, the body between call and return. The numbers of the body are those
  // of the program that has the definition.
  EXPECT_EQ(told("(DEFUN F (X) (SETQ X (CAR X)) X)"), "+0, -0 F");
  EXPECT_EQ(told("(LIST (F '(8)))"),
            "+0, +2, +4, -4 (8), call of 1, "
            "+5, +8, +10, -10 (8), -8 8, X own (8) > 8, -5 8, +11, -11 8, return, -2 8, -0 (8)");
}

TEST_F(ObservedRun, TellsWhatAnAssignmentReplaces) {
  EXPECT_EQ(told("(SETQ A 1 B '(2) A 3)"),
            "+0, +3, -3 1, A - > 1, +5, -5 (2), B - > (2), +10, -10 3, A 1 > 3, -0 3");
  EXPECT_EQ(told("(SETQ B A)"), "+0, +3, -3 3, B (2) > 3, -0 3");
  EXPECT_EQ(told("(SETQ T 5)"), "+0, +3, -3 5, -0 5");  // T keeps its value.
}

TEST_F(ObservedRun, LeavesTheFormsThatFailInTheirOrder) {
  EXPECT_EQ(told("(+ 1 (CAR X)) 5"), "+0, +2, -2 1, +3, +5, -5 -, -3 -, -0 -");
  EXPECT_EQ(told("((LIST) 1)"), "+0, -0 -");
  EXPECT_EQ(told("(DEFUN F (X) (/ 1 X)) (F 0)"),
            "+0, -0 F, +9, +11, -11 0, call of 1, +5, +7, -7 1, +8, -8 0, -5 -, -9 -");
  EXPECT_EQ(told("(SETQ A 1 5 2)"), "+0, +3, -3 1, A - > 1, -0 -");
}

TEST_F(ObservedRun, TellsOfHostCallsAndTheirAnswers) {
  transcript.push_back({"GETDIST", {number(1)}, read("(7)")});
  EXPECT_EQ(told("(LIST (GETDIST 1) (GETPOINT))"),
            "+0, +2, +4, -4 1, GETDIST with 1, GETDIST is (7), -2 (7), "
            "+5, GETPOINT with 0, -5 -, -0 -");
}

// Completes what is on record with the arguments that the call has.
class Completer : public Observer {
 public:
  explicit Completer(HostTranscript& transcript) : transcript_(transcript) {}

  void hostCalled(std::string_view /*name*/, std::span<const LispValue> arguments) override {
    transcript_.front().arguments.assign(arguments.begin(), arguments.end());
  }

 private:
  HostTranscript& transcript_;
};

TEST_F(ObservedRun, LetsTheObserverCompleteTheTranscript) {
  transcript.push_back({"GETDIST", {}, read("7")});
  EXPECT_THAT(run("(GETDIST 1 2)"), isEvalError("LISP host replay divergence at call 1: GETDIST"));
  Completer completer(transcript);
  Interpreter interpreter(environment, nullptr, &transcript);
  interpreter.observe(&completer);
  EXPECT_THAT(runObserved(interpreter, "(GETDIST 1 2)"), isValue("7"));
}

TEST_F(ObservedRun, NeedsAnObserverThatOverridesNothing) {
  transcript.push_back({"GETDIST", {}, read("7")});
  Observer observer;
  Interpreter interpreter(environment, nullptr, &transcript);
  interpreter.observe(&observer);
  EXPECT_THAT(runObserved(interpreter, "(DEFUN F (X) (SETQ X (GETDIST))) (F 1)"), isValue("7"));
}

// Programs that touch each special form, each kind of operation and each way to fail.
constexpr std::string_view kPrograms[] = {
    "(IF (< 1 2) 'A 'B)",
    "(IF NIL 1)",
    "(AND 1 (OR NIL 2) (NOT NIL))",
    "(NULL (QUOTE X))",
    "(PROGN) (PROGN 1 (PROGN 2 ()))",
    "(SETQ N 0) (WHILE (AND (< N 300) T) (SETQ N (+ N (1- 2))))",
    "(SETQ P '(1 2 3) N 0) (WHILE (< N 9) (SETQ N (1+ N) A (CAR (CDR (CDR P))) P (CONS A P)))",
    "(DEFUN F (N) (IF (< N 2) 1 (* N (F (- N 1))))) (F 20)",
    "(DEFUN F (X) (G X)) (DEFUN G (Y) (SETQ X (+ X Y))) (SETQ X 5) (LIST (F 1) (F 2) X)",
    "(DEFUN F (X / L) (SETQ L X) (DEFUN F (X) 'NEW) (LIST L (F L))) (LIST (F 1) (F 1))",
    "(DEFUN + (A B) (LIST A B)) (+ 1 (+ 2 3))",
    "(DEFUN IF (X) X) (IF T 'SPECIAL)",
    "(DEFUN F (A) A) (SETQ A 1) (F (SETQ A 2))",
    "(LIST (EQ 'A 'A) (EQUAL '(1 (2)) (LIST 1 (LIST 2))) (/= 1 2) (>= 1 2) (PRINC 1 2))",
    "(- 5) (/ 8 2 2) (+) (* 1 2 3) (LENGTH '(1 2)) (CDR '(1)) (CAR NIL)",
    "(SSNAME '($KVSEL \"E1\") 0)",
    "(POLAR '(1 2) 0 5)",
    "(F)",
    "(DEFUN F (X) X) (F)",
    "(SETQ)",
    "(QUOTE)",
    "(IF)",
    "(WHILE)",
    "(NOT)",
    "(DEFUN F)",
    "(DEFUN F (1) 1)",
    "(1 2)",
    "UNBOUND",
    "(+ 1 'A)",
    "(/ 1 0)",
    "(GETPOINT (+ 1 2) \"x\")",
    "(DEFUN F (N) (F (1+ N))) (F 0)",
    "(WHILE T)",
};

TEST_F(ObservedRun, ComesToWhatTheProgramComesTo) {
  for (const std::string_view program : kPrograms) {
    environment = {};
    lisp_worker::testing_support::Evaluator plain;
    const EvalOutcome expected = plain.run(program);
    const EvalOutcome outcome = run(program);
    EXPECT_EQ(outcome.kind, expected.kind) << program;
    EXPECT_EQ(outcome.message, expected.message) << program;
    EXPECT_EQ(outcome.steps, expected.steps) << program;
    EXPECT_EQ(textOf(outcome.value), textOf(expected.value)) << program;
  }
}

TEST_F(ObservedRun, HasTheSameLimits) {
  const std::string_view text = "(DEFUN F (X) (SETQ X (CAR X))) (IF (F '(1)) (LIST 1 (+ 2 ())))";
  for (std::uint64_t steps = 0; steps < 14; ++steps) {
    for (std::uint32_t depth = 0; depth < 4; ++depth) {
      const EvalLimits limits{steps, depth};
      const EvalOutcome expected = lisp_worker::testing_support::evaluate(text, limits);
      environment = {};
      const EvalOutcome outcome = run(text, limits);
      EXPECT_EQ(outcome.message, expected.message) << steps << " steps, depth " << depth;
      EXPECT_EQ(outcome.steps, expected.steps) << steps << " steps, depth " << depth;
    }
  }
}

// As many forms are entered as steps are counted, whatever the program.
TEST_F(ObservedRun, EntersAFormForEachStep) {
  for (const std::string_view program : kPrograms) {
    environment = {};
    const EvalOutcome outcome = run(program);
    std::uint64_t entered = 0;
    std::uint64_t left = 0;
    for (const std::string& line : watcher.log) {
      entered += line[0] == '+' && line.size() > 1 && line[1] <= '9' ? 1 : 0;
      left += line[0] == '-' && line.size() > 1 && line[1] <= '9' ? 1 : 0;
    }
    EXPECT_EQ(entered, outcome.steps) << program;
    EXPECT_EQ(left, outcome.steps) << program;
  }
}

TEST_F(ObservedRun, CopiesProgramsAsDeepAsTheReaderNestsThem) {
  const std::string deep = std::string(513, '(') + std::string(513, ')');
  EXPECT_THAT(run("'" + deep.substr(1, 1024)), isValue(deep.substr(1, 1024)));
  EXPECT_THAT(run(deep), isEvalError("first list item must be a function symbol"));
  std::string nested = "1";
  for (int n = 0; n < 512; ++n) nested = "(1+ " + nested + ")";
  EXPECT_THAT(run(nested), isEvalError("LISP evaluation depth exceeded"));
}

}  // namespace
}  // namespace lisp
