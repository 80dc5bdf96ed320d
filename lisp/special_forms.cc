// The special forms: operators that receive their arguments unevaluated.
//
// `count` is the number of items of the form, its own symbol included. A failure of a part travels
// outward at once; what earlier parts have assigned stays assigned.

#include <algorithm>

#include "lisp/evaluate.h"
#include "lisp/interpreter.h"
#include "lisp/work.h"

namespace lisp {

Result Interpreter::evaluateQuote(Symbol& /*name*/, const Run& items, std::uint32_t /*depth*/) {
  if (items.full_length != 2) return fail("quote expects one argument");
  return LispValue(items.slots()[1]);
}

// One pair is most of all calls.
Result Interpreter::evaluateSetq(Symbol& /*name*/, const Run& items, std::uint32_t depth) {
  if (items.full_length != 3) return setPairs(items, depth);
  const RawValue& target = items.slots()[1].raw();
  if (target.tag() != Tag::Symbol) return setPairs(items, depth);
  const Result value = evaluateHere(items.slots()[2], depth);
  if (value.failed()) return value;
  retain(value.raw);
  assign(symbolOf(target), value.raw);
  return value;
}

Result Interpreter::setPairs(const Run& items, std::uint32_t depth) {
  const std::uint32_t count = items.full_length;
  if (count % 2 == 0 || count < 3) return fail("setq expects symbol/value pairs");
  const LispValue* target = items.slots() + 1;
  const LispValue* const last_target = items.slots() + count - 2;
  for (;; target += 2) {
    if (target->raw().tag() != Tag::Symbol) return fail("setq target must be a symbol");
    const Result value = evaluateHere(target[1], depth);
    if (value.failed()) return value;
    if (target == last_target) retain(value.raw);
    assign(symbolOf(target->raw()), value.raw);
    if (target == last_target) return value;
  }
}

Result Interpreter::evaluateIf(Symbol& /*name*/, const Run& items, std::uint32_t depth) {
  const std::uint32_t count = items.full_length;
  if (count != 3 && count != 4) {
    return fail("if expects condition, true and optional false expression");
  }
  const LispValue* const item = items.slots();
  const Result condition = evaluateHere(item[1], depth);
  if (condition.failed()) return condition;
  if (condition.raw.tag() != Tag::Nil) {
    release(condition.raw);
    return evaluateHere(item[2], depth);
  }
  if (count == 3) return nil();
  return evaluateHere(item[3], depth);
}

Result Interpreter::evaluateProgn(Symbol& /*name*/, const Run& items, std::uint32_t depth) {
  const std::uint32_t count = items.full_length;
  if (count == 1) return nil();
  const LispValue* const item = items.slots();
  for (std::uint32_t i = 1; i < count - 1; ++i) {
    const Result result = evaluateHere(item[i], depth);
    if (result.failed()) return result;
    release(result.raw);
  }
  return evaluateHere(item[count - 1], depth);
}

Result Interpreter::evaluateWhile(Symbol& /*name*/, const Run& items, std::uint32_t depth) {
  const std::uint32_t count = items.full_length;
  if (count < 2) return fail("while expects a condition");
  const LispValue* const item = items.slots();
  Result body_result = nil();
  while (true) {
    const Result condition = evaluateHere(item[1], depth);
    if (condition.failed()) {
      release(body_result.raw);
      return condition;
    }
    if (condition.raw.tag() == Tag::Nil) return body_result;
    release(condition.raw);
    for (std::uint32_t i = 2; i < count; ++i) {
      const Result result = evaluateHere(item[i], depth);
      release(body_result.raw);
      if (result.failed()) return result;
      body_result = result;
    }
  }
}

Result Interpreter::evaluateAnd(Symbol& /*name*/, const Run& items, std::uint32_t depth) {
  Result result = truth();
  for (std::uint32_t i = 1; i < items.full_length && result.raw.tag() != Tag::Nil; ++i) {
    release(result.raw);
    result = evaluateHere(items.slots()[i], depth);
    if (result.failed()) return result;
  }
  return result;
}

Result Interpreter::evaluateOr(Symbol& /*name*/, const Run& items, std::uint32_t depth) {
  Result result = nil();
  for (std::uint32_t i = 1; i < items.full_length && result.raw.tag() == Tag::Nil; ++i) {
    result = evaluateHere(items.slots()[i], depth);
  }
  return result;
}

// NOT and NULL.
Result Interpreter::evaluateNot(Symbol& name, const Run& items, std::uint32_t depth) {
  if (items.full_length != 2) return fail(name.bytes(), " expects one argument");
  const Result result = evaluateHere(items.slots()[1], depth);
  if (result.failed()) return result;
  if (result.raw.tag() == Tag::Nil) return truth();
  release(result.raw);
  return nil();
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

Result Interpreter::evaluateDefun(Symbol& /*name*/, const Run& items, std::uint32_t /*depth*/) {
  const LispValue* const item = items.slots();
  if (items.full_length < 4 || item[1].kind() != ValueKind::Symbol ||
      item[2].kind() != ValueKind::List) {
    return fail("defun syntax error");
  }
  UserFunction* function = nullptr;
  const auto kept = definitions_.find(&items);
  if (kept != definitions_.end()) {
    function = kept->second;
    retainFunction(function);
  } else {
    countWork(item[2].raw().length());
    if (!isListOfSymbols(item[2].raw())) return fail("defun parameter must be symbol");
    const RawValue form = RawValue::ofList(const_cast<Run&>(items), items.full_length);
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
