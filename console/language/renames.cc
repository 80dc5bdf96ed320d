#include "console/language/renames.h"

#include "console/command_input.h"
#include "explain/form.h"
#include "explain/reference.h"
#include "explain/source.h"

namespace lisp_worker::console::language {

std::string whyNoRename(const Unit& unit, const Use& use) {
  if (!unit.scopes.definitionsOf(use).empty()) return "";
  const std::string name(use.name);
  if (!isFunctionRole(use.role)) return "nothing here assigns " + name;
  return explain::findEntry(name) == nullptr ? "nothing here defines " + name
                                             : name + " is a function of the language";
}

std::string whyNotNamed(const Unit& unit, const Use& use, std::string_view name) {
  const std::string shown(name);
  const explain::Source source("", shown);
  const explain::Reading reading = explain::readForms(source);
  const bool is_name = !reading.fault && reading.forms.size() == 1 &&
                       reading.forms.front().isSymbol() && reading.forms.front().begin == 0 &&
                       reading.forms.front().end == name.size();
  if (!is_name) return "'" + shown + "' is not read as one name";
  const std::string capitals = upperCase(name);
  const bool as_function = isFunctionRole(use.role);
  if (capitals == "T" || capitals == "/") return capitals + " is not the name of a variable";
  if (explain::findEntry(capitals) != nullptr) return capitals + " is a function of the language";
  if (capitals != use.name && unit.scopes.isUsed(capitals, as_function)) {
    return capitals + " is used already";
  }
  return "";
}

}  // namespace lisp_worker::console::language
