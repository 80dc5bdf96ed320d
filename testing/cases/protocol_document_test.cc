// The frames and tables of docs/PROTOCOL.md, checked against the worker and its constants.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lisp_worker/client/names.h"
#include "lisp_worker/worker/exit_code.h"
#include "lisp_worker/worker/frame.h"
#include "testing/formats/document_examples.h"
#include "testing/wire/memory_stream.h"
#include "testing/wire/wire_frames.h"
#include "worker/loop.h"

namespace lisp_worker::testing_support {
namespace {

using testing::IsEmpty;

// The frames of the protocol's document, which are one conversation with a fresh worker.
struct DocumentFrames {
  std::string requests;
  std::string responses;
  std::size_t request_count = 0;
};

DocumentFrames protocolFrames() {
  DocumentFrames frames;
  for (const DocumentBlock& block : fencedBlocks(readSource("docs/PROTOCOL.md"))) {
    const bool is_request = block.info == "hex request";
    if (!is_request && block.info != "hex response") continue;
    const std::optional<std::string> bytes = bytesOfHex(block.text);
    if (!bytes) {
      ADD_FAILURE() << "the block at line " << block.line << " is not hexadecimal";
      continue;
    }
    (is_request ? frames.requests : frames.responses) += *bytes;
    if (is_request) ++frames.request_count;
  }
  return frames;
}

TEST(ProtocolDocument, HoldsFrames) { EXPECT_GE(protocolFrames().request_count, 3u); }

TEST(ProtocolDocument, ShowsTheFramesOfTheWorker) {
  const DocumentFrames frames = protocolFrames();
  MemoryReader input(frames.requests);
  MemoryWriter output;
  EXPECT_EQ(worker::runWorker(input, output), worker::ExitCode::Finished);
  EXPECT_EQ(input.position(), frames.requests.size());
  EXPECT_EQ(output.written(), frames.responses);
}

TEST(ProtocolDocument, ShowsRequestsAsTheEncoderMakesThem) {
  std::string_view rest;
  const std::string requests = protocolFrames().requests;
  for (rest = requests; rest.size() >= worker::kHeaderSize;) {
    const worker::MessageHeader header = worker::decodeHeader(
        std::span<const char, worker::kHeaderSize>(rest.data(), worker::kHeaderSize));
    EXPECT_EQ(rest.substr(0, worker::kHeaderSize), headerBytes(header));
    EXPECT_EQ(header.status, 0u);
    ASSERT_GE(rest.size(), worker::kHeaderSize + header.payload_length);
    rest.remove_prefix(worker::kHeaderSize + header.payload_length);
  }
  EXPECT_TRUE(rest.empty());
}

// --- Tables of numbers ------------------------------------------------------------------------

struct Number {
  std::size_t number;
  std::string_view name;
};

void PrintTo(const Number& number, std::ostream* out) {
  *out << "`" << number.name << "` as " << number.number;
}

// Which of `numbers` have no row under `heading` that begins with the number and has the name in
// one of its cells; and how many rows begin with a number.
std::vector<Number> missingRows(std::string_view heading, const std::vector<Number>& numbers) {
  const auto rows = tableRows(readSource("docs/PROTOCOL.md"), heading);
  std::vector<Number> missing;
  for (const Number& expected : numbers) {
    const std::string name = "`" + std::string(expected.name) + "`";
    const bool found = std::any_of(rows.begin(), rows.end(), [&](const auto& row) {
      return row.front() == std::to_string(expected.number) &&
             std::find(row.begin() + 1, row.end(), name) != row.end();
    });
    if (!found) missing.push_back(expected);
  }
  return missing;
}

std::size_t numberedRowCount(std::string_view heading) {
  const auto rows = tableRows(readSource("docs/PROTOCOL.md"), heading);
  return static_cast<std::size_t>(std::count_if(rows.begin(), rows.end(), [](const auto& row) {
    return std::isdigit(static_cast<unsigned char>(row.front()[0])) != 0;
  }));
}

TEST(ProtocolDocument, ListsTheMessageTypes) {
  std::vector<Number> types;
  for (std::uint16_t type = 0; type < 256; ++type) {
    const std::string_view name = client::messageTypeName(static_cast<worker::MessageType>(type));
    if (name != "unknown type") types.push_back({type, name});
  }
  EXPECT_GT(types.size(), 9u);
  EXPECT_THAT(missingRows("Message types", types), IsEmpty());
  EXPECT_EQ(numberedRowCount("Message types"), types.size());
}

TEST(ProtocolDocument, ListsTheStatuses) {
  std::vector<Number> statuses;
  for (std::uint32_t status = 0;; ++status) {
    const std::string_view name = client::statusName(static_cast<worker::WorkerStatus>(status));
    if (name == "unknown status") break;
    statuses.push_back({status, name});
  }
  EXPECT_THAT(missingRows("Statuses", statuses), IsEmpty());
  EXPECT_EQ(numberedRowCount("Statuses"), statuses.size());
}

TEST(ProtocolDocument, ListsTheExitCodes) {
  using worker::ExitCode;
  const std::vector<Number> codes = {
      {static_cast<std::size_t>(ExitCode::Finished), "Finished"},
      {static_cast<std::size_t>(ExitCode::BadMagic), "BadMagic"},
      {static_cast<std::size_t>(ExitCode::BadVersion), "BadVersion"},
      {static_cast<std::size_t>(ExitCode::PayloadTooLarge), "PayloadTooLarge"},
      {static_cast<std::size_t>(ExitCode::PayloadCut), "PayloadCut"},
      {static_cast<std::size_t>(ExitCode::HeaderUnwritten), "HeaderUnwritten"},
      {static_cast<std::size_t>(ExitCode::PayloadUnwritten), "PayloadUnwritten"},
      {static_cast<std::size_t>(ExitCode::OutOfMemory), "OutOfMemory"},
  };
  EXPECT_THAT(missingRows("Exit codes", codes), IsEmpty());
  EXPECT_EQ(numberedRowCount("Exit codes"), codes.size());
}

// The sizes of the records whose tables of bytes are under `heading`.
std::vector<std::size_t> recordSizes(std::string_view heading) {
  return recordSizesOf(readSource("docs/PROTOCOL.md"), heading);
}

TEST(ProtocolDocument, FillsRecordsWithoutAGap) {
  using testing::ElementsAre;
  EXPECT_THAT(recordSizes("The header"), ElementsAre(worker::kHeaderSize));
  EXPECT_THAT(recordSizes("RegisterContext"),
              ElementsAre(worker::kContextPayloadSize, worker::kPlanarSystemSize));
  EXPECT_THAT(recordSizes("LocateCell, CellPlaneToSystem, Convert"),
              ElementsAre(worker::kPointPayloadSize, worker::kPointResultSize));
  EXPECT_THAT(recordSizes("GeometryRequest"),
              ElementsAre(worker::kGeometryPayloadSize, worker::kGeometryResultSize));
  EXPECT_THAT(recordSizes("The evaluation result"), ElementsAre(worker::kEvalResultHeaderSize));
}

TEST(ProtocolDocument, ListsTheCodesOfOperationsAndEvaluations) {
  using worker::GeometryOperation;
  const std::vector<Number> operations = {
      {static_cast<std::size_t>(GeometryOperation::Sum), "Sum"},
      {static_cast<std::size_t>(GeometryOperation::Difference), "Difference"},
      {static_cast<std::size_t>(GeometryOperation::Product), "Product"},
      {static_cast<std::size_t>(GeometryOperation::Quotient), "Quotient"},
      {static_cast<std::size_t>(GeometryOperation::Distance), "Distance"},
      {static_cast<std::size_t>(GeometryOperation::Angle), "Angle"},
      {static_cast<std::size_t>(GeometryOperation::Polar), "Polar"},
  };
  EXPECT_THAT(missingRows("GeometryRequest", operations), IsEmpty());
  std::vector<Number> statuses;
  for (std::uint8_t status = 0;
       status <= static_cast<std::uint8_t>(worker::EvalStatus::HostCallRequired); ++status) {
    statuses.push_back({status, client::evalStatusName(static_cast<worker::EvalStatus>(status))});
  }
  EXPECT_THAT(missingRows("The evaluation result", statuses), IsEmpty());
}

TEST(ProtocolDocument, PlacesTheFieldsOfHeaders) {
  using worker::HeaderOffset;
  const std::vector<Number> fields = {
      {HeaderOffset::kMagic, "magic"},
      {HeaderOffset::kVersion, "version"},
      {HeaderOffset::kType, "type"},
      {HeaderOffset::kPayloadLength, "payload_length"},
      {HeaderOffset::kStatus, "status"},
      {HeaderOffset::kRequestId, "request_id"},
      {HeaderOffset::kContextId, "context_id"},
      {HeaderOffset::kRunId, "run_id"},
      {HeaderOffset::kReserved, "reserved"},
  };
  EXPECT_THAT(missingRows("The header", fields), IsEmpty());
}

TEST(ProtocolDocument, PlacesTheFieldsOfPayloads) {
  using worker::ContextOffset;
  EXPECT_THAT(missingRows("RegisterContext", {{ContextOffset::kId, "id"},
                                              {ContextOffset::kCellKeySeed, "cell_key_seed"},
                                              {ContextOffset::kTag, "tag"},
                                              {ContextOffset::kReserved, "reserved"},
                                              {ContextOffset::kCellSize, "cell_size"},
                                              {ContextOffset::kSystems, "systems"},
                                              {ContextOffset::kCellPlane, "cell_plane"},
                                              {ContextOffset::kCellZScale, "cell_z_scale"},
                                              {ContextOffset::kCellZOffset, "cell_z_offset"}}),
              IsEmpty());
  using worker::PlanarOffset;
  EXPECT_THAT(missingRows("RegisterContext", {{PlanarOffset::kOriginX, "origin_x"},
                                              {PlanarOffset::kOriginY, "origin_y"},
                                              {PlanarOffset::kA, "a"},
                                              {PlanarOffset::kB, "b"},
                                              {PlanarOffset::kC, "c"},
                                              {PlanarOffset::kD, "d"},
                                              {PlanarOffset::kZScale, "z_scale"},
                                              {PlanarOffset::kZOffset, "z_offset"}}),
              IsEmpty());
  using worker::PointOffset;
  using worker::PointResultOffset;
  EXPECT_THAT(
      missingRows("LocateCell, CellPlaneToSystem, Convert", {{PointOffset::kX, "x"},
                                                             {PointOffset::kY, "y"},
                                                             {PointOffset::kZ, "z"},
                                                             {PointOffset::kSourceSystem, "source"},
                                                             {PointOffset::kTargetSystem, "target"},
                                                             {PointResultOffset::kX, "u"},
                                                             {PointResultOffset::kY, "v"},
                                                             {PointResultOffset::kZ, "w"},
                                                             {PointResultOffset::kCellI, "i"},
                                                             {PointResultOffset::kCellJ, "j"},
                                                             {PointResultOffset::kCellKey, "key"},
                                                             {PointResultOffset::kTag, "tag"}}),
      IsEmpty());
  using worker::GeometryOffset;
  using worker::GeometryResultOffset;
  EXPECT_THAT(missingRows("GeometryRequest", {{GeometryOffset::kOperation, "operation"},
                                              {GeometryOffset::kCount, "count"},
                                              {GeometryOffset::kOperands, "operands"},
                                              {GeometryResultOffset::kX, "x"},
                                              {GeometryResultOffset::kY, "y"}}),
              IsEmpty());
  using worker::EvalResultOffset;
  EXPECT_THAT(missingRows("The evaluation result", {{EvalResultOffset::kEvalStatus, "eval_status"},
                                                    {EvalResultOffset::kArgCount, "arg_count"},
                                                    {EvalResultOffset::kTextLength, "text_length"},
                                                    {EvalResultOffset::kSteps, "steps"},
                                                    {EvalResultOffset::kCallName, "call_name"},
                                                    {EvalResultOffset::kRunId, "run_id"},
                                                    {EvalResultOffset::kReserved2, "reserved"}}),
              IsEmpty());
}

}  // namespace
}  // namespace lisp_worker::testing_support
