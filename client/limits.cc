#include "lisp_worker/client/limits.h"

namespace lisp_worker::client {
namespace {

bool isNear(const LimitWarning& warning) { return warning.used * 10 >= warning.maximum * 9; }

}  // namespace

std::vector<LimitWarning> limitWarnings(const EvalResult& result) {
  std::vector<LimitWarning> warnings;
  for (const LimitWarning& candidate :
       {LimitWarning{Limit::Steps, result.steps, kStepCountMax},
        LimitWarning{Limit::ResponseSize, worker::kEvalResultHeaderSize + result.text.size(),
                     kResponseSizeMax}}) {
    if (isNear(candidate)) warnings.push_back(candidate);
  }
  return warnings;
}

std::string describeWarning(const LimitWarning& warning) {
  const std::string share = std::to_string(warning.used) + " of " + std::to_string(warning.maximum);
  return warning.limit == Limit::Steps ? "the evaluation took " + share + " steps"
                                       : "the response took " + share + " bytes";
}

}  // namespace lisp_worker::client
