#include "console/language/scopes.h"

#include <algorithm>
#include <utility>

namespace lisp_worker::console::language {

Scopes::Scopes(std::vector<const ProgramParts*> texts) : texts_(std::move(texts)) {
  for (std::size_t text = 0; text < texts_.size(); ++text) {
    std::vector<std::size_t>& firsts = first_functions_.emplace_back();
    const std::vector<PlacedPart>& parts = texts_[text]->all();
    for (const PlacedPart& part : parts) {
      firsts.push_back(functions_.size());
      for (const FunctionNames& names : part.part->names().functions) {
        functions_.push_back({&names, text, &part});
      }
    }
  }
}

std::optional<Use> Scopes::at(std::size_t text, std::size_t offset) const {
  const std::vector<PlacedPart>& parts = texts_[text]->all();
  if (parts.empty()) return std::nullopt;
  std::size_t index = texts_[text]->indexAt(offset);
  const Occurrence* found = parts[index].part->names().find(offset - parts[index].begin);
  // A name may end where the next part begins.
  if (found == nullptr && index > 0 && parts[index].begin == offset) {
    --index;
    found = parts[index].part->names().find(offset - parts[index].begin);
  }
  if (found == nullptr) return std::nullopt;
  const std::size_t function =
      found->function == kTopLevel ? kTopLevel : first_functions_[text][index] + found->function;
  return Use{text, parts[index].placed(found->span), found->role, found->name, function};
}

template <typename Visit>
void Scopes::forEach(std::string_view name, bool as_function, Visit visit) const {
  for (std::size_t text = 0; text < texts_.size(); ++text) {
    const std::vector<PlacedPart>& parts = texts_[text]->all();
    for (std::size_t part = 0; part < parts.size(); ++part) {
      for (const Occurrence& each : parts[part].part->names().occurrences) {
        if (each.name != name || isFunctionRole(each.role) != as_function) continue;
        const std::size_t function =
            each.function == kTopLevel ? kTopLevel : first_functions_[text][part] + each.function;
        visit(Use{text, parts[part].placed(each.span), each.role, each.name, function});
      }
    }
  }
}

// The function that has the variable; kTopLevel for a free one.
std::size_t Scopes::ownerOf(const Use& use) const {
  const bool is_own = use.function != kTopLevel && functions_[use.function].names->owns(use.name);
  return is_own ? use.function : kTopLevel;
}

void Scopes::findCallers() const {
  if (std::exchange(has_callers_, true)) return;
  for (std::size_t text = 0; text < texts_.size(); ++text) {
    const std::vector<PlacedPart>& parts = texts_[text]->all();
    for (std::size_t part = 0; part < parts.size(); ++part) {
      for (const Occurrence& each : parts[part].part->names().occurrences) {
        if (each.role != Role::Call || each.function == kTopLevel) continue;
        const std::size_t caller = first_functions_[text][part] + each.function;
        std::vector<std::size_t>& callers = callers_[each.name];
        if (callers.empty() || callers.back() != caller) callers.push_back(caller);
      }
    }
  }
}

// The functions that have the variable and call, directly or through others, one of those in which
// it is free.
std::unordered_set<std::size_t> Scopes::ownersReached(
    std::string_view variable, const std::unordered_set<std::size_t>& free_in) const {
  findCallers();
  std::unordered_set<std::size_t> owners;
  std::unordered_set<std::size_t> seen = free_in;
  std::vector<std::size_t> pending(free_in.begin(), free_in.end());
  while (!pending.empty()) {
    const std::size_t function = pending.back();
    pending.pop_back();
    const auto callers = callers_.find(functions_[function].names->name);
    if (callers == callers_.end()) continue;
    for (const std::size_t caller : callers->second) {
      if (functions_[caller].names->owns(variable)) {
        owners.insert(caller);
      } else if (seen.insert(caller).second) {
        pending.push_back(caller);
      }
    }
  }
  return owners;
}

std::vector<Use> Scopes::sameAs(const Use& use) const {
  std::vector<Use> uses;
  const bool as_function = isFunctionRole(use.role);
  forEach(use.name, as_function, [&uses](const Use& each) { uses.push_back(each); });
  if (as_function) return uses;
  std::unordered_set<std::size_t> free_in;
  bool has_owners = false;
  for (const Use& each : uses) {
    const std::size_t owner = ownerOf(each);
    has_owners = has_owners || owner != kTopLevel;
    if (owner == kTopLevel && each.function != kTopLevel) free_in.insert(each.function);
  }
  if (!has_owners) return uses;
  std::unordered_set<std::size_t> together;
  if (!free_in.empty()) together = ownersReached(use.name, free_in);
  const std::size_t own = ownerOf(use);
  const bool is_alone = own != kTopLevel && !together.contains(own);
  std::erase_if(uses, [&](const Use& each) {
    const std::size_t owner = ownerOf(each);
    return is_alone ? owner != own : owner != kTopLevel && !together.contains(owner);
  });
  return uses;
}

std::vector<Use> Scopes::definitionsOf(const Use& use) const {
  const std::vector<Use> uses = sameAs(use);
  std::vector<Use> found;
  for (const Use& each : uses) {
    const bool declares =
        each.role == Role::Definition || each.role == Role::Parameter || each.role == Role::Local;
    if (declares) found.push_back(each);
  }
  if (!found.empty()) return found;
  const auto assigns = [](const Use& each) { return each.role == Role::Assignment; };
  auto first = std::find_if(uses.begin(), uses.end(), [&](const Use& each) {
    return assigns(each) && each.function == kTopLevel;
  });
  if (first == uses.end()) first = std::find_if(uses.begin(), uses.end(), assigns);
  if (first != uses.end()) found.push_back(*first);
  return found;
}

bool Scopes::isUsed(std::string_view name, bool as_function) const {
  bool is_used = false;
  forEach(name, as_function, [&is_used](const Use&) { is_used = true; });
  return is_used;
}

const Scopes::Function* Scopes::findFunction(std::string_view name) const {
  if (names_) {
    const auto found = names_->functions.find(name);
    return found == names_->functions.end() ? nullptr : found->second;
  }
  const auto found =
      std::find_if(functions_.rbegin(), functions_.rend(),
                   [name](const Function& each) { return each.names->name == name; });
  return found == functions_.rend() ? nullptr : &*found;
}

const Scopes::Names& Scopes::names() const {
  if (names_) return *names_;
  names_.emplace();
  for (const Function& function : functions_) names_->functions[function.names->name] = &function;
  for (const ProgramParts* const text : texts_) {
    for (const PlacedPart& part : text->all()) {
      const PartNames& names = part.part->names();
      for (const Occurrence& each : names.occurrences) {
        const bool is_own =
            each.function != kTopLevel && names.functions[each.function].owns(each.name);
        if (each.role == Role::Assignment && !is_own) names_->variables.insert(each.name);
      }
    }
  }
  return *names_;
}

}  // namespace lisp_worker::console::language
