// By recursion over the whole value. literalCopyCost() lets the interpreter give up on programs
// whose copies would take too long.

#include "testing/reference/literal_value.h"

#include <utility>

#include "testing/reference/literal_encoder.h"

namespace lisp_worker::testing_support {

LiteralValue literalNil() { return LiteralValue{}; }

LiteralValue literalNumber(double number) {
  LiteralValue value;
  value.kind = LiteralKind::Number;
  value.number = number;
  return value;
}

LiteralValue literalString(std::string text) {
  LiteralValue value;
  value.kind = LiteralKind::String;
  value.text = std::move(text);
  return value;
}

LiteralValue literalSymbol(std::string name) {
  LiteralValue value;
  value.kind = LiteralKind::Symbol;
  value.text = std::move(name);
  return value;
}

LiteralValue literalList(std::vector<LiteralValue> elements) {
  LiteralValue value;
  value.kind = LiteralKind::List;
  value.elements = std::move(elements);
  return value;
}

LiteralValue literalTruth() { return literalSymbol("T"); }

bool literalIsTrue(const LiteralValue& value) { return value.kind != LiteralKind::Nil; }

bool literalIsNumberList(const LiteralValue& value) {
  if (value.kind != LiteralKind::List) return false;
  for (const LiteralValue& element : value.elements) {
    if (element.kind != LiteralKind::Number) return false;
  }
  return true;
}

bool literalIsSelectionSet(const LiteralValue& value) {
  if (value.kind != LiteralKind::List) return false;
  if (value.elements.empty()) return false;
  const LiteralValue& head = value.elements[0];
  return head.kind == LiteralKind::Symbol && head.text == "$KVSEL";
}

bool literalValuesEqual(const LiteralValue& a, const LiteralValue& b) {
  if (a.kind != b.kind) return false;
  switch (a.kind) {
    case LiteralKind::Nil:
      return true;
    case LiteralKind::Number:
      if (a.number != a.number || b.number != b.number) return false;
      return !(a.number < b.number) && !(a.number > b.number);
    case LiteralKind::String:
    case LiteralKind::Symbol:
      return a.text == b.text;
    case LiteralKind::List:
      break;
  }
  if (a.elements.size() != b.elements.size()) return false;
  for (std::size_t i = 0; i < a.elements.size(); ++i) {
    if (!literalValuesEqual(a.elements[i], b.elements[i])) return false;
  }
  return true;
}

std::size_t literalCopyCost(const LiteralValue& value) {
  std::size_t cost = 1 + value.text.size() / 16;
  for (const LiteralValue& element : value.elements) cost += literalCopyCost(element);
  return cost;
}

void PrintTo(const LiteralValue& value, std::ostream* out) { *out << literalEncodeValue(value); }

}  // namespace lisp_worker::testing_support
