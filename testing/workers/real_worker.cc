// A Dispatcher and nothing around it.

#include "testing/workers/real_worker.h"

#include <cstdint>
#include <string>

#include "lisp_worker/worker/frame.h"
#include "testing/base/response_record.h"

namespace lisp_worker::testing_support {

FrameResponse RealWorker::handle(const Frame& frame) {
  worker::MessageHeader header;
  header.magic = worker::kMagic;
  header.version = worker::kProtocolVersion;
  header.type = static_cast<std::uint16_t>(frame.type);
  header.payload_length = static_cast<std::uint32_t>(frame.payload.size());
  header.context_id = frame.context_id;
  header.run_id = frame.run_id;
  FrameResponse response;
  response.status = dispatcher_.handleRequest(header, frame.payload, response.payload);
  recordResponse(std::to_string(static_cast<std::uint32_t>(response.status)));
  recordResponse(response.payload);
  return response;
}

}  // namespace lisp_worker::testing_support
