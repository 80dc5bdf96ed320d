// The evaluator: a recursive walk over the forms that the reader built, bounded by the depth limit.

#include <cmath>
#include <cstddef>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "lisp/builtin.h"
#include "lisp/core_builtins.h"
#include "lisp/evaluate.h"
#include "lisp/interpreter.h"

namespace lisp {
namespace {

// What a builtin of two numbers yields, when it yields a value at all: false sends the call to the
// builtin itself, which knows the errors.
template <Operation operation>
bool applyNumeric(double a, double b, RawValue& result) {
  if constexpr (operation >= Operation::NumberEqual) {
    const bool holds = operation == Operation::NumberEqual      ? a == b
                       : operation == Operation::NumberNotEqual ? a != b
                       : operation == Operation::Less           ? a < b
                       : operation == Operation::Greater        ? a > b
                       : operation == Operation::LessOrEqual    ? a <= b
                                                                : a >= b;
    result = (holds ? truth() : nil()).release();
    return true;
  }
  if (operation == Operation::Divide && isRefusedDivisor(b)) return false;
  result.tag = Tag::Number;
  result.length = 0;
  result.number = operation == Operation::Add        ? 0.0 + a + b
                  : operation == Operation::Subtract ? a - b
                  : operation == Operation::Multiply ? 1.0 * a * b
                                                     : a / b;
  return true;
}

RawValue makeNumber(double value) {
  RawValue raw;
  raw.tag = Tag::Number;
  raw.number = value;
  return raw;
}

}  // namespace

Result Interpreter::evaluate(const LispValue& form, std::uint32_t depth) {
  return evaluateHere(form, depth);
}

// A symbol whose slot does not simply hold its value.
Result Interpreter::evaluateSymbolSlowly(Symbol& symbol) {
  const RawValue* const value = lookupVariable(symbol);
  if (value == nullptr) return fail("unbound symbol: " + std::string(symbol.bytes()));
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
  Operation operation = name.operation;
  if (operation == Operation::Unresolved) [[unlikely]]
    operation = resolve(name);
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
      return callIncrement(name, 1.0, items, depth);
    case Operation::Decrement:
      return callIncrement(name, -1.0, items, depth);
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
    case Operation::Cdr:
      return callCarOrCdr(name, operation, items, depth);
    case Operation::Cons:
      return callCons(name, items, depth);
    case Operation::List:
      return callList(items, depth);
    case Operation::Builtin:
    case Operation::FormBuiltin:
    case Operation::Unknown:
    case Operation::Unresolved:
      return callBuiltin(name, operation, items, depth);
  }
  return Result::failure();
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
    return fail("unsupported LISP function: " + std::string(name.bytes()));
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

// Arithmetic and comparison of two numbers; all other calls are the builtin's own work.
template <Operation operation>
Result Interpreter::callNumeric(Symbol& name, const Run& items, std::uint32_t depth) {
  if (items.full_length != 3) return callBuiltin(name, Operation::Builtin, items, depth);
  const Result a = evaluateHere(items.slots()[1], depth);
  if (a.failed()) return a;
  const Result b = evaluateHere(items.slots()[2], depth);
  if (b.failed()) {
    release(a.raw);
    return b;
  }
  if (a.raw.tag == Tag::Number && b.raw.tag == Tag::Number) {
    RawValue result;
    if (applyNumeric<operation>(a.raw.number, b.raw.number, result)) return result;
  }
  const LispValue arguments[] = {LispValue::adopt(a.raw), LispValue::adopt(b.raw)};
  return callBuiltinWith(name, arguments, items, depth);
}

Result Interpreter::callIncrement(Symbol& name, double step, const Run& items,
                                  std::uint32_t depth) {
  if (items.full_length != 2) return callBuiltin(name, Operation::Builtin, items, depth);
  const Result a = evaluateHere(items.slots()[1], depth);
  if (a.failed()) return a;
  if (a.raw.tag == Tag::Number) return makeNumber(a.raw.number + step);
  const LispValue argument = LispValue::adopt(a.raw);
  return callBuiltinWith(name, {&argument, 1}, items, depth);
}

Result Interpreter::callCarOrCdr(Symbol& name, Operation operation, const Run& items,
                                 std::uint32_t depth) {
  if (items.full_length != 2) return callBuiltin(name, Operation::Builtin, items, depth);
  const Result list = evaluateHere(items.slots()[1], depth);
  if (list.failed()) return list;
  if (list.raw.tag != Tag::List || list.raw.length == 0) {
    release(list.raw);
    return nil();
  }
  if (operation == Operation::Cdr) return dropFirst(list.raw);
  const RawValue& first = runOf(list.raw).own(list.raw.length).raw();
  const RawValue element = first;
  retain(element);
  release(list.raw);
  return element;
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
