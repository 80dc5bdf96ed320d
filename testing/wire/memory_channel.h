// A channel to a worker that is not there: what the client sends is kept, what it is to receive
// was written down before.

#ifndef TESTING_WIRE_MEMORY_CHANNEL_H_
#define TESTING_WIRE_MEMORY_CHANNEL_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lisp_worker/client/channel.h"
#include "lisp_worker/worker/frame.h"

namespace lisp_worker::testing_support {

class MemoryChannel final : public client::Channel {
 public:
  // Appends to what the client will read.
  void respond(std::string_view bytes) { incoming_ += bytes; }

  // Appends the response to the request with the number `request_id` (a client counts from 1).
  void respond(std::uint64_t request_id, worker::MessageType type, worker::WorkerStatus status,
               std::string_view payload = {}, std::uint64_t context_id = 0) {
    worker::MessageHeader header;
    header.magic = worker::kMagic;
    header.version = worker::kProtocolVersion;
    header.type = static_cast<std::uint16_t>(type);
    header.payload_length = static_cast<std::uint32_t>(payload.size());
    header.status = static_cast<std::uint32_t>(status);
    header.request_id = request_id;
    header.context_id = context_id;
    std::string bytes(worker::kHeaderSize, '\0');
    worker::encodeHeader(header, std::span(bytes).first<worker::kHeaderSize>());
    respond(bytes);
    respond(payload);
  }

  void refuseWrites() { takes_writes_ = false; }

  bool write(std::string_view bytes) override {
    if (!takes_writes_) return false;
    writes_.emplace_back(bytes);
    return true;
  }

  std::size_t read(char* buffer, std::size_t size) override {
    const std::size_t count = std::min(size, incoming_.size() - read_);
    std::copy_n(incoming_.data() + read_, count, buffer);
    read_ += count;
    return count;
  }

  // One element for each write.
  [[nodiscard]] const std::vector<std::string>& writes() const { return writes_; }
  [[nodiscard]] std::size_t unreadSize() const { return incoming_.size() - read_; }

 private:
  std::string incoming_;
  std::size_t read_ = 0;
  std::vector<std::string> writes_;
  bool takes_writes_ = true;
};

// The payload of an evaluation's response.
struct EvalPayload {
  std::uint8_t eval_status = 0;
  std::uint16_t arg_count = 0;
  std::uint64_t steps = 0;
  std::string call_name = {};  // At most worker::kCallNameSize bytes.
  std::uint64_t run_id = 0;
  std::string text = {};

  [[nodiscard]] std::string bytes() const {
    std::string payload(worker::kEvalResultHeaderSize, '\0');
    char* const header = payload.data();
    worker::putU8(header + worker::EvalResultOffset::kEvalStatus, eval_status);
    worker::putU16(header + worker::EvalResultOffset::kArgCount, arg_count);
    worker::putU32(header + worker::EvalResultOffset::kTextLength,
                   static_cast<std::uint32_t>(text.size()));
    worker::putU64(header + worker::EvalResultOffset::kSteps, steps);
    std::copy(call_name.begin(), call_name.end(), header + worker::EvalResultOffset::kCallName);
    worker::putU64(header + worker::EvalResultOffset::kRunId, run_id);
    return payload + text;
  }
};

}  // namespace lisp_worker::testing_support

#endif  // TESTING_WIRE_MEMORY_CHANNEL_H_
