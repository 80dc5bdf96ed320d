// Interpreter: one run of a program, as builtins and the worker see it.
//
// A run counts its steps, keeps its limits, has bindings (lisp/bindings.h), the answers of its host
// and a coordinate context, and comes to a value or to a failure. How forms are evaluated is in
// lisp/evaluator.cc and the files that it names; a builtin needs evaluateArguments at most.
//
//   Interpreter interpreter(environment, context, transcript);
//   interpreter.start(limits);
//   Result result = interpreter.evaluate(form, 0);
//   if (result.failed()) return interpreter.takeFailure();
//   interpreter.commit(environment);

#ifndef LISP_INTERPRETER_H_
#define LISP_INTERPRETER_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "lisp/bindings.h"
#include "lisp/builtin.h"
#include "lisp/environment.h"
#include "lisp/list.h"
#include "lisp/observer.h"
#include "lisp/outcome.h"
#include "lisp/plain_stack.h"
#include "lisp/symbol.h"
#include "lisp/user_function.h"
#include "lisp/value.h"
#include "lisp/wrapping.h"

namespace geometry {
struct CoordContext;
}

namespace lisp {

// The bounds of one run.
struct EvalLimits {
  std::uint64_t step_limit = 250000;  // Evaluations; the one after the last of them fails.
  std::uint32_t depth_limit = 128;    // Levels of nested list forms, calls included.
};

class Interpreter;

// Where a run can wait for the answer to a host call that is not on record.
class HostCallWaiter {
 public:
  virtual ~HostCallWaiter() = default;

  // Returns true when the answer has come: it is the last entry of the run's transcript then. False
  // when there will be none, and the run stops at the call. Other runs may take place meanwhile.
  [[nodiscard]] virtual bool awaitAnswer(Interpreter& interpreter, const HostCall& call) = 0;
};

// Of all interpreters the one made or stepped in last is resident (lisp/bindings.h); the others
// wait and must step in before they go on.
class Interpreter {
 public:
  // A run on `environment`, with the coordinate context and the recorded answers of its host, null
  // for none, and where it can wait for more answers, null for nowhere. All are borrowed for the
  // life of the interpreter.
  Interpreter(const Environment& environment, const geometry::CoordContext* context,
              const HostTranscript* transcript, HostCallWaiter* waiter = nullptr);
  ~Interpreter();
  Interpreter(const Interpreter&) = delete;
  Interpreter& operator=(const Interpreter&) = delete;

  // Tells `observer` of the runs of observed programs from here on. Borrowed; null for nobody.
  void observe(Observer* observer) { observer_ = observer; }
  [[nodiscard]] Observer* observer() const { return observer_; }

  // Begins the counts of a run.
  void start(const EvalLimits& limits);

  // Evaluates `form` at `depth`, which is 0 for the forms of a program. Counts one step, then
  // checks the step limit, then the depth limit.
  Result evaluate(const LispValue& form, std::uint32_t depth);

  // Evaluates the items after the first, left to right, into new holds at the end of `values`.
  // Returns false at the first failure, which is then parked here.
  [[nodiscard]] bool evaluateArguments(std::span<const LispValue> items, std::uint32_t depth,
                                       std::vector<LispValue>& values);

  // Records a failure; what it returns travels outward unchanged. The message is the fixed text
  // and the name, put together.
  [[gnu::cold]] Result fail(std::string_view message, std::string_view name = {});  // EvalError
  Result requireHostCall(HostCall call);

  // The outcome of a run that has stopped at `call`, as it is now.
  [[nodiscard]] EvalOutcome hostCallOutcome(HostCall call) const;

  // The parked failure as the outcome of the run. Call once, after a Result that failed.
  [[nodiscard]] EvalOutcome takeFailure();

  // Waits for the answer to `call`, as HostCallWaiter says. False when this run waits nowhere.
  [[nodiscard]] bool awaitAnswer(const HostCall& call);

  // Makes this the resident interpreter. Costs what both have touched (bindingsTouched).
  void stepIn() { bindings_.stepIn(); }

  // Names, bindings and arguments that the run holds: what stepping aside, stepping in and giving
  // up the run cost, in steps of a few nanoseconds.
  [[nodiscard]] std::size_t bindingsTouched() const;

  // Memory of the interpreter itself, without values.
  [[nodiscard]] std::size_t bytesHeld() const { return bindings_.bytesHeld() + arguments_.bytes(); }

  // Carries what the run changed over into `target`, a version equal to the run's environment. The
  // run must be over.
  void commit(Environment& target) { bindings_.commit(target); }

  [[nodiscard]] LISP_WRAPS std::uint64_t stepsUsed() const { return step_limit_ - steps_left_; }
  [[nodiscard]] const geometry::CoordContext* context() const { return context_; }
  [[nodiscard]] const HostTranscript* transcript() const { return transcript_; }
  [[nodiscard]] std::size_t replayCursor() const { return replay_cursor_; }
  void advanceReplayCursor() { ++replay_cursor_; }
  // Names the transcript anew, which may have moved while the run waited.
  void setTranscript(const HostTranscript& transcript) { transcript_ = &transcript; }

  // The binding of `symbol` in force, or null when it is unbound. Borrowed until the next
  // evaluation.
  [[nodiscard]] const RawValue* lookupVariable(Symbol& symbol) { return bindings_.find(symbol); }

  // --- For the evaluator's own files ----------------------------------------------------------

  // Counts `steps` evaluations at `depth` that cannot fail but by the limits. False, and nothing is
  // counted, when they would.
  [[nodiscard, gnu::always_inline]] bool countSteps(std::uint64_t steps, std::uint32_t depth) {
    if (steps_left_ < steps || depth > depth_limit_) return false;
    steps_left_ -= steps;
    return true;
  }
  // The failure of a step that countSteps has refused: it counts, and the limit of steps is checked
  // first.
  [[gnu::cold]] Result failLimits();

  [[nodiscard]] Bindings& bindings() { return bindings_; }
  // The evaluated arguments of the builtins and calls in progress; holds them.
  [[nodiscard]] PlainStack<RawValue>& arguments() { return arguments_; }
  // The function that a DEFUN form defines, with a hold for the caller; null when a parameter is
  // not a symbol. Its third element must be a list, and there must be a fourth.
  [[nodiscard]] UserFunction* makeFunction(Chunk& items);

 private:
  [[gnu::cold]] Result failWith(OutcomeKind kind, std::string_view message,
                                std::string_view name = {});

  // The step that exceeds the limit wraps steps_left_ around.
  std::uint64_t steps_left_ = 0;
  std::uint32_t depth_limit_ = 0;
  Bindings bindings_;
  PlainStack<RawValue> arguments_;
  std::size_t form_arguments_ = 0;  // Room for arguments that evaluateArguments has made elsewhere.

  const geometry::CoordContext* context_;
  const HostTranscript* transcript_;
  HostCallWaiter* waiter_;
  std::size_t replay_cursor_ = 0;
  // The functions that DEFUN forms with long parameter lists made, by form, so that a loop of DEFUN
  // is cheap.
  std::unordered_map<const Chunk*, UserFunction*> definitions_;  // Holds the functions.

  Observer* observer_ = nullptr;

  // The failure that is on its way out.
  OutcomeKind failure_kind_ = OutcomeKind::Value;
  std::string failure_message_;
  std::optional<HostCall> failure_host_call_;
  std::uint64_t step_limit_ = 0;
};

}  // namespace lisp

#endif  // LISP_INTERPRETER_H_
