// The evaluator's innermost steps, which every form goes through: in line, because half of what is
// evaluated are numbers and variables. For the evaluator's own files only.
//
// An evaluator is a function that evaluates lists of one shape (lisp/form_shape.h). All have the
// same parameters: the interpreter; `items`, the chunk of the list, whose first item is its name;
// and `depth`, at which its parts are to be evaluated, one more than its own.
//
// Who counts which step: an evaluator counts the step of its own list, at depth - 1, before
// anything else happens, and the functions in this file count the steps of atoms. An evaluator that
// reads operands without evaluating them counts theirs together with its own, in one call of
// countSteps. If that is refused, or anything about the form has changed, nothing has been counted
// yet, and evaluateByName evaluates the form step by step: so errors and limits come in the order
// of the contract.

#ifndef LISP_EVALUATE_H_
#define LISP_EVALUATE_H_

#include <array>
#include <cassert>
#include <cstdint>
#include <span>

#include "lisp/form_shape.h"
#include "lisp/interpreter.h"
#include "lisp/list.h"
#include "lisp/symbol.h"

namespace lisp {

// The result of a condition.
enum class Truth : std::uint8_t { No, Yes, Failed };

// The function that evaluates lists of one shape.
struct FormEvaluator {
  Result (*evaluate)(Interpreter&, Chunk& items, std::uint32_t depth);
  // The same where only the truth of the value matters.
  Truth (*test)(Interpreter&, Chunk& items, std::uint32_t depth);
};

// By shape.
extern const std::array<FormEvaluator, kShapeCount> kFormEvaluators;

// Evaluates a list. Only what the reader has made is evaluated, and nothing of that has a
// digest; the hash of any other list would be taken for a shape.
[[nodiscard, gnu::always_inline]] inline const FormEvaluator& evaluatorOf(const Chunk& items) {
  assert(!items.isLinked() && items.shape() < kShapeCount);
  return kFormEvaluators.data()[items.shape()];
}

// The truth of a result, which it releases.
[[nodiscard]] inline Truth toTruth(Result result) {
  if (result.is(Tag::Nil)) return Truth::No;
  if (result.failed()) return Truth::Failed;
  result.drop();
  return Truth::Yes;
}

// --- Evaluators that other files define ---------------------------------------------------------

// evaluator.cc: as if the form had no shape; what a shape falls back on.
[[gnu::noinline]] Result evaluateByName(Interpreter& interpreter, Chunk& items,
                                        std::uint32_t depth);
[[gnu::noinline]] Truth testByName(Interpreter& interpreter, Chunk& items, std::uint32_t depth);

// special_forms.cc. These leave it to the table to count the step of the list.
Result evaluateQuote(Interpreter& interpreter, Chunk& items, std::uint32_t depth);
template <bool is_observed>
Result evaluateSetq(Interpreter& interpreter, Chunk& items, std::uint32_t depth);
Result evaluateIf(Interpreter& interpreter, Chunk& items, std::uint32_t depth);
Result evaluateProgn(Interpreter& interpreter, Chunk& items, std::uint32_t depth);
Result evaluateWhile(Interpreter& interpreter, Chunk& items, std::uint32_t depth);
Result evaluateDefun(Interpreter& interpreter, Chunk& items, std::uint32_t depth);
Result evaluateAnd(Interpreter& interpreter, Chunk& items, std::uint32_t depth);
Result evaluateOr(Interpreter& interpreter, Chunk& items, std::uint32_t depth);
Result evaluateNot(Interpreter& interpreter, Chunk& items, std::uint32_t depth);
Truth testAnd(Interpreter& interpreter, Chunk& items, std::uint32_t depth);
Truth testOr(Interpreter& interpreter, Chunk& items, std::uint32_t depth);
Truth testNot(Interpreter& interpreter, Chunk& items, std::uint32_t depth);
// This one counts it itself: kSetSymbolShape.
Result setSymbol(Interpreter& interpreter, Chunk& items, std::uint32_t depth);

// user_call.cc. The first leaves the step to the table, too; the second is kPlainCallShape.
template <bool is_observed>
Result callFunction(Interpreter& interpreter, Chunk& items, std::uint32_t depth);
Result callPlainly(Interpreter& interpreter, Chunk& items, std::uint32_t depth);

// observer.cc: kObservedShape and kObservedAtomShape.
Result evaluateObserved(Interpreter& interpreter, Chunk& items, std::uint32_t depth);
Result evaluateObservedAtom(Interpreter& interpreter, Chunk& items, std::uint32_t depth);

// evaluator.cc: a symbol whose record does not simply have its value.
Result evaluateSymbolSlowly(Interpreter& interpreter, Symbol& symbol);

// --- In line ------------------------------------------------------------------------------------

[[gnu::always_inline]] inline Result evaluateList(Interpreter& interpreter, const LispValue& form,
                                                  std::uint32_t depth) {
  Chunk& items = chunkOf(form.raw());
  return evaluatorOf(items).evaluate(interpreter, items, depth + 1);
}

// 1. Count the step and check the limit. 2. Check the depth. 3. Evaluate by kind. For a list its
// evaluator does all three.
[[gnu::always_inline]] inline Result evaluateForm(Interpreter& interpreter, const LispValue& form,
                                                  std::uint32_t depth) {
  const RawValue& raw = form.raw();
  if (raw.tag() == Tag::List) return evaluateList(interpreter, form, depth);
  if (!interpreter.countSteps(1, depth)) [[unlikely]]
    return interpreter.failLimits();
  if (raw.tag() == Tag::Symbol) {
    const RawValue* const value = interpreter.bindings().peek(symbolOf(raw));
    if (value == nullptr) [[unlikely]]
      return evaluateSymbolSlowly(interpreter, symbolOf(raw));
    retain(*value);
    return *value;
  }
  // By contract a value that is of no kind fails like a form. Only a defect of ours makes one.
  if (raw.tag() > Tag::List) [[unlikely]]
    return interpreter.fail("invalid list");
  retain(raw);
  return raw;
}

// The same where most of what comes are lists.
[[gnu::always_inline]] inline Result evaluateItem(Interpreter& interpreter, const LispValue& form,
                                                  std::uint32_t depth) {
  if (form.raw().tag() == Tag::List) [[likely]]
    return evaluateList(interpreter, form, depth);
  return interpreter.evaluate(form, depth);
}

// Evaluates forms, of which there must be one, and yields the value of the last.
[[gnu::always_inline]] inline Result evaluateSequence(Interpreter& interpreter,
                                                      std::span<const LispValue> forms,
                                                      std::uint32_t depth) {
  assert(!forms.empty());
  const LispValue* form = forms.data();
  for (const LispValue* const last = form + forms.size() - 1; form != last; ++form) {
    Result result = evaluateItem(interpreter, *form, depth);
    if (result.failed()) return result;
    result.drop();
  }
  return evaluateItem(interpreter, *form, depth);
}

// Evaluates a condition.
[[gnu::always_inline]] inline Truth testForm(Interpreter& interpreter, const LispValue& form,
                                             std::uint32_t depth) {
  if (form.raw().tag() != Tag::List) [[unlikely]]
    return toTruth(interpreter.evaluate(form, depth));
  Chunk& items = chunkOf(form.raw());
  return evaluatorOf(items).test(interpreter, items, depth + 1);
}

// Evaluates the items after the first, left to right, onto the interpreter's arguments. False at
// the first failure; what is there then stays until the run ends.
[[nodiscard, gnu::always_inline]] inline bool pushArguments(Interpreter& interpreter,
                                                            const Chunk& items,
                                                            std::uint32_t depth) {
  const LispValue* item = items.slots();
  for (std::uint32_t count = items.flatLength() - 1; count > 0; --count) {
    Result value = evaluateForm(interpreter, *++item, depth);
    if (value.failed()) [[unlikely]]
      return false;
    interpreter.arguments().push(value.take());
  }
  return true;
}

}  // namespace lisp

#endif  // LISP_EVALUATE_H_
