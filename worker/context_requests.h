// Requests about coordinate contexts: the fixed-size payloads as records of geometry, the order of
// the checks, and what each failure is called on the wire.

#ifndef WORKER_CONTEXT_REQUESTS_H_
#define WORKER_CONTEXT_REQUESTS_H_

#include <string>
#include <string_view>

#include "geometry/context_table.h"
#include "lisp_worker/worker/frame.h"

namespace lisp_worker::worker {

// RegisterContext: puts the payload's context into `contexts`. InvalidRequest, and nothing changes,
// when the payload has another size, its id is not the header's context_id, or the table is full.
[[nodiscard]] WorkerStatus handleRegisterContext(const MessageHeader& request,
                                                 std::string_view payload,
                                                 geometry::ContextTable& contexts);

// LocateCell, CellPlaneToSystem or Convert, as the header's type says: appends the record of the
// result to `response`, which is empty, when the status is Ok and leaves it empty otherwise.
//
// The first of these decides: InvalidRequest for a payload of another size, ContextNotFound for an
// id that is not registered, InvalidRequest for a source or target code that names no system (both
// are checked, needed or not), QueryFailed when the transform gives nothing.
[[nodiscard]] WorkerStatus handlePointRequest(const MessageHeader& request,
                                              std::string_view payload,
                                              const geometry::ContextTable& contexts,
                                              std::string& response);

}  // namespace lisp_worker::worker

#endif  // WORKER_CONTEXT_REQUESTS_H_
