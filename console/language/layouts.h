// Formatting, of a whole text or of a piece, in the style of `lisp_console format`.

#ifndef CONSOLE_LANGUAGE_LAYOUTS_H_
#define CONSOLE_LANGUAGE_LAYOUTS_H_

#include <cstddef>
#include <vector>

#include "console/language/text_document.h"
#include "console/language/text_edit.h"
#include "console/language/workspace.h"

namespace lisp_worker::console::language {

// No edits where nothing changes, or where the text cannot be read.
[[nodiscard]] std::vector<TextEdit> formatAll(const ProgramText& text);

// The same for the forms of the top level that the span touches, and for others in their lines.
[[nodiscard]] std::vector<TextEdit> formatForms(const ProgramText& text, const Span& span);

// After a person has typed `)` or a line end, with the cursor at `offset`: a form of the top level
// that has just become whole is formatted, and a new line is indented.
[[nodiscard]] std::vector<TextEdit> formatTyped(const ProgramText& text, std::size_t offset,
                                                char typed);

}  // namespace lisp_worker::console::language

#endif  // CONSOLE_LANGUAGE_LAYOUTS_H_
