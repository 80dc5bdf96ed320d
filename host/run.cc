#include "host/run.h"

#include <optional>
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

// Reads the program if that has not been done. Returns false and sets `error` when it cannot be.
bool read_once(Program& program, std::string& error) {
  if (program.is_read) return true;
  std::optional<std::vector<LispValue>> forms = lisp::readForms(program.text, error);
  if (!forms) return false;
  program.forms = std::move(*forms);
  program.is_read = true;
  return true;
}

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

EvalOutcome run_program(Interpreter& interpreter, Program& program,
                        const lisp::EvalLimits& limits) {
  interpreter.start(limits);
  std::string error;
  if (!read_once(program, error)) {
    return make_error_outcome(interpreter, OutcomeKind::ReadError, std::move(error));
  }
  LispValue last;
  for (const LispValue& form : program.forms) {
    const Result result = interpreter.evaluate(form, 0);
    if (result.failed()) return interpreter.takeFailure();
    last = LispValue::adopt(result.raw);
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
