// The use that an evaluation has made of the worker's limits, so that a host can tell its users
// before their programs fail. Nothing is printed; a host asks.

#ifndef LISP_WORKER_CLIENT_LIMITS_H_
#define LISP_WORKER_CLIENT_LIMITS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "lisp_worker/client/eval_result.h"

namespace lisp_worker::client {

// The worker's own: what one evaluation may take in steps, and a response in bytes after its
// header.
inline constexpr std::uint64_t kStepCountMax = 250000;
inline constexpr std::uint64_t kResponseSizeMax = worker::kPayloadSizeMax;

enum class Limit : std::uint8_t {
  Steps,
  ResponseSize,
};

struct LimitWarning {
  Limit limit;
  std::uint64_t used;
  std::uint64_t maximum;

  friend bool operator==(const LimitWarning&, const LimitWarning&) = default;
};

// Those limits of which the evaluation has used nine tenths or more.
[[nodiscard]] std::vector<LimitWarning> limitWarnings(const EvalResult& result);

// "the evaluation took 240000 of 250000 steps"
[[nodiscard]] std::string describeWarning(const LimitWarning& warning);

}  // namespace lisp_worker::client

#endif  // LISP_WORKER_CLIENT_LIMITS_H_
