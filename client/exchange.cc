// Checks and messages of both clients, the waiting and the asynchronous one: the header of a
// request, the faults of a response, and the sentences about them. A fault's message names the
// request and how far its response had come, because that is all that a host has in its log.

#include "client/exchange.h"

#include <span>
#include <utility>

#include "lisp_worker/client/names.h"

namespace lisp_worker::client {

using worker::MessageHeader;
using worker::MessageType;
using worker::WorkerStatus;

namespace {

// The work that a request asks of the worker.
std::string describeWork(std::string_view frame) {
  const MessageHeader header = worker::decodeHeader(std::span(frame).first<worker::kHeaderSize>());
  const auto type = static_cast<MessageType>(header.type);
  const std::string size = std::to_string(header.payload_length) + " bytes";
  std::string work = "request " + std::to_string(header.request_id) + ", ";
  switch (type) {
    case MessageType::EvalStart:
      work += "an EvalStart with a program of " + size;
      break;
    case MessageType::EvalResume:
      work +=
          "an EvalResume of run " + std::to_string(header.run_id) + " with an answer of " + size;
      break;
    case MessageType::EvalCancel:
      return work + "an EvalCancel of run " + std::to_string(header.run_id);
    default:
      work += "a " + std::string(messageTypeName(type));
  }
  if (header.context_id != 0) work += " under context " + std::to_string(header.context_id);
  return work;
}

std::string describePart(std::string_view part, std::size_t size, std::size_t whole) {
  return std::to_string(size) + " of " + std::to_string(whole) + " " + std::string(part) + " bytes";
}

// The fault of a field that is not as it should be.
std::optional<Fault> faultOfField(Fault::Kind kind, std::string_view field, std::uint64_t got,
                                  std::uint64_t expected) {
  if (got == expected) return std::nullopt;
  return Fault{kind, "the worker's response has " + std::string(field) + " " + std::to_string(got) +
                         " instead of " + std::to_string(expected)};
}

}  // namespace

MessageHeader requestHeader(MessageType type, std::uint64_t request_id, std::size_t payload_size) {
  MessageHeader header;
  header.magic = worker::kMagic;
  header.version = worker::kProtocolVersion;
  header.type = static_cast<std::uint16_t>(type);
  header.payload_length = static_cast<std::uint32_t>(payload_size);
  header.request_id = request_id;
  return header;
}

void encodeRequest(const MessageHeader& header, std::string_view payload, std::string& frame_out) {
  frame_out.assign(worker::kHeaderSize, '\0');
  worker::encodeHeader(header, std::span(frame_out).first<worker::kHeaderSize>());
  frame_out += payload;
}

std::optional<Fault> faultOfHeader(const MessageHeader& request, const MessageHeader& response) {
  if (response.magic != worker::kMagic) {
    return Fault{Fault::Kind::BadHeader,
                 "the worker's response does not begin with the protocol's magic"};
  }
  if (response.payload_length > worker::kPayloadSizeMax) {
    return Fault{Fault::Kind::BadHeader, "the worker's response announces " +
                                             std::to_string(response.payload_length) +
                                             " bytes, more than a frame holds"};
  }
  using enum Fault::Kind;
  auto fault = faultOfField(BadHeader, "version", response.version, worker::kProtocolVersion);
  if (!fault) fault = faultOfField(BadHeader, "run id", response.run_id, 0);
  if (!fault) fault = faultOfField(WrongEcho, "type", response.type, request.type);
  if (!fault) {
    fault = faultOfField(WrongEcho, "request id", response.request_id, request.request_id);
  }
  if (!fault) {
    fault = faultOfField(WrongEcho, "context id", response.context_id, request.context_id);
  }
  return fault;
}

Fault faultOfSlowRequest(std::string_view frame, std::chrono::milliseconds limit) {
  return {Fault::Kind::DeadlinePassed, "the worker has not taken the request within " +
                                           std::to_string(limit.count()) +
                                           " ms: " + describeWork(frame)};
}

Fault faultOfEnd(std::string_view part, std::size_t size, std::size_t whole) {
  return {Fault::Kind::ResponseCut,
          "the worker's output ended after " + describePart(part, size, whole)};
}

Fault faultOfSlowResponse(std::string_view frame, std::chrono::milliseconds limit,
                          std::string_view part, std::size_t size, std::size_t whole) {
  return {Fault::Kind::DeadlinePassed,
          "the worker has not answered within " + std::to_string(limit.count()) + " ms: " +
              describeWork(frame) + "; " + describePart(part, size, whole) + " have come"};
}

std::string describeResponse(WorkerStatus status, std::size_t payload_size) {
  return std::string(statusName(status)) + " with " + std::to_string(payload_size) + " bytes";
}

std::optional<Fault> faultOfStatus(MessageType type, WorkerStatus status,
                                   std::size_t payload_size) {
  const bool is_refusable = type == MessageType::RegisterContext;
  const bool is_expected =
      status == WorkerStatus::Ok || (is_refusable && status == WorkerStatus::InvalidRequest);
  if (is_expected && payload_size == 0) return std::nullopt;
  return Fault{Fault::Kind::BadResponse, "the worker answered a request of type " +
                                             std::to_string(static_cast<unsigned>(type)) +
                                             " with " + describeResponse(status, payload_size)};
}

std::optional<Reply<EvalResult>> decodeEvaluation(WorkerStatus status, std::string_view payload,
                                                  std::optional<Fault>& fault_out) {
  const bool is_refused =
      status == WorkerStatus::InvalidRequest || status == WorkerStatus::ContextNotFound;
  if (is_refused && payload.empty()) {
    return Reply<EvalResult>{.status = status, .value = std::nullopt};
  }
  std::string reason;
  auto result = decodeEvalResult(status, payload, &reason);
  if (!result) {
    fault_out = Fault{Fault::Kind::BadResponse, "the worker answered an evaluation with " +
                                                    describeResponse(status, payload.size()) +
                                                    ": " + reason};
    return std::nullopt;
  }
  return Reply<EvalResult>{.status = status, .value = std::move(result)};
}

}  // namespace lisp_worker::client
