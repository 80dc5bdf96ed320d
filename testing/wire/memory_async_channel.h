// A channel to a worker that is not there, for clients that do not wait: a test says what comes,
// how much goes at once, and when the output ends.

#ifndef TESTING_WIRE_MEMORY_ASYNC_CHANNEL_H_
#define TESTING_WIRE_MEMORY_ASYNC_CHANNEL_H_

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lisp_worker/client/async_channel.h"
#include "lisp_worker/worker/frame.h"

namespace lisp_worker::testing_support {

// Shared by a test and the channel; it outlives the channel.
struct MemoryPipes {
  std::string incoming;              // For the client, which takes from its beginning.
  std::string written;               // By the client.
  std::size_t piece_max = 1 << 20;   // How many bytes go at once, in either direction.
  std::size_t write_room = 1 << 30;  // How many bytes the client may still write.
  bool has_ended = false;            // After `incoming`.
  bool takes_writes = true;
  int wake_count = 0;
  int kill_count = 0;
  bool wants_to_write = false;  // As the client has said last.
  client::Deadline deadline;    // As the client has said last.
  std::optional<std::chrono::milliseconds>
      grace;  // That the client has given; empty while it lives.

  // The response to the request that was written last.
  void respond(worker::WorkerStatus status, std::string_view payload = {}) {
    worker::MessageHeader header = lastRequest();
    header.payload_length = static_cast<std::uint32_t>(payload.size());
    header.status = static_cast<std::uint32_t>(status);
    header.run_id = 0;
    std::string bytes(worker::kHeaderSize, '\0');
    worker::encodeHeader(header, std::span(bytes).first<worker::kHeaderSize>());
    incoming += bytes;
    incoming += payload;
  }

  // The whole requests that have been written, header and payload.
  [[nodiscard]] std::vector<std::pair<worker::MessageHeader, std::string>> requests() const {
    std::vector<std::pair<worker::MessageHeader, std::string>> found;
    std::string_view rest = written;
    while (rest.size() >= worker::kHeaderSize) {
      const worker::MessageHeader header =
          worker::decodeHeader(std::span(rest).first<worker::kHeaderSize>());
      if (rest.size() < worker::kHeaderSize + header.payload_length) break;
      found.emplace_back(header, rest.substr(worker::kHeaderSize, header.payload_length));
      rest.remove_prefix(worker::kHeaderSize + header.payload_length);
    }
    return found;
  }

  [[nodiscard]] worker::MessageHeader lastRequest() const {
    const auto all = requests();
    return all.empty() ? worker::MessageHeader{} : all.back().first;
  }
};

class MemoryAsyncChannel final : public client::AsyncChannel {
 public:
  explicit MemoryAsyncChannel(MemoryPipes& pipes) : pipes_(pipes) {}

  std::optional<std::size_t> writeSome(std::string_view bytes) override {
    if (!pipes_.takes_writes) return std::nullopt;
    const std::size_t count = std::min({bytes.size(), pipes_.piece_max, pipes_.write_room});
    pipes_.written += bytes.substr(0, count);
    pipes_.write_room -= count;
    return count;
  }

  std::optional<std::size_t> readSome(char* buffer, std::size_t size) override {
    if (pipes_.incoming.empty() && pipes_.has_ended) return std::nullopt;
    const std::size_t count = std::min({size, pipes_.piece_max, pipes_.incoming.size()});
    std::copy_n(pipes_.incoming.data(), count, buffer);
    pipes_.incoming.erase(0, count);
    return count;
  }

  [[nodiscard]] client::WaitHandle handle() const override { return 7; }
  void acknowledge() override {}
  void prepare(bool wants_to_write, client::Deadline deadline) override {
    pipes_.wants_to_write = wants_to_write;
    pipes_.deadline = deadline;
  }
  void wake() override { ++pipes_.wake_count; }
  void kill() override {
    ++pipes_.kill_count;
    pipes_.has_ended = true;
  }
  client::WorkerExit finish(std::chrono::milliseconds grace) override {
    pipes_.grace = grace;
    return {.kind = client::WorkerExit::Kind::Exited, .code = 5};
  }

 private:
  MemoryPipes& pipes_;
};

}  // namespace lisp_worker::testing_support

#endif  // TESTING_WIRE_MEMORY_ASYNC_CHANNEL_H_
