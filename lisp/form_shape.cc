// A form gets its shape from its operation and its operands: (< I 10) is Less of a variable and a
// number.

#include "lisp/form_shape.h"

#include <algorithm>
#include <optional>

#include "lisp/work.h"

namespace lisp {
namespace {

std::optional<Operand> operandOf(const LispValue& form) {
  switch (form.raw().tag()) {
    case Tag::Number:
      return Operand::Number;
    case Tag::Symbol:
      return Operand::Variable;
    case Tag::List:
      return Operand::Form;
    default:
      return std::nullopt;
  }
}

// True when `form` is a CDR, or one upon another, of a variable.
bool isChain(const LispValue& form) {
  constexpr int kLinksMax = 8;
  const LispValue* operand = &form;
  for (int links = 0; links < kLinksMax && operandOf(*operand) == Operand::Form; ++links) {
    const Chunk& link = chunkOf(operand->raw());
    if (link.flatLength() != 2 || link.slots()[0].raw().tag() != Tag::Symbol ||
        operationOf(link) != Operation::Cdr) {
      return false;
    }
    operand = &link.slots()[1];
  }
  return operandOf(*operand) == Operand::Variable;
}

// The shape of 1+, 1-, CAR, CDR or LENGTH of one operand.
FormShape shapeOfUnary(Operation operation, const LispValue& operand) {
  if (operandOf(operand) == Operand::Variable) return shapeOfVariable(operation);
  if (operation == Operation::Car && isChain(operand)) return kCarChainShape;
  if (operation == Operation::Cdr && isChain(operand)) return kCdrChainShape;
  return shapeOfOperation(operation);
}

// True when all arguments are variables and literals.
bool hasAllAtHand(const Chunk& items) {
  return std::none_of(items.slots() + 1, items.slots() + items.flatLength(),
                      [](const LispValue& form) { return form.raw().tag() == Tag::List; });
}

// True when evaluating `form` may assign to a variable, as far as `budget` forms tell. The
// functions that it calls assign to bindings of their own. A plain call binds its arguments without
// a log, so none of them may assign to a local of the caller; SETQ keeps its meaning for good, so
// the answer does too.
bool mayAssign(const LispValue& form, std::uint32_t& budget) {
  if (form.raw().tag() != Tag::List || form.raw().length() == 0) return false;
  const Chunk& items = chunkOf(form.raw());
  const RawValue& first = items.slots()[0].raw();
  if (first.tag() == Tag::Symbol) {
    if (symbolOf(first).operation == Operation::Setq) return true;
    if (symbolOf(first).operation == Operation::Quote) return false;
  }
  for (std::uint32_t i = 1; i < items.flatLength(); ++i) {
    if (budget == 0) return true;
    --budget;
    if (mayAssign(items.slots()[i], budget)) return true;
  }
  return false;
}

// The same of the arguments of a call.
bool mayAssign(const Chunk& items) {
  constexpr std::uint32_t kFormsMax = 64;
  std::uint32_t budget = kFormsMax;
  const LispValue* const item = items.slots();
  return std::any_of(item + 1, item + items.flatLength(),
                     [&](const LispValue& argument) { return mayAssign(argument, budget); });
}

}  // namespace

FormShape shapeOf(const Chunk& items) {
  countWork(items.flatLength());
  const Operation operation = operationOf(items);
  if (!kHasSpecialShapes) return shapeOfOperation(operation);
  const LispValue* const item = items.slots();
  if (isNumeric(operation) && items.flatLength() == 3) {
    const std::optional<Operand> first = operandOf(item[1]);
    const std::optional<Operand> second = operandOf(item[2]);
    if (first && second) return shapeOfNumeric(operation, *first, *second);
  }
  if (isUnary(operation) && items.flatLength() == 2) return shapeOfUnary(operation, item[1]);
  if (operation == Operation::Builtin && hasAllAtHand(items)) return kBuiltinAtHandShape;
  if (operation == Operation::Cons && items.flatLength() == 3 && hasAllAtHand(items)) {
    return kConsAtHandShape;
  }
  if (operation == Operation::UserFunction && !mayAssign(items)) return kPlainCallShape;
  if (operation == Operation::Setq && items.flatLength() == 3 &&
      item[1].raw().tag() == Tag::Symbol) {
    return kSetSymbolShape;
  }
  return shapeOfOperation(operation);
}

}  // namespace lisp
