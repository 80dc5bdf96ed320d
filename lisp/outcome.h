// The plain records of a run: its outcome, the call it needs from the host, the answers it has had.

#ifndef LISP_OUTCOME_H_
#define LISP_OUTCOME_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "lisp/value.h"

namespace lisp {

// In the order of the protocol's codes; worker/encoding.cc checks that it is.
enum class OutcomeKind : std::uint8_t {
  Value,
  ReadError,  // Program text or a host's answer could not be read.
  EvalError,  // Every error of evaluation, the depth limit and divergence included.
  StepLimit,
  HostCallRequired,  // The run stopped at a call that has no recorded answer.
};

// A call that the host must perform.
struct HostCall {
  std::string name;                  // Upper case.
  std::vector<LispValue> arguments;  // Evaluated.
};

// The result of a whole run.
struct EvalOutcome {
  OutcomeKind kind = OutcomeKind::Value;
  LispValue value;                    // Nil unless kind is Value.
  std::optional<HostCall> host_call;  // Present for HostCallRequired only.
  std::string message;                // Empty for Value.
  std::uint64_t steps = 0;            // Evaluation steps counted when the outcome was made.
  std::uint64_t reserved = 0;         // Always 0, as the bytes of a result that nothing uses yet.
};

// One answered host call.
struct HostTranscriptEntry {
  std::string name;
  std::vector<LispValue> arguments;  // Exactly as they were sent.
  LispValue answer;                  // A datum; never evaluated.
};

// The answers of a pending run, oldest first.
using HostTranscript = std::vector<HostTranscriptEntry>;

}  // namespace lisp

#endif  // LISP_OUTCOME_H_
