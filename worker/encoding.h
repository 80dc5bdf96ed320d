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

// The text form of `value`, the only one that the system has: numbers with 17 significant digits,
// so that the host gets the exact double back, and strings between double quotes with nothing
// escaped.
[[nodiscard]] std::string encodeValue(const lisp::LispValue& value);

// Appends the text form of `value` to `text` unless `text` would grow beyond `size_max` bytes.
// Then returns false, as soon as that is known, and leaves in `text` what it has written so far.
// Without recursion: values nest without limit.
[[nodiscard]] bool appendValue(const lisp::LispValue& value, std::size_t size_max,
                               std::string& text);

// Fills `payload` with the response to an evaluation and returns its status. `run_id` names the
// pending run that is kept, 0 for none. A text longer than kTextSizeMax leaves `payload` empty and
// is a InvalidRequest.
[[nodiscard]] WorkerStatus encodeEvalResponse(const lisp::EvalOutcome& outcome,
                                              std::uint64_t run_id, std::string& payload);

}  // namespace lisp_worker::worker

#endif  // WORKER_ENCODING_H_
