// The lines that a person reads of a program that has stopped.

#ifndef EXPLAIN_EXPLANATION_H_
#define EXPLAIN_EXPLANATION_H_

#include <string>

#include "explain/evaluation.h"

namespace explain {

// Several lines: the place and the message, the source line with a caret, the values involved, the
// chain of calls, what was expected and what to try; for the step limit where the steps went.
[[nodiscard]] std::string explanationOf(const Outcome& outcome);

// The same for a call that the host has refused, as far as its place is known.
[[nodiscard]] std::string explanationOf(const AnsweredCall& call);

// "file.lsp:12:3"
[[nodiscard]] std::string nameOfPlace(const Program& program, std::size_t offset);

// The most costly lines as a table, each with its text.
[[nodiscard]] std::string stepTable(const Outcome& outcome, std::size_t row_max);

}  // namespace explain

#endif  // EXPLAIN_EXPLANATION_H_
