#include "client/run_steps.h"

#include <string>
#include <utility>
#include <vector>

#include "lisp_worker/client/limits.h"
#include "lisp_worker/client/names.h"
#include "lisp_worker/client/worker_text.h"

namespace lisp_worker::client {
namespace {

RunEnd endOf(EvalStatus status) {
  switch (status) {
    case EvalStatus::Value:
      return RunEnd::Value;
    case EvalStatus::ReadError:
      return RunEnd::ReadError;
    case EvalStatus::StepLimit:
      return RunEnd::StepLimit;
    default:
      return RunEnd::EvalError;
  }
}

}  // namespace

HostCall describeCall(const EvalResult& result) {
  std::string reason;
  std::optional<HostCall> call = readHostCall(result, &reason);
  if (call) return *std::move(call);
  return HostCall{.name = result.call_name,
                  .arguments = {},
                  .text = result.text,
                  .unreadable = std::move(reason)};
}

void noteEvaluation(const Reply<EvalResult>& reply, RunReport& report) {
  report.status = reply.status;
  if (!reply.value) return;
  report.steps = reply.value->steps;
  const std::vector<LimitWarning> warnings = limitWarnings(*reply.value);
  report.warnings.insert(report.warnings.end(), warnings.begin(), warnings.end());
}

void conclude(const Reply<EvalResult>& reply, RunReport& report) {
  if (!reply.value) {
    report.end = RunEnd::Refused;
    report.text = reply.status == worker::WorkerStatus::InvalidRequest
                      ? "the program, an answer, or what came of them is too long to send"
                      : std::string(explainStatus(reply.status));
    return;
  }
  report.end = endOf(reply.value->eval_status);
  report.text = reply.value->text;
  if (report.hasValue()) report.value = readWorkerText(report.text, nullptr);
}

}  // namespace lisp_worker::client
