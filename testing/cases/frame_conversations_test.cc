// Conversations about frames: what every request has in common, and every way to end a worker.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "lisp_worker/worker/exit_code.h"
#include "lisp_worker/worker/frame.h"
#include "testing/cases/whole_conversation.h"
#include "testing/formats/scenario.h"
#include "testing/wire/wire_frames.h"

namespace lisp_worker::testing_support {

TEST_P(WholeConversation, GoesAsItMustInProcess) {
  constexpr std::size_t kBytewiseSizeMax = 100000;
  EXPECT_EQ(holdInProcess(GetParam()), "");
  if (GetParam().input().size() > kBytewiseSizeMax) return;
  EXPECT_EQ(holdInProcess(GetParam(), 1), "") << "one byte at a time";
}

TEST_P(WholeConversation, GoesAsItMustWithTheExecutable) {
  EXPECT_EQ(holdWithExecutable(GetParam()), "");
}

namespace {

using worker::ExitCode;
using worker::kMagic;
using worker::MessageHeader;
using worker::MessageType;
using worker::WorkerStatus;

constexpr std::uint64_t kAllOnes = std::numeric_limits<std::uint64_t>::max();

std::string pingFrame() { return frameBytes(requestHeader(MessageType::Ping)); }

// A header of a program, with ids that must come back even when it ends the worker.
MessageHeader faultyHeader(std::uint32_t magic, std::uint16_t version,
                           std::uint32_t payload_length) {
  MessageHeader header = requestHeader(MessageType::EvalStart);
  header.magic = magic;
  header.version = version;
  header.payload_length = payload_length;
  header.request_id = 0xFEDCBA9876543210;
  header.context_id = 0x8000000000000001;
  header.run_id = 99;
  return header;
}

// A worker that is sent `header` and much more.
Scenario fault(const std::string& name, const MessageHeader& header, WorkerStatus status,
               ExitCode exit_code) {
  return Scenario(name)
      .ping()
      .ok()
      .request(header)
      .answer(status)
      .unanswered(pingFrame() + pingFrame())
      .ends(exit_code);
}

std::vector<Scenario> faults() {
  std::vector<Scenario> scenarios = {
      fault("AZeroMagic", faultyHeader(0, 3, 0), WorkerStatus::BadMagic, ExitCode::BadMagic),
      fault("AMagicOfAnotherByteOrder", faultyHeader(0x4B4C5350, 3, 0), WorkerStatus::BadMagic,
            ExitCode::BadMagic),
      fault("ABadMagicBeforeABadVersionAndLength", faultyHeader(kMagic + 1, 2, 0xFFFFFFFF),
            WorkerStatus::BadMagic, ExitCode::BadMagic),
      fault("Version0", faultyHeader(kMagic, 0, 0), WorkerStatus::BadVersion, ExitCode::BadVersion),
      fault("Version2", faultyHeader(kMagic, 2, 0), WorkerStatus::BadVersion, ExitCode::BadVersion),
      fault("Version4", faultyHeader(kMagic, 4, 0), WorkerStatus::BadVersion, ExitCode::BadVersion),
      fault("Version259", faultyHeader(kMagic, 0x103, 0), WorkerStatus::BadVersion,
            ExitCode::BadVersion),
      fault("ABadVersionBeforeABadLength", faultyHeader(kMagic, 4, 0x100001),
            WorkerStatus::BadVersion, ExitCode::BadVersion),
      fault("APayloadLengthBeyondTheLimit", faultyHeader(kMagic, 3, 0x100001),
            WorkerStatus::InvalidRequest, ExitCode::PayloadTooLarge),
      fault("TheLargestPayloadLength", faultyHeader(kMagic, 3, 0xFFFFFFFF),
            WorkerStatus::InvalidRequest, ExitCode::PayloadTooLarge),
  };
  for (int byte = 0; byte < 4; ++byte) {
    scenarios.push_back(fault("AMagicWrongInByte" + std::to_string(byte),
                              faultyHeader(kMagic ^ (0x20U << (8 * byte)), 3, 0),
                              WorkerStatus::BadMagic, ExitCode::BadMagic));
  }
  // A request that could be answered otherwise does not excuse its header.
  for (const int type : {0, 1, 2, 255, 256}) {
    MessageHeader header = faultyHeader(kMagic, 2, 0);
    header.type = static_cast<std::uint16_t>(type);
    scenarios.push_back(fault("ABadVersionOfType" + std::to_string(type), header,
                              WorkerStatus::BadVersion, ExitCode::BadVersion));
  }
  return scenarios;
}

INSTANTIATE_TEST_SUITE_P(Fault, WholeConversation, testing::ValuesIn(faults()), nameOf);

// Input that ends at `size` bytes of `frame`, after a ping.
Scenario cut(const std::string& name, const std::string& frame, std::size_t size,
             ExitCode exit_code) {
  return Scenario(name).ping().ok().unanswered(frame.substr(0, size)).ends(exit_code);
}

std::vector<Scenario> ends() {
  const std::string program =
      frameBytes(requestHeader(MessageType::EvalStart), std::string(100, ' '));
  const std::string shutdown = frameBytes(requestHeader(MessageType::Shutdown), "ignored");
  const std::string unknown = frameBytes(requestHeader(std::uint16_t{10}), "ignored");
  std::string bad_magic = pingFrame();
  bad_magic[0] = 'k';
  return {
      Scenario("NoInput"),
      Scenario("OneByte").unanswered("K"),
      Scenario("ThirtyBytesOfAHeader").unanswered(pingFrame().substr(0, 30)),
      cut("OneByteOfALaterHeader", program, 1, ExitCode::Finished),
      cut("AHeaderButItsLastByte", program, 63, ExitCode::Finished),
      cut("ABadHeaderButItsLastByte", bad_magic, 63, ExitCode::Finished),
      cut("AHeaderWithoutItsPayload", program, 64, ExitCode::PayloadCut),
      cut("FortyBytesOfAHundred", program, 64 + 40, ExitCode::PayloadCut),
      cut("APayloadButItsLastByte", program, 64 + 99, ExitCode::PayloadCut),
      cut("AShutdownWithoutAllOfItsPayload", shutdown, shutdown.size() - 1, ExitCode::PayloadCut),
      cut("AnUnknownTypeWithoutItsPayload", unknown, 64, ExitCode::PayloadCut),
      Scenario("Shutdown").shutdown().ok(),
      Scenario("ShutdownWithAPayload").shutdown("ignored").ok(),
      Scenario("ShutdownBeforeOtherRequests").shutdown().ok().unanswered(pingFrame()),
      Scenario("ShutdownBeforeABadHeader").shutdown().ok().unanswered(std::string(64, 'X')),
      Scenario("ShutdownWhileARunIsPending")
          .start("(GETPOINT)")
          .call(1, "GETPOINT", 0, "()", 1)
          .shutdown()
          .ok(),
      Scenario("EndOfInputWhileARunIsPending").start("(GETPOINT)").call(1, "GETPOINT", 0, "()", 1),
  };
}

INSTANTIATE_TEST_SUITE_P(End, WholeConversation, testing::ValuesIn(ends()), nameOf);

// A ping whose reserved bytes hold what they like.
std::string pingWithReservedBytes() {
  std::string frame = pingFrame();
  frame.replace(12, 4, 4, '\xFF');
  for (std::size_t i = 40; i < 64; ++i) frame[i] = static_cast<char>(i * 11);
  return frame;
}

Scenario everyUnknownType() {
  Scenario scenario("EveryUnknownTypeAndItsPayload");
  // A payload that would end the worker if it were taken for a frame.
  const std::string trap = frameBytes(requestHeader(MessageType::Shutdown));
  for (const int type : {0, 10, 11, 99, 254, 256, 257, 263, 0x0700, 0xFF00, 0xFFFF}) {
    MessageHeader header = requestHeader(static_cast<std::uint16_t>(type));
    header.request_id = kAllOnes - static_cast<std::uint64_t>(type);
    scenario.request(header).answer(WorkerStatus::UnknownType);
    header.payload_length = static_cast<std::uint32_t>(trap.size());
    scenario.request(header, trap).answer(WorkerStatus::UnknownType);
  }
  return scenario.ping().ok();
}

// Every type with the smallest and the largest ids, refused or not. The run id is never echoed.
Scenario echoes() {
  Scenario scenario("EveryTypeEchoesItsIds");
  for (const std::uint64_t id : {std::uint64_t{0}, std::uint64_t{1}, kAllOnes}) {
    for (std::uint16_t type = 0; type <= 10; ++type) {
      MessageHeader header = requestHeader(type);
      header.request_id = id;
      header.context_id = id;
      header.run_id = id;
      scenario.request(header);
      switch (static_cast<MessageType>(type)) {
        case MessageType::Ping:
        case MessageType::EvalCancel:
          scenario.ok();
          break;
        case MessageType::EvalStart:
          // An empty program, under no context or an unknown one.
          if (id == 0) {
            scenario.value("nil", 0);
          } else {
            scenario.answer(WorkerStatus::ContextNotFound);
          }
          break;
        default:
          scenario.answer(type == 0 || type == 10 ? WorkerStatus::UnknownType
                                                  : WorkerStatus::InvalidRequest);
      }
    }
  }
  return scenario;
}

std::vector<Scenario> frames() {
  return {
      Scenario("ReservedBytesAreNotLookedAt").requestBytes(pingWithReservedBytes()).ok(),
      Scenario("APingAndItsPayload").ping("ten bytes!").ok().ping().ok(),
      Scenario("APayloadThatLooksLikeAFrame")
          .ping(pingFrame())
          .ok()
          .cancel(1, std::string(64, 'X'))
          .ok()
          .ping()
          .ok(),
      Scenario("ManyRequestsInTurn")
          .ping()
          .ok()
          .start("1")
          .value("1", 1)
          .ping("again")
          .ok()
          .start("2")
          .value("2", 1)
          .ping()
          .ok(),
      // The worst thing to happen to one request leaves the next alone.
      Scenario("FaultsOfRequestsEndNothing")
          .registerContext(1, "short")
          .answer(WorkerStatus::InvalidRequest)
          .query(MessageType::Convert, 1, "short")
          .answer(WorkerStatus::InvalidRequest)
          .query(MessageType::Convert, 1, std::string(32, '\0'))
          .answer(WorkerStatus::ContextNotFound)
          .geometry("short")
          .answer(WorkerStatus::InvalidRequest)
          .start("(")
          .readError("unterminated list")
          .start("(CAR")
          .readError("unterminated list")
          .start("FOO")
          .evalError("unbound symbol: FOO", 1)
          .start("(WHILE T)")
          .stepLimit()
          .start("1", 77)
          .answer(WorkerStatus::ContextNotFound)
          .resume(1, "1")
          .answer(WorkerStatus::InvalidRequest)
          .cancel(1)
          .ok()
          .ping()
          .ok(),
      everyUnknownType(),
      echoes(),
  };
}

INSTANTIATE_TEST_SUITE_P(Frame, WholeConversation, testing::ValuesIn(frames()), nameOf);

}  // namespace
}  // namespace lisp_worker::testing_support
