// The evaluator: a recursive walk over the forms that the reader built, bounded by the depth limit.

#include <cmath>
#include <cstddef>
#include <span>
#include <utility>
#include <vector>

#include "lisp/arithmetic.h"
#include "lisp/builtin.h"
#include "lisp/core_builtins.h"
#include "lisp/evaluate.h"
#include "lisp/interpreter.h"

namespace lisp {
namespace {

inline Result makeNumber(double value) {
  RawValue raw;
  raw.tag = Tag::Number;
  raw.number = value;
  return raw;
}

inline Result makeTruth(bool holds) { return holds ? truth() : nil(); }

// Whether applyNumeric may be called: a refused divisor is left to the builtin, which knows the
// error.
template <Operation operation>
bool isApplicable(double b) {
  return operation != Operation::Divide || !isRefusedDivisor(b);
}

// What a builtin of two numbers yields.
template <Operation operation>
Result applyNumeric(double a, double b) {
  switch (operation) {
    case Operation::Add:
      return makeNumber(sum(0.0 + a, b));
    case Operation::Subtract:
      return makeNumber(difference(a, b));
    case Operation::Multiply:
      return makeNumber(product(a, b));
    case Operation::Divide:
      return makeNumber(quotient(a, b));
    case Operation::NumberEqual:
      return makeTruth(a == b);
    case Operation::NumberNotEqual:
      return makeTruth(a != b);
    case Operation::Less:
      return makeTruth(a < b);
    case Operation::Greater:
      return makeTruth(a > b);
    case Operation::LessOrEqual:
      return makeTruth(a <= b);
    default:
      static_assert(operation <= Operation::GreaterOrEqual);
      return makeTruth(a >= b);
  }
}

// Whether applyUnary may be called.
template <Operation operation>
bool isApplicable(const RawValue& argument) {
  if (operation == Operation::Car || operation == Operation::Cdr) {
    return argument.tag == Tag::List && argument.length != 0;
  }
  return argument.tag == Tag::Number;
}

// What a builtin of one argument yields.
template <Operation operation>
Result applyUnary(const RawValue& argument) {
  switch (operation) {
    case Operation::Increment:
      return makeNumber(argument.number + 1.0);
    case Operation::Decrement:
      return makeNumber(argument.number - 1.0);
    case Operation::Car:
      return LispValue(runOf(argument).own(argument.length));
    default:
      static_assert(operation <= Operation::Cdr);
      return dropFirst(LispValue::share(argument).release());
  }
}

}  // namespace

Result Interpreter::evaluate(const LispValue& form, std::uint32_t depth) {
  return evaluateHere(form, depth);
}

// A symbol whose slot does not simply hold its value.
Result Interpreter::evaluateSymbolSlowly(Symbol& symbol) {
  const RawValue* const value = lookupVariable(symbol);
  if (value == nullptr) return fail("unbound symbol: ", symbol.bytes());
  retain(*value);
  return *value;
}

// 1. The empty list is nil. 2. The first item must be a symbol. 3. Special forms. 4. User
// functions. 5. Builtins. What the name stands for was resolved when the run first called it.
Result Interpreter::evaluateList(const Run& items, std::uint32_t depth) {
  if (items.full_length == 0) return nil();
  const RawValue& head = items.slots()[0].raw();
  if (head.tag != Tag::Symbol) return fail("first list item must be a function symbol");
  Symbol& name = symbolOf(head);
  const Operation operation = name.operation;
  switch (operation) {
    case Operation::Quote:
      return evaluateQuote(items);
    case Operation::Setq:
      return evaluateSetq(items, depth);
    case Operation::If:
      return evaluateIf(items, depth);
    case Operation::Progn:
      return evaluateProgn(items, depth);
    case Operation::While:
      return evaluateWhile(items, depth);
    case Operation::Defun:
      return evaluateDefun(items);
    case Operation::And:
      return evaluateAnd(items, depth);
    case Operation::Or:
      return evaluateOr(items, depth);
    case Operation::Not:
    case Operation::Null:
      return evaluateNot(name, items, depth);
    case Operation::UserFunction:
      return applyFunction(name, items, depth);
    case Operation::Add:
      return callNumeric<Operation::Add>(name, items, depth);
    case Operation::Subtract:
      return callNumeric<Operation::Subtract>(name, items, depth);
    case Operation::Multiply:
      return callNumeric<Operation::Multiply>(name, items, depth);
    case Operation::Divide:
      return callNumeric<Operation::Divide>(name, items, depth);
    case Operation::Increment:
      return callUnary<Operation::Increment>(name, items, depth);
    case Operation::Decrement:
      return callUnary<Operation::Decrement>(name, items, depth);
    case Operation::NumberEqual:
      return callNumeric<Operation::NumberEqual>(name, items, depth);
    case Operation::NumberNotEqual:
      return callNumeric<Operation::NumberNotEqual>(name, items, depth);
    case Operation::Less:
      return callNumeric<Operation::Less>(name, items, depth);
    case Operation::Greater:
      return callNumeric<Operation::Greater>(name, items, depth);
    case Operation::LessOrEqual:
      return callNumeric<Operation::LessOrEqual>(name, items, depth);
    case Operation::GreaterOrEqual:
      return callNumeric<Operation::GreaterOrEqual>(name, items, depth);
    case Operation::Car:
      return callUnary<Operation::Car>(name, items, depth);
    case Operation::Cdr:
      return callUnary<Operation::Cdr>(name, items, depth);
    case Operation::Cons:
      return callCons(name, items, depth);
    case Operation::List:
      return callList(items, depth);
    case Operation::Builtin:
    case Operation::FormBuiltin:
    case Operation::Unknown:
      return callBuiltin(name, operation, items, depth);
    case Operation::Unresolved:
      return resolveAndEvaluate(name, items, depth);
  }
  return Result::failure();
}

Result Interpreter::resolveAndEvaluate(Symbol& name, const Run& items, std::uint32_t depth) {
  resolve(name);
  return evaluateList(items, depth);
}

bool Interpreter::evaluateArguments(std::span<const LispValue> items, std::uint32_t depth,
                                    std::vector<LispValue>& values) {
  for (const LispValue& item : items.subspan(1)) {
    const Result value = evaluateHere(item, depth);
    if (value.failed()) return false;
    values.push_back(LispValue::adopt(value.raw));
  }
  return true;
}

void Interpreter::dropArguments(std::size_t stack_size) {
  while (stack_.size() > stack_size) stack_.pop_back();
}

// Any builtin. Its arguments are evaluated before an unknown name is reported.
Result Interpreter::callBuiltin(Symbol& name, Operation operation, const Run& items,
                                std::uint32_t depth) {
  if (operation == Operation::FormBuiltin) return callBuiltinWith(name, {}, items, depth);
  const std::size_t first_argument = stack_.size();
  if (!evaluateArguments({items.slots(), items.full_length}, depth, stack_)) {
    return Result::failure();
  }
  if (operation == Operation::Unknown) {
    return fail("unsupported LISP function: ", name.bytes());
  }
  const std::span<const LispValue> arguments = std::span(stack_).subspan(first_argument);
  const Result result = callBuiltinWith(name, arguments, items, depth);
  dropArguments(first_argument);
  return result;
}

Result Interpreter::callBuiltinWith(const Symbol& name, std::span<const LispValue> arguments,
                                    const Run& items, std::uint32_t depth) {
  const BuiltinCall call{name.bytes(), arguments, {items.slots(), items.full_length}, depth};
  return name.builtin->function(*this, call);
}

// Arithmetic and comparison. Two numbers that need no evaluation are most of all calls.
template <Operation operation>
Result Interpreter::callNumeric(Symbol& name, const Run& items, std::uint32_t depth) {
  if (items.full_length == 3) {
    const RawValue* const a = peek(items.slots()[1]);
    const RawValue* const b = peek(items.slots()[2]);
    if (a != nullptr && b != nullptr && a->tag == Tag::Number && b->tag == Tag::Number &&
        isApplicable<operation>(b->number) && countSteps(2, depth)) {
      return applyNumeric<operation>(a->number, b->number);
    }
  }
  return callNumericOfForms<operation>(name, items, depth);
}

// Two operands of any form; other counts and other kinds are the builtin's own work.
template <Operation operation>
Result Interpreter::callNumericOfForms(Symbol& name, const Run& items, std::uint32_t depth) {
  if (items.full_length != 3) return callBuiltin(name, Operation::Builtin, items, depth);
  const Result a = evaluateHere(items.slots()[1], depth);
  if (a.failed()) return a;
  const Result b = evaluateHere(items.slots()[2], depth);
  if (b.failed()) {
    release(a.raw);
    return b;
  }
  if (a.raw.tag == Tag::Number && b.raw.tag == Tag::Number &&
      isApplicable<operation>(b.raw.number)) {
    return applyNumeric<operation>(a.raw.number, b.raw.number);
  }
  return callPair(name, a.raw, b.raw, items, depth);
}

// A builtin of two evaluated arguments, whose holds it takes over.
Result Interpreter::callPair(const Symbol& name, RawValue a, RawValue b, const Run& items,
                             std::uint32_t depth) {
  const LispValue arguments[] = {LispValue::adopt(a), LispValue::adopt(b)};
  return callBuiltinWith(name, arguments, items, depth);
}

// 1+, 1-, CAR and CDR of one argument; other counts and kinds are the builtin's own work.
template <Operation operation>
Result Interpreter::callUnary(Symbol& name, const Run& items, std::uint32_t depth) {
  if (items.full_length == 2) {
    const RawValue* const argument = peek(items.slots()[1]);
    if (argument != nullptr && isApplicable<operation>(*argument) && countSteps(1, depth)) {
      return applyUnary<operation>(*argument);
    }
  }
  return callBuiltin(name, Operation::Builtin, items, depth);
}

Result Interpreter::callCons(Symbol& name, const Run& items, std::uint32_t depth) {
  if (items.full_length != 3) return callBuiltin(name, Operation::Builtin, items, depth);
  const Result first = evaluateHere(items.slots()[1], depth);
  if (first.failed()) return first;
  const Result rest = evaluateHere(items.slots()[2], depth);
  if (rest.failed()) {
    release(first.raw);
    return rest;
  }
  return construct(first.raw, rest.raw);
}

// The arguments move from the stack into the list.
Result Interpreter::callList(const Run& items, std::uint32_t depth) {
  const std::size_t first_argument = stack_.size();
  if (!evaluateArguments({items.slots(), items.full_length}, depth, stack_)) {
    return Result::failure();
  }
  const RawValue list = makeList(stack_.data() + first_argument, stack_.size() - first_argument);
  dropArguments(first_argument);
  return list;
}

}  // namespace lisp
