// How builtin functions reach the evaluator: as rows of tables.

#ifndef LISP_BUILTIN_H_
#define LISP_BUILTIN_H_

#include <cstdint>
#include <span>
#include <string_view>

#include "lisp/symbol.h"
#include "lisp/value.h"

namespace lisp {

class Interpreter;

// What an evaluation yields inside the evaluator: the two words of a value, in registers, or the
// mark that it failed; what failed is parked in the interpreter then. Whoever receives a Result
// holds its value and must hand it on, adopt it or release it.
struct [[nodiscard]] Result {
  RawValue raw;

  Result(const RawValue& value) : raw(value) {}        // NOLINT(google-explicit-constructor)
  Result(LispValue&& value) : raw(value.release()) {}  // NOLINT(google-explicit-constructor)
  [[nodiscard]] static Result failure() { return {RawValue::of(Tag::Failed)}; }

  [[nodiscard]] bool failed() const { return raw.tag() == Tag::Failed; }
};

// One call of a builtin. Borrowed for the call.
struct BuiltinCall {
  std::string_view name;                 // As called, upper case.
  std::span<const LispValue> arguments;  // Evaluated; empty when the builtin evaluates them itself.
  std::span<const LispValue> items;      // The whole form, the function symbol included.
  std::uint32_t depth;                   // At which the argument forms are to be evaluated.
};

using BuiltinFunction = Result (*)(Interpreter&, const BuiltinCall&);

enum class Arguments : std::uint8_t { Evaluated, Unevaluated };

// A row of a table. Rows live as long as the process.
struct Builtin {
  std::string_view name;
  BuiltinFunction function;
  Arguments arguments = Arguments::Evaluated;
  // Not Operation::Builtin for those that the evaluator knows by heart: it performs their common
  // case itself and calls `function` for everything else, errors included. Of LIST nothing is left.
  Operation operation = Operation::Builtin;
};

// Makes the rows known under their names, for the whole process. A later row of a name replaces an
// earlier one.
void installBuiltins(std::span<const Builtin> builtins);

// Arithmetic, comparison, lists and output.
[[nodiscard]] std::span<const Builtin> coreBuiltins();

}  // namespace lisp

#endif  // LISP_BUILTIN_H_
