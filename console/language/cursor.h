// Where a cursor is: in which part of a program, and inside which forms.

#ifndef CONSOLE_LANGUAGE_CURSOR_H_
#define CONSOLE_LANGUAGE_CURSOR_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/language/program_parts.h"
#include "explain/form.h"

namespace lisp_worker::console::language {

struct Cursor {
  const PlacedPart* part = nullptr;
  std::size_t offset = 0;                    // From the beginning of the part, as all below.
  std::vector<const explain::Form*> around;  // From the outermost to the innermost.

  // The form at the cursor; null between forms of the top level.
  [[nodiscard]] const explain::Form* innermost() const {
    return around.empty() ? nullptr : around.back();
  }
  // The innermost list that is not only a form behind an apostrophe; null when there is none.
  [[nodiscard]] const explain::Form* list() const;
  // True when the form at the cursor is data, or inside of some.
  [[nodiscard]] bool isQuoted() const;
};

// Empty when the text is.
[[nodiscard]] std::optional<Cursor> cursorAt(const ProgramParts& parts, std::size_t offset);

// True for 'X, which is a list without parentheses.
[[nodiscard]] bool isApostrophe(const explain::Form& form);

// The index among the items of `list` of the one at the offset, or of the one that would begin
// there.
[[nodiscard]] std::size_t itemAt(const explain::Form& list, std::size_t offset);

// The text of a string as it is written, between its quotes.
[[nodiscard]] std::string_view contentOf(const Part& part, const explain::Form& string);

// The words of a comment in the lines above a form, without semicolons. Lines that tell the console
// how to run a program are not part of it.
[[nodiscard]] std::string commentAbove(const Part& part, const explain::Form& form);

}  // namespace lisp_worker::console::language

#endif  // CONSOLE_LANGUAGE_CURSOR_H_
