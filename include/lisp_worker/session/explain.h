// Why a session went another way than the one before it.
//
// Two things can diverge. A program, when it is evaluated again with the answers on record, makes
// another call than the one that was answered, and the worker ends it with an error. Or a session
// that is held again, with another worker or by another host, has another course. Both come down
// to a call on record and the call that was made instead, and to what has changed before it.

#ifndef LISP_WORKER_SESSION_EXPLAIN_H_
#define LISP_WORKER_SESSION_EXPLAIN_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "lisp_worker/client/worker.h"
#include "lisp_worker/session/session.h"

namespace lisp_worker::session {

// The likely cause.
enum class Cause : std::uint8_t {
  NotANumber,          // An argument is NaN, which equals nothing, itself included.
  ContextReplaced,     // Another coordinate context was registered under the run's context id.
  DefinitionsChanged,  // A program, this one or one before it, has another text.
  AnswerChanged,       // The host has answered an earlier call differently.
  Order,               // The same calls are made in another order.
  Count,               // A call is made that was not, or one is left out.
  Argument,            // The same function is called with other arguments.
  OtherCall,           // Another function is called.
  Result,              // The same calls led to another result.
  WorkerEnded,         // One of the workers has ended instead of answering.
  OtherFrame,          // The sessions differ outside their programs.
};

// "context registered anew", ...
[[nodiscard]] std::string_view causeName(Cause cause);

struct Explanation {
  Cause cause = Cause::OtherFrame;
  std::string text;  // Lines for a person, kExplanationLinesMax at most.
};

inline constexpr std::size_t kExplanationLinesMax = 25;

// The differences of `made` from `recorded`. Empty when there are none.
[[nodiscard]] std::optional<Explanation> explainDifference(const RecordedSession& recorded,
                                                           const RecordedSession& made);

// The first divergence that a worker has reported within the session. The worker does not tell the
// arguments of the call that it refused; with `starter`, unless that is null, the run is held
// again under the contexts of that moment to see them; `time_limit` is for each response to that.
// Empty when there is no divergence.
[[nodiscard]] std::optional<Explanation> explainDivergence(
    const RecordedSession& session, const client::WorkerStarter* starter,
    std::chrono::milliseconds time_limit = std::chrono::seconds(10));

}  // namespace lisp_worker::session

#endif  // LISP_WORKER_SESSION_EXPLAIN_H_
