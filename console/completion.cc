// The word before the cursor, the names that begin with it, and what these have in common.

#include "console/completion.h"

#include <algorithm>
#include <cstddef>

#include "console/command_input.h"

namespace lisp_worker::console {

std::string_view wordBefore(std::string_view line) {
  const std::size_t end = line.find_last_of(" \t()'\"");
  return end == std::string_view::npos ? line : line.substr(end + 1);
}

std::vector<std::string> namesWith(const std::vector<std::string>& names, std::string_view word) {
  const std::string wanted = upperCase(word);
  std::vector<std::string> found;
  for (const std::string& name : names) {
    if (upperCase(name).starts_with(wanted)) found.push_back(name);
  }
  std::sort(found.begin(), found.end());
  found.erase(std::unique(found.begin(), found.end()), found.end());
  return found;
}

std::string commonRest(const std::vector<std::string>& candidates, std::string_view word) {
  if (candidates.empty()) return "";
  std::string common = candidates.front();
  for (const std::string& name : candidates) {
    std::size_t size = 0;
    while (size < common.size() && size < name.size() && common[size] == name[size]) ++size;
    common.resize(size);
  }
  std::string rest = common.substr(std::min(word.size(), common.size()));
  const bool is_lower =
      std::any_of(word.begin(), word.end(), [](char c) { return c >= 'a' && c <= 'z'; });
  if (is_lower) {
    for (char& c : rest) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  if (candidates.size() == 1) rest += ' ';
  return rest;
}

}  // namespace lisp_worker::console
