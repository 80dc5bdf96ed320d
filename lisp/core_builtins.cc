// The rows of the core builtins. The evaluator performs the common cases of most of them itself
// (lisp/evaluator.cc), so the functions here have the rest: other counts of arguments, and the
// errors.
//
// So + - * and / can be performed in two places, and both combine two numbers by combine()
// (lisp/core_builtins.h). With the functions here alone, recursion takes 83 % more instructions,
// list walking 60 % and points 48 % (bench/count_instructions). Of all other builtins that the
// evaluator performs, the functions here only refuse arguments.

#include "lisp/core_builtins.h"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

#include "lisp/arithmetic.h"
#include "lisp/builtin.h"
#include "lisp/interpreter.h"
#include "lisp/list.h"

namespace lisp {
namespace {

using ArgumentSpan = std::span<const LispValue>;

Result failWithName(Interpreter& interpreter, const BuiltinCall& call, std::string_view suffix) {
  return interpreter.fail(call.name, suffix);
}

bool areNumbers(ArgumentSpan arguments) {
  return std::all_of(arguments.begin(), arguments.end(),
                     [](const LispValue& value) { return value.kind() == ValueKind::Number; });
}

Result truthOf(bool holds) { return holds ? truth() : nil(); }

// +, -, * and / combine their numbers from left to right. + and * begin with 0 and 1, - and / with
// the first number.
template <Operation operation>
Result combineAll(Interpreter& interpreter, const BuiltinCall& call) {
  constexpr bool kNeedsOne = operation == Operation::Subtract || operation == Operation::Divide;
  ArgumentSpan operands = call.arguments;
  if ((kNeedsOne && operands.empty()) || !areNumbers(operands)) {
    return failWithName(interpreter, call, " expects numbers");
  }
  double result = operation == Operation::Multiply ? 1.0 : 0.0;
  if (kNeedsOne) {
    result = operands.front().raw().number;
    operands = operands.subspan(1);
    if (operation == Operation::Subtract && operands.empty()) return number(-result);
  }
  for (const LispValue& operand : operands) {
    const double value = operand.raw().number;
    if (operation == Operation::Divide && isRefusedDivisor(value)) {
      return interpreter.fail("division by zero");
    }
    result = combine<operation>(result, value);
  }
  return number(result);
}

// Of some builtins the evaluator leaves only calls with arguments that they refuse.

Result refuseOne(Interpreter& interpreter, const BuiltinCall& call) {
  return failWithName(interpreter, call, " expects one number");
}

Result refuseTwo(Interpreter& interpreter, const BuiltinCall& call) {
  return failWithName(interpreter, call, " expects two numbers");
}

Result refuseCons(Interpreter& interpreter, const BuiltinCall& /*call*/) {
  return interpreter.fail("cons expects two arguments");
}

Result refuseLength(Interpreter& interpreter, const BuiltinCall& /*call*/) {
  return interpreter.fail("length expects list");
}

// CAR and CDR of anything but one list with elements.
Result noElement(Interpreter& /*interpreter*/, const BuiltinCall& /*call*/) { return nil(); }

// EQ and EQUAL: both structural.
Result equal(Interpreter& interpreter, const BuiltinCall& call) {
  if (call.arguments.size() != 2) {
    return failWithName(interpreter, call, " expects two arguments");
  }
  return truthOf(valuesEqual(call.arguments[0], call.arguments[1]));
}

// PRINC and PRIN1: the worker has no output channel for programs.
Result lastArgument(Interpreter& /*interpreter*/, const BuiltinCall& call) {
  if (call.arguments.empty()) return nil();
  return LispValue(call.arguments.back());
}

// GCC 12 would leave a std::array of deduced size writable while the worker runs.
constexpr Builtin kCoreBuiltins[] = {
    {"+", combineAll<Operation::Add>, Arguments::Evaluated, Operation::Add},
    {"-", combineAll<Operation::Subtract>, Arguments::Evaluated, Operation::Subtract},
    {"*", combineAll<Operation::Multiply>, Arguments::Evaluated, Operation::Multiply},
    {"/", combineAll<Operation::Divide>, Arguments::Evaluated, Operation::Divide},
    {"1+", refuseOne, Arguments::Evaluated, Operation::Increment},
    {"1-", refuseOne, Arguments::Evaluated, Operation::Decrement},
    {"LIST", nullptr, Arguments::Evaluated, Operation::List},
    {"CAR", noElement, Arguments::Evaluated, Operation::Car},
    {"CDR", noElement, Arguments::Evaluated, Operation::Cdr},
    {"CONS", refuseCons, Arguments::Evaluated, Operation::Cons},
    {"LENGTH", refuseLength, Arguments::Evaluated, Operation::Length},
    {"EQ", equal},
    {"EQUAL", equal},
    {"=", refuseTwo, Arguments::Evaluated, Operation::NumberEqual},
    {"/=", refuseTwo, Arguments::Evaluated, Operation::NumberNotEqual},
    {"<", refuseTwo, Arguments::Evaluated, Operation::Less},
    {">", refuseTwo, Arguments::Evaluated, Operation::Greater},
    {"<=", refuseTwo, Arguments::Evaluated, Operation::LessOrEqual},
    {">=", refuseTwo, Arguments::Evaluated, Operation::GreaterOrEqual},
    {"PRINC", lastArgument},
    {"PRIN1", lastArgument},
};

}  // namespace

RawValue construct(RawValue first, RawValue rest) {
  if (rest.tag() == Tag::List) return prepend(first, rest);
  const std::array<RawValue, 2> elements = {first, rest};
  return makeList(elements.data(), rest.tag() == Tag::Nil ? 1 : 2);
}

std::span<const Builtin> coreBuiltins() { return kCoreBuiltins; }

}  // namespace lisp
