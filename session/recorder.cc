// A recorder may be called from any thread, so everything is under one lock, the clock and the
// number of a record included: records are in the file in the order of their numbers and times.

#include "lisp_worker/session/recorder.h"

#include <utility>

namespace lisp_worker::session {

using std::chrono::duration_cast;
using std::chrono::microseconds;

std::unique_ptr<Recorder> Recorder::create(const std::filesystem::path& path,
                                           std::string* error_out) {
  std::unique_ptr<AppendFile> file = createAppendFile(path, error_out);
  if (file == nullptr) return nullptr;
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const auto start_time = static_cast<std::uint64_t>(duration_cast<microseconds>(now).count());
  // Without its header a file could not be read, so it is not worth beginning.
  if (!file->append(encodeFileHeader(start_time), error_out)) return nullptr;
  return std::unique_ptr<Recorder>(new Recorder(std::move(file)));
}

// Times in records are counted on a clock that nobody can set back.
Recorder::Recorder(std::unique_ptr<AppendFile> file)
    : file_(std::move(file)), begin_(std::chrono::steady_clock::now()) {}

std::string Recorder::failure() const {
  const std::lock_guard lock(mutex_);
  return failure_;
}

// The first failure stays: it is why the recording has ended.
void Recorder::onStart() {
  const std::lock_guard lock(mutex_);
  if (has_worker_ && failure_.empty()) failure_ = "two workers at a time share the recorder";
  has_worker_ = true;
  recordLocked(RecordKind::Start, {});
}

void Recorder::onRequest(std::string_view frame) { record(RecordKind::Request, frame); }

void Recorder::onResponse(std::string_view header, std::string_view payload) {
  record(RecordKind::Response, std::string(header).append(payload));
}

void Recorder::onBrokenResponse(std::string_view bytes) { record(RecordKind::Broken, bytes); }

void Recorder::onEnd(const client::WorkerExit& exit) {
  const std::lock_guard lock(mutex_);
  has_worker_ = false;
  recordLocked(RecordKind::End, encodeEnd(exit));
}

void Recorder::record(RecordKind kind, std::string_view body) {
  const std::lock_guard lock(mutex_);
  recordLocked(kind, body);
}

// Nothing is written after a failure, so what is in the file is always a beginning of what has
// happened, without a gap.
void Recorder::recordLocked(RecordKind kind, std::string_view body) {
  if (!failure_.empty()) return;
  const auto time = duration_cast<microseconds>(std::chrono::steady_clock::now() - begin_);
  const std::string bytes =
      encodeRecord(kind, next_number_++, static_cast<std::uint64_t>(time.count()), body);
  std::string reason;
  if (!file_->append(bytes, &reason)) failure_ = "the file takes no more: " + reason;
}

}  // namespace lisp_worker::session
