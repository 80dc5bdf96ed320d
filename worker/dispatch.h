// One request after its frame has arrived, up to the response before its frame is written.

#ifndef WORKER_DISPATCH_H_
#define WORKER_DISPATCH_H_

#include <string>
#include <string_view>

#include "geometry/context_table.h"
#include "lisp_worker/worker/frame.h"
#include "worker/evaluation_requests.h"
#include "worker/work_law.h"

namespace lisp_worker::worker {

// Owns what outlives a request, for the life of the worker: the registered coordinate contexts,
// the persistent environment and the pending runs.
class Dispatcher {
 public:
  // Tests choose how much of stopped evaluations is kept.
  explicit Dispatcher(const KeepLimits& keep_limits = {})
      : evaluation_requests_(contexts_, keep_limits) {}
  Dispatcher(const Dispatcher&) = delete;
  Dispatcher& operator=(const Dispatcher&) = delete;

  // Carries out a request with a valid header and its whole payload. Returns the status of the
  // response and leaves its payload in `response`, which is empty when called. No request makes
  // this fail in another way than by its status. Ending the worker after a Shutdown is up to the
  // caller.
  [[nodiscard]] WorkerStatus handleRequest(const MessageHeader& request, std::string_view payload,
                                           std::string& response);

 private:
  [[nodiscard]] WorkerStatus dispatch(const MessageHeader& request, std::string_view payload,
                                      std::string& response);

  [[no_unique_address]] WorkLaw law_;
  geometry::ContextTable contexts_;
  EvaluationRequests evaluation_requests_;
};

}  // namespace lisp_worker::worker

#endif  // WORKER_DISPATCH_H_
