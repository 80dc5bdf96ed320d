// The geometric request in types: one operation on up to seven numbers, without a context.

#ifndef LISP_WORKER_CLIENT_GEOMETRY_H_
#define LISP_WORKER_CLIENT_GEOMETRY_H_

#include <span>
#include <string>
#include <string_view>

#include "lisp_worker/worker/frame.h"

namespace lisp_worker::client {

using worker::GeometryOperation;

struct GeometryResult {
  double x = 0;
  double y = 0;

  friend bool operator==(const GeometryResult&, const GeometryResult&) = default;
};

// The payload of a request. Of more than worker::kGeometryOperandCountMax operands the first are
// sent, with a count for which the worker refuses the request (WorkerStatus::InvalidRequest).
[[nodiscard]] std::string encodeGeometryRequest(GeometryOperation operation,
                                                std::span<const double> operands);

// The payload of a response, of worker::kGeometryResultSize bytes.
[[nodiscard]] GeometryResult decodeGeometryResult(std::string_view payload);

}  // namespace lisp_worker::client

#endif  // LISP_WORKER_CLIENT_GEOMETRY_H_
