// Watcher: what a run tells those who record it, such as traces, profiles and coverage.
//
// It is the evaluator's own observer (lisp/observer.h), told in the terms of a person: programs,
// forms that know their place, functions that know their text. An example, (DEFUN F (X) (* X 2))
// and then (F 5):
//
//   began(p)
//   entered(p, 0)  left(F)                   the DEFUN
//   entered(p, 8)                            the list (F 5)
//     entered(p, 10)  left(5)
//     called(F)
//       entered(p, 5) ... left(10)           the body
//     returned()
//   left(10)
//   ended()
//
// Each form that is entered is one step. After a failure nothing more is told but ended(): forms
// that were entered and not left, and calls that have not returned, have failed.

#ifndef EXPLAIN_WATCHER_H_
#define EXPLAIN_WATCHER_H_

#include <cstddef>
#include <span>
#include <string_view>

#include "explain/evaluation.h"
#include "lisp/value.h"

namespace explain {

// Each function does nothing unless it is overridden. References are borrowed for the call.
class Watcher {
 public:
  virtual ~Watcher() = default;

  // A run of the program, which can be read, begins. Functions of earlier programs tell of forms of
  // theirs.
  virtual void began(const ProgramPointer& /*program*/) {}
  // A form is about to be evaluated; `number` leads to it in forms_by_number.
  virtual void entered(const ProgramPointer& /*program*/, std::size_t /*number*/) {}
  // The form that was entered last, of those not left, has come to `value`.
  virtual void left(const lisp::LispValue& /*value*/) {}
  // The form entered last has given the variable the value that was left last.
  virtual void assigned(std::string_view /*name*/, bool /*is_global*/) {}
  // The form entered last calls a function: its arguments, the forms that were left inside it, are
  // evaluated. Then the function called last has come to a value.
  virtual void called(const Function& /*function*/) {}
  virtual void returned() {}
  // The form entered last calls the host, which need not have an answer; then its answer.
  virtual void hostCalled(std::string_view /*name*/,
                          std::span<const lisp::LispValue> /*arguments*/) {}
  virtual void hostAnswered(const AnsweredCall& /*call*/) {}
  // The run is over.
  virtual void ended() {}
};

}  // namespace explain

#endif  // EXPLAIN_WATCHER_H_
