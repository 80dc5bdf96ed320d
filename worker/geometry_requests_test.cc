#include "worker/geometry_requests.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <string>

#include "testing/wire/wire_frames.h"

namespace lisp_worker::worker {
namespace {

using testing_support::geometryPayload;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

// A response with a record: of x and y, and zeros behind them.
void expectRecord(const std::string& payload, WorkerStatus status, double x, double y = 0) {
  std::string response;
  EXPECT_EQ(handleGeometryRequest(payload, response), status);
  ASSERT_EQ(response.size(), kGeometryResultSize);
  EXPECT_EQ(getF64(response.data() + GeometryResultOffset::kX), x);
  EXPECT_EQ(getF64(response.data() + GeometryResultOffset::kY), y);
  const std::string rest = response.substr(GeometryResultOffset::kReserved);
  EXPECT_EQ(rest, std::string(rest.size(), '\0'));
}

void expectNothing(const std::string& payload, WorkerStatus status) {
  std::string response;
  EXPECT_EQ(handleGeometryRequest(payload, response), status);
  EXPECT_EQ(response, "");
}

TEST(GeometryRequest, ComputesWithOperandsFromTheirPlaces) {
  expectRecord(geometryPayload(GeometryOperation::Difference, 7, {64, 32, 16, 8, 4, 2, 1}),
               WorkerStatus::Ok, 1);
  expectRecord(geometryPayload(GeometryOperation::Polar, 4, {1, 2, 0, 10}), WorkerStatus::Ok, 11,
               2);
}

TEST(GeometryRequest, AnswersAnotherSizeWithNothing) {
  for (const std::size_t size : {0U, 1U, 63U, 65U, 128U}) {
    std::string payload = geometryPayload(GeometryOperation::Sum, 1, {5});
    payload.resize(size);
    expectNothing(payload, WorkerStatus::InvalidRequest);
  }
}

TEST(GeometryRequest, AnswersBadOperandsWithZeros) {
  expectRecord(geometryPayload(GeometryOperation::Sum, 0, {}), WorkerStatus::InvalidRequest, 0);
  expectRecord(geometryPayload(GeometryOperation::Sum, 8, {1, 1, 1, 1, 1, 1, 1}),
               WorkerStatus::InvalidRequest, 0);
  expectRecord(geometryPayload(GeometryOperation::Sum, 1, {kNan}), WorkerStatus::InvalidRequest, 0);
  expectRecord(geometryPayload(GeometryOperation::Sum, 1, {kInfinity}),
               WorkerStatus::InvalidRequest, 0);
  expectRecord(geometryPayload(GeometryOperation::Distance, 3, {1, 2, 3}),
               WorkerStatus::InvalidRequest, 0);
  expectRecord(geometryPayload(GeometryOperation::Distance, 5, {1, 2, 3, 4, 5}),
               WorkerStatus::InvalidRequest, 0);
}

TEST(GeometryRequest, AnswersAnUnknownOperationWithZeros) {
  expectRecord(geometryPayload(GeometryOperation{0}, 1, {1}), WorkerStatus::UnknownType, 0);
  expectRecord(geometryPayload(GeometryOperation{8}, 1, {1}), WorkerStatus::UnknownType, 0);
  expectRecord(geometryPayload(GeometryOperation{255}, 1, {1}), WorkerStatus::UnknownType, 0);
}

TEST(GeometryRequest, AnswersAZeroDivisorWithZeros) {
  expectRecord(geometryPayload(GeometryOperation::Quotient, 2, {1, 0}), WorkerStatus::Degenerate,
               0);
  expectRecord(geometryPayload(GeometryOperation::Quotient, 2, {1, 1e-301}),
               WorkerStatus::Degenerate, 0);
  expectRecord(geometryPayload(GeometryOperation::Quotient, 2, {1, 2e-300}), WorkerStatus::Ok,
               1 / 2e-300);
}

TEST(GeometryRequest, SendsAResultThatIsNotFinite) {
  expectRecord(geometryPayload(GeometryOperation::Product, 2, {1e200, 1e200}),
               WorkerStatus::Degenerate, kInfinity);
  std::string response;
  EXPECT_EQ(handleGeometryRequest(geometryPayload(GeometryOperation::Product, 3, {1e200, 1e200, 0}),
                                  response),
            WorkerStatus::Degenerate);
  ASSERT_EQ(response.size(), kGeometryResultSize);
  EXPECT_TRUE(std::isnan(getF64(response.data() + GeometryResultOffset::kX)));
  EXPECT_EQ(getF64(response.data() + GeometryResultOffset::kY), 0);
}

// geometryPayload fills the unused operands with bytes that are a finite number; here a NaN.
TEST(GeometryRequest, IgnoresANanBeyondItsOperands) {
  expectRecord(geometryPayload(GeometryOperation::Sum, 2, {1, 2, kNan, kNan, kNan, kNan, kNan}),
               WorkerStatus::Ok, 3);
}

TEST(GeometryRequest, IgnoresItsReservedBytes) {
  for (const char filler : {'\0', '\x01', '\xFF'}) {
    std::string payload = geometryPayload(GeometryOperation::Difference, 1, {5});
    payload.replace(2, 6, 6, filler);
    expectRecord(payload, WorkerStatus::Ok, 5);
  }
}

}  // namespace
}  // namespace lisp_worker::worker
