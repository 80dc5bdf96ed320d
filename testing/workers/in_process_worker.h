// A worker behind the face of a process, but inside this one: for tests that hold thousands of
// conversations.

#ifndef TESTING_WORKERS_IN_PROCESS_WORKER_H_
#define TESTING_WORKERS_IN_PROCESS_WORKER_H_

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "lisp_worker/client/process.h"
#include "lisp_worker/worker/frame.h"
#include "worker/dispatch.h"

namespace lisp_worker::testing_support {

// Takes one whole and valid request in each write.
class InProcessWorker : public client::WorkerProcess {
 public:
  bool write(std::string_view frame) override {
    const worker::MessageHeader request =
        worker::decodeHeader(std::span(frame).first<worker::kHeaderSize>());
    worker::MessageHeader response = worker::makeResponseHeader(request);
    std::string payload;
    response.status = static_cast<std::uint32_t>(
        dispatcher_.handleRequest(request, frame.substr(worker::kHeaderSize), payload));
    response.payload_length = static_cast<std::uint32_t>(payload.size());
    std::string header(worker::kHeaderSize, '\0');
    worker::encodeHeader(response, std::span(header).first<worker::kHeaderSize>());
    output_ += header + payload;
    return true;
  }

  std::size_t read(char* buffer, std::size_t size) override { return readSome(buffer, size); }

  std::size_t readSome(char* buffer, std::size_t size) override {
    const std::size_t count = output_.copy(buffer, size);
    output_.erase(0, count);
    return count;
  }

  client::WorkerExit finishWithin(std::chrono::milliseconds /*grace*/) override { return kExit; }
  std::optional<client::WorkerExit> waitForEnd(std::chrono::milliseconds /*grace*/) override {
    return kExit;
  }
  void endInput() override {}
  void endOutput() override {}

  // As client::WorkerStarter.
  static std::unique_ptr<client::WorkerProcess> start(std::string* /*error_out*/) {
    return std::make_unique<InProcessWorker>();
  }

 private:
  static constexpr client::WorkerExit kExit{client::WorkerExit::Kind::Exited, 0};

  worker::Dispatcher dispatcher_;
  std::string output_;
};

}  // namespace lisp_worker::testing_support

#endif  // TESTING_WORKERS_IN_PROCESS_WORKER_H_
