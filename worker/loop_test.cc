#include "worker/loop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "lisp_worker/worker/frame.h"
#include "testing/base/same_bytes.h"
#include "testing/wire/frame_makers.h"
#include "testing/wire/memory_stream.h"
#include "testing/wire/wire_frames.h"

namespace lisp_worker::worker {
namespace {

using testing::ElementsAre;
using testing_support::areSameBytes;
using testing_support::frameBytes;
using testing_support::geometryPayload;
using testing_support::headerBytes;
using testing_support::identityContextRecord;
using testing_support::kAnySize;
using testing_support::MemoryReader;
using testing_support::MemoryWriter;
using testing_support::pointPayload;
using testing_support::requestHeader;
using testing_support::splitResponses;
using testing_support::WireResponse;

constexpr std::uint64_t kRequestId = 0xFEDCBA9876543210;
constexpr std::uint64_t kContextId = 0x0123456789ABCDEF;

// A header of that type with ids that must come back.
MessageHeader headerWithIds(MessageType type) {
  MessageHeader header = requestHeader(type);
  header.request_id = kRequestId;
  header.context_id = kContextId;
  return header;
}

std::string ping() { return frameBytes(requestHeader(MessageType::Ping)); }

// One life of a worker.
struct Life {
  ExitCode exit_code;
  std::string output;
  std::size_t bytes_read;

  [[nodiscard]] std::vector<WireResponse> responses() const { return splitResponses(output); }
};

Life live(std::string input, std::size_t output_size_max = kAnySize,
          std::size_t piece_size_max = kAnySize) {
  MemoryReader reader(std::move(input), piece_size_max);
  MemoryWriter writer(output_size_max, piece_size_max);
  const ExitCode exit_code = runWorker(reader, writer);
  return {exit_code, writer.written(), reader.position()};
}

// Frames of every type, some of them faulty, without a Shutdown.
std::vector<std::string> frames() {
  MessageHeader in_context = requestHeader(MessageType::RegisterContext);
  in_context.context_id = 7;
  MessageHeader convert = in_context;
  convert.type = static_cast<std::uint16_t>(MessageType::Convert);
  MessageHeader resume = requestHeader(MessageType::EvalResume);
  resume.run_id = 1;
  MessageHeader cancel = requestHeader(MessageType::EvalCancel);
  cancel.run_id = 1;
  return {
      ping(),
      frameBytes(requestHeader(MessageType::Ping), "ten bytes!"),
      frameBytes(in_context, identityContextRecord(7)),
      frameBytes(convert, pointPayload(1, 2, 3, 0, 1)),
      frameBytes(convert, "too short"),
      frameBytes(requestHeader(MessageType::GeometryRequest),
                 geometryPayload(GeometryOperation::Sum, 2, {1, 2})),
      frameBytes(requestHeader(MessageType::EvalStart), "(LIST (GETPOINT \"from\") (GETDIST))"),
      frameBytes(resume, "(1 2)"),
      frameBytes(resume, "5"),
      frameBytes(resume, "5"),
      frameBytes(cancel),
      frameBytes(requestHeader(std::uint16_t{0})),
      frameBytes(requestHeader(std::uint16_t{256}), "payload"),
      frameBytes(requestHeader(MessageType::EvalStart), "(+ 1"),
      ping(),
  };
}

std::string joined(const std::vector<std::string>& parts) {
  std::string whole;
  for (const std::string& part : parts) whole += part;
  return whole;
}

const std::string& conversation() {
  static const std::string bytes = joined(frames());
  return bytes;
}

std::vector<int> statuses(const std::vector<WireResponse>& responses) {
  std::vector<int> numbers;
  for (const WireResponse& response : responses) {
    numbers.push_back(static_cast<int>(response.header.status));
  }
  return numbers;
}

TEST(ExitCodes, HaveTheirNumbers) {
  EXPECT_EQ(static_cast<int>(ExitCode::Finished), 0);
  EXPECT_EQ(static_cast<int>(ExitCode::BadMagic), 2);
  EXPECT_EQ(static_cast<int>(ExitCode::BadVersion), 3);
  EXPECT_EQ(static_cast<int>(ExitCode::PayloadTooLarge), 4);
  EXPECT_EQ(static_cast<int>(ExitCode::PayloadCut), 5);
  EXPECT_EQ(static_cast<int>(ExitCode::HeaderUnwritten), 6);
  EXPECT_EQ(static_cast<int>(ExitCode::PayloadUnwritten), 7);
}

TEST(WorkerLoop, FinishesSilentlyWithoutInput) {
  const Life life = live("");
  EXPECT_EQ(life.exit_code, ExitCode::Finished);
  EXPECT_EQ(life.output, "");
}

TEST(WorkerLoop, FinishesSilentlyInsideAHeader) {
  for (std::size_t size = 1; size < 64; ++size) {
    const Life life = live(ping().substr(0, size));
    EXPECT_EQ(life.exit_code, ExitCode::Finished) << size;
    EXPECT_EQ(life.output, "") << size;
  }
}

TEST(WorkerLoop, EndsSilentlyInsideAPayload) {
  const std::string frame =
      frameBytes(requestHeader(MessageType::EvalStart), std::string(100, ' '));
  const Life life = live(frame.substr(0, 64 + 40));
  EXPECT_EQ(life.exit_code, ExitCode::PayloadCut);
  EXPECT_EQ(life.output, "");
  EXPECT_EQ(live(frame.substr(0, 64)).exit_code, ExitCode::PayloadCut);
  EXPECT_EQ(live(frame.substr(0, 64 + 99)).exit_code, ExitCode::PayloadCut);
  EXPECT_EQ(live(frame).exit_code, ExitCode::Finished);
}

TEST(WorkerLoop, AnswersEveryFrameInTurn) {
  const Life life = live(conversation());
  EXPECT_EQ(life.exit_code, ExitCode::Finished);
  const std::vector<WireResponse> responses = life.responses();
  EXPECT_THAT(statuses(responses), ElementsAre(0, 0, 0, 0, 3, 0, 11, 11, 0, 3, 0, 6, 6, 8, 0));
  ASSERT_EQ(responses.size(), frames().size());
  for (std::size_t i = 0; i < responses.size(); ++i) {
    EXPECT_EQ(responses[i].header.type, getU16(frames()[i].data() + 6)) << i;
  }
  EXPECT_EQ(responses[8].payload.substr(64), "((1 2) 5)");
}

TEST(WorkerLoop, BuildsEveryHeaderAfresh) {
  MessageHeader request = headerWithIds(MessageType::GeometryRequest);
  request.status = 0xFFFFFFFF;
  request.run_id = 99;
  std::string frame = frameBytes(request, geometryPayload(GeometryOperation::Sum, 2, {1, 2}));
  frame.replace(40, 24, 24, '\xFF');

  MessageHeader expected;
  expected.magic = kMagic;
  expected.version = 3;
  expected.type = 6;
  expected.payload_length = 64;
  expected.request_id = kRequestId;
  expected.context_id = kContextId;
  EXPECT_EQ(live(frame).output.substr(0, 64), headerBytes(expected));
}

TEST(WorkerLoop, IgnoresTheReservedBytesOfARequest) {
  for (std::size_t i = 0; i < 64; ++i) {
    const bool is_reserved = (i >= 12 && i < 16) || i >= 40;
    if (!is_reserved) continue;
    std::string frame = ping();
    frame[i] = '\xFF';
    EXPECT_EQ(live(frame).output, live(ping()).output) << "byte " << i;
  }
}

TEST(WorkerLoop, AnswersAtEveryLengthAfterEveryOther) {
  const MessageHeader header = requestHeader(MessageType::EvalStart);
  std::string input;
  std::vector<std::string> texts;
  for (const std::size_t size : {5, 70'000, 0, 200'000, 3, 1'000'000, 1}) {
    texts.push_back('"' + std::string(size, 'x') + '"');
    input += frameBytes(header, texts.back());
  }
  const Life life = live(input);
  const std::vector<WireResponse> responses = life.responses();
  ASSERT_EQ(responses.size(), texts.size());
  for (std::size_t i = 0; i < texts.size(); ++i) {
    EXPECT_TRUE(areSameBytes(responses[i].payload.substr(64), texts[i])) << i;
  }
}

TEST(WorkerLoop, StaysAlignedAfterAnIgnoredPayload) {
  // The ignored payload looks like a frame that would end the worker.
  const std::string trap = frameBytes(requestHeader(MessageType::Shutdown));
  for (const int type : {1, 9, 0, 10, 254, 256, 0xFFFF}) {
    const MessageHeader header = requestHeader(static_cast<std::uint16_t>(type));
    const Life life = live(frameBytes(header, trap) + ping());
    const std::vector<WireResponse> responses = life.responses();
    ASSERT_EQ(responses.size(), 2U) << type;
    EXPECT_EQ(responses[0].header.type, type);
    EXPECT_EQ(responses[0].payload, "");
    EXPECT_EQ(responses[1].header.type, 1);
    EXPECT_EQ(life.bytes_read, 64U + 64U + 64U);
  }
}

TEST(WorkerLoop, EchoesIdsInEveryResponse) {
  for (int type = 0; type <= 256; ++type) {
    MessageHeader header = headerWithIds(MessageType::Ping);
    header.type = static_cast<std::uint16_t>(type);
    const std::vector<WireResponse> responses = live(frameBytes(header, "payload")).responses();
    ASSERT_EQ(responses.size(), 1U) << type;
    EXPECT_EQ(responses[0].header.type, type);
    EXPECT_EQ(responses[0].header.request_id, kRequestId) << type;
    EXPECT_EQ(responses[0].header.context_id, kContextId) << type;
    EXPECT_EQ(responses[0].header.run_id, 0U) << type;
  }
}

// Bad headers.

struct FaultRow {
  std::string name;
  std::uint32_t magic;
  std::uint16_t version;
  std::uint32_t payload_length;
  WorkerStatus status;
  ExitCode exit_code;

  friend void PrintTo(const FaultRow& row, std::ostream* out) { *out << row.name; }

  [[nodiscard]] MessageHeader header() const {
    MessageHeader faulty = headerWithIds(MessageType::EvalStart);
    faulty.magic = magic;
    faulty.version = version;
    faulty.payload_length = payload_length;
    return faulty;
  }
};

class WorkerAfterABadHeader : public testing::TestWithParam<FaultRow> {};

TEST_P(WorkerAfterABadHeader, AnswersWithAHeaderAndEndsWithoutReadingOn) {
  const Life life = live(ping() + headerBytes(GetParam().header()) + ping());
  EXPECT_EQ(life.exit_code, GetParam().exit_code);
  EXPECT_EQ(life.bytes_read, 128U);

  MessageHeader expected;
  expected.magic = kMagic;
  expected.version = 3;
  expected.type = 7;
  expected.status = static_cast<std::uint32_t>(GetParam().status);
  expected.request_id = kRequestId;
  expected.context_id = kContextId;
  ASSERT_EQ(life.output.size(), 128U);
  EXPECT_EQ(life.output.substr(64), headerBytes(expected));
}

TEST_P(WorkerAfterABadHeader, KeepsItsExitCodeWhenTheAnswerCannotBeWritten) {
  for (std::size_t size = 0; size < 64; ++size) {
    const Life life = live(headerBytes(GetParam().header()), size);
    EXPECT_EQ(life.exit_code, GetParam().exit_code) << size;
    EXPECT_EQ(life.output.size(), size);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Rows, WorkerAfterABadHeader,
    testing::Values(
        FaultRow{"magic", 0, 3, 0, WorkerStatus::BadMagic, ExitCode::BadMagic},
        FaultRow{"magic of lower case", 0x70736C6B, 3, 0, WorkerStatus::BadMagic,
                 ExitCode::BadMagic},
        FaultRow{"version 2", kMagic, 2, 0, WorkerStatus::BadVersion, ExitCode::BadVersion},
        FaultRow{"version 4", kMagic, 4, 0, WorkerStatus::BadVersion, ExitCode::BadVersion},
        FaultRow{"length", kMagic, 3, 0x100001, WorkerStatus::InvalidRequest,
                 ExitCode::PayloadTooLarge},
        FaultRow{"length of 2^32 - 1", kMagic, 3, 0xFFFFFFFF, WorkerStatus::InvalidRequest,
                 ExitCode::PayloadTooLarge},
        FaultRow{"magic before version and length", 0, 0, 0xFFFFFFFF, WorkerStatus::BadMagic,
                 ExitCode::BadMagic},
        FaultRow{"version before length", kMagic, 0, 0xFFFFFFFF, WorkerStatus::BadVersion,
                 ExitCode::BadVersion}));

TEST(WorkerLoop, AcceptsThePayloadLimit) {
  for (const std::size_t size : {0xFFFFFU, 0x100000U}) {
    const Life life =
        live(frameBytes(requestHeader(MessageType::Ping), std::string(size, '\xFF')) + ping());
    EXPECT_EQ(life.exit_code, ExitCode::Finished);
    EXPECT_THAT(statuses(life.responses()), ElementsAre(0, 0));
  }
}

TEST(WorkerLoop, EvaluatesAProgramOfThePayloadLimit) {
  std::string program = "(+ 1 2)";
  program.resize(0x100000, ' ');
  const Life life = live(frameBytes(requestHeader(MessageType::EvalStart), program));
  ASSERT_THAT(statuses(life.responses()), ElementsAre(0));
  EXPECT_EQ(life.responses()[0].payload.substr(64), "3");
}

// Shutdown.

TEST(WorkerLoop, AnswersAShutdownAndReadsNoFurther) {
  for (const std::string_view payload : {"", "ignored"}) {
    const std::string frame = frameBytes(headerWithIds(MessageType::Shutdown), payload);
    const Life life = live(frame + ping());
    EXPECT_EQ(life.exit_code, ExitCode::Finished);
    EXPECT_EQ(life.bytes_read, frame.size());
    const std::vector<WireResponse> responses = life.responses();
    ASSERT_EQ(responses.size(), 1U);
    EXPECT_EQ(responses[0].header.type, 255);
    EXPECT_EQ(responses[0].status(), WorkerStatus::Ok);
    EXPECT_EQ(responses[0].payload, "");
    EXPECT_EQ(responses[0].header.request_id, kRequestId);
  }
}

TEST(WorkerLoop, FinishesAfterAShutdownThatItCannotAnswer) {
  for (std::size_t size = 0; size < 64; ++size) {
    const Life life = live(frameBytes(requestHeader(MessageType::Shutdown), "ignored"), size);
    EXPECT_EQ(life.exit_code, ExitCode::Finished) << size;
  }
}

TEST(WorkerLoop, NeedsThePayloadOfAShutdown) {
  const std::string frame = frameBytes(requestHeader(MessageType::Shutdown), "ignored");
  const Life life = live(frame.substr(0, frame.size() - 1));
  EXPECT_EQ(life.exit_code, ExitCode::PayloadCut);
  EXPECT_EQ(life.output, "");
}

// A conversation cut anywhere, in either direction.

TEST(WorkerLoop, EndsAsItShouldWhereverTheInputEnds) {
  const std::string whole_output = live(conversation()).output;
  const std::vector<std::string> requests = frames();
  std::size_t begin = 0;        // Of the request that is cut.
  std::size_t output_size = 0;  // Of the responses to those before it.
  std::size_t request_index = 0;
  for (std::size_t cut = 0; cut < conversation().size(); ++cut) {
    if (cut == begin + requests[request_index].size()) {
      begin = cut;
      output_size += 64 + getU32(whole_output.data() + output_size + 8);
      ++request_index;
    }
    const Life life = live(conversation().substr(0, cut));
    ASSERT_EQ(life.exit_code, cut - begin < 64 ? ExitCode::Finished : ExitCode::PayloadCut) << cut;
    ASSERT_EQ(life.output, whole_output.substr(0, output_size)) << cut;
  }
}

TEST(WorkerLoop, EndsAsItShouldWhereverTheOutputFails) {
  const std::string whole_output = live(conversation()).output;
  std::size_t begin = 0;  // Of the response that is cut.
  std::size_t size = 64 + getU32(whole_output.data() + 8);
  for (std::size_t cut = 0; cut < whole_output.size(); ++cut) {
    if (cut == begin + size) {
      begin = cut;
      size = 64 + getU32(whole_output.data() + begin + 8);
    }
    const Life life = live(conversation(), cut);
    ASSERT_EQ(life.exit_code,
              cut - begin < 64 ? ExitCode::HeaderUnwritten : ExitCode::PayloadUnwritten)
        << cut;
    ASSERT_EQ(life.output, whole_output.substr(0, cut));
  }
  EXPECT_EQ(live(conversation(), whole_output.size()).exit_code, ExitCode::Finished);
}

TEST(WorkerLoop, SaysTheSameWhateverThePiecesThatBytesComeIn) {
  const std::string whole_output = live(conversation()).output;
  for (const std::size_t piece_size : {1U, 2U, 3U, 63U, 64U, 65U}) {
    const Life life = live(conversation(), kAnySize, piece_size);
    EXPECT_EQ(life.exit_code, ExitCode::Finished) << piece_size;
    EXPECT_EQ(life.output, whole_output) << piece_size;
  }
}

// An input that notes, each time it is read, how much its worker has written.
class NotingReader final : public ByteReader {
 public:
  NotingReader(std::string bytes, const MemoryWriter& writer)
      : input_(std::move(bytes)), writer_(writer) {}

  [[nodiscard]] bool readExact(std::span<char> destination) override {
    if (!destination.empty()) {
      notes_.emplace_back(input_.position(), writer_.written().size());
    }
    return input_.readExact(destination);
  }

  // (input position, output size) at every read.
  [[nodiscard]] const std::vector<std::pair<std::size_t, std::size_t>>& notes() const {
    return notes_;
  }

 private:
  MemoryReader input_;
  const MemoryWriter& writer_;
  std::vector<std::pair<std::size_t, std::size_t>> notes_;
};

TEST(WorkerLoop, AnswersInFullBeforeItReadsTheNextByte) {
  const std::string geometry = frameBytes(requestHeader(MessageType::GeometryRequest),
                                          geometryPayload(GeometryOperation::Sum, 1, {5}));
  MemoryWriter writer;
  NotingReader reader(ping() + geometry + geometry + ping(), writer);
  EXPECT_EQ(runWorker(reader, writer), ExitCode::Finished);
  using testing::Pair;
  EXPECT_THAT(reader.notes(), ElementsAre(Pair(0, 0), Pair(64, 64), Pair(128, 64), Pair(192, 192),
                                          Pair(256, 192), Pair(320, 320), Pair(384, 384)));
}

TEST(WorkerLoop, BeginsWithNothingOfAnEarlierOne) {
  MessageHeader in_context = requestHeader(MessageType::RegisterContext);
  in_context.context_id = 7;
  EXPECT_THAT(statuses(live(frameBytes(in_context, identityContextRecord(7)) +
                            frameBytes(requestHeader(MessageType::EvalStart), "(SETQ X 5)") +
                            frameBytes(requestHeader(MessageType::EvalStart), "(DEFUN F () 5)") +
                            frameBytes(requestHeader(MessageType::EvalStart), "(GETPOINT)"))
                           .responses()),
              ElementsAre(0, 0, 0, 11));

  MessageHeader convert = in_context;
  convert.type = static_cast<std::uint16_t>(MessageType::Convert);
  MessageHeader resume = requestHeader(MessageType::EvalResume);
  resume.run_id = 1;
  const std::vector<WireResponse> responses =
      live(frameBytes(convert, pointPayload(1, 2, 3, 0, 1)) +
           frameBytes(requestHeader(MessageType::EvalStart), "X") +
           frameBytes(requestHeader(MessageType::EvalStart), "(F)") + frameBytes(resume, "5") +
           frameBytes(requestHeader(MessageType::EvalStart), "(GETPOINT)"))
          .responses();
  EXPECT_THAT(statuses(responses), ElementsAre(4, 9, 9, 3, 11));
  EXPECT_EQ(getU64(responses[4].payload.data() + 48), 1U) << "run ids begin at 1";
}

}  // namespace
}  // namespace lisp_worker::worker
