#include "explain/check.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "explain/call.h"
#include "explain/explanation.h"

namespace explain {
namespace {

using lisp::LispValue;

// A DEFUN that is written well enough to be called.
struct Definition {
  const Form* form = nullptr;
  std::vector<std::string> parameters;
  std::set<std::string, std::less<>> own_names;  // Parameters and locals.
  std::set<std::string, std::less<>> calls;      // Names of functions that its body calls.
};

bool isQuote(const Form& form) { return form.entry != nullptr && form.entry->name == "QUOTE"; }

// The value of a form that is a constant.
std::optional<LispValue> constantOf(const Form& form) {
  if (isQuote(form) && form.items.size() == 2) return form.items[1].value;
  if (form.isList()) {
    return form.items.empty() ? std::optional(lisp::nil()) : std::nullopt;
  }
  if (form.isSymbol()) return form.name() == "T" ? std::optional(lisp::truth()) : std::nullopt;
  return form.value;
}

std::string counted(std::size_t count, const char* thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

class Checker {
 public:
  explicit Checker(std::span<const ProgramPointer> programs) : programs_(programs) {}

  std::vector<Finding> run(std::size_t first_shown) {
    for (const ProgramPointer& program : programs_) {
      for (const Form& form : program->reading.forms) collect(form, nullptr);
    }
    for (std::size_t n = first_shown; n < programs_.size(); ++n) {
      program_ = programs_[n];
      if (const auto& fault = program_->reading.fault) {
        findings_.push_back(
            {Severity::Error, program_, fault->begin, fault->end, fault->message, fault->hint});
      }
      for (const Form& form : program_->reading.forms) look(form, 1, nullptr);
    }
    return std::move(findings_);
  }

 private:
  // --- What is defined, assigned and called anywhere --------------------------------------------

  void collect(const Form& form, Definition* inside) {
    if (!form.isList() || form.items.empty() || isQuote(form)) return;
    const std::string name(form.operatorName());
    if (name == "DEFUN" && form.items.size() >= 4 && form.items[1].isSymbol() &&
        form.items[2].isList()) {
      collectDefinition(form);
      return;
    }
    if (name == "SETQ") {
      for (std::size_t n = 1; n < form.items.size(); n += 2) {
        assigned_.emplace(form.items[n].name());
      }
    }
    if (inside != nullptr) inside->calls.insert(name);
    for (std::size_t n = 1; n < form.items.size(); ++n) collect(form.items[n], inside);
  }

  void collectDefinition(const Form& form) {
    Definition& definition = definitions_[std::string(form.items[1].name())].emplace_back();
    definition.form = &form;
    bool are_locals = false;
    for (const Form& item : form.items[2].items) {
      const std::string name(item.name());
      if (name == "/") {
        are_locals = true;
        continue;
      }
      if (!are_locals) definition.parameters.push_back(name);
      definition.own_names.insert(name);
      assigned_.insert(name);
    }
    for (std::size_t n = 3; n < form.items.size(); ++n) {
      Definition body;
      collect(form.items[n], &body);
      // By name: a DEFUN inside the body may have moved the definitions about.
      Definition& own = definitions_[std::string(form.items[1].name())].back();
      own.calls.insert(body.calls.begin(), body.calls.end());
    }
  }

  // --- Findings ---------------------------------------------------------------------------------

  void report(Severity severity, const Form& at, std::string message, std::string advice) {
    findings_.push_back(
        {severity, program_, at.begin, at.end, std::move(message), std::move(advice)});
  }

  void error(const Form& at, std::string message, std::string advice) {
    report(Severity::Error, at, std::move(message), std::move(advice));
  }

  // A form that is evaluated at `depth`, in the function `inside` or at the top level.
  void look(const Form& form, std::uint32_t depth, const Definition* inside) {
    constexpr std::uint32_t kDepthMax = 129;  // The outermost form has depth 1.
    if (depth > kDepthMax) {
      error(form, "LISP evaluation depth exceeded", "this form stands inside more than 128 lists");
      return;
    }
    if (form.isSymbol()) return lookAtVariable(form);
    if (!form.isList() || form.items.empty()) return;
    if (!form.items.front().isSymbol()) {
      error(form.items.front(), "first list item must be a function symbol",
            "a list that is evaluated begins with the name of a function; quote data with '");
      return;
    }
    if (form.entry != nullptr && form.entry->group == Group::SpecialForm) {
      return lookAtSpecialForm(form, depth, inside);
    }
    for (std::size_t n = 1; n < form.items.size(); ++n) look(form.items[n], depth + 1, inside);
    const auto own = definitions_.find(form.operatorName());
    if (own != definitions_.end()) return lookAtOwnCall(form, own->second);
    if (form.entry == nullptr) return lookAtUnknown(form);
    if (form.entry->group == Group::Builtin) lookAtBuiltin(form);
  }

  void lookAtVariable(const Form& form) {
    const std::string name(form.name());
    if (name == "T" || assigned_.contains(name)) return;
    std::vector<std::string> names(assigned_.begin(), assigned_.end());
    std::string advice = "nothing assigns it: give it a value with SETQ, or quote it";
    if (definitions_.contains(name) || findEntry(name) != nullptr) {
      advice = name + " is a function: call it, as in (" + name + " ...)";
    } else if (const auto near = similarNames(name, names); !near.empty()) {
      advice = "did you mean " + near.front() + "?";
    }
    error(form, "unbound symbol: " + name, advice);
  }

  void lookAtUnknown(const Form& form) {
    const std::string name(form.operatorName());
    std::vector<std::string> names;
    for (const Entry& entry : entries()) names.emplace_back(entry.name);
    for (const auto& [known, definition] : definitions_) names.push_back(known);
    const auto near = similarNames(name, names);
    error(form.items.front(), "unsupported LISP function: " + name,
          near.empty() ? "no program here defines it; --load names a library that does"
                       : "did you mean " + near.front() + "?");
  }

  void lookAtOwnCall(const Form& form, const std::vector<Definition>& definitions) {
    const std::size_t count = form.items.size() - 1;
    const bool fits =
        std::any_of(definitions.begin(), definitions.end(),
                    [count](const Definition& d) { return d.parameters.size() == count; });
    // A definition of a builtin's name may not have been made yet.
    if (fits || form.entry != nullptr) return;
    const std::string name(form.operatorName());
    error(form, "wrong argument count for " + name,
          name + " takes " + counted(definitions.back().parameters.size(), "argument") +
              "; there are " + std::to_string(count));
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
  }

  // Constants are tried in the builtin itself, with something that fits for what is not known.
  void lookAtConstants(const Form& form) {
    if (form.entry->name == "TRANS") return;  // Its context is not known.
    for (std::size_t n = 1; n < form.items.size(); ++n) {
      const auto constant = constantOf(form.items[n]);
      if (!constant) continue;
      std::vector<LispValue> arguments = fittingArguments(form);
      arguments[n - 1] = *constant;
      Refusal refusal;
      if (callBuiltin(form.entry->name, arguments, nullptr, refusal)) continue;
      if (refusal.argument && *refusal.argument != n - 1) continue;
      error(form.items[n], refusal.message, "it takes " + refusal.expected);
    }
  }

  static std::vector<LispValue> fittingArguments(const Form& form) {
    const std::string_view name = form.entry->name;
    std::vector<LispValue> arguments(form.items.size() - 1, lisp::number(1));
    const LispValue point = lisp::list({lisp::number(1), lisp::number(2)});
    if (arguments.empty()) return arguments;
    if (name == "DISTANCE" || name == "ANGLE") arguments = {point, point};
    if (name == "POLAR") arguments[0] = point;
    if (name == "LENGTH") arguments[0] = point;
    if (name == "SSLENGTH" || name == "SSNAME") {
      arguments[0] = lisp::list({lisp::symbol("$KVSEL")});
    }
    return arguments;
  }

  // --- Special forms ----------------------------------------------------------------------------

  void lookAtSpecialForm(const Form& form, std::uint32_t depth, const Definition* inside) {
    const std::string_view name = form.entry->name;
    const std::size_t count = form.items.size() - 1;
    const bool has_pairs = name != "SETQ" || count % 2 == 0;
    if (name == "DEFUN") return lookAtDefinition(form);
    if (count < form.entry->count_min || count > form.entry->count_max || !has_pairs) {
      error(form, std::string(name) + ": " + counted(count, "part"),
            "it is written " + std::string(form.entry->form));
      return;
    }
    if (name == "QUOTE") return;
    if (name == "SETQ") return lookAtAssignments(form, depth, inside);
    if (name == "WHILE") lookAtCondition(form);
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
    const std::string own_name(inside.form->items[1].name());
    const std::string caller = callerWith(name, own_name);
    if (caller.empty()) return;
    report(Severity::Warning, target,
           "this assigns a copy of " + name + " when " + caller + " has called " + own_name,
           name + " is a local variable of " + caller + ": what is assigned here is gone when " +
               own_name +
               " returns. Declare it as local here, or give the value back as the result");
  }

  // A function that has `variable` as its own and calls `function`, directly or through others.
  std::string callerWith(const std::string& variable, const std::string& function) const {
    std::set<std::string, std::less<>> reached = {function};
    std::vector<std::string> pending = {function};
    while (!pending.empty()) {
      const std::string callee = std::move(pending.back());
      pending.pop_back();
      for (const auto& [name, definitions] : definitions_) {
        for (const Definition& definition : definitions) {
          if (!definition.calls.contains(callee)) continue;
          if (definition.own_names.contains(variable) && name != function) return name;
          if (reached.insert(name).second) pending.push_back(name);
        }
      }
    }
    return "";
  }

  void lookAtDefinition(const Form& form) {
    const std::vector<Form>& items = form.items;
    if (items.size() < 4 || !items[1].isSymbol() || !items[2].isList()) {
      error(form, "defun syntax error", "it is written " + std::string(form.entry->form));
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
    const auto& definitions = definitions_.find(items[1].name())->second;
    const auto own = std::find_if(definitions.begin(), definitions.end(),
                                  [&form](const Definition& d) { return d.form == &form; });
    for (std::size_t n = 3; n < items.size(); ++n) look(items[n], 2, &*own);
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
  ProgramPointer program_;
  std::map<std::string, std::vector<Definition>, std::less<>> definitions_;
  std::set<std::string, std::less<>> assigned_;
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
