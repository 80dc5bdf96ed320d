// Frames over the client library's own process.

#include "testing/workers/executable_worker.h"

#include <gtest/gtest.h>

#include <cstddef>

#include "lisp_worker/worker/frame.h"
#include "testing/base/response_record.h"
#include "testing/base/test_environment.h"
#include "testing/wire/wire_frames.h"

namespace lisp_worker::testing_support {

using worker::kHeaderSize;

ExecutableWorker::ExecutableWorker() {
  std::string error;
  process_ = client::startWorker(workerExecutable(), &error);
  EXPECT_NE(process_, nullptr) << error;
}

FrameResponse ExecutableWorker::handle(const Frame& frame) {
  worker::MessageHeader header = requestHeader(frame.type);
  header.context_id = frame.context_id;
  header.run_id = frame.run_id;
  FrameResponse lost{static_cast<worker::WorkerStatus>(0xFFFFFFFF), "no response"};
  if (process_ == nullptr || !process_->write(frameBytes(header, frame.payload))) return lost;
  const std::string response = readResponse(*process_);
  if (response.size() < kHeaderSize) return lost;
  return {static_cast<worker::WorkerStatus>(
              worker::getU32(response.data() + worker::HeaderOffset::kStatus)),
          response.substr(kHeaderSize)};
}

std::string readResponse(client::Channel& channel) {
  std::string bytes(kHeaderSize, '\0');
  bytes.resize(channel.read(bytes.data(), kHeaderSize));
  if (bytes.size() == kHeaderSize) {
    const std::size_t payload_size =
        worker::getU32(bytes.data() + worker::HeaderOffset::kPayloadLength);
    if (payload_size <= worker::kPayloadSizeMax) {
      bytes.resize(kHeaderSize + payload_size);
      bytes.resize(kHeaderSize + channel.read(bytes.data() + kHeaderSize, payload_size));
    }
  }
  recordResponse(bytes);
  return bytes;
}

std::string workerExecutable() { return environment("LISP_WORKER_PATH"); }

}  // namespace lisp_worker::testing_support
