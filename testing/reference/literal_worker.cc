// Start, resume and cancel, with maps for contexts and runs. A resume is always a replay.

#include "testing/reference/literal_worker.h"

#include <optional>

#include "testing/reference/literal_encoder.h"
#include "testing/reference/literal_reader.h"

namespace lisp_worker::testing_support {

using worker::MessageType;
using worker::WorkerStatus;

FrameResponse LiteralWorker::handle(const Frame& frame) {
  switch (frame.type) {
    case MessageType::RegisterContext:
      return FrameResponse{contexts_.registerContext(frame.context_id, frame.payload), ""};
    case MessageType::EvalStart:
      return start(frame);
    case MessageType::EvalResume:
      return resume(frame);
    case MessageType::EvalCancel:
      return cancel(frame);
    default:
      return FrameResponse{WorkerStatus::UnknownType, ""};
  }
}

std::uint64_t LiteralWorker::allocateRunId() {
  std::uint64_t run_id = run_id_counter_++;
  if (run_id == 0) run_id = run_id_counter_++;
  return run_id;
}

FrameResponse LiteralWorker::start(const Frame& frame) {
  const LiteralContext* context = nullptr;
  if (frame.context_id != 0) {
    context = contexts_.find(frame.context_id);
    if (context == nullptr) return FrameResponse{WorkerStatus::ContextNotFound, ""};
  }
  LiteralInterpreter interpreter(persistent_, limits_, context, nullptr);
  const LiteralOutcome outcome = interpreter.runProgram(frame.payload);
  switch (outcome.kind) {
    case LiteralOutcomeKind::Value:
      persistent_ = interpreter.state();
      return literalEncodeResponse(outcome, 0);
    case LiteralOutcomeKind::HostCallRequired: {
      const std::uint64_t run_id = allocateRunId();
      pending_runs_[run_id] =
          PendingRun{frame.context_id, frame.payload, persistent_, {}, *outcome.host_call};
      return literalEncodeResponse(outcome, run_id);
    }
    case LiteralOutcomeKind::Abandoned:
      abandoned_ = true;
      break;
    default:
      break;
  }
  return literalEncodeResponse(outcome, 0);
}

FrameResponse LiteralWorker::resume(const Frame& frame) {
  const auto found = pending_runs_.find(frame.run_id);
  if (found == pending_runs_.end()) return FrameResponse{WorkerStatus::InvalidRequest, ""};
  PendingRun& run = found->second;

  const LiteralContext* context = nullptr;
  if (run.context_id != 0) {
    context = contexts_.find(run.context_id);
    if (context == nullptr) {
      pending_runs_.erase(found);
      return FrameResponse{WorkerStatus::ContextNotFound, ""};
    }
  }

  std::string error;
  const std::optional<LiteralValue> answer = literalParseSingle(frame.payload, &error);
  if (!answer.has_value()) {
    pending_runs_.erase(found);
    LiteralOutcome outcome;
    outcome.kind = LiteralOutcomeKind::ReadError;
    outcome.message = "host response parse error: " + error;
    return literalEncodeResponse(outcome, 0);
  }
  run.transcript.push_back(
      LiteralTranscriptEntry{run.pending_call.name, run.pending_call.arguments, *answer});

  LiteralInterpreter interpreter(run.snapshot, limits_, context, &run.transcript);
  const LiteralOutcome outcome = interpreter.runProgram(run.program);
  if (outcome.kind == LiteralOutcomeKind::HostCallRequired) {
    run.pending_call = *outcome.host_call;
    return literalEncodeResponse(outcome, frame.run_id);
  }
  if (outcome.kind == LiteralOutcomeKind::Value) persistent_ = interpreter.state();
  if (outcome.kind == LiteralOutcomeKind::Abandoned) abandoned_ = true;
  pending_runs_.erase(found);
  return literalEncodeResponse(outcome, 0);
}

FrameResponse LiteralWorker::cancel(const Frame& frame) {
  pending_runs_.erase(frame.run_id);
  return FrameResponse{WorkerStatus::Ok, ""};
}

}  // namespace lisp_worker::testing_support
