// New names for functions and variables.

#ifndef CONSOLE_LANGUAGE_RENAMES_H_
#define CONSOLE_LANGUAGE_RENAMES_H_

#include <string>
#include <string_view>

#include "console/language/scopes.h"
#include "console/language/workspace.h"

namespace lisp_worker::console::language {

// The reason why the use cannot get another name, for a person; empty when it can.
[[nodiscard]] std::string whyNoRename(const Unit& unit, const Use& use);

// The reason why it cannot get this one: it is not read as a name, means something already, or is
// the name of something else in these texts.
[[nodiscard]] std::string whyNotNamed(const Unit& unit, const Use& use, std::string_view name);

}  // namespace lisp_worker::console::language

#endif  // CONSOLE_LANGUAGE_RENAMES_H_
