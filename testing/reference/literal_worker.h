// The evaluation half of a worker, built from the literal implementation: contexts, persistent
// state, pending runs.

#ifndef TESTING_REFERENCE_LITERAL_WORKER_H_
#define TESTING_REFERENCE_LITERAL_WORKER_H_

#include <cstdint>
#include <map>
#include <string>

#include "testing/reference/literal_context.h"
#include "testing/reference/literal_interpreter.h"
#include "testing/reference/literal_outcome.h"
#include "testing/wire/frame_port.h"

namespace lisp_worker::testing_support {

class LiteralWorker : public FramePort {
 public:
  explicit LiteralWorker(const LiteralLimits& limits = LiteralLimits{}) : limits_(limits) {}

  FrameResponse handle(const Frame& frame) override;

  // True when a run has outgrown the copying budget. Answers from that frame on mean nothing.
  [[nodiscard]] bool abandoned() const { return abandoned_; }

 private:
  struct PendingRun {
    std::uint64_t context_id = 0;
    std::string program;
    LiteralState snapshot;
    LiteralTranscript transcript;
    LiteralHostCall pending_call;
  };

  FrameResponse start(const Frame& frame);
  FrameResponse resume(const Frame& frame);
  FrameResponse cancel(const Frame& frame);
  std::uint64_t allocateRunId();

  LiteralLimits limits_;
  LiteralContextTable contexts_;
  LiteralState persistent_;
  std::map<std::uint64_t, PendingRun> pending_runs_;
  std::uint64_t run_id_counter_ = 1;
  bool abandoned_ = false;
};

}  // namespace lisp_worker::testing_support

#endif  // TESTING_REFERENCE_LITERAL_WORKER_H_
