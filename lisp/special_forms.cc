// The special forms: operators that receive their arguments unevaluated.
//
// Each is an evaluator (lisp/evaluate.h). A form's number of items counts its own symbol. A failure
// of a part travels outward at once; what earlier parts have assigned stays assigned.

#include "lisp/evaluate.h"
#include "lisp/interpreter.h"

namespace lisp {

Result evaluateQuote(Interpreter& interpreter, Chunk& items, std::uint32_t /*depth*/) {
  if (items.flatLength() != 2) return interpreter.fail("quote expects one argument");
  return LispValue(items.slots()[1]);
}

namespace {

// Assigns what `form` evaluates to and returns it.
[[gnu::always_inline]] inline Result setTo(Interpreter& interpreter, const LispValue& target,
                                           const LispValue& form, std::uint32_t depth) {
  Result value = evaluateItem(interpreter, form, depth);
  if (value.failed()) [[unlikely]]
    return value;
  retain(value.raw());
  interpreter.bindings().assign(symbolOf(target.raw()), value.raw());
  return value;
}

// Assigns `value`, which is held elsewhere too, and tells the observer. T keeps its value, so
// nothing is told of it.
void assignObserved(Interpreter& interpreter, Symbol& symbol, const RawValue& value) {
  const RawValue* const binding = interpreter.lookupVariable(symbol);
  const LispValue before = binding == nullptr ? LispValue() : LispValue::share(*binding);
  retain(value);
  interpreter.bindings().assign(symbol, value);
  if (symbol.owner == kTruthOwner) return;
  interpreter.observer()->assigned(symbol, binding == nullptr ? nullptr : &before.raw(), value);
}

}  // namespace

// Pairs are assigned one after the other, so a failure leaves those before it assigned. The
// binding takes over the hold on each value except the last, which is the result as well.
template <bool is_observed>
Result evaluateSetq(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  const std::uint32_t count = items.flatLength();
  if (count % 2 == 0 || count < 3) return interpreter.fail("setq expects symbol/value pairs");
  const LispValue* target = items.slots() + 1;
  for (const LispValue* const last = items.slots() + count - 2;; target += 2) {
    if (target->raw().tag() != Tag::Symbol) return interpreter.fail("setq target must be a symbol");
    if (!is_observed && target == last) return setTo(interpreter, *target, target[1], depth);
    Result value = evaluateItem(interpreter, target[1], depth);
    if (value.failed()) return value;
    Symbol& symbol = symbolOf(target->raw());
    if constexpr (is_observed) {
      assignObserved(interpreter, symbol, value.raw());
      if (target == last) return value;
      value.drop();
    } else {
      interpreter.bindings().assign(symbol, value.take());
    }
  }
}

template Result evaluateSetq<false>(Interpreter& interpreter, Chunk& items, std::uint32_t depth);
template Result evaluateSetq<true>(Interpreter& interpreter, Chunk& items, std::uint32_t depth);

// One pair, whose target is a symbol.
Result setSymbol(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  if (!interpreter.countSteps(1, depth - 1)) [[unlikely]]
    return interpreter.failLimits();
  return setTo(interpreter, items.slots()[1], items.slots()[2], depth);
}

// Without a false branch the value is nil.
Result evaluateIf(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  const std::uint32_t count = items.flatLength();
  if (count != 3 && count != 4) {
    return interpreter.fail("if expects condition, true and optional false expression");
  }
  const LispValue* branch = items.slots() + 2;
  const Truth condition = testForm(interpreter, items.slots()[1], depth);
  if (condition != Truth::Yes) {
    if (condition == Truth::Failed) [[unlikely]]
      return Result::failure();
    if (count == 3) return RawValue();
    ++branch;
  }
  return evaluateItem(interpreter, *branch, depth);
}

Result evaluateProgn(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  if (items.flatLength() == 1) return nil();
  return evaluateSequence(interpreter, {items.slots() + 1, items.flatLength() - 1}, depth);
}

// The value is that of the form evaluated last, nil without one. A loop without a body only tests
// its condition; each test counts its steps, so the step limit ends it.
Result evaluateWhile(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  if (items.flatLength() < 2) return interpreter.fail("while expects a condition");
  const LispValue* const condition = items.slots() + 1;
  const LispValue* const end = items.slots() + items.flatLength();
  Result last = nil();
  while (true) {
    const Truth truth = testForm(interpreter, *condition, depth);
    if (truth == Truth::No) return last;
    if (truth == Truth::Failed) [[unlikely]] {
      last.drop();
      return Result::failure();
    }
    for (const LispValue* form = condition + 1; form != end; ++form) {
      last.drop();
      last = evaluateItem(interpreter, *form, depth);
      if (last.failed()) [[unlikely]]
        return last;
    }
  }
}

Result evaluateAnd(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  Result result = truth();
  for (std::uint32_t i = 1; i < items.flatLength() && !result.is(Tag::Nil); ++i) {
    result.drop();
    result = evaluateItem(interpreter, items.slots()[i], depth);
    if (result.failed()) return result;
  }
  return result;
}

// Only nil continues the loop, and nil holds nothing that had to be dropped. A failure ends it and
// is returned like a value.
Result evaluateOr(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  Result result = nil();
  for (std::uint32_t i = 1; i < items.flatLength() && result.is(Tag::Nil); ++i) {
    result = evaluateItem(interpreter, items.slots()[i], depth);
  }
  return result;
}

// NOT and NULL.
Result evaluateNot(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  switch (testNot(interpreter, items, depth)) {
    case Truth::Failed:
      return Result::failure();
    case Truth::Yes:
      return truth();
    default:
      return nil();
  }
}

// The same for conditions, whose truth is all that matters.

Truth testAnd(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  Truth result = Truth::Yes;
  for (std::uint32_t i = 1; i < items.flatLength() && result == Truth::Yes; ++i) {
    result = testForm(interpreter, items.slots()[i], depth);
  }
  return result;
}

Truth testOr(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  Truth result = Truth::No;
  for (std::uint32_t i = 1; i < items.flatLength() && result == Truth::No; ++i) {
    result = testForm(interpreter, items.slots()[i], depth);
  }
  return result;
}

Truth testNot(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  if (items.flatLength() != 2)
    return toTruth(interpreter.fail(nameOf(items).bytes(), " expects one argument"));
  switch (testForm(interpreter, items.slots()[1], depth)) {
    case Truth::Failed:
      return Truth::Failed;
    case Truth::Yes:
      return Truth::No;
    default:
      return Truth::Yes;
  }
}

// The name of a special form is accepted and returned, but keeps its meaning (Bindings::define).
Result evaluateDefun(Interpreter& interpreter, Chunk& items, std::uint32_t /*depth*/) {
  const LispValue* const item = items.slots();
  if (items.flatLength() < 4 || item[1].kind() != ValueKind::Symbol ||
      item[2].kind() != ValueKind::List) {
    return interpreter.fail("defun syntax error");
  }
  UserFunction* const function = interpreter.makeFunction(items);
  if (function == nullptr) return interpreter.fail("defun parameter must be symbol");
  interpreter.bindings().define(symbolOf(item[1].raw()), function);
  return LispValue(item[1]);
}

}  // namespace lisp
