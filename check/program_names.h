// The names of programs that are checked together: what is defined, assigned, read and called in
// any of them.
//
//   ProgramNames names(programs);
//   names.callerWith("X", "G")    "F", when F has X as its own and calls G, perhaps through others
//
// Searches follow calls from function to function and could be quadratic in the text. They share
// one budget; when it is used up they find nothing, so the checker says less rather than something
// wrong.

#ifndef CHECK_PROGRAM_NAMES_H_
#define CHECK_PROGRAM_NAMES_H_

#include <cstddef>
#include <functional>
#include <map>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "check/check.h"
#include "explain/form.h"

namespace check {

using explain::Form;
using explain::ProgramPointer;

using Names = std::set<std::string, std::less<>>;

// A place in all programs: which one, and the byte.
using Position = std::pair<std::size_t, std::size_t>;

// A DEFUN that is written well enough to be called.
struct Definition {
  const Form* form = nullptr;
  Position position;
  bool is_outermost = false;  // No list around it: it is certainly evaluated, in its turn.
  std::vector<std::string> parameters = {};
  Names own_names = {};  // Parameters and locals.
  Names calls = {};      // Names of functions that its body calls.
  Names reads = {};      // Names of variables that its body asks for.
};

// A SETQ of a name.
struct Assignment {
  const Form* target = nullptr;
  const Form* value = nullptr;
  std::size_t program_index = 0;
  std::string function;  // The function around it; empty at the top level.
  bool is_own = false;   // The name is that function's own.
};

[[nodiscard]] bool isQuote(const Form& form);
[[nodiscard]] std::string_view nameOf(const Definition& definition);

// Borrows the programs.
class ProgramNames {
 public:
  explicit ProgramNames(std::span<const ProgramPointer> programs);
  ProgramNames(const ProgramNames&) = delete;
  ProgramNames& operator=(const ProgramNames&) = delete;

  // All definitions of functions by name, in the order of the text.
  [[nodiscard]] const std::map<std::string, std::vector<Definition>, std::less<>>& definitions()
      const {
    return definitions_;
  }
  // The definition that `call` calls, when its name has no other; otherwise null.
  [[nodiscard]] const Definition* onlyDefinition(const Form& call) const;
  // By their DEFUNs.
  [[nodiscard]] const std::map<const Form*, const Definition*>& definitionsByForm() const {
    return definition_of_;
  }
  // All SETQs by the name that they assign to.
  [[nodiscard]] const std::map<std::string, std::vector<Assignment>, std::less<>>& assignments()
      const {
    return assignments_;
  }
  // Names that some assignment may give to a global variable.
  [[nodiscard]] const Names& globals() const { return globals_; }
  // Names that functions assign and that are not their own.
  [[nodiscard]] const Names& assignedInFunctions() const { return assigned_in_functions_; }
  // Parameters and locals of any function.
  [[nodiscard]] const Names& allOwnNames() const { return all_own_names_; }
  // True when the top level or a function calls that name.
  [[nodiscard]] bool isCalled(std::string_view name) const {
    return top_calls_.contains(name) || callers_of_.contains(name);
  }
  // Names of variables that the top level asks for.
  [[nodiscard]] const Names& topReads() const { return top_reads_; }

  // The definition that a call at `position` of the top level finds; null where that is not known.
  [[nodiscard]] const Definition* definitionAt(Position position,
                                               const std::vector<Definition>& definitions) const;
  // True when all definitions come at `end` or after it.
  [[nodiscard]] bool areAllAfter(Position end, const std::vector<Definition>& definitions) const;
  // A function that has `variable` as its own and calls `function`, directly or through others.
  [[nodiscard]] std::string callerWith(const std::string& variable,
                                       const std::string& function) const;
  // True when `function`, or one that it calls, reads a variable of its callers by that name.
  [[nodiscard]] bool asksFor(const std::string& variable, const std::string& function) const;

  // Takes one unit from the budget of all searches; false when it is used up.
  [[nodiscard]] bool spend() const { return ++work_ <= kWorkMax; }
  [[nodiscard]] bool isSpent() const { return work_ > kWorkMax; }

 private:
  static constexpr std::size_t kWorkMax = 1'000'000;

  void collect(const Form& form, Definition* inside);
  void collectDefinition(const Form& form);

  std::size_t program_index_ = 0;    // The program that is being collected from,
  const Form* outermost_ = nullptr;  // and the form of its top level.
  std::map<std::string, std::vector<Definition>, std::less<>> definitions_;
  std::map<const Form*, const Definition*> definition_of_;
  std::map<std::string, std::vector<const Definition*>, std::less<>> callers_of_;  // By callee.
  std::map<std::string, std::vector<Assignment>, std::less<>> assignments_;
  Names globals_;
  Names assigned_in_functions_;
  Names all_own_names_;
  Names top_reads_;
  Names top_calls_;
  mutable std::size_t work_ = 0;
};

}  // namespace check

#endif  // CHECK_PROGRAM_NAMES_H_
