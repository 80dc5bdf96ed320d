// The evaluator: a recursive walk over the forms that the reader built, bounded by the depth limit.
//
// Every evaluation goes through evaluateForm (lisp/evaluate.h), which for a list calls the
// evaluator of its shape from the table at the end of this file. A list's first evaluation looks up
// what its name means; the second one gives it a shape (lisp/form_shape.h); from then on the
// shape's own evaluator is called. Here are the evaluators of builtins; lisp/special_forms.cc and
// lisp/user_call.cc have the others, and lisp/observer.cc those of observed programs.

#include <array>
#include <cassert>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "lisp/arithmetic.h"
#include "lisp/builtin.h"
#include "lisp/core_builtins.h"
#include "lisp/evaluate.h"
#include "lisp/form_shape.h"
#include "lisp/interpreter.h"

namespace lisp {

// --- Any form -----------------------------------------------------------------------------------

Result evaluateSymbolSlowly(Interpreter& interpreter, Symbol& symbol) {
  const RawValue* const value = interpreter.lookupVariable(symbol);
  if (value == nullptr) return interpreter.fail("unbound symbol: ", symbol.bytes());
  retain(*value);
  return *value;
}

namespace {

Result evaluateEmptyList(Interpreter& /*interpreter*/, Chunk& /*items*/, std::uint32_t /*depth*/) {
  return nil();
}

// Any list except the empty one, by what its name means now.
[[gnu::always_inline]] inline Result evaluateNamed(Interpreter& interpreter, Chunk& items,
                                                   std::uint32_t depth) {
  const RawValue& first = items.slots()[0].raw();
  if (first.tag() != Tag::Symbol) [[unlikely]] {
    if (!interpreter.countSteps(1, depth - 1)) return interpreter.failLimits();
    return interpreter.fail("first list item must be a function symbol");
  }
  Symbol& name = symbolOf(first);
  interpreter.bindings().resolve(name);
  return kFormEvaluators.data()[shapeOfOperation(name.operation)].evaluate(interpreter, items,
                                                                           depth);
}

// A list that is evaluated for the first time, and perhaps the last.
Result evaluateFirst(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  items.setShape(kSeenShape);
  return evaluateNamed(interpreter, items, depth);
}

// A list that is evaluated again: from now on by its shape.
Result evaluateSecond(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  const RawValue& first = items.slots()[0].raw();
  if (first.tag() == Tag::Symbol) {
    interpreter.bindings().resolve(symbolOf(first));
    items.setShape(shapeOf(items));
  }
  return evaluateNamed(interpreter, items, depth);
}

}  // namespace

Result evaluateByName(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  return evaluateNamed(interpreter, items, depth);
}

Truth testByName(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  return toTruth(evaluateByName(interpreter, items, depth));
}

namespace {

// --- Builtins in general ------------------------------------------------------------------------

// Calls a builtin with the arguments from `first_argument` on.
[[gnu::always_inline]] inline Result callWith(Interpreter& interpreter, std::size_t first_argument,
                                              const Chunk& items, std::uint32_t depth) {
  static_assert(sizeof(LispValue) == sizeof(RawValue));  // It has nothing but its raw value.
  const auto* const arguments =
      reinterpret_cast<const LispValue*>(interpreter.arguments().data() + first_argument);
  const Symbol& name = nameOf(items);
  const BuiltinCall call{name.bytes(),
                         {arguments, interpreter.arguments().size() - first_argument},
                         {items.slots(), items.flatLength()},
                         depth};
  assert(name.builtin->function != nullptr);
  return name.builtin->function(interpreter, call);
}

// The same, and drops the arguments.
Result callBuiltinWith(Interpreter& interpreter, std::size_t first_argument, const Chunk& items,
                       std::uint32_t depth) {
  Result result = callWith(interpreter, first_argument, items, depth);
  for (std::size_t i = first_argument; i < interpreter.arguments().size(); ++i)
    release(interpreter.arguments()[i]);
  interpreter.arguments().truncate(first_argument);
  return result;
}

Result callBuiltin(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  const std::size_t first_argument = interpreter.arguments().size();
  if (!pushArguments(interpreter, items, depth)) return Result::failure();
  return callBuiltinWith(interpreter, first_argument, items, depth);
}

// The builtin itself does the uncommon cases, errors included, with operands that are evaluated
// already. Takes over the holds. The last operand may have failed.
[[gnu::noinline]] Result callBuiltinOfOne(Interpreter& interpreter, const Chunk& items,
                                          std::uint32_t depth, Result argument) {
  if (argument.failed()) return argument;
  interpreter.arguments().push(argument.take());
  return callBuiltinWith(interpreter, interpreter.arguments().size() - 1, items, depth);
}

[[gnu::noinline]] Result callBuiltinOfPair(Interpreter& interpreter, const Chunk& items,
                                           std::uint32_t depth, Result a, Result b) {
  if (b.failed()) {
    a.drop();
    return b;
  }
  interpreter.arguments().push(a.take());
  interpreter.arguments().push(b.take());
  return callBuiltinWith(interpreter, interpreter.arguments().size() - 2, items, depth);
}

// The value in the record of a variable, which may be unbound, or a literal.
const RawValue& valueAtHand(const LispValue& form) {
  return form.raw().tag() == Tag::Symbol ? symbolOf(form.raw()).value : form.raw();
}

// Lends the items after the first, variables and literals, to the interpreter's arguments. False at
// the first variable that has no value at hand.
[[gnu::always_inline]] inline bool lendArguments(Interpreter& interpreter, const Chunk& items) {
  for (std::uint32_t i = 1; i < items.flatLength(); ++i) {
    const RawValue& value = valueAtHand(items.slots()[i]);
    if (value.tag() > Tag::List) [[unlikely]]
      return false;
    copyWords(interpreter.arguments().extend(), value);
  }
  return true;
}

// While the builtin has the arguments, nothing can change them. A builtin does not throw.
Result callBuiltinAtHand(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  const bool is_builtin = operationOf(items) == Operation::Builtin;
  if (!is_builtin || !interpreter.bindings().areAllAtHand()) [[unlikely]]
    return evaluateByName(interpreter, items, depth);
  const std::size_t first_argument = interpreter.arguments().size();
  if (!lendArguments(interpreter, items) || !interpreter.countSteps(items.flatLength(), depth))
      [[unlikely]] {
    interpreter.arguments().truncate(first_argument);
    return evaluateByName(interpreter, items, depth);
  }
  Result result = callWith(interpreter, first_argument, items, depth);
  interpreter.arguments().truncate(first_argument);
  return result;
}

Result callFormBuiltin(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  return callBuiltinWith(interpreter, interpreter.arguments().size(), items, depth);
}

// The arguments are evaluated before the name is reported.
Result callUnknown(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  if (!pushArguments(interpreter, items, depth)) return Result::failure();
  return interpreter.fail("unsupported LISP function: ", nameOf(items).bytes());
}

// --- Builtins that the evaluator performs itself ------------------------------------------------

// Their common cases; the functions in the rows of their tables have the rest
// (lisp/core_builtins.cc, which says what this is worth).

// The outcome of a comparison, or of a Result, as a value or as a truth.
template <typename Outcome>
inline Outcome outcome(bool holds) {
  if constexpr (std::is_same_v<Outcome, Truth>) {
    return holds ? Truth::Yes : Truth::No;
  } else {
    if (!holds) return RawValue();
    ++kTruthSymbol->references;
    return RawValue::of(Tag::Symbol, kTruthSymbol);
  }
}
template <typename Outcome>
inline Outcome outcome(Result result) {
  if constexpr (std::is_same_v<Outcome, Truth>) {
    return toTruth(std::move(result));
  } else {
    return result;
  }
}

// True when applyNumeric may be called: a refused divisor is left to the builtin, which knows the
// error.
template <Operation operation>
bool isApplicable(double b) {
  return operation != Operation::Divide || !isRefusedDivisor(b);
}

// The result of a builtin of two numbers. A sum begins with 0, so that of -0.0 and -0.0 is 0.
template <Operation operation, typename Outcome>
inline Outcome applyNumeric(double a, double b) {
  assert(isApplicable<operation>(b));
  if constexpr (operation == Operation::NumberEqual) {
    return outcome<Outcome>(a == b);
  } else if constexpr (operation == Operation::NumberNotEqual) {
    return outcome<Outcome>(a != b);
  } else if constexpr (operation == Operation::Less) {
    return outcome<Outcome>(a < b);
  } else if constexpr (operation == Operation::Greater) {
    return outcome<Outcome>(a > b);
  } else if constexpr (operation == Operation::LessOrEqual) {
    return outcome<Outcome>(a <= b);
  } else if constexpr (operation == Operation::GreaterOrEqual) {
    return outcome<Outcome>(a >= b);
  } else {
    const double first = operation == Operation::Add ? 0.0 + a : a;
    return outcome<Outcome>(RawValue::ofNumber(combine<operation>(first, b)));
  }
}

// True when applyUnary may be called; not for a failure, which is of none of these kinds.
template <Operation operation>
bool isApplicable(const RawValue& argument) {
  if (operation == Operation::Length) return argument.tag() == Tag::List;
  if (operation == Operation::Car || operation == Operation::Cdr) {
    return argument.tag() == Tag::List && argument.length() != 0;
  }
  return argument.tag() == Tag::Number;
}

// The result of a builtin of one argument.
template <Operation operation>
[[gnu::always_inline]] inline Result applyUnary(const RawValue& argument) {
  assert(isApplicable<operation>(argument));
  if constexpr (operation == Operation::Increment) {
    return RawValue::ofNumber(argument.number + 1.0);
  } else if constexpr (operation == Operation::Decrement) {
    return RawValue::ofNumber(argument.number - 1.0);
  } else if constexpr (operation == Operation::Length) {
    return RawValue::ofNumber(static_cast<double>(argument.length()));
  } else if constexpr (operation == Operation::Car) {
    const RawValue& first = chunkOf(argument).own(argument.length()).raw();
    retain(first);
    return first;
  } else {
    static_assert(operation == Operation::Cdr);
    return restOf(argument);
  }
}

// The value of an operand that is a variable, which may be unbound, or a number: borrowed, and
// without counting a step. Null when it must be searched.
template <Operand kind>
[[gnu::always_inline]] inline const RawValue* operandAtHand(Interpreter& interpreter,
                                                            const LispValue& form) {
  if constexpr (kind == Operand::Number) return &form.raw();
  return interpreter.bindings().areAllAtHand() ? &symbolOf(form.raw()).value : nullptr;
}

// The first operand is evaluated, or has failed. The second is of any kind; if it fails, it is no
// number, and callBuiltinOfPair passes the failure on.
template <Operation operation>
[[gnu::noinline]] Result finishNumeric(Interpreter& interpreter, const Chunk& items,
                                       std::uint32_t depth, Result a) {
  if (a.failed()) [[unlikely]]
    return a;
  Result b = evaluateItem(interpreter, items.slots()[2], depth);
  if (a.is(Tag::Number) && b.is(Tag::Number) && isApplicable<operation>(b.raw().number))
      [[likely]] {
    return applyNumeric<operation, Result>(a.raw().number, b.raw().number);
  }
  return callBuiltinOfPair(interpreter, items, depth, std::move(a), std::move(b));
}

// Fallback for a form whose operator or operands have changed since it got its shape.
template <typename Outcome>
Outcome startAgain(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  if constexpr (std::is_same_v<Outcome, Truth>) {
    return testByName(interpreter, items, depth);
  } else {
    return evaluateByName(interpreter, items, depth);
  }
}

// Arithmetic and comparison of two operands that need no evaluation, which most of all calls have.
// Falls back before any step is counted.
template <Operation operation, Operand first, Operand second, typename Outcome>
Outcome callNumeric(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  if (operationOf(items) == operation) [[likely]] {
    const RawValue* const a = operandAtHand<first>(interpreter, items.slots()[1]);
    const RawValue* const b = operandAtHand<second>(interpreter, items.slots()[2]);
    if (a != nullptr && b != nullptr && a->tag() == Tag::Number && b->tag() == Tag::Number &&
        isApplicable<operation>(b->number) && interpreter.countSteps(3, depth)) [[likely]] {
      return applyNumeric<operation, Outcome>(a->number, b->number);
    }
  }
  return startAgain<Outcome>(interpreter, items, depth);
}

// The first operand needs no evaluation.
template <Operation operation, Operand first, typename Outcome>
Outcome callNumericOfSecond(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  if (operationOf(items) == operation) [[likely]] {
    const RawValue* const peeked = operandAtHand<first>(interpreter, items.slots()[1]);
    if (peeked != nullptr && peeked->tag() == Tag::Number && interpreter.countSteps(2, depth))
        [[likely]] {
      const double a = peeked->number;
      Result b = evaluateList(interpreter, items.slots()[2], depth);
      if (b.is(Tag::Number) && isApplicable<operation>(b.raw().number)) [[likely]]
        return applyNumeric<operation, Outcome>(a, b.raw().number);
      return outcome<Outcome>(
          callBuiltinOfPair(interpreter, items, depth, RawValue::ofNumber(a), std::move(b)));
    }
  }
  return startAgain<Outcome>(interpreter, items, depth);
}

// The first operand is a form.
template <Operation operation, Operand second, typename Outcome>
Outcome callNumericOfFirst(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  if (operationOf(items) != operation || !interpreter.countSteps(1, depth - 1)) [[unlikely]]
    return startAgain<Outcome>(interpreter, items, depth);
  Result a = evaluateList(interpreter, items.slots()[1], depth);
  if constexpr (second != Operand::Form) {
    const RawValue* const b = operandAtHand<second>(interpreter, items.slots()[2]);
    if (a.is(Tag::Number) && b != nullptr && b->tag() == Tag::Number &&
        isApplicable<operation>(b->number) && interpreter.countSteps(1, depth)) [[likely]] {
      return applyNumeric<operation, Outcome>(a.raw().number, b->number);
    }
  } else if (a.is(Tag::Number)) [[likely]] {
    Result b = evaluateList(interpreter, items.slots()[2], depth);
    if (b.is(Tag::Number) && isApplicable<operation>(b.raw().number)) [[likely]]
      return applyNumeric<operation, Outcome>(a.raw().number, b.raw().number);
    return outcome<Outcome>(
        callBuiltinOfPair(interpreter, items, depth, std::move(a), std::move(b)));
  }
  return outcome<Outcome>(finishNumeric<operation>(interpreter, items, depth, std::move(a)));
}

// Arithmetic and comparison of whatever there is.
template <Operation operation>
Result callNumericOfAny(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  if (items.flatLength() != 3) return callBuiltin(interpreter, items, depth);
  return finishNumeric<operation>(interpreter, items, depth,
                                  evaluateItem(interpreter, items.slots()[1], depth));
}

// CAR or CDR of CDR upon CDR of a variable, as in (CAR (CDR (CDR P))): no list in between is made.
template <Operation operation>
Result callChain(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  std::uint32_t links = 0;
  const RawValue* operand = &items.slots()[1].raw();
  bool is_chain = operationOf(items) == operation && interpreter.bindings().areAllAtHand();
  for (; operand->tag() == Tag::List; operand = &chunkOf(*operand).slots()[1].raw()) {
    is_chain = is_chain && operationOf(chunkOf(*operand)) == Operation::Cdr;
    ++links;
  }
  const RawValue& list = symbolOf(*operand).value;
  if (!is_chain || list.tag() != Tag::List || list.length() <= links ||
      !interpreter.countSteps(links + 2, depth + links)) [[unlikely]] {
    return evaluateByName(interpreter, items, depth);
  }
  const std::uint32_t remaining = list.length() - links;
  Chunk* chunk = &chunkOf(list);
  if (remaining <= chunk->tailLength()) chunk = &const_cast<Chunk&>(findChunk(*chunk, remaining));
  return applyUnary<operation>(RawValue::ofList(*chunk, remaining));
}

// 1+, 1-, CAR, CDR and LENGTH of a variable.
template <Operation operation>
Result callUnary(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  if (operationOf(items) == operation) [[likely]] {
    const RawValue* const argument =
        operandAtHand<Operand::Variable>(interpreter, items.slots()[1]);
    if (argument != nullptr && isApplicable<operation>(*argument) &&
        interpreter.countSteps(2, depth)) [[likely]] {
      return applyUnary<operation>(*argument);
    }
  }
  return evaluateByName(interpreter, items, depth);
}

// The same of any operand.
template <Operation operation>
Result callUnaryOfAny(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  if (items.flatLength() != 2) [[unlikely]]
    return callBuiltin(interpreter, items, depth);
  Result argument = evaluateItem(interpreter, items.slots()[1], depth);
  if (!isApplicable<operation>(argument.raw())) [[unlikely]]
    return callBuiltinOfOne(interpreter, items, depth, std::move(argument));
  Result result = applyUnary<operation>(argument.raw());
  argument.drop();
  return result;
}

Result callCons(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  if (items.flatLength() != 3) return callBuiltin(interpreter, items, depth);
  Result first = evaluateForm(interpreter, items.slots()[1], depth);
  if (first.failed()) return first;
  Result rest = evaluateForm(interpreter, items.slots()[2], depth);
  if (rest.failed()) {
    first.drop();
    return rest;
  }
  return construct(first.take(), rest.take());
}

// Both operands are variables or literals.
Result consAtHand(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  if (operationOf(items) == Operation::Cons && interpreter.bindings().areAllAtHand()) [[likely]] {
    const RawValue& first = valueAtHand(items.slots()[1]);
    const RawValue& rest = valueAtHand(items.slots()[2]);
    if (first.tag() <= Tag::List && rest.tag() <= Tag::List && interpreter.countSteps(3, depth))
        [[likely]] {
      retain(first);
      retain(rest);
      return construct(first, rest);
    }
  }
  return evaluateByName(interpreter, items, depth);
}

// The arguments move from the stack into the list.
Result callList(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  const std::size_t first_argument = interpreter.arguments().size();
  if (!pushArguments(interpreter, items, depth)) return Result::failure();
  const RawValue list = makeList(interpreter.arguments().data() + first_argument,
                                 interpreter.arguments().size() - first_argument);
  interpreter.arguments().truncate(first_argument);
  return list;
}

// --- The table: by the operation that its name means, and by operands ---------------------------

using Evaluator = Result (*)(Interpreter&, Chunk& items, std::uint32_t depth);
using Test = Truth (*)(Interpreter&, Chunk& items, std::uint32_t depth);

// A condition that has no way of its own to tell its truth.
Truth testByValue(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  return toTruth(evaluatorOf(items).evaluate(interpreter, items, depth));
}

// Counts the step of the list for evaluators that leave it to others.
template <Evaluator evaluate>
Result afterStep(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  if (!interpreter.countSteps(1, depth - 1)) return interpreter.failLimits();
  return evaluate(interpreter, items, depth);
}
template <Test test>
Truth testAfterStep(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  if (!interpreter.countSteps(1, depth - 1)) return toTruth(interpreter.failLimits());
  return test(interpreter, items, depth);
}

// The same as long as the name of the list means `operation`. Special forms keep their names.
template <Operation operation, Evaluator evaluate>
Result ifStillMeant(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  if (operationOf(items) != operation) [[unlikely]]
    return evaluateByName(interpreter, items, depth);
  return afterStep<evaluate>(interpreter, items, depth);
}

template <FormShape index>
constexpr FormEvaluator ofOperation() {
  constexpr auto operation = static_cast<Operation>(index);
  switch (operation) {
    case Operation::Quote:
      return {afterStep<evaluateQuote>, testByValue};
    case Operation::Setq:
      return {afterStep<evaluateSetq<false>>, testByValue};
    case Operation::If:
      return {afterStep<evaluateIf>, testByValue};
    case Operation::Progn:
      return {afterStep<evaluateProgn>, testByValue};
    case Operation::While:
      return {afterStep<evaluateWhile>, testByValue};
    case Operation::Defun:
      return {afterStep<evaluateDefun>, testByValue};
    case Operation::And:
      return {afterStep<evaluateAnd>, testAfterStep<testAnd>};
    case Operation::Or:
      return {afterStep<evaluateOr>, testAfterStep<testOr>};
    case Operation::Not:
    case Operation::Null:
      return {afterStep<evaluateNot>, testAfterStep<testNot>};
    case Operation::UserFunction:
      return {ifStillMeant<operation, callFunction<false>>, testByValue};
    case Operation::Cons:
      return {ifStillMeant<operation, callCons>, testByValue};
    case Operation::List:
      return {ifStillMeant<operation, callList>, testByValue};
    case Operation::Builtin:
      return {ifStillMeant<operation, callBuiltin>, testByValue};
    case Operation::FormBuiltin:
      return {ifStillMeant<operation, callFormBuiltin>, testByValue};
    case Operation::Unknown:
      return {ifStillMeant<operation, callUnknown>, testByValue};
    default:
      if constexpr (isNumeric(operation)) {
        return {ifStillMeant<operation, callNumericOfAny<operation>>, testByValue};
      } else if constexpr (isUnary(operation)) {
        return {ifStillMeant<operation, callUnaryOfAny<operation>>, testByValue};
      }
  }
}

// By the kinds of both operands.
template <Operation operation, Operand first, Operand second, typename Outcome>
Outcome numeric(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  if constexpr (first == Operand::Form) {
    return callNumericOfFirst<operation, second, Outcome>(interpreter, items, depth);
  } else if constexpr (second == Operand::Form) {
    return callNumericOfSecond<operation, first, Outcome>(interpreter, items, depth);
  } else {
    return callNumeric<operation, first, second, Outcome>(interpreter, items, depth);
  }
}

template <FormShape index>
constexpr FormEvaluator ofNumeric() {
  constexpr auto operation =
      static_cast<Operation>(indexOf(kFirstNumeric) + index / (kOperandKinds * kOperandKinds));
  constexpr auto first = static_cast<Operand>(index / kOperandKinds % kOperandKinds);
  constexpr auto second = static_cast<Operand>(index % kOperandKinds);
  if constexpr (isComparison(operation)) {
    return {numeric<operation, first, second, Result>, numeric<operation, first, second, Truth>};
  } else {
    return {numeric<operation, first, second, Result>, testByValue};
  }
}

template <FormShape index>
constexpr FormEvaluator ofUnary() {
  return {callUnary<static_cast<Operation>(indexOf(kFirstUnary) + index)>, testByValue};
}

template <FormShape index>
constexpr FormEvaluator ofShape() {
  switch (index) {
    case kUnseenShape:
      return {evaluateFirst, testByValue};
    case kEmptyListShape:
      return {afterStep<evaluateEmptyList>, testByValue};
    case kSeenShape:
      return {evaluateSecond, testByValue};
    case kCarChainShape:
      return {callChain<Operation::Car>, testByValue};
    case kCdrChainShape:
      return {callChain<Operation::Cdr>, testByValue};
    case kBuiltinAtHandShape:
      return {callBuiltinAtHand, testByValue};
    case kConsAtHandShape:
      return {consAtHand, testByValue};
    case kPlainCallShape:
      return {callPlainly, testByValue};
    case kSetSymbolShape:
      return {setSymbol, testByValue};
    case kObservedShape:
      return {evaluateObserved, testByValue};
    case kObservedAtomShape:
      return {evaluateObservedAtom, testByValue};
    default:
      if constexpr (index >= kUnaryShapes) {
        return ofUnary<index - kUnaryShapes>();
      } else if constexpr (index >= kNumericShapes) {
        return ofNumeric<index - kNumericShapes>();
      } else if constexpr (index >= kOperationShapes) {
        return ofOperation<index - kOperationShapes>();
      }
  }
}

template <FormShape... indexes>
constexpr std::array<FormEvaluator, kShapeCount> evaluatorsOf(
    std::integer_sequence<FormShape, indexes...> /*shapes*/) {
  return {ofShape<indexes>()...};
}

}  // namespace

constinit const std::array<FormEvaluator, kShapeCount> kFormEvaluators =
    evaluatorsOf(std::make_integer_sequence<FormShape, kShapeCount>());

}  // namespace lisp
