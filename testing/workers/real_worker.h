// The worker's own handling of requests, behind the face that tests compare.

#ifndef TESTING_WORKERS_REAL_WORKER_H_
#define TESTING_WORKERS_REAL_WORKER_H_

#include "testing/wire/frame_port.h"
#include "worker/dispatch.h"
#include "worker/kept_evaluations.h"

namespace lisp_worker::testing_support {

class RealWorker : public FramePort {
 public:
  // Keeps as much of stopped evaluations as `keep_limits` says.
  explicit RealWorker(const worker::KeepLimits& keep_limits = {}) : dispatcher_(keep_limits) {}

  FrameResponse handle(const Frame& frame) override;

 private:
  worker::Dispatcher dispatcher_;
};

}  // namespace lisp_worker::testing_support

#endif  // TESTING_WORKERS_REAL_WORKER_H_
