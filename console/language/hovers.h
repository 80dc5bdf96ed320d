// The text that an editor shows for what is under the mouse, and while a call is being typed.

#ifndef CONSOLE_LANGUAGE_HOVERS_H_
#define CONSOLE_LANGUAGE_HOVERS_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/language/scopes.h"
#include "console/language/text_document.h"
#include "console/language/workspace.h"
#include "explain/reference.h"

namespace lisp_worker::console::language {

struct Hover {
  Span span;
  std::string markdown;
};

// Of a name, of a string or number that COMMAND or an entity gives a meaning. Empty for all else.
[[nodiscard]] std::optional<Hover> hoverAt(const Unit& unit, std::size_t offset);

// The call of a function: "(POLAR POINT ANGLE DISTANCE)".
struct Signature {
  std::string label;
  std::vector<Span> parameters;  // Bytes of the label.
  std::string documentation;
  bool repeats = false;  // The last parameter, for all that follow.
};

// Of the function of the program, or of the language, that has this name; empty for others.
[[nodiscard]] std::optional<Signature> signatureOf(const Unit& unit, std::string_view name);

struct SignatureHelp {
  Signature signature;
  std::optional<std::size_t> active;  // The parameter at the cursor; empty for one too many.
};

// Of the call around the cursor.
[[nodiscard]] std::optional<SignatureHelp> signatureAt(const Unit& unit, std::size_t offset);

// The documentation of a form or function of the language.
[[nodiscard]] std::string markdownOf(const explain::Entry& entry);

}  // namespace lisp_worker::console::language

#endif  // CONSOLE_LANGUAGE_HOVERS_H_
