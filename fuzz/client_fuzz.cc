// The client library against hostile workers.
//
// The input is what the worker sends: a byte of 0xFF lets the rest through as it is; otherwise each
// response begins as it should, and its status, size and payload come from the input. The client is
// asked for every operation in turn. Laws: it reads no byte beyond a response; a reply is one that
// the worker may give to that request; after a fault nothing is sent or read any more; and a value
// that can be read back from a text of the worker prints as an answer that reads the same.

#include <optional>
#include <string>

#include "fuzz/law.h"
#include "lisp_worker/client/answer_text.h"
#include "lisp_worker/client/eval_result.h"
#include "lisp_worker/client/worker_client.h"
#include "lisp_worker/client/worker_text.h"
#include "lisp_worker/worker/frame.h"
#include "testing/wire/memory_channel.h"

namespace {

using lisp_worker::client::WorkerClient;
using lisp_worker::worker::MessageType;
using lisp_worker::worker::WorkerStatus;

constexpr MessageType kTypes[] = {MessageType::Ping,       MessageType::RegisterContext,
                                  MessageType::LocateCell, MessageType::CellPlaneToSystem,
                                  MessageType::Convert,    MessageType::GeometryRequest,
                                  MessageType::EvalStart,  MessageType::EvalResume,
                                  MessageType::EvalCancel};
constexpr std::uint64_t kContextId = 7;

std::uint64_t contextIdOf(MessageType type) {
  const bool names_context = type >= MessageType::RegisterContext &&
                             type <= MessageType::EvalStart && type != MessageType::GeometryRequest;
  return names_context ? kContextId : 0;
}

// The response to `request_id`: a good header, a status of the protocol, and a payload that is an
// evaluation result more often than not.
void respond(lisp_worker::fuzz::Input& input, std::uint64_t request_id, MessageType type,
             lisp_worker::testing_support::MemoryChannel& channel) {
  const std::uint8_t shape = input.byte();
  const auto status = static_cast<WorkerStatus>(shape % 14);
  const bool evaluates = type == MessageType::EvalStart || type == MessageType::EvalResume;
  if (evaluates && shape >= 64) {
    lisp_worker::testing_support::EvalPayload payload;
    payload.eval_status = shape >> 3 & 7;
    payload.arg_count = input.byte() % 4;
    payload.steps = input.byte();
    payload.run_id = input.byte() % 3;
    payload.call_name = std::string(input.take(input.byte() % 33));
    payload.text = std::string(input.take(input.byte()));
    channel.respond(request_id, type, status, payload.bytes(), contextIdOf(type));
    return;
  }
  constexpr std::size_t kSizes[] = {0, 0, 64, 64, 63, 65, 1, 200};
  std::string payload(input.take(kSizes[shape >> 4 & 7]));
  channel.respond(request_id, type, status, payload, contextIdOf(type));
}

void checkResult(const lisp_worker::client::EvalResult& result) {
  const bool waits = result.eval_status == lisp_worker::client::EvalStatus::HostCallRequired;
  lisp_worker::fuzz::require(waits == (result.status == WorkerStatus::HostCallPending),
                             "status and evaluation status agree");
  lisp_worker::fuzz::require(
      waits || (result.call_name.empty() && result.arg_count == 0 && result.run_id == 0),
      "only a call has a name, arguments and a run");
  if (!waits) return;
  std::string error;
  const std::optional<lisp_worker::client::HostCall> call =
      lisp_worker::client::readHostCall(result, &error);
  if (!call) return;
  for (const lisp_worker::client::Datum& argument : call->arguments) {
    const std::optional<std::string> text = lisp_worker::client::answerText(argument, &error);
    if (!text) continue;
    const std::optional<lisp_worker::client::Datum> again =
        lisp_worker::client::readDatum(*text, &error);
    lisp_worker::fuzz::require(again.has_value() && *again == argument,
                               "an answer reads as what it was", *text);
  }
}

// Asks for one operation; returns whether there was a reply.
bool ask(WorkerClient& client, MessageType type) {
  switch (type) {
    case MessageType::Ping: {
      const auto status = client.ping();
      if (status) lisp_worker::fuzz::require(*status == WorkerStatus::Ok, "a ping is Ok");
      return status.has_value();
    }
    case MessageType::RegisterContext: {
      lisp_worker::client::CoordContext context;
      context.id = kContextId;
      return client.registerContext(context).has_value();
    }
    case MessageType::LocateCell: {
      const auto reply = client.locateCell(kContextId, {1, 2, 3}, 0);
      if (reply) {
        lisp_worker::fuzz::require(reply->value.has_value() == (reply->status == WorkerStatus::Ok),
                                   "a cell comes with Ok alone");
      }
      return reply.has_value();
    }
    case MessageType::CellPlaneToSystem:
    case MessageType::Convert: {
      const auto reply = type == MessageType::Convert
                             ? client.convert(kContextId, {1, 2, 3}, 0, 1)
                             : client.cellPlaneToSystem(kContextId, {1, 2, 3}, 0);
      if (reply) {
        lisp_worker::fuzz::require(reply->value.has_value() == (reply->status == WorkerStatus::Ok),
                                   "a point comes with Ok alone");
      }
      return reply.has_value();
    }
    case MessageType::GeometryRequest: {
      const double operands[] = {1, 2};
      const auto reply =
          client.computeGeometry(lisp_worker::client::GeometryOperation::Sum, operands);
      if (reply) {
        lisp_worker::fuzz::require(reply->value.has_value(),
                                   "a geometric request always has a value");
      }
      return reply.has_value();
    }
    case MessageType::EvalStart:
    case MessageType::EvalResume: {
      const auto reply = type == MessageType::EvalStart ? client.evalStart("(GETPOINT)", kContextId)
                                                        : client.evalResume(1, "nil");
      if (reply && reply->value) checkResult(*reply->value);
      return reply.has_value();
    }
    default:
      return client.evalCancel(1).has_value();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::uint64_t kRequestsMax = 40;
  lisp_worker::fuzz::Input input(data, size);
  lisp_worker::testing_support::MemoryChannel channel;
  WorkerClient client(channel);
  const bool is_raw = input.byte() == 0xFF;
  if (is_raw) channel.respond(input.rest());
  for (std::uint64_t request_id = 1; request_id <= kRequestsMax; ++request_id) {
    if (!is_raw && input.empty()) break;
    const std::size_t choice = is_raw ? request_id : input.byte();
    const MessageType type = kTypes[choice % std::size(kTypes)];
    if (!is_raw) respond(input, request_id, type, channel);
    const bool replied = ask(client, type);
    lisp_worker::fuzz::require(replied != client.fault().has_value(), "either a reply or a fault");
    if (replied) {
      lisp_worker::fuzz::require(is_raw || channel.unreadSize() == 0,
                                 "a response is read to its end");
      continue;
    }
    const std::size_t unread = channel.unreadSize();
    const std::size_t written = channel.writes().size();
    lisp_worker::fuzz::require(!ask(client, type), "after a fault there is no reply");
    lisp_worker::fuzz::require(channel.unreadSize() == unread && channel.writes().size() == written,
                               "after a fault the channel is left alone");
    break;
  }
  return 0;
}
