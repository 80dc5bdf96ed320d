// Observer: what a run tells somebody who watches it.
//
// A worker watches nothing and pays nothing. To watch a run, make an observed copy of its program
// and run that instead of the program:
//
//   std::string error;
//   const auto forms = lisp::readForms("(SETQ A (+ 1 2))", &error);
//   Watcher watcher;                                    // An Observer of yours.
//   interpreter.observe(&watcher);
//   host::StoredProgram program{{}, lisp::observedProgram(*forms)};
//   host::run_program(interpreter, program, limits);
//
// The data of a program are numbered in the order in which they begin in its text, from 0:
//
//   (SETQ A (+ 1 2))
//   0     A  3                the list itself, SETQ is 1, A is 2, the inner list is 3,
//             4 5 6           + is 4, 1 is 5 and 2 is 6
//
// A table of places that the reader fills in the same order leads from a number to the text. The
// watcher of the example is told:
//
//   entered(0)
//     entered(3)
//       entered(5) left(5, 1)
//       entered(6) left(6, 2)
//     left(3, 3)
//     assigned(A, null, 3)
//   left(0, 3)
//
// An observed program comes to the same outcome in the same number of steps, and has the same
// limits. Values, messages and order are the evaluator's own: it evaluates observed forms by the
// functions that evaluate every form for the first time. What they leave behind, functions above
// all, is observed too, so an environment that observed programs have changed may only serve runs
// with an observer.

#ifndef LISP_OBSERVER_H_
#define LISP_OBSERVER_H_

#include <cstdint>
#include <span>
#include <string_view>

#include "lisp/symbol.h"
#include "lisp/user_function.h"
#include "lisp/value.h"

namespace lisp {

struct HostTranscriptEntry;

// The number of a datum of a program.
using FormNumber = std::uint32_t;

// Each function does nothing unless it is overridden. What is passed is borrowed for the call. An
// observer must not evaluate anything.
class Observer {
 public:
  virtual ~Observer() = default;

  // A form is about to be evaluated; its step is not counted yet. `form` is its number in the
  // program that the run began with, or in the one that defined the function called last.
  virtual void entered(FormNumber form);
  // The form that was entered last, of those not left yet, has come to `value`; null when it has
  // failed, and then the forms around it fail too.
  virtual void left(FormNumber form, const RawValue* value);

  // `variable` has been given `value`; `before` is what it was, null for unbound. The binding is
  // in force: variable.owner is kGlobalOwner when it is a global one.
  virtual void assigned(const Symbol& variable, const RawValue* before, const RawValue& value);

  // The arguments of the form entered last are evaluated and bound, and the body of `function` is
  // about to be evaluated.
  virtual void called(const UserFunction& function);
  // The body of the function called last, of those that have not returned, has come to a value. A
  // body that fails does not return.
  virtual void returned();

  // The form entered last calls the host, before it is known whether there is an answer; then the
  // answer that is on record. Whoever owns the transcript may complete the entry of this call
  // in hostCalled, such as its arguments if they are not known yet.
  virtual void hostCalled(std::string_view name, std::span<const LispValue> arguments);
  virtual void hostAnswered(const HostTranscriptEntry& entry);
};

// The observed copy of a program, which is a list of forms as the reader makes it; a list again.
// O(data of the program). Builtins and special forms must be installed.
[[nodiscard]] LispValue observedProgram(const LispValue& forms);

}  // namespace lisp

#endif  // LISP_OBSERVER_H_
