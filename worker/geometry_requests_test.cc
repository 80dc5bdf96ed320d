#include "worker/geometry_request.h"

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

const std::string kZeros(64, '\0');

// A result record of x and y.
std::string resultOf(double x, double y = 0) {
  std::string record = kZeros;
  putF64(record.data(), x);
  putF64(record.data() + 8, y);
  return record;
}

void expectAnswer(const std::string& payload, WorkerStatus status, const std::string& record) {
  std::string response;
  EXPECT_EQ(handleGeometryRequest(payload, response), status);
  EXPECT_EQ(response, record);
}

TEST(GeometryRequest, ComputesWithOperandsFromTheirPlaces) {
  expectAnswer(geometryPayload(2, 7, {64, 32, 16, 8, 4, 2, 1}), WorkerStatus::Ok, resultOf(1));
  expectAnswer(geometryPayload(7, 4, {1, 2, 0, 10}), WorkerStatus::Ok, resultOf(11, 2));
}

TEST(GeometryRequest, AnswersAnotherSizeWithNothing) {
  for (const std::size_t size : {0U, 1U, 63U, 65U, 128U}) {
    std::string payload = geometryPayload(1, 1, {5});
    payload.resize(size);
    expectAnswer(payload, WorkerStatus::InvalidRequest, "");
  }
}

TEST(GeometryRequest, AnswersBadOperandsWithZeros) {
  expectAnswer(geometryPayload(1, 0, {}), WorkerStatus::InvalidRequest, kZeros);
  expectAnswer(geometryPayload(1, 8, {1, 1, 1, 1, 1, 1, 1}), WorkerStatus::InvalidRequest, kZeros);
  expectAnswer(geometryPayload(1, 1, {kNan}), WorkerStatus::InvalidRequest, kZeros);
  expectAnswer(geometryPayload(1, 1, {kInfinity}), WorkerStatus::InvalidRequest, kZeros);
  expectAnswer(geometryPayload(5, 3, {1, 2, 3}), WorkerStatus::InvalidRequest, kZeros);
  expectAnswer(geometryPayload(5, 5, {1, 2, 3, 4, 5}), WorkerStatus::InvalidRequest, kZeros);
}

TEST(GeometryRequest, AnswersAnUnknownOperationWithZeros) {
  expectAnswer(geometryPayload(0, 1, {1}), WorkerStatus::UnknownType, kZeros);
  expectAnswer(geometryPayload(8, 1, {1}), WorkerStatus::UnknownType, kZeros);
  expectAnswer(geometryPayload(255, 1, {1}), WorkerStatus::UnknownType, kZeros);
}

TEST(GeometryRequest, AnswersAZeroDivisorWithZeros) {
  expectAnswer(geometryPayload(4, 2, {1, 0}), WorkerStatus::Degenerate, kZeros);
  expectAnswer(geometryPayload(4, 2, {1, 1e-301}), WorkerStatus::Degenerate, kZeros);
  expectAnswer(geometryPayload(4, 2, {1, 2e-300}), WorkerStatus::Ok, resultOf(1 / 2e-300));
}

TEST(GeometryRequest, SendsAResultThatIsNotFinite) {
  expectAnswer(geometryPayload(3, 2, {1e200, 1e200}), WorkerStatus::Degenerate,
               resultOf(kInfinity));
  std::string response;
  EXPECT_EQ(handleGeometryRequest(geometryPayload(3, 3, {1e200, 1e200, 0}), response),
            WorkerStatus::Degenerate);
  ASSERT_EQ(response.size(), 64U);
  EXPECT_TRUE(std::isnan(getF64(response.data())));
  EXPECT_EQ(response.substr(8), kZeros.substr(8));
}

// geometryPayload fills the unused operands with bytes that are a finite number; here a NaN.
TEST(GeometryRequest, IgnoresANanBeyondItsOperands) {
  expectAnswer(geometryPayload(1, 2, {1, 2, kNan, kNan, kNan, kNan, kNan}), WorkerStatus::Ok,
               resultOf(3));
}

TEST(GeometryRequest, IgnoresItsReservedBytes) {
  for (const char filler : {'\0', '\x01', '\xFF'}) {
    std::string payload = geometryPayload(2, 1, {5});
    payload.replace(2, 6, 6, filler);
    expectAnswer(payload, WorkerStatus::Ok, resultOf(5));
  }
}

}  // namespace
}  // namespace lisp_worker::worker
