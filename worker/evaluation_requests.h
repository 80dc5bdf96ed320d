// The evaluation requests: programs, the host's answers, cancellations.

#ifndef WORKER_EVALUATION_REQUESTS_H_
#define WORKER_EVALUATION_REQUESTS_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "geometry/context_table.h"
#include "lisp/environment.h"
#include "lisp/outcome.h"
#include "lisp_worker/worker/frame.h"
#include "worker/kept_evaluations.h"
#include "worker/pending_runs.h"

namespace lisp_worker::worker {

// Owns what evaluations leave behind: the persistent environment, which changes only when a run
// ends with a value, and the pending runs.
class EvaluationRequests {
 public:
  // Programs run under the contexts of `contexts`, which must outlive this.
  explicit EvaluationRequests(const geometry::ContextTable& contexts,
                              const KeepLimits& keep_limits = {});

  // Each carries out one request, returns the status of the response and leaves its payload in
  // `response`: an evaluation result, or nothing when the request was refused.

  // Runs the program that is the payload. One that stops at a host call is kept as a pending run.
  [[nodiscard]] WorkerStatus handleEvalStart(const MessageHeader& request, std::string_view payload,
                                             std::string& response);

  // Takes the payload as the answer that the pending run `run_id` waits for, and runs its program
  // again. The run stays pending when it stops at a further host call, and is gone otherwise.
  [[nodiscard]] WorkerStatus handleEvalResume(const MessageHeader& request,
                                              std::string_view payload, std::string& response);

  // Forgets the pending run `run_id`, if there is one. Always Ok.
  [[nodiscard]] WorkerStatus handleEvalCancel(const MessageHeader& request);

  // Tests look at what is kept.
  [[nodiscard]] const KeptEvaluations& keptEvaluations() const { return kept_; }

 private:
  WorkerStatus resume(PendingRun& run, lisp::LispValue answer, std::string& response);
  void endRun(std::uint64_t run_id);

  const geometry::ContextTable& contexts_;
  lisp::Environment environment_;
  PendingRunTable pending_runs_;
  KeptEvaluations kept_;
};

}  // namespace lisp_worker::worker

#endif  // WORKER_EVALUATION_REQUESTS_H_
