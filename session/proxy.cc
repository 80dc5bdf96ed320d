// Two directions, a thread for each. This one carries the responses; a second one carries the
// requests, because reading them may block for ever. A frame is recorded before it is passed on, so
// a recording never lacks what the other side has seen. Bytes that are no frame are passed on all
// the same: a proxy changes nothing.

#include "session/proxy.h"

#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "lisp_worker/worker/frame.h"
#include "session/frame_splitter.h"
#include "session/standard_streams.h"

namespace lisp_worker::session {
namespace {

// A frame that is longer passes in several pieces.
constexpr std::size_t kBufferSize = 65536;

class Proxy {
 public:
  Proxy(client::WorkerProcess& worker, Recorder* recorder,
        const std::function<void(const std::string&)>& complain)
      : worker_(worker), recorder_(recorder), complain_(complain) {}

  [[noreturn]] void run() {
    record([](Recorder& recorder) { recorder.onStart(); });
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
      splitter.feed(bytes, [this](std::string_view frame) { recordRequest(frame); });
      if (!worker_.write(bytes)) {
        // The host is to notice as it would have without us.
        closeStandardInput();
        break;
      }
    }
    if (!splitter.rest().empty() && !splitter.isOver()) recordRequest(splitter.rest());
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
    if (!splitter.rest().empty()) recordBroken(splitter.rest());
    closeStandardOutput();
  }

  void recordRequest(std::string_view frame) {
    record([frame](Recorder& recorder) { recorder.onRequest(frame); });
  }

  // The splitter makes a frame of a faulty header, too; from a worker that is a broken response.
  void recordResponse(std::string_view frame) {
    const bool is_frame =
        worker::getU32(frame.data() + worker::HeaderOffset::kMagic) == worker::kMagic &&
        frame.size() - worker::kHeaderSize ==
            worker::getU32(frame.data() + worker::HeaderOffset::kPayloadLength);
    if (!is_frame) return recordBroken(frame);
    record([frame](Recorder& recorder) {
      recorder.onResponse(frame.substr(0, worker::kHeaderSize), frame.substr(worker::kHeaderSize));
    });
  }

  void recordBroken(std::string_view bytes) {
    record([bytes](Recorder& recorder) { recorder.onBrokenResponse(bytes); });
  }

  // Has `note` record something, unless the recording has failed, and tells if it fails now.
  template <typename Note>
  void record(Note note) {
    const std::lock_guard lock(mutex_);
    if (recorder_ == nullptr) return;
    note(*recorder_);
    if (recorder_->isComplete()) return;
    complain_(recorder_->failure());
    recorder_ = nullptr;
  }

  // Ends as the worker has ended, so that the host cannot tell the proxy from it; but a worker that
  // has ended well, with a recording that is not whole, is told by an exit code of the proxy's own.
  [[noreturn]] void finish(const client::WorkerExit& exit) {
    record([&exit](Recorder& recorder) { recorder.onEnd(exit); });
    const std::lock_guard lock(mutex_);  // Nothing is recorded any more.
    using Kind = client::WorkerExit::Kind;
    const bool hides_failure = recorder_ == nullptr && exit == client::WorkerExit{Kind::Exited, 0};
    endLike(hides_failure ? client::WorkerExit{Kind::Exited, kIncompleteRecordingCode} : exit);
  }

  client::WorkerProcess& worker_;
  std::mutex mutex_;    // Of all that follows.
  Recorder* recorder_;  // Null when nothing is recorded, or nothing any more.
  const std::function<void(const std::string&)>& complain_;
};

}  // namespace

void runProxy(client::WorkerProcess& worker, Recorder* recorder,
              const std::function<void(const std::string& reason)>& complain) {
  surviveBrokenPipe();
  Proxy(worker, recorder, complain).run();
}

}  // namespace lisp_worker::session
