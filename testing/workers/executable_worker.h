// The worker's executable, behind the face that tests compare: one process, from the construction
// to the destruction of the object.

#ifndef TESTING_WORKERS_EXECUTABLE_WORKER_H_
#define TESTING_WORKERS_EXECUTABLE_WORKER_H_

#include <memory>
#include <string>

#include "lisp_worker/client/channel.h"
#include "lisp_worker/client/process.h"
#include "testing/wire/frame_port.h"

namespace lisp_worker::testing_support {

class ExecutableWorker : public FramePort {
 public:
  // A worker that does not start fails the running test.
  ExecutableWorker();

  // A worker that goes away answers with a response of no known status.
  FrameResponse handle(const Frame& frame) override;

 private:
  std::unique_ptr<client::WorkerProcess> process_;
};

// The next response as its header announces it, or as much of it as came. It is recorded
// (testing/base/response_record.h).
[[nodiscard]] std::string readResponse(client::Channel& channel);

// The path of the executable, from the environment variable LISP_WORKER_PATH. Empty, and a failure
// of the running test, when that is not set.
[[nodiscard]] std::string workerExecutable();

}  // namespace lisp_worker::testing_support

#endif  // TESTING_WORKERS_EXECUTABLE_WORKER_H_
