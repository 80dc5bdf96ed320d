// LiteralValue, the value type of the literal implementation.
//
// The literal implementation (the files literal_*) is a second, deliberately slow build of the
// language. It shares the frame header's constants with the worker (worker/frame.h), and no code.
// Every rule is written out in the plainest way that comes to mind: values are deep-copied, names
// are compared as strings, recursion follows the data. It exists to be obviously right, so that the
// worker's own fast build can be compared with it byte for byte. Use it with programs of sane size
// only: copying, comparing, destroying and encoding recurse as deep as the value nests.

#ifndef TESTING_REFERENCE_LITERAL_VALUE_H_
#define TESTING_REFERENCE_LITERAL_VALUE_H_

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace lisp_worker::testing_support {

enum class LiteralKind : std::uint8_t { Nil = 0, Number = 1, String = 2, Symbol = 3, List = 4 };

// One value. Only the member that the kind names is meaningful: `number` for Number, `text` for
// String and Symbol, `elements` for List. A copy owns everything it shows.
struct LiteralValue {
  LiteralKind kind = LiteralKind::Nil;
  double number = 0.0;
  std::string text;
  std::vector<LiteralValue> elements;
};

// Makers. A symbol's name is taken as given; folding case is the reader's work.
LiteralValue literalNil();
LiteralValue literalNumber(double number);
LiteralValue literalString(std::string text);
LiteralValue literalSymbol(std::string name);
LiteralValue literalList(std::vector<LiteralValue> elements);
// The symbol T, the one truth value that predicates return.
LiteralValue literalTruth();

// Everything but Nil is true: the empty list, zero and the empty string included.
[[nodiscard]] bool literalIsTrue(const LiteralValue& value);

// True when `value` is a list of numbers only. The empty list is one, Nil is not.
[[nodiscard]] bool literalIsNumberList(const LiteralValue& value);

// True when `value` is a list whose first element is the symbol $KVSEL.
[[nodiscard]] bool literalIsSelectionSet(const LiteralValue& value);

// Structural equality: kinds never mix, -0.0 equals 0.0, NaN equals nothing, itself included.
[[nodiscard]] bool literalValuesEqual(const LiteralValue& a, const LiteralValue& b);

// The cost of copying `value`: one for every value in the tree and one for every 16 bytes of text.
[[nodiscard]] std::size_t literalCopyCost(const LiteralValue& value);

// Prints the text form, for messages of failing tests.
void PrintTo(const LiteralValue& value, std::ostream* out);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_REFERENCE_LITERAL_VALUE_H_
