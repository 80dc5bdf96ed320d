// Matchers for the outcome of a run.

#ifndef TESTING_BASE_OUTCOME_MATCHERS_H_
#define TESTING_BASE_OUTCOME_MATCHERS_H_

#include <gmock/gmock.h>

#include <string>

#include "lisp/outcome.h"
#include "testing/base/value_text.h"

namespace lisp_worker::testing_support {

// A value with the text form `text`, and nothing else in the outcome.
MATCHER_P(isValue, text, "is the value " + std::string(text)) {
  return arg.kind == lisp::OutcomeKind::Value && textOf(arg.value) == text && !arg.host_call &&
         arg.message.empty() && arg.reserved == 0;
}

// A failure without a host call.
MATCHER_P2(isFailure, kind, message, "is a failure \"" + std::string(message) + "\"") {
  return arg.kind == kind && arg.message == message && !arg.host_call &&
         arg.value.kind() == lisp::ValueKind::Nil && arg.reserved == 0;
}

inline auto isEvalError(const std::string& message) {
  return isFailure(lisp::OutcomeKind::EvalError, message);
}

inline auto isReadError(const std::string& message) {
  return isFailure(lisp::OutcomeKind::ReadError, message);
}

inline auto isStepLimit() {
  return isFailure(lisp::OutcomeKind::StepLimit, "LISP evaluation step limit exceeded");
}

// The run stopped at a call of `name` with the list of arguments `arguments`.
MATCHER_P2(requiresHostCall, name, arguments,
           "requires the host call " + std::string(name) + " " + std::string(arguments)) {
  return arg.kind == lisp::OutcomeKind::HostCallRequired && arg.host_call &&
         arg.host_call->name == name && textOf(lisp::list(arg.host_call->arguments)) == arguments &&
         arg.message == "CAD host call required: " + std::string(name) &&
         arg.value.kind() == lisp::ValueKind::Nil && arg.reserved == 0;
}

// Counted as many steps.
MATCHER_P(took, steps, "took " + testing::PrintToString(steps) + " steps") {
  return arg.steps == static_cast<std::uint64_t>(steps);
}

}  // namespace lisp_worker::testing_support

#endif  // TESTING_BASE_OUTCOME_MATCHERS_H_
