// A whole program, run from its first form to its outcome.

#ifndef HOST_RUN_H_
#define HOST_RUN_H_

#include <optional>
#include <string>
#include <string_view>

#include "lisp/interpreter.h"
#include "lisp/outcome.h"
#include "lisp/value.h"

namespace host {

// A program that waits for its host is run many times and read once.
struct StoredProgram {
  std::string_view text;                 // Borrowed until the first run has read it; then empty.
  std::optional<lisp::LispValue> forms;  // A list of all forms, once they have been read.
};

// The outcome of a failure of `kind` (not Value) with the message, at the interpreter's step count.
[[nodiscard]] lisp::EvalOutcome make_error_outcome(const lisp::Interpreter& interpreter,
                                                   lisp::OutcomeKind kind, std::string message);

// Runs `program` under `limits`. Reads every form before it evaluates any; then evaluates them in
// order and stops at the first that fails; at the end every recorded answer must have been used.
// The value is the last form's, or nil when there are none.
[[nodiscard]] lisp::EvalOutcome run_program(lisp::Interpreter& interpreter, StoredProgram& program,
                                            const lisp::EvalLimits& limits);

}  // namespace host

#endif  // HOST_RUN_H_
