// The fixed header is written last, when the length of the text is known; the text goes straight
// into the payload behind it.

#include "worker/encoding.h"

#include <algorithm>
#include <vector>

#include "lisp/printer.h"
#include "lisp/work.h"

namespace lisp_worker::worker {
namespace {

using lisp::appendValue;
using lisp::EvalOutcome;
using lisp::LispValue;
using lisp::OutcomeKind;

// The kind of an outcome is sent as the number that it is.
constexpr bool isSame(EvalStatus code, OutcomeKind kind) {
  return static_cast<std::uint8_t>(code) == static_cast<std::uint8_t>(kind);
}
static_assert(isSame(EvalStatus::Value, OutcomeKind::Value));
static_assert(isSame(EvalStatus::ReadError, OutcomeKind::ReadError));
static_assert(isSame(EvalStatus::EvalError, OutcomeKind::EvalError));
static_assert(isSame(EvalStatus::StepLimit, OutcomeKind::StepLimit));
static_assert(isSame(EvalStatus::HostCallRequired, OutcomeKind::HostCallRequired));

constexpr WorkerStatus statusOf(OutcomeKind kind) {
  switch (kind) {
    case OutcomeKind::Value:
      return WorkerStatus::Ok;
    case OutcomeKind::ReadError:
      return WorkerStatus::EvalParseError;
    case OutcomeKind::EvalError:
      return WorkerStatus::EvalFailed;
    case OutcomeKind::StepLimit:
      return WorkerStatus::EvalStepLimit;
    case OutcomeKind::HostCallRequired:
      return WorkerStatus::HostCallPending;
  }
  // By contract an outcome of any other kind has failed. Only a defect of ours makes one.
  return WorkerStatus::EvalFailed;
}

// Appends the arguments of a call as one list.
bool appendArguments(const std::vector<LispValue>& arguments, std::size_t size_max,
                     std::string& text) {
  text.push_back('(');
  bool is_first = true;
  for (const LispValue& argument : arguments) {
    if (!is_first) text.push_back(' ');
    is_first = false;
    if (!appendValue(argument, size_max, text)) return false;
  }
  text.push_back(')');
  return text.size() <= size_max;
}

// Appends what the text holds for this kind of outcome.
bool appendText(const EvalOutcome& outcome, std::size_t size_max, std::string& text) {
  if (outcome.kind == OutcomeKind::Value) return appendValue(outcome.value, size_max, text);
  if (outcome.host_call) return appendArguments(outcome.host_call->arguments, size_max, text);
  text.append(outcome.message);
  return text.size() <= size_max;
}

void putCall(const lisp::HostCall& call, char* header) {
  const std::size_t arg_count =
      std::min<std::size_t>(call.arguments.size(), std::numeric_limits<std::uint16_t>::max());
  putU16(header + EvalResultOffset::kArgCount, static_cast<std::uint16_t>(arg_count));
  call.name.copy(header + EvalResultOffset::kCallName, kCallNameSize - 1);
}

}  // namespace

WorkerStatus encodeEvalResponse(const EvalOutcome& outcome, std::uint64_t run_id,
                                std::string& payload) {
  payload.assign(kEvalResultHeaderSize, '\0');
  const bool fits = appendText(outcome, kPayloadSizeMax, payload);
  lisp::countWork(payload.size());
  if (!fits) {
    payload = std::string();
    return WorkerStatus::InvalidRequest;
  }
  char* const header = payload.data();
  putU8(header + EvalResultOffset::kEvalStatus, static_cast<std::uint8_t>(outcome.kind));
  putU32(header + EvalResultOffset::kTextLength,
         static_cast<std::uint32_t>(payload.size() - kEvalResultHeaderSize));
  putU64(header + EvalResultOffset::kSteps, outcome.steps);
  putU64(header + EvalResultOffset::kRunId, run_id);
  if (outcome.host_call) putCall(*outcome.host_call, header);
  return statusOf(outcome.kind);
}

}  // namespace lisp_worker::worker
