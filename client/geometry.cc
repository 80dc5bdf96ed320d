#include "lisp_worker/client/geometry.h"

#include <cassert>
#include <cstddef>

namespace lisp_worker::client {

using worker::GeometryOffset;
using worker::GeometryResultOffset;

std::string encodeGeometryRequest(GeometryOperation operation, std::span<const double> operands) {
  assert(operands.size() <= worker::kGeometryOperandCountMax);
  std::string payload(worker::kGeometryPayloadSize, '\0');
  char* const bytes = payload.data();
  worker::putU8(bytes + GeometryOffset::kOperation, static_cast<std::uint8_t>(operation));
  worker::putU8(bytes + GeometryOffset::kCount, static_cast<std::uint8_t>(operands.size()));
  for (std::size_t n = 0; n < operands.size(); ++n) {
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
