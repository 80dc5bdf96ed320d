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

inline Result makeTruth(bool holds) {
  if (!holds) return RawValue();
  ++kTruthSymbol->references;
  return RawValue::of(Tag::Symbol, kTruthSymbol);
}

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
      return RawValue::ofNumber(sum(0.0 + a, b));
    case Operation::Subtract:
      return RawValue::ofNumber(difference(a, b));
    case Operation::Multiply:
      return RawValue::ofNumber(product(a, b));
    case Operation::Divide:
      return RawValue::ofNumber(quotient(a, b));
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
  if (operation == Operation::Length) return argument.tag() == Tag::List;
  if (operation == Operation::Car || operation == Operation::Cdr) {
    return argument.tag() == Tag::List && argument.length() != 0;
  }
  return argument.tag() == Tag::Number;
}

// What a builtin of one argument yields.
template <Operation operation>
[[gnu::always_inline]] inline Result applyUnary(const RawValue& argument) {
  switch (operation) {
    case Operation::Increment:
      return RawValue::ofNumber(argument.number + 1.0);
    case Operation::Decrement:
      return RawValue::ofNumber(argument.number - 1.0);
    case Operation::Length:
      return RawValue::ofNumber(static_cast<double>(argument.length()));
    case Operation::Car: {
      const RawValue& first = runOf(argument).own(argument.length()).raw();
      retain(first);
      return first;
    }
    default:
      static_assert(operation <= Operation::Length);
      return restOf(argument);
  }
}

}  // namespace

Result Interpreter::evaluate(const LispValue& form, std::uint32_t depth) {
  return evaluateHere(form, depth);
}

// A list that begins with no name, or is empty.
Result Interpreter::evaluateOddList(const Run& items, std::uint32_t depth) {
  if (!countSteps(1, depth)) return failLimits();
  if (items.full_length == 0) return nil();
  return fail("first list item must be a function symbol");
}

// A symbol whose slot does not simply hold its value.
Result Interpreter::evaluateSymbolSlowly(Symbol& symbol) {
  const RawValue* const value = lookupVariable(symbol);
  if (value == nullptr) return fail("unbound symbol: ", symbol.bytes());
  retain(*value);
  return *value;
}

// Looks up what the name stands for, which holds for the rest of the run or until a DEFUN.
Result Interpreter::resolveAndEvaluate(Symbol& name, const Run& items, std::uint32_t depth) {
  resolve(name);
  return name.handler(*this, name, items, depth);
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

// Evaluates the two arguments of a call, which the caller then holds. False, and nothing is held,
// when one fails.
[[gnu::always_inline]] inline bool Interpreter::evaluatePair(const Run& items, std::uint32_t depth,
                                                             RawValue& a, RawValue& b) {
  const Result first = evaluateHere(items.slots()[1], depth);
  if (first.failed()) return false;
  const Result second = evaluateHere(items.slots()[2], depth);
  if (second.failed()) {
    release(first.raw);
    return false;
  }
  a = first.raw;
  b = second.raw;
  return true;
}

Result Interpreter::callBuiltin(Symbol& name, const Run& items, std::uint32_t depth) {
  const std::size_t first_argument = arguments_.size();
  if (!pushArguments(items, depth)) return Result::failure();
  return callBuiltinWith(name, first_argument, items, depth);
}

Result Interpreter::callFormBuiltin(Symbol& name, const Run& items, std::uint32_t depth) {
  return callBuiltinWith(name, arguments_.size(), items, depth);
}

// The arguments are evaluated before the name is reported.
Result Interpreter::callUnknown(Symbol& name, const Run& items, std::uint32_t depth) {
  if (!pushArguments(items, depth)) return Result::failure();
  return fail("unsupported LISP function: ", name.bytes());
}

// Calls a builtin with the arguments from `first_argument` on, and drops these.
Result Interpreter::callBuiltinWith(const Symbol& name, std::size_t first_argument,
                                    const Run& items, std::uint32_t depth) {
  static_assert(sizeof(LispValue) == sizeof(RawValue));  // It has nothing but its raw value.
  const auto* const arguments =
      reinterpret_cast<const LispValue*>(arguments_.data() + first_argument);
  const BuiltinCall call{name.bytes(),
                         {arguments, arguments_.size() - first_argument},
                         {items.slots(), items.full_length},
                         depth};
  const Result result = name.builtin->function(*this, call);
  for (std::size_t i = first_argument; i < arguments_.size(); ++i) release(arguments_[i]);
  arguments_.truncate(first_argument);
  return result;
}

// Arithmetic and comparison. Two numbers that need no evaluation are most of all calls.
template <Operation operation>
Result Interpreter::callNumeric(Symbol& name, const Run& items, std::uint32_t depth) {
  if (items.full_length == 3) {
    const RawValue* const a = peek(items.slots()[1]);
    const RawValue* const b = peek(items.slots()[2]);
    if (a != nullptr && b != nullptr && a->tag() == Tag::Number && b->tag() == Tag::Number &&
        isApplicable<operation>(b->number) && countSteps(3, depth)) {
      return applyNumeric<operation>(a->number, b->number);
    }
  }
  return callNumericOfForms<operation>(name, items, depth);
}

// Two operands of any form; other counts and other kinds are the builtin's own work.
template <Operation operation>
Result Interpreter::callNumericOfForms(Symbol& name, const Run& items, std::uint32_t depth) {
  if (!countSteps(1, depth - 1)) return failLimits();
  if (items.full_length != 3) return callBuiltin(name, items, depth);
  RawValue a;
  RawValue b;
  if (!evaluatePair(items, depth, a, b)) return Result::failure();
  if (a.tag() == Tag::Number && b.tag() == Tag::Number && isApplicable<operation>(b.number)) {
    return applyNumeric<operation>(a.number, b.number);
  }
  const std::size_t first_argument = arguments_.size();
  arguments_.push(a);
  arguments_.push(b);
  return callBuiltinWith(name, first_argument, items, depth);
}

// 1+, 1-, CAR, CDR and LENGTH. One argument that needs no evaluation is most of all calls.
template <Operation operation>
Result Interpreter::callUnary(Symbol& name, const Run& items, std::uint32_t depth) {
  if (items.full_length == 2) {
    const RawValue* const argument = peek(items.slots()[1]);
    if (argument != nullptr && isApplicable<operation>(*argument) && countSteps(2, depth)) {
      return applyUnary<operation>(*argument);
    }
  }
  return callUnaryOfForm<operation>(name, items, depth);
}

// One argument of any form; other counts and other kinds are the builtin's own work.
template <Operation operation>
Result Interpreter::callUnaryOfForm(Symbol& name, const Run& items, std::uint32_t depth) {
  if (!countSteps(1, depth - 1)) return failLimits();
  if (items.full_length != 2) return callBuiltin(name, items, depth);
  const Result argument = evaluateHere(items.slots()[1], depth);
  if (argument.failed()) return argument;
  if (!isApplicable<operation>(argument.raw)) {
    arguments_.push(argument.raw);
    return callBuiltinWith(name, arguments_.size() - 1, items, depth);
  }
  const Result result = applyUnary<operation>(argument.raw);
  release(argument.raw);
  return result;
}

Result Interpreter::callCons(Symbol& name, const Run& items, std::uint32_t depth) {
  if (items.full_length != 3) return callBuiltin(name, items, depth);
  RawValue first;
  RawValue rest;
  if (!evaluatePair(items, depth, first, rest)) return Result::failure();
  return construct(first, rest);
}

// The arguments move from the stack into the list.
Result Interpreter::callList(Symbol& /*name*/, const Run& items, std::uint32_t depth) {
  const std::size_t first_argument = arguments_.size();
  if (!pushArguments(items, depth)) return Result::failure();
  const RawValue list =
      makeList(arguments_.data() + first_argument, arguments_.size() - first_argument);
  arguments_.truncate(first_argument);
  return list;
}

template <auto method>
Result Interpreter::handle(Interpreter& interpreter, Symbol& name, const Run& items,
                           std::uint32_t depth) {
  if (!interpreter.countSteps(1, depth - 1)) return interpreter.failLimits();
  return (interpreter.*method)(name, items, depth);
}

// For methods that count their own step.
template <auto method>
Result Interpreter::handleUncounted(Interpreter& interpreter, Symbol& name, const Run& items,
                                    std::uint32_t depth) {
  return (interpreter.*method)(name, items, depth);
}

Handler handlerOf(Operation operation) {
  using I = Interpreter;
  switch (operation) {
    case Operation::Quote:
      return I::handle<&I::evaluateQuote>;
    case Operation::Setq:
      return I::handle<&I::evaluateSetq>;
    case Operation::If:
      return I::handle<&I::evaluateIf>;
    case Operation::Progn:
      return I::handle<&I::evaluateProgn>;
    case Operation::While:
      return I::handle<&I::evaluateWhile>;
    case Operation::Defun:
      return I::handle<&I::evaluateDefun>;
    case Operation::And:
      return I::handle<&I::evaluateAnd>;
    case Operation::Or:
      return I::handle<&I::evaluateOr>;
    case Operation::Not:
    case Operation::Null:
      return I::handle<&I::evaluateNot>;
    case Operation::UserFunction:
      return I::handle<&I::applyFunction>;
    case Operation::Add:
      return I::handleUncounted<&I::callNumeric<Operation::Add>>;
    case Operation::Subtract:
      return I::handleUncounted<&I::callNumeric<Operation::Subtract>>;
    case Operation::Multiply:
      return I::handleUncounted<&I::callNumeric<Operation::Multiply>>;
    case Operation::Divide:
      return I::handleUncounted<&I::callNumeric<Operation::Divide>>;
    case Operation::Increment:
      return I::handleUncounted<&I::callUnary<Operation::Increment>>;
    case Operation::Decrement:
      return I::handleUncounted<&I::callUnary<Operation::Decrement>>;
    case Operation::NumberEqual:
      return I::handleUncounted<&I::callNumeric<Operation::NumberEqual>>;
    case Operation::NumberNotEqual:
      return I::handleUncounted<&I::callNumeric<Operation::NumberNotEqual>>;
    case Operation::Less:
      return I::handleUncounted<&I::callNumeric<Operation::Less>>;
    case Operation::Greater:
      return I::handleUncounted<&I::callNumeric<Operation::Greater>>;
    case Operation::LessOrEqual:
      return I::handleUncounted<&I::callNumeric<Operation::LessOrEqual>>;
    case Operation::GreaterOrEqual:
      return I::handleUncounted<&I::callNumeric<Operation::GreaterOrEqual>>;
    case Operation::Car:
      return I::handleUncounted<&I::callUnary<Operation::Car>>;
    case Operation::Cdr:
      return I::handleUncounted<&I::callUnary<Operation::Cdr>>;
    case Operation::Length:
      return I::handleUncounted<&I::callUnary<Operation::Length>>;
    case Operation::Cons:
      return I::handle<&I::callCons>;
    case Operation::List:
      return I::handle<&I::callList>;
    case Operation::Builtin:
      return I::handle<&I::callBuiltin>;
    case Operation::FormBuiltin:
      return I::handle<&I::callFormBuiltin>;
    case Operation::Unknown:
      return I::handle<&I::callUnknown>;
    case Operation::Unresolved:
      break;
  }
  return I::handleUncounted<&I::resolveAndEvaluate>;
}

}  // namespace lisp
