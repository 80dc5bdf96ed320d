#include "lisp/builtin.h"

#include <array>
#include <cstddef>
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
static_assert(kSpecialForms.size() == static_cast<std::size_t>(Operation::UserFunction),
              "each operation before UserFunction is a special form and has a name");

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
