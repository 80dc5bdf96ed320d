// The result of every evaluation step, builtin and run of the literal implementation.

#ifndef TESTING_REFERENCE_LITERAL_OUTCOME_H_
#define TESTING_REFERENCE_LITERAL_OUTCOME_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "testing/reference/literal_value.h"

namespace lisp_worker::testing_support {

enum class LiteralOutcomeKind : std::uint8_t {
  Value = 0,
  ReadError = 1,
  EvalError = 2,
  StepLimit = 3,
  HostCallRequired = 4,
  // Not part of the language: the copies that this slow implementation makes have outgrown its
  // budget, and the rest of the program is unknown.
  Abandoned = 255,
};

// A call that the host must answer: the builtin's name and its evaluated arguments.
struct LiteralHostCall {
  std::string name;
  std::vector<LiteralValue> arguments;
};

// One answered call. The answer is a datum; it is never evaluated.
struct LiteralTranscriptEntry {
  std::string name;
  std::vector<LiteralValue> arguments;
  LiteralValue answer;
};

using LiteralTranscript = std::vector<LiteralTranscriptEntry>;

struct LiteralOutcome {
  LiteralOutcomeKind kind = LiteralOutcomeKind::Value;
  LiteralValue value;
  std::optional<LiteralHostCall> host_call;
  std::string message;
  std::uint64_t steps = 0;
};

}  // namespace lisp_worker::testing_support

#endif  // TESTING_REFERENCE_LITERAL_OUTCOME_H_
