// A line for each record, or all of one. Texts of a session come from anywhere, so all of them pass
// plainText before they reach a terminal.

#include "lisp_worker/session/show.h"

#include <array>
#include <cstdio>
#include <optional>
#include <string_view>

#include "lisp_worker/client/eval_result.h"
#include "lisp_worker/client/names.h"
#include "lisp_worker/client/number_text.h"
#include "session/conversation.h"
#include "session/plain_text.h"

namespace lisp_worker::session {

using worker::MessageHeader;
using worker::MessageType;
using worker::WorkerStatus;

namespace {

// Columns of a line; a text that is longer is cut, and `show --record` has it whole.
constexpr std::size_t kTextWidth = 64;
constexpr std::size_t kSpeakerWidth = 8;
constexpr std::size_t kWhatWidth = 18;
constexpr std::size_t kFieldWidth = 16;
constexpr std::size_t kBytesPerLine = 16;

std::string timeText(std::uint64_t microseconds) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%10.6f", static_cast<double>(microseconds) / 1e6);
  return text.data();
}

// Of a record whose body is a whole frame.
std::string_view payloadOf(const Record& record) {
  return std::string_view(record.body).substr(worker::kHeaderSize);
}

std::string inContext(std::uint64_t context_id) {
  return context_id == 0 ? "" : "context " + std::to_string(context_id) + ", ";
}

std::string describeRequest(const Record& record, const MessageHeader& header) {
  const std::string size = counted(header.payload_length, "byte");
  const std::string text = size + ": " + plainText(payloadOf(record), kTextWidth);
  switch (static_cast<MessageType>(header.type)) {
    case MessageType::EvalStart:
      return inContext(header.context_id) + text;
    case MessageType::EvalResume:
      return "run " + std::to_string(header.run_id) + ", " + text;
    case MessageType::EvalCancel:
      return "run " + std::to_string(header.run_id);
    default:
      return inContext(header.context_id) + size;
  }
}

std::string describeResponse(const Record& record, const MessageHeader& header) {
  const auto status = static_cast<WorkerStatus>(header.status);
  // Only an evaluation's payload can be decoded as one: its status says so, and its size.
  const auto result = client::decodeEvalResult(status, payloadOf(record), nullptr);
  if (!result) return header.payload_length == 0 ? "" : counted(header.payload_length, "byte");
  std::string text;
  if (result->run_id != 0) {
    text = "run " + std::to_string(result->run_id) + " needs " + result->call_name + " ";
  }
  return text + plainText(result->text, kTextWidth) + "   [" +
         counted(static_cast<std::size_t>(result->steps), "step") + "]";
}

struct Line {
  std::string speaker;
  std::string what;
  std::string details;
};

Line lineOf(const Record& record) {
  const std::optional<MessageHeader> header = headerOf(record);
  switch (record.kind) {
    case RecordKind::Start:
      return {"", "start", "a worker is started"};
    case RecordKind::End:
      return {"", "end", client::describeExit(decodeEnd(record.body))};
    case RecordKind::Request:
      // The proxy records what came of a request that the host has not finished.
      if (!header) return {"host", "cut request", counted(record.body.size(), "byte")};
      return {"host", std::string(client::messageTypeName(static_cast<MessageType>(header->type))),
              describeRequest(record, *header)};
    case RecordKind::Response:
      return {"worker", std::string(client::statusName(static_cast<WorkerStatus>(header->status))),
              describeResponse(record, *header)};
    case RecordKind::Broken:
      return {"worker", "no response", counted(record.body.size(), "byte") + " came"};
  }
  return {};
}

std::string field(std::string_view name, const std::string& value) {
  return "  " + padded(std::string(name), kFieldWidth) + value + "\n";
}

std::string numbersAt(std::string_view payload, std::size_t offset, std::size_t count) {
  std::string text;
  for (std::size_t index = 0; index < count; ++index) {
    text += (index == 0 ? "" : " ");
    text += client::printNumber(worker::getF64(payload.data() + offset + index * sizeof(double)));
  }
  return text;
}

// The cell plane's two numbers for z come right after it, as a system's do.
constexpr std::size_t kPlanarNumberCount = worker::kPlanarSystemSize / sizeof(double);
static_assert(worker::ContextOffset::kCellZScale ==
              worker::ContextOffset::kCellPlane + worker::PlanarOffset::kZScale);

std::string showContext(std::string_view payload) {
  using Offset = worker::ContextOffset;
  const char* const bytes = payload.data();
  std::string text =
      field("id", std::to_string(worker::getU64(bytes + Offset::kId))) +
      field("cell_key_seed", std::to_string(worker::getU64(bytes + Offset::kCellKeySeed))) +
      field("tag", std::to_string(worker::getU32(bytes + Offset::kTag))) +
      field("cell_size", numbersAt(payload, Offset::kCellSize, 1));
  for (std::size_t system = 0; system < worker::kSystemCount; ++system) {
    text += field("system " + std::to_string(system),
                  numbersAt(payload, Offset::kSystems + system * worker::kPlanarSystemSize,
                            kPlanarNumberCount));
  }
  return text + field("cell plane", numbersAt(payload, Offset::kCellPlane, kPlanarNumberCount));
}

std::string showResult(const client::EvalResult& result) {
  std::string text = field("eval_status", std::string(client::evalStatusName(result.eval_status))) +
                     field("steps", std::to_string(result.steps));
  if (result.run_id != 0) {
    text += field("call", result.call_name + " with " + counted(result.arg_count, "argument")) +
            field("run_id", std::to_string(result.run_id));
  }
  return text + "\n" + result.text + "\n";
}

// In hexadecimal: the bytes may come from a process that is not a worker at all.
std::string showBytes(std::string_view bytes) {
  std::string text;
  for (std::size_t begin = 0; begin < bytes.size(); begin += kBytesPerLine) {
    std::array<char, 32> number{};
    std::snprintf(number.data(), number.size(), "  %06zx ", begin);
    text += number.data();
    for (const char byte : bytes.substr(begin, kBytesPerLine)) {
      std::snprintf(number.data(), number.size(), " %02x", static_cast<unsigned char>(byte));
      text += number.data();
    }
    text += '\n';
  }
  return text;
}

std::string showPayload(const Record& record, const MessageHeader& header) {
  const std::string_view payload = payloadOf(record);
  if (payload.empty()) return "";
  if (record.kind == RecordKind::Response) {
    const auto result =
        client::decodeEvalResult(static_cast<WorkerStatus>(header.status), payload, nullptr);
    return result ? showResult(*result) : showBytes(payload);
  }
  switch (static_cast<MessageType>(header.type)) {
    case MessageType::EvalStart:
    case MessageType::EvalResume:
      return "\n" + std::string(payload) + "\n";
    case MessageType::RegisterContext:
      // A host may send any size; the worker refuses all but one.
      return payload.size() == worker::kContextPayloadSize ? showContext(payload)
                                                           : showBytes(payload);
    default:
      return showBytes(payload);
  }
}

}  // namespace

std::string describeRecord(const Record& record, std::size_t number) {
  const Line line = lineOf(record);
  std::array<char, 16> index{};
  std::snprintf(index.data(), index.size(), "%5zu", number);
  std::string text = std::string(index.data()) + timeText(record.time) + "  " +
                     padded(line.speaker, kSpeakerWidth) + padded(line.what, kWhatWidth) +
                     line.details;
  text.erase(text.find_last_not_of(' ') + 1);  // Of columns that are padded and have nothing after.
  return text;
}

std::string showSession(const RecordedSession& session) {
  std::string text;
  for (std::size_t number = 0; number < session.records.size(); ++number) {
    text += describeRecord(session.records[number], number) + "\n";
  }
  if (session.end != FileEnd::Whole) text += session.end_text + "\n";
  return text;
}

std::string showRecord(const Record& record, std::size_t number) {
  std::string text = describeRecord(record, number) + "\n";
  const std::optional<MessageHeader> header = headerOf(record);
  if (record.kind == RecordKind::Start || record.kind == RecordKind::End) return text;
  if (!header || record.kind == RecordKind::Broken) return text + showBytes(record.body);
  text += field("type", std::to_string(header->type)) +
          field("payload_length", std::to_string(header->payload_length)) +
          field("status", std::to_string(header->status)) +
          field("request_id", std::to_string(header->request_id)) +
          field("context_id", std::to_string(header->context_id)) +
          field("run_id", std::to_string(header->run_id));
  return text + showPayload(record, *header);
}

}  // namespace lisp_worker::session
