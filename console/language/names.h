// The names of one part of a program: where each is defined, called, assigned and read. Data behind
// apostrophes holds no names, as nothing evaluates it.

#ifndef CONSOLE_LANGUAGE_NAMES_H_
#define CONSOLE_LANGUAGE_NAMES_H_

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>
#include <vector>

#include "console/language/text_document.h"
#include "explain/form.h"

namespace lisp_worker::console::language {

enum class Role : std::uint8_t { Definition, Call, Parameter, Local, Assignment, Read };

// The name of a function, not of a variable.
[[nodiscard]] constexpr bool isFunctionRole(Role role) {
  return role == Role::Definition || role == Role::Call;
}

inline constexpr std::size_t kTopLevel = std::numeric_limits<std::size_t>::max();

struct Occurrence {
  std::string_view name;  // In capitals; borrowed from the forms, as all names here.
  Span span;
  Role role = Role::Read;
  std::size_t function = kTopLevel;  // The index of the innermost DEFUN around it.
};

// A DEFUN.
struct FunctionNames {
  std::string_view name;
  const explain::Form* form = nullptr;
  Span name_span;
  std::vector<std::string_view> parameters = {};
  std::vector<std::string_view> locals = {};

  [[nodiscard]] bool owns(std::string_view variable) const;
};

struct PartNames {
  std::vector<Occurrence> occurrences;  // In the order of the text.
  std::vector<FunctionNames> functions;

  // The one at the cursor; null when there is none.
  [[nodiscard]] const Occurrence* find(std::size_t offset) const;
};

[[nodiscard]] PartNames namesIn(const std::vector<explain::Form>& forms);

}  // namespace lisp_worker::console::language

#endif  // CONSOLE_LANGUAGE_NAMES_H_
