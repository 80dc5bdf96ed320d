#include "lisp/interpreter.h"

#include <cassert>
#include <utility>

#include "lisp/evaluate.h"
#include "lisp/list_hash.h"
#include "lisp/work.h"

namespace lisp {

Interpreter::Interpreter(const Environment& environment, const geometry::CoordContext* context,
                         const HostTranscript* transcript, HostCallWaiter* waiter)
    : environment_(&environment), context_(context), transcript_(transcript), waiter_(waiter) {
  if (resident_ != nullptr) resident_->stepAside();
  resident_ = this;
}

Interpreter::~Interpreter() {
  stepIn();
  unwind(0);
  truncateLog(0);
  for (std::size_t i = 0; i < arguments_.size(); ++i) release(arguments_[i]);
  for (Symbol* const symbol : touched_) putAtRest(*symbol);
  for (const auto& [form, function] : definitions_) releaseFunction(function);
  resident_ = nullptr;
}

void Interpreter::start(const EvalLimits& limits) {
  step_limit_ = limits.step_limit;
  steps_left_ = limits.step_limit;
  depth_limit_ = limits.depth_limit;
  replay_cursor_ = 0;
}

std::uint64_t Interpreter::stepsUsed() const { return step_limit_ - steps_left_; }

Result Interpreter::failWith(OutcomeKind kind, std::string_view message, std::string_view name) {
  failure_kind_ = kind;
  failure_message_.assign(message).append(name);
  return Result::failure();
}

Result Interpreter::fail(std::string_view message, std::string_view name) {
  return failWith(OutcomeKind::EvalError, message, name);
}

// The step that could not be counted: it counts, and the limit of steps is checked first.
Result Interpreter::failLimits() {
  if (steps_left_-- == 0) {
    return failWith(OutcomeKind::StepLimit, "LISP evaluation step limit exceeded");
  }
  return fail("LISP evaluation depth exceeded");
}

Result Interpreter::requireHostCall(HostCall call) {
  failure_host_call_ = std::move(call);
  return failWith(OutcomeKind::HostCallRequired,
                  "CAD host call required: ", failure_host_call_->name);
}

bool Interpreter::awaitAnswer(const HostCall& call) {
  if (waiter_ == nullptr || !waiter_->awaitAnswer(*this, call)) return false;
  assert(resident_ == this);
  return true;
}

EvalOutcome Interpreter::takeFailure() {
  assert(failure_kind_ != OutcomeKind::Value);
  EvalOutcome outcome;
  outcome.kind = std::exchange(failure_kind_, OutcomeKind::Value);
  outcome.host_call = std::exchange(failure_host_call_, std::nullopt);
  outcome.message = std::move(failure_message_);
  outcome.steps = stepsUsed();
  return outcome;
}

const RawValue* Interpreter::lookupVariable(Symbol& symbol) {
  if (symbol.owner < late_frame_) bindLate(symbol);
  if (symbol.value.tag() == Tag::NotLoaded) load(symbol);
  return symbol.value.tag() == Tag::Unbound ? nullptr : &symbol.value;
}

// Everything that assign does not do at once; takes over the hold on `value`.
void Interpreter::assignSlowly(Symbol& symbol, RawValue value) {
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

void Interpreter::touch(Symbol& symbol) {
  if (symbol.touched) return;
  symbol.touched = true;
  ++symbol.references;
  touched_.push_back(&symbol);
}

// Fills the slot of a global from the environment.
void Interpreter::load(Symbol& symbol) {
  touch(symbol);
  symbol.value = environment_->find(symbol).value;
  retain(symbol.value);
}

// Finds out what a name in function position stands for.
void Interpreter::resolve(Symbol& symbol) {
  touch(symbol);
  UserFunction* const function = environment_->find(symbol).function;
  if (function == nullptr) {
    symbol.operation = symbol.base_operation;
  } else {
    retainFunction(function);
    symbol.function = function;
    symbol.operation = Operation::UserFunction;
  }
}

// Makes `function` the user function of `symbol`; takes over the hold. A special form keeps its
// name: the record could never be reached, so it is not kept.
void Interpreter::define(Symbol& symbol, UserFunction* function) {
  if (isSpecialForm(symbol.base_operation)) {
    releaseFunction(function);
    return;
  }
  touch(symbol);
  releaseFunction(std::exchange(symbol.function, function));
  symbol.operation = Operation::UserFunction;
  symbol.changed = true;
}

void Interpreter::commit(Environment& target) {
  assert(resident_ == this && frame_ == 0 && trail_.size() == 0);
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

void Interpreter::putAtRest(Symbol& symbol) {
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

// 1. Every binding of the trail changes places with the one that shadows it, the latest first: then
//    the records have the global bindings.
// 2. The names that the run has touched are put at rest, and what they had is noted.
void Interpreter::stepAside() {
  assert(resident_ == this);
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
void Interpreter::becomeResident() {
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

void Interpreter::swapWithRecord(Shadowed& shadowed) {
  countWork();
  Symbol& symbol = *shadowed.symbol;
  const RawValue value = symbol.value;
  copyWords(symbol.value, shadowed.value);
  copyWords(shadowed.value, value);
  std::swap(symbol.owner, shadowed.owner);
  std::swap(symbol.history, shadowed.history);
}

std::size_t Interpreter::bindingsTouched() const {
  return touched_.size() + trail_.size() + log_.size() + arguments_.size() + form_arguments_ +
         definitions_.size();
}

std::size_t Interpreter::bytesHeld() const {
  return touched_.capacity() * (sizeof(void*) + sizeof(SetAside)) + trail_.bytes() + log_.bytes() +
         arguments_.bytes();
}

}  // namespace lisp
