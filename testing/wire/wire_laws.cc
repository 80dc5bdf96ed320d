// Walks over input and output at once, request by request. Each request type has the statuses that
// may answer it and the size of payload that comes with each; the first response that fits neither
// is the broken law.

#include "testing/wire/wire_laws.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "lisp_worker/worker/exit_code.h"
#include "lisp_worker/worker/frame.h"
#include "testing/wire/frame_port.h"
#include "testing/wire/wire_frames.h"

namespace lisp_worker::testing_support {
namespace {

using worker::ExitCode;
using worker::kHeaderSize;
using worker::MessageHeader;
using worker::MessageType;
using worker::WorkerStatus;

MessageHeader headerAt(std::string_view bytes) {
  return worker::decodeHeader(std::span<const char, kHeaderSize>(bytes.data(), kHeaderSize));
}

bool isOneOf(WorkerStatus status, std::initializer_list<WorkerStatus> statuses) {
  return std::find(statuses.begin(), statuses.end(), status) != statuses.end();
}

bool isHostBuiltin(std::string_view name) {
  constexpr std::array<std::string_view, 11> kNames = {
      "GETPOINT", "GETCORNER", "GETDIST", "SSGET",     "ENTGET", "ENTMOD",
      "ENTMAKE",  "ENTMAKEX",  "COMMAND", "COMMAND-S", "OSNAP"};
  return std::find(kNames.begin(), kNames.end(), name) != kNames.end();
}

// An evaluation result, whose text may be anything.
std::string brokenResultLaw(WorkerStatus status, const std::string& payload) {
  constexpr std::array<WorkerStatus, 5> kStatuses = {
      WorkerStatus::Ok, WorkerStatus::EvalParseError, WorkerStatus::EvalFailed,
      WorkerStatus::EvalStepLimit, WorkerStatus::HostCallPending};
  const EvalResult result = decodeEvalResult(payload);
  if (!result.decoded) return "an evaluation result does not have the size that it announces";
  if (kStatuses[static_cast<std::size_t>(result.eval_status)] != status) {
    return "the status does not follow from the kind of outcome";
  }
  const bool is_call = status == WorkerStatus::HostCallPending;
  if ((result.run_id != 0) != is_call) return "a run id where no call is, or none where one is";
  if (isHostBuiltin(result.call_name) != is_call) return "no call of a host builtin";
  if (!is_call && result.argument_count != 0) return "arguments without a call";
  if (!is_call && !result.call_name.empty()) return "a name without a call";
  if (is_call && (result.text.front() != '(' || result.text.back() != ')')) {
    return "the arguments of a call are no list";
  }
  if (result.steps > 250001) return "more steps than there can be";
  if ((result.steps == 250001) != (status == WorkerStatus::EvalStepLimit)) {
    return "steps and step limit disagree";
  }
  const std::size_t name_end = worker::EvalResultOffset::kCallName + result.call_name.size();
  const std::string_view bytes = payload;
  const std::string_view name_rest =
      bytes.substr(name_end, worker::EvalResultOffset::kRunId - name_end);
  const std::string_view reserved = bytes.substr(worker::EvalResultOffset::kReserved2, 8);
  if (payload[1] != '\0' || name_rest.find_first_not_of('\0') != std::string_view::npos ||
      reserved.find_first_not_of('\0') != std::string_view::npos) {
    return "reserved bytes of a result are not zero";
  }
  return {};
}

// The status and payload with which a valid request is answered.
std::string brokenAnswerLaw(const MessageHeader& request, WorkerStatus status,
                            const std::string& payload) {
  const bool is_empty = payload.empty();
  switch (static_cast<MessageType>(request.type)) {
    case MessageType::Ping:
    case MessageType::EvalCancel:
    case MessageType::Shutdown:
      if (status != WorkerStatus::Ok || !is_empty) return "a plain request is refused or answered";
      return {};
    case MessageType::RegisterContext:
      if (!isOneOf(status, {WorkerStatus::Ok, WorkerStatus::InvalidRequest})) return "status";
      if (status == WorkerStatus::Ok && request.payload_length != worker::kContextPayloadSize) {
        return "a record of the wrong size is registered";
      }
      return is_empty ? "" : "a registration is answered with a payload";
    case MessageType::LocateCell:
    case MessageType::CellPlaneToSystem:
    case MessageType::Convert:
      if (request.payload_length != worker::kPointPayloadSize) {
        return status == WorkerStatus::InvalidRequest && is_empty ? ""
                                                                  : "a point of the wrong size";
      }
      if (status == WorkerStatus::Ok) {
        return payload.size() == worker::kPointResultSize ? "" : "a result of the wrong size";
      }
      if (!isOneOf(status, {WorkerStatus::InvalidRequest, WorkerStatus::ContextNotFound,
                            WorkerStatus::QueryFailed})) {
        return "a status that no point request has";
      }
      return is_empty ? "" : "a failed query has a payload";
    case MessageType::GeometryRequest:
      if (request.payload_length != worker::kGeometryPayloadSize) {
        return status == WorkerStatus::InvalidRequest && is_empty ? ""
                                                                  : "a request of the wrong size";
      }
      if (!isOneOf(status, {WorkerStatus::Ok, WorkerStatus::InvalidRequest,
                            WorkerStatus::UnknownType, WorkerStatus::Degenerate})) {
        return "a status that no geometric request has";
      }
      return payload.size() == worker::kGeometryResultSize ? "" : "a result of the wrong size";
    case MessageType::EvalStart:
    case MessageType::EvalResume:
      if (isOneOf(status, {WorkerStatus::InvalidRequest, WorkerStatus::ContextNotFound})) {
        return is_empty ? "" : "a refused evaluation has a payload";
      }
      return brokenResultLaw(status, payload);
  }
  return status == WorkerStatus::UnknownType && is_empty ? "" : "an unknown type is not refused";
}

// Takes the response to `request` from the front of `output`.
std::string brokenResponseLaw(const MessageHeader& request, WorkerStatus header_status,
                              std::string_view& output) {
  if (output.size() < kHeaderSize) return "a request is not answered";
  const std::string_view header_bytes = output.substr(0, kHeaderSize);
  const MessageHeader header = headerAt(header_bytes);
  output.remove_prefix(kHeaderSize);
  if (output.size() < header.payload_length) return "a response is cut";
  const std::string payload(output.substr(0, header.payload_length));
  output.remove_prefix(header.payload_length);

  MessageHeader expected;
  expected.magic = worker::kMagic;
  expected.version = worker::kProtocolVersion;
  expected.type = request.type;
  expected.payload_length = header.payload_length;
  expected.status = header.status;
  expected.request_id = request.request_id;
  expected.context_id = request.context_id;
  if (headerBytes(expected) != header_bytes) return "a header is not the request's response";
  if (header.payload_length > worker::kPayloadSizeMax) return "a payload is too large";
  const auto status = static_cast<WorkerStatus>(header.status);
  if (header_status == WorkerStatus::Ok) return brokenAnswerLaw(request, status, payload);
  return status == header_status && payload.empty() ? "" : "a bad header is not refused";
}

ExitCode exitCodeOf(WorkerStatus header_status) {
  switch (header_status) {
    case WorkerStatus::BadMagic:
      return ExitCode::BadMagic;
    case WorkerStatus::BadVersion:
      return ExitCode::BadVersion;
    default:
      return ExitCode::PayloadTooLarge;
  }
}

}  // namespace

std::string brokenLaw(std::string_view input, std::string_view output, int exit_code) {
  auto expected_exit = ExitCode::Finished;
  for (std::size_t count = 0; input.size() >= kHeaderSize; ++count) {
    const MessageHeader request = headerAt(input);
    input.remove_prefix(kHeaderSize);
    const WorkerStatus header_status = worker::validateHeader(request);
    if (header_status == WorkerStatus::Ok && input.size() < request.payload_length) {
      expected_exit = ExitCode::PayloadCut;
      break;
    }
    const std::string broken = brokenResponseLaw(request, header_status, output);
    if (!broken.empty()) return "request " + std::to_string(count) + ": " + broken;
    if (header_status != WorkerStatus::Ok) {
      expected_exit = exitCodeOf(header_status);
      break;
    }
    input.remove_prefix(request.payload_length);
    if (request.type == static_cast<std::uint16_t>(MessageType::Shutdown)) break;
  }
  if (!output.empty()) return "output after the last response";
  if (exit_code == static_cast<int>(expected_exit)) return {};
  return "exit code " + std::to_string(exit_code) + " instead of " +
         std::to_string(static_cast<int>(expected_exit));
}

}  // namespace lisp_worker::testing_support
