// Calls that only the host can perform, and their recorded answers.

#ifndef HOST_HOST_CALL_H_
#define HOST_HOST_CALL_H_

#include "lisp/builtin.h"
#include "lisp/interpreter.h"

namespace host {

// Performs a call of a host builtin: evaluates its arguments, then yields the answer of the next
// entry of the run's transcript, which must be of the same call. Without one the run stops with
// OutcomeKind::HostCallRequired. The arguments and the answer are passed on unchecked.
[[nodiscard]] lisp::Result evaluate_host_call(lisp::Interpreter& interpreter,
                                              const lisp::BuiltinCall& call);

}  // namespace host

#endif  // HOST_HOST_CALL_H_
