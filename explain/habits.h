// Habits: forms and notations that people bring from related languages, from command lines and from
// word processors, and that mean nothing here. Each has the text to write instead, filled in from
// the program:
//
//   (ABS (- A 5))   write (IF (< (- A 5) 0) (- (- A 5)) (- A 5))
//   1,5             write 1.5; a point is written '(1 5)
//
// The names that a form may begin with are a table. Notations are known by their shape.

#ifndef EXPLAIN_HABITS_H_
#define EXPLAIN_HABITS_H_

#include <span>
#include <string>
#include <string_view>

#include "explain/form.h"
#include "explain/source.h"

namespace explain {

// A name in front of a list that people expect to be there.
struct Habit {
  std::string_view usage;    // "(ABS X)": how it is used elsewhere. The names after the first are
                             // parameters; "..." at the end takes all forms that are left.
  std::string_view instead;  // "(IF (< X 0) (- X) X)": what to write here, with the same
                             // parameters; empty when no text can be given.
  std::string_view advice = {};  // In words, after the text or without one.
  bool is_form = false;          // Elsewhere its arguments are not all evaluated.
  // Makes `instead` for what no pattern can tell; empty when the form is not as it should be.
  std::string (*build)(const Form& form, const Source& source) = nullptr;

  [[nodiscard]] std::string_view name() const;
};

// All of them.
[[nodiscard]] std::span<const Habit> habits();

// Null for any other name.
[[nodiscard]] const Habit* findHabit(std::string_view name);

// The habit as `:doc` shows it, one line.
[[nodiscard]] std::string describe(const Habit& habit);

// The advice on a form of `source` that cannot be evaluated: a name without a value, or a list that
// does not begin with the name of a function or that its special form refuses. Empty when it is no
// habit that we know.
[[nodiscard]] std::string adviceOnHabit(const Form& form, const Source& source);

// The advice when something inside a list of `source` has failed because the list is no call here,
// whatever its name: a clause of COND, the operator in (A + B). Otherwise empty.
[[nodiscard]] std::string adviceAround(const Form& form, const Source& source);

}  // namespace explain

#endif  // EXPLAIN_HABITS_H_
