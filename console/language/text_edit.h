// A change of a text that the client is asked to make.

#ifndef CONSOLE_LANGUAGE_TEXT_EDIT_H_
#define CONSOLE_LANGUAGE_TEXT_EDIT_H_

#include <string>

#include "console/language/text_document.h"

namespace lisp_worker::console::language {

struct TextEdit {
  Span span;
  std::string text;  // In the place of what the span holds.

  friend bool operator==(const TextEdit&, const TextEdit&) = default;
};

}  // namespace lisp_worker::console::language

#endif  // CONSOLE_LANGUAGE_TEXT_EDIT_H_
