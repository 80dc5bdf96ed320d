#include "geometry/geometric_request.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <ostream>
#include <vector>

#include "geometry/elementary_functions.h"

namespace geometry {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kLargest = std::numeric_limits<double>::max();
constexpr double kPi = 3.141592653589793;

constexpr auto kComputed = GeometryOutcome::Computed;
constexpr auto kBadOperands = GeometryOutcome::BadOperands;
constexpr auto kUnknownOperation = GeometryOutcome::UnknownOperation;
constexpr auto kDegenerate = GeometryOutcome::Degenerate;

// A request of all the operands listed; the operands beyond are NaN, which nobody may look at.
GeometryRequest request_of(int operation, std::initializer_list<double> operands) {
  GeometryRequest request;
  request.operation = static_cast<std::uint8_t>(operation);
  request.count = static_cast<std::uint8_t>(operands.size());
  request.operands.fill(kNan);
  std::size_t i = 0;
  for (const double operand : operands) request.operands[i++] = operand;
  return request;
}

struct ResultRow {
  int operation;
  std::vector<double> operands;
  GeometryOutcome outcome;
  double x;
  double y;

  friend void PrintTo(const ResultRow& row, std::ostream* out) {
    *out << "operation " << row.operation << " of";
    for (const double operand : row.operands) *out << ' ' << operand;
  }
};

class GeometricRequests : public testing::TestWithParam<ResultRow> {};

TEST_P(GeometricRequests, GiveTheirResultToTheLastBit) {
  const ResultRow& row = GetParam();
  GeometryRequest request = request_of(row.operation, {});
  request.count = static_cast<std::uint8_t>(row.operands.size());
  for (std::size_t i = 0; i < row.operands.size(); ++i) request.operands[i] = row.operands[i];

  const GeometryResult result = compute_geometric_request(request);
  EXPECT_EQ(result.outcome, row.outcome);
  EXPECT_EQ(std::bit_cast<std::uint64_t>(result.x), std::bit_cast<std::uint64_t>(row.x))
      << result.x << " is not " << row.x;
  EXPECT_EQ(std::bit_cast<std::uint64_t>(result.y), std::bit_cast<std::uint64_t>(row.y))
      << result.y << " is not " << row.y;
}

INSTANTIATE_TEST_SUITE_P(
    Sums, GeometricRequests,
    testing::Values(ResultRow{1, {}, kBadOperands, 0, 0}, ResultRow{1, {5}, kComputed, 5, 0},
                    ResultRow{1, {-0.0}, kComputed, 0, 0},
                    ResultRow{1, {1, 2, 3, 4, 5, 6, 7}, kComputed, 28, 0},
                    // From left to right: the 1s vanish one by one.
                    ResultRow{1, {1e16, 1, 1}, kComputed, 1e16, 0},
                    ResultRow{1, {1, 1, 1e16}, kComputed, 1e16 + 2, 0},
                    ResultRow{1, {kLargest, kLargest}, kDegenerate, kInfinity, 0},
                    ResultRow{1, {-kLargest, -kLargest, kLargest}, kDegenerate, -kInfinity, 0}));

INSTANTIATE_TEST_SUITE_P(
    Differences, GeometricRequests,
    testing::Values(ResultRow{2, {}, kBadOperands, 0, 0}, ResultRow{2, {5}, kComputed, 5, 0},
                    ResultRow{2, {-0.0}, kComputed, -0.0, 0},
                    ResultRow{2, {10, 1, 2}, kComputed, 7, 0},
                    ResultRow{2, {1, 2, 3, 4, 5, 6, 7}, kComputed, -26, 0},
                    ResultRow{2, {1e16, 1, 1}, kComputed, 1e16, 0},
                    ResultRow{2, {-kLargest, kLargest}, kDegenerate, -kInfinity, 0}));

INSTANTIATE_TEST_SUITE_P(
    Products, GeometricRequests,
    testing::Values(ResultRow{3, {}, kBadOperands, 0, 0}, ResultRow{3, {5}, kComputed, 5, 0},
                    ResultRow{3, {-0.0}, kComputed, -0.0, 0},
                    ResultRow{3, {1, 2, 3, 4, 5, 6, 7}, kComputed, 5040, 0},
                    // From left to right: the first pair underflows, or overflows.
                    ResultRow{3, {1e-200, 1e-200, 1e300}, kComputed, 0, 0},
                    ResultRow{3, {1e200, 1e200}, kDegenerate, kInfinity, 0},
                    ResultRow{3, {1e200, -1e200, 1e-200}, kDegenerate, -kInfinity, 0}));

INSTANTIATE_TEST_SUITE_P(
    Quotients, GeometricRequests,
    testing::Values(
        ResultRow{4, {}, kBadOperands, 0, 0}, ResultRow{4, {5}, kBadOperands, 0, 0},
        ResultRow{4, {1, 4}, kComputed, 0.25, 0},
        ResultRow{4, {5040, 2, 3, 4, 5, 6, 7}, kComputed, 1, 0},
        ResultRow{4, {-0.0, 1}, kComputed, -0.0, 0}, ResultRow{4, {0, 0}, kDegenerate, 0, 0},
        ResultRow{4, {1, 0}, kDegenerate, 0, 0}, ResultRow{4, {1, -0.0}, kDegenerate, 0, 0},
        ResultRow{4, {1, 1e-301}, kDegenerate, 0, 0}, ResultRow{4, {1, 1e-300}, kDegenerate, 0, 0},
        ResultRow{4, {1, -1e-300}, kDegenerate, 0, 0},
        ResultRow{4, {1, 0x1.56e1fc2f8f35ap-997}, kComputed, 0x1.7e43c8800759ap+996, 0},
        ResultRow{4, {1, -0x1.56e1fc2f8f35ap-997}, kComputed, -0x1.7e43c8800759ap+996, 0},
        ResultRow{4, {1, 2e-300}, kComputed, 1 / 2e-300, 0},
        ResultRow{4, {1e10, 2e-300}, kDegenerate, kInfinity, 0},
        ResultRow{4, {6, 2, 0, 3}, kDegenerate, 0, 0},
        // The divisor decides, although an infinity came before it.
        ResultRow{4, {1e10, 2e-300, 0}, kDegenerate, 0, 0},
        ResultRow{4, {1, kLargest, kLargest}, kComputed, 0, 0}));

INSTANTIATE_TEST_SUITE_P(
    Distances, GeometricRequests,
    testing::Values(ResultRow{5, {1, 2, 4, 6}, kComputed, 5, 0},
                    ResultRow{5, {4, 6, 1, 2}, kComputed, 5, 0},
                    ResultRow{5, {1, 2, 1, 2}, kComputed, 0, 0},
                    // Squares would overflow.
                    ResultRow{5, {0, 0, 0x3p+700, 0x4p+700}, kComputed, 0x5p+700, 0},
                    ResultRow{5, {-kLargest, 0, kLargest, 0}, kDegenerate, kInfinity, 0},
                    ResultRow{5, {0, 0, kLargest, kLargest}, kDegenerate, kInfinity, 0},
                    ResultRow{5, {}, kBadOperands, 0, 0},
                    ResultRow{5, {1, 2, 3}, kBadOperands, 0, 0},
                    ResultRow{5, {1, 2, 3, 4, 5}, kBadOperands, 0, 0}));

INSTANTIATE_TEST_SUITE_P(Angles, GeometricRequests,
                         testing::Values(ResultRow{6, {0, 0, 1, 0}, kComputed, 0, 0},
                                         ResultRow{6, {0, 0, 0, 2}, kComputed, kPi / 2, 0},
                                         ResultRow{6, {5, 5, 4, 5}, kComputed, kPi, 0},
                                         ResultRow{6, {5, 5, 4, 4}, kComputed, -3 * kPi / 4, 0},
                                         ResultRow{6, {5, 5, 5, 4}, kComputed, -kPi / 2, 0},
                                         ResultRow{6, {5, 5, 5, 5}, kComputed, 0, 0},
                                         ResultRow{6, {0, 0, -1, -0.0}, kComputed, -kPi, 0},
                                         // The difference overflows, its direction does not.
                                         ResultRow{6, {-kLargest, 0, kLargest, 1}, kComputed, 0, 0},
                                         ResultRow{6, {}, kBadOperands, 0, 0},
                                         ResultRow{6, {1, 2, 3}, kBadOperands, 0, 0},
                                         ResultRow{6, {1, 2, 3, 4, 5}, kBadOperands, 0, 0}));

INSTANTIATE_TEST_SUITE_P(
    Polars, GeometricRequests,
    testing::Values(ResultRow{7, {1, 2, 0, 10}, kComputed, 11, 2},
                    ResultRow{7, {1, 2, 0, -10}, kComputed, -9, 2},
                    ResultRow{7, {1, 2, 3, 0}, kComputed, 1, 2},
                    ResultRow{7, {kLargest, 2, 0, kLargest}, kDegenerate, kInfinity, 2},
                    ResultRow{7, {}, kBadOperands, 0, 0},
                    ResultRow{7, {1, 2, 3}, kBadOperands, 0, 0},
                    ResultRow{7, {1, 2, 3, 4, 5}, kBadOperands, 0, 0}));

INSTANTIATE_TEST_SUITE_P(UnknownOperations, GeometricRequests,
                         testing::Values(ResultRow{0, {1, 2, 3, 4}, kUnknownOperation, 0, 0},
                                         ResultRow{8, {1, 2, 3, 4}, kUnknownOperation, 0, 0},
                                         ResultRow{255, {1, 2, 3, 4}, kUnknownOperation, 0, 0},
                                         ResultRow{0, {}, kUnknownOperation, 0, 0}));

TEST(ComputeGeometricRequest, TurnsAPolarPointCounterclockwise) {
  const GeometryResult quarter = compute_geometric_request(request_of(7, {1, 2, kPi / 2, 10}));
  EXPECT_EQ(quarter.outcome, kComputed);
  EXPECT_DOUBLE_EQ(quarter.x, 1);
  EXPECT_DOUBLE_EQ(quarter.y, 12);
  const GeometryResult sixth = compute_geometric_request(request_of(7, {1, 2, kPi / 6, 10}));
  EXPECT_EQ(sixth.outcome, kComputed);
  EXPECT_DOUBLE_EQ(sixth.x, 1 + 5 * std::sqrt(3));
  EXPECT_DOUBLE_EQ(sixth.y, 7);
}

TEST(ComputeGeometricRequest, RoundsTheProductsOfAPolarPointBeforeAdding) {
  const double x_step = 3 * cosine(1.0);
  const double y_step = 3 * sine(1.0);
  const GeometryResult result = compute_geometric_request(request_of(7, {-x_step, -y_step, 1, 3}));
  EXPECT_EQ(result.outcome, kComputed);
  EXPECT_EQ(result.x, 0);
  EXPECT_EQ(result.y, 0);
}

TEST(ComputeGeometricRequest, SendsAnOverflowOfYAlone) {
  const GeometryResult result =
      compute_geometric_request(request_of(7, {0, kLargest, kPi / 2, kLargest}));
  EXPECT_EQ(result.outcome, kDegenerate);
  EXPECT_TRUE(std::isfinite(result.x));
  EXPECT_EQ(result.y, kInfinity);
}

TEST(ComputeGeometricRequest, SendsANan) {
  const GeometryResult result = compute_geometric_request(request_of(3, {1e200, 1e200, 0}));
  EXPECT_EQ(result.outcome, kDegenerate);
  EXPECT_TRUE(std::isnan(result.x));
  EXPECT_EQ(result.y, 0);
}

TEST(ComputeGeometricRequest, RefusesMoreThanSevenOperands) {
  GeometryRequest request = request_of(1, {1, 1, 1, 1, 1, 1, 1});
  EXPECT_EQ(compute_geometric_request(request).outcome, kComputed);
  for (const int count : {8, 9, 255}) {
    request.count = static_cast<std::uint8_t>(count);
    EXPECT_EQ(compute_geometric_request(request).outcome, kBadOperands) << count;
  }
}

TEST(ComputeGeometricRequest, RefusesANonFiniteOperandAmongThoseMeant) {
  for (const double bad : {kInfinity, -kInfinity, kNan, -kNan}) {
    for (std::size_t position = 0; position < kOperandCountMax; ++position) {
      GeometryRequest request = request_of(1, {1, 1, 1, 1, 1, 1, 1});
      request.operands[position] = bad;
      const GeometryResult result = compute_geometric_request(request);
      EXPECT_EQ(result.outcome, kBadOperands) << bad << " at " << position;
      EXPECT_EQ(result.x, 0);
      // Beyond the count the same operand is nobody's.
      request.count = static_cast<std::uint8_t>(position);
      EXPECT_EQ(compute_geometric_request(request).outcome,
                position == 0 ? kBadOperands : kComputed);
    }
  }
}

// Of several faults the first check decides: count above 7, a non-finite operand, the operation,
// the count that the operation needs.
TEST(ComputeGeometricRequest, ChecksInItsOrder) {
  GeometryRequest unknown_and_too_many = request_of(99, {1});
  unknown_and_too_many.count = 8;
  EXPECT_EQ(compute_geometric_request(unknown_and_too_many).outcome, kBadOperands);
  EXPECT_EQ(compute_geometric_request(request_of(99, {kNan})).outcome, kBadOperands);
  EXPECT_EQ(compute_geometric_request(request_of(99, {})).outcome, kUnknownOperation);
  EXPECT_EQ(compute_geometric_request(request_of(4, {1})).outcome, kBadOperands);
}

}  // namespace
}  // namespace geometry
