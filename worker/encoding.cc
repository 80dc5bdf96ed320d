#include "worker/encoding.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "lisp/work.h"
#include "worker/number_text.h"

namespace worker {
namespace {

using lisp::EvalOutcome;
using lisp::LispList;
using lisp::LispValue;
using lisp::OutcomeKind;
using lisp::ValueKind;

void appendAtom(const LispValue& value, std::string& text) {
  switch (value.kind()) {
    case ValueKind::Number:
      return appendNumber(*lisp::asNumber(value), text);
    case ValueKind::String:
      text.push_back('"');
      text.append(*lisp::asText(value));
      text.push_back('"');
      return;
    case ValueKind::Symbol:
      text.append(*lisp::asText(value));
      return;
    default:
      text.append("nil");
      return;
  }
}

// A list that is being written: its next element, and whether that is its first.
struct OpenList {
  LispList::Iterator next;
  bool is_first = true;
};

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

bool appendValue(const LispValue& value, std::size_t size_max, std::string& text) {
  const LispList::Iterator end;
  std::vector<OpenList> open_lists;
  const LispValue* current = &value;
  while (true) {
    lisp::countWork();
    if (const std::optional<LispList> list = lisp::asList(*current)) {
      text.push_back('(');
      open_lists.push_back({list->begin()});
    } else {
      appendAtom(*current, text);
    }
    // Every open list will cost its closing parenthesis at least, which bounds this stack too.
    if (text.size() + open_lists.size() > size_max) return false;
    while (!open_lists.empty() && open_lists.back().next == end) {
      text.push_back(')');
      open_lists.pop_back();
    }
    if (open_lists.empty()) return true;
    OpenList& open_list = open_lists.back();
    if (!std::exchange(open_list.is_first, false)) text.push_back(' ');
    current = &*open_list.next++;
  }
}

std::string encodeValue(const LispValue& value) {
  std::string text;
  static_cast<void>(appendValue(value, std::string().max_size(), text));
  return text;
}

WorkerStatus encodeEvalResponse(const EvalOutcome& outcome, std::uint64_t run_id,
                                std::string& payload) {
  payload.assign(kEvalResultHeaderSize, '\0');
  const bool fits = appendText(outcome, kPayloadSizeMax, payload);
  lisp::countWork(payload.size());
  if (!fits) {
    payload = std::string();
    return WorkerStatus::BadRequest;
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

}  // namespace worker
