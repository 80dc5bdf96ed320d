// How the interpreter calls user functions.

#include <span>
#include <utility>

#include "lisp/evaluate.h"
#include "lisp/interpreter.h"

namespace lisp {

Result Interpreter::applyFunction(Symbol& name, const Run& items, std::uint32_t depth) {
  UserFunction* const function = name.function;
  // 1. Arity, before any argument is evaluated.
  if (items.full_length - 1 != function->params().size()) {
    return fail("wrong argument count for ", name.bytes());
  }
  // The record found here serves the call to its end, whatever redefines the name meanwhile.
  retainFunction(function);
  // 2. The callee's copy of the local bindings is taken now: from here on, changes are logged.
  const std::size_t log_begin = log_.size();
  const std::uint64_t outer_serial = std::exchange(log_serial_, ++last_log_serial_);
  ++pending_calls_;
  // 3. Arguments, in the caller's bindings.
  const std::size_t first_argument = stack_.size();
  const bool evaluated = evaluateArguments({items.slots(), items.full_length}, depth, stack_);
  if (!evaluated) {
    releaseFunction(function);
    return Result::failure();
  }
  --pending_calls_;
  log_serial_ = outer_serial;
  // 4. and 5. Parameters, locals and body.
  const std::uint32_t outer_pending_calls = std::exchange(pending_calls_, 0);
  const std::uint32_t outer_lazy_frame = lazy_frame_;
  const std::size_t trail_size = trail_.size();
  enterCall(*function, first_argument, log_begin);
  if (outer_pending_calls == 0) truncateLog(log_begin);
  const Result result = evaluateBody(*function, depth);
  if (result.failed()) {
    releaseFunction(function);
    return result;
  }
  // 6. The call's bindings go.
  unwind(trail_size);
  frames_.pop_back();
  --frame_;
  lazy_frame_ = outer_lazy_frame;
  pending_calls_ = outer_pending_calls;
  releaseFunction(function);
  return result;
}

Result Interpreter::evaluateBody(const UserFunction& function, std::uint32_t depth) {
  const std::span<const LispValue> body = function.body();
  for (const LispValue& form : body.first(body.size() - 1)) {
    const Result result = evaluateHere(form, depth);
    if (result.failed()) return result;
    release(result.raw);
  }
  return evaluateHere(body.back(), depth);
}

// Makes the bindings of a new call: copies of the caller's that its arguments have changed, then
// parameters (the last of equal names wins), then locals.
void Interpreter::enterCall(UserFunction& function, std::size_t first_argument,
                            std::size_t log_begin) {
  ++frame_;
  frames_.push_back(&function);
  const std::size_t trail_size = trail_.size();
  restoreCopies(log_begin);
  std::size_t argument = first_argument;
  for (Symbol* const param : function.params()) bind(*param, stack_[argument++].release());
  dropArguments(first_argument);
  if (!function.hasLazyLocals()) {
    for (Symbol* const local : function.locals()) bind(*local, RawValue());
    return;
  }
  lazy_frame_ = frame_;
  for (std::size_t i = trail_size; i < trail_.size(); ++i) {
    Symbol& symbol = *trail_[i].symbol;
    if (function.isLocal(symbol)) replace(symbol.value, RawValue());
  }
}

// Binds what the log says the caller's bindings were. The oldest entry of a name counts, so it is
// bound last.
void Interpreter::restoreCopies(std::size_t log_begin) {
  for (std::size_t i = log_.size(); i > log_begin; --i) {
    const Logged& logged = log_[i - 1];
    retain(logged.value);
    bind(*logged.symbol, logged.value);
  }
}

// Binds `symbol` in the call in progress; takes over the hold on `value`.
void Interpreter::bind(Symbol& symbol, RawValue value) {
  if (symbol.owner == frame_) {
    replace(symbol.value, value);
  } else if (symbol.owner == kTruthOwner) {
    release(value);
  } else {
    trail_.push_back({&symbol, symbol.value, symbol.owner});
    symbol.value = value;
    symbol.owner = frame_;
  }
}

void Interpreter::unwind(std::size_t trail_size) {
  while (trail_.size() > trail_size) {
    const Shadowed& shadowed = trail_.back();
    replace(shadowed.symbol->value, shadowed.value);
    shadowed.symbol->owner = shadowed.owner;
    trail_.pop_back();
  }
}

// Binds `symbol` to nil in the call in progress when a call with lazy locals, inside the one that
// owns the binding in force, declares it: had that call bound all its locals, its callees would
// find nil in their copies.
void Interpreter::bindLazyLocal(Symbol& symbol) {
  for (std::uint32_t frame = frame_; frame > symbol.owner; --frame) {
    const UserFunction& function = *frames_[frame - 1];
    if (function.hasLazyLocals() && function.isLocal(symbol)) {
      bind(symbol, RawValue());
      return;
    }
  }
}

// Notes the value of a local binding that is about to change while arguments are evaluated, once
// for each call that is being prepared.
void Interpreter::logAssignment(Symbol& symbol) {
  if (symbol.log_serial == log_serial_) return;
  symbol.log_serial = log_serial_;
  retain(symbol.value);
  log_.push_back({&symbol, symbol.value});
}

void Interpreter::truncateLog(std::size_t size) {
  for (; log_.size() > size; log_.pop_back()) {
    log_.back().symbol->log_serial = 0;  // The record outlives the run that gave the serial.
    release(log_.back().value);
  }
}

}  // namespace lisp
