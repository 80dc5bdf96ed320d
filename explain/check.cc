// The checker walks every form as the evaluator would, without evaluating it, and reports what must
// fail (errors) and what is seldom meant (warnings). It knows the builtins from the reference
// (explain/reference.h), and the names of all programs from a first walk (explain/program_names.h).

#include "explain/check.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "explain/explanation.h"
#include "explain/habits.h"
#include "explain/program_names.h"
#include "explain/value_text.h"

namespace explain {
namespace {

using lisp::LispValue;

// The value of a form that is a constant.
std::optional<LispValue> constantOf(const Form& form) {
  if (isQuote(form) && form.items.size() == 2) return form.items[1].value;
  if (form.isList()) {
    return form.items.empty() ? std::optional(lisp::nil()) : std::nullopt;
  }
  if (form.isSymbol()) return form.name() == "T" ? std::optional(lisp::truth()) : std::nullopt;
  return form.value;
}

// A builtin that always comes to a list that is not empty.
bool makesList(const Form& form) {
  const std::string_view name = form.operatorName();
  return (name == "LIST" && form.items.size() > 1) || name == "CONS" || name == "POLAR";
}

class Checker {
 public:
  explicit Checker(std::span<const ProgramPointer> programs)
      : programs_(programs), names_(programs) {}

  std::vector<Finding> run(std::size_t first_shown) {
    for (program_index_ = first_shown; program_index_ < programs_.size(); ++program_index_) {
      program_ = programs_[program_index_];
      if (const auto& fault = program_->reading.fault) {
        findings_.push_back(
            {Severity::Error, program_, fault->begin, fault->end, fault->message, fault->hint});
      }
      for (const Form& form : program_->reading.forms) {
        outermost_ = &form;
        look(form, 1, nullptr);
      }
      lookAtNames();
    }
    return std::move(findings_);
  }

 private:
  // --- Findings ---------------------------------------------------------------------------------

  void report(Severity severity, const Form& at, std::string message, std::string advice) {
    if (findings_.size() >= kFindingCountMax) return;
    findings_.push_back(
        {severity, program_, at.begin, at.end, std::move(message), std::move(advice)});
  }

  void error(const Form& at, std::string message, std::string advice) {
    report(Severity::Error, at, std::move(message), std::move(advice));
  }

  // A form that is evaluated at `depth`, in the function `inside` or at the top level.
  void look(const Form& form, std::uint32_t depth, const Definition* inside) {
    constexpr std::uint32_t kDepthMax = 129;  // The outermost form has depth 1.
    if (findings_.size() >= kFindingCountMax) return;
    if (depth > kDepthMax) {
      error(form, "LISP evaluation depth exceeded", "this form stands inside more than 128 lists");
      return;
    }
    if (form.isSymbol()) return lookAtVariable(form, inside);
    if (!form.isList() || form.items.empty()) return;
    if (!form.items.front().isSymbol()) {
      const std::string habit = adviceOnHabit(form, program_->source);
      error(form.items.front(), "first list item must be a function symbol",
            habit.empty()
                ? "a list that is evaluated begins with the name of a function; quote data with '"
                : habit);
      return;
    }
    if (form.entry != nullptr && form.entry->group == Group::SpecialForm) {
      return lookAtSpecialForm(form, depth, inside);
    }
    const auto own = names_.definitions().find(form.operatorName());
    const bool is_unknown = own == names_.definitions().end() && form.entry == nullptr;
    // The parts of a form that there is not would only be reported as bad calls.
    if (is_unknown && !adviceAround(form, program_->source).empty()) return lookAtUnknown(form);
    for (std::size_t n = 1; n < form.items.size(); ++n) look(form.items[n], depth + 1, inside);
    if (own != names_.definitions().end()) return lookAtOwnCall(form, own->second, inside);
    if (form.entry == nullptr) return lookAtUnknown(form);
    if (form.entry->group == Group::Builtin) lookAtBuiltin(form);
  }

  // True when a variable of that name may be local where the body of `inside` is evaluated: its
  // own, or a copy of one of a function that calls it.
  bool isLocal(const std::string& name, const Definition* inside) const {
    return inside != nullptr &&
           (inside->own_names.contains(name) ||
            !names_.callerWith(name, std::string(nameOf(*inside))).empty() || names_.isSpent());
  }

  void lookAtVariable(const Form& form, const Definition* inside) {
    const std::string name(form.name());
    if (name == "T" || names_.globals().contains(name) || isLocal(name, inside)) return;
    std::vector<std::string> names(names_.globals().begin(), names_.globals().end());
    if (inside != nullptr) {
      names.insert(names.end(), inside->own_names.begin(), inside->own_names.end());
    }
    std::string advice = "nothing that it sees assigns it: give it a value with SETQ, or quote it";
    if (std::string habit = adviceOnHabit(form, program_->source); !habit.empty()) {
      advice = std::move(habit);
    } else if (names_.definitions().contains(name) || findEntry(name) != nullptr) {
      advice = name + " is a function: call it, as in (" + name + " ...)";
    } else if (const auto near = namesNear(name, names); !near.empty()) {
      advice = "did you mean " + near.front() + "?";
    }
    error(form, "unbound symbol: " + name, advice);
  }

  // Comparing names is costly: not for all names of a text that has very many.
  std::vector<std::string> namesNear(const std::string& name,
                                     const std::vector<std::string>& names) {
    constexpr std::size_t kComparisonsMax = 500'000;
    compared_ += names.size();
    return compared_ > kComparisonsMax ? std::vector<std::string>() : similarNames(name, names);
  }

  void lookAtUnknown(const Form& form) {
    const std::string name(form.operatorName());
    std::vector<std::string> names;
    for (const Entry& entry : entries()) names.emplace_back(entry.name);
    for (const auto& [known, definition] : names_.definitions()) names.push_back(known);
    const auto near = namesNear(name, names);
    std::string advice = near.empty()
                             ? "no program here defines it; --load names a library that does"
                             : "did you mean " + near.front() + "?";
    if (std::string habit = adviceOnHabit(form, program_->source); !habit.empty()) {
      advice = std::move(habit);
    }
    error(form.items.front(), "unsupported LISP function: " + name, advice);
  }

  void lookAtOwnCall(const Form& form, const std::vector<Definition>& definitions,
                     const Definition* inside) {
    if (inside == nullptr && names_.areAllAfter({program_index_, outermost_->end}, definitions) &&
        form.entry == nullptr) {
      const auto& later = definitions.front();
      const Place place = programs_[later.position.first]->source.placeOf(later.position.second);
      error(form.items.front(), "unsupported LISP function: " + std::string(form.operatorName()),
            "it is defined only later, in line " + std::to_string(place.line) +
                ": move the definition up");
      return;
    }
    const std::size_t count = form.items.size() - 1;
    const Definition* const known =
        inside == nullptr ? names_.definitionAt({program_index_, form.begin}, definitions)
                          : nullptr;
    const auto fits = [count](const Definition& d) { return d.parameters.size() == count; };
    const bool may_fit =
        known != nullptr ? fits(*known) : std::any_of(definitions.begin(), definitions.end(), fits);
    // A definition of a builtin's name may not have been made yet.
    if (!may_fit && form.entry == nullptr) {
      const Definition& definition = known != nullptr ? *known : definitions.back();
      const std::string name(form.operatorName());
      error(form, "wrong argument count for " + name,
            name + " takes " + counted(definition.parameters.size(), "argument") + "; there are " +
                std::to_string(count));
    }
    if (inside == nullptr) return;
    for (std::size_t n = 1; n < form.items.size(); ++n)
      lookAtLateAssignments(form, form.items[n], *inside);
  }

  // Assignments in an argument, to local variables that the called function asks for.
  void lookAtLateAssignments(const Form& call, const Form& part, const Definition& inside) {
    if (!part.isList() || isQuote(part) || part.operatorName() == "DEFUN") return;
    for (std::size_t n = 1; n < part.items.size(); ++n) {
      const Form& item = part.items[n];
      lookAtLateAssignments(call, item, inside);
      if (part.operatorName() != "SETQ" || n % 2 == 0) continue;
      const std::string name(item.name());
      const std::string callee(call.operatorName());
      if (!isLocal(name, &inside) || !names_.asksFor(name, callee)) continue;
      report(Severity::Warning, item,
             callee + " does not see what is assigned to " + name + " here",
             "a call begins with a copy of the local variables, made before its arguments are "
             "evaluated: assign " +
                 name + " before the call");
    }
  }

  void lookAtBuiltin(const Form& form) {
    const Entry& entry = *form.entry;
    const std::size_t count = form.items.size() - 1;
    if (count < entry.count_min || count > entry.count_max) {
      if (entry.name == "CAR" || entry.name == "CDR") {
        report(Severity::Warning, form, std::string(entry.name) + " of " + counted(count, "value"),
               "it is nil: " + std::string(entry.form));
        return;
      }
      error(form, std::string(entry.name) + ": " + counted(count, "argument"),
            "it takes " + std::string(entry.form));
      return;
    }
    lookAtConstants(form);
    if (entry.name == "POLAR") lookAtAngle(form.items[2]);
    if (entry.name == "SSNAME" && form.items[1].operatorName() == "SSGET") {
      report(Severity::Warning, form.items[1], "SSGET answers nil when it finds nothing",
             "keep its answer in a variable, and ask with IF whether there is one");
    }
  }

  // The value of a form, or one of its kind: a constant, a new list where a number is needed, a
  // variable that only one assignment gives a constant to.
  std::optional<LispValue> knownValueOf(const Form& form, Kind wanted) const {
    if (makesList(form)) {
      if (wanted != Kind::Number) return std::nullopt;
      return lisp::list({lisp::number(1), lisp::number(2)});
    }
    if (!form.isSymbol() || form.name() == "T") return constantOf(form);
    const auto found = names_.assignments().find(form.name());
    if (found == names_.assignments().end() || found->second.size() != 1) return std::nullopt;
    const Assignment& only = found->second.front();
    if (!only.function.empty() || names_.allOwnNames().contains(form.name())) return std::nullopt;
    const auto value = constantOf(*only.value);
    const bool is_nil = !value || value->kind() == lisp::ValueKind::Nil;
    return is_nil || wanted != Kind::Number ? std::nullopt : value;
  }

  // An angle that is a round number of degrees; nobody means so many turns.
  void lookAtAngle(const Form& angle) {
    const auto value = constantOf(angle);
    const auto degrees = value ? lisp::asNumber(*value) : std::nullopt;
    if (!degrees || std::fabs(*degrees) < 10 || std::fmod(*degrees, 5) != 0) return;
    report(Severity::Warning, angle, "angles are in radians",
           "degrees are turned into radians by (* DEGREES 0.017453292519943295)");
  }

  // A constant of a wrong kind is tried in the builtin itself, which knows what it says then.
  void lookAtConstants(const Form& form) {
    constexpr int kErrorCountMax = 10;  // Of one form.
    const Entry& entry = *form.entry;
    int error_count = 0;
    for (std::size_t n = 0; n + 1 < form.items.size() && error_count < kErrorCountMax; ++n) {
      const auto constant = knownValueOf(form.items[n + 1], entry.kindAt(n));
      if (!constant || fits(entry.kindAt(n), *constant)) continue;
      ++error_count;
      std::vector<LispValue> arguments;
      for (std::size_t i = 0; i + 1 < form.items.size(); ++i) {
        arguments.push_back(i == n ? *constant : valueOf(entry.kindAt(i)));
      }
      error(form.items[n + 1], refusalOf(entry.name, arguments),
            "it takes " + expectationOf(entry.kindAt(n), *constant));
    }
  }

  // --- Special forms ----------------------------------------------------------------------------

  void lookAtSpecialForm(const Form& form, std::uint32_t depth, const Definition* inside) {
    const std::string_view name = form.entry->name;
    const std::size_t count = form.items.size() - 1;
    const bool has_pairs = name != "SETQ" || count % 2 == 0;
    if (name == "DEFUN") return lookAtDefinition(form);
    if (count < form.entry->count_min || count > form.entry->count_max || !has_pairs) {
      const std::string habit = adviceOnHabit(form, program_->source);
      error(form, std::string(name) + ": " + counted(count, "part"),
            habit.empty() ? "it is written " + std::string(form.entry->form) : habit);
      return;
    }
    if (name == "QUOTE") return;
    if (name == "SETQ") return lookAtAssignments(form, depth, inside);
    if (name == "WHILE") {
      lookAtCondition(form);
      lookAtLoop(form);
    }
    for (std::size_t n = 1; n < form.items.size(); ++n) look(form.items[n], depth + 1, inside);
  }

  void lookAtCondition(const Form& form) {
    const Form& condition = form.items[1];
    const std::string_view name = condition.operatorName();
    if (name == "CDR" || name == "LIST" || name == "CONS") {
      report(Severity::Warning, condition, "this condition is a list, and a list is never nil",
             "an empty list is true: ask for (> (LENGTH ...) 0)");
    }
  }

  // True when the form is made of names, constants and builtins, and which names those are.
  static bool isFixed(const Form& form, Names& names) {
    if (form.isSymbol()) {
      if (form.name() != "T") names.emplace(form.name());
      return true;
    }
    if (!form.isList() || isQuote(form) || form.items.empty()) return true;
    const bool may_be = form.entry != nullptr && form.entry->group != Group::HostCall &&
                        form.entry->name != "SETQ" && form.entry->name != "DEFUN";
    return may_be && std::all_of(form.items.begin() + 1, form.items.end(),
                                 [&names](const Form& item) { return isFixed(item, names); });
  }

  // True when evaluating the form may assign one of the names, in a function that it calls at
  // least.
  bool mayAssign(const Form& form, const Names& names) const {
    if (!form.isList() || form.items.empty() || isQuote(form)) return false;
    if (form.entry == nullptr || names_.definitions().contains(form.operatorName())) return true;
    for (std::size_t n = 1; n < form.items.size(); ++n) {
      const bool is_target = form.operatorName() == "SETQ" && n % 2 == 1;
      if (is_target ? names.contains(form.items[n].name()) : mayAssign(form.items[n], names)) {
        return true;
      }
    }
    return false;
  }

  void lookAtLoop(const Form& form) {
    Names names;
    if (!isFixed(form.items[1], names) || names.empty()) return;
    for (std::size_t n = 2; n < form.items.size(); ++n) {
      if (mayAssign(form.items[n], names)) return;
    }
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : " or ") + name;
    report(Severity::Warning, form.items[1], "nothing in this loop changes " + text,
           "it runs never, or until the step limit ends the program");
  }

  // --- Names ------------------------------------------------------------------------------------

  // Assignments whose value nobody asks for under a name that looks like another, and those of a
  // function to a name that only it uses.
  void lookAtNames() {
    std::vector<std::string> used(names_.topReads().begin(), names_.topReads().end());
    std::map<std::string, Names, std::less<>> readers;
    for (const auto& [form, definition] : names_.definitionsByForm()) {
      for (const std::string& name : definition->reads) {
        readers[name].insert(std::string(nameOf(*definition)));
        used.push_back(name);
      }
    }
    for (const auto& [name, assignments] : names_.assignments()) {
      const Assignment& first = assignments.front();
      if (first.program_index != program_index_ || names_.topReads().contains(name)) continue;
      if (names_.allOwnNames().contains(name) || !names_.spend()) continue;
      const auto reading = readers.find(name);
      if (reading == readers.end()) {
        const auto near = assignments.size() == 1 && name.size() > 2 ? namesNear(name, used)
                                                                     : std::vector<std::string>();
        if (near.empty() || !names_.assignments().contains(near.front())) continue;
        report(Severity::Warning, *first.target, "nobody asks for " + name,
               "did you mean " + near.front() + "?");
      } else if (reading->second.size() == 1 &&
                 std::all_of(assignments.begin(), assignments.end(), [&](const Assignment& each) {
                   return each.function == *reading->second.begin();
                 })) {
        report(Severity::Warning, *first.target,
               name + " stays when " + first.function + " returns",
               "only " + first.function + " uses it: declare it as local, (DEFUN " +
                   first.function + " (... / " + name + ") ...)");
      }
    }
  }

  void lookAtAssignments(const Form& form, std::uint32_t depth, const Definition* inside) {
    for (std::size_t n = 1; n < form.items.size(); n += 2) {
      const Form& target = form.items[n];
      if (!target.isSymbol()) {
        error(target, "setq target must be a symbol", "a name, without quotes and apostrophes");
      } else if (target.name() == "T") {
        report(Severity::Warning, target, "T is always T", "what is assigned to it is never read");
      } else if (inside != nullptr) {
        lookAtCopy(target, *inside);
      }
      look(form.items[n + 1], depth + 1, inside);
    }
  }

  // An assignment to a name that is not the function's own, but that of one that calls it.
  void lookAtCopy(const Form& target, const Definition& inside) {
    const std::string name(target.name());
    if (inside.own_names.contains(name)) return;
    const std::string own_name(nameOf(inside));
    const std::string caller = names_.callerWith(name, own_name);
    if (caller.empty()) return;
    report(Severity::Warning, target,
           "this assigns a copy of " + name + " when " + caller + " has called " + own_name,
           name + " is a local variable of " + caller + ": what is assigned here is gone when " +
               own_name +
               " returns. Declare it as local here, or give the value back as the result");
  }

  void lookAtDefinition(const Form& form) {
    const std::vector<Form>& items = form.items;
    if (items.size() < 4 || !items[1].isSymbol() || !items[2].isList()) {
      const std::string habit = adviceOnHabit(form, program_->source);
      error(form, "defun syntax error",
            habit.empty() ? "it is written " + std::string(form.entry->form) : habit);
      return;
    }
    for (const Form& item : items[2].items) {
      if (!item.isSymbol()) {
        error(item, "defun parameter must be symbol", "parameters are names");
        return;
      }
    }
    lookAtParameters(form);
    const Entry* const entry = findEntry(items[1].name());
    if (entry != nullptr) {
      const bool is_form = entry->group == Group::SpecialForm;
      report(Severity::Warning, items[1],
             is_form ? "a special form cannot be replaced" : "this replaces a builtin function",
             is_form ? "the function is never called" : "from here on, for every program");
    }
    const Definition* const own = names_.definitionsByForm().at(&form);
    for (std::size_t n = 3; n < items.size(); ++n) look(items[n], 2, own);
  }

  void lookAtParameters(const Form& form) {
    std::set<std::string_view> seen;
    for (const Form& item : form.items[2].items) {
      if (item.name() == "/") continue;
      if (!seen.insert(item.name()).second) {
        report(Severity::Warning, item, "this name stands twice in the list",
               "of two parameters the last counts; a local begins as nil");
      }
    }
  }

  std::span<const ProgramPointer> programs_;
  std::size_t program_index_ = 0;
  ProgramPointer program_;
  const Form* outermost_ = nullptr;  // The form of the top level that is being looked at.
  ProgramNames names_;
  std::size_t compared_ = 0;  // Names that have been compared with others.
  std::vector<Finding> findings_;
};

}  // namespace

std::vector<Finding> check(std::span<const ProgramPointer> programs, std::size_t first_shown) {
  return Checker(programs).run(first_shown);
}

std::string describe(const Finding& finding) {
  std::string text = nameOfPlace(*finding.program, finding.begin) +
                     (finding.severity == Severity::Error ? ": error: " : ": warning: ") +
                     finding.message + "\n" +
                     showPlace(finding.program->source, finding.begin, finding.end);
  if (!finding.advice.empty()) text += "  " + finding.advice + "\n";
  return text;
}

}  // namespace explain
