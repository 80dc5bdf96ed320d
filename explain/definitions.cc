// The mirror of the worker's persistent environment, with the texts that functions come from; and
// the search for similar names.

#include <algorithm>
#include <cstddef>
#include <utility>

#include "explain/evaluation.h"
#include "explain/value_text.h"

namespace explain {
namespace {

std::string_view nameOf(const Function& function) { return function.definition->items[1].name(); }

// The number of letters to change, leave out, put in or exchange with the next, at least.
std::size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<std::vector<std::size_t>> cost(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) {
    for (std::size_t j = 0; j <= b.size(); ++j) {
      if (i == 0 || j == 0) {
        cost[i][j] = i + j;
        continue;
      }
      cost[i][j] = std::min({cost[i - 1][j] + 1, cost[i][j - 1] + 1,
                             cost[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        cost[i][j] = std::min(cost[i][j], cost[i - 2][j - 2] + 1);
      }
    }
  }
  return cost[a.size()][b.size()];
}

}  // namespace

lisp::Binding Definitions::bindingOf(std::string_view name) const {
  const lisp::LispValue symbol = lisp::symbol(name);
  return environment_.find(lisp::symbolOf(symbol.raw()));
}

const Function* Definitions::findFunction(const lisp::UserFunction* record) const {
  const auto function = functions_.find(record);
  return function == functions_.end() ? nullptr : &function->second;
}

const Function* Definitions::findFunctionNamed(std::string_view name) const {
  return findFunction(bindingOf(name).function);
}

std::vector<std::string> Definitions::variableNames() const {
  return {variables_.begin(), variables_.end()};
}

bool Definitions::hasVariable(std::string_view name) const {
  return bindingOf(name).value.tag() != lisp::Tag::Unbound;
}

lisp::LispValue Definitions::valueOf(std::string_view name) const {
  return lisp::LispValue::share(bindingOf(name).value);
}

std::vector<std::string> Definitions::functionNames() const {
  std::vector<std::string> names;
  for (const auto& [record, function] : functions_) names.emplace_back(nameOf(function));
  std::sort(names.begin(), names.end());
  return names;
}

// A function that was defined anew has another record; the old one's entry goes.
void Definitions::keep(lisp::Interpreter& finished, const std::set<std::string>& variables,
                       const FunctionTable& functions) {
  finished.commit(environment_);
  variables_.insert(variables.begin(), variables.end());
  for (const auto& [record, function] : functions) functions_[record] = function;
  std::erase_if(functions_, [this](const auto& entry) {
    return bindingOf(nameOf(entry.second)).function != entry.first;
  });
}

std::string Definitions::asProgram(std::vector<std::string>& lost) const {
  constexpr std::size_t kValueSizeMax = 200000;
  std::string text;
  for (const std::string& name : functionNames()) {
    const Function* const function = findFunctionNamed(name);
    const Form& form = *function->definition;
    text += function->program->source.text().substr(form.begin, form.end - form.begin);
    text += "\n";
  }
  for (const std::string& name : variables_) {
    const auto value = write(valueOf(name), kValueSizeMax);
    if (value) {
      text += "(SETQ " + name + " '" + *value + ")\n";
    } else {
      lost.push_back(name);
    }
  }
  return text;
}

std::vector<std::string> similarNames(std::string_view name, std::span<const std::string> names) {
  constexpr std::size_t kNameSizeMax = 64;
  constexpr std::size_t kCountMax = 3;
  std::vector<std::pair<std::size_t, std::string>> near;
  const std::size_t distance_max = name.size() <= 4 ? 1 : name.size() <= 6 ? 2 : 3;
  for (const std::string& candidate : names) {
    if (candidate.size() > kNameSizeMax || name.size() > kNameSizeMax || candidate == name)
      continue;
    const std::size_t distance = editDistance(name, candidate);
    if (distance <= distance_max && distance < name.size()) near.emplace_back(distance, candidate);
  }
  std::sort(near.begin(), near.end());
  near.erase(std::unique(near.begin(), near.end()), near.end());
  std::vector<std::string> found;
  for (const auto& [distance, candidate] : near) {
    // Only the nearest: others would be guesses.
    if (distance == near.front().first && found.size() < kCountMax) found.push_back(candidate);
  }
  return found;
}

}  // namespace explain
