// A KeptEvaluation is an interpreter in the middle of a program, on a side stack:
//
//   evaluate()                          on the side stack
//     begin          --------------->   run_program ... evaluate_host_call
//                                         no answer on record: awaitAnswer
//     outcome: call  <---------------     leave
//     ...
//     resume         --------------->     the answer is on record: the program goes on
//     outcome: value <---------------   run_program returns
//
// KeptEvaluations holds those that wait, the one answered longest ago first, and bounds their
// number and memory. An evaluation's memory is how much more is alive after it has run than before.
// Values that earlier programs have dropped would spoil this difference if they were freed in
// between, so they are taken apart first; where that is too much for one request, nothing is kept.

#include "worker/kept_evaluations.h"

#include <algorithm>
#include <cassert>
#include <optional>
#include <utility>

#include "host/run.h"
#include "lisp/graveyard.h"
#include "lisp/interpreter.h"
#include "lisp/storage.h"

namespace lisp_worker::worker {

using geometry::CoordContext;
using lisp::EvalOutcome;
using lisp::Interpreter;
using lisp::OutcomeKind;

// An evaluation on a stack of its own.
class KeptEvaluation final : public lisp::HostCallWaiter {
 public:
  KeptEvaluation(const PendingRun& run, const CoordContext* context,
                 std::unique_ptr<SideStack> stack, std::size_t bindings_max)
      : run_id_(run.run_id),
        program_{{}, run.program.forms},
        environment_(run.environment),
        context_(context),
        stack_(std::move(stack)),
        bindings_max_(bindings_max) {
    if (context != nullptr) context_before_ = *context;
  }
  ~KeptEvaluation() override {
    if (stack_ != nullptr) giveUp();
  }
  KeptEvaluation(const KeptEvaluation&) = delete;
  KeptEvaluation& operator=(const KeptEvaluation&) = delete;

  [[nodiscard]] std::uint64_t runId() const { return run_id_; }
  // Memory that would be free without this evaluation.
  [[nodiscard]] std::size_t bytes() const { return bytes_; }
  // True when it waits for an answer on its stack.
  [[nodiscard]] bool waits() const { return stack_->isInProgress(); }
  // True when a replay would see the coordinate systems that this evaluation has seen. A context
  // that is registered anew keeps its place.
  [[nodiscard]] bool hasContextOf(const CoordContext* context) const {
    assert(context == context_);
    return context == nullptr || geometry::has_same_bytes(*context, *context_before_);
  }

  // Begins or continues the evaluation, which has the answers of `transcript`.
  [[nodiscard]] EvalOutcome evaluate(const lisp::HostTranscript& transcript) {
    transcript_ = &transcript;
    // Memory that is freed meanwhile would be counted as freed by this evaluation, so what others
    // have dropped is taken apart first. If it is too much for one request, nothing is kept.
    lisp::takeApart(kElementsTakenApart);
    may_be_kept_ = !lisp::hasDeadValues();
    const std::size_t live_before = lisp::storage::liveBytes();
    if (waits()) {
      interpreter_->stepIn();
      interpreter_->setTranscript(transcript);
      stack_->resume();
    } else {
      stack_->begin([](void* self) { static_cast<KeptEvaluation*>(self)->runOnStack(); }, this);
    }
    transcript_ = nullptr;
    if (waits()) {
      lisp::takeApart(kElementsTakenApart);
      values_ += static_cast<std::ptrdiff_t>(lisp::storage::liveBytes() - live_before);
      bytes_ = static_cast<std::size_t>(std::max(values_, std::ptrdiff_t{0})) +
               interpreter_->bytesHeld() + call_bytes_ + KeepLimits::kStackBytes;
    }
    return std::move(outcome_);
  }

  // Continues it without an answer: its host call fails and everything on its stack goes.
  void giveUp() {
    assert(waits() && transcript_ == nullptr);
    interpreter_->stepIn();
    stack_->resume();
    assert(!waits());
  }

  // The environment after a value.
  [[nodiscard]] lisp::Environment takeEnvironment() { return std::move(environment_after_); }
  // The stack, on which nothing runs any more.
  [[nodiscard]] std::unique_ptr<SideStack> takeStack() { return std::move(stack_); }

  // On the side stack: goes back with the call as the outcome, and waits to be continued.
  bool awaitAnswer(Interpreter& interpreter, const lisp::HostCall& call) override {
    const std::size_t bindings = interpreter.bindingsTouched() + call.arguments.size();
    if (!may_be_kept_ || bindings > bindings_max_) return false;
    call_bytes_ = call.arguments.capacity() * sizeof(lisp::LispValue);
    outcome_ = interpreter.hostCallOutcome(call);
    stack_->leave();
    return transcript_ != nullptr;
  }

 private:
  // The elements of dropped lists that a request frees before it looks if any are left.
  static constexpr std::size_t kElementsTakenApart = 4096;

  void runOnStack() {
    Interpreter interpreter(environment_, context_, transcript_, this);
    interpreter_ = &interpreter;
    EvalOutcome outcome = host::run_program(interpreter, program_, lisp::EvalLimits());
    if (outcome.kind == OutcomeKind::Value) {
      environment_after_ = environment_;
      interpreter.commit(environment_after_);
    }
    outcome_ = std::move(outcome);
    interpreter_ = nullptr;
  }

  const std::uint64_t run_id_;
  host::StoredProgram program_;
  const lisp::Environment environment_;
  const CoordContext* const context_;  // Borrowed from the ContextTable, which keeps its places.
  std::optional<CoordContext> context_before_;  // As it was when the evaluation began.
  std::unique_ptr<SideStack> stack_;
  const std::size_t bindings_max_;

  const lisp::HostTranscript* transcript_ = nullptr;  // While it is evaluated; null gives it up.
  bool may_be_kept_ = false;
  Interpreter* interpreter_ = nullptr;  // On the side stack; null when nothing runs there.
  EvalOutcome outcome_;
  lisp::Environment environment_after_;
  std::ptrdiff_t values_ = 0;   // Bytes of values that the evaluation has made and not dropped.
  std::size_t call_bytes_ = 0;  // Of the arguments of the call that it waits at.
  std::size_t bytes_ = 0;
};

namespace {

// A replay that leaves nothing behind.
EvalOutcome replay(PendingRun& run, const CoordContext* context,
                   lisp::Environment& environment_out) {
  Interpreter interpreter(run.environment, context, &run.transcript);
  EvalOutcome outcome = host::run_program(interpreter, run.program, lisp::EvalLimits());
  if (outcome.kind == OutcomeKind::Value) {
    environment_out = run.environment;
    interpreter.commit(environment_out);
  }
  return outcome;
}

}  // namespace

KeptEvaluations::KeptEvaluations(const KeepLimits& limits) : limits_(limits) {}

KeptEvaluations::~KeptEvaluations() = default;

EvalOutcome KeptEvaluations::evaluate(PendingRun& run, const CoordContext* context,
                                      lisp::Environment& environment_out) {
  std::unique_ptr<KeptEvaluation> evaluation = take(run.run_id);
  const bool is_given_up =
      limits_.give_up_every != 0 && run.transcript.size() % limits_.give_up_every == 0;
  if (evaluation != nullptr && (is_given_up || !evaluation->hasContextOf(context))) {
    finish(std::move(evaluation));
    evaluation = nullptr;
  }
  if (evaluation == nullptr) {
    std::unique_ptr<SideStack> stack;
    if (limits_.count_max > 0 && run.steps >= limits_.steps_min) stack = takeStack();
    if (stack == nullptr) return replay(run, context, environment_out);
    evaluation =
        std::make_unique<KeptEvaluation>(run, context, std::move(stack), limits_.bindings_max);
  }
  EvalOutcome outcome = evaluation->evaluate(run.transcript);
  if (outcome.kind == OutcomeKind::Value) environment_out = evaluation->takeEnvironment();
  if (evaluation->waits()) {
    keep(std::move(evaluation));
  } else {
    finish(std::move(evaluation));
  }
  assert(isConsistent());
  return outcome;
}

void KeptEvaluations::drop(std::uint64_t run_id) {
  std::unique_ptr<KeptEvaluation> evaluation = take(run_id);
  if (evaluation != nullptr) finish(std::move(evaluation));
  assert(isConsistent());
}

std::unique_ptr<KeptEvaluation> KeptEvaluations::take(std::uint64_t run_id) {
  const auto place = std::find_if(kept_.begin(), kept_.end(), [run_id](const auto& evaluation) {
    return evaluation->runId() == run_id;
  });
  if (place == kept_.end()) return nullptr;
  std::unique_ptr<KeptEvaluation> evaluation = std::move(*place);
  kept_.erase(place);
  bytes_ -= evaluation->bytes();
  return evaluation;
}

std::unique_ptr<SideStack> KeptEvaluations::takeStack() {
  return spare_stack_ != nullptr ? std::move(spare_stack_) : SideStack::make();
}

// Keeps `evaluation` as the one answered last; those answered longest ago give way.
void KeptEvaluations::keep(std::unique_ptr<KeptEvaluation> evaluation) {
  bytes_ += evaluation->bytes();
  kept_.push_back(std::move(evaluation));
  while (kept_.size() > limits_.count_max || bytes_ > limits_.bytes_max) {
    finish(take(kept_.front()->runId()));
  }
}

// Ends `evaluation`, giving it up if it waits, and keeps its stack for the next one.
void KeptEvaluations::finish(std::unique_ptr<KeptEvaluation> evaluation) {
  if (evaluation->waits()) evaluation->giveUp();
  spare_stack_ = evaluation->takeStack();
}

bool KeptEvaluations::isConsistent() const {
  std::size_t bytes = 0;
  for (const auto& evaluation : kept_) {
    if (!evaluation->waits()) return false;
    bytes += evaluation->bytes();
  }
  return bytes == bytes_ && bytes <= limits_.bytes_max && kept_.size() <= limits_.count_max;
}

}  // namespace lisp_worker::worker
