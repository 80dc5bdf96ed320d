// Collects all names in one walk over the forms, and answers questions about calls by walks from
// function to function. Each step of those walks takes a unit of one budget, because a program can
// be written in which every function calls every other.

#include "check/program_names.h"

#include <algorithm>

namespace check {

bool isQuote(const Form& form) { return form.entry != nullptr && form.entry->name == "QUOTE"; }

std::string_view nameOf(const Definition& definition) { return definition.form->items[1].name(); }

ProgramNames::ProgramNames(std::span<const ProgramPointer> programs) {
  for (program_index_ = 0; program_index_ < programs.size(); ++program_index_) {
    for (const Form& form : programs[program_index_]->reading.forms) {
      outermost_ = &form;
      collect(form, nullptr);
    }
  }
  for (const auto& [name, definitions] : definitions_) {
    for (const Definition& definition : definitions) {
      definition_of_[definition.form] = &definition;
      all_own_names_.insert(definition.own_names.begin(), definition.own_names.end());
      for (const std::string& callee : definition.calls) callers_of_[callee].push_back(&definition);
    }
  }
}

void ProgramNames::collect(const Form& form, Definition* inside) {
  if (form.isSymbol()) (inside != nullptr ? inside->reads : top_reads_).emplace(form.name());
  if (!form.isList() || form.items.empty() || isQuote(form)) return;
  const std::string name(form.operatorName());
  if (name == "DEFUN" && form.items.size() >= 4 && form.items[1].isSymbol() &&
      form.items[2].isList()) {
    collectDefinition(form);
    return;
  }
  (inside != nullptr ? inside->calls : top_calls_).insert(name);
  for (std::size_t n = 1; n < form.items.size(); ++n) {
    const bool is_target = name == "SETQ" && n % 2 == 1;
    if (is_target && n + 1 < form.items.size() && form.items[n].isSymbol()) {
      const bool is_own = inside != nullptr && inside->own_names.contains(form.items[n].name());
      const std::string function =
          inside == nullptr ? "" : std::string(inside->form->items[1].name());
      assignments_[std::string(form.items[n].name())].push_back(
          {&form.items[n], &form.items[n + 1], program_index_, function, is_own});
      if (inside != nullptr && !is_own) assigned_in_functions_.emplace(form.items[n].name());
    }
    if (!is_target) {
      collect(form.items[n], inside);
    } else if (inside == nullptr || !inside->own_names.contains(form.items[n].name())) {
      globals_.emplace(form.items[n].name());
    }
  }
}

void ProgramNames::collectDefinition(const Form& form) {
  Definition definition{
      .form = &form, .position = {program_index_, form.begin}, .is_outermost = &form == outermost_};
  bool are_locals = false;
  for (const Form& item : form.items[2].items) {
    const std::string name(item.name());
    if (name == "/") {
      are_locals = true;
      continue;
    }
    if (!are_locals) definition.parameters.push_back(name);
    definition.own_names.insert(name);
  }
  for (std::size_t n = 3; n < form.items.size(); ++n) collect(form.items[n], &definition);
  definitions_[std::string(form.items[1].name())].push_back(std::move(definition));
}

const Definition* ProgramNames::onlyDefinition(const Form& call) const {
  const auto found = definitions_.find(call.operatorName());
  return found != definitions_.end() && found->second.size() == 1 ? &found->second.front()
                                                                  : nullptr;
}

// Only definitions of the top level certainly take effect, in their order. One inside a list may
// not be evaluated at all, so with any of those nothing is known.
const Definition* ProgramNames::definitionAt(Position position,
                                             const std::vector<Definition>& definitions) const {
  const Definition* latest = nullptr;
  for (const Definition& definition : definitions) {
    if (!definition.is_outermost || !spend()) return nullptr;
    const bool is_earlier = definition.position < position;
    if (is_earlier && (latest == nullptr || latest->position < definition.position)) {
      latest = &definition;
    }
  }
  return latest;
}

bool ProgramNames::areAllAfter(Position end, const std::vector<Definition>& definitions) const {
  return std::all_of(definitions.begin(), definitions.end(), [&](const Definition& definition) {
    return spend() && !(definition.position < end);
  });
}

// Follows the calls of `function`. One that has the variable as its own hides it from those below.
bool ProgramNames::asksFor(const std::string& variable, const std::string& function) const {
  Names reached = {function};
  std::vector<std::string> pending = {function};
  while (!pending.empty()) {
    const auto found = definitions_.find(std::exchange(pending.back(), ""));
    pending.pop_back();
    if (found == definitions_.end()) continue;
    for (const Definition& definition : found->second) {
      if (!spend()) return false;
      if (definition.own_names.contains(variable)) continue;
      if (definition.reads.contains(variable)) return true;
      for (const std::string& callee : definition.calls) {
        if (!spend()) return false;
        if (reached.insert(callee).second) pending.push_back(callee);
      }
    }
  }
  return false;
}

std::string ProgramNames::callerWith(const std::string& variable,
                                     const std::string& function) const {
  Names reached = {function};
  std::vector<std::string> pending = {function};
  while (!pending.empty()) {
    const std::string callee = std::move(pending.back());
    pending.pop_back();
    const auto callers = callers_of_.find(callee);
    if (callers == callers_of_.end()) continue;
    for (const Definition* const definition : callers->second) {
      if (!spend()) return "";
      std::string name(nameOf(*definition));
      if (definition->own_names.contains(variable) && name != function) return name;
      if (reached.insert(name).second) pending.push_back(name);
    }
  }
  return "";
}

}  // namespace check
