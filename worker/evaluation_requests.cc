// The steps of an EvalStart and an EvalResume, numbered where a host can observe their order.
// Nothing persistent changes before the outcome is known: the environment is replaced by a value
// alone, and a pending run is stored only for a host call.

#include "worker/evaluation_requests.h"

#include <optional>
#include <utility>

#include "geometry/builtins.h"
#include "host/builtins.h"
#include "host/run.h"
#include "lisp/builtin.h"
#include "lisp/interpreter.h"
#include "lisp/reader.h"
#include "worker/encoding.h"

namespace lisp_worker::worker {
namespace {

using geometry::CoordContext;
using lisp::EvalOutcome;
using lisp::Interpreter;
using lisp::LispValue;
using lisp::OutcomeKind;

bool isHostCall(const EvalOutcome& outcome) { return outcome.host_call.has_value(); }

}  // namespace

EvaluationRequests::EvaluationRequests(const geometry::ContextTable& contexts,
                                       const KeepLimits& keep_limits)
    : contexts_(contexts), kept_(keep_limits) {
  lisp::installBuiltins(lisp::coreBuiltins());
  lisp::installBuiltins(host::host_builtins());
  lisp::installBuiltins(geometry::geometry_builtins());
}

WorkerStatus EvaluationRequests::handleEvalStart(const MessageHeader& request,
                                                 std::string_view payload, std::string& response) {
  // 1. The context.
  const CoordContext* context = nullptr;
  if (request.context_id != 0) {
    context = contexts_.find_context(request.context_id);
    if (context == nullptr) return WorkerStatus::ContextNotFound;
  }
  // 2. and 3. The run, on the persistent environment.
  host::StoredProgram program{payload, {}};
  EvalOutcome outcome;
  {
    Interpreter interpreter(environment_, context, nullptr);
    outcome = host::run_program(interpreter, program, lisp::EvalLimits());
    if (outcome.kind == OutcomeKind::Value) interpreter.commit(environment_);
  }
  // 4. The pending run. Encoding comes last: if it refuses the text, the run is stored all the
  // same.
  std::uint64_t run_id = 0;
  if (isHostCall(outcome)) {
    run_id = pending_runs_.allocateRunId();
    pending_runs_.storeRun({run_id,
                            request.context_id,
                            std::move(program),
                            environment_,
                            {},
                            *outcome.host_call,
                            outcome.steps});
  }
  return encodeEvalResponse(outcome, run_id, response);
}

WorkerStatus EvaluationRequests::handleEvalResume(const MessageHeader& request,
                                                  std::string_view payload, std::string& response) {
  // 1. The run.
  PendingRun* const run = pending_runs_.findRun(request.run_id);
  if (run == nullptr) return WorkerStatus::InvalidRequest;
  // 2. Its context.
  if (run->context_id != 0 && contexts_.find_context(run->context_id) == nullptr) {
    endRun(run->run_id);
    return WorkerStatus::ContextNotFound;
  }
  // 3. The answer.
  std::string error;
  std::optional<LispValue> answer = lisp::parseProgram(payload, &error);
  if (!answer) {
    endRun(run->run_id);
    EvalOutcome outcome;
    outcome.kind = OutcomeKind::ReadError;
    outcome.message = "host response parse error: " + error;
    return encodeEvalResponse(outcome, 0, response);
  }
  // 4. to 6. The evaluation.
  return resume(*run, std::move(*answer), response);
}

WorkerStatus EvaluationRequests::resume(PendingRun& run, LispValue answer, std::string& response) {
  // 4. The answered call joins the transcript.
  run.transcript.push_back(
      {std::move(run.pending_call.name), std::move(run.pending_call.arguments), std::move(answer)});
  // 5. The program runs again on its snapshot, or as if it did. The last run to finish wins: what
  //    others committed meanwhile is not in the snapshot.
  const CoordContext* const context =
      run.context_id == 0 ? nullptr : contexts_.find_context(run.context_id);
  const EvalOutcome outcome = kept_.evaluate(run, context, environment_);
  // 6. The run goes on waiting or is gone.
  std::uint64_t run_id = 0;
  if (isHostCall(outcome)) {
    run.pending_call = *outcome.host_call;
    run.steps = outcome.steps;
    run_id = run.run_id;
  } else {
    endRun(run.run_id);
  }
  return encodeEvalResponse(outcome, run_id, response);
}

WorkerStatus EvaluationRequests::handleEvalCancel(const MessageHeader& request) {
  endRun(request.run_id);  // Nothing is ever stored under 0.
  return WorkerStatus::Ok;
}

void EvaluationRequests::endRun(std::uint64_t run_id) {
  kept_.drop(run_id);
  pending_runs_.eraseRun(run_id);
}

}  // namespace lisp_worker::worker
