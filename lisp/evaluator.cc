// The evaluator: a recursive walk over the forms that the reader built, bounded by the depth limit.

#include <array>
#include <cassert>
#include <cstddef>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#include "lisp/arithmetic.h"
#include "lisp/builtin.h"
#include "lisp/core_builtins.h"
#include "lisp/evaluate.h"
#include "lisp/form_shape.h"
#include "lisp/interpreter.h"

namespace lisp {
namespace {

// What a comparison yields, and a Result, to who wants a value and to who wants a truth only.
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
    return truthOf(result);
  } else {
    return result;
  }
}

// Whether applyNumeric may be called: a refused divisor is left to the builtin, which knows the
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
  assert(isApplicable<operation>(argument));
  if constexpr (operation == Operation::Increment) {
    return RawValue::ofNumber(argument.number + 1.0);
  } else if constexpr (operation == Operation::Decrement) {
    return RawValue::ofNumber(argument.number - 1.0);
  } else if constexpr (operation == Operation::Length) {
    return RawValue::ofNumber(static_cast<double>(argument.length()));
  } else if constexpr (operation == Operation::Car) {
    const RawValue& first = runOf(argument).own(argument.length()).raw();
    retain(first);
    return first;
  } else {
    static_assert(operation == Operation::Cdr);
    return restOf(argument);
  }
}

// What a variable, which may be unbound, or a literal stands for.
const RawValue& valueAtHand(const LispValue& form) {
  return form.raw().tag() == Tag::Symbol ? symbolOf(form.raw()).value : form.raw();
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

Result Interpreter::evaluateEmptyList(Run& /*items*/, std::uint32_t /*depth*/) { return nil(); }

// Any list but the empty one, whatever its name stands for now. That holds for the rest of the run
// or until a DEFUN.
[[gnu::always_inline]] inline Result Interpreter::evaluateNamed(Run& items, std::uint32_t depth) {
  const RawValue& first = items.slots()[0].raw();
  if (first.tag() != Tag::Symbol) [[unlikely]] {
    if (!countSteps(1, depth - 1)) return failLimits();
    return fail("first list item must be a function symbol");
  }
  Symbol& name = symbolOf(first);
  if (name.operation == Operation::Unresolved) [[unlikely]]
    resolve(name);
  return kFormEvaluators.data()[shapeOfOperation(name.operation)].evaluate(*this, items, depth);
}

Result Interpreter::evaluateByName(Run& items, std::uint32_t depth) {
  return evaluateNamed(items, depth);
}

// A list that is evaluated for the first time, and perhaps the last.
Result Interpreter::evaluateFirst(Run& items, std::uint32_t depth) {
  items.setShape(kSeenShape);
  return evaluateNamed(items, depth);
}

// A list that is evaluated again: from now on by its shape.
Result Interpreter::evaluateSecond(Run& items, std::uint32_t depth) {
  const RawValue& first = items.slots()[0].raw();
  if (first.tag() == Tag::Symbol) {
    if (symbolOf(first).operation == Operation::Unresolved) resolve(symbolOf(first));
    items.setShape(shapeOf(items));
  }
  return evaluateNamed(items, depth);
}

Truth Interpreter::testAtom(const LispValue& form, std::uint32_t depth) {
  return truthOf(evaluateHere(form, depth));
}

// A condition that has no way of its own to tell its truth.
Truth Interpreter::testByValue(Interpreter& interpreter, Run& items, std::uint32_t depth) {
  return truthOf(evaluatorOf(items).evaluate(interpreter, items, depth));
}

bool Interpreter::evaluateArguments(std::span<const LispValue> items, std::uint32_t depth,
                                    std::vector<LispValue>& values) {
  assert(!items.empty());
  const std::size_t count = items.size() - 1;
  values.reserve(count);
  form_arguments_ += count;
  for (const LispValue& item : items.subspan(1)) {
    const Result value = evaluateHere(item, depth);
    if (value.failed()) return false;  // The run is over, and with it the count.
    values.push_back(LispValue::adopt(value.raw));
  }
  form_arguments_ -= count;
  return true;
}

Result Interpreter::callBuiltin(Run& items, std::uint32_t depth) {
  const std::size_t first_argument = arguments_.size();
  if (!pushArguments(items, depth)) return Result::failure();
  return callBuiltinWith(first_argument, items, depth);
}

// What the evaluator does not do itself, errors included, once the operands are evaluated: takes
// over the holds. The last operand may have failed.
Result Interpreter::callBuiltinOfOne(const Run& items, std::uint32_t depth, Result argument) {
  if (argument.failed()) return argument;
  arguments_.push(argument.raw);
  return callBuiltinWith(arguments_.size() - 1, items, depth);
}

Result Interpreter::callBuiltinOfPair(const Run& items, std::uint32_t depth, RawValue a, Result b) {
  if (b.failed()) {
    release(a);
    return b;
  }
  arguments_.push(a);
  arguments_.push(b.raw);
  return callBuiltinWith(arguments_.size() - 2, items, depth);
}

// Lends the items after the first, variables and literals, to arguments_. False at the first
// variable that has no value at hand.
[[gnu::always_inline]] inline bool Interpreter::lendArguments(const Run& items) {
  for (std::uint32_t i = 1; i < items.full_length; ++i) {
    const RawValue& value = valueAtHand(items.slots()[i]);
    if (value.tag() > Tag::List) [[unlikely]]
      return false;
    copyWords(arguments_.extend(), value);
  }
  return true;
}

// While the builtin has the arguments, nothing can change them. A builtin does not throw.
Result Interpreter::callBuiltinAtHand(Run& items, std::uint32_t depth) {
  if (operationOf(items) != Operation::Builtin || late_frame_ != 0) [[unlikely]]
    return evaluateByName(items, depth);
  const std::size_t first_argument = arguments_.size();
  if (!lendArguments(items) || !countSteps(items.full_length, depth)) [[unlikely]] {
    arguments_.truncate(first_argument);
    return evaluateByName(items, depth);
  }
  const Result result = callWith(first_argument, items, depth);
  arguments_.truncate(first_argument);
  return result;
}

Result Interpreter::callFormBuiltin(Run& items, std::uint32_t depth) {
  return callBuiltinWith(arguments_.size(), items, depth);
}

// The arguments are evaluated before the name is reported.
Result Interpreter::callUnknown(Run& items, std::uint32_t depth) {
  if (!pushArguments(items, depth)) return Result::failure();
  return fail("unsupported LISP function: ", nameOf(items).bytes());
}

// Calls a builtin with the arguments from `first_argument` on.
[[gnu::always_inline]] inline Result Interpreter::callWith(std::size_t first_argument,
                                                           const Run& items, std::uint32_t depth) {
  static_assert(sizeof(LispValue) == sizeof(RawValue));  // It has nothing but its raw value.
  const auto* const arguments =
      reinterpret_cast<const LispValue*>(arguments_.data() + first_argument);
  const Symbol& name = nameOf(items);
  const BuiltinCall call{name.bytes(),
                         {arguments, arguments_.size() - first_argument},
                         {items.slots(), items.full_length},
                         depth};
  assert(name.builtin->function != nullptr);
  return name.builtin->function(*this, call);
}

// The same, and drops the arguments.
Result Interpreter::callBuiltinWith(std::size_t first_argument, const Run& items,
                                    std::uint32_t depth) {
  const Result result = callWith(first_argument, items, depth);
  for (std::size_t i = first_argument; i < arguments_.size(); ++i) release(arguments_[i]);
  arguments_.truncate(first_argument);
  return result;
}

// What a comparison has that is not as it was when the form got its shape.
[[gnu::noinline]] Truth Interpreter::testByName(Run& items, std::uint32_t depth) {
  return truthOf(evaluateByName(items, depth));
}

template <typename Outcome>
Outcome Interpreter::startAgain(Run& items, std::uint32_t depth) {
  if constexpr (std::is_same_v<Outcome, Truth>) {
    return testByName(items, depth);
  } else {
    return evaluateByName(items, depth);
  }
}

// Arithmetic and comparison of two operands that need no evaluation, which most of all calls have.
// Whatever is in the way, nothing has happened yet.
template <Operation operation, Operand first, Operand second, typename Outcome>
Outcome Interpreter::callNumeric(Run& items, std::uint32_t depth) {
  if (operationOf(items) == operation) [[likely]] {
    const RawValue* const a = peek<first>(items.slots()[1]);
    const RawValue* const b = peek<second>(items.slots()[2]);
    if (a != nullptr && b != nullptr && a->tag() == Tag::Number && b->tag() == Tag::Number &&
        isApplicable<operation>(b->number) && countSteps(3, depth)) [[likely]] {
      return applyNumeric<operation, Outcome>(a->number, b->number);
    }
  }
  return startAgain<Outcome>(items, depth);
}

// The first operand needs no evaluation.
template <Operation operation, Operand first, typename Outcome>
Outcome Interpreter::callNumericWithForm(Run& items, std::uint32_t depth) {
  if (operationOf(items) == operation) [[likely]] {
    const RawValue* const peeked = peek<first>(items.slots()[1]);
    if (peeked != nullptr && peeked->tag() == Tag::Number && countSteps(2, depth)) [[likely]] {
      const double a = peeked->number;
      const Result b = evaluateList(items.slots()[2], depth);
      if (b.raw.tag() == Tag::Number && isApplicable<operation>(b.raw.number)) [[likely]]
        return applyNumeric<operation, Outcome>(a, b.raw.number);
      return outcome<Outcome>(callBuiltinOfPair(items, depth, RawValue::ofNumber(a), b.raw));
    }
  }
  return startAgain<Outcome>(items, depth);
}

// The first operand is a form.
template <Operation operation, Operand second, typename Outcome>
Outcome Interpreter::callNumericOfForm(Run& items, std::uint32_t depth) {
  if (operationOf(items) != operation || !countSteps(1, depth - 1)) [[unlikely]]
    return startAgain<Outcome>(items, depth);
  const Result a = evaluateList(items.slots()[1], depth);
  if constexpr (second != Operand::Form) {
    const RawValue* const b = peek<second>(items.slots()[2]);
    if (a.raw.tag() == Tag::Number && b != nullptr && b->tag() == Tag::Number &&
        isApplicable<operation>(b->number) && countSteps(1, depth)) [[likely]] {
      return applyNumeric<operation, Outcome>(a.raw.number, b->number);
    }
  } else if (a.raw.tag() == Tag::Number) [[likely]] {
    const Result b = evaluateList(items.slots()[2], depth);
    if (b.raw.tag() == Tag::Number && isApplicable<operation>(b.raw.number)) [[likely]]
      return applyNumeric<operation, Outcome>(a.raw.number, b.raw.number);
    return outcome<Outcome>(callBuiltinOfPair(items, depth, a.raw, b));
  }
  return outcome<Outcome>(finishNumeric<operation>(items, depth, a));
}

// The first operand is evaluated, or has failed. The second is of any kind.
template <Operation operation>
Result Interpreter::finishNumeric(const Run& items, std::uint32_t depth, Result a) {
  if (a.failed()) [[unlikely]]
    return a;
  const Result b = evaluateItem(items.slots()[2], depth);
  if (a.raw.tag() == Tag::Number && b.raw.tag() == Tag::Number &&
      isApplicable<operation>(b.raw.number)) [[likely]] {
    return applyNumeric<operation, Result>(a.raw.number, b.raw.number);
  }
  return callBuiltinOfPair(items, depth, a.raw, b);
}

// Arithmetic and comparison of whatever there is.
template <Operation operation>
Result Interpreter::callNumericOfAny(Run& items, std::uint32_t depth) {
  if (items.full_length != 3) return callBuiltin(items, depth);
  return finishNumeric<operation>(items, depth, evaluateItem(items.slots()[1], depth));
}

// CAR or CDR of CDR upon CDR of a variable, as in (CAR (CDR (CDR P))): no list in between is made.
template <Operation operation>
Result Interpreter::callChain(Run& items, std::uint32_t depth) {
  std::uint32_t links = 0;
  const RawValue* operand = &items.slots()[1].raw();
  bool is_chain = operationOf(items) == operation && late_frame_ == 0;
  for (; operand->tag() == Tag::List; operand = &runOf(*operand).slots()[1].raw()) {
    is_chain = is_chain && operationOf(runOf(*operand)) == Operation::Cdr;
    ++links;
  }
  const RawValue& list = symbolOf(*operand).value;
  if (!is_chain || list.tag() != Tag::List || list.length() <= links ||
      !countSteps(links + 2, depth + links)) [[unlikely]] {
    return evaluateByName(items, depth);
  }
  const std::uint32_t remaining = list.length() - links;
  Run* run = &runOf(list);
  if (remaining <= run->tailLength()) run = &const_cast<Run&>(findRun(*run, remaining));
  return applyUnary<operation>(RawValue::ofList(*run, remaining));
}

// 1+, 1-, CAR, CDR and LENGTH of a variable.
template <Operation operation>
Result Interpreter::callUnary(Run& items, std::uint32_t depth) {
  if (operationOf(items) == operation) [[likely]] {
    const RawValue* const argument = peek<Operand::Variable>(items.slots()[1]);
    if (argument != nullptr && isApplicable<operation>(*argument) && countSteps(2, depth))
        [[likely]] {
      return applyUnary<operation>(*argument);
    }
  }
  return evaluateByName(items, depth);
}

// The same of any operand.
template <Operation operation>
Result Interpreter::callUnaryOfAny(Run& items, std::uint32_t depth) {
  if (items.full_length != 2) [[unlikely]]
    return callBuiltin(items, depth);
  const Result argument = evaluateItem(items.slots()[1], depth);
  if (!isApplicable<operation>(argument.raw)) [[unlikely]]
    return callBuiltinOfOne(items, depth, argument.raw);
  const Result result = applyUnary<operation>(argument.raw);
  release(argument.raw);
  return result;
}

Result Interpreter::callCons(Run& items, std::uint32_t depth) {
  if (items.full_length != 3) return callBuiltin(items, depth);
  const Result first = evaluateHere(items.slots()[1], depth);
  if (first.failed()) return first;
  const Result rest = evaluateHere(items.slots()[2], depth);
  if (rest.failed()) {
    release(first.raw);
    return rest;
  }
  return construct(first.raw, rest.raw);
}

// Both operands are variables or literals.
Result Interpreter::consAtHand(Run& items, std::uint32_t depth) {
  if (operationOf(items) == Operation::Cons && late_frame_ == 0) [[likely]] {
    const RawValue& first = valueAtHand(items.slots()[1]);
    const RawValue& rest = valueAtHand(items.slots()[2]);
    if (first.tag() <= Tag::List && rest.tag() <= Tag::List && countSteps(3, depth)) [[likely]] {
      retain(first);
      retain(rest);
      return construct(first, rest);
    }
  }
  return evaluateByName(items, depth);
}

// The arguments move from the stack into the list.
Result Interpreter::callList(Run& items, std::uint32_t depth) {
  const std::size_t first_argument = arguments_.size();
  if (!pushArguments(items, depth)) return Result::failure();
  const RawValue list =
      makeList(arguments_.data() + first_argument, arguments_.size() - first_argument);
  arguments_.truncate(first_argument);
  return list;
}

// The tables of what evaluates a list: by the operation that its name stands for, and by operands.
struct EvaluatorTable {
  using I = Interpreter;

  // Calls a method that leaves it to others to count the step of the list.
  template <auto method>
  static Result counted(I& interpreter, Run& items, std::uint32_t depth) {
    if (!interpreter.countSteps(1, depth - 1)) return interpreter.failLimits();
    return (interpreter.*method)(items, depth);
  }

  // The same as long as the name of the list stands for `operation`. Special forms keep their
  // names.
  template <Operation operation, auto method>
  static Result guarded(I& interpreter, Run& items, std::uint32_t depth) {
    if (operationOf(items) != operation) [[unlikely]]
      return interpreter.evaluateByName(items, depth);
    return counted<method>(interpreter, items, depth);
  }

  template <auto method>
  static Result call(I& interpreter, Run& items, std::uint32_t depth) {
    return (interpreter.*method)(items, depth);
  }

  template <auto method>
  static Truth countedTest(I& interpreter, Run& items, std::uint32_t depth) {
    if (!interpreter.countSteps(1, depth - 1)) return truthOf(interpreter.failLimits());
    return (interpreter.*method)(items, depth);
  }

  template <auto method>
  static constexpr FormEvaluator specialForm() {
    return {counted<method>, I::testByValue};
  }
  template <auto method, auto test_method>
  static constexpr FormEvaluator condition() {
    return {counted<method>, countedTest<test_method>};
  }
  template <Operation operation, auto method>
  static constexpr FormEvaluator function() {
    return {guarded<operation, method>, I::testByValue};
  }

  template <FormShape index>
  static constexpr FormEvaluator ofOperation() {
    constexpr auto operation = static_cast<Operation>(index);
    switch (operation) {
      case Operation::Quote:
        return specialForm<&I::evaluateQuote>();
      case Operation::Setq:
        return specialForm<&I::evaluateSetq<false>>();
      case Operation::If:
        return specialForm<&I::evaluateIf>();
      case Operation::Progn:
        return specialForm<&I::evaluateProgn>();
      case Operation::While:
        return specialForm<&I::evaluateWhile>();
      case Operation::Defun:
        return specialForm<&I::evaluateDefun>();
      case Operation::And:
        return condition<&I::evaluateAnd, &I::testAnd>();
      case Operation::Or:
        return condition<&I::evaluateOr, &I::testOr>();
      case Operation::Not:
      case Operation::Null:
        return condition<&I::evaluateNot, &I::testNot>();
      case Operation::UserFunction:
        return function<operation, &I::applyFunction<false>>();
      case Operation::Cons:
        return function<operation, &I::callCons>();
      case Operation::List:
        return function<operation, &I::callList>();
      case Operation::Builtin:
        return function<operation, &I::callBuiltin>();
      case Operation::FormBuiltin:
        return function<operation, &I::callFormBuiltin>();
      case Operation::Unknown:
        return function<operation, &I::callUnknown>();
      default:
        if constexpr (isNumeric(operation)) {
          return function<operation, &I::callNumericOfAny<operation>>();
        } else if constexpr (isUnary(operation)) {
          return function<operation, &I::callUnaryOfAny<operation>>();
        }
    }
  }

  // By the kinds of both operands.
  template <Operation operation, Operand first, Operand second, typename Outcome>
  static Outcome numeric(I& interpreter, Run& items, std::uint32_t depth) {
    if constexpr (first == Operand::Form) {
      return interpreter.callNumericOfForm<operation, second, Outcome>(items, depth);
    } else if constexpr (second == Operand::Form) {
      return interpreter.callNumericWithForm<operation, first, Outcome>(items, depth);
    } else {
      return interpreter.callNumeric<operation, first, second, Outcome>(items, depth);
    }
  }

  template <FormShape index>
  static constexpr FormEvaluator ofNumeric() {
    constexpr auto operation = static_cast<Operation>(static_cast<std::size_t>(kFirstNumeric) +
                                                      index / (kOperandKinds * kOperandKinds));
    constexpr auto first = static_cast<Operand>(index / kOperandKinds % kOperandKinds);
    constexpr auto second = static_cast<Operand>(index % kOperandKinds);
    if constexpr (isComparison(operation)) {
      return {numeric<operation, first, second, Result>, numeric<operation, first, second, Truth>};
    } else {
      return {numeric<operation, first, second, Result>, I::testByValue};
    }
  }

  template <FormShape index>
  static constexpr FormEvaluator ofUnary() {
    constexpr auto operation = static_cast<Operation>(indexOf(kFirstUnary) + index);
    return {call<&I::callUnary<operation>>, I::testByValue};
  }

  template <FormShape index>
  static constexpr FormEvaluator ofShape() {
    if constexpr (index == kUnseenShape) {
      return {call<&I::evaluateFirst>, I::testByValue};
    } else if constexpr (index == kEmptyListShape) {
      return {counted<&I::evaluateEmptyList>, I::testByValue};
    } else if constexpr (index == kSeenShape) {
      return {call<&I::evaluateSecond>, I::testByValue};
    } else if constexpr (index == kCarChainShape) {
      return {call<&I::callChain<Operation::Car>>, I::testByValue};
    } else if constexpr (index == kCdrChainShape) {
      return {call<&I::callChain<Operation::Cdr>>, I::testByValue};
    } else if constexpr (index == kBuiltinAtHandShape) {
      return {call<&I::callBuiltinAtHand>, I::testByValue};
    } else if constexpr (index == kConsAtHandShape) {
      return {call<&I::consAtHand>, I::testByValue};
    } else if constexpr (index == kPlainCallShape) {
      return {call<&I::callPlainly>, I::testByValue};
    } else if constexpr (index == kSetSymbolsShape) {
      return {call<&I::setSymbols>, I::testByValue};
    } else if constexpr (index == kSetSymbolShape) {
      return {call<&I::setSymbol>, I::testByValue};
    } else if constexpr (index == kObservedShape) {
      return {call<&I::evaluateObserved>, I::testByValue};
    } else if constexpr (index == kObservedAtomShape) {
      return {call<&I::evaluateObservedAtom>, I::testByValue};
    } else if constexpr (index < kNumericShapes) {
      return ofOperation<index - kOperationShapes>();
    } else if constexpr (index < kUnaryShapes) {
      return ofNumeric<index - kNumericShapes>();
    } else {
      return ofUnary<index - kUnaryShapes>();
    }
  }

  template <FormShape... indexes>
  static constexpr std::array<FormEvaluator, kShapeCount> all(
      std::integer_sequence<FormShape, indexes...>) {
    return {ofShape<indexes>()...};
  }
};

constinit const std::array<FormEvaluator, kShapeCount> kFormEvaluators =
    EvaluatorTable::all(std::make_integer_sequence<FormShape, kShapeCount>());

}  // namespace lisp
