// The checker walks every form as the evaluator would, without evaluating it, and reports what must
// fail (errors) and what is seldom meant (warnings). It knows the builtins from the reference
// (explain/reference.h), and the names of all programs from a first walk (check/program_names.h).

#include "check/check.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "check/flow.h"
#include "check/program_names.h"
#include "explain/explanation.h"
#include "explain/form.h"
#include "explain/habits.h"
#include "explain/kind.h"
#include "explain/reference.h"
#include "explain/value_text.h"

namespace check {
namespace {

using explain::adviceAround;
using explain::adviceOnHabit;
using explain::counted;
using explain::entries;
using explain::Entry;
using explain::findEntry;
using explain::Form;
using explain::Group;
using explain::Kind;
using explain::Place;
using lisp::LispValue;
using lisp::ValueKind;

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
    for (program_index_ = 0; program_index_ < programs_.size(); ++program_index_) {
      program_ = programs_[program_index_];
      if (program_index_ < first_shown) {  // Only its functions count.
        static_cast<void>(Flow(program_->reading.forms, names_, signatures_));
        continue;
      }
      if (const auto& fault = program_->reading.fault) {
        findings_.push_back(
            {Severity::Error, program_, fault->begin, fault->end, fault->message, fault->hint});
      }
      flow_.emplace(program_->reading.forms, names_, signatures_);
      for (const Form& form : program_->reading.forms) {
        outermost_ = &form;
        look(form, 1, nullptr);
      }
      lookAtNames();
      lookAtOwnNames();
      lookAtDefinitions();
      lookAtTypedCommands();
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
    std::vector<std::string> names;
    if (mayCompare()) names.assign(names_.globals().begin(), names_.globals().end());
    if (inside != nullptr && mayCompare()) {
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

  [[nodiscard]] bool mayCompare() const {
    constexpr std::size_t kComparisonsMax = 500'000;
    return compared_ <= kComparisonsMax;
  }

  // Comparing names is costly: not for all names of a text that has very many.
  std::vector<std::string> namesNear(const std::string& name,
                                     const std::vector<std::string>& names) {
    compared_ += names.size();
    return mayCompare() ? explain::similarNames(name, names) : std::vector<std::string>();
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
    if (may_fit && form.entry == nullptr && definitions.size() == 1) {
      lookAtGivenArguments(form, definitions.front());
    }
    if (inside == nullptr) return;
    for (std::size_t n = 1; n < form.items.size(); ++n)
      lookAtLateAssignments(form, form.items[n], *inside);
  }

  // A builtin, reached from a parameter through calls, and the function that calls it.
  struct Destination {
    Argument argument;
    const Definition* function;
  };

  using Asked = std::set<std::pair<const Form*, std::size_t>>;  // Parameters of DEFUNs.

  // The builtin that certainly gets the parameter and refuses all that `argument` may be.
  std::optional<Destination> findRefusal(const Form& argument, const Definition& function,
                                         std::size_t parameter, Asked& asked) {
    constexpr std::size_t kAskedMax = 20;  // In one search, and in all.
    constexpr std::size_t kAllAskedMax = 50'000;
    const auto signature = signatures_.find(function.form);
    if (signature == signatures_.end() || asked.size() > kAskedMax) return {};
    if (++asked_count_ > kAllAskedMax) return {};
    if (!asked.emplace(function.form, parameter).second) return {};
    const auto uses = signature->second.uses.find(parameter);
    if (uses == signature->second.uses.end()) return {};
    for (const Argument& use : uses->second) {
      if (names_.definitions().contains(use.call->operatorName())) {
        const Definition* const next = names_.onlyDefinition(*use.call);
        if (next == nullptr || use.call->entry != nullptr) continue;
        auto found = findRefusal(argument, *next, use.index, asked);
        if (found) return found;
      } else if (use.call->entry != nullptr && use.call->entry->group == Group::Builtin) {
        const Kind wanted = use.call->entry->kindAt(use.index);
        const std::size_t count = use.call->items.size() - 1;
        const bool is_whole =
            count >= use.call->entry->count_min && count <= use.call->entry->count_max;
        const bool is_wrong = takesElements(*use.call->entry)
                                  ? hasNoElements(argument)
                                  : isWrong(wanted, knownOf(argument, wanted));
        if (is_whole && is_wrong) return {{use, &function}};
      }
    }
    return {};
  }

  // Arguments that fail inside the function that is called.
  void lookAtGivenArguments(const Form& form, const Definition& function) {
    for (std::size_t n = 0; n < function.parameters.size(); ++n) {
      const Form& argument = form.items[n + 1];
      Asked asked;
      const auto found = findRefusal(argument, function, n, asked);
      if (!found) continue;
      const Form& call = *found->argument.call;
      const explain::Program& program = *programs_[found->function->position.first];
      const std::string way = std::string(nameOf(function)) + " takes it as " +
                              function.parameters[n] + ", and it comes to " +
                              std::string(call.entry->name) + " at " +
                              explain::nameOfPlace(program, call.begin) + ": ";
      if (takesElements(*call.entry)) {
        reportNoElements(argument, call, way);
      } else {
        reportRefusal(argument, call, found->argument.index, way);
      }
    }
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
      if (takesElements(entry)) {
        report(Severity::Warning, form, std::string(entry.name) + " of " + counted(count, "value"),
               "it is nil: " + std::string(entry.form));
        return;
      }
      error(form, std::string(entry.name) + ": " + counted(count, "argument"),
            "it takes " + std::string(entry.form));
      return;
    }
    lookAtConstants(form);
    if (takesElements(entry)) lookAtElement(form.items[1], form);
    if (entry.name == "POLAR") lookAtAngle(form.items[2]);
    if (entry.name == "SSNAME") lookAtSelection(form.items[1]);
  }

  static bool takesElements(const Entry& entry) {
    return entry.name == "CAR" || entry.name == "CDR";
  }

  // True when CAR and CDR of it are nil, and not because it is nil or an empty list itself.
  bool hasNoElements(const Form& argument) const {
    const Known known = knownOf(argument, Kind::Number);
    return !known.mayBe(ValueKind::List) && !known.mayBe(ValueKind::Nil);
  }

  // Part of a text or a number, often of a point that is written as for COMMAND: "10,20".
  void lookAtElement(const Form& argument, const Form& call) {
    if (hasNoElements(argument)) reportNoElements(argument, call, "");
  }

  void reportNoElements(const Form& argument, const Form& call, const std::string& way) {
    const LispValue example = exampleOf(knownOf(argument, Kind::Number));
    report(Severity::Warning, argument,
           std::string(call.entry->name) + " of " + explain::kindOf(example) + " is nil",
           way + (example.kind() == ValueKind::String
                      ? "a point is a list here: '(10 20), not \"10,20\", which is for COMMAND"
                      : "it takes " + std::string(call.entry->form)));
  }

  // A selection that has not been asked whether there is one, or how long it is.
  void lookAtSelection(const Form& selection) {
    const Known* const known = flow_->find(selection);
    if (known == nullptr || known->host_call == nullptr || !known->mayBe(ValueKind::Nil)) return;
    if (known->host_call->operatorName() != "SSGET") return;
    if (!warned_calls_.insert(known->host_call).second) return;
    report(Severity::Warning, selection, "SSGET answers nil when it finds nothing",
           "keep its answer in a variable, and ask with IF whether there is one");
  }

  // True when nothing that the argument may be is accepted.
  static bool isWrong(Kind wanted, const Known& known) {
    if (known.constant) return !explain::fits(wanted, *known.constant);
    switch (wanted) {
      case Kind::Any:
        return false;
      case Kind::Number:
      case Kind::Divisor:
      case Kind::System:
        return !known.mayBe(ValueKind::Number);
      case Kind::List:
      case Kind::SelectionSet:
      case Kind::Point:
        return !known.mayBe(ValueKind::List);
    }
    return false;
  }

  // One of the values that it may be; for messages.
  static LispValue exampleOf(const Known& known) {
    if (known.constant) return *known.constant;
    if (known.mayBe(ValueKind::Number)) return lisp::number(1);
    if (known.mayBe(ValueKind::List)) return explain::valueOf(Kind::List);
    if (known.mayBe(ValueKind::String)) return lisp::string("text");
    if (known.mayBe(ValueKind::Symbol)) return lisp::truth();
    return lisp::nil();
  }

  // The knowledge of an argument that is to be of that kind.
  Known knownOf(const Form& argument, Kind wanted) const {
    if (const Known* const known = flow_->find(argument); known != nullptr) return *known;
    if (auto value = knownValueOf(argument, wanted)) {
      const auto kinds = Known::bitOf(value->kind());
      return {.kinds = kinds, .constant = std::move(value)};
    }
    return {};
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
    const auto value = knownOf(angle, Kind::Number).constant;
    const auto degrees = value ? lisp::asNumber(*value) : std::nullopt;
    constexpr int kReportsMax = 3;  // One who writes degrees writes them everywhere.
    constexpr std::size_t kAngleTextMax = 30;
    if (!degrees || std::fabs(*degrees) < 10 || std::fmod(*degrees, 5) != 0) return;
    if (++angle_count_ > kReportsMax) return;
    report(Severity::Warning, angle, "angles are in radians",
           "degrees are turned into radians: (* " + explain::shorten(*value, kAngleTextMax) +
               " 0.017453292519943295)");
  }

  // A constant of a wrong kind is tried in the builtin itself, which knows what it says then.
  void lookAtConstants(const Form& form) {
    constexpr int kErrorCountMax = 10;  // Of one form.
    const Entry& entry = *form.entry;
    int error_count = 0;
    for (std::size_t n = 0; n + 1 < form.items.size() && error_count < kErrorCountMax; ++n) {
      const Form& argument = form.items[n + 1];
      if (!isWrong(entry.kindAt(n), knownOf(argument, entry.kindAt(n)))) continue;
      ++error_count;
      reportRefusal(argument, form, n, "");
    }
  }

  // Reports at `argument` that the builtin of `call` refuses it as its argument of this index. The
  // advice begins with `way`.
  void reportRefusal(const Form& argument, const Form& call, std::size_t index,
                     const std::string& way) {
    const Entry& entry = *call.entry;
    const Known known = knownOf(argument, entry.kindAt(index));
    const LispValue example = exampleOf(known);
    std::vector<LispValue> arguments;
    for (std::size_t i = 0; i + 1 < call.items.size(); ++i) {
      arguments.push_back(i == index ? example : explain::valueOf(entry.kindAt(i)));
    }
    const std::string message = explain::refusalOf(entry.name, arguments);
    if (message.empty()) return;
    if (known.host_call == nullptr) {
      const std::string advice = explain::adviceFor(entry.kindAt(index), example, entry.name);
      error(argument, message,
            way + "it takes " + explain::expectationOf(entry.kindAt(index), example) +
                (advice.empty() ? "" : "; " + advice));
    } else {
      report(Severity::Warning, argument, message,
             way + std::string(known.host_call->operatorName()) + " answers " +
                 explain::kindOf(example) + (known.mayBe(ValueKind::Nil) ? ", or nil" : ""));
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
      lookAtLoop(form, inside);
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

  // True when evaluating the form may assign one of the names. A function that it calls assigns a
  // copy of what is the own of `inside`.
  bool mayAssign(const Form& form, const Names& names, const Definition* inside) const {
    if (!form.isList() || form.items.empty() || isQuote(form)) return false;
    const bool is_own = names_.definitions().contains(form.operatorName());
    if (form.entry == nullptr && !is_own) return true;
    if (is_own && std::any_of(names.begin(), names.end(), [&](const std::string& name) {
          const bool is_copied = inside != nullptr && inside->own_names.contains(name);
          return !is_copied && names_.assignedInFunctions().contains(name);
        })) {
      return true;
    }
    for (std::size_t n = 1; n < form.items.size(); ++n) {
      const bool is_target = form.operatorName() == "SETQ" && n % 2 == 1;
      if (is_target ? names.contains(form.items[n].name())
                    : mayAssign(form.items[n], names, inside)) {
        return true;
      }
    }
    return false;
  }

  // True when the form, or one in it, is (SETQ NAME (CDR NAME)).
  bool shortens(const Form& form, std::string_view name) const {
    if (!form.isList() || isQuote(form) || !names_.spend()) return false;
    if (form.operatorName() == "SETQ") {
      for (std::size_t n = 1; n + 1 < form.items.size(); n += 2) {
        const Form& value = form.items[n + 1];
        if (form.items[n].name() == name && value.operatorName() == "CDR" &&
            value.items.size() == 2 && value.items[1].name() == name) {
          return true;
        }
      }
    }
    return std::any_of(form.items.begin(), form.items.end(),
                       [&](const Form& item) { return shortens(item, name); });
  }

  // (WHILE L ... (SETQ L (CDR L))): the list ends empty, and an empty list is true.
  void lookAtListLoop(const Form& form) {
    const std::string name(form.items[1].name());
    if (name.empty() || !std::any_of(form.items.begin() + 2, form.items.end(),
                                     [&](const Form& item) { return shortens(item, name); })) {
      return;
    }
    report(
        Severity::Warning, form.items[1], "this loop runs once more when " + name + " is empty",
        "an empty list is true, and its CAR is nil: write (WHILE (> (LENGTH " + name + ") 0) ...)");
  }

  void lookAtLoop(const Form& form, const Definition* inside) {
    const Form& condition = form.items[1];
    const auto value = constantOf(condition);
    if (value && value->kind() != ValueKind::Nil) {
      report(Severity::Warning, condition, "nothing ends this loop",
             "it runs until the step limit ends the program: ask for something that the loop "
             "changes");
      return;
    }
    lookAtListLoop(form);
    Names names;
    if (!isFixed(condition, names) || names.empty() || !names_.spend()) return;
    for (std::size_t n = 2; n < form.items.size(); ++n) {
      if (mayAssign(form.items[n], names, inside)) return;
    }
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : " or ") + name;
    report(Severity::Warning, condition, "nothing in this loop changes " + text,
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
    std::map<std::string, std::vector<const Assignment*>> leaks;  // First ones, by function.
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
        leaks[first.function].push_back(&first);
      }
    }
    for (auto& [function, assignments] : leaks) reportLeaks(function, assignments);
  }

  // Variables that only `function` uses and that are not its own; one finding for all of them.
  void reportLeaks(const std::string& function, std::vector<const Assignment*>& assignments) {
    std::sort(assignments.begin(), assignments.end(),
              [](const auto* a, const auto* b) { return a->target->begin < b->target->begin; });
    constexpr std::size_t kNamedMax = 8;
    const std::size_t count = assignments.size();
    std::string names;
    std::string listed;
    for (std::size_t n = 0; n < count && n < kNamedMax; ++n) {
      const std::string name(assignments[n]->target->name());
      names += (n == 0 ? "" : n + 1 == count ? " and " : ", ") + name;
      listed += (n == 0 ? "" : " ") + name;
    }
    if (count > kNamedMax) {
      names += " and " + std::to_string(count - kNamedMax) + " more";
      listed += " ...";
    }
    const bool is_one = count == 1;
    const Definition& definition = names_.definitions().find(function)->second.back();
    std::string parameters;
    bool has_slash = false;
    for (const Form& item : definition.form->items[2].items) {
      parameters += std::string(item.name()) + " ";
      has_slash = has_slash || item.name() == "/";
    }
    report(Severity::Warning, *assignments.front()->target,
           names + (is_one ? " stays when " : " stay when ") + function + " returns",
           "only " + function +
               (is_one ? " uses it: declare it as local" : " uses them: declare them as locals") +
               ", (DEFUN " + function + " (" + parameters + (has_slash ? "" : "/ ") + listed +
               ") ...)");
  }

  // Parameters and locals that neither their function nor one that it calls asks for.
  void lookAtOwnNames() {
    for (const auto& [name, definitions] : names_.definitions()) {
      for (const Definition& definition : definitions) {
        if (definition.position.first == program_index_) lookAtOwnNamesOf(definition);
      }
    }
  }

  void lookAtOwnNamesOf(const Definition& definition) {
    bool is_local = false;
    for (const Form& item : definition.form->items[2].items) {
      const std::string name(item.name());
      if (name == "/") {
        is_local = true;
        continue;
      }
      if (!item.isSymbol() || name == "T" || definition.reads.contains(name)) continue;
      const bool is_read_elsewhere =
          std::any_of(definition.calls.begin(), definition.calls.end(),
                      [&](const std::string& callee) { return names_.asksFor(name, callee); });
      if (is_read_elsewhere || names_.isSpent()) continue;
      report(Severity::Warning, item, std::string(nameOf(definition)) + " does not use " + name,
             is_local ? "leave it out, or ask for what is assigned to it"
                      : "a parameter that nobody asks for: leave it out, here and in the calls");
    }
  }

  // Functions that are defined again before anything may have called them, and those that a call
  // reaches before they are defined.
  void lookAtDefinitions() {
    std::map<std::string_view, const Form*> waiting;  // Outermost definitions, not called yet.
    for (const Form& form : program_->reading.forms) {
      if (form.operatorName() == "DEFUN" && names_.definitionsByForm().contains(&form)) {
        const std::string_view name = form.items[1].name();
        const auto [earlier, is_new] = waiting.try_emplace(name, &form);
        if (is_new) continue;
        report(Severity::Warning, form.items[1], std::string(name) + " is defined twice",
               "the definition in line " + std::to_string(earlier->second->line) +
                   " is never called: take one of them out");
        earlier->second = &form;
      } else if (const Form* const call = findOwnCall(form)) {
        waiting.clear();
        lookAtReach(form, *call);
      }
    }
  }

  // Functions that are meant to be typed as commands, which this host does not offer.
  void lookAtTypedCommands() {
    for (const Form& form : program_->reading.forms) {
      if (form.operatorName() != "DEFUN" || !names_.definitionsByForm().contains(&form)) continue;
      const std::string name(form.items[1].name());
      if (!name.starts_with("C:") || names_.isCalled(name)) continue;
      report(Severity::Warning, form.items[1], "nothing calls " + name,
             "commands of one's own are not typed here: a last line (" + name + ") runs it");
    }
  }

  // The first call of a function that some program defines.
  const Form* findOwnCall(const Form& form) const {
    if (!form.isList() || form.items.empty() || isQuote(form)) return nullptr;
    if (form.operatorName() == "DEFUN") return nullptr;
    if (names_.definitions().contains(form.operatorName())) return &form;
    for (const Form& item : form.items) {
      if (const Form* const call = findOwnCall(item)) return call;
    }
    return nullptr;
  }

  // A call at the top level, of a function that calls one which is defined only later.
  void lookAtReach(const Form& outermost, const Form& call) {
    const std::string first(call.operatorName());
    const Position end = {program_index_, outermost.end};
    Names reached = {first};
    std::vector<std::string> pending = {first};
    while (!pending.empty()) {
      const auto found = names_.definitions().find(std::exchange(pending.back(), ""));
      pending.pop_back();
      if (found == names_.definitions().end() || !names_.spend()) continue;
      if (found->first != first && findEntry(found->first) == nullptr &&
          names_.areAllAfter(end, found->second)) {
        const auto& later = found->second.front().position;
        const Place place = programs_[later.first]->source.placeOf(later.second);
        report(Severity::Warning, call,
               first + " may call " + found->first + ", which is not defined yet",
               "it is defined only later, in line " + std::to_string(place.line) +
                   ": move the definition up");
        return;
      }
      for (const Definition& definition : found->second) {
        for (const std::string& callee : definition.calls) {
          if (names_.spend() && reached.insert(callee).second) pending.push_back(callee);
        }
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
      if (item.name() == "T") {
        report(Severity::Warning, item, "T is always T", "give the parameter another name");
      }
      if (!seen.insert(item.name()).second) {
        report(Severity::Warning, item, "this name stands twice in the list",
               "of two parameters the last counts; a local begins as nil");
      }
    }
  }

  std::span<const ProgramPointer> programs_;
  std::size_t program_index_ = 0;
  ProgramPointer program_;
  Signatures signatures_;
  std::optional<Flow> flow_;
  std::size_t asked_count_ = 0;         // Parameters that were followed into functions.
  int angle_count_ = 0;                 // Angles in degrees.
  std::set<const Form*> warned_calls_;  // Host calls whose answers may be nil, and are not tested.
  const Form* outermost_ = nullptr;     // The form of the top level that is being looked at.
  ProgramNames names_;
  std::size_t compared_ = 0;  // Names that have been compared with others.
  std::vector<Finding> findings_;
};

}  // namespace

std::vector<Finding> findingsIn(std::span<const ProgramPointer> programs, std::size_t first_shown) {
  return Checker(programs).run(first_shown);
}

std::string describe(const Finding& finding) {
  std::string text = explain::nameOfPlace(*finding.program, finding.begin) +
                     (finding.severity == Severity::Error ? ": error: " : ": warning: ") +
                     finding.message + "\n" +
                     explain::showPlace(finding.program->source, finding.begin, finding.end);
  if (!finding.advice.empty()) text += "  " + finding.advice + "\n";
  return text;
}

}  // namespace check
