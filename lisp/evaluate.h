// The evaluator's innermost steps, which every form goes through: in line, because half of what is
// evaluated are numbers and variables. For the evaluator's own files only.

#ifndef LISP_EVALUATE_H_
#define LISP_EVALUATE_H_

#include <array>
#include <cassert>
#include <cstdint>

#include "lisp/form_shape.h"
#include "lisp/interpreter.h"
#include "lisp/list.h"
#include "lisp/symbol.h"

namespace lisp {

// What a condition yields.
enum class Truth : std::uint8_t { No, Yes, Failed };

// How lists of one shape are evaluated.
struct FormEvaluator {
  // Counts the step of the list, checks the limits and evaluates it. Its parts are to be evaluated
  // at `depth`, which is one more than its own.
  Result (*evaluate)(Interpreter&, Run& items, std::uint32_t depth);
  // The same for who wants to know no more of the value than whether it is nil.
  Truth (*test)(Interpreter&, Run& items, std::uint32_t depth);
};

// By shape.
extern const std::array<FormEvaluator, kShapeCount> kFormEvaluators;

// How to evaluate a list. Only what the reader has made is evaluated, and nothing of that has a
// digest; the hash of any other list would be taken for a shape.
[[nodiscard, gnu::always_inline]] inline const FormEvaluator& evaluatorOf(const Run& items) {
  assert(!items.isLinked() && items.shape() < kShapeCount);
  return kFormEvaluators.data()[items.shape()];
}

[[nodiscard]] inline Truth truthOf(Result result) {
  if (result.raw.tag() == Tag::Nil) return Truth::No;
  if (result.failed()) return Truth::Failed;
  release(result.raw);
  return Truth::Yes;
}

[[gnu::always_inline]] inline Result Interpreter::evaluateList(const LispValue& form,
                                                               std::uint32_t depth) {
  Run& items = runOf(form.raw());
  return evaluatorOf(items).evaluate(*this, items, depth + 1);
}

// 1. Count the step and check the limit. 2. Check the depth. 3. Evaluate by kind. For a list its
// evaluator does all three, together with its operands if it can.
[[gnu::always_inline]] inline Result Interpreter::evaluateHere(const LispValue& form,
                                                               std::uint32_t depth) {
  const RawValue& raw = form.raw();
  if (raw.tag() == Tag::List) return evaluateList(form, depth);
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

// The same where lists are most of what comes.
[[gnu::always_inline]] inline Result Interpreter::evaluateItem(const LispValue& form,
                                                               std::uint32_t depth) {
  if (form.raw().tag() == Tag::List) [[likely]]
    return evaluateList(form, depth);
  return evaluate(form, depth);
}

// Evaluates a condition.
[[gnu::always_inline]] inline Truth Interpreter::testHere(const LispValue& form,
                                                          std::uint32_t depth) {
  if (form.raw().tag() != Tag::List) [[unlikely]]
    return testAtom(form, depth);
  Run& items = runOf(form.raw());
  return evaluatorOf(items).test(*this, items, depth + 1);
}

// The value of an operand that needs no evaluation, borrowed and without counting a step; null for
// any other. Whoever uses it counts the step. A variable may be unbound.
template <Operand kind>
[[gnu::always_inline]] inline const RawValue* Interpreter::peek(const LispValue& form) const {
  const RawValue& raw = form.raw();
  if constexpr (kind == Operand::Number) return &raw;
  return late_frame_ != 0 ? nullptr : &symbolOf(raw).value;
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
  if (symbol.owner == frame_ && symbol.value.tag() <= Tag::List && pending_frame_ != frame_) {
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
