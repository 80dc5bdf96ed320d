// A recorded session held again with another worker.

#ifndef SESSION_REPLAY_H_
#define SESSION_REPLAY_H_

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include "client/worker.h"
#include "session/session.h"

namespace session {

struct ReplayReport {
  // The session as it went this time: a record for each one of the recording, of the same kind
  // unless the worker did otherwise. It ends early when a worker cannot be started.
  Session made;

  std::string error;  // Why the replay could not be held; empty when it could.
};

// Sends every recorded request again, byte for byte, to workers made by `starter`, and takes what
// comes for each recorded response. A response that has not come within `time_limit` is cut there,
// and its worker killed; zero waits for ever.
[[nodiscard]] ReplayReport replaySession(const Session& recorded,
                                         const client::WorkerStarter& starter,
                                         std::chrono::milliseconds time_limit);

// The number of the first record in which two sessions differ, times left aside. A worker's end
// that the host has not waited for is like any other end. Empty when they are the same.
[[nodiscard]] std::optional<std::size_t> firstDifference(const Session& a, const Session& b);

}  // namespace session

#endif  // SESSION_REPLAY_H_
