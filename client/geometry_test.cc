#include "lisp_worker/client/geometry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace lisp_worker::client {
namespace {

TEST(EncodeGeometryRequest, PutsEveryFieldInItsPlace) {
  const std::array<double, 4> operands = {1, 2, 3, 4};
  const std::string payload = encodeGeometryRequest(GeometryOperation::Polar, operands);
  ASSERT_EQ(payload.size(), 64u);
  EXPECT_EQ(payload.substr(0, 8), std::string("\x07\x04\0\0\0\0\0\0", 8));
  const double expected[] = {1, 2, 3, 4, 0, 0, 0};
  for (std::size_t n = 0; n < 7; ++n) {
    EXPECT_EQ(worker::getF64(payload.data() + 8 + 8 * n), expected[n]);
  }
}

TEST(EncodeGeometryRequest, HasRoomForSevenOperands) {
  const std::array<double, 7> operands = {1, 2, 3, 4, 5, 6, 7};
  const std::string payload = encodeGeometryRequest(GeometryOperation::Sum, operands);
  EXPECT_EQ(worker::getF64(payload.data() + 56), 7);
  EXPECT_EQ(encodeGeometryRequest(GeometryOperation::Sum, {}).size(), 64u);
}

// The worker refuses these counts, as worker/geometry_requests_test.cc shows.
TEST(EncodeGeometryRequest, SendsTheFirstOperandsOfTooManyWithTheirCount) {
  for (const std::size_t count : {8U, 9U, 255U, 256U, 263U, 1000U}) {
    const std::vector<double> operands(count, 1.5);
    const std::string payload = encodeGeometryRequest(GeometryOperation::Sum, operands);
    ASSERT_EQ(payload.size(), 64u) << count;
    EXPECT_EQ(worker::getU8(payload.data() + 1), std::min<std::size_t>(count, 255)) << count;
    EXPECT_EQ(worker::getF64(payload.data() + 56), 1.5) << count;
  }
}

TEST(DecodeGeometryResult, TakesXAndY) {
  std::string payload(64, '\0');
  worker::putF64(payload.data(), 1.5);
  worker::putF64(payload.data() + 8, -2.5);
  EXPECT_EQ(decodeGeometryResult(payload), (GeometryResult{1.5, -2.5}));
}

}  // namespace
}  // namespace lisp_worker::client
