// The answer to an evaluation: a fixed result header and a text.

#ifndef WORKER_ENCODING_H_
#define WORKER_ENCODING_H_

#include <cstddef>
#include <cstdint>
#include <string>

#include "lisp/outcome.h"
#include "lisp/value.h"
#include "lisp_worker/worker/frame.h"

namespace lisp_worker::worker {

// The longest text that fits into a response, in bytes.
inline constexpr std::size_t kTextSizeMax = kPayloadSizeMax - kEvalResultHeaderSize;

// Fills `payload` with the response to an evaluation and returns its status. `run_id` names the
// pending run that is kept, 0 for none. A text longer than kTextSizeMax leaves `payload` empty and
// is an InvalidRequest.
[[nodiscard]] WorkerStatus encodeEvalResponse(const lisp::EvalOutcome& outcome,
                                              std::uint64_t run_id, std::string& payload);

}  // namespace lisp_worker::worker

#endif  // WORKER_ENCODING_H_
