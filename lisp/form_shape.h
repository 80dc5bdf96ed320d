// The shape of a list form for the evaluator: found out when it is evaluated for the second time,
// so that what the first time found is not asked again.
//
// A form has its shape in its chunk, where a digest would be: what is evaluated comes from program
// text and is never compared, and nothing that can be compared is ever evaluated. A shape is an
// index of kFormEvaluators (lisp/evaluate.h). What the form's name stands for is a part of it, and
// is the one thing about a form that can change: so each evaluator begins with the question whether
// its operation still holds.

#ifndef LISP_FORM_SHAPE_H_
#define LISP_FORM_SHAPE_H_

#include <cstdint>

#include "lisp/list.h"
#include "lisp/symbol.h"

namespace lisp {

// Where the evaluator treats the kinds of operands apart.
enum class Operand : std::uint8_t { Form, Variable, Number };

inline constexpr std::uint32_t kOperandKinds = 3;

[[nodiscard]] constexpr std::uint32_t indexOf(Operation operation) {
  return static_cast<std::uint32_t>(operation);
}
[[nodiscard]] constexpr std::uint32_t indexOf(Operand operand) {
  return static_cast<std::uint32_t>(operand);
}

// Arithmetic and comparison, of two operands mostly, and the operations of one.
inline constexpr Operation kFirstNumeric = Operation::Add;
inline constexpr Operation kLastNumeric = Operation::GreaterOrEqual;
inline constexpr Operation kFirstUnary = Operation::Increment;
inline constexpr Operation kLastUnary = Operation::Length;

static_assert(indexOf(kLastNumeric) - indexOf(kFirstNumeric) == 9 &&
                  indexOf(kLastUnary) - indexOf(kFirstUnary) == 4,
              "shapes are counted from the first operation of a group to its last");

[[nodiscard]] constexpr bool isNumeric(Operation operation) {
  return operation >= kFirstNumeric && operation <= kLastNumeric;
}
[[nodiscard]] constexpr bool isComparison(Operation operation) {
  return operation >= Operation::NumberEqual && operation <= Operation::GreaterOrEqual;
}
[[nodiscard]] constexpr bool isUnary(Operation operation) {
  return operation >= kFirstUnary && operation <= kLastUnary;
}

// The shapes. Beside each is how many more instructions the workload of bench/count_instructions
// takes that needs it most, when lists of this shape are evaluated without it.
//
// kUnseenShape = 0, kEmptyListShape = 1 (lisp/list.h)
inline constexpr FormShape kSeenShape = 2;           // Evaluated once.
inline constexpr FormShape kSetSymbolShape = 3;      // SETQ of one pair with a symbol: 7 %.
inline constexpr FormShape kPlainCallShape = 4;      // User function; no argument assigns: 31 %.
inline constexpr FormShape kBuiltinAtHandShape = 5;  // Builtin of variables and literals: 24 %.
inline constexpr FormShape kCarChainShape = 6;       // CAR of CDR upon CDR of a variable, and
inline constexpr FormShape kCdrChainShape = 7;       // CDR of the same: 16 %.
inline constexpr FormShape kConsAtHandShape = 8;     // CONS of variables or literals: 12 %.
// Of observed programs (lisp/observer.h). These forms keep their shape for good.
inline constexpr FormShape kObservedShape = 9;       // A list that is evaluated;
inline constexpr FormShape kObservedAtomShape = 10;  // an atom that is, wrapped in a list of one.

// Then for each operation any form of it. As conditions, AND, OR and NOT are evaluated for their
// truth only: 29 %, and 18 % for NOT.
inline constexpr FormShape kOperationShapes = 11;
[[nodiscard]] constexpr FormShape shapeOfOperation(Operation operation) {
  return kOperationShapes + indexOf(operation);
}

// Then arithmetic and comparison of two operands, by the kinds of these: 88 % together; 21 % where
// the first is a form, 15 % where only the second is, 18 % for comparisons as conditions.
inline constexpr FormShape kNumericShapes = shapeOfOperation(Operation::Unresolved);
[[nodiscard]] constexpr FormShape shapeOfNumeric(Operation operation, Operand first,
                                                 Operand second) {
  const std::uint32_t row = indexOf(operation) - indexOf(kFirstNumeric);
  return kNumericShapes + (row * kOperandKinds + indexOf(first)) * kOperandKinds + indexOf(second);
}

// Then the operations of one operand, of a variable: 33 %.
inline constexpr FormShape kUnaryShapes =
    shapeOfNumeric(kLastNumeric, Operand::Number, Operand::Number) + 1;
[[nodiscard]] constexpr FormShape shapeOfVariable(Operation operation) {
  return kUnaryShapes + indexOf(operation) - indexOf(kFirstUnary);
}

inline constexpr FormShape kShapeCount = shapeOfVariable(kLastUnary) + 1;

// The name that a list begins with, and what it means now. It must begin with one.
[[nodiscard]] inline Symbol& nameOf(const Chunk& items) { return symbolOf(items.slots()[0].raw()); }
[[nodiscard]] inline Operation operationOf(const Chunk& items) { return nameOf(items).operation; }

// False in a build for debugging (LISP_PLAIN_FORMS): there all forms of an operation have one
// shape.
#ifdef LISP_PLAIN_FORMS
inline constexpr bool kHasSpecialShapes = false;
#else
inline constexpr bool kHasSpecialShapes = true;
#endif

// The shape of a list that begins with a name whose operation is known.
[[nodiscard]] FormShape shapeOf(const Chunk& items);

}  // namespace lisp

#endif  // LISP_FORM_SHAPE_H_
