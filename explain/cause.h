// Why an evaluation has failed, from the worker's message and what was known at that moment.

#ifndef EXPLAIN_CAUSE_H_
#define EXPLAIN_CAUSE_H_

#include <span>
#include <string>
#include <string_view>

#include "explain/evaluation.h"
#include "explain/form.h"
#include "lisp/interpreter.h"
#include "lisp/outcome.h"
#include "lisp/value.h"

namespace explain {

// A failed evaluation. Everything is borrowed.
struct Failure {
  lisp::OutcomeKind kind;
  std::string_view message;
  const Form& form;                            // The innermost form that has failed.
  const Source& source;                        // The text that it stands in.
  std::string_view form_text;                  // Shortened.
  bool is_unknown;                             // It is a list whose name is not a function.
  const Function* callee;                      // Of a call of a defined function; otherwise null.
  std::span<const lisp::LispValue> arguments;  // Their values, of a builtin's or host call's form.
  std::string_view recorded_call;              // The host call on record in place of this one.
  std::span<const std::string> variables;      // Names that are known; for advice.
  std::span<const std::string> functions;
  lisp::EvalLimits limits;
};

struct FailureCause {
  const Form* at = nullptr;  // What the caret should show: the form or a part of it.
  std::string expected;
  std::string advice;
  bool is_of_values = false;  // The values of the arguments matter.
};

[[nodiscard]] FailureCause causeOf(const Failure& failure);

// The advice for a text that cannot be read.
[[nodiscard]] std::string adviceForReading(std::string_view message);

}  // namespace explain

#endif  // EXPLAIN_CAUSE_H_
