// Bindings: the variables and functions of one run, under dynamic scope.
//
// By contract a call works on a copy of its caller's variables, taken before its arguments are
// evaluated, and what it assigns is gone when it returns. Nothing is copied here. The value in
// force of a name is in the name's own record, where it is read without a search, and what a call
// shadows is saved on a trail. An example:
//
//   (DEFUN F (X / Y) (SETQ Z 3) (G))      F is call 1; its copy of Z is 3
//   (DEFUN G () (SETQ X 9))               G is call 2; its copy of X is 9
//   (SETQ X 1 Z 2)
//   (F 5)
//
// As G assigns X, the records and the trail are:
//
//   record  value  owner       trail  name  value  owner  saved by
//   X       9      2           0      X     1      0      the call of F: X is a parameter
//   Y       nil    1           1      Y     -      0      the call of F: Y is a local
//   Z       3      0           2      X     5      1      the assignment in G
//
// Z has no binding in any call, so the assignment in F is to the global. As G returns, the trail is
// unwound to 2 and X is 5 again; as F returns, it is unwound to 0, and X is 1 and Y is unbound.
// Calls inside each other are numbered from 1; the *owner* of a binding is the call that made it,
// and 0 is the owner of globals.
//
// Three rules make this equal to copies:
//   - An assignment to a binding that an outer call owns saves it on the trail first (bind).
//   - An assignment to a local binding while arguments are evaluated is logged, and the callee
//     begins with what the binding was before (logAssignment, bindCopies). In (DEFUN H (A)
//     (F (SETQ A 2))) the call of F finds 2 in its parameter and the former A in A.
//   - When more than a few were logged, or when a function declares many locals, each name is bound
//     only when the call, or one inside it, touches it (late_bindings.cc). So a call costs its
//     arguments and the bindings touched, not the bindings declared.
//
// Between runs all records are at rest: they have no value. A run loads a global from its
// environment when it first touches it, lists what it has touched, and puts exactly that at rest as
// it ends. So starting, failing and suspending a run cost nothing of their own, and committing
// costs what the run changed.
//
// Records are shared by all runs, so at most one Bindings is *resident*: its bindings are in the
// records. Making another one, or having another one step in, makes it step aside: every entry of
// the trail changes places with its record, the latest first, and what was loaded is noted.

#ifndef LISP_BINDINGS_H_
#define LISP_BINDINGS_H_

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "lisp/environment.h"
#include "lisp/local_table.h"
#include "lisp/plain_stack.h"
#include "lisp/symbol.h"
#include "lisp/user_function.h"
#include "lisp/value.h"
#include "lisp/work.h"

namespace lisp {

class Bindings {
 public:
  // The bindings of a new run on `environment`, which is borrowed for their life. Resident.
  explicit Bindings(const Environment& environment);
  // Puts at rest what the run has touched.
  ~Bindings();
  Bindings(const Bindings&) = delete;
  Bindings& operator=(const Bindings&) = delete;

  // --- Variables ------------------------------------------------------------------------------

  // The value of `symbol` in force, or null when it is unbound. Borrowed until the next evaluation.
  [[nodiscard]] const RawValue* find(Symbol& symbol);

  // The same if the record has it at hand; null when find must be asked. Changes nothing.
  [[nodiscard]] const RawValue* peek(const Symbol& symbol) const {
    return symbol.value.tag() > Tag::List || symbol.owner < late_frame_ ? nullptr : &symbol.value;
  }
  // True when every record has the value in force, if its name is loaded and bound.
  [[nodiscard]] bool areAllAtHand() const { return late_frame_ == 0; }

  // Makes `value` the value of the binding in force; takes over the hold.
  void assign(Symbol& symbol, RawValue value);

  // --- Functions ------------------------------------------------------------------------------

  // Finds out what a list means that begins with `name`. That holds for the rest of the run or
  // until a DEFUN.
  void resolve(Symbol& name) {
    if (name.operation == Operation::Unresolved) [[unlikely]]
      loadFunction(name);
  }

  // Makes `function` the user function of `name`; takes over the hold. A special form keeps its
  // name: the function could never be called, so it is dropped.
  void define(Symbol& name, UserFunction* function);

  // --- Calls ----------------------------------------------------------------------------------

  // A call of a user function, from before its arguments are evaluated to its return. A call that
  // fails is never left: the run is over.
  struct Call {
    std::uint64_t snapshot;  // When the copy was taken that the callee works on.
    std::uint64_t outer_snapshot;
    std::uint32_t outer_pending_frame;
    std::size_t log_begin;
    std::size_t trail_begin;
    std::size_t changes;  // Entries of the log: what the arguments have assigned.
  };

  // Takes the callee's copy. Its arguments are to be evaluated next.
  [[nodiscard]] Call prepareCall();
  // Enters the body: binds the copies, the parameters and the locals. Takes over the holds on the
  // arguments, of which there must be as many as parameters. The last of equal names wins.
  void enterCall(Call& call, const UserFunction& function, const RawValue* arguments);
  // Undoes the bindings of the call after its body.
  void leaveCall(const Call& call);

  // The same for a call whose arguments assign nothing, of a function that binds no locals late.
  // Returns what leavePlainCall is to be given.
  [[nodiscard]] std::size_t enterPlainCall(const UserFunction& function, const RawValue* arguments);
  // Of a function with one parameter: its argument stays in registers.
  [[nodiscard]] std::size_t enterPlainCall(const UserFunction& function, RawValue argument);
  void leavePlainCall(std::size_t trail_begin);

  // --- Runs -----------------------------------------------------------------------------------

  // Carries what the run has changed over into `target`, a version equal to the run's environment.
  // No call may be in progress.
  void commit(Environment& target);

  // Makes these the resident ones. Costs what both have touched (touchedCount).
  void stepIn() {
    if (resident_ != this) becomeResident();
  }
  [[nodiscard]] bool isResident() const { return resident_ == this; }

  // Names and bindings that the run has touched and not left again: what stepping aside, stepping
  // in and dropping the bindings cost, in steps of a few nanoseconds.
  [[nodiscard]] std::size_t touchedCount() const {
    return touched_.size() + trail_.size() + log_.size();
  }
  // Memory of the bookkeeping, without values.
  [[nodiscard]] std::size_t bytesHeld() const;

 private:
  // A binding that a call has shadowed.
  struct Shadowed {
    Symbol* symbol;
    RawValue value;  // Holds it.
    std::uint32_t owner;
    std::uint32_t history;
  };

  // The state of a touched name while the run is aside.
  struct SetAside {
    RawValue value;          // Holds it.
    UserFunction* function;  // Holds it.
    Operation operation;
    bool changed;
  };

  // A local binding as it was before it changed while arguments were evaluated.
  struct Logged {
    Symbol* symbol;
    RawValue value;          // Holds it.
    std::uint64_t snapshot;  // Of the innermost call whose arguments they were.
    std::uint32_t older;     // The place of the binding's entry before this one; 0 for none.
  };

  // A call that binds some names only when they are touched.
  struct LateCall {
    std::uint32_t frame;
    const LocalTable* locals;  // Null when its locals are bound.
    std::uint64_t snapshot;    // When its copy of its caller's bindings was taken.
    std::uint32_t entry;       // Its number among the calls that bind late, in the order of entry.
    std::uint32_t outer;       // What active_tables_ had of its table before.
  };

  static constexpr std::uint32_t kNoFrame = 0xFFFFFFFF;

  void bind(Symbol& symbol, RawValue value);
  void bindLocals(const UserFunction& function);
  void bindCopies(std::size_t log_begin);
  void restoreLast();
  void unwind(std::size_t trail_size);
  void assignSlowly(Symbol& symbol, RawValue value);
  void logAssignment(Symbol& symbol, RawValue value);
  void truncateLog(std::size_t size);

  void touch(Symbol& symbol);
  void load(Symbol& symbol);
  void loadFunction(Symbol& name);
  static void putAtRest(Symbol& symbol);
  void stepAside();
  void becomeResident();
  static void swapWithRecord(Shadowed& shadowed);

  // late_bindings.cc
  void enterLate(const UserFunction& function, const Call& call);
  void leaveLate();
  void bindLate(Symbol& symbol);
  [[nodiscard]] bool isDeclaredSince(const Symbol& symbol, std::size_t first) const;
  [[nodiscard]] std::uint64_t lateStateOf(const Symbol& symbol) const;
  const RawValue* changedSince(Symbol& symbol, std::uint64_t snapshot);

  inline static constinit Bindings* resident_ = nullptr;

  // The call in progress: 0 at top level, otherwise the number of calls inside each other. Names
  // the owner of the bindings that the call makes.
  std::uint32_t frame_ = 0;
  std::uint32_t late_frame_ = 0;  // The innermost of late_calls_, or 0.
  // Every call has a number of its own, given when the copy that it works on is taken.
  std::uint64_t last_snapshot_ = 0;
  // The innermost call whose arguments are being evaluated, and the frame that makes it.
  std::uint64_t pending_snapshot_ = 0;
  std::uint32_t pending_frame_ = kNoFrame;

  PlainStack<Shadowed> trail_;
  PlainStack<Logged> log_;
  std::vector<LateCall> late_calls_;  // Outermost first.
  ActiveTables active_tables_;        // Of late_calls_, by their places there.
  std::uint32_t late_entries_ = 0;    // Calls so far that bind late.
  std::uint64_t late_run_ = 0;        // A number of this run's own, once there was such a call.

  const Environment* environment_;
  std::vector<Symbol*> touched_;       // Holds them.
  std::unique_ptr<SetAside[]> aside_;  // Of touched_, one for one, while the run is aside.
};

[[gnu::always_inline]] inline void Bindings::assign(Symbol& symbol, RawValue value) {
  if (symbol.owner == frame_ && symbol.value.tag() <= Tag::List && pending_frame_ != frame_) {
    // A binding of this call, or at top level a global that has been loaded.
    if (frame_ == 0) symbol.changed = true;
    replace(symbol.value, value);
  } else {
    assignSlowly(symbol, value);
  }
}

// Binds `symbol` in the call in progress; takes over the hold on `value`.
[[gnu::always_inline]] inline void Bindings::bind(Symbol& symbol, RawValue value) {
  if (symbol.owner == frame_) {
    replace(symbol.value, value);
  } else if (symbol.owner == kTruthOwner) {
    release(value);
  } else {
    Shadowed& shadowed = trail_.extend();
    shadowed.symbol = &symbol;
    copyWords(shadowed.value, symbol.value);
    shadowed.owner = symbol.owner;
    shadowed.history = symbol.history;
    symbol.value = value;
    symbol.owner = frame_;
    symbol.history = 0;
  }
}

[[gnu::always_inline]] inline void Bindings::bindLocals(const UserFunction& function) {
  countWork(function.locals().size());
  for (const LispValue& local : function.locals()) {
    Symbol& symbol = symbolOf(local.raw());
    if (&symbol != kSlashSymbol) bind(symbol, RawValue());
  }
}

// Puts the binding back that was shadowed last.
[[gnu::always_inline]] inline void Bindings::restoreLast() {
  countWork();
  const Shadowed& shadowed = trail_.top();
  trail_.truncate(trail_.size() - 1);
  Symbol& symbol = *shadowed.symbol;
  symbol.owner = shadowed.owner;
  symbol.history = shadowed.history;
  const RawValue value = symbol.value;
  copyWords(symbol.value, shadowed.value);
  release(value);
}

[[gnu::always_inline]] inline void Bindings::unwind(std::size_t trail_size) {
  while (trail_.size() > trail_size) restoreLast();
}

[[gnu::always_inline]] inline std::size_t Bindings::enterPlainCall(const UserFunction& function,
                                                                   const RawValue* arguments) {
  const std::size_t trail_begin = trail_.size();
  ++frame_;
  countWork(function.params().size());
  for (const LispValue& param : function.params()) bind(symbolOf(param.raw()), *arguments++);
  bindLocals(function);
  return trail_begin;
}

[[gnu::always_inline]] inline std::size_t Bindings::enterPlainCall(const UserFunction& function,
                                                                   RawValue argument) {
  assert(function.params().size() == 1);
  const std::size_t trail_begin = trail_.size();
  ++frame_;
  bind(symbolOf(function.params().front().raw()), argument);
  bindLocals(function);
  return trail_begin;
}

[[gnu::always_inline]] inline void Bindings::leavePlainCall(std::size_t trail_begin) {
  unwind(trail_begin);
  --frame_;
}

}  // namespace lisp

#endif  // LISP_BINDINGS_H_
