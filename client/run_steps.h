// The steps of a program that is carried through its host calls, for the client that waits for the
// worker and for the one that does not.

#ifndef CLIENT_RUN_STEPS_H_
#define CLIENT_RUN_STEPS_H_

#include "lisp_worker/client/eval_result.h"
#include "lisp_worker/client/run.h"
#include "lisp_worker/client/worker_client.h"

namespace lisp_worker::client {

// The call that `result` waits for, its text at least.
[[nodiscard]] HostCall describeCall(const EvalResult& result);

// Adds what one more evaluation has taken to the report.
void noteEvaluation(const Reply<EvalResult>& reply, RunReport& report);

// The report of a run that a response without a host call has ended.
void conclude(const Reply<EvalResult>& reply, RunReport& report);

}  // namespace lisp_worker::client

#endif  // CLIENT_RUN_STEPS_H_
