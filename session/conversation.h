// The contents of a recorded session: programs, the calls that they made, their answers and ends,
// and the coordinate contexts that they ran under.

#ifndef SESSION_CONVERSATION_H_
#define SESSION_CONVERSATION_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "lisp_worker/client/eval_result.h"
#include "lisp_worker/session/session.h"
#include "lisp_worker/worker/frame.h"

namespace lisp_worker::session {

// A registration of a coordinate context, whatever the worker said to it.
struct Registration {
  std::size_t record = 0;
  std::uint64_t context_id = 0;
  std::string payload;
};

// An EvalStart or EvalResume and what came of it.
struct Evaluation {
  std::size_t request_record = 0;
  bool is_answered = false;      // By a whole response.
  std::size_t run = 0;           // Index of its run.
  std::size_t answer_count = 0;  // Answers that the run had got, this one's included.
  std::string text;              // The program or the answer.
  std::string context;  // The payload registered under the run's context id; empty when none.
  worker::WorkerStatus status = worker::WorkerStatus::Ok;
  std::optional<client::EvalResult> result;  // Empty when there is none, or none that can be read.
};

// A program with all its evaluations.
struct Run {
  std::string program;
  std::uint64_t context_id = 0;
  std::vector<std::size_t> evaluations;  // Indices.
};

struct Conversation {
  std::vector<Registration> registrations;
  std::vector<Run> runs;
  std::vector<Evaluation> evaluations;

  // True when an evaluation has stopped at a host call.
  [[nodiscard]] bool isCall(const Evaluation& evaluation) const;

  // The evaluation that stopped at call `number` of `run`, counted from 1; null when there is none.
  [[nodiscard]] const Evaluation* callOf(std::size_t run, std::size_t number) const;
};

// Puts a session's frames together. A frame that fits nowhere, such as the resume of a run that
// never waited, is a run of its own without a program.
[[nodiscard]] Conversation understand(const RecordedSession& session);

// The header of a record's frame; empty when it is shorter than one.
[[nodiscard]] std::optional<worker::MessageHeader> headerOf(const Record& record);

}  // namespace lisp_worker::session

#endif  // SESSION_CONVERSATION_H_
