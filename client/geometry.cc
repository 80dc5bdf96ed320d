#include "lisp_worker/client/geometry.h"

#include <algorithm>
#include <cassert>
#include <cstddef>

namespace lisp_worker::client {

using worker::GeometryOffset;
using worker::GeometryResultOffset;

std::string encodeGeometryRequest(GeometryOperation operation, std::span<const double> operands) {
  std::string payload(worker::kGeometryPayloadSize, '\0');
  char* const bytes = payload.data();
  // A count beyond the room is written as it is, or as 255, and is all that the worker looks at.
  const std::size_t count = std::min<std::size_t>(operands.size(), 0xFF);
  const std::size_t written = std::min(count, worker::kGeometryOperandCountMax);
  worker::putU8(bytes + GeometryOffset::kOperation, static_cast<std::uint8_t>(operation));
  worker::putU8(bytes + GeometryOffset::kCount, static_cast<std::uint8_t>(count));
  for (std::size_t n = 0; n < written; ++n) {
    worker::putF64(bytes + GeometryOffset::kOperands + n * sizeof(double), operands[n]);
  }
  return payload;
}

GeometryResult decodeGeometryResult(std::string_view payload) {
  assert(payload.size() == worker::kGeometryResultSize);
  const char* const bytes = payload.data();
  return {worker::getF64(bytes + GeometryResultOffset::kX),
          worker::getF64(bytes + GeometryResultOffset::kY)};
}

}  // namespace lisp_worker::client
