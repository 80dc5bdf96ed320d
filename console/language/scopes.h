// Which uses of a name mean the same, in texts that run one after the other.
//
// Functions have one set of names for all texts. A variable belongs to the function that has it as
// a parameter or local; otherwise it is free. A call begins with a copy of its caller's variables,
// so a free variable can be that of a caller:
//
//   (DEFUN AREA () (* W W))          W is free here; when ROOM has called AREA, it is ROOM's
//   (DEFUN ROOM (W) (AREA))          so this W and those of AREA go together
//   (DEFUN DOOR (W) (LIST W))        this W goes alone, since DOOR calls nothing that reads it

#ifndef CONSOLE_LANGUAGE_SCOPES_H_
#define CONSOLE_LANGUAGE_SCOPES_H_

#include <cstddef>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "console/language/names.h"
#include "console/language/program_parts.h"
#include "console/language/text_document.h"

namespace lisp_worker::console::language {

// A name where it is used, in the text of this index.
struct Use {
  std::size_t text = 0;
  Span span;
  Role role = Role::Read;
  std::string_view name;
  std::size_t function = kTopLevel;  // The number of the function around it.
};

// Borrows the texts.
class Scopes {
 public:
  explicit Scopes(std::vector<const ProgramParts*> texts);

  // The name at a byte of a text.
  [[nodiscard]] std::optional<Use> at(std::size_t text, std::size_t offset) const;
  // All uses that mean the same, in the order of the texts; it is one of them.
  [[nodiscard]] std::vector<Use> sameAs(const Use& use) const;
  // Of those, where a person should look first: DEFUNs, parameters and locals; for a variable
  // without any its first assignment at the top level, or else the first of all.
  [[nodiscard]] std::vector<Use> definitionsOf(const Use& use) const;
  // True when the name is used for a function, or for a variable, anywhere.
  [[nodiscard]] bool isUsed(std::string_view name, bool as_function) const;

  // A DEFUN.
  struct Function {
    const FunctionNames* names;
    std::size_t text;
    const PlacedPart* part;
  };
  // The one that is in force when all texts have run; null when none has the name.
  [[nodiscard]] const Function* findFunction(std::string_view name) const;

  // The functions that are defined, each with its last definition, and the global variables that
  // are assigned.
  struct Names {
    std::unordered_map<std::string_view, const Function*> functions;
    std::unordered_set<std::string_view> variables;
  };
  [[nodiscard]] const Names& names() const;

 private:
  template <typename Visit>
  void forEach(std::string_view name, bool as_function, Visit visit) const;
  [[nodiscard]] std::size_t ownerOf(const Use& use) const;
  void findCallers() const;
  [[nodiscard]] std::unordered_set<std::size_t> ownersReached(
      std::string_view variable, const std::unordered_set<std::size_t>& free_in) const;

  std::vector<const ProgramParts*> texts_;
  std::vector<Function> functions_;  // Their numbers are in the order of the texts.
  std::vector<std::vector<std::size_t>> first_functions_;  // The first number of each part.
  // By the name that they call; filled in when a search needs it first.
  mutable std::unordered_map<std::string_view, std::vector<std::size_t>> callers_;
  mutable bool has_callers_ = false;
  mutable std::optional<Names> names_;  // Filled in when it is asked for.
};

}  // namespace lisp_worker::console::language

#endif  // CONSOLE_LANGUAGE_SCOPES_H_
