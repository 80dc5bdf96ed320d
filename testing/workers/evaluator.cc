// Programs go through run_program() as the worker's do, with an environment that is kept from one
// to the next.

#include "testing/workers/evaluator.h"

#include "geometry/builtins.h"
#include "host/builtins.h"
#include "host/run.h"
#include "lisp/builtin.h"
#include "testing/base/value_text.h"

namespace lisp_worker::testing_support {
namespace {

void installAll() {
  lisp::installBuiltins(lisp::coreBuiltins());
  lisp::installBuiltins(host::host_builtins());
  lisp::installBuiltins(geometry::geometry_builtins());
}

}  // namespace

Evaluator::Evaluator(lisp::EvalLimits limits) : limits_(limits) { installAll(); }

lisp::EvalOutcome Evaluator::run(std::string_view program) {
  host::StoredProgram source{program, {}};
  lisp::Interpreter interpreter(environment_, nullptr, nullptr);
  lisp::EvalOutcome outcome = host::run_program(interpreter, source, limits_);
  if (outcome.kind == lisp::OutcomeKind::Value) interpreter.commit(environment_);
  return outcome;
}

lisp::EvalOutcome evaluate(std::string_view program, lisp::EvalLimits limits) {
  return Evaluator(limits).run(program);
}

Replay& Replay::answered(std::string_view name, std::string_view answer) {
  return answered(name, "()", answer);
}

Replay& Replay::answered(std::string_view name, std::string_view arguments,
                         std::string_view answer) {
  const lisp::LispValue values = read(arguments);
  const lisp::LispList elements = lisp::asList(values).value();
  transcript_.push_back({std::string(name), {elements.begin(), elements.end()}, read(answer)});
  return *this;
}

lisp::EvalOutcome Replay::run(lisp::EvalLimits limits) const {
  installAll();
  host::StoredProgram source{program_, {}};
  const lisp::Environment environment;
  lisp::Interpreter interpreter(environment, nullptr, &transcript_);
  return host::run_program(interpreter, source, limits);
}

}  // namespace lisp_worker::testing_support
