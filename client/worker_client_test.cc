#include "lisp_worker/client/worker_client.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <string>

#include "lisp_worker/client/answer_text.h"
#include "testing/wire/memory_channel.h"

namespace lisp_worker::client {
namespace {

using testing_support::EvalPayload;
using testing_support::MemoryChannel;
using worker::MessageHeader;
using worker::MessageType;
using worker::WorkerStatus;

MessageHeader headerOf(const std::string& frame) {
  return worker::decodeHeader(std::span(frame).first<worker::kHeaderSize>());
}

class WorkerClientTest : public testing::Test {
 protected:
  // The request that was sent last.
  [[nodiscard]] MessageHeader sentHeader() const { return headerOf(channel.writes().back()); }
  [[nodiscard]] std::string sentPayload() const {
    return channel.writes().back().substr(worker::kHeaderSize);
  }

  MemoryChannel channel;
  WorkerClient worker{channel};
};

TEST_F(WorkerClientTest, SendsAFrameInOneWrite) {
  channel.respond(1, MessageType::EvalStart, WorkerStatus::Ok, EvalPayload{.text = "3"}.bytes(), 5);
  ASSERT_TRUE(worker.evalStart("(+ 1 2)", 5).has_value());
  ASSERT_EQ(channel.writes().size(), 1u);
  EXPECT_EQ(sentHeader().magic, worker::kMagic);
  EXPECT_EQ(sentHeader().version, 3);
  EXPECT_EQ(sentHeader().type, 7);
  EXPECT_EQ(sentHeader().payload_length, 7u);
  EXPECT_EQ(sentHeader().status, 0u);
  EXPECT_EQ(sentHeader().request_id, 1u);
  EXPECT_EQ(sentHeader().context_id, 5u);
  EXPECT_EQ(sentHeader().run_id, 0u);
  EXPECT_EQ(sentPayload(), "(+ 1 2)");
}

TEST_F(WorkerClientTest, NumbersItsRequests) {
  channel.respond(1, MessageType::Ping, WorkerStatus::Ok);
  channel.respond(2, MessageType::Ping, WorkerStatus::Ok);
  EXPECT_EQ(worker.ping(), WorkerStatus::Ok);
  EXPECT_EQ(worker.ping(), WorkerStatus::Ok);
  EXPECT_EQ(sentHeader().request_id, 2u);
  EXPECT_EQ(sentPayload(), "");
  EXPECT_FALSE(worker.fault().has_value());
}

TEST_F(WorkerClientTest, RegistersAContextUnderItsId) {
  CoordContext context;
  context.id = 12;
  channel.respond(1, MessageType::RegisterContext, WorkerStatus::Ok, "", 12);
  channel.respond(2, MessageType::RegisterContext, WorkerStatus::InvalidRequest, "", 12);
  EXPECT_EQ(worker.registerContext(context), WorkerStatus::Ok);
  EXPECT_EQ(sentHeader().context_id, 12u);
  EXPECT_EQ(sentPayload(), encodeContext(context));
  EXPECT_EQ(worker.registerContext(context), WorkerStatus::InvalidRequest);
}

TEST_F(WorkerClientTest, LocatesACell) {
  std::string result(64, '\0');
  worker::putU64(result.data() + 24, 3);
  channel.respond(1, MessageType::LocateCell, WorkerStatus::Ok, result, 12);
  const auto reply = worker.locateCell(12, {1, 2, 3}, 4);
  ASSERT_TRUE(reply.has_value());
  ASSERT_TRUE(reply->value.has_value());
  EXPECT_EQ(reply->value->i, 3);
  EXPECT_EQ(sentPayload(), encodePointRequest({1, 2, 3}, 4, 0));
}

TEST_F(WorkerClientTest, ConvertsPoints) {
  std::string result(64, '\0');
  worker::putF64(result.data(), 9);
  channel.respond(1, MessageType::CellPlaneToSystem, WorkerStatus::Ok, result, 12);
  channel.respond(2, MessageType::Convert, WorkerStatus::Ok, result, 12);
  const auto from_cell_plane = worker.cellPlaneToSystem(12, {1, 2, 3}, 4);
  ASSERT_TRUE(from_cell_plane.has_value());
  EXPECT_EQ(from_cell_plane->value, (Point{9, 0, 0}));
  EXPECT_EQ(sentPayload(), encodePointRequest({1, 2, 3}, 0, 4));
  const auto converted = worker.convert(12, {1, 2, 3}, 2, 4);
  ASSERT_TRUE(converted.has_value());
  EXPECT_EQ(converted->value, (Point{9, 0, 0}));
  EXPECT_EQ(sentPayload(), encodePointRequest({1, 2, 3}, 2, 4));
}

TEST_F(WorkerClientTest, PassesOnARefusalToConvert) {
  std::uint64_t request_id = 0;
  for (const WorkerStatus status :
       {WorkerStatus::InvalidRequest, WorkerStatus::ContextNotFound, WorkerStatus::QueryFailed}) {
    channel.respond(++request_id, MessageType::Convert, status, "", 12);
    const auto reply = worker.convert(12, {}, 0, 0);
    ASSERT_TRUE(reply.has_value());
    EXPECT_EQ(reply->status, status);
    EXPECT_FALSE(reply->value.has_value());
  }
}

TEST_F(WorkerClientTest, ComputesGeometry) {
  std::string result(64, '\0');
  worker::putF64(result.data(), 6);
  channel.respond(1, MessageType::GeometryRequest, WorkerStatus::Ok, result);
  channel.respond(2, MessageType::GeometryRequest, WorkerStatus::Degenerate, std::string(64, '\0'));
  const std::array<double, 3> operands = {1, 2, 3};
  const auto sum = worker.computeGeometry(GeometryOperation::Sum, operands);
  ASSERT_TRUE(sum.has_value());
  EXPECT_EQ(sum->value, (GeometryResult{6, 0}));
  const auto refused = worker.computeGeometry(GeometryOperation::Quotient, operands);
  ASSERT_TRUE(refused.has_value());
  EXPECT_EQ(refused->status, WorkerStatus::Degenerate);
  EXPECT_EQ(refused->value, (GeometryResult{0, 0}));
}

TEST_F(WorkerClientTest, CarriesARunThroughAHostCall) {
  channel.respond(
      1, MessageType::EvalStart, WorkerStatus::HostCallPending,
      EvalPayload{.eval_status = 4, .steps = 2, .call_name = "GETPOINT", .run_id = 41, .text = "()"}
          .bytes());
  channel.respond(2, MessageType::EvalResume, WorkerStatus::EvalFailed,
                  EvalPayload{.eval_status = 2, .steps = 3, .text = "division by zero"}.bytes());
  const auto started = worker.evalStart("(/ (CAR (GETPOINT)) 0)", 0);
  ASSERT_TRUE(started.has_value());
  EXPECT_EQ(started->status, WorkerStatus::HostCallPending);
  ASSERT_TRUE(started->value.has_value());
  const auto call = readHostCall(*started->value, nullptr);
  ASSERT_TRUE(call.has_value());
  EXPECT_EQ(call->name, "GETPOINT");
  EXPECT_TRUE(call->arguments.empty());

  const auto ended = worker.evalResume(started->value->run_id, "(1 2 3)");
  ASSERT_TRUE(ended.has_value());
  EXPECT_EQ(sentHeader().type, 8);
  EXPECT_EQ(sentHeader().run_id, 41u);
  EXPECT_EQ(sentHeader().context_id, 0u);
  EXPECT_EQ(sentPayload(), "(1 2 3)");
  EXPECT_EQ(ended->status, WorkerStatus::EvalFailed);
  ASSERT_TRUE(ended->value.has_value());
  EXPECT_EQ(ended->value->text, "division by zero");
}

TEST_F(WorkerClientTest, PassesOnARefusalToEvaluate) {
  channel.respond(1, MessageType::EvalStart, WorkerStatus::ContextNotFound, "", 9);
  channel.respond(2, MessageType::EvalResume, WorkerStatus::InvalidRequest);
  const auto started = worker.evalStart("1", 9);
  ASSERT_TRUE(started.has_value());
  EXPECT_EQ(started->status, WorkerStatus::ContextNotFound);
  EXPECT_FALSE(started->value.has_value());
  const auto resumed = worker.evalResume(1, "nil");
  ASSERT_TRUE(resumed.has_value());
  EXPECT_EQ(resumed->status, WorkerStatus::InvalidRequest);
  EXPECT_FALSE(resumed->value.has_value());
}

TEST_F(WorkerClientTest, CancelsARun) {
  channel.respond(1, MessageType::EvalCancel, WorkerStatus::Ok);
  EXPECT_EQ(worker.evalCancel(3), WorkerStatus::Ok);
  EXPECT_EQ(sentHeader().run_id, 3u);
}

TEST_F(WorkerClientTest, IsOverAfterAShutdown) {
  channel.respond(1, MessageType::Shutdown, WorkerStatus::Ok);
  EXPECT_EQ(worker.shutdown(), WorkerStatus::Ok);
  EXPECT_EQ(sentHeader().type, 255);
  ASSERT_TRUE(worker.fault().has_value());
  EXPECT_EQ(worker.fault()->kind, Fault::Kind::ShutDown);
  EXPECT_EQ(worker.ping(), std::nullopt);
  EXPECT_EQ(channel.writes().size(), 1u);
}

TEST_F(WorkerClientTest, KeepsTooLargeAPayloadFromTheWorker) {
  channel.respond(1, MessageType::EvalStart, WorkerStatus::Ok, EvalPayload{.text = "nil"}.bytes());
  const std::string largest(worker::kPayloadSizeMax, ' ');
  const auto accepted = worker.evalStart(largest, 0);
  ASSERT_TRUE(accepted.has_value());
  EXPECT_EQ(accepted->status, WorkerStatus::Ok);
  EXPECT_EQ(sentPayload().size(), largest.size());

  const auto refused = worker.evalStart(largest + ' ', 0);
  ASSERT_TRUE(refused.has_value());
  EXPECT_EQ(refused->status, WorkerStatus::InvalidRequest);
  EXPECT_FALSE(refused->value.has_value());
  EXPECT_EQ(channel.writes().size(), 1u);
  EXPECT_FALSE(worker.fault().has_value());
}

// Responses that no worker sends. Each answers a ping, the first request of its client.

std::string pingResponse() {
  MemoryChannel channel;
  channel.respond(1, MessageType::Ping, WorkerStatus::Ok);
  std::string bytes(worker::kHeaderSize, '\0');
  EXPECT_EQ(channel.read(bytes.data(), bytes.size()), bytes.size());
  return bytes;
}

Fault faultAfterPing(const std::string& response) {
  MemoryChannel channel;
  channel.respond(response);
  WorkerClient client(channel);
  EXPECT_EQ(client.ping(), std::nullopt);
  if (!client.fault()) {
    ADD_FAILURE() << "no fault";
    return {};
  }
  // The fault stays, and the channel is left alone.
  const std::size_t unread = channel.unreadSize();
  EXPECT_EQ(client.ping(), std::nullopt);
  EXPECT_EQ(client.evalStart("1", 0).has_value(), false);
  EXPECT_EQ(channel.writes().size(), 1u);
  EXPECT_EQ(channel.unreadSize(), unread);
  return *client.fault();
}

TEST(WorkerClientFault, NamesAResponseCutAtEveryByte) {
  const std::string whole = pingResponse();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const Fault fault = faultAfterPing(whole.substr(0, size));
    EXPECT_EQ(fault.kind, Fault::Kind::ResponseCut);
    EXPECT_EQ(fault.message,
              "the worker's output ended after " + std::to_string(size) + " of 64 header bytes");
  }
}

TEST(WorkerClientFault, NamesAPayloadCutAtEveryByte) {
  const std::string payload = EvalPayload{.text = "(1 2)"}.bytes();
  for (std::size_t size = 0; size < payload.size(); ++size) {
    MemoryChannel whole;
    whole.respond(1, MessageType::EvalStart, WorkerStatus::Ok, payload);
    std::string bytes(worker::kHeaderSize + size, '\0');
    EXPECT_EQ(whole.read(bytes.data(), bytes.size()), bytes.size());
    MemoryChannel channel;
    channel.respond(bytes);
    WorkerClient client(channel);
    EXPECT_FALSE(client.evalStart("'(1 2)", 0).has_value());
    ASSERT_TRUE(client.fault().has_value());
    EXPECT_EQ(client.fault()->kind, Fault::Kind::ResponseCut);
    EXPECT_EQ(client.fault()->message, "the worker's output ended after " + std::to_string(size) +
                                           " of " + std::to_string(payload.size()) +
                                           " payload bytes");
  }
}

TEST(WorkerClientFault, NamesAWorkerThatTakesNoRequests) {
  MemoryChannel channel;
  channel.refuseWrites();
  WorkerClient client(channel);
  EXPECT_EQ(client.ping(), std::nullopt);
  ASSERT_TRUE(client.fault().has_value());
  EXPECT_EQ(client.fault()->kind, Fault::Kind::RequestNotTaken);
  EXPECT_EQ(client.fault()->message, "the worker no longer takes requests");
}

TEST(WorkerClientFault, NamesTheFieldOfTheHeader) {
  struct Row {
    const char* name;
    std::function<void(char*)> spoil;
    Fault::Kind kind;
    const char* message;
  };
  const Row rows[] = {
      {"magic", [](char* bytes) { bytes[0] = 'X'; }, Fault::Kind::BadHeader,
       "the worker's response does not begin with the protocol's magic"},
      {"version", [](char* bytes) { worker::putU16(bytes + 4, 4); }, Fault::Kind::BadHeader,
       "the worker's response has version 4 instead of 3"},
      {"length", [](char* bytes) { worker::putU32(bytes + 8, 0x100001); }, Fault::Kind::BadHeader,
       "the worker's response announces 1048577 bytes, more than a frame holds"},
      {"longest length", [](char* bytes) { worker::putU32(bytes + 8, 0xFFFFFFFF); },
       Fault::Kind::BadHeader,
       "the worker's response announces 4294967295 bytes, more than a frame holds"},
      {"run id", [](char* bytes) { worker::putU64(bytes + 32, 1); }, Fault::Kind::BadHeader,
       "the worker's response has run id 1 instead of 0"},
      {"type", [](char* bytes) { worker::putU16(bytes + 6, 9); }, Fault::Kind::WrongEcho,
       "the worker's response has type 9 instead of 1"},
      {"request id", [](char* bytes) { worker::putU64(bytes + 16, 2); }, Fault::Kind::WrongEcho,
       "the worker's response has request id 2 instead of 1"},
      {"context id", [](char* bytes) { worker::putU64(bytes + 24, 7); }, Fault::Kind::WrongEcho,
       "the worker's response has context id 7 instead of 0"},
      {"status", [](char* bytes) { worker::putU32(bytes + 12, 3); }, Fault::Kind::BadResponse,
       "the worker answered a request of type 1 with BadRequest with 0 bytes"},
      {"unknown status", [](char* bytes) { worker::putU32(bytes + 12, 12); },
       Fault::Kind::BadResponse,
       "the worker answered a request of type 1 with unknown status with 0 bytes"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    std::string response = pingResponse();
    row.spoil(response.data());
    // Whatever follows must not be taken for an answer.
    const Fault fault = faultAfterPing(response + pingResponse());
    EXPECT_EQ(fault.kind, row.kind);
    EXPECT_EQ(fault.message, row.message);
  }
}

TEST(WorkerClientFault, NamesAPayloadWhereNoneBelongs) {
  MemoryChannel channel;
  channel.respond(1, MessageType::Ping, WorkerStatus::Ok, "surprise");
  WorkerClient client(channel);
  EXPECT_EQ(client.ping(), std::nullopt);
  ASSERT_TRUE(client.fault().has_value());
  EXPECT_EQ(client.fault()->message,
            "the worker answered a request of type 1 with Ok with 8 bytes");
}

TEST(WorkerClientFault, NamesAResponseThatDoesNotAnswerTheRequest) {
  struct Row {
    MessageType type;
    WorkerStatus status;
    std::size_t payload_size;
    const char* message;
  };
  const Row rows[] = {
      {MessageType::Convert, WorkerStatus::Ok, 63,
       "the worker answered a question about a point with Ok with 63 bytes"},
      {MessageType::Convert, WorkerStatus::Ok, 0,
       "the worker answered a question about a point with Ok with 0 bytes"},
      {MessageType::Convert, WorkerStatus::QueryFailed, 64,
       "the worker answered a question about a point with QueryFailed with 64 bytes"},
      {MessageType::Convert, WorkerStatus::Degenerate, 0,
       "the worker answered a question about a point with Degenerate with 0 bytes"},
      {MessageType::GeometryRequest, WorkerStatus::Ok, 0,
       "the worker answered a geometric request with Ok with 0 bytes"},
      {MessageType::GeometryRequest, WorkerStatus::QueryFailed, 64,
       "the worker answered a geometric request with QueryFailed with 64 bytes"},
      {MessageType::EvalStart, WorkerStatus::InvalidRequest, 64,
       "the worker answered an evaluation with BadRequest with 64 bytes: the evaluation's status "
       "contradicts the response's"},
      {MessageType::EvalStart, WorkerStatus::Ok, 0,
       "the worker answered an evaluation with Ok with 0 bytes: the payload is too short for an "
       "evaluation result"},
      {MessageType::EvalCancel, WorkerStatus::InvalidRequest, 0,
       "the worker answered a request of type 9 with BadRequest with 0 bytes"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.message);
    MemoryChannel channel;
    channel.respond(1, row.type, row.status, std::string(row.payload_size, '\0'));
    WorkerClient client(channel);
    const std::array<double, 1> operands = {1};
    bool answered = true;
    switch (row.type) {
      case MessageType::Convert:
        answered = client.convert(0, {}, 0, 0).has_value();
        break;
      case MessageType::GeometryRequest:
        answered = client.computeGeometry(GeometryOperation::Sum, operands).has_value();
        break;
      case MessageType::EvalStart:
        answered = client.evalStart("1", 0).has_value();
        break;
      default:
        answered = client.evalCancel(1).has_value();
    }
    EXPECT_FALSE(answered);
    ASSERT_TRUE(client.fault().has_value());
    EXPECT_EQ(client.fault()->kind, Fault::Kind::BadResponse);
    EXPECT_EQ(client.fault()->message, row.message);
  }
}

}  // namespace
}  // namespace lisp_worker::client
