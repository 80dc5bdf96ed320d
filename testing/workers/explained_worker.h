// The worker's own handling of requests, with the console's explainer beside it: for tests that
// hold conversations which are written down, and want every error in them explained.

#ifndef TESTING_WORKERS_EXPLAINED_WORKER_H_
#define TESTING_WORKERS_EXPLAINED_WORKER_H_

#include <string>
#include <vector>

#include "console/explainer.h"
#include "lisp_worker/client/coordinates.h"
#include "testing/wire/frame_port.h"
#include "testing/workers/real_worker.h"

namespace lisp_worker::testing_support {

// Follows programs that run one at a time, under one context, as the console's do; nothing more
// from the first on that starts while another one waits.
class ExplainedWorker : public FramePort {
 public:
  FrameResponse handle(const Frame& frame) override;

  // For each program that has failed an explanation, or why there is none.
  [[nodiscard]] const std::vector<std::string>& explanations() const { return explanations_; }

 private:
  void follow(const Frame& frame);
  void finish(const FrameResponse& response);

  RealWorker worker_;
  console::Explainer explainer_;
  client::CoordContext context_;
  std::string call_name_;  // Of the call that waits; empty when none does.
  bool follows_ = true;
  std::vector<std::string> explanations_;
};

// The first part that an explanation lacks: a place, the line with a caret, what was expected, what
// to try. Empty when it has everything.
[[nodiscard]] std::string missingIn(const std::string& explanation);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_WORKERS_EXPLAINED_WORKER_H_
