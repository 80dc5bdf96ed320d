// The protocol's numbers in words for people: for each enumeration the name of every
// value, as the code spells it, and one line that explains it.

#ifndef LISP_WORKER_CLIENT_NAMES_H_
#define LISP_WORKER_CLIENT_NAMES_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "lisp_worker/client/eval_result.h"
#include "lisp_worker/client/process.h"
#include "lisp_worker/client/worker_client.h"
#include "lisp_worker/worker/exit_code.h"
#include "lisp_worker/worker/frame.h"

namespace lisp_worker::client {

// "Ok", "BadRequest", ...; "unknown status" for a number that names none.
[[nodiscard]] std::string_view statusName(worker::WorkerStatus status);

// One line on what the status tells the host.
[[nodiscard]] std::string_view explainStatus(worker::WorkerStatus status);

// "Ping", "EvalStart", ...; "unknown type" for a number that names none.
[[nodiscard]] std::string_view messageTypeName(worker::MessageType type);

// One line on what the request asks for.
[[nodiscard]] std::string_view explainMessageType(worker::MessageType type);

// "Value", "HostCallRequired", ...; "unknown outcome" for a number that names none.
[[nodiscard]] std::string_view evalStatusName(EvalStatus status);

// One line on how the evaluation stopped.
[[nodiscard]] std::string_view explainEvalStatus(EvalStatus status);

// The name of a worker::ExitCode: "Finished", "BadMagic", ...; "unknown exit code" for a code that
// no worker ends with.
[[nodiscard]] std::string_view exitCodeName(std::uint32_t code);

// One line on why a worker has ended with the code.
[[nodiscard]] std::string_view explainExitCode(std::uint32_t code);

// "ResponseCut", "DeadlinePassed", ...
[[nodiscard]] std::string_view faultName(Fault::Kind kind);

// One line on what such a fault means for the host.
[[nodiscard]] std::string_view explainFault(Fault::Kind kind);

// One line on how a worker ended: its exit code or signal, and what that means.
[[nodiscard]] std::string describeExit(const WorkerExit& exit);

}  // namespace lisp_worker::client

#endif  // LISP_WORKER_CLIENT_NAMES_H_
