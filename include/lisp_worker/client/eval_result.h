// The result of an evaluation, decoded from the payload that answers EvalStart and EvalResume.

#ifndef LISP_WORKER_CLIENT_EVAL_RESULT_H_
#define LISP_WORKER_CLIENT_EVAL_RESULT_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "lisp_worker/client/datum.h"
#include "lisp_worker/worker/frame.h"

namespace lisp_worker::client {

using worker::EvalStatus;

struct EvalResult {
  // Ok, EvalParseError, EvalFailed, EvalStepLimit or HostCallPending, in step with eval_status.
  worker::WorkerStatus status = worker::WorkerStatus::Ok;
  EvalStatus eval_status = EvalStatus::Value;
  std::uint16_t arg_count = 0;  // Of the host call, capped at 65535; otherwise 0.
  std::uint64_t steps = 0;      // Evaluations in this run, replayed part included.
  std::string call_name = {};   // Of the host call, its first 31 bytes; otherwise empty.
  std::uint64_t run_id = 0;     // To resume or cancel the run; 0 unless it waits.
  std::string text = {};        // As the worker wrote it (worker_text.h).
};

struct HostCall {
  std::string name;
  DatumList arguments;
  std::string text = {};        // The arguments as the worker wrote them, as one list.
  std::string unreadable = {};  // Why `arguments` is not what `text` says; empty when it is.
};

// Decodes the payload of a response with `status`. Empty when the two contradict each other or
// the payload contradicts itself, with what is wrong in `error_out`.
[[nodiscard]] std::optional<EvalResult> decodeEvalResult(worker::WorkerStatus status,
                                                         std::string_view payload,
                                                         std::string* error_out);

// The call that `result`, of eval_status HostCallRequired, waits for. Empty when its arguments
// cannot be told from the text, because a string holds a quote or lists nest too deep; the reason
// is then in `error_out`, and the text still in the result.
[[nodiscard]] std::optional<HostCall> readHostCall(const EvalResult& result,
                                                   std::string* error_out);

}  // namespace lisp_worker::client

#endif  // LISP_WORKER_CLIENT_EVAL_RESULT_H_
