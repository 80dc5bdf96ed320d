// Condition: an expression whose value is asked for at moments of a run: when did it become true?

#ifndef TRACE_CONDITION_H_
#define TRACE_CONDITION_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lisp/environment.h"
#include "lisp/value.h"
#include "trace/index.h"

namespace trace {

// An expression that is evaluated at moments of a run, with the variables of the moment and the
// functions of the run's end. It must not ask the host.
class Condition {
 public:
  // The step limit of one evaluation, and of all together that look for a moment.
  static constexpr std::uint64_t kStepsMax = 10000;
  static constexpr std::uint64_t kSearchStepsMax = 4000000;

  Condition(const Index& index, std::string_view text);

  // Why the text cannot be read; empty if it can.
  [[nodiscard]] const std::string& error() const { return error_; }

  // The value; nothing after a failure, such as an unbound variable. The text must be readable.
  [[nodiscard]] std::optional<lisp::LispValue> valueAt(Position position) {
    return valueAt(position, position);
  }
  // The same for the variables of a call that waits for another one: those of the moment at which
  // it made that call, with the global variables as they are at `now`.
  [[nodiscard]] std::optional<lisp::LispValue> valueAt(Position position, Position now);

  // The first position at or after `from` where the value is true, nothing if there is none. Looks
  // at the moments at which one of its variables may have changed, at most `tries_max` of them, and
  // gives up, as a failure, after kSearchStepsMax steps.
  [[nodiscard]] std::optional<Position> firstTrue(Position from, std::size_t tries_max = 1000000);

  // The steps of all evaluations so far.
  [[nodiscard]] std::uint64_t stepsUsed() const { return steps_used_; }

  // The message of the last failure.
  [[nodiscard]] const std::string& failure() const { return failure_; }

 private:
  [[nodiscard]] std::vector<Position> momentsOfChange() const;

  const Index& index_;
  std::string error_;
  std::string failure_;
  std::uint64_t steps_used_ = 0;
  lisp::LispValue forms_;
  lisp::Environment functions_;     // Of the run's end, as far as the expression may call them.
  std::vector<std::string> names_;  // Of variables that it may look at.
};

}  // namespace trace

#endif  // TRACE_CONDITION_H_
