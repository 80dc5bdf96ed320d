#include "lisp/interpreter.h"

#include <cassert>
#include <utility>

#include "lisp/evaluate.h"
#include "lisp/list_hash.h"
#include "lisp/work.h"

namespace lisp {
namespace {

bool is_running = false;  // Guards the rule of one interpreter at a time.

}  // namespace

Interpreter::Interpreter(const Environment& environment, const geometry::CoordContext* context,
                         const HostTranscript* transcript)
    : environment_(&environment), context_(context), transcript_(transcript) {
  assert(!is_running);
  is_running = true;
}

Interpreter::~Interpreter() {
  unwind(0);
  truncateLog(0);
  for (std::size_t i = 0; i < arguments_.size(); ++i) release(arguments_[i]);
  for (Symbol* const symbol : touched_) putAtRest(*symbol);
  for (const auto& [form, function] : definitions_) releaseFunction(function);
  is_running = false;
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

EvalOutcome Interpreter::takeFailure() {
  assert(failure_kind_ != OutcomeKind::Value);
  EvalOutcome outcome;
  outcome.kind = failure_kind_;
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
  if (symbol.base_operation <= Operation::Null) {
    releaseFunction(function);
    return;
  }
  touch(symbol);
  releaseFunction(std::exchange(symbol.function, function));
  symbol.operation = Operation::UserFunction;
  symbol.changed = true;
}

void Interpreter::commit(Environment& target) {
  assert(frame_ == 0 && trail_.size() == 0);
  for (Symbol* const symbol : touched_) {
    countWork();
    if (!symbol->changed) continue;
    Binding binding = target.find(*symbol);
    if (symbol->value.tag() != Tag::NotLoaded) {
      ensureDigest(symbol->value);  // Whoever compares it later is not charged for making it.
      binding.value = symbol->value;
    }
    if (symbol->function != nullptr) {
      digestQuoted(runOf(symbol->function->form().raw()));
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
  if (symbol.base_operation > Operation::Null) symbol.operation = Operation::Unresolved;
  symbol.touched = false;
  symbol.changed = false;
  if (--symbol.references == 0) retireSymbol(&symbol);
}

}  // namespace lisp
