// The geometric request in types: one operation on up to seven numbers, without a context.

#ifndef LISP_WORKER_CLIENT_GEOMETRY_H_
#define LISP_WORKER_CLIENT_GEOMETRY_H_

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "lisp_worker/worker/frame.h"

namespace lisp_worker::client {

enum class GeometryOperation : std::uint8_t {
  Sum = 1,
  Difference = 2,
  Product = 3,
  Quotient = 4,
  Distance = 5,  // x1 y1 x2 y2
  Angle = 6,     // x1 y1 x2 y2, in radians from -pi to pi
  Polar = 7,     // x y angle distance; the only one with a y in its result
};

struct GeometryResult {
  double x = 0;
  double y = 0;

  friend bool operator==(const GeometryResult&, const GeometryResult&) = default;
};

// The payload of a request. At most worker::kGeometryOperandCountMax operands.
[[nodiscard]] std::string encodeGeometryRequest(GeometryOperation operation,
                                                std::span<const double> operands);

// The payload of a response, of worker::kGeometryResultSize bytes.
[[nodiscard]] GeometryResult decodeGeometryResult(std::string_view payload);

}  // namespace lisp_worker::client

#endif  // LISP_WORKER_CLIENT_GEOMETRY_H_
