// Makes observed programs and evaluates their forms.
//
// An observed form has a shape of its own, which stays: every evaluation of it is told. The copy of
// a program differs from the program in two ways. Its lists that are evaluated have that shape and
// a number. And its atoms that are evaluated, with the empty list, are wrapped in a list of one,
// because only a list has a shape: 5 becomes (5) with kObservedAtomShape, which evaluates its one
// item in its place. What is not evaluated, such as the name of a function, the target of a SETQ or
// what is quoted, stays as it is. That is known before the program runs, because special forms keep
// their names.

#include "lisp/observer.h"

#include <cassert>
#include <cstddef>
#include <utility>
#include <vector>

#include "lisp/evaluate.h"
#include "lisp/form_shape.h"
#include "lisp/interpreter.h"
#include "lisp/list.h"

namespace lisp {
namespace {

bool hasItems(const LispValue& form) {
  return form.raw().tag() == Tag::List && form.raw().length() != 0;
}

std::span<const LispValue> itemsOf(const LispValue& form) {
  const Chunk& items = chunkOf(form.raw());
  return {items.slots(), items.flatLength()};
}

// True when the item at `index` is evaluated, now or as the body of a function, of a list that
// begins with a name of `operation`.
bool isEvaluated(Operation operation, std::size_t index) {
  constexpr std::size_t kBodyIndex = 3;  // Of DEFUN.
  switch (operation) {
    case Operation::Quote:
      return false;
    case Operation::Setq:
      return index != 0 && index % 2 == 0;
    case Operation::Defun:
      return index >= kBodyIndex;
    default:
      return index != 0;
  }
}

// Makes the copy. It recurses as deep as the reader nests data, kNestingMax levels.
class Copier {
 public:
  [[nodiscard]] LispValue copy(const LispValue& form) {
    const FormNumber number = next_number_++;
    if (!hasItems(form)) return make({form}, kObservedAtomShape, number);
    const std::span<const LispValue> items = itemsOf(form);
    const RawValue& first = items[0].raw();
    const bool is_call = first.tag() == Tag::Symbol;  // Any other list fails before its items.
    std::vector<LispValue> copies;
    for (std::size_t i = 0; i < items.size(); ++i) {
      if (is_call && isEvaluated(symbolOf(first).base_operation, i)) {
        copies.push_back(copy(items[i]));
      } else {
        skip(items[i]);
        copies.push_back(items[i]);
      }
    }
    return make(std::move(copies), kObservedShape, number);
  }

 private:
  void skip(const LispValue& datum) {
    ++next_number_;
    if (!hasItems(datum)) return;
    for (const LispValue& item : itemsOf(datum)) skip(item);
  }

  static LispValue make(std::vector<LispValue> items, FormShape shape, FormNumber number) {
    std::vector<RawValue> raw;
    for (LispValue& item : items) raw.push_back(item.take());
    LispValue form = LispValue::adopt(makeLiteral(raw.data(), raw.size()));
    chunkOf(form.raw()).setShape(shape, number);
    return form;
  }

  FormNumber next_number_ = 0;
};

}  // namespace

void Observer::entered(FormNumber /*form*/) {}
void Observer::left(FormNumber /*form*/, const RawValue* /*value*/) {}
void Observer::assigned(const Symbol& /*variable*/, const RawValue* /*before*/,
                        const RawValue& /*value*/) {}
void Observer::called(const UserFunction& /*function*/) {}
void Observer::returned() {}
void Observer::hostCalled(std::string_view /*name*/, std::span<const LispValue> /*arguments*/) {}
void Observer::hostAnswered(const HostTranscriptEntry& /*entry*/) {}

LispValue observedProgram(const LispValue& forms) {
  if (!hasItems(forms)) return forms;
  Copier copier;
  std::vector<RawValue> copies;
  for (const LispValue& form : itemsOf(forms)) copies.push_back(copier.copy(form).take());
  return LispValue::adopt(makeLiteral(copies.data(), copies.size()));
}

namespace {

// Assignments and calls tell more than that they are entered and left.
Result evaluateByObservedName(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  const RawValue& first = items.slots()[0].raw();
  if (first.tag() != Tag::Symbol) return evaluateByName(interpreter, items, depth);
  Symbol& name = symbolOf(first);
  interpreter.bindings().resolve(name);
  if (name.operation != Operation::Setq && name.operation != Operation::UserFunction) {
    return evaluateByName(interpreter, items, depth);
  }
  if (!interpreter.countSteps(1, depth - 1)) return interpreter.failLimits();
  return name.operation == Operation::Setq ? evaluateSetq<true>(interpreter, items, depth)
                                           : callFunction<true>(interpreter, items, depth);
}

// A form is left even when it has failed. Evaluating it may drop the list itself.
template <typename Evaluate>
Result tell(Observer* observer, FormNumber number, const Evaluate& evaluate) {
  assert(observer != nullptr);
  observer->entered(number);
  Result result = evaluate();
  observer->left(number, result.failed() ? nullptr : &result.raw());
  return result;
}

}  // namespace

Result evaluateObserved(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  return tell(interpreter.observer(), items.formNumber(),
              [&] { return evaluateByObservedName(interpreter, items, depth); });
}

Result evaluateObservedAtom(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  return tell(interpreter.observer(), items.formNumber(),
              [&] { return interpreter.evaluate(items.slots()[0], depth - 1); });
}

}  // namespace lisp
