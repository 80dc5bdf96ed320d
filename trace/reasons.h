// Why something is as it is in a run: where a value comes from, and why a form was not evaluated.

#ifndef TRACE_REASONS_H_
#define TRACE_REASONS_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "explain/evaluation.h"
#include "trace/index.h"

namespace trace {

// The steps that have handed the value of `step` on, from `step` itself to the one that has made
// it: a literal, a builtin, a host call, an IF without a branch to go on to. Variables lead to the
// form that they were given their value by, forms like IF and PROGN to their last part, and calls
// to the last form of the function's body. Ends early at a variable of an earlier program, at a
// local that was never assigned, and after kWayMax steps.
inline constexpr std::size_t kWayMax = 1000;
[[nodiscard]] std::vector<Position> originOf(const Index& index, Position step);

// A reason why a form was not evaluated.
struct Obstacle {
  enum class Kind : std::uint8_t {
    Condition,     // A condition that sends the run another way.
    NeverCalled,   // It is in a function that no form calls.
    NotReached,    // The run has ended before, here.
    Data,          // It is quoted.
    NotEvaluated,  // No form like this one evaluates its part there: a SETQ's name, a parameter.
  };
  Kind kind = Kind::NotReached;
  // The condition, the DEFUN, the form where the run has ended, the QUOTE, the form around it; null
  // if the program has nothing that could be named.
  const explain::Form* form = nullptr;
  Position step = 0;      // Of its last evaluation; 0 if it has none.
  std::size_t times = 0;  // The number of times that the condition went the other way.
};

// The obstacles on the way to the form: empty if it has been evaluated. A form in a function that
// was never called is followed to the calls, so there may be several; the last is the one that
// counts. `form` is a number in the program's forms_by_number.
[[nodiscard]] std::vector<Obstacle> whyNot(const Index& index,
                                           const explain::ProgramPointer& program,
                                           std::uint32_t form);

}  // namespace trace

#endif  // TRACE_REASONS_H_
