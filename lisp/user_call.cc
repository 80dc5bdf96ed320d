// How the interpreter calls user functions.

#include <algorithm>
#include <cstddef>
#include <utility>

#include "lisp/evaluate.h"
#include "lisp/interpreter.h"
#include "lisp/work.h"

namespace lisp {
namespace {

// Up to this many changes by arguments are undone as the callee begins.
constexpr std::size_t kEagerCopiesMax = 8;

// The parts of Symbol::nothing_late: a run, an owner and an entry.
constexpr int kEntryBits = 18;
constexpr int kOwnerBits = 8;
constexpr std::uint32_t kEntriesMax = (1U << kEntryBits) - 1;
constexpr std::uint32_t kOwnersMax = (1U << kOwnerBits) - 1;

}  // namespace

template <bool is_observed>
Result Interpreter::applyFunction(Run& items, std::uint32_t depth) {
  const Symbol& name = nameOf(items);
  UserFunction& function = *name.function;
  // 1. Arity, before any argument is evaluated.
  if (items.full_length - 1 != function.params().size()) [[unlikely]] {
    return fail("wrong argument count for ", name.bytes());
  }
  // The record found here serves the call to its end, whatever redefines the name meanwhile.
  ++function.references;
  // 2. The callee's copy of the local bindings is taken now: from here on, changes are logged.
  const std::uint64_t snapshot = ++last_snapshot_;
  const std::uint64_t outer_snapshot = std::exchange(pending_snapshot_, snapshot);
  const std::uint32_t outer_pending_frame = std::exchange(pending_frame_, frame_);
  const std::size_t log_begin = log_.size();
  const std::size_t first_argument = arguments_.size();
  // 3. Arguments, in the caller's bindings.
  if (!pushArguments(items, depth)) [[unlikely]]
    return leaveUncalled(function);
  // 4. and 5. The caller's bindings as they were, parameters, locals; body.
  pending_snapshot_ = outer_snapshot;
  pending_frame_ = outer_pending_frame;
  ++frame_;
  const std::size_t trail_begin = trail_.size();
  const std::size_t changes = log_.size() - log_begin;
  if (changes > 0 && changes <= kEagerCopiesMax) bindCopies(log_begin);
  bindArguments(function, first_argument);
  if (changes > kEagerCopiesMax || function.bindsLocalsLate()) [[unlikely]] {
    enterLate(function, trail_begin, snapshot);
  } else {
    bindLocals(function);
  }
  if constexpr (is_observed) observer_->called(function);
  const Result result = evaluateBody(function, depth);
  if (!result.failed()) [[likely]] {
    if constexpr (is_observed) observer_->returned();
    // 6. The call's bindings go.
    unwind(trail_begin);
    if (late_frame_ == frame_) [[unlikely]]
      leaveLate();
    --frame_;
    if (changes > 0 && pending_frame_ != frame_) truncateLog(log_begin);
  }
  if (--function.references == 0) [[unlikely]]
    retireFunction(&function);
  return result;
}

template Result Interpreter::applyFunction<false>(Run& items, std::uint32_t depth);
template Result Interpreter::applyFunction<true>(Run& items, std::uint32_t depth);

// An argument has failed.
Result Interpreter::leaveUncalled(UserFunction& function) {
  releaseFunction(&function);
  return Result::failure();
}

// A call whose arguments assign nothing: no more than steps 1, 3, 5 and 6. Other calls, and of
// functions with many locals, are applyFunction's.
Result Interpreter::callPlainly(Run& items, std::uint32_t depth) {
  if (operationOf(items) != Operation::UserFunction) [[unlikely]]
    return evaluateByName(items, depth);
  UserFunction& function = *nameOf(items).function;
  if (items.full_length - 1 != function.plainArity() || !countSteps(1, depth - 1)) [[unlikely]] {
    return evaluateByName(items, depth);
  }
  ++function.references;
  const std::size_t trail_begin = trail_.size();
  if (items.full_length == 2) {
    const Result argument = evaluateHere(items.slots()[1], depth);
    if (argument.failed()) [[unlikely]]
      return leaveUncalled(function);
    ++frame_;
    bind(symbolOf(function.params().front().raw()), argument.raw);
  } else {
    const std::size_t first_argument = arguments_.size();
    if (!pushArguments(items, depth)) [[unlikely]]
      return leaveUncalled(function);
    ++frame_;
    bindArguments(function, first_argument);
  }
  bindLocals(function);
  const Result result = evaluateBody(function, depth);
  if (!result.failed()) [[likely]] {
    while (trail_.size() > trail_begin) restoreLast();
    --frame_;
  }
  if (--function.references == 0) [[unlikely]]
    retireFunction(&function);
  return result;
}

[[gnu::always_inline]] inline Result Interpreter::evaluateBody(const UserFunction& function,
                                                               std::uint32_t depth) {
  const LispValue* form = function.body().data();
  for (const LispValue* const last = form + function.body().size() - 1; form != last; ++form) {
    const Result result = evaluateItem(*form, depth);
    if (result.failed()) return result;
    release(result.raw);
  }
  return evaluateItem(*form, depth);
}

// Binds the caller's bindings as they were before arguments changed them. The oldest entry of a
// name counts, so it is bound last.
void Interpreter::bindCopies(std::size_t log_begin) {
  for (std::size_t i = log_.size(); i > log_begin; --i) {
    countWork();
    const Logged& logged = log_[i - 1];
    retain(logged.value);
    bind(*logged.symbol, logged.value);
  }
}

// The last of equal names wins.
[[gnu::always_inline]] inline void Interpreter::bindArguments(const UserFunction& function,
                                                              std::size_t first_argument) {
  std::size_t argument = first_argument;
  for (const LispValue& param : function.params()) {
    bind(symbolOf(param.raw()), arguments_[argument++]);
  }
  countWork(function.params().size());
  arguments_.truncate(first_argument);
}

[[gnu::always_inline]] inline void Interpreter::bindLocals(const UserFunction& function) {
  countWork(function.locals().size());
  for (const LispValue& local : function.locals()) {
    Symbol& symbol = symbolOf(local.raw());
    if (&symbol != kSlashSymbol) bind(symbol, RawValue());
  }
}

// Binds nothing more: names are bound when they are touched. Those that are bound already are nil
// when they are locals.
void Interpreter::enterLate(UserFunction& function, std::size_t trail_begin,
                            std::uint64_t snapshot) {
  static std::uint64_t run_count = 0;
  if (late_run_ == 0) late_run_ = ++run_count;
  late_frame_ = frame_;
  const LocalTable* const locals = function.bindsLocalsLate() ? &function.localTable() : nullptr;
  const auto place = static_cast<std::uint32_t>(late_frames_.size());
  const std::uint32_t outer =
      locals == nullptr ? ActiveTables::kNone : active_tables_.enter(locals, place);
  late_frames_.push_back({frame_, locals, snapshot, ++late_entries_, outer});
  if (locals == nullptr) {
    bindLocals(function);
    return;
  }
  for (std::size_t i = trail_begin; i < trail_.size(); ++i) {
    countWork();
    Symbol& symbol = *trail_[i].symbol;
    if (locals->contains(symbol)) replace(symbol.value, RawValue());
  }
}

void Interpreter::leaveLate() {
  const LateFrame& left = late_frames_.back();
  if (left.locals != nullptr) active_tables_.leave(left.locals, left.outer);
  late_frames_.pop_back();
  late_frame_ = late_frames_.empty() ? 0 : late_frames_.back().frame;
}

// Puts the binding back that was shadowed last.
[[gnu::always_inline]] inline void Interpreter::restoreLast() {
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

void Interpreter::unwind(std::size_t trail_size) {
  while (trail_.size() > trail_size) restoreLast();
}

// Binds `symbol` in the call in progress when a call that binds late, inside the one that owns the
// binding in force, would have bound it: to nil when it is one of its locals; to what it was when
// arguments have changed it since the copy was taken that the callee of the owner works on. All
// calls further inside have copied that one's binding.
//
// When there is nothing to bind, the name's record notes it: for this run, the owner, and the
// latest call that binds late. That holds for all calls in progress that were entered by then,
// since no call can change what one outside it has bound. So of calls inside each other each is
// looked at once for a name, however often the name is touched.
void Interpreter::bindLate(Symbol& symbol) {
  const std::uint64_t state = lateStateOf(symbol);
  std::uint32_t entry_seen = 0;
  if (symbol.nothing_late >> kEntryBits == state >> kEntryBits) {
    entry_seen = static_cast<std::uint32_t>(symbol.nothing_late & kEntriesMax);
    if (entry_seen >= late_frames_.back().entry) return;
  }
  // The calls inside the owner, and of these the ones not looked at yet.
  countWork();
  const auto inside = std::upper_bound(
      late_frames_.begin(), late_frames_.end(), symbol.owner,
      [](std::uint32_t owner, const LateFrame& late) { return owner < late.frame; });
  const auto unseen = std::upper_bound(
      inside, late_frames_.end(), entry_seen,
      [](std::uint32_t entry, const LateFrame& late) { return entry < late.entry; });
  if (isDeclaredSince(symbol, static_cast<std::size_t>(unseen - late_frames_.begin()))) {
    bind(symbol, RawValue());
    return;
  }
  if (unseen == inside && inside->frame == symbol.owner + 1) {
    const RawValue* const before = changedSince(symbol, inside->snapshot);
    if (before != nullptr) {
      retain(*before);
      bind(symbol, *before);
      return;
    }
  }
  symbol.nothing_late = state;
}

// Symbol::nothing_late if there is nothing to bind now; 0, which is never that, if it cannot be
// told in so few bits.
std::uint64_t Interpreter::lateStateOf(const Symbol& symbol) const {
  if (symbol.owner > kOwnersMax || late_entries_ > kEntriesMax) return 0;
  return (late_run_ << kOwnerBits | symbol.owner) << kEntryBits | late_entries_;
}

// Whether a call in progress that binds late, from the one at place `first` on, has `symbol` among
// its locals. Asks the name for its tables or the calls for their names, whichever are fewer.
bool Interpreter::isDeclaredSince(const Symbol& symbol, std::size_t first) const {
  const LocalDeclaration* declaration = symbol.declarations;
  for (std::size_t i = first; i < late_frames_.size() && declaration != nullptr; ++i) {
    countWork();
    const std::uint32_t call = active_tables_.find(declaration->table);
    if (call != ActiveTables::kNone && call >= first) return true;
    declaration = declaration->next;
  }
  if (declaration == nullptr) return false;
  return std::any_of(late_frames_.begin() + static_cast<std::ptrdiff_t>(first), late_frames_.end(),
                     [&](const LateFrame& late) {
                       countWork();
                       return late.locals != nullptr && late.locals->contains(symbol);
                     });
}

// What the binding in force was at `snapshot`, or null when it is that still. Later entries of its
// history are dropped on the way: they served calls that were arguments of the one that asks, and
// these are over.
const RawValue* Interpreter::changedSince(Symbol& symbol, std::uint64_t snapshot) {
  const auto is_since = [&](std::uint32_t place) {
    return place != 0 && log_[place - 1].snapshot >= snapshot;
  };
  if (!is_since(symbol.history)) return nullptr;
  while (is_since(log_[symbol.history - 1].older)) symbol.history = log_[symbol.history - 1].older;
  return &log_[symbol.history - 1].value;
}

// Assigns while arguments are evaluated, takes over the hold on `value`, and notes what the binding
// was, once for each call that is being prepared: the binding's history tells what any of them has
// copied.
void Interpreter::logAssignment(Symbol& symbol, RawValue value) {
  const bool is_logged = symbol.owner == frame_ && symbol.history != 0 &&
                         log_[symbol.history - 1].snapshot >= pending_snapshot_;
  if (is_logged) {
    replace(symbol.value, value);
    return;
  }
  const RawValue before = symbol.value;
  retain(before);
  bind(symbol, value);
  log_.push({&symbol, before, pending_snapshot_, symbol.history});
  symbol.history = static_cast<std::uint32_t>(log_.size());
}

// Forgets what was logged. The bindings concerned are those in force.
void Interpreter::truncateLog(std::size_t size) {
  for (std::size_t i = size; i < log_.size(); ++i) {
    log_[i].symbol->history = 0;
    release(log_[i].value);
  }
  log_.truncate(size);
}

}  // namespace lisp
