// Each request is one exchange(): header and payload in one write, then the header of the response,
// which is checked before its payload is read, then the payload. The first thing that goes wrong
// becomes the fault, and from then on every request returns nothing: after a broken response nobody
// knows where the next one begins.
//
// The methods then compare the contents of the response with what the protocol allows for the type
// of the request: its statuses, and the size of the payload for each.

#include "lisp_worker/client/worker_client.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <utility>

#include "client/exchange.h"

namespace lisp_worker::client {

using worker::MessageHeader;
using worker::MessageType;
using worker::WorkerStatus;

namespace {

bool isOneOf(WorkerStatus status, std::initializer_list<WorkerStatus> allowed) {
  return std::find(allowed.begin(), allowed.end(), status) != allowed.end();
}

}  // namespace

std::optional<WorkerStatus> WorkerClient::ping() {
  return exchangeForStatus({.type = MessageType::Ping});
}

std::optional<WorkerStatus> WorkerClient::registerContext(const CoordContext& context) {
  const std::string payload = encodeContext(context);
  return exchangeForStatus(
      {.type = MessageType::RegisterContext, .context_id = context.id, .payload = payload});
}

std::optional<Reply<CellLocation>> WorkerClient::locateCell(std::uint64_t context_id,
                                                            const Point& point,
                                                            std::uint8_t source_system) {
  const auto response = queryPoint(MessageType::LocateCell, context_id, point, source_system, 0);
  if (!response) return std::nullopt;
  Reply<CellLocation> reply{.status = response->status, .value = std::nullopt};
  if (reply.status == WorkerStatus::Ok) reply.value = decodeCellLocation(response->payload);
  return reply;
}

std::optional<Reply<Point>> WorkerClient::cellPlaneToSystem(std::uint64_t context_id,
                                                            const Point& point,
                                                            std::uint8_t target_system) {
  const auto response =
      queryPoint(MessageType::CellPlaneToSystem, context_id, point, 0, target_system);
  if (!response) return std::nullopt;
  Reply<Point> reply{.status = response->status, .value = std::nullopt};
  if (reply.status == WorkerStatus::Ok) reply.value = decodePoint(response->payload);
  return reply;
}

std::optional<Reply<Point>> WorkerClient::convert(std::uint64_t context_id, const Point& point,
                                                  std::uint8_t source_system,
                                                  std::uint8_t target_system) {
  const auto response =
      queryPoint(MessageType::Convert, context_id, point, source_system, target_system);
  if (!response) return std::nullopt;
  Reply<Point> reply{.status = response->status, .value = std::nullopt};
  if (reply.status == WorkerStatus::Ok) reply.value = decodePoint(response->payload);
  return reply;
}

std::optional<Reply<GeometryResult>> WorkerClient::computeGeometry(
    GeometryOperation operation, std::span<const double> operands) {
  const std::string payload = encodeGeometryRequest(operation, operands);
  const auto response = exchange({.type = MessageType::GeometryRequest, .payload = payload});
  if (!response) return std::nullopt;
  if (response->payload.size() != worker::kGeometryResultSize ||
      !isOneOf(response->status, {WorkerStatus::Ok, WorkerStatus::InvalidRequest,
                                  WorkerStatus::UnknownType, WorkerStatus::Degenerate})) {
    return fail(Fault::Kind::BadResponse,
                "the worker answered a geometric request with " +
                    describeResponse(response->status, response->payload.size()));
  }
  return Reply<GeometryResult>{.status = response->status,
                               .value = decodeGeometryResult(response->payload)};
}

std::optional<Reply<EvalResult>> WorkerClient::evalStart(std::string_view program,
                                                         std::uint64_t context_id) {
  std::optional<Reply<EvalResult>> reply;
  try {
    reply =
        evaluate({.type = MessageType::EvalStart, .context_id = context_id, .payload = program});
  } catch (...) {
    // Nobody learns whether a run waits now.
    endUntoldRunQuietly();
    throw;
  }
  if (!reply) return reply;
  if (reply->value && reply->value->run_id != 0) next_run_id_ = reply->value->run_id + 1;
  const bool is_refused_by_worker =
      reply->status == WorkerStatus::InvalidRequest && program.size() <= worker::kPayloadSizeMax;
  if (is_refused_by_worker && !endUntoldRun()) return std::nullopt;
  return reply;
}

// Ends the run that waits under the next run id, if there is one. An answer that cannot be read
// does that, and unlike a cancellation tells whether the id has been used up.
bool WorkerClient::endUntoldRun() {
  const auto reply = evalResume(next_run_id_, ")");
  if (reply && reply->value) ++next_run_id_;
  return reply.has_value();
}

void WorkerClient::endUntoldRunQuietly() {
  try {
    endUntoldRun();
  } catch (...) {
    // The observer's, once more; the first one is what its host learns of.
  }
}

std::optional<Reply<EvalResult>> WorkerClient::evalResume(std::uint64_t run_id,
                                                          std::string_view answer) {
  return evaluate({.type = MessageType::EvalResume, .run_id = run_id, .payload = answer});
}

std::optional<WorkerStatus> WorkerClient::evalCancel(std::uint64_t run_id) {
  return exchangeForStatus({.type = MessageType::EvalCancel, .run_id = run_id});
}

std::optional<WorkerStatus> WorkerClient::shutdown() {
  const auto status = exchangeForStatus({.type = MessageType::Shutdown});
  if (status) {
    fault_ = Fault{Fault::Kind::ShutDown, "the worker has been asked to end"};
  }
  return status;
}

// A request that is answered by its status alone.
std::optional<WorkerStatus> WorkerClient::exchangeForStatus(const Request& request) {
  const auto response = exchange(request);
  if (!response) return std::nullopt;
  fault_ = faultOfStatus(request.type, response->status, response->payload.size());
  if (fault_) return std::nullopt;
  return response->status;
}

// A response that holds a point or a cell if and only if its status is Ok.
std::optional<WorkerClient::Response> WorkerClient::queryPoint(MessageType type,
                                                               std::uint64_t context_id,
                                                               const Point& point,
                                                               std::uint8_t source_system,
                                                               std::uint8_t target_system) {
  const std::string payload = encodePointRequest(point, source_system, target_system);
  auto response = exchange({.type = type, .context_id = context_id, .payload = payload});
  if (!response) return std::nullopt;
  const bool expected =
      isOneOf(response->status, {WorkerStatus::Ok, WorkerStatus::InvalidRequest,
                                 WorkerStatus::ContextNotFound, WorkerStatus::QueryFailed});
  const std::size_t expected_size =
      response->status == WorkerStatus::Ok ? worker::kPointResultSize : 0;
  if (!expected || response->payload.size() != expected_size) {
    return fail(Fault::Kind::BadResponse,
                "the worker answered a question about a point with " +
                    describeResponse(response->status, response->payload.size()));
  }
  return response;
}

std::optional<Reply<EvalResult>> WorkerClient::evaluate(const Request& request) {
  if (request.payload.size() > worker::kPayloadSizeMax) {
    return Reply<EvalResult>{.status = WorkerStatus::InvalidRequest, .value = std::nullopt};
  }
  const auto response = exchange(request);
  if (!response) return std::nullopt;
  return decodeEvaluation(response->status, response->payload, fault_);
}

std::chrono::milliseconds WorkerClient::timeLimitOf(MessageType type) const {
  const std::chrono::milliseconds limit = settings_.time_limit;
  const std::chrono::milliseconds stop_limit = settings_.stop_time_limit;
  if (type != MessageType::Shutdown || stop_limit.count() <= 0) return limit;
  return limit.count() > 0 ? std::min(limit, stop_limit) : stop_limit;
}

std::optional<WorkerClient::Response> WorkerClient::exchange(const Request& request) {
  if (fault_) return std::nullopt;
  MessageHeader header = requestHeader(request.type, next_request_id_++, request.payload.size());
  header.context_id = request.context_id;
  header.run_id = request.run_id;

  time_limit_ = timeLimitOf(request.type);
  deadline_.reset();
  if (time_limit_.count() > 0) {
    deadline_ = momentAfter(time_limit_);
    channel_.setDeadline(deadline_);
  }
  std::optional<Response> response;
  if (send(header, request.payload)) {
    response = receive(header);
  } else if (channel_.hasTimedOut()) {
    fault_ = faultOfSlowRequest(frame_, time_limit_);
  } else {
    fail(Fault::Kind::RequestNotTaken, "the worker no longer takes requests");
  }
  if (deadline_) channel_.setDeadline(std::nullopt);
  if (observer_failure_) std::rethrow_exception(std::exchange(observer_failure_, nullptr));
  return response;
}

// Keeps an observer's exception until the request in hand is over: a response that was not read
// would be taken for that of the next request.
template <typename Notice>
void WorkerClient::notify(Notice notice) {
  if (settings_.observer == nullptr) return;
  try {
    notice(*settings_.observer);
  } catch (...) {
    if (!observer_failure_) observer_failure_ = std::current_exception();
  }
}

// One write for both parts: one system call, and never a write of nothing.
bool WorkerClient::send(const MessageHeader& header, std::string_view payload) {
  encodeRequest(header, payload, frame_);
  const bool taken = channel_.write(frame_);
  notify([this](FrameObserver& observer) { observer.onRequest(frame_); });
  return taken;
}

std::optional<WorkerClient::Response> WorkerClient::receive(const MessageHeader& request) {
  const auto tell_broken = [this](std::string_view came) {
    notify([came](FrameObserver& observer) { observer.onBrokenResponse(came); });
  };
  std::array<char, worker::kHeaderSize> bytes{};
  const std::size_t header_size = channel_.read(bytes.data(), bytes.size());
  const std::string_view header_bytes(bytes.data(), header_size);
  if (header_size < bytes.size()) {
    tell_broken(header_bytes);
    return failCut("header", header_size, bytes.size());
  }
  const MessageHeader header = worker::decodeHeader(bytes);
  if (!checkHeader(request, header)) {
    tell_broken(header_bytes);
    return std::nullopt;
  }
  Response response{.status = static_cast<WorkerStatus>(header.status),
                    .payload = std::string(header.payload_length, '\0')};
  if (!response.payload.empty()) {
    const std::size_t size = channel_.read(response.payload.data(), response.payload.size());
    if (size < response.payload.size()) {
      tell_broken(std::string(header_bytes) + response.payload.substr(0, size));
      return failCut("payload", size, response.payload.size());
    }
  }
  notify([&](FrameObserver& observer) { observer.onResponse(header_bytes, response.payload); });
  return response;
}

std::nullopt_t WorkerClient::failCut(std::string_view part, std::size_t size, std::size_t whole) {
  fault_ = channel_.hasTimedOut() ? faultOfSlowResponse(frame_, time_limit_, part, size, whole)
                                  : faultOfEnd(part, size, whole);
  return std::nullopt;
}

bool WorkerClient::checkHeader(const MessageHeader& request, const MessageHeader& response) {
  fault_ = faultOfHeader(request, response);
  return !fault_;
}

std::nullopt_t WorkerClient::fail(Fault::Kind kind, std::string message) {
  fault_ = Fault{kind, std::move(message)};
  return std::nullopt;
}

}  // namespace lisp_worker::client
