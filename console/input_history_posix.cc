// Each form is one write at the end of the file, so that sessions side by side lose nothing.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "console/files.h"
#include "console/input_history.h"

namespace lisp_worker::console {
namespace {

std::string encoded(const std::string& form) {
  std::string line;
  for (const char c : form) {
    if (c == '\n') {
      line += "\\n";
    } else if (c == '\\') {
      line += "\\\\";
    } else {
      line += c;
    }
  }
  return line + "\n";
}

std::string decoded(const std::string& line) {
  std::string form;
  for (std::size_t n = 0; n < line.size(); ++n) {
    if (line[n] == '\\' && n + 1 < line.size()) {
      form += line[++n] == 'n' ? '\n' : line[n];
    } else {
      form += line[n];
    }
  }
  return form;
}

}  // namespace

std::vector<std::string> loadHistory(const std::string& path) {
  std::string error;
  const auto text = readFile(path, error);
  std::vector<std::string> lines;
  if (!text) return lines;
  for (std::size_t begin = 0; begin < text->size();) {
    const std::size_t end = std::min(text->find('\n', begin), text->size());
    if (end > begin) lines.push_back(text->substr(begin, end - begin));
    begin = end + 1;
  }
  if (lines.size() > kHistoryCountMax) {
    lines.erase(lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(kHistoryCountMax));
    std::string kept;
    for (const std::string& line : lines) kept += line + "\n";
    static_cast<void>(writeFile(path, kept, error));
  }
  for (std::string& line : lines) line = decoded(line);
  return lines;
}

void appendHistory(const std::string& path, const std::string& form) {
  const std::filesystem::path directory = std::filesystem::path(path).parent_path();
  std::error_code failure;
  if (!directory.empty() && !std::filesystem::exists(directory, failure)) {
    std::filesystem::create_directories(directory, failure);
    std::filesystem::permissions(directory, std::filesystem::perms::owner_all, failure);
  }
  const int file = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  if (file < 0) return;
  ::fchmod(file, 0600);  // It may be older than this rule.
  const std::string line = encoded(form);
  static_cast<void>(!::write(file, line.data(), line.size()));
  ::close(file);
}

}  // namespace lisp_worker::console
