// A program carried through all its host calls.

#ifndef LISP_WORKER_CLIENT_RUN_H_
#define LISP_WORKER_CLIENT_RUN_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lisp_worker/client/datum.h"
#include "lisp_worker/client/eval_result.h"
#include "lisp_worker/client/host_transaction.h"
#include "lisp_worker/client/limits.h"
#include "lisp_worker/client/worker_client.h"

namespace lisp_worker::client {

// Performs a host call and returns its answer. Empty: the host cannot or will not, and the program
// is cancelled. What it throws leaves runProgram, after the program has been cancelled.
using Answerer = std::function<std::optional<Datum>(const HostCall& call)>;

struct RunSettings {
  // The coordinate context that the program runs under; 0 for none.
  std::uint64_t context_id = 0;

  // A program that makes more host calls is cancelled. Its steps alone would allow it a quarter of
  // a million, and whoever is to answer them would not be done in a day.
  std::size_t host_call_count_max = 10000;

  // Told when the program begins and how it ends; null: nobody is. Must outlive the run.
  HostTransaction* transaction = nullptr;
};

// The end of a program that was carried through its host calls.
enum class RunEnd : std::uint8_t {
  Value,         // It has ended with a value.
  ReadError,     // It, or an answer, could not be read.
  EvalError,     // It has failed.
  StepLimit,     // It has run out of steps.
  Refused,       // The worker has refused to evaluate it, or could not send what came of it.
  Unanswered,    // Cancelled: the host has not answered a call.
  Unwritable,    // Cancelled: no text stands for the host's answer.
  TooManyCalls,  // Cancelled: it has made more host calls than it may.
};

struct RunReport {
  RunEnd end = RunEnd::Value;
  worker::WorkerStatus status = worker::WorkerStatus::Ok;  // Of the last response.

  // The value as the worker wrote it when the end is Value; otherwise why there is none, in a line
  // for a person.
  std::string text;

  // The value, when the text can be read (worker_text.h tells which cannot).
  std::optional<Datum> value;

  std::size_t host_call_count = 0;
  std::uint64_t steps = 0;             // Of the last evaluation.
  std::vector<LimitWarning> warnings;  // Of all evaluations, one after the other.

  [[nodiscard]] bool hasValue() const { return end == RunEnd::Value; }
};

// "Value", "EvalError", ..., and one line that explains it.
[[nodiscard]] std::string_view runEndName(RunEnd end);
[[nodiscard]] std::string_view explainRunEnd(RunEnd end);

// Evaluates `program` and has `answer` perform every call that it needs, until it ends or is
// cancelled; without `answer`, at its first call. A call whose arguments cannot be told from their
// text (HostCall::unreadable) is passed on all the same: its name and the text are there. Empty
// when the conversation is over; client.fault() says why.
[[nodiscard]] std::optional<RunReport> runProgram(WorkerClient& client, std::string_view program,
                                                  const Answerer& answer,
                                                  const RunSettings& settings = {});

}  // namespace lisp_worker::client

#endif  // LISP_WORKER_CLIENT_RUN_H_
