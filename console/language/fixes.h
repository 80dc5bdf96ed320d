// Edits that put right what a message complains of, where its advice says what to write.

#ifndef CONSOLE_LANGUAGE_FIXES_H_
#define CONSOLE_LANGUAGE_FIXES_H_

#include <optional>
#include <string>

#include "console/language/text_edit.h"
#include "console/language/workspace.h"

namespace lisp_worker::console::language {

struct Fix {
  std::string title;
  TextEdit edit;
};

// Empty when the advice leaves something for a person to decide.
[[nodiscard]] std::optional<Fix> fixFor(const ProgramText& text, const Diagnostic& diagnostic);

}  // namespace lisp_worker::console::language

#endif  // CONSOLE_LANGUAGE_FIXES_H_
