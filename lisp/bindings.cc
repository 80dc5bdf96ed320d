// Bindings of one run (lisp/bindings.h): variables, functions, calls, and the run as a whole.
// Names that are bound only when they are touched have a file of their own, lisp/late_bindings.cc.

#include "lisp/bindings.h"

#include <utility>

#include "lisp/list_hash.h"

namespace lisp {
namespace {

// Up to this many changes by arguments are undone as the callee begins; more are undone late.
constexpr std::size_t kEagerCopiesMax = 8;

}  // namespace

Bindings::Bindings(const Environment& environment) : environment_(&environment) {
  if (resident_ != nullptr) resident_->stepAside();
  resident_ = this;
}

// A run that failed leaves calls and arguments unfinished. Unwinding the trail to its beginning
// brings the global bindings back, which are then put at rest.
Bindings::~Bindings() {
  stepIn();
  unwind(0);
  truncateLog(0);
  for (Symbol* const symbol : touched_) putAtRest(*symbol);
  resident_ = nullptr;
}

// --- Variables ----------------------------------------------------------------------------------

const RawValue* Bindings::find(Symbol& symbol) {
  assert(isResident());
  if (symbol.owner < late_frame_) bindLate(symbol);
  if (symbol.value.tag() == Tag::NotLoaded) load(symbol);
  return symbol.value.tag() == Tag::Unbound ? nullptr : &symbol.value;
}

// Everything that assign does not do at once; takes over the hold on `value`.
void Bindings::assignSlowly(Symbol& symbol, RawValue value) {
  assert(isResident());
  if (symbol.owner < late_frame_) bindLate(symbol);
  if (symbol.owner == kGlobalOwner) {
    if (symbol.value.tag() == Tag::NotLoaded) load(symbol);
    symbol.changed = true;
    replace(symbol.value, value);
  } else if (pending_frame_ == frame_ && symbol.owner != kTruthOwner) {
    logAssignment(symbol, value);
  } else {
    bind(symbol, value);
  }
}

// Assigns while arguments are evaluated; takes over the hold on `value`. Logs the old value, at
// most once per call in preparation. From the log each such call can find what it copied.
void Bindings::logAssignment(Symbol& symbol, RawValue value) {
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
void Bindings::truncateLog(std::size_t size) {
  for (std::size_t i = size; i < log_.size(); ++i) {
    log_[i].symbol->history = 0;
    release(log_[i].value);
  }
  log_.truncate(size);
}

void Bindings::touch(Symbol& symbol) {
  if (symbol.touched) return;
  symbol.touched = true;
  ++symbol.references;
  touched_.push_back(&symbol);
}

// Fills the record of a global from the environment.
void Bindings::load(Symbol& symbol) {
  touch(symbol);
  symbol.value = environment_->find(symbol).value;
  retain(symbol.value);
}

// --- Functions ----------------------------------------------------------------------------------

void Bindings::loadFunction(Symbol& name) {
  assert(isResident());
  touch(name);
  UserFunction* const function = environment_->find(name).function;
  if (function == nullptr) {
    name.operation = name.base_operation;
  } else {
    retainFunction(function);
    name.function = function;
    name.operation = Operation::UserFunction;
  }
}

void Bindings::define(Symbol& name, UserFunction* function) {
  assert(isResident());
  if (isSpecialForm(name.base_operation)) {
    releaseFunction(function);
    return;
  }
  touch(name);
  releaseFunction(std::exchange(name.function, function));
  name.operation = Operation::UserFunction;
  name.changed = true;
}

// --- Calls --------------------------------------------------------------------------------------

// Called before the arguments are evaluated. From here on assignments to this frame's locals are
// logged under the snapshot's number, until enterCall has copied what they were.
Bindings::Call Bindings::prepareCall() {
  Call call{};
  call.snapshot = ++last_snapshot_;
  call.outer_snapshot = std::exchange(pending_snapshot_, call.snapshot);
  call.outer_pending_frame = std::exchange(pending_frame_, frame_);
  call.log_begin = log_.size();
  return call;
}

void Bindings::enterCall(Call& call, const UserFunction& function, const RawValue* arguments) {
  pending_snapshot_ = call.outer_snapshot;
  pending_frame_ = call.outer_pending_frame;
  ++frame_;
  call.trail_begin = trail_.size();
  call.changes = log_.size() - call.log_begin;
  if (call.changes > 0 && call.changes <= kEagerCopiesMax) bindCopies(call.log_begin);
  countWork(function.params().size());
  for (const LispValue& param : function.params()) bind(symbolOf(param.raw()), *arguments++);
  if (call.changes > kEagerCopiesMax || function.bindsLocalsLate()) [[unlikely]] {
    enterLate(function, call);
  } else {
    bindLocals(function);
  }
}

// The log is dropped when no call around this one still prepares its arguments in the same frame:
// that one may copy older entries.
void Bindings::leaveCall(const Call& call) {
  unwind(call.trail_begin);
  if (late_frame_ == frame_) [[unlikely]]
    leaveLate();
  --frame_;
  if (call.changes > 0 && pending_frame_ != frame_) truncateLog(call.log_begin);
}

// Binds the caller's bindings as they were before arguments changed them. The oldest entry of a
// name counts, so it is bound last.
void Bindings::bindCopies(std::size_t log_begin) {
  for (std::size_t i = log_.size(); i > log_begin; --i) {
    countWork();
    const Logged& logged = log_[i - 1];
    retain(logged.value);
    bind(*logged.symbol, logged.value);
  }
}

// --- Runs ---------------------------------------------------------------------------------------

void Bindings::commit(Environment& target) {
  assert(isResident() && frame_ == 0 && trail_.size() == 0);
  for (Symbol* const symbol : touched_) {
    countWork();
    if (!symbol->changed) continue;
    Binding binding = target.find(*symbol);
    if (symbol->value.tag() != Tag::NotLoaded) {
      ensureDigest(symbol->value);  // Whoever compares it later is not charged for making it.
      binding.value = symbol->value;
    }
    if (symbol->function != nullptr) {
      symbol->function->prepare();
      binding.function = symbol->function;
    }
    target.set(*symbol, binding);
  }
}

void Bindings::putAtRest(Symbol& symbol) {
  countWork();
  if (symbol.owner != kTruthOwner) {
    replace(symbol.value, RawValue::of(Tag::NotLoaded));
  }
  releaseFunction(std::exchange(symbol.function, nullptr));
  if (!isSpecialForm(symbol.base_operation)) symbol.operation = Operation::Unresolved;
  symbol.touched = false;
  symbol.changed = false;
  if (--symbol.references == 0) retireSymbol(&symbol);
}

// 1. Every entry of the trail changes places with the binding that shadows it, the latest first:
//    then the records have the global bindings.
// 2. The names that the run has touched are put at rest, and what they had is noted.
void Bindings::stepAside() {
  assert(isResident());
  for (std::size_t i = trail_.size(); i > 0; --i) swapWithRecord(trail_[i - 1]);
  aside_ = std::make_unique<SetAside[]>(touched_.size());
  for (std::size_t i = 0; i < touched_.size(); ++i) {
    countWork();
    Symbol& symbol = *touched_[i];
    assert(symbol.touched && (symbol.owner == kGlobalOwner || symbol.owner == kTruthOwner));
    aside_[i] = {RawValue(), std::exchange(symbol.function, nullptr), symbol.operation,
                 std::exchange(symbol.changed, false)};
    if (symbol.owner != kTruthOwner) {
      copyWords(aside_[i].value, symbol.value);
      symbol.value = RawValue::of(Tag::NotLoaded);
    }
    if (!isSpecialForm(symbol.base_operation)) symbol.operation = Operation::Unresolved;
    symbol.touched = false;
  }
  resident_ = nullptr;
}

// The same steps backwards.
void Bindings::becomeResident() {
  if (resident_ != nullptr) resident_->stepAside();
  resident_ = this;
  assert(aside_ != nullptr);
  for (std::size_t i = 0; i < touched_.size(); ++i) {
    countWork();
    Symbol& symbol = *touched_[i];
    const SetAside& state = aside_[i];
    assert(!symbol.touched);
    assert(symbol.value.tag() == Tag::NotLoaded || symbol.owner == kTruthOwner);
    if (symbol.owner != kTruthOwner) copyWords(symbol.value, state.value);
    symbol.function = state.function;
    symbol.operation = state.operation;
    symbol.changed = state.changed;
    symbol.touched = true;
  }
  aside_ = nullptr;
  for (std::size_t i = 0; i < trail_.size(); ++i) swapWithRecord(trail_[i]);
}

void Bindings::swapWithRecord(Shadowed& shadowed) {
  countWork();
  Symbol& symbol = *shadowed.symbol;
  const RawValue value = symbol.value;
  copyWords(symbol.value, shadowed.value);
  copyWords(shadowed.value, value);
  std::swap(symbol.owner, shadowed.owner);
  std::swap(symbol.history, shadowed.history);
}

std::size_t Bindings::bytesHeld() const {
  return touched_.capacity() * (sizeof(void*) + sizeof(SetAside)) + trail_.bytes() + log_.bytes();
}

}  // namespace lisp
