#include "host/run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "lisp/builtin.h"
#include "lisp/list.h"
#include "testing/base/outcome_matchers.h"
#include "testing/workers/evaluator.h"

namespace host {
namespace {

using lisp::EvalOutcome;
using lisp::Interpreter;
using lisp::OutcomeKind;
using lisp_worker::testing_support::evaluate;
using lisp_worker::testing_support::Evaluator;
using lisp_worker::testing_support::isEvalError;
using lisp_worker::testing_support::isReadError;
using lisp_worker::testing_support::isStepLimit;
using lisp_worker::testing_support::isValue;
using lisp_worker::testing_support::Replay;
using lisp_worker::testing_support::requiresHostCall;
using lisp_worker::testing_support::took;
using testing::AllOf;

const std::string kUnusedAnswers = "LISP host replay transcript has unused answers";

TEST(MakeErrorOutcome, HoldsKindMessageAndStepsAndNothingElse) {
  const lisp::Environment environment;
  Interpreter interpreter(environment, nullptr, nullptr);
  interpreter.start({});
  const lisp::LispValue form = lisp::number(1);
  EXPECT_FALSE(interpreter.evaluate(form, 0).failed());
  EXPECT_THAT(make_error_outcome(interpreter, OutcomeKind::ReadError, "a message"),
              AllOf(isReadError("a message"), took(1)));
  EXPECT_THAT(make_error_outcome(interpreter, OutcomeKind::EvalError, ""),
              AllOf(isEvalError(""), took(1)));
}

TEST(ProgramRun, WithoutFormsIsNil) {
  for (const char* const program :
       {"", " ", "\x1A", "; comment", "\n\t\v\f\r ;a\n ;b \x1A (\n\x1A\x1A;c"}) {
    EXPECT_THAT(evaluate(program), AllOf(isValue("nil"), took(0))) << program;
  }
}

TEST(ProgramRun, YieldsTheLastForm) {
  EXPECT_THAT(evaluate("1 2 3"), AllOf(isValue("3"), took(3)));
  EXPECT_THAT(evaluate("(SETQ A 1)(SETQ B (1+ A))\x1A (LIST A B) ; end"), isValue("(1 2)"));
  EXPECT_THAT(evaluate("'(1 2)"), isValue("(1 2)"));
  EXPECT_THAT(evaluate("1 nil"), isValue("nil"));
}

TEST(ProgramRun, ReadsEveryFormBeforeItEvaluatesAny) {
  for (const auto& [program, message] :
       {std::pair{"(GETPOINT) (", "unterminated list"}, std::pair{"(FOO) )", "unexpected ')'"},
        std::pair{"(WHILE T) \"", "unterminated string"},
        std::pair{"X '", "unexpected end of input"}}) {
    EXPECT_THAT(evaluate(program), AllOf(isReadError(message), took(0))) << program;
  }
  EXPECT_THAT(evaluate("(SETQ A 1) " + std::string(514, '(')),
              isReadError("parser nesting limit exceeded"));
}

TEST(ProgramRun, StopsAtTheFirstFormThatFails) {
  EXPECT_THAT(evaluate("1 (/ 1 0) (FOO)"), AllOf(isEvalError("division by zero"), took(4)));
  EXPECT_THAT(evaluate("1 (GETPOINT) (FOO)"), AllOf(requiresHostCall("GETPOINT", "()"), took(2)));
  EXPECT_THAT(evaluate("1 2 3", {2, 128}), AllOf(isStepLimit(), took(3)));
}

TEST(ProgramRun, EvaluatesTopLevelFormsAtDepthZero) {
  EXPECT_THAT(evaluate("1 (LIST 2)", {10, 1}), isValue("(2)"));
  EXPECT_THAT(evaluate("1 (LIST (LIST 2))", {10, 1}),
              isEvalError("LISP evaluation depth exceeded"));
}

TEST(ProgramRun, ResetsCountsEachTime) {
  lisp::installBuiltins(lisp::coreBuiltins());
  const lisp::Environment environment;
  StoredProgram program{"(+ 1 2)", {}};
  for (int i = 0; i < 3; ++i) {
    Interpreter interpreter(environment, nullptr, nullptr);
    EXPECT_THAT(run_program(interpreter, program, {3, 128}), AllOf(isValue("3"), took(3)));
  }
  EXPECT_TRUE(program.text.empty());
  EXPECT_EQ(lisp::asList(program.forms.value())->size(), 1u);
}

TEST(ProgramRun, ThatCannotBeReadStaysUnread) {
  const lisp::Environment environment;
  StoredProgram program{"1 (", {}};
  for (int i = 0; i < 2; ++i) {
    Interpreter interpreter(environment, nullptr, nullptr);
    EXPECT_THAT(run_program(interpreter, program, {}), isReadError("unterminated list"));
    EXPECT_EQ(program.text, "1 (");
    EXPECT_FALSE(program.forms.has_value());
  }
}

TEST(ProgramRun, MustUseEveryAnswer) {
  EXPECT_THAT(Replay("").answered("GETPOINT", "1").run(),
              AllOf(isEvalError(kUnusedAnswers), took(0)));
  EXPECT_THAT(Replay("; nothing").answered("GETPOINT", "1").run(), isEvalError(kUnusedAnswers));
  EXPECT_THAT(Replay("(+ 1 2)").answered("GETPOINT", "1").run(),
              AllOf(isEvalError(kUnusedAnswers), took(3)));
  EXPECT_THAT(Replay("(GETPOINT)").answered("GETPOINT", "1").answered("GETPOINT", "2").run(),
              isEvalError(kUnusedAnswers));
  EXPECT_THAT(Replay("(GETPOINT)").answered("GETPOINT", "1").run(), isValue("1"));
  EXPECT_THAT(Replay("").run(), isValue("nil"));
  // A failure comes before answers that are left over, and so does a program that cannot be read.
  EXPECT_THAT(Replay("(FOO)").answered("GETPOINT", "1").run(),
              isEvalError("unsupported LISP function: FOO"));
  EXPECT_THAT(Replay("(").answered("GETPOINT", "1").run(), isReadError("unterminated list"));
}

TEST(ProgramRun, MakesNoHostCallInABranchNotTaken) {
  EXPECT_THAT(evaluate("(IF nil (GETPOINT) 1)"), isValue("1"));
  EXPECT_THAT(Replay("(IF nil (GETPOINT) 1)").answered("GETPOINT", "2").run(),
              isEvalError(kUnusedAnswers));
}

}  // namespace
}  // namespace host
