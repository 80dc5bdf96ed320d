// Decodes 64 bytes, has geometry/ compute, encodes 64 bytes. Unlike other requests, a failed one
// has a payload too: the number that was not finite, or zeros.

#include "worker/geometry_requests.h"

#include <cassert>
#include <cstddef>
#include <cstdint>

#include "geometry/geometric_request.h"

namespace lisp_worker::worker {
namespace {

static_assert(kGeometryOperandCountMax == geometry::kOperandCountMax);

// A code of the protocol goes to geometry/ as the number that it is.
constexpr bool isSame(GeometryOperation code, geometry::GeometryOperation operation) {
  return static_cast<std::uint8_t>(code) == static_cast<std::uint8_t>(operation);
}
static_assert(isSame(GeometryOperation::Sum, geometry::GeometryOperation::Sum));
static_assert(isSame(GeometryOperation::Difference, geometry::GeometryOperation::Difference));
static_assert(isSame(GeometryOperation::Product, geometry::GeometryOperation::Product));
static_assert(isSame(GeometryOperation::Quotient, geometry::GeometryOperation::Quotient));
static_assert(isSame(GeometryOperation::Distance, geometry::GeometryOperation::Distance));
static_assert(isSame(GeometryOperation::Angle, geometry::GeometryOperation::Angle));
static_assert(isSame(GeometryOperation::Polar, geometry::GeometryOperation::Polar));

geometry::GeometryRequest decodeRequest(std::string_view payload) {
  assert(payload.size() == kGeometryPayloadSize);
  const char* const bytes = payload.data();
  geometry::GeometryRequest request;
  request.operation = getU8(bytes + GeometryOffset::kOperation);
  request.count = getU8(bytes + GeometryOffset::kCount);
  for (std::size_t i = 0; i < request.operands.size(); ++i) {
    request.operands[i] = getF64(bytes + GeometryOffset::kOperands + i * sizeof(double));
  }
  return request;
}

void encodeResult(const geometry::GeometryResult& result, std::string& response) {
  response.resize(kGeometryResultSize);
  putF64(response.data() + GeometryResultOffset::kX, result.x);
  putF64(response.data() + GeometryResultOffset::kY, result.y);
}

WorkerStatus statusOf(geometry::GeometryOutcome outcome) {
  switch (outcome) {
    case geometry::GeometryOutcome::Computed:
      return WorkerStatus::Ok;
    case geometry::GeometryOutcome::BadOperands:
      return WorkerStatus::InvalidRequest;
    case geometry::GeometryOutcome::UnknownOperation:
      return WorkerStatus::UnknownType;
    case geometry::GeometryOutcome::Degenerate:
      return WorkerStatus::Degenerate;
  }
  assert(false);  // There is no other outcome.
  return WorkerStatus::Degenerate;
}

}  // namespace

WorkerStatus handleGeometryRequest(std::string_view payload, std::string& response) {
  if (payload.size() != kGeometryPayloadSize) return WorkerStatus::InvalidRequest;
  const geometry::GeometryResult result =
      geometry::compute_geometric_request(decodeRequest(payload));
  encodeResult(result, response);
  return statusOf(result.outcome);
}

}  // namespace lisp_worker::worker
