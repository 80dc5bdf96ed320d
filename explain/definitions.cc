#include <algorithm>
#include <cstddef>
#include <utility>

#include "explain/evaluation.h"
#include "explain/value_text.h"

namespace explain {
namespace {

std::string nameOf(const lisp::LispValue& symbol) { return std::string(*lisp::asText(symbol)); }

template <typename Map>
std::vector<std::string> sortedNames(const Map& map) {
  std::vector<std::string> names;
  for (const auto& [record, entry] : map) names.push_back(nameOf(entry.symbol));
  std::sort(names.begin(), names.end());
  return names;
}

// How many letters must be changed, left out, put in or exchanged with the next.
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

const lisp::LispValue* Definitions::findVariable(const lisp::LispValue& symbol) const {
  const auto variable = variables_.find(symbol.raw().record);
  return variable == variables_.end() ? nullptr : &variable->second.value;
}

void Definitions::setVariable(const lisp::LispValue& symbol, const lisp::LispValue& value) {
  variables_[symbol.raw().record] = {symbol, value};
}

FunctionPointer Definitions::findFunction(const lisp::LispValue& symbol) const {
  const auto function = functions_.find(symbol.raw().record);
  return function == functions_.end() ? nullptr : function->second.function;
}

void Definitions::setFunction(const lisp::LispValue& symbol, FunctionPointer function) {
  functions_[symbol.raw().record] = {symbol, std::move(function)};
}

std::vector<std::string> Definitions::variableNames() const { return sortedNames(variables_); }

std::vector<std::string> Definitions::functionNames() const { return sortedNames(functions_); }

FunctionPointer Definitions::findFunctionNamed(std::string_view name) const {
  return findFunction(lisp::symbol(name));
}

std::string Definitions::asProgram(std::vector<std::string>& lost) const {
  constexpr std::size_t kValueSizeMax = 200000;
  std::string text;
  for (const std::string& name : functionNames()) {
    const FunctionPointer function = findFunctionNamed(name);
    const Form& form = *function->definition;
    text += function->program->source.text().substr(form.begin, form.end - form.begin);
    text += "\n";
  }
  for (const std::string& name : variableNames()) {
    const auto value = write(*findVariable(lisp::symbol(name)), kValueSizeMax);
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
  const std::size_t distance_max = name.size() <= 3 ? 1 : name.size() <= 6 ? 2 : 3;
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
