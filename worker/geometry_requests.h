// The geometric request: its 64 bytes as a calculation, and the result as 64 bytes.

#ifndef WORKER_GEOMETRY_REQUESTS_H_
#define WORKER_GEOMETRY_REQUESTS_H_

#include <string>
#include <string_view>

#include "lisp_worker/worker/frame.h"

namespace lisp_worker::worker {

// GeometryRequest: appends the record of the result to `response`, which is empty, for every
// status: zeros when nothing was computed, a NaN or an infinity when that was the result. Only a
// payload of another size leaves `response` empty.
//
// InvalidRequest for the size and for bad operands, UnknownType for an unknown operation,
// Degenerate for a divisor too close to 0 and for a result that is not finite.
[[nodiscard]] WorkerStatus handleGeometryRequest(std::string_view payload, std::string& response);

}  // namespace lisp_worker::worker

#endif  // WORKER_GEOMETRY_REQUESTS_H_
