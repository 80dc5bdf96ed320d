// A replay sends the recorded requests to a worker and notes what comes, record by record, so that
// a file of any length takes the memory of one record. The comparison then walks both streams side
// by side. It looks one record ahead: a response that is cut counts as equal as far as it goes if
// an end from outside follows it.

#include "lisp_worker/session/replay.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <utility>

#include "lisp_worker/worker/exit_code.h"

namespace lisp_worker::session {

using client::WorkerExit;

// Does what records say, one after the other.
class ReplayStream::Replayer {
 public:
  Replayer(const client::WorkerStarter& starter, std::chrono::milliseconds time_limit)
      : starter_(starter), time_limit_(time_limit), begin_(std::chrono::steady_clock::now()) {}

  // Does what `record` says, and sets `made` to what came of it. False when there was nothing.
  bool repeat(const Record& record, Record& made) {
    if (!error_.empty()) return false;
    switch (record.kind) {
      case RecordKind::Start:
        start();
        return note(made, RecordKind::Start, {});
      case RecordKind::Request:
        if (process_ == nullptr && !start()) return false;
        send(record.body);
        return note(made, RecordKind::Request, record.body);
      case RecordKind::Response:
      case RecordKind::Broken:
        return receive(made);
      case RecordKind::End:
        return note(made, RecordKind::End, encodeEnd(end()));
    }
    return false;
  }

  [[nodiscard]] const std::string& error() const { return error_; }

 private:
  bool start() {
    process_.reset();
    unanswered_count_ = 0;
    process_ = starter_(&error_);
    if (process_ == nullptr && error_.empty()) error_ = "the worker cannot be started";
    return process_ != nullptr;
  }

  void send(const std::string& frame) {
    // Of a worker that takes nothing any more, the response will tell.
    setDeadline();
    static_cast<void>(process_->write(frame));
    ++unanswered_count_;
  }

  bool receive(Record& made) {
    std::string bytes;
    if (unanswered_count_ > 0) --unanswered_count_;
    if (process_ != nullptr) {
      setDeadline();
      bytes.resize(worker::kHeaderSize);
      bytes.resize(process_->read(bytes.data(), bytes.size()));
      if (bytes.size() == worker::kHeaderSize && receivePayload(bytes)) {
        return note(made, RecordKind::Response, std::move(bytes));
      }
    }
    // One that has not answered in time answers nothing any more: no later response is waited for.
    if (process_ != nullptr && process_->hasTimedOut()) {
      static_cast<void>(process_->finishWithin(std::chrono::milliseconds::zero()));
    }
    return note(made, RecordKind::Broken, std::move(bytes));
  }

  // Appends what the header announces. False when that is too much or does not come.
  bool receivePayload(std::string& bytes) {
    const std::size_t size = worker::getU32(bytes.data() + worker::HeaderOffset::kPayloadLength);
    if (worker::getU32(bytes.data() + worker::HeaderOffset::kMagic) != worker::kMagic ||
        size > worker::kPayloadSizeMax) {
      return false;
    }
    if (size == 0) return true;
    bytes.resize(worker::kHeaderSize + size);
    const std::size_t count = process_->read(bytes.data() + worker::kHeaderSize, size);
    bytes.resize(worker::kHeaderSize + count);
    return count == size;
  }

  WorkerExit end() {
    WorkerExit exit;
    if (process_ == nullptr) return exit;
    if (unanswered_count_ > 0 && !process_->hasTimedOut()) drain();
    exit = process_->finishWithin(process_->hasTimedOut() ? std::chrono::milliseconds::zero()
                                                          : client::kExitGrace);
    process_.reset();
    return exit;
  }

  // Takes responses that the recording does not have. A worker whose output were closed before
  // would end because of that, and not as it ends by itself.
  void drain() {
    setDeadline();
    process_->endInput();
    std::array<char, 4096> rest{};
    while (process_->readSome(rest.data(), rest.size()) > 0) {
    }
  }

  void setDeadline() {
    if (time_limit_.count() > 0) process_->setDeadline(client::momentAfter(time_limit_));
  }

  bool note(Record& made, RecordKind kind, std::string body) const {
    const auto time = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::steady_clock::now() - begin_);
    made = {kind, static_cast<std::uint64_t>(time.count()), std::move(body)};
    return true;
  }

  const client::WorkerStarter& starter_;
  std::chrono::milliseconds time_limit_;
  std::chrono::steady_clock::time_point begin_;
  std::unique_ptr<client::WorkerProcess> process_;
  std::size_t unanswered_count_ = 0;  // Requests whose responses have not been taken.
  std::string error_;
};

ReplayStream::ReplayStream(RecordStream& recorded, const client::WorkerStarter& starter,
                           std::chrono::milliseconds time_limit)
    : recorded_(recorded), replayer_(std::make_unique<Replayer>(starter, time_limit)) {}

ReplayStream::~ReplayStream() = default;

bool ReplayStream::next(Record& record) {
  Record recorded;
  return recorded_.next(recorded) && replayer_->repeat(recorded, record);
}

const std::string& ReplayStream::error() const { return replayer_->error(); }

namespace {

// The records of a session in memory, which must outlive this.
class SessionStream final : public RecordStream {
 public:
  explicit SessionStream(const RecordedSession& session) : session_(session) {}

  bool next(Record& record) override {
    if (next_ == session_.records.size()) return false;
    record = session_.records[next_++];
    return true;
  }

 private:
  const RecordedSession& session_;
  std::size_t next_ = 0;
};

// A stream of which the next record but one can be seen.
class Window {
 public:
  explicit Window(RecordStream& stream) : stream_(stream) {
    fetch(current_);
    fetch(following_);
  }

  [[nodiscard]] const std::optional<Record>& current() const { return current_; }
  [[nodiscard]] const std::optional<Record>& following() const { return following_; }

  void advance() {
    current_ = std::move(following_);
    if (current_) fetch(following_);
  }

 private:
  void fetch(std::optional<Record>& record) {
    if (!stream_.next(record.emplace())) record.reset();
  }

  RecordStream& stream_;
  std::optional<Record> current_;
  std::optional<Record> following_;
};

// The signals by which a program that does wrong ends itself, in the numbers of Linux: SIGILL,
// SIGTRAP, SIGABRT, SIGBUS, SIGFPE, SIGSEGV and SIGSYS. All others come from outside.
constexpr std::array<std::uint32_t, 7> kCrashSignals = {4, 5, 6, 7, 8, 11, 31};

bool isCrash(std::uint32_t signal) {
  return std::find(kCrashSignals.begin(), kCrashSignals.end(), signal) != kCrashSignals.end();
}

// The exit code of a program on Windows that was ended by the keys ^C.
constexpr std::uint32_t kInterruptedCode = 0xC000013A;

// True when somebody who was not its host has ended a worker.
bool isFromOutside(const WorkerExit& exit) {
  return (exit.kind == WorkerExit::Kind::Signaled && !isCrash(exit.code)) ||
         (exit.kind == WorkerExit::Kind::Exited && exit.code == kInterruptedCode);
}

// True when this end tells about the worker. One that could not write a response tells about its
// host.
bool isByItself(const Record& end) {
  const WorkerExit exit = decodeEnd(end.body);
  const auto is_code = [&exit](worker::ExitCode code) {
    return exit.code == static_cast<std::uint32_t>(code);
  };
  if (exit.kind == WorkerExit::Kind::Signaled) return !isFromOutside(exit);
  return exit.kind == WorkerExit::Kind::Exited && !isFromOutside(exit) &&
         !is_code(worker::ExitCode::HeaderUnwritten) &&
         !is_code(worker::ExitCode::PayloadUnwritten);
}

// True when an end from outside has cut a response.
bool isCutFromOutside(const Window& window) {
  const std::optional<Record>& end = window.following();
  return window.current()->kind == RecordKind::Broken && end && end->kind == RecordKind::End &&
         isFromOutside(decodeEnd(end->body));
}

bool isResponse(const Record& record) {
  return record.kind == RecordKind::Response || record.kind == RecordKind::Broken;
}

bool isSame(const Window& a, const Window& b) {
  if (!a.current() || !b.current()) return false;
  const Record& one = *a.current();
  const Record& other = *b.current();
  if (isResponse(one) && isResponse(other)) {
    if (isCutFromOutside(a) && std::string_view(other.body).starts_with(one.body)) return true;
    if (isCutFromOutside(b) && std::string_view(one.body).starts_with(other.body)) return true;
  }
  if (one.kind != other.kind) return false;
  if (one.kind == RecordKind::End && !(isByItself(one) && isByItself(other))) return true;
  return one.body == other.body;
}

}  // namespace

ReplayReport replaySession(const RecordedSession& recorded, const client::WorkerStarter& starter,
                           std::chrono::milliseconds time_limit) {
  SessionStream source(recorded);
  ReplayStream stream(source, starter, time_limit);
  ReplayReport report;
  Record record;
  while (stream.next(record)) report.made.records.push_back(std::move(record));
  report.error = stream.error();
  return report;
}

std::optional<RecordDifference> firstDifference(RecordStream& a, RecordStream& b,
                                                std::size_t* count_out) {
  Window one(a);
  Window other(b);
  std::size_t number = 0;
  while (isSame(one, other)) {
    one.advance();
    other.advance();
    ++number;
  }
  if (count_out != nullptr) *count_out = number;
  if (!one.current() && !other.current()) return std::nullopt;
  return RecordDifference{number, one.current(), other.current()};
}

std::optional<std::size_t> firstDifference(const RecordedSession& a, const RecordedSession& b) {
  SessionStream one(a);
  SessionStream other(b);
  const std::optional<RecordDifference> found = firstDifference(one, other, nullptr);
  return found ? std::optional(found->number) : std::nullopt;
}

}  // namespace lisp_worker::session
