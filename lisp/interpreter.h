// Interpreter: the state of one run of a program.
//
// Bindings are shallow: the value in force stands in the symbol's own record, so a variable is read
// without a search. A call saves what it shadows on a trail and puts it back as it leaves. Between
// runs every record is at rest; a run fills in what it touches from its environment, and when it
// ends puts exactly that back to rest. So starting, failing and suspending a run cost nothing of
// their own, and committing costs what the run changed.
//
// A run that waits for its host may be kept where it stopped while others run. It then steps aside:
// its bindings are taken out of the records, which are at rest for the next run, and put back when
// it goes on.
//
// The contract describes copies: a call works on a copy of its caller's bindings, taken before its
// arguments are evaluated. Nothing is copied here, but nobody can tell:
//   - an assignment to a binding that an outer call owns saves it on the trail first, so the outer
//     call finds its own value again;
//   - an assignment to a local binding while arguments are evaluated is logged, and the callee
//     begins with what the binding was before;
//   - when these are many, and the locals of a function that declares many, each is bound only when
//     the call, or one inside it, touches the name.

#ifndef LISP_INTERPRETER_H_
#define LISP_INTERPRETER_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "lisp/builtin.h"
#include "lisp/environment.h"
#include "lisp/list.h"
#include "lisp/local_table.h"
#include "lisp/observer.h"
#include "lisp/outcome.h"
#include "lisp/plain_stack.h"
#include "lisp/symbol.h"
#include "lisp/user_function.h"
#include "lisp/value.h"

namespace geometry {
struct CoordContext;
}

namespace lisp {

enum class Operand : std::uint8_t;
enum class Truth : std::uint8_t;

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

// Runs share the symbol records, so of all Interpreters at most one is *resident*: its bindings are
// in the records. Making another one, or letting another one step in, makes it step aside.
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

  // The parked failure as the outcome of the run. Call once, after a Result that failed.
  [[nodiscard]] EvalOutcome takeFailure();

  // Waits for the answer to `call`, as HostCallWaiter says. False when this run waits nowhere.
  [[nodiscard]] bool awaitAnswer(const HostCall& call);

  // Makes this the resident interpreter. Nothing happens if it is; otherwise the one that is steps
  // aside. Costs what both have touched (bindingsTouched).
  void stepIn() {
    if (resident_ != this) becomeResident();
  }

  // Names and bindings that the run has touched and not left again: what stepping aside, stepping
  // in and giving up the run cost, in steps of a few nanoseconds.
  [[nodiscard]] std::size_t bindingsTouched() const;

  // Memory of the interpreter itself, without values.
  [[nodiscard]] std::size_t bytesHeld() const;

  // Carries what the run changed over into `target`, a version equal to the run's environment. The
  // run must be over.
  void commit(Environment& target);

  [[nodiscard]] std::uint64_t stepsUsed() const;
  [[nodiscard]] const geometry::CoordContext* context() const { return context_; }
  [[nodiscard]] const HostTranscript* transcript() const { return transcript_; }
  [[nodiscard]] std::size_t replayCursor() const { return replay_cursor_; }
  void advanceReplayCursor() { ++replay_cursor_; }
  // Names the transcript anew, which may have moved while the run waited.
  void setTranscript(const HostTranscript& transcript) { transcript_ = &transcript; }

  // The binding of `symbol` in force, or null when it is unbound. Borrowed until the next
  // evaluation.
  [[nodiscard]] const RawValue* lookupVariable(Symbol& symbol);

 private:
  // A binding that a call has shadowed.
  struct Shadowed {
    Symbol* symbol;
    RawValue value;  // Holds it.
    std::uint32_t owner;
    std::uint32_t history;
  };

  inline static constinit Interpreter* resident_ = nullptr;

  // The state of a touched name while the run is aside.
  struct SetAside {
    RawValue value;          // Holds it.
    UserFunction* function;  // Holds it.
    Operation operation;
    bool changed;
  };

  // What a local binding was before it changed while arguments were evaluated.
  struct Logged {
    Symbol* symbol;
    RawValue value;          // Holds it.
    std::uint64_t snapshot;  // Of the innermost call whose arguments they were.
    std::uint32_t older;     // The place of the binding's entry before this one; 0 for none.
  };

  static constexpr std::uint32_t kNoFrame = 0xFFFFFFFF;

  // A call that binds some names only when they are touched.
  struct LateFrame {
    std::uint32_t frame;
    const LocalTable* locals;  // Null when its locals are bound.
    std::uint64_t snapshot;    // When its copy of its caller's bindings was taken.
    std::uint32_t entry;       // Its number among the calls that bind late, in the order of entry.
    std::uint32_t outer;       // What active_tables_ had of its table before.
  };

  // What every evaluation goes through, in line (evaluate.h).
  Result evaluateHere(const LispValue& form, std::uint32_t depth);
  Result evaluateItem(const LispValue& form, std::uint32_t depth);
  Result evaluateList(const LispValue& form, std::uint32_t depth);
  Truth testHere(const LispValue& form, std::uint32_t depth);
  template <Operand kind>
  [[nodiscard]] const RawValue* peek(const LispValue& form) const;
  [[nodiscard]] bool countSteps(std::uint64_t steps, std::uint32_t depth);
  [[nodiscard]] bool pushArguments(const Run& items, std::uint32_t depth);
  void assign(Symbol& symbol, RawValue value);

  // The evaluator (evaluator.cc). What evaluates lists gets their items and the depth at which to
  // evaluate these.
  friend struct EvaluatorTable;
  Result evaluateSymbolSlowly(Symbol& symbol);
  Result evaluateEmptyList(Run& items, std::uint32_t depth);
  Result evaluateNamed(Run& items, std::uint32_t depth);
  Result evaluateFirst(Run& items, std::uint32_t depth);
  Result evaluateSecond(Run& items, std::uint32_t depth);
  [[gnu::noinline]] Result evaluateByName(Run& items, std::uint32_t depth);
  [[gnu::noinline]] Truth testByName(Run& items, std::uint32_t depth);
  [[gnu::noinline]] Truth testAtom(const LispValue& form, std::uint32_t depth);
  static Truth testByValue(Interpreter& interpreter, Run& items, std::uint32_t depth);
  Result callBuiltin(Run& items, std::uint32_t depth);
  bool lendArguments(const Run& items);
  Result callBuiltinAtHand(Run& items, std::uint32_t depth);
  Result callFormBuiltin(Run& items, std::uint32_t depth);
  Result callUnknown(Run& items, std::uint32_t depth);
  template <typename Outcome>
  Outcome startAgain(Run& items, std::uint32_t depth);
  template <Operation operation, Operand first, Operand second, typename Outcome>
  Outcome callNumeric(Run& items, std::uint32_t depth);
  template <Operation operation, Operand first, typename Outcome>
  Outcome callNumericWithForm(Run& items, std::uint32_t depth);
  template <Operation operation, Operand second, typename Outcome>
  Outcome callNumericOfForm(Run& items, std::uint32_t depth);
  template <Operation operation>
  [[gnu::noinline]] Result finishNumeric(const Run& items, std::uint32_t depth, Result a);
  template <Operation operation>
  Result callNumericOfAny(Run& items, std::uint32_t depth);
  template <Operation operation>
  Result callChain(Run& items, std::uint32_t depth);
  template <Operation operation>
  Result callUnary(Run& items, std::uint32_t depth);
  template <Operation operation>
  Result callUnaryOfAny(Run& items, std::uint32_t depth);
  Result callCons(Run& items, std::uint32_t depth);
  Result consAtHand(Run& items, std::uint32_t depth);
  Result callList(Run& items, std::uint32_t depth);
  [[gnu::noinline]] Result callBuiltinOfOne(const Run& items, std::uint32_t depth, Result argument);
  [[gnu::noinline]] Result callBuiltinOfPair(const Run& items, std::uint32_t depth, RawValue a,
                                             Result b);
  Result callWith(std::size_t first_argument, const Run& items, std::uint32_t depth);
  Result callBuiltinWith(std::size_t first_argument, const Run& items, std::uint32_t depth);

  // Special forms (special_forms.cc).
  Result evaluateQuote(Run& items, std::uint32_t depth);
  template <bool is_observed>
  Result evaluateSetq(Run& items, std::uint32_t depth);
  Result setSymbols(Run& items, std::uint32_t depth);
  Result setSymbol(Run& items, std::uint32_t depth);
  Result setLast(const LispValue& target, const LispValue& form, std::uint32_t depth);
  Result evaluateIf(Run& items, std::uint32_t depth);
  Result evaluateProgn(Run& items, std::uint32_t depth);
  Result evaluateWhile(Run& items, std::uint32_t depth);
  Result evaluateDefun(Run& items, std::uint32_t depth);
  Result evaluateAnd(Run& items, std::uint32_t depth);
  Result evaluateOr(Run& items, std::uint32_t depth);
  Result evaluateNot(Run& items, std::uint32_t depth);
  Truth testAnd(Run& items, std::uint32_t depth);
  Truth testOr(Run& items, std::uint32_t depth);
  Truth testNot(Run& items, std::uint32_t depth);

  // Calls of user functions (user_call.cc).
  template <bool is_observed>
  Result applyFunction(Run& items, std::uint32_t depth);
  [[gnu::noinline]] static Result leaveUncalled(UserFunction& function);
  Result callPlainly(Run& items, std::uint32_t depth);
  Result evaluateBody(const UserFunction& function, std::uint32_t depth);
  void bindCopies(std::size_t log_begin);
  void bindArguments(const UserFunction& function, std::size_t first_argument);
  void bindLocals(const UserFunction& function);
  void enterLate(UserFunction& function, std::size_t trail_begin, std::uint64_t snapshot);
  void leaveLate();
  void bind(Symbol& symbol, RawValue value);
  void restoreLast();
  void unwind(std::size_t trail_size);
  void bindLate(Symbol& symbol);
  [[nodiscard]] bool isDeclaredSince(const Symbol& symbol, std::size_t first) const;
  [[nodiscard]] std::uint64_t lateStateOf(const Symbol& symbol) const;
  const RawValue* changedSince(Symbol& symbol, std::uint64_t snapshot);
  void logAssignment(Symbol& symbol, RawValue value);
  void truncateLog(std::size_t size);

  // Observed forms (observer.cc).
  template <typename Evaluate>
  Result tell(FormNumber number, const Evaluate& evaluate);
  Result evaluateObserved(Run& items, std::uint32_t depth);
  Result evaluateObservedAtom(Run& items, std::uint32_t depth);
  Result evaluateByObservedName(Run& items, std::uint32_t depth);
  void assignObserved(Symbol& symbol, RawValue value);

  // Bindings (interpreter.cc).
  void assignSlowly(Symbol& symbol, RawValue value);
  void touch(Symbol& symbol);
  void load(Symbol& symbol);
  void resolve(Symbol& symbol);
  void define(Symbol& symbol, UserFunction* function);
  void putAtRest(Symbol& symbol);
  void stepAside();
  void becomeResident();
  static void swapWithRecord(Shadowed& shadowed);

  [[gnu::cold]] Result failWith(OutcomeKind kind, std::string_view message,
                                std::string_view name = {});
  [[gnu::cold]] Result failLimits();

  // Counts and limits of the run. The step that exceeds the limit wraps steps_left_ around.
  std::uint64_t steps_left_ = 0;
  std::uint32_t depth_limit_ = 0;

  // The call in progress: 0 at top level, otherwise the number of calls inside each other. Names
  // the owner of the bindings that the call makes.
  std::uint32_t frame_ = 0;
  std::uint32_t late_frame_ = 0;  // The innermost of late_frames_, or 0.
  // Every call has a number of its own, given when the copy that it works on is taken.
  std::uint64_t last_snapshot_ = 0;
  // The innermost call whose arguments are being evaluated, and the frame that makes it.
  std::uint64_t pending_snapshot_ = 0;
  std::uint32_t pending_frame_ = kNoFrame;

  PlainStack<RawValue> arguments_;  // Evaluated, of the calls in progress; holds them.
  std::size_t form_arguments_ = 0;  // Room for arguments that evaluateArguments has made elsewhere.
  PlainStack<Shadowed> trail_;
  PlainStack<Logged> log_;
  std::vector<LateFrame> late_frames_;  // Outermost first.
  ActiveTables active_tables_;          // Of late_frames_, by their places there.
  std::uint32_t late_entries_ = 0;      // Calls so far that bind late.
  std::uint64_t late_run_ = 0;          // A number of this run's own, once there was such a call.

  const Environment* environment_;
  const geometry::CoordContext* context_;
  const HostTranscript* transcript_;
  HostCallWaiter* waiter_;
  std::size_t replay_cursor_ = 0;
  std::vector<Symbol*> touched_;       // Holds them.
  std::unique_ptr<SetAside[]> aside_;  // Of touched_, one for one, while the run is aside.
  // What DEFUN forms with long parameter lists made, by form, so that a loop of DEFUN is cheap.
  std::unordered_map<const Run*, UserFunction*> definitions_;  // Holds the functions.

  Observer* observer_ = nullptr;

  // The failure that is on its way out.
  OutcomeKind failure_kind_ = OutcomeKind::Value;
  std::string failure_message_;
  std::optional<HostCall> failure_host_call_;
  std::uint64_t step_limit_ = 0;
};

}  // namespace lisp

#endif  // LISP_INTERPRETER_H_
