// Records what a client says to its workers and what they say to it, while it happens.

#ifndef LISP_WORKER_SESSION_RECORDER_H_
#define LISP_WORKER_SESSION_RECORDER_H_

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "lisp_worker/client/frame_observer.h"
#include "lisp_worker/session/append_file.h"
#include "lisp_worker/session/session.h"

namespace lisp_worker::session {

// Give one to client::ClientSettings::observer. Each record is in the file before the call that it
// belongs to returns. A recording that fails ends there and never disturbs the conversation.
//
// A file holds one worker after the other, and one recorder is for one client::Worker. When a
// worker is started before the last one has ended, the recording ends there: nobody could tell
// afterwards which of the two has said what. Nothing is recorded either by a copy of the recorder
// in a forked process. May be called from any thread.
class Recorder final : public client::FrameObserver {
 public:
  // Begins a new file; one that exists already is left alone. Null when that cannot be, with the
  // reason in `error_out`.
  [[nodiscard]] static std::unique_ptr<Recorder> create(const std::filesystem::path& path,
                                                        std::string* error_out);

  void onStart() override;
  void onRequest(std::string_view frame) override;
  void onResponse(std::string_view header, std::string_view payload) override;
  void onBrokenResponse(std::string_view bytes) override;
  void onEnd(const client::WorkerExit& exit) override;

  // True when everything so far is in the file.
  [[nodiscard]] bool isComplete() const { return failure().empty(); }

  // Why the recording has ended, in a line for a person; empty while it is complete.
  [[nodiscard]] std::string failure() const;

 private:
  explicit Recorder(std::unique_ptr<AppendFile> file);
  void record(RecordKind kind, std::string_view body);
  void recordLocked(RecordKind kind, std::string_view body);

  mutable std::mutex mutex_;  // Of all that follows.
  std::unique_ptr<AppendFile> file_;
  std::chrono::steady_clock::time_point begin_;
  std::uint32_t next_number_ = 0;
  bool has_worker_ = false;  // Between a start and its end.
  std::string failure_;
};

}  // namespace lisp_worker::session

#endif  // LISP_WORKER_SESSION_RECORDER_H_
