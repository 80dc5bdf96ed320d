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
#include <type_traits>
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

using testing::ElementsAre;
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

// --- Tables of bytes --------------------------------------------------------------------------

// The records whose tables of bytes are under `heading`, row by row: the words in the first
// `columns` cells.
std::vector<std::vector<std::string>> documentedRecords(std::string_view heading,
                                                        std::size_t columns) {
  const auto is_number = [](const std::string& cell) {
    return !cell.empty() && cell.find_first_not_of("0123456789") == cell.npos;
  };
  std::vector<std::vector<std::string>> records;
  for (const auto& cells : tableRows(readSource("docs/PROTOCOL.md"), heading)) {
    if (cells.size() < columns || !is_number(cells[0]) || !is_number(cells[1])) continue;
    if (cells[0] == "0") records.emplace_back();
    std::string row;
    for (std::size_t i = 0; i < columns; ++i) {
      if (!cells[i].empty()) row += (i == 0 ? "" : " ") + cells[i];
    }
    std::erase(row, '`');
    records.back().push_back(row);
  }
  return records;
}

template <typename Type>
std::string typeName() {
  const char kind = std::is_floating_point_v<Type> ? 'f' : std::is_signed_v<Type> ? 'i' : 'u';
  return kind + std::to_string(8 * sizeof(Type));
}

// A row as the code has it: the place, and the size and type of a field of this type.
template <typename Type>
std::string row(std::size_t offset, std::string_view names) {
  return std::to_string(offset) + " " + std::to_string(sizeof(Type)) + " " + typeName<Type>() +
         " " + std::string(names);
}
// A row of a field that is no number.
std::string row(std::size_t offset, std::size_t size, std::string_view rest) {
  return std::to_string(offset) + " " + std::to_string(size) + std::string(rest);
}

TEST(ProtocolDocument, PlacesTheFieldsOfTheHeader) {
  using Offset = worker::HeaderOffset;
  using Header = worker::MessageHeader;
  EXPECT_THAT(documentedRecords("The header", 3),
              ElementsAre(ElementsAre(
                  row(Offset::kMagic, sizeof(Header::magic), " magic"),
                  row(Offset::kVersion, sizeof(Header::version), " version"),
                  row(Offset::kType, sizeof(Header::type), " type"),
                  row(Offset::kPayloadLength, sizeof(Header::payload_length), " payload_length"),
                  row(Offset::kStatus, sizeof(Header::status), " status"),
                  row(Offset::kRequestId, sizeof(Header::request_id), " request_id"),
                  row(Offset::kContextId, sizeof(Header::context_id), " context_id"),
                  row(Offset::kRunId, sizeof(Header::run_id), " run_id"),
                  row(Offset::kReserved, worker::kHeaderSize - Offset::kReserved, " reserved"))));
}

TEST(ProtocolDocument, PlacesTheFieldsOfAContext) {
  using Context = worker::ContextOffset;
  using Planar = worker::PlanarOffset;
  EXPECT_THAT(
      documentedRecords("RegisterContext", 4),
      ElementsAre(
          ElementsAre(row<std::uint64_t>(Context::kId, "id"),
                      row<std::uint64_t>(Context::kCellKeySeed, "cell_key_seed"),
                      row<std::uint32_t>(Context::kTag, "tag"),
                      row(Context::kReserved, Context::kCellSize - Context::kReserved, " reserved"),
                      row<double>(Context::kCellSize, "cell_size"),
                      row(Context::kSystems, worker::kSystemCount * worker::kPlanarSystemSize,
                          " 5 × 8 f64 systems"),
                      row(Context::kCellPlane, worker::kCellPlaneSize, " 6 f64 cell_plane"),
                      row<double>(Context::kCellZScale, "cell_z_scale"),
                      row<double>(Context::kCellZOffset, "cell_z_offset")),
          ElementsAre(row<double>(Planar::kOriginX, "origin_x"),
                      row<double>(Planar::kOriginY, "origin_y"), row<double>(Planar::kA, "a"),
                      row<double>(Planar::kB, "b"), row<double>(Planar::kC, "c"),
                      row<double>(Planar::kD, "d"), row<double>(Planar::kZScale, "z_scale"),
                      row<double>(Planar::kZOffset, "z_offset"))));
}

TEST(ProtocolDocument, PlacesTheFieldsOfAPoint) {
  using Offset = worker::PointOffset;
  EXPECT_THAT(
      documentedRecords("LocateCell, CellPlaneToSystem, Convert", 4)[0],
      ElementsAre(row<double>(Offset::kX, "x"), row<double>(Offset::kY, "y"),
                  row<double>(Offset::kZ, "z"), row<std::uint8_t>(Offset::kSourceSystem, "source"),
                  row<std::uint8_t>(Offset::kTargetSystem, "target"),
                  row(Offset::kReserved, worker::kPointPayloadSize - Offset::kReserved, "")));
}

TEST(ProtocolDocument, PlacesTheFieldsOfAPointsResult) {
  using Offset = worker::PointResultOffset;
  EXPECT_THAT(
      documentedRecords("LocateCell, CellPlaneToSystem, Convert", 5)[1],
      ElementsAre(row<double>(Offset::kX, "x u"), row<double>(Offset::kY, "y v"),
                  row<double>(Offset::kZ, "z w"), row<std::int64_t>(Offset::kCellI, "0 i"),
                  row<std::int64_t>(Offset::kCellJ, "0 j"),
                  row<std::uint64_t>(Offset::kCellKey, "0 key"),
                  row<std::uint32_t>(Offset::kTag, "0 tag"),
                  row(Offset::kReserved, worker::kPointResultSize - Offset::kReserved, " 0 0")));
}

TEST(ProtocolDocument, PlacesTheFieldsOfACalculation) {
  using Request = worker::GeometryOffset;
  using Result = worker::GeometryResultOffset;
  EXPECT_THAT(
      documentedRecords("GeometryRequest", 4),
      ElementsAre(
          ElementsAre(row<std::uint8_t>(Request::kOperation, "operation"),
                      row<std::uint8_t>(Request::kCount, "count"),
                      row(Request::kReserved, Request::kOperands - Request::kReserved, ""),
                      row(Request::kOperands, worker::kGeometryOperandCountMax * sizeof(double),
                          " 7 f64 operands")),
          ElementsAre(
              row<double>(Result::kX, "x"), row<double>(Result::kY, "y"),
              row(Result::kReserved, worker::kGeometryResultSize - Result::kReserved, ""))));
}

TEST(ProtocolDocument, PlacesTheFieldsOfAnEvaluationsResult) {
  using Offset = worker::EvalResultOffset;
  EXPECT_THAT(documentedRecords("The evaluation result", 4),
              ElementsAre(ElementsAre(
                  row<std::uint8_t>(Offset::kEvalStatus, "eval_status"),
                  row(Offset::kReserved, Offset::kArgCount - Offset::kReserved, ""),
                  row<std::uint16_t>(Offset::kArgCount, "arg_count"),
                  row<std::uint32_t>(Offset::kTextLength, "text_length"),
                  row<std::uint64_t>(Offset::kSteps, "steps"),
                  row(Offset::kCallName, worker::kCallNameSize, " bytes call_name"),
                  row<std::uint64_t>(Offset::kRunId, "run_id"),
                  row(Offset::kReserved2, worker::kEvalResultHeaderSize - Offset::kReserved2,
                      " reserved"))));
}

}  // namespace
}  // namespace lisp_worker::testing_support
