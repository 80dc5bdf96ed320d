// A payload is taken apart only after all its parts are known to agree: its sizes, the two
// statuses, and whether a call, a name and a run id belong together. So a caller needs no check of
// its own.

#include "lisp_worker/client/eval_result.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <limits>
#include <utility>

#include "lisp_worker/client/worker_text.h"

namespace lisp_worker::client {

using worker::EvalResultOffset;
using worker::WorkerStatus;

namespace {

std::optional<EvalStatus> evalStatusOf(WorkerStatus status) {
  switch (status) {
    case WorkerStatus::Ok:
      return EvalStatus::Value;
    case WorkerStatus::EvalParseError:
      return EvalStatus::ReadError;
    case WorkerStatus::EvalFailed:
      return EvalStatus::EvalError;
    case WorkerStatus::EvalStepLimit:
      return EvalStatus::StepLimit;
    case WorkerStatus::HostCallPending:
      return EvalStatus::HostCallRequired;
    default:
      return std::nullopt;
  }
}

// The reason why a payload contradicts itself or the status; null when it does not.
const char* whyMalformed(WorkerStatus status, std::string_view payload) {
  if (payload.size() < worker::kEvalResultHeaderSize) {
    return "the payload is too short for an evaluation result";
  }
  const char* const bytes = payload.data();
  if (worker::getU32(bytes + EvalResultOffset::kTextLength) !=
      payload.size() - worker::kEvalResultHeaderSize) {
    return "the length of the text is not what the payload holds";
  }
  const std::optional<EvalStatus> expected = evalStatusOf(status);
  if (!expected || worker::getU8(bytes + EvalResultOffset::kEvalStatus) !=
                       static_cast<std::uint8_t>(*expected)) {
    return "the evaluation's status contradicts the response's";
  }
  if (bytes[EvalResultOffset::kCallName + worker::kCallNameSize - 1] != '\0') {
    return "the name of the host call has no end";
  }
  return nullptr;
}

// The reason why a call or a run id is there where none belongs, or missing; otherwise null.
const char* whyContradictory(const EvalResult& result) {
  if (result.eval_status == EvalStatus::HostCallRequired) {
    if (result.call_name.empty()) return "a host call without a name";
    if (result.run_id == 0) return "a host call without a run to resume";
    return nullptr;
  }
  if (!result.call_name.empty() || result.arg_count != 0) return "a host call in a finished run";
  if (result.run_id != 0) return "a run to resume after its end";
  return nullptr;
}

std::string readCallName(const char* field) {
  return std::string(field, std::find(field, field + worker::kCallNameSize, '\0'));
}

}  // namespace

std::optional<EvalResult> decodeEvalResult(WorkerStatus status, std::string_view payload,
                                           std::string* error_out) {
  const char* reason = whyMalformed(status, payload);
  EvalResult result;
  if (reason == nullptr) {
    const char* const bytes = payload.data();
    result.status = status;
    result.eval_status = *evalStatusOf(status);
    result.arg_count = worker::getU16(bytes + EvalResultOffset::kArgCount);
    result.steps = worker::getU64(bytes + EvalResultOffset::kSteps);
    result.call_name = readCallName(bytes + EvalResultOffset::kCallName);
    result.run_id = worker::getU64(bytes + EvalResultOffset::kRunId);
    result.text = payload.substr(worker::kEvalResultHeaderSize);
    reason = whyContradictory(result);
  }
  if (reason != nullptr) {
    if (error_out != nullptr) *error_out = reason;
    return std::nullopt;
  }
  return result;
}

std::optional<HostCall> readHostCall(const EvalResult& result, std::string* error_out) {
  assert(result.eval_status == EvalStatus::HostCallRequired);
  std::optional<Datum> arguments = readWorkerText(result.text, error_out);
  if (!arguments) return std::nullopt;
  const DatumList* elements = asList(*arguments);
  constexpr std::size_t kCountMax = std::numeric_limits<std::uint16_t>::max();
  if (elements == nullptr || std::min(elements->size(), kCountMax) != result.arg_count) {
    if (error_out != nullptr) {
      *error_out = "the text does not hold " + std::to_string(result.arg_count) +
                   " arguments; a string in it may hold a double quote";
    }
    return std::nullopt;
  }
  return HostCall{.name = result.call_name,
                  .arguments = takeElements(std::move(*arguments)),
                  .text = result.text};
}

}  // namespace lisp_worker::client
