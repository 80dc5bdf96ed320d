// Names get their special forms and builtins here, once for the process: the record of each name
// says what a list that begins with it means.

#include "lisp/builtin.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

namespace lisp {
namespace {

constexpr std::array<std::pair<std::string_view, Operation>, 10> kSpecialForms = {{
    {"QUOTE", Operation::Quote},
    {"SETQ", Operation::Setq},
    {"IF", Operation::If},
    {"PROGN", Operation::Progn},
    {"WHILE", Operation::While},
    {"DEFUN", Operation::Defun},
    {"AND", Operation::And},
    {"OR", Operation::Or},
    {"NOT", Operation::Not},
    {"NULL", Operation::Null},
}};

constexpr bool haveAllNames() {
  std::size_t count = 0;
  for (std::uint32_t i = 0; i <= static_cast<std::uint32_t>(Operation::Unresolved); ++i) {
    if (isSpecialForm(static_cast<Operation>(i))) ++count;
  }
  for (const auto& [name, operation] : kSpecialForms) {
    if (!isSpecialForm(operation)) return false;
  }
  return count == kSpecialForms.size();
}
static_assert(haveAllNames(), "each special form has its name, and nothing else has one here");

// The names of special forms and builtins keep their records for good: the reference that interning
// gives is never given back.
bool installSpecialForms() {
  for (const auto& [name, operation] : kSpecialForms) {
    Symbol* const symbol = internSymbol(name);
    symbol->operation = operation;
    symbol->base_operation = operation;
  }
  return true;
}

}  // namespace

void installBuiltins(std::span<const Builtin> builtins) {
  static const bool special_forms_installed = installSpecialForms();
  static_cast<void>(special_forms_installed);
  for (const Builtin& builtin : builtins) {
    Symbol* const symbol = internSymbol(builtin.name);
    symbol->builtin = &builtin;
    symbol->base_operation =
        builtin.arguments == Arguments::Evaluated ? builtin.operation : Operation::FormBuiltin;
  }
}

}  // namespace lisp
