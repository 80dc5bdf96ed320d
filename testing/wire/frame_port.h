// One face for everything that answers evaluation frames in process, so that a test can hold the
// same conversation with the worker's own evaluation and with the literal implementation.

#ifndef TESTING_WIRE_FRAME_PORT_H_
#define TESTING_WIRE_FRAME_PORT_H_

#include <cstdint>
#include <string>

#include "lisp_worker/worker/frame.h"

namespace lisp_worker::testing_support {

// A request, as far as evaluation looks at it. Of the types, RegisterContext, EvalStart,
// EvalResume and EvalCancel are answered.
struct Frame {
  worker::MessageType type = worker::MessageType::EvalStart;
  std::uint64_t context_id = 0;
  std::uint64_t run_id = 0;
  std::string payload;
};

// The answer to a frame.
struct FrameResponse {
  worker::WorkerStatus status = worker::WorkerStatus::Ok;
  std::string payload;
};

class FramePort {
 public:
  FramePort() = default;
  FramePort(const FramePort&) = delete;
  FramePort& operator=(const FramePort&) = delete;
  virtual ~FramePort() = default;

  virtual FrameResponse handle(const Frame& frame) = 0;
};

// An evaluation result, taken apart. `decoded` is false, and nothing else is set, for a payload
// that is not such a result: too short, or of another size than its header says.
struct EvalResult {
  bool decoded = false;
  int eval_status = 0;
  int argument_count = 0;
  std::uint64_t steps = 0;
  std::string call_name;  // Up to the first zero byte of the field.
  std::uint64_t run_id = 0;
  std::string text;
};

[[nodiscard]] EvalResult decodeEvalResult(const std::string& payload);

// A response in one line for people, such as `status 0, steps 3: 3`.
[[nodiscard]] std::string describe(const FrameResponse& response);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_WIRE_FRAME_PORT_H_
