#include "lisp/core_builtins.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <span>
#include <string_view>
#include <utility>

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

double numberAt(ArgumentSpan arguments, std::size_t index) { return arguments[index].raw().number; }

Result truthOf(bool holds) { return holds ? truth() : nil(); }

Result add(Interpreter& interpreter, const BuiltinCall& call) {
  if (!areNumbers(call.arguments)) return failWithName(interpreter, call, " expects numbers");
  double total = 0.0;
  for (const LispValue& argument : call.arguments) total = sum(total, argument.raw().number);
  return number(total);
}

Result subtract(Interpreter& interpreter, const BuiltinCall& call) {
  if (call.arguments.empty() || !areNumbers(call.arguments)) {
    return failWithName(interpreter, call, " expects numbers");
  }
  double rest = numberAt(call.arguments, 0);
  if (call.arguments.size() == 1) return number(-rest);
  for (const LispValue& argument : call.arguments.subspan(1)) {
    rest = difference(rest, argument.raw().number);
  }
  return number(rest);
}

Result multiply(Interpreter& interpreter, const BuiltinCall& call) {
  if (!areNumbers(call.arguments)) return failWithName(interpreter, call, " expects numbers");
  double total = 1.0;
  for (const LispValue& argument : call.arguments) total = product(total, argument.raw().number);
  return number(total);
}

Result divide(Interpreter& interpreter, const BuiltinCall& call) {
  if (call.arguments.empty() || !areNumbers(call.arguments)) {
    return failWithName(interpreter, call, " expects numbers");
  }
  double rest = numberAt(call.arguments, 0);
  for (const LispValue& argument : call.arguments.subspan(1)) {
    const double divisor = argument.raw().number;
    if (isRefusedDivisor(divisor)) return interpreter.fail("division by zero");
    rest = quotient(rest, divisor);
  }
  return number(rest);
}

Result increment(Interpreter& interpreter, const BuiltinCall& call) {
  if (call.arguments.size() != 1 || !areNumbers(call.arguments)) {
    return failWithName(interpreter, call, " expects one number");
  }
  return number(numberAt(call.arguments, 0) + 1.0);
}

Result decrement(Interpreter& interpreter, const BuiltinCall& call) {
  if (call.arguments.size() != 1 || !areNumbers(call.arguments)) {
    return failWithName(interpreter, call, " expects one number");
  }
  return number(numberAt(call.arguments, 0) - 1.0);
}

Result makeListOfArguments(Interpreter& /*interpreter*/, const BuiltinCall& call) {
  return list(call.arguments);
}

// The only list in a call of CAR or CDR that has a first element; null for every other call.
const LispValue* nonEmptyList(ArgumentSpan arguments) {
  if (arguments.size() != 1 || arguments[0].kind() != ValueKind::List) return nullptr;
  return arguments[0].raw().length() == 0 ? nullptr : &arguments[0];
}

Result car(Interpreter& /*interpreter*/, const BuiltinCall& call) {
  const LispValue* const value = nonEmptyList(call.arguments);
  if (value == nullptr) return nil();
  return LispValue(asList(*value)->front());
}

Result cdr(Interpreter& /*interpreter*/, const BuiltinCall& call) {
  const LispValue* const value = nonEmptyList(call.arguments);
  if (value == nullptr) return nil();
  return restOf(value->raw());
}

Result cons(Interpreter& interpreter, const BuiltinCall& call) {
  if (call.arguments.size() != 2) return interpreter.fail("cons expects two arguments");
  return construct(LispValue(call.arguments[0]).release(), LispValue(call.arguments[1]).release());
}

Result length(Interpreter& interpreter, const BuiltinCall& call) {
  if (call.arguments.size() != 1 || call.arguments[0].kind() != ValueKind::List) {
    return interpreter.fail("length expects list");
  }
  return number(static_cast<double>(call.arguments[0].raw().length()));
}

// EQ and EQUAL: both structural.
Result equal(Interpreter& interpreter, const BuiltinCall& call) {
  if (call.arguments.size() != 2) {
    return failWithName(interpreter, call, " expects two arguments");
  }
  return truthOf(valuesEqual(call.arguments[0], call.arguments[1]));
}

template <typename Relation>
Result compare(Interpreter& interpreter, const BuiltinCall& call) {
  if (call.arguments.size() != 2 || !areNumbers(call.arguments)) {
    return failWithName(interpreter, call, " expects two numbers");
  }
  return truthOf(Relation()(numberAt(call.arguments, 0), numberAt(call.arguments, 1)));
}

// PRINC and PRIN1: the worker has no output channel for programs.
Result lastArgument(Interpreter& /*interpreter*/, const BuiltinCall& call) {
  if (call.arguments.empty()) return nil();
  return LispValue(call.arguments.back());
}

constexpr std::array kCoreBuiltins = {
    Builtin{"+", add, Arguments::Evaluated, Operation::Add},
    Builtin{"-", subtract, Arguments::Evaluated, Operation::Subtract},
    Builtin{"*", multiply, Arguments::Evaluated, Operation::Multiply},
    Builtin{"/", divide, Arguments::Evaluated, Operation::Divide},
    Builtin{"1+", increment, Arguments::Evaluated, Operation::Increment},
    Builtin{"1-", decrement, Arguments::Evaluated, Operation::Decrement},
    Builtin{"LIST", makeListOfArguments, Arguments::Evaluated, Operation::List},
    Builtin{"CAR", car, Arguments::Evaluated, Operation::Car},
    Builtin{"CDR", cdr, Arguments::Evaluated, Operation::Cdr},
    Builtin{"CONS", cons, Arguments::Evaluated, Operation::Cons},
    Builtin{"LENGTH", length, Arguments::Evaluated, Operation::Length},
    Builtin{"EQ", equal},
    Builtin{"EQUAL", equal},
    Builtin{"=", compare<std::equal_to<>>, Arguments::Evaluated, Operation::NumberEqual},
    Builtin{"/=", compare<std::not_equal_to<>>, Arguments::Evaluated, Operation::NumberNotEqual},
    Builtin{"<", compare<std::less<>>, Arguments::Evaluated, Operation::Less},
    Builtin{">", compare<std::greater<>>, Arguments::Evaluated, Operation::Greater},
    Builtin{"<=", compare<std::less_equal<>>, Arguments::Evaluated, Operation::LessOrEqual},
    Builtin{">=", compare<std::greater_equal<>>, Arguments::Evaluated, Operation::GreaterOrEqual},
    Builtin{"PRINC", lastArgument},
    Builtin{"PRIN1", lastArgument},
};

}  // namespace

RawValue construct(RawValue first, RawValue rest) {
  if (rest.tag() == Tag::List) return prepend(first, rest);
  const std::array<RawValue, 2> elements = {first, rest};
  return makeList(elements.data(), rest.tag() == Tag::Nil ? 1 : 2);
}

std::span<const Builtin> coreBuiltins() { return kCoreBuiltins; }

}  // namespace lisp
