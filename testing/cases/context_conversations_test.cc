// Conversations about coordinate contexts, the point requests in them, and geometric requests.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "lisp_worker/worker/frame.h"
#include "testing/cases/whole_conversation.h"
#include "testing/formats/scenario.h"
#include "testing/wire/frame_makers.h"
#include "testing/wire/wire_frames.h"

namespace lisp_worker::testing_support {
namespace {

using worker::ContextOffset;
using worker::GeometryOperation;
using worker::MessageType;
using worker::putF64;
using worker::putU32;
using worker::putU64;
using worker::WorkerStatus;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

constexpr MessageType kLocate = MessageType::LocateCell;
constexpr MessageType kFromPlane = MessageType::CellPlaneToSystem;
constexpr MessageType kConvert = MessageType::Convert;

// An identity record with one double of it replaced.
std::string recordWith(std::uint64_t context_id, std::size_t offset, double value) {
  std::string record = identityContextRecord(context_id);
  putF64(record.data() + offset, value);
  return record;
}

// System 1 is moved and turned by 90 degrees, 2 is flat, 3 and 4 are thin; cells are 2 wide.
std::string surveyRecord(std::uint64_t context_id) {
  std::string record = identityContextRecord(context_id);
  putU64(record.data() + ContextOffset::kCellKeySeed, 0x0123456789abcdef);
  putU32(record.data() + ContextOffset::kTag, 0xDEADBEEF);
  putU32(record.data() + ContextOffset::kReserved, 0xFFFFFFFF);
  putF64(record.data() + ContextOffset::kCellSize, 2);
  setSystem(record, 1, {10, 20, 0, 1, -1, 0, 2, 30});
  setSystem(record, 2, {0, 0, 0, 0, 0, 0, 1, 0});
  setSystem(record, 3, {0, 0, 1, 0, 0, 1, 1e-18, 0});
  setSystem(record, 4, {0, 0, 1, 0, 0, 1, 1.1e-18, 0});
  return record;
}

Scenario everySize() {
  Scenario scenario("EverySizeButTheRightOneIsRefused");
  for (const std::size_t size : {0, 32, 415, 417, 832}) {
    std::string record = identityContextRecord(7);
    record.resize(size);
    scenario.registerContext(7, record).answer(WorkerStatus::InvalidRequest);
  }
  for (const MessageType type : {kLocate, kFromPlane, kConvert}) {
    scenario.query(type, 7, std::string(32, '\0')).answer(WorkerStatus::ContextNotFound);
    for (const std::size_t size : {0, 31, 33, 64}) {
      scenario.query(type, 7, std::string(size, '\0')).answer(WorkerStatus::InvalidRequest);
    }
  }
  return scenario;
}

// Each fault of a point request hides those after it.
Scenario orderOfChecks() {
  Scenario scenario("SizeThenContextThenSelectorsThenQuery");
  scenario.registerContext(7, recordWith(7, ContextOffset::kCellSize, -1)).ok();
  const std::string all_wrong = pointPayload(kNan, 0, 0, 5, 5);
  for (const MessageType type : {kLocate, kFromPlane, kConvert}) {
    scenario.query(type, 8, all_wrong.substr(0, 31))
        .answer(WorkerStatus::InvalidRequest)
        .query(type, 8, all_wrong)
        .answer(WorkerStatus::ContextNotFound)
        .query(type, 7, pointPayload(kNan, 0, 0, 5, 0))
        .answer(WorkerStatus::InvalidRequest)
        .query(type, 7, pointPayload(kNan, 0, 0, 0, 5))
        .answer(WorkerStatus::InvalidRequest)
        .query(type, 7, pointPayload(kNan, 0, 0, 255, 255))
        .answer(WorkerStatus::InvalidRequest)
        .query(type, 7, pointPayload(kNan, 0, 0, 4, 4))
        .answer(WorkerStatus::QueryFailed)
        .query(type, 7, pointPayload(0, 0, -kInfinity, 0, 0))
        .answer(WorkerStatus::QueryFailed);
  }
  return scenario;
}

Scenario fullTable() {
  Scenario scenario("ThirtyTwoFitAndAnyOfThemIsReplaced");
  for (std::uint64_t id = 100; id < 132; ++id) {
    scenario.registerContext(id, identityContextRecord(id)).ok();
  }
  scenario.registerContext(132, identityContextRecord(132)).answer(WorkerStatus::InvalidRequest);
  scenario.query(kConvert, 132, pointPayload(1, 2, 3, 0, 0)).answer(WorkerStatus::ContextNotFound);
  for (const std::uint64_t id : {100, 115, 131}) {
    scenario.registerContext(id, recordWith(id, ContextOffset::kSystems, 5)).ok();
    scenario.query(kConvert, id, pointPayload(1, 2, 3, 0, 1)).ok(pointResult(6, 2, 3));
  }
  for (std::uint64_t id = 101; id < 115; ++id) {
    scenario.query(kConvert, id, pointPayload(1, 2, 3, 0, 1)).ok(pointResult(1, 2, 3));
  }
  return scenario.registerContext(0, identityContextRecord(0)).answer(WorkerStatus::InvalidRequest);
}

// The key of cell (i, j) without a seed.
std::uint64_t keyOf(std::uint64_t i, std::uint64_t j) {
  const auto mix = [](std::uint64_t z) {
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
    return (z ^ (z >> 27)) * 0x94d049bb133111eb;
  };
  const std::uint64_t x = mix(i + 0x9e3779b97f4a7c15) ^ mix(j + 0x243f6a8885a308d3);
  const std::uint64_t key = mix(x ^ (x >> 31));
  return key ^ (key >> 31);
}

std::vector<Scenario> registrations() {
  return {
      Scenario("ItsIdIsTheHeaders")
          .registerContext(7, identityContextRecord(8))
          .answer(WorkerStatus::InvalidRequest)
          .registerContext(7, identityContextRecord(7 + (std::uint64_t{1} << 32)))
          .answer(WorkerStatus::InvalidRequest)
          .query(kConvert, 7, pointPayload(1, 2, 3, 0, 0))
          .answer(WorkerStatus::ContextNotFound)
          .query(kConvert, 8, pointPayload(1, 2, 3, 0, 0))
          .answer(WorkerStatus::ContextNotFound),
      Scenario("IdZeroIsAnIdLikeAnyOther")
          .query(kConvert, 0, pointPayload(1, 2, 3, 0, 0))
          .answer(WorkerStatus::ContextNotFound)
          .registerContext(0, identityContextRecord(0))
          .ok()
          .query(kConvert, 0, pointPayload(1, 2, 3, 0, 0))
          .ok(pointResult(1, 2, 3)),
      Scenario("AnyNumbersAreRegistered")
          .registerContext(7,
                           [] {
                             std::string record(416, '\xFF');
                             putU64(record.data(), 7);
                             return record;
                           }())
          .ok()
          .query(kConvert, 7, pointPayload(1, 2, 3, 0, 0))
          .answer(WorkerStatus::QueryFailed)
          .query(kFromPlane, 7, pointPayload(1, 2, 3, 0, 0))
          .answer(WorkerStatus::QueryFailed)
          .query(kLocate, 7, pointPayload(1, 2, 3, 0, 0))
          .answer(WorkerStatus::QueryFailed)
          .start("(TRANS '(1 2) 0 0)", 7)
          .evalError("trans transform is singular", 4),
      Scenario("ARefusedRecordLeavesTheOldOne")
          .registerContext(7, recordWith(7, ContextOffset::kSystems, 5))
          .ok()
          .registerContext(7, identityContextRecord(8))
          .answer(WorkerStatus::InvalidRequest)
          .registerContext(7, identityContextRecord(7) + "x")
          .answer(WorkerStatus::InvalidRequest)
          .query(kConvert, 7, pointPayload(1, 2, 3, 0, 1))
          .ok(pointResult(6, 2, 3)),
      everySize(),
      orderOfChecks(),
      fullTable(),
  };
}

INSTANTIATE_TEST_SUITE_P(Registration, WholeConversation, testing::ValuesIn(registrations()),
                         nameOf);

std::vector<Scenario> points() {
  return {
      Scenario("BetweenSystems")
          .registerContext(7, surveyRecord(7))
          .ok()
          // (1, 2, 3) of system 1 is (10 - 2, 20 + 1, 6 + 30) in the world.
          .query(kConvert, 7, pointPayload(1, 2, 3, 1, 0))
          .ok(pointResult(8, 21, 36))
          .query(kConvert, 7, pointPayload(8, 21, 36, 0, 1))
          .ok(pointResult(1, 2, 3))
          .query(kConvert, 7, pointPayload(1, 2, 3, 2, 0))
          .ok(pointResult(0, 0, 3))
          .query(kConvert, 7, pointPayload(1, 2, 3, 0, 2))
          .answer(WorkerStatus::QueryFailed)
          .query(kConvert, 7, pointPayload(1, 2, 3, 3, 0))
          .answer(WorkerStatus::QueryFailed)
          .query(kConvert, 7, pointPayload(1, 2, 3, 0, 3))
          .answer(WorkerStatus::QueryFailed)
          .query(kConvert, 7, pointPayload(1, 2, 0, 0, 4))
          .ok(pointResult(1, 2, 0))
          .query(kConvert, 7, pointPayload(1e308, 0, 0, 0, 0))
          .ok(pointResult(1e308, 0, 0))
          .query(kConvert, 7, pointPayload(0, 0, 1e308, 1, 0))
          .answer(WorkerStatus::QueryFailed),
      Scenario("FromTheCellPlane")
          .registerContext(7,
                           [] {
                             std::string record = surveyRecord(7);
                             putF64(record.data() + ContextOffset::kCellPlane, 100);
                             putF64(record.data() + ContextOffset::kCellZScale, 10);
                             putF64(record.data() + ContextOffset::kCellZOffset, 5);
                             return record;
                           }())
          .ok()
          .query(kFromPlane, 7, pointPayload(1, 2, 3, 4, 0))
          .ok(pointResult(101, 2, 35))
          .query(kFromPlane, 7, pointPayload(1, 2, 3, 0, 1))
          .ok(pointResult(-18, -91, 2.5))
          .query(kFromPlane, 7, pointPayload(1, 2, 3, 0, 2))
          .answer(WorkerStatus::QueryFailed),
  };
}

INSTANTIATE_TEST_SUITE_P(Point, WholeConversation, testing::ValuesIn(points()), nameOf);

std::vector<Scenario> cells() {
  return {
      Scenario("InACellOfTheSurvey")
          .registerContext(7, surveyRecord(7))
          .ok()
          // (-27.5, 3.5) of system 1 is (6.5, -7.5) in the world.
          .query(kLocate, 7, pointPayload(-27.5, 3.5, 1.5, 1, 0))
          .ok(cellResult(6.5, -7.5, 33, 3, -4, 0x7a1860ba696244cb, 0xDEADBEEF)),
      Scenario("InACell")
          .registerContext(7, identityContextRecord(7))
          .ok()
          .query(kLocate, 7, pointPayload(2.5, -2.5, 9, 0, 4))
          .ok(cellResult(2.5, -2.5, 9, 2, -3, keyOf(2, ~std::uint64_t{2}), 0))
          .query(kLocate, 7, pointPayload(3, 4, 0, 0, 4))
          .ok(cellResult(3, 4, 0, 3, 4, keyOf(3, 4), 0))
          .query(kLocate, 7, pointPayload(-1e-300, 0, 0, 0, 4))
          .ok(cellResult(-1e-300, 0, 0, -1, 0, keyOf(~std::uint64_t{0}, 0), 0)),
      // A negative zero lies on the edge of cell 0.
      Scenario("OnTheEdgeOfACell")
          .registerContext(7,
                           [] {
                             std::string record = identityContextRecord(7);
                             setSystem(record, 1, {-0.0, 0, 1, 0, -0.0, 1, 1, 0});
                             return record;
                           }())
          .ok()
          .query(kLocate, 7, pointPayload(-0.0, 1, 0, 1, 0))
          .ok(cellResult(-0.0, 1, 0, 0, 1, keyOf(0, 1), 0)),
  };
}

INSTANTIATE_TEST_SUITE_P(Cell, WholeConversation, testing::ValuesIn(cells()), nameOf);

// At the ends of the indexes, and under contexts that have no cells.
std::vector<Scenario> lastCells() {
  const double high = 0x1p63;
  return {
      Scenario("InTheLastCells")
          .registerContext(7, identityContextRecord(7))
          .ok()
          .query(kLocate, 7, pointPayload(high, -high, 0, 0, 0))
          .ok(cellResult(high, -high, 0, std::numeric_limits<std::int64_t>::min(),
                         std::numeric_limits<std::int64_t>::min(),
                         keyOf(std::uint64_t{1} << 63, std::uint64_t{1} << 63), 0))
          .query(kLocate, 7, pointPayload(std::nextafter(high, kInfinity), 0, 0, 0, 0))
          .answer(WorkerStatus::QueryFailed)
          .query(kLocate, 7, pointPayload(0, std::nextafter(-high, -kInfinity), 0, 0, 0))
          .answer(WorkerStatus::QueryFailed),
      Scenario("InNoCell")
          .registerContext(7, recordWith(7, ContextOffset::kCellSize, 0))
          .ok()
          .query(kLocate, 7, pointPayload(1, 2, 3, 0, 0))
          .answer(WorkerStatus::QueryFailed)
          .query(kFromPlane, 7, pointPayload(1, 2, 3, 0, 0))
          .ok(pointResult(1, 2, 3))
          .query(kConvert, 7, pointPayload(1, 2, 3, 0, 0))
          .ok(pointResult(1, 2, 3))
          .registerContext(7, recordWith(7, ContextOffset::kCellSize, -1))
          .ok()
          .query(kLocate, 7, pointPayload(1, 2, 3, 0, 0))
          .answer(WorkerStatus::QueryFailed)
          .registerContext(7, recordWith(7, ContextOffset::kCellSize, kNan))
          .ok()
          .query(kLocate, 7, pointPayload(1, 2, 3, 0, 0))
          .answer(WorkerStatus::QueryFailed),
  };
}

INSTANTIATE_TEST_SUITE_P(LastCell, WholeConversation, testing::ValuesIn(lastCells()), nameOf);

std::vector<Scenario> pointsOfPrograms() {
  return {
      Scenario("OfPrograms")
          .registerContext(7, surveyRecord(7))
          .ok()
          .start("(TRANS '(1 2) 1 0)", 7)
          .value("(8 21 30)", 4)
          .start("(TRANS '(1 2 3) 1.9 -0.5)", 7)
          .value("(8 21 36)", 4)
          .start("(TRANS '(1 2 3) 0 2)", 7)
          .evalError("trans transform is singular", 4)
          .start("(TRANS '(1 2 3) 0 5)", 7)
          .evalError("trans coordinate arguments invalid", 4)
          .start("(TRANS '(1 2 3) 0 4294967296)", 7)
          .evalError("trans coordinate arguments invalid", 4)
          .start("(TRANS '(1 2 3) 0)", 7)
          .evalError("trans requires point, source, target and registered context", 3)
          .start("(DISTANCE '(0 0 0) '(0 0 5))", 7)
          .value("0", 3),
  };
}

INSTANTIATE_TEST_SUITE_P(PointOfAProgram, WholeConversation, testing::ValuesIn(pointsOfPrograms()),
                         nameOf);

std::vector<Scenario> geometry() {
  return {
      Scenario("EveryOperation")
          .geometry(geometryPayload(GeometryOperation::Sum, 7, {1, 2, 3, 4, 5, 6, 7}))
          .ok(geometryResult(28, 0))
          .geometry(geometryPayload(GeometryOperation::Difference, 1, {5}))
          .ok(geometryResult(5, 0))
          .geometry(geometryPayload(GeometryOperation::Difference, 3, {10, 1, 2}))
          .ok(geometryResult(7, 0))
          .geometry(geometryPayload(GeometryOperation::Product, 3, {2, 3, 4}))
          .ok(geometryResult(24, 0))
          .geometry(geometryPayload(GeometryOperation::Quotient, 3, {24, 3, 2}))
          .ok(geometryResult(4, 0))
          .geometry(geometryPayload(GeometryOperation::Distance, 4, {1, 1, 4, 5}))
          .ok(geometryResult(5, 0))
          .geometry(geometryPayload(GeometryOperation::Angle, 4, {0, 0, 0, 1}))
          .ok(geometryResult(std::atan2(1.0, 0.0), 0))
          .geometry(geometryPayload(GeometryOperation::Angle, 4, {3, 3, 3, 3}))
          .ok(geometryResult(0, 0))
          .geometry(geometryPayload(GeometryOperation::Polar, 4, {1, 2, 0, 5}))
          .ok(geometryResult(6, 2)),
      Scenario("WrongCounts")
          .geometry(geometryPayload(GeometryOperation::Sum, 0, {}))
          .answer(WorkerStatus::InvalidRequest, geometryResult(0, 0))
          .geometry(geometryPayload(GeometryOperation::Difference, 0, {}))
          .answer(WorkerStatus::InvalidRequest, geometryResult(0, 0))
          .geometry(geometryPayload(GeometryOperation::Product, 0, {}))
          .answer(WorkerStatus::InvalidRequest, geometryResult(0, 0))
          .geometry(geometryPayload(GeometryOperation::Quotient, 1, {1}))
          .answer(WorkerStatus::InvalidRequest, geometryResult(0, 0))
          .geometry(geometryPayload(GeometryOperation::Distance, 3, {1, 2, 3}))
          .answer(WorkerStatus::InvalidRequest, geometryResult(0, 0))
          .geometry(geometryPayload(GeometryOperation::Distance, 5, {1, 2, 3, 4, 5}))
          .answer(WorkerStatus::InvalidRequest, geometryResult(0, 0))
          .geometry(geometryPayload(GeometryOperation::Angle, 3, {1, 2, 3}))
          .answer(WorkerStatus::InvalidRequest, geometryResult(0, 0))
          .geometry(geometryPayload(GeometryOperation::Polar, 5, {1, 2, 3, 4, 5}))
          .answer(WorkerStatus::InvalidRequest, geometryResult(0, 0))
          .geometry(geometryPayload(GeometryOperation::Sum, 8, {1, 2, 3, 4, 5, 6, 7}))
          .answer(WorkerStatus::InvalidRequest, geometryResult(0, 0)),
  };
}

INSTANTIATE_TEST_SUITE_P(Geometry, WholeConversation, testing::ValuesIn(geometry()), nameOf);

std::vector<Scenario> faultyGeometry() {
  return {
      // Size, count, operands, operation, the operation's own count: the first fault decides.
      Scenario("OrderOfChecks")
          .geometry("")
          .answer(WorkerStatus::InvalidRequest)
          .geometry(geometryPayload(GeometryOperation{0}, 8, {}).substr(0, 63))
          .answer(WorkerStatus::InvalidRequest)
          .geometry(geometryPayload(GeometryOperation{0}, 8, {}) + "x")
          .answer(WorkerStatus::InvalidRequest)
          .geometry(geometryPayload(GeometryOperation{0}, 8, {kNan}))
          .answer(WorkerStatus::InvalidRequest, geometryResult(0, 0))
          .geometry(geometryPayload(GeometryOperation{0}, 1, {kNan}))
          .answer(WorkerStatus::InvalidRequest, geometryResult(0, 0))
          .geometry(geometryPayload(GeometryOperation{0}, 2, {1, kInfinity}))
          .answer(WorkerStatus::InvalidRequest, geometryResult(0, 0))
          .geometry(geometryPayload(GeometryOperation{0}, 0, {}))
          .answer(WorkerStatus::UnknownType, geometryResult(0, 0))
          .geometry(geometryPayload(GeometryOperation{8}, 0, {}))
          .answer(WorkerStatus::UnknownType, geometryResult(0, 0))
          .geometry(geometryPayload(GeometryOperation{255}, 1, {1}))
          .answer(WorkerStatus::UnknownType, geometryResult(0, 0))
          .geometry(geometryPayload(GeometryOperation::Sum, 1, {1, kNan}))
          .ok(geometryResult(1, 0)),
  };
}

INSTANTIATE_TEST_SUITE_P(FaultyGeometry, WholeConversation, testing::ValuesIn(faultyGeometry()),
                         nameOf);

std::vector<Scenario> degenerateGeometry() {
  constexpr double kLargest = std::numeric_limits<double>::max();
  return {
      Scenario("DegenerateResults")
          .geometry(geometryPayload(GeometryOperation::Quotient, 2, {1, 0}))
          .answer(WorkerStatus::Degenerate, geometryResult(0, 0))
          .geometry(geometryPayload(GeometryOperation::Quotient, 2, {1, 1e-300}))
          .answer(WorkerStatus::Degenerate, geometryResult(0, 0))
          .geometry(geometryPayload(GeometryOperation::Quotient, 2, {1, -1e-301}))
          .answer(WorkerStatus::Degenerate, geometryResult(0, 0))
          .geometry(geometryPayload(GeometryOperation::Quotient, 2, {1, 2e-300}))
          .ok(geometryResult(1 / 2e-300, 0))
          .geometry(geometryPayload(GeometryOperation::Product, 2, {1e200, 1e200}))
          .answer(WorkerStatus::Degenerate, geometryResult(kInfinity, 0))
          .geometry(geometryPayload(GeometryOperation::Sum, 2, {-kLargest, -kLargest}))
          .answer(WorkerStatus::Degenerate, geometryResult(-kInfinity, 0))
          // The divisor stops the computation, also after an overflow.
          .geometry(geometryPayload(GeometryOperation::Quotient, 3, {1e300, 1e-200, 0}))
          .answer(WorkerStatus::Degenerate, geometryResult(0, 0))
          .geometry(geometryPayload(GeometryOperation::Polar, 4, {kLargest, 0, 0, kLargest}))
          .answer(WorkerStatus::Degenerate, geometryResult(kInfinity, 0)),
  };
}

INSTANTIATE_TEST_SUITE_P(DegenerateGeometry, WholeConversation,
                         testing::ValuesIn(degenerateGeometry()), nameOf);

}  // namespace
}  // namespace lisp_worker::testing_support
