// Builtin functions, as rows of the tables by which they reach the evaluator.

#ifndef LISP_BUILTIN_H_
#define LISP_BUILTIN_H_

#include <cassert>
#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>

#include "lisp/symbol.h"
#include "lisp/value.h"

namespace lisp {

class Interpreter;

// The result of an evaluation inside the evaluator: a value with its hold, or the mark that it has
// failed; what failed is parked in the interpreter then. Two words, in registers.
//
// A hold is handed on exactly once: the Result is returned or moved, or its value is taken or
// dropped. A second hold does not compile, because a Result cannot be copied. One that is forgotten
// stops builds with assertions; the others pay nothing, because their Result has no destructor.
class [[nodiscard]] Result {
 public:
  // Take over the hold.
  Result(const RawValue& value) : raw_(value) {}     // NOLINT(google-explicit-constructor)
  Result(LispValue&& value) : raw_(value.take()) {}  // NOLINT(google-explicit-constructor)
  [[nodiscard]] static Result failure() { return {RawValue::of(Tag::Failed)}; }

  Result(const Result&) = delete;
  Result& operator=(const Result&) = delete;
#ifdef NDEBUG
  Result(Result&&) = default;
  Result& operator=(Result&&) = default;
#else
  Result(Result&& other) noexcept : raw_(other.moveOut()) {}
  Result& operator=(Result&& other) noexcept {
    assert(!isCounted(raw_));
    raw_ = other.moveOut();
    return *this;
  }
  ~Result() { assert(!isCounted(raw_)); }
#endif

  [[nodiscard]] bool failed() const { return raw_.tag() == Tag::Failed; }
  // True for a value of this kind. A failure is of none: where this holds, failed() does not.
  [[nodiscard]] bool is(Tag kind) const {
    assert(kind <= Tag::List);
    return raw_.tag() == kind;
  }
  // A look at the value, which stays with the Result.
  [[nodiscard]] const RawValue& raw() const { return raw_; }
  // Hands the hold to the caller and leaves nil. Not of a failure, which is to be passed on.
  [[nodiscard]] RawValue take() {
    assert(!failed());
    return moveOut();
  }
  // Gives the hold up and leaves nil. Not of a failure.
  void drop() { release(take()); }

 private:
  [[nodiscard]] RawValue moveOut() { return std::exchange(raw_, RawValue()); }

  RawValue raw_;
};

static_assert(!std::is_copy_constructible_v<Result> && !std::is_copy_assignable_v<Result>);

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
