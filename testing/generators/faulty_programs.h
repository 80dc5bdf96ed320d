// Programs with one known fault at a known place.

#ifndef TESTING_GENERATORS_FAULTY_PROGRAMS_H_
#define TESTING_GENERATORS_FAULTY_PROGRAMS_H_

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "lisp_worker/client/coordinates.h"
#include "lisp_worker/client/eval_result.h"
#include "testing/base/random.h"

namespace lisp_worker::testing_support {

struct FaultyProgram {
  std::string text;
  std::string fault;  // The change that made it fail, for messages.
  // The right places to look: the first byte of the argument that has the wrong kind, of the call
  // with the wrong count, of the name that nobody has defined. There is more than one only where
  // nothing in the text tells them apart: the lists that a missing parenthesis may have ended, the
  // forms of a recursion or a loop without end.
  std::vector<std::size_t> places;
  std::optional<std::size_t> call_place;  // Of a recursion: the call that has the fault.
  bool has_context = false;               // It runs under faultyContext().
  std::size_t change_at_call = 0;         // While this call waits, movedContext() replaces that.
  std::size_t bad_answer_at_call = 0;     // The answer to this call cannot be read.
};

// A program of some functions and some forms, laid out as people do, with comments, texts and
// letters outside ASCII, host calls and coordinate systems, that would run without its fault.
[[nodiscard]] FaultyProgram makeFaultyProgram(Random& random);

// The host's answer to a call of such a program.
[[nodiscard]] std::string answerForFaulty(const client::EvalResult& waiting);

// System 1 is turned, system 4 cannot be converted into.
[[nodiscard]] client::CoordContext faultyContext();
[[nodiscard]] client::CoordContext movedContext();

}  // namespace lisp_worker::testing_support

#endif  // TESTING_GENERATORS_FAULTY_PROGRAMS_H_
