// The special forms: operators that receive their arguments unevaluated.
//
// `count` is the number of items of the form, its own symbol included. A failure of a part travels
// outward at once; what earlier parts have assigned stays assigned.

#include <algorithm>

#include "lisp/evaluate.h"
#include "lisp/interpreter.h"
#include "lisp/work.h"

namespace lisp {

Result Interpreter::evaluateQuote(Run& items, std::uint32_t /*depth*/) {
  if (items.full_length != 2) return fail("quote expects one argument");
  return LispValue(items.slots()[1]);
}

// The pair whose value is that of the SETQ.
[[gnu::always_inline]] inline Result Interpreter::setLast(const LispValue& target,
                                                          const LispValue& form,
                                                          std::uint32_t depth) {
  const Result value = evaluateItem(form, depth);
  if (value.failed()) [[unlikely]]
    return value;
  retain(value.raw);
  assign(symbolOf(target.raw()), value.raw);
  return value;
}

template <bool is_observed>
Result Interpreter::evaluateSetq(Run& items, std::uint32_t depth) {
  const std::uint32_t count = items.full_length;
  if (count % 2 == 0 || count < 3) return fail("setq expects symbol/value pairs");
  const LispValue* target = items.slots() + 1;
  for (const LispValue* const last = items.slots() + count - 2;; target += 2) {
    if (target->raw().tag() != Tag::Symbol) return fail("setq target must be a symbol");
    if (!is_observed && target == last) return setLast(*target, target[1], depth);
    const Result value = evaluateItem(target[1], depth);
    if (value.failed()) return value;
    if constexpr (is_observed) {
      retain(value.raw);
      assignObserved(symbolOf(target->raw()), value.raw);
      if (target == last) return value;
      release(value.raw);
    } else {
      assign(symbolOf(target->raw()), value.raw);
    }
  }
}

template Result Interpreter::evaluateSetq<false>(Run& items, std::uint32_t depth);
template Result Interpreter::evaluateSetq<true>(Run& items, std::uint32_t depth);

// Several pairs, all of whose targets are symbols.
Result Interpreter::setSymbols(Run& items, std::uint32_t depth) {
  if (!countSteps(1, depth - 1)) [[unlikely]]
    return failLimits();
  const LispValue* target = items.slots() + 1;
  for (const LispValue* const last = items.slots() + items.full_length - 2; target != last;
       target += 2) {
    const Result value = evaluateItem(target[1], depth);
    if (value.failed()) [[unlikely]]
      return value;
    assign(symbolOf(target->raw()), value.raw);
  }
  return setLast(*target, target[1], depth);
}

// One such pair.
Result Interpreter::setSymbol(Run& items, std::uint32_t depth) {
  if (!countSteps(1, depth - 1)) [[unlikely]]
    return failLimits();
  return setLast(items.slots()[1], items.slots()[2], depth);
}

Result Interpreter::evaluateIf(Run& items, std::uint32_t depth) {
  const std::uint32_t count = items.full_length;
  if (count != 3 && count != 4) {
    return fail("if expects condition, true and optional false expression");
  }
  const LispValue* branch = items.slots() + 2;
  const Truth condition = testHere(items.slots()[1], depth);
  if (condition != Truth::Yes) {
    if (condition == Truth::Failed) [[unlikely]]
      return Result::failure();
    if (count == 3) return RawValue();
    ++branch;
  }
  return evaluateItem(*branch, depth);
}

Result Interpreter::evaluateProgn(Run& items, std::uint32_t depth) {
  const std::uint32_t count = items.full_length;
  if (count == 1) return nil();
  const LispValue* const item = items.slots();
  for (std::uint32_t i = 1; i < count - 1; ++i) {
    const Result result = evaluateItem(item[i], depth);
    if (result.failed()) return result;
    release(result.raw);
  }
  return evaluateItem(item[count - 1], depth);
}

Result Interpreter::evaluateWhile(Run& items, std::uint32_t depth) {
  if (items.full_length < 2) return fail("while expects a condition");
  const LispValue* const condition = items.slots() + 1;
  const LispValue* const end = items.slots() + items.full_length;
  Result last = nil();
  while (true) {
    const Truth truth = testHere(*condition, depth);
    if (truth == Truth::No) return last;
    if (truth == Truth::Failed) [[unlikely]] {
      release(last.raw);
      return Result::failure();
    }
    for (const LispValue* form = condition + 1; form != end; ++form) {
      release(last.raw);
      last = evaluateItem(*form, depth);
      if (last.failed()) [[unlikely]]
        return last;
    }
  }
}

Result Interpreter::evaluateAnd(Run& items, std::uint32_t depth) {
  Result result = truth();
  for (std::uint32_t i = 1; i < items.full_length && result.raw.tag() != Tag::Nil; ++i) {
    release(result.raw);
    result = evaluateItem(items.slots()[i], depth);
    if (result.failed()) return result;
  }
  return result;
}

Result Interpreter::evaluateOr(Run& items, std::uint32_t depth) {
  Result result = nil();
  for (std::uint32_t i = 1; i < items.full_length && result.raw.tag() == Tag::Nil; ++i) {
    result = evaluateItem(items.slots()[i], depth);
  }
  return result;
}

// NOT and NULL.
Result Interpreter::evaluateNot(Run& items, std::uint32_t depth) {
  switch (testNot(items, depth)) {
    case Truth::Failed:
      return Result::failure();
    case Truth::Yes:
      return truth();
    default:
      return nil();
  }
}

// The same for conditions, whose truth is all that matters.

Truth Interpreter::testAnd(Run& items, std::uint32_t depth) {
  Truth result = Truth::Yes;
  for (std::uint32_t i = 1; i < items.full_length && result == Truth::Yes; ++i) {
    result = testHere(items.slots()[i], depth);
  }
  return result;
}

Truth Interpreter::testOr(Run& items, std::uint32_t depth) {
  Truth result = Truth::No;
  for (std::uint32_t i = 1; i < items.full_length && result == Truth::No; ++i) {
    result = testHere(items.slots()[i], depth);
  }
  return result;
}

Truth Interpreter::testNot(Run& items, std::uint32_t depth) {
  if (items.full_length != 2) return truthOf(fail(nameOf(items).bytes(), " expects one argument"));
  switch (testHere(items.slots()[1], depth)) {
    case Truth::Failed:
      return Truth::Failed;
    case Truth::Yes:
      return Truth::No;
    default:
      return Truth::Yes;
  }
}

namespace {

// From this many parameters and locals on, what a DEFUN form makes is kept for its next evaluation.
constexpr std::uint32_t kKeptParametersMin = 16;

bool isListOfSymbols(const RawValue& list) {
  const LispValue* const elements = runOf(list).slots();
  return std::all_of(elements, elements + list.length(),
                     [](const LispValue& element) { return element.raw().tag() == Tag::Symbol; });
}

}  // namespace

Result Interpreter::evaluateDefun(Run& items, std::uint32_t /*depth*/) {
  const LispValue* const item = items.slots();
  if (items.full_length < 4 || item[1].kind() != ValueKind::Symbol ||
      item[2].kind() != ValueKind::List) {
    return fail("defun syntax error");
  }
  UserFunction* function = UserFunction::findPrepared(items);
  if (function == nullptr) {
    const auto kept = definitions_.find(&items);
    if (kept != definitions_.end()) function = kept->second;
  }
  if (function != nullptr) {
    retainFunction(function);
  } else {
    countWork(item[2].raw().length());
    if (!isListOfSymbols(item[2].raw())) return fail("defun parameter must be symbol");
    const RawValue form = RawValue::ofList(items, items.full_length);
    function = new UserFunction(LispValue::share(form));
    if (item[2].raw().length() >= kKeptParametersMin) {
      definitions_.emplace(&items, function);
      retainFunction(function);
    }
  }
  define(symbolOf(item[1].raw()), function);
  return LispValue(item[1]);
}

}  // namespace lisp
