// Programs that do something else than they should, with a question about it and the form that the
// answer must name.

#ifndef TESTING_GENERATORS_PUZZLING_PROGRAMS_H_
#define TESTING_GENERATORS_PUZZLING_PROGRAMS_H_

#include <string>
#include <vector>

#include "testing/base/random.h"

namespace lisp_worker::testing_support {

// "Who set this", "why is it nil", "which form drew this", "why was nothing drawn": the debugger's
// commands for it, and its answer.
struct PuzzlingProgram {
  std::string text;
  std::string puzzle;    // Its kind, for messages.
  std::string moment;    // "goto end" or "goto error".
  std::string question;  // "why R", "why entity E3", "why not 7".
  // The line of the answer that names the right form begins with one of these words ...
  std::vector<std::string> roles;
  // ... and the form's place: "p.lsp:7:3". Without roles the answer holds these words.
  std::string place;
  std::string words;
};

// The program is to be run under the name p.lsp.
[[nodiscard]] PuzzlingProgram makePuzzlingProgram(Random& random);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_GENERATORS_PUZZLING_PROGRAMS_H_
