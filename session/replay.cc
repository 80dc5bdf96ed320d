#include "session/replay.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace session {
namespace {

using client::WorkerExit;
using std::chrono::steady_clock;

class Replayer {
 public:
  Replayer(const client::WorkerStarter& starter, std::chrono::milliseconds time_limit)
      : starter_(starter), time_limit_(time_limit), begin_(steady_clock::now()) {}

  // Does what the record says. False when that cannot be done.
  bool repeat(const Record& record) {
    switch (record.kind) {
      case RecordKind::Start:
        note(RecordKind::Start, {});
        return start();
      case RecordKind::Request:
        if (process_ == nullptr && !start()) return false;
        send(record.body);
        return true;
      case RecordKind::Response:
      case RecordKind::Broken:
        receive();
        return true;
      case RecordKind::End:
        end();
        return true;
    }
    return true;
  }

  ReplayReport finish() && { return std::move(report_); }

 private:
  bool start() {
    process_.reset();
    process_ = starter_(&report_.error);
    return process_ != nullptr;
  }

  void send(const std::string& frame) {
    // Of a worker that takes nothing any more, the response will tell.
    setDeadline();
    static_cast<void>(process_->write(frame));
    note(RecordKind::Request, frame);
  }

  void receive() {
    std::string bytes;
    if (process_ != nullptr) {
      setDeadline();
      bytes.resize(worker::kHeaderSize);
      bytes.resize(process_->read(bytes.data(), bytes.size()));
      if (bytes.size() == worker::kHeaderSize && receivePayload(bytes)) {
        return note(RecordKind::Response, std::move(bytes));
      }
    }
    note(RecordKind::Broken, std::move(bytes));
    // One that has not answered in time answers nothing any more: no later response is waited for.
    if (process_ != nullptr && process_->hasTimedOut()) {
      static_cast<void>(process_->finishWithin(std::chrono::milliseconds::zero()));
    }
  }

  // Appends what the header announces. False when that is too much or does not come.
  bool receivePayload(std::string& bytes) {
    const std::size_t size = worker::getU32(bytes.data() + worker::HeaderOffset::kPayloadLength);
    if (worker::getU32(bytes.data()) != worker::kMagic || size > worker::kPayloadSizeMax) {
      return false;
    }
    if (size == 0) return true;
    bytes.resize(worker::kHeaderSize + size);
    const std::size_t count = process_->read(bytes.data() + worker::kHeaderSize, size);
    bytes.resize(worker::kHeaderSize + count);
    return count == size;
  }

  void end() {
    WorkerExit exit;
    if (process_ != nullptr) {
      exit = process_->finishWithin(process_->hasTimedOut() ? std::chrono::milliseconds::zero()
                                                            : client::kExitGrace);
      process_.reset();
    }
    note(RecordKind::End, encodeEnd(exit));
  }

  void setDeadline() {
    if (time_limit_.count() > 0) process_->setDeadline(steady_clock::now() + time_limit_);
  }

  void note(RecordKind kind, std::string body) {
    const auto time =
        std::chrono::duration_cast<std::chrono::microseconds>(steady_clock::now() - begin_);
    report_.made.records.push_back(
        {kind, static_cast<std::uint64_t>(time.count()), std::move(body)});
  }

  const client::WorkerStarter& starter_;
  std::chrono::milliseconds time_limit_;
  steady_clock::time_point begin_;
  std::unique_ptr<client::WorkerProcess> process_;
  ReplayReport report_;
};

// Whether the host had waited for this end, so that it tells about the worker.
bool tellsOfTheWorker(const Record& end) {
  const WorkerExit::Kind kind = decodeEnd(end.body).kind;
  return kind == WorkerExit::Kind::Exited || kind == WorkerExit::Kind::Signaled;
}

bool isSame(const Record& a, const Record& b) {
  if (a.kind != b.kind) return false;
  if (a.kind == RecordKind::End && !(tellsOfTheWorker(a) && tellsOfTheWorker(b))) return true;
  return a.body == b.body;
}

}  // namespace

ReplayReport replaySession(const Session& recorded, const client::WorkerStarter& starter,
                           std::chrono::milliseconds time_limit) {
  Replayer replayer(starter, time_limit);
  for (const Record& record : recorded.records) {
    if (!replayer.repeat(record)) break;
  }
  return std::move(replayer).finish();
}

std::optional<std::size_t> firstDifference(const Session& a, const Session& b) {
  const std::size_t common = std::min(a.records.size(), b.records.size());
  for (std::size_t number = 0; number < common; ++number) {
    if (!isSame(a.records[number], b.records[number])) return number;
  }
  if (a.records.size() != b.records.size()) return common;
  return std::nullopt;
}

}  // namespace session
