// Values are written without recursion: a stack holds, for each list that is open, the element that
// comes next. (1 (2) 3) is written with one iterator on that stack for "1", two for "2", one for
// "3". Each open list will need a closing parenthesis, so its entry counts against the limit of the
// text, and a deep value cannot make the stack larger than the response may be.

#include "worker/encoding.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

#include "lisp/work.h"
#include "worker/number_text.h"

namespace lisp_worker::worker {
namespace {

using lisp::EvalOutcome;
using lisp::LispList;
using lisp::LispValue;
using lisp::OutcomeKind;
using lisp::ValueKind;

// Appends to a string by address: while the writer lives, the string is longer than what has been
// written.
class TextWriter {
 public:
  explicit TextWriter(std::string& text) : text_(text), size_(text.size()) {}
  ~TextWriter() { text_.resize(size_); }
  TextWriter(const TextWriter&) = delete;
  TextWriter& operator=(const TextWriter&) = delete;

  [[nodiscard]] std::size_t size() const { return size_; }

  void push(char c) {
    *room(1) = c;
    ++size_;
  }
  void append(std::string_view bytes) { size_ += bytes.copy(room(bytes.size()), bytes.size()); }
  void append(double number) {
    char* const begin = room(kNumberRoom);
    size_ += static_cast<std::size_t>(writeNumber(number, begin) - begin);
  }

 private:
  // At most so much is prepared at a time: it is in the cache when it is written, and a call of
  // many arguments, each of which has a writer of its own, does not prepare much more than it
  // writes.
  static constexpr std::size_t kPieceSize = 0x100;
  // Beyond this much, room for the longest response is taken at once: memory that is not used costs
  // nothing, but to copy a long text as it grows does.
  static constexpr std::size_t kShortSizeMax = 0x10000;

  // The place for the next `size` bytes.
  char* room(std::size_t size) {
    if (text_.size() - size_ < size) [[unlikely]]
      grow(size_ + size + std::min(size_, kPieceSize));
    return text_.data() + size_;
  }

  void grow(std::size_t size) {
    if (size > kShortSizeMax) text_.reserve(kPayloadSizeMax + 2 * kPieceSize);
    text_.resize(size);
  }

  std::string& text_;
  std::size_t size_;  // Bytes that have been written.
};

void appendAtom(const LispValue& value, TextWriter& text) {
  switch (value.kind()) {
    case ValueKind::Number:
      return text.append(*lisp::asNumber(value));
    case ValueKind::String:
      text.push('"');
      text.append(*lisp::asText(value));
      return text.push('"');
    case ValueKind::Symbol:
      return text.append(*lisp::asText(value));
    default:
      return text.append("nil");
  }
}

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
  std::vector<LispList::Iterator> open_lists;  // For each list that is being written, what is next.
  TextWriter writer(text);
  const LispValue* current = &value;
  while (true) {
    lisp::countWork();
    const std::optional<LispList> list = lisp::asList(*current);
    if (list) {
      writer.push('(');
      open_lists.push_back(list->begin());
    } else {
      appendAtom(*current, writer);
    }
    // Every open list will cost its closing parenthesis at least, which bounds this stack too.
    if (writer.size() + open_lists.size() > size_max) return false;
    bool is_first = list.has_value();
    for (; !open_lists.empty() && open_lists.back() == end; open_lists.pop_back()) {
      writer.push(')');
      is_first = false;
    }
    if (open_lists.empty()) return true;
    if (!is_first) writer.push(' ');
    LispList::Iterator& next = open_lists.back();
    current = &*next;
    ++next;
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
