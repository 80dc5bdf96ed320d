// Stopped evaluations that are kept, so that an answer costs what comes after it.
//
// By contract every answer evaluates the whole program again, from its first form, with all answers
// so far on record: a replay. An evaluation is deterministic, so one that has stopped at a host
// call may as well be left where it is, on a stack of its own (worker/side_stack.h), and continued
// when the answer has come. Nothing that a host can observe tells the two apart. Replay is what a
// continued evaluation must agree with, and what happens when none is kept:
//
//   - the run has just begun, or its evaluation is so short that a replay costs no more;
//   - it was given up: others were answered later and there was no more room, or it holds too much;
//   - its coordinate context has been registered anew with other bytes, so that a replay may go
//     another way.
//
// Giving an evaluation up continues it one last time, with the news that there is no answer: the
// host call fails, and every function on its stack returns as it does for any failure.

#ifndef WORKER_KEPT_EVALUATIONS_H_
#define WORKER_KEPT_EVALUATIONS_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "geometry/coord_context.h"
#include "lisp/outcome.h"
#include "worker/pending_runs.h"
#include "worker/side_stack.h"

namespace lisp_worker::worker {

class KeptEvaluation;

// Bounds of what is kept. Tests choose less; the worker has no settings.
struct KeepLimits {
  std::size_t count_max = 64;
  // Of all kept evaluations together: the values and bindings that they hold, the interpreter's own
  // memory, and kStackBytes for each stack.
  std::size_t bytes_max = 16 << 20;
  // An evaluation that stops after fewer steps is replayed: that takes some 20 microseconds at
  // most, and a program that waits once is not slowed down by a stack of its own.
  std::uint64_t steps_min = 1000;
  // Bindings that an evaluation has touched: stepping aside for another run moves them all.
  std::size_t bindings_max = 10000;
  // Gives the evaluation up at every answer whose number is a multiple of this; 0 for never.
  std::uint64_t give_up_every = 0;

  // Bytes of its stack that an evaluation at the depth limit uses, rounded up.
  static constexpr std::size_t kStackBytes = 64 << 10;
};

class KeptEvaluations {
 public:
  explicit KeptEvaluations(const KeepLimits& limits);
  ~KeptEvaluations();
  KeptEvaluations(const KeptEvaluations&) = delete;
  KeptEvaluations& operator=(const KeptEvaluations&) = delete;

  // Evaluates the program of `run`, whose last answer is new, under its context (null for none) as
  // far as the answers go: continues its evaluation where one is kept, and replays otherwise. For a
  // value, `environment_out` becomes the run's environment with all that the program has changed.
  // For a further host call the evaluation may be kept.
  [[nodiscard]] lisp::EvalOutcome evaluate(PendingRun& run, const geometry::CoordContext* context,
                                           lisp::Environment& environment_out);

  // Gives up what is kept of a run, if anything is. For a run that ends in another way than by
  // evaluate().
  void drop(std::uint64_t run_id);

  [[nodiscard]] std::size_t count() const { return kept_.size(); }
  [[nodiscard]] std::size_t bytes() const { return bytes_; }

 private:
  [[nodiscard]] std::unique_ptr<KeptEvaluation> take(std::uint64_t run_id);
  [[nodiscard]] std::unique_ptr<SideStack> takeStack();
  void keep(std::unique_ptr<KeptEvaluation> evaluation);
  void finish(std::unique_ptr<KeptEvaluation> evaluation);
  // For assertions: all that are kept wait, bytes_ is their sum, and the limits are kept.
  [[nodiscard]] bool isConsistent() const;

  const KeepLimits limits_;
  std::vector<std::unique_ptr<KeptEvaluation>> kept_;  // The one answered longest ago comes first.
  std::size_t bytes_ = 0;                              // That they hold.
  std::unique_ptr<SideStack> spare_stack_;
};

}  // namespace lisp_worker::worker

#endif  // WORKER_KEPT_EVALUATIONS_H_
