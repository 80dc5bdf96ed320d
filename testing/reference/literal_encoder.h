// The text form of values and the evaluation responses of the literal implementation.

#ifndef TESTING_REFERENCE_LITERAL_ENCODER_H_
#define TESTING_REFERENCE_LITERAL_ENCODER_H_

#include <cstdint>
#include <string>

#include "testing/reference/literal_outcome.h"
#include "testing/reference/literal_value.h"
#include "testing/wire/frame_port.h"

namespace lisp_worker::testing_support {

// The text form of `value`: numbers with 17 significant digits, strings without escapes.
[[nodiscard]] std::string literalEncodeValue(const LiteralValue& value);

// The payload and status that `outcome` is answered with; `run_id` is 0 when no run is kept. A
// payload above 1 MiB gives status 3 and no payload.
[[nodiscard]] FrameResponse literalEncodeResponse(const LiteralOutcome& outcome,
                                                  std::uint64_t run_id);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_REFERENCE_LITERAL_ENCODER_H_
