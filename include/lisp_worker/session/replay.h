// A recorded session held again with another worker.

#ifndef LISP_WORKER_SESSION_REPLAY_H_
#define LISP_WORKER_SESSION_REPLAY_H_

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "lisp_worker/client/worker.h"
#include "lisp_worker/session/session.h"

namespace lisp_worker::session {

// A session as it goes this time: a record for each one of the recording, of the same kind unless
// the worker does otherwise. It ends early when a worker cannot be started.
class ReplayStream final : public RecordStream {
 public:
  // Sends every recorded request again, byte for byte, to workers made by `starter`, and takes what
  // comes for each recorded response. A response that has not come within `time_limit` is cut
  // there, and its worker killed; zero waits for ever. What is passed must outlive the stream.
  ReplayStream(RecordStream& recorded, const client::WorkerStarter& starter,
               std::chrono::milliseconds time_limit);
  ~ReplayStream() override;

  [[nodiscard]] bool next(Record& record) override;

  // Why the replay could not be held; empty when it could.
  [[nodiscard]] const std::string& error() const;

 private:
  class Replayer;

  RecordStream& recorded_;
  std::unique_ptr<Replayer> replayer_;
};

struct ReplayReport {
  RecordedSession made;
  std::string error;  // Why the replay could not be held; empty when it could.
};

// The same for a whole session.
[[nodiscard]] ReplayReport replaySession(const RecordedSession& recorded,
                                         const client::WorkerStarter& starter,
                                         std::chrono::milliseconds time_limit);

// The first records in which two sessions differ.
struct RecordDifference {
  std::size_t number = 0;
  std::optional<Record> a;  // Empty when this session has ended before.
  std::optional<Record> b;
};

// Compares two sessions up to their first difference, times left aside. Empty when they are the
// same. A worker's end is compared only if both ended by themselves: by an exit code that tells
// about them, or by a crash. An end that came from outside says nothing, nor does the response that
// it has cut: as much of that as came is compared. `count_out` is the number of records that are
// the same, unless it is null.
[[nodiscard]] std::optional<RecordDifference> firstDifference(RecordStream& a, RecordStream& b,
                                                              std::size_t* count_out);

// The number of those records in whole sessions.
[[nodiscard]] std::optional<std::size_t> firstDifference(const RecordedSession& a,
                                                         const RecordedSession& b);

}  // namespace lisp_worker::session

#endif  // LISP_WORKER_SESSION_REPLAY_H_
