// The evaluator's innermost steps, which every form goes through: in line, because half of what is
// evaluated are numbers and variables. For the evaluator's own files only.

#ifndef LISP_EVALUATE_H_
#define LISP_EVALUATE_H_

#include <utility>

#include "lisp/interpreter.h"

namespace lisp {

// 1. Count the step and check the limit. 2. Check the depth. 3. Evaluate by kind.
[[gnu::always_inline]] inline Result Interpreter::evaluateHere(const LispValue& form,
                                                               std::uint32_t depth) {
  if (steps_left_ == 0) [[unlikely]]
    return failStepLimit();
  --steps_left_;
  if (depth > depth_limit_) [[unlikely]]
    return failDepth();
  const RawValue& raw = form.raw();
  if (raw.tag == Tag::List) return evaluateList(runOf(raw), depth + 1);
  if (raw.tag == Tag::Symbol) {
    Symbol& symbol = symbolOf(raw);
    if (symbol.value.tag > Tag::List || symbol.owner < lazy_frame_) [[unlikely]] {
      return evaluateSymbolSlowly(symbol);
    }
    retain(symbol.value);
    return symbol.value;
  }
  if (raw.tag > Tag::List) [[unlikely]]
    return fail("invalid list");
  retain(raw);
  return raw;
}

// Makes `value` the value of the binding in force; takes over the hold.
[[gnu::always_inline]] inline void Interpreter::assign(Symbol& symbol, RawValue value) {
  if (symbol.owner == frame_ && symbol.value.tag <= Tag::List && pending_calls_ == 0) {
    // A binding of this call, or at top level a global that has been loaded.
    if (frame_ == 0) symbol.changed = true;
    release(std::exchange(symbol.value, value));
  } else {
    assignSlowly(symbol, value);
  }
}

}  // namespace lisp

#endif  // LISP_EVALUATE_H_
