// The evaluator's innermost steps, which every form goes through: in line, because half of what is
// evaluated are numbers and variables. For the evaluator's own files only.

#ifndef LISP_EVALUATE_H_
#define LISP_EVALUATE_H_

#include "lisp/interpreter.h"

namespace lisp {

// 1. Count the step and check the limit. 2. Check the depth. 3. Evaluate by kind. For a list that
// begins with a name, its handler does all three.
[[gnu::always_inline]] inline Result Interpreter::evaluateHere(const LispValue& form,
                                                               std::uint32_t depth) {
  const RawValue& raw = form.raw();
  if (raw.tag() == Tag::List) {
    const Run& items = runOf(raw);
    if (items.full_length == 0 || items.slots()[0].raw().tag() != Tag::Symbol) [[unlikely]]
      return evaluateOddList(items, depth);
    // The handler counts and checks, together with its operands if it can.
    Symbol& name = symbolOf(items.slots()[0].raw());
    return name.handler(*this, name, items, depth + 1);
  }
  if (!countSteps(1, depth)) [[unlikely]]
    return failLimits();
  if (raw.tag() == Tag::Symbol) {
    Symbol& symbol = symbolOf(raw);
    if (symbol.value.tag() > Tag::List || symbol.owner < late_frame_) [[unlikely]] {
      return evaluateSymbolSlowly(symbol);
    }
    retain(symbol.value);
    return symbol.value;
  }
  if (raw.tag() > Tag::List) [[unlikely]]
    return fail("invalid list");
  retain(raw);
  return raw;
}

// The value of a form that is a literal or a bound variable, borrowed and without counting a step;
// null for any other form. Whoever uses it counts the step.
[[gnu::always_inline]] inline const RawValue* Interpreter::peek(const LispValue& form) const {
  const RawValue& raw = form.raw();
  if (raw.tag() <= Tag::String) return &raw;
  if (raw.tag() != Tag::Symbol) return nullptr;
  const Symbol& symbol = symbolOf(raw);
  if (symbol.value.tag() > Tag::List || symbol.owner < late_frame_) return nullptr;
  return &symbol.value;
}

// Counts `steps` evaluations at `depth` that cannot fail but by the limits. False, and nothing is
// counted, when they would.
[[gnu::always_inline]] inline bool Interpreter::countSteps(std::uint64_t steps,
                                                           std::uint32_t depth) {
  if (steps_left_ < steps || depth > depth_limit_) return false;
  steps_left_ -= steps;
  return true;
}

// Makes `value` the value of the binding in force; takes over the hold.
[[gnu::always_inline]] inline void Interpreter::assign(Symbol& symbol, RawValue value) {
  if (symbol.owner == frame_ && symbol.value.tag() <= Tag::List && pending_snapshot_ == 0) {
    // A binding of this call, or at top level a global that has been loaded.
    if (frame_ == 0) symbol.changed = true;
    replace(symbol.value, value);
  } else {
    assignSlowly(symbol, value);
  }
}

// Evaluates the items after the first, left to right, onto arguments_. False at the first failure;
// what is there then stays until the run ends.
[[gnu::always_inline]] inline bool Interpreter::pushArguments(const Run& items,
                                                              std::uint32_t depth) {
  const LispValue* item = items.slots();
  for (std::uint32_t count = items.full_length - 1; count > 0; --count) {
    const Result value = evaluateHere(*++item, depth);
    if (value.failed()) [[unlikely]]
      return false;
    arguments_.push(value.raw);
  }
  return true;
}

// Binds `symbol` in the call in progress; takes over the hold on `value`.
[[gnu::always_inline]] inline void Interpreter::bind(Symbol& symbol, RawValue value) {
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

}  // namespace lisp

#endif  // LISP_EVALUATE_H_
