// What the worker's numbers mean, in words for people.

#ifndef CLIENT_NAMES_H_
#define CLIENT_NAMES_H_

#include <string>
#include <string_view>

#include "client/process.h"
#include "worker/frame.h"

namespace client {

// "Ok", "BadRequest", ...; "unknown status" for a number that names none.
[[nodiscard]] std::string_view statusName(worker::WorkerStatus status);

// One line on what the status tells the host.
[[nodiscard]] std::string_view explainStatus(worker::WorkerStatus status);

// One line on how a worker ended: its exit code or signal, and what that means.
[[nodiscard]] std::string describeExit(const WorkerExit& exit);

}  // namespace client

#endif  // CLIENT_NAMES_H_
