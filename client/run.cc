// One program from its start to its end, in a loop: evaluate, ask the host, resume. Two guards undo
// what a callback that throws would leave behind: a run that waits in the worker, and a transaction
// of the host that is open.

#include "lisp_worker/client/run.h"

#include <utility>

#include "client/run_steps.h"
#include "lisp_worker/client/answer_text.h"

namespace lisp_worker::client {
namespace {

// A pending run that is cancelled unless it goes on, also when the host's callback throws.
class WaitingRun {
 public:
  WaitingRun(WorkerClient& client, std::uint64_t run_id) : client_(client), run_id_(run_id) {}
  WaitingRun(const WaitingRun&) = delete;
  WaitingRun& operator=(const WaitingRun&) = delete;
  ~WaitingRun() {
    if (run_id_ == 0) return;
    try {
      // Without an answer the conversation is over; the client keeps why.
      static_cast<void>(client_.evalCancel(run_id_));
    } catch (...) {
      // An observer's, after the cancellation. It may have thrown before, which is why we are here.
    }
  }

  std::optional<Reply<EvalResult>> resume(std::string_view answer) {
    std::optional<Reply<EvalResult>> reply = client_.evalResume(run_id_, answer);
    // After a refusal the run may wait on: its answer or its next call was too long to send.
    if (reply && reply->value) run_id_ = 0;
    return reply;
  }

 private:
  WorkerClient& client_;
  std::uint64_t run_id_;
};

// Rolls the host's transaction back unless it is committed, also when a callback throws.
class OpenTransaction {
 public:
  explicit OpenTransaction(HostTransaction* transaction) {
    if (transaction != nullptr) transaction->begin();
    open_ = transaction;
  }
  OpenTransaction(const OpenTransaction&) = delete;
  OpenTransaction& operator=(const OpenTransaction&) = delete;
  ~OpenTransaction() {
    if (open_ != nullptr) open_->rollBack();
  }

  void commit() {
    HostTransaction* const transaction = std::exchange(open_, nullptr);
    if (transaction != nullptr) transaction->commit();
  }

 private:
  HostTransaction* open_ = nullptr;
};

// Has the pending run's call performed and resumes it. Empty, with the end in the report, when
// that cannot be; and empty when the conversation is over.
std::optional<Reply<EvalResult>> answerCall(WorkerClient& client, const EvalResult& result,
                                            const Answerer& answer, const RunSettings& settings,
                                            RunReport& report) {
  WaitingRun waiting(client, result.run_id);
  const auto give_up = [&report](RunEnd end, std::string text) {
    report.end = end;
    report.text = std::move(text);
    return std::nullopt;
  };
  if (report.host_call_count == settings.host_call_count_max) {
    return give_up(RunEnd::TooManyCalls, "the program makes more than " +
                                             std::to_string(settings.host_call_count_max) +
                                             " host calls");
  }
  ++report.host_call_count;
  const std::optional<Datum> datum = answer ? answer(describeCall(result)) : std::nullopt;
  if (!datum) {
    return give_up(RunEnd::Unanswered, "the host has not answered " + result.call_name);
  }
  std::string reason;
  const std::optional<std::string> text = answerText(*datum, &reason);
  if (!text) {
    return give_up(RunEnd::Unwritable,
                   "the host's answer to " + result.call_name + " cannot be written: " + reason);
  }
  return waiting.resume(*text);
}

struct EndWords {
  std::string_view name;
  std::string_view explanation;
};

EndWords wordsOf(RunEnd end) {
  switch (end) {
    case RunEnd::Value:
      return {"Value", "the program has ended with a value"};
    case RunEnd::ReadError:
      return {"ReadError", "the program or an answer could not be read"};
    case RunEnd::EvalError:
      return {"EvalError", "the program has ended with an error"};
    case RunEnd::StepLimit:
      return {"StepLimit", "the program has run out of steps"};
    case RunEnd::Refused:
      return {"Refused",
              "the worker has not evaluated the program, or could not send what came of it"};
    case RunEnd::Unanswered:
      return {"Unanswered", "cancelled, because the host has not answered a call"};
    case RunEnd::Unwritable:
      return {"Unwritable", "cancelled, because no text stands for the host's answer"};
    case RunEnd::TooManyCalls:
      break;
  }
  return {"TooManyCalls", "cancelled, because the program has made too many host calls"};
}

}  // namespace

std::string_view runEndName(RunEnd end) { return wordsOf(end).name; }

std::string_view explainRunEnd(RunEnd end) { return wordsOf(end).explanation; }

std::optional<RunReport> runProgram(WorkerClient& client, std::string_view program,
                                    const Answerer& answer, const RunSettings& settings) {
  OpenTransaction transaction(settings.transaction);
  RunReport report;
  std::optional<Reply<EvalResult>> reply = client.evalStart(program, settings.context_id);
  while (reply) {
    noteEvaluation(*reply, report);
    const bool waits = reply->value && reply->value->eval_status == EvalStatus::HostCallRequired;
    if (!waits) {
      conclude(*reply, report);
      if (report.hasValue()) transaction.commit();
      return report;
    }
    // Moved out, because the reply is replaced by the next one.
    const EvalResult result = std::move(*reply->value);
    reply = answerCall(client, result, answer, settings, report);
    // The run has been cancelled.
    if (!reply && report.end != RunEnd::Value && !client.fault()) return report;
  }
  return std::nullopt;
}

}  // namespace lisp_worker::client
