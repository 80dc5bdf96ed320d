// The shape of a program: its definitions, what can be folded, and what lies around a place.

#ifndef CONSOLE_LANGUAGE_OUTLINE_H_
#define CONSOLE_LANGUAGE_OUTLINE_H_

#include <cstddef>
#include <string_view>
#include <vector>

#include "console/language/text_document.h"
#include "console/language/workspace.h"

namespace lisp_worker::console::language {

// A function, or a variable that the top level assigns; of the latter the first assignment.
struct Definition {
  std::string_view name;  // Borrowed from the text.
  bool is_function = false;
  Span span;       // Of the whole form.
  Span name_span;  // Inside that.
};

// In the order of the text.
[[nodiscard]] std::vector<Definition> definitionsIn(const ProgramParts& parts);

// Lines, counted from 0; both are shown when the lines between them are not.
struct Fold {
  std::size_t first_line = 0;
  std::size_t last_line = 0;
  bool is_comment = false;
};

// One for each line at which a list or a block of comment lines begins that ends in a later line.
[[nodiscard]] std::vector<Fold> foldsIn(const ProgramText& text);

// From the smallest to the whole text.
[[nodiscard]] std::vector<Span> selectionsAt(const ProgramText& text, std::size_t offset);

}  // namespace lisp_worker::console::language

#endif  // CONSOLE_LANGUAGE_OUTLINE_H_
