// Follows a program that runs elsewhere, answer by answer, and knows the arguments of the call that
// waits.
//
// The worker writes the arguments of a call as text, in which a text that holds a quote can be read
// in two ways. So they are taken from an evaluation of the program here. To evaluate it from its
// first form for every call would make a loop of n calls cost n * n / 2. A follower keeps one
// evaluation, stopped in the middle of the call, and continues it with the answer.
//
// The evaluation has a thread of its own, for its stack. The two threads never run at once: the
// follower waits while the evaluation runs, and the evaluation while the follower does not ask.

#ifndef EXPLAIN_FOLLOWER_H_
#define EXPLAIN_FOLLOWER_H_

#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "explain/evaluation.h"
#include "geometry/coord_context.h"
#include "lisp/value.h"

namespace explain {

class Follower {
 public:
  // `context` may be null; it is copied.
  Follower(ProgramPointer program, const Definitions& definitions,
           const geometry::CoordContext* context);
  ~Follower();
  Follower(const Follower&) = delete;
  Follower& operator=(const Follower&) = delete;

  // The arguments of the call after these answers, which begin with those of the time before.
  // Empty when the program does not come to one. Costs the evaluation since the time before.
  [[nodiscard]] std::optional<std::vector<lisp::LispValue>> argumentsAfter(
      std::span<const AnsweredCall> answers);

 private:
  class Evaluation;
  std::unique_ptr<Evaluation> evaluation_;
};

}  // namespace explain

#endif  // EXPLAIN_FOLLOWER_H_
