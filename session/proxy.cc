#include "session/proxy.h"

#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "session/frame_splitter.h"
#include "session/standard_streams.h"
#include "worker/frame.h"

namespace session {
namespace {

// A frame that is longer passes in several pieces.
constexpr std::size_t kBufferSize = 65536;

class Proxy {
 public:
  Proxy(client::WorkerProcess& worker, Recorder& recorder) : worker_(worker), recorder_(recorder) {}

  [[noreturn]] void run() {
    recorder_.onStart();
    // Reading the host's requests may block for ever; endLike does not wait for it.
    std::thread([this] { carryRequests(); }).detach();
    carryResponses();
    // A worker may outlive its output, and is the host's to wait for or to kill, not ours.
    std::optional<client::WorkerExit> exit;
    while (!exit) exit = worker_.waitForEnd(client::kExitGrace);
    finish(*exit);
  }

 private:
  void carryRequests() {
    std::string buffer(kBufferSize, '\0');
    FrameSplitter splitter;
    while (const std::size_t size = readStandardInput(buffer.data(), buffer.size())) {
      const std::string_view bytes(buffer.data(), size);
      splitter.feed(bytes, [this](std::string_view frame) {
        const std::lock_guard lock(mutex_);
        recorder_.onRequest(frame);
      });
      if (!worker_.write(bytes)) {
        // The host is to notice as it would have without us.
        closeStandardInput();
        break;
      }
    }
    if (!splitter.rest().empty() && !splitter.isOver()) {
      const std::lock_guard lock(mutex_);
      recorder_.onRequest(splitter.rest());
    }
    worker_.endInput();
  }

  void carryResponses() {
    std::string buffer(kBufferSize, '\0');
    FrameSplitter splitter;
    while (const std::size_t size = worker_.readSome(buffer.data(), buffer.size())) {
      const std::string_view bytes(buffer.data(), size);
      splitter.feed(bytes, [&](std::string_view frame) { recordResponse(frame); });
      if (!writeStandardOutput(bytes)) {
        // The worker is to notice as it would have without us.
        worker_.endOutput();
        break;
      }
    }
    if (!splitter.rest().empty()) {
      const std::lock_guard lock(mutex_);
      recorder_.onBrokenResponse(splitter.rest());
    }
    closeStandardOutput();
  }

  void recordResponse(std::string_view frame) {
    const std::lock_guard lock(mutex_);
    const bool is_frame = worker::getU32(frame.data()) == worker::kMagic &&
                          frame.size() - worker::kHeaderSize ==
                              worker::getU32(frame.data() + worker::HeaderOffset::kPayloadLength);
    if (is_frame) {
      recorder_.onResponse(frame.substr(0, worker::kHeaderSize), frame.substr(worker::kHeaderSize));
    } else {
      recorder_.onBrokenResponse(frame);
    }
  }

  [[noreturn]] void finish(const client::WorkerExit& exit) {
    const std::lock_guard lock(mutex_);
    recorder_.onEnd(exit);
    endLike(exit);
  }

  client::WorkerProcess& worker_;
  Recorder& recorder_;
  std::mutex mutex_;  // Of recorder_.
};

}  // namespace

void runProxy(client::WorkerProcess& worker, Recorder& recorder) {
  keepAliveOnBrokenPipe();
  Proxy(worker, recorder).run();
}

}  // namespace session
