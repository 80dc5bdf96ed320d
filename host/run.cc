// All forms are read before the first is evaluated, so a program with a fault at its end has no
// effect. A replay reads nothing: the forms are kept in the StoredProgram.

#include "host/run.h"

#include <utility>

#include "lisp/builtin.h"
#include "lisp/reader.h"

namespace host {
namespace {

using lisp::EvalOutcome;
using lisp::Interpreter;
using lisp::LispValue;
using lisp::OutcomeKind;
using lisp::Result;

bool has_unused_answers(const Interpreter& interpreter) {
  const lisp::HostTranscript* const transcript = interpreter.transcript();
  return transcript != nullptr && interpreter.replayCursor() != transcript->size();
}

}  // namespace

EvalOutcome make_error_outcome(const Interpreter& interpreter, OutcomeKind kind,
                               std::string message) {
  EvalOutcome outcome;
  outcome.kind = kind;
  outcome.message = std::move(message);
  outcome.steps = interpreter.stepsUsed();
  return outcome;
}

EvalOutcome run_program(Interpreter& interpreter, StoredProgram& program,
                        const lisp::EvalLimits& limits) {
  interpreter.start(limits);
  if (!program.forms) {
    std::string error;
    program.forms = lisp::readForms(program.text, &error);
    if (!program.forms) {
      return make_error_outcome(interpreter, OutcomeKind::ReadError, std::move(error));
    }
    program.text = {};
  }
  LispValue last;
  const lisp::LispList forms = *lisp::asList(*program.forms);
  for (const LispValue& form : forms) {
    Result result = interpreter.evaluate(form, 0);
    if (result.failed()) return interpreter.takeFailure();
    last = LispValue::adopt(result.take());
  }
  if (has_unused_answers(interpreter)) {
    return make_error_outcome(interpreter, OutcomeKind::EvalError,
                              "LISP host replay transcript has unused answers");
  }
  EvalOutcome outcome;
  outcome.value = std::move(last);
  outcome.steps = interpreter.stepsUsed();
  return outcome;
}

}  // namespace host
