// Frames are shown to the explainer before the worker handles them, and the response after it.
// Explanations are collected; the tests look for what they lack.

#include "testing/workers/explained_worker.h"

#include <cstddef>
#include <regex>

#include "lisp_worker/client/eval_result.h"
#include "lisp_worker/client/worker_client.h"
#include "testing/wire/frame_makers.h"

namespace lisp_worker::testing_support {

using worker::MessageType;
using worker::WorkerStatus;

FrameResponse ExplainedWorker::handle(const Frame& frame) {
  if (frame.type == MessageType::EvalStart && !call_name_.empty()) follows_ = false;
  if (follows_) follow(frame);
  FrameResponse response = worker_.handle(frame);
  if (follows_ && frame.type != MessageType::RegisterContext) finish(response);
  return response;
}

void ExplainedWorker::follow(const Frame& frame) {
  if (frame.type == MessageType::RegisterContext) {
    for (std::size_t n = 0; n < context_.systems.size(); ++n) {
      const PlanarSystem s = systemOf(frame.payload, n);
      context_.systems[n] = {s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7]};
    }
    if (!call_name_.empty()) explainer_.replaceContext(context_);
  } else if (frame.type == MessageType::EvalStart) {
    explainer_.start("example", frame.payload, frame.context_id == 0 ? nullptr : &context_);
  } else if (frame.type == MessageType::EvalResume) {
    explainer_.answer(call_name_, frame.payload, "");
  }
}

void ExplainedWorker::finish(const FrameResponse& response) {
  client::Reply<client::EvalResult> reply{
      response.status, client::decodeEvalResult(response.status, response.payload, nullptr)};
  call_name_.clear();
  if (response.status == WorkerStatus::HostCallPending) {
    call_name_ = reply.value->call_name;
    return;
  }
  const std::string told = explainer_.finish(reply);
  const bool has_failed = reply.value && reply.value->eval_status != client::EvalStatus::Value;
  if (has_failed || !told.empty()) explanations_.push_back(told);
}

std::string missingIn(const std::string& explanation) {
  static const std::regex kPlace("^[^\n]*:[0-9]+:[0-9]+: ");
  if (!std::regex_search(explanation, kPlace)) return "a place";
  for (const char* const part : {" | ", "^", "\n  expected  ", "\n  try       "}) {
    if (explanation.find(part) == std::string::npos) return part;
  }
  return "";
}

}  // namespace lisp_worker::testing_support
