// Documents are read line by line. Nothing here knows Markdown beyond fences, headings, backquotes
// and the bars of a table.

#include "testing/formats/document_examples.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <optional>
#include <system_error>

namespace lisp_worker::testing_support {
namespace {

constexpr std::string_view kFence = "```";

// Takes the first line off `text`, without its line feed.
std::string_view takeLine(std::string_view& text) {
  const std::size_t size = std::min(text.find('\n'), text.size());
  std::string_view line = text.substr(0, size);
  text.remove_prefix(std::min(size + 1, text.size()));
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

// Takes `prefix` off `text` if it begins so.
bool takePrefix(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

std::string_view trim(std::string_view text) {
  const std::size_t begin = std::min(text.find_first_not_of(" \t"), text.size());
  return text.substr(begin, text.find_last_not_of(" \t") + 1 - begin);
}

// The number that all of `text` is.
std::optional<std::size_t> numberOf(std::string_view text) {
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

// The text of a heading's line; empty for any other line.
std::string_view headingOf(std::string_view line) {
  const std::size_t level = std::min(line.find_first_not_of('#'), line.size());
  if (level == 0 || level == line.size() || line[level] != ' ') return {};
  return trim(line.substr(level));
}

bool isTokenEnd(char c) { return c == ' ' || c == '\n' || c == '(' || c == ')' || c == '\''; }

}  // namespace

std::filesystem::path sourceDirectory() {
  const char* const source = std::getenv("LISP_SOURCE_DIR");
  return source != nullptr ? source : ".";
}

std::string readSource(const std::filesystem::path& path) {
  std::ifstream stream(sourceDirectory() / path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(stream), {});
}

std::string projectVersion() {
  static constexpr std::string_view kBefore = "project(lisp_worker VERSION ";
  const std::string build = readSource("CMakeLists.txt");
  const std::size_t at = build.find(kBefore);
  if (at == build.npos) return "";
  const std::size_t begin = at + kBefore.size();
  return build.substr(begin, build.find(' ', begin) - begin);
}

std::vector<DocumentBlock> fencedBlocks(std::string_view document) {
  std::vector<DocumentBlock> blocks;
  std::string_view heading;
  bool in_block = false;
  for (int line_number = 1; !document.empty(); ++line_number) {
    std::string_view line = takeLine(document);
    if (takePrefix(line, kFence)) {
      in_block = !in_block;
      if (in_block) {
        blocks.push_back({line_number + 1, std::string(heading), std::string(line), {}});
      }
    } else if (in_block) {
      blocks.back().text.append(line).push_back('\n');
    } else if (!headingOf(line).empty()) {
      heading = headingOf(line);
    }
  }
  return blocks;
}

bool calls(const ProgramFile& examples, std::string_view name) {
  const std::string head = "(" + std::string(name);
  return std::any_of(examples.steps.begin(), examples.steps.end(), [&](const ScriptStep& step) {
    if (step.kind != ScriptStep::Kind::Start) return false;
    const std::string& program = step.frame.payload;
    for (std::size_t at = program.find(head); at != program.npos; at = program.find(head, at + 1)) {
      const std::size_t end = at + head.size();
      if (end < program.size() && isTokenEnd(program[end])) return true;
    }
    return false;
  });
}

std::optional<std::string> bytesOfHex(std::string_view text) {
  std::string bytes;
  while (!text.empty()) {
    const std::string_view line = takeLine(text);
    std::string_view digits = line.substr(0, line.find("  "));
    if (digits.empty()) return std::nullopt;
    while (!digits.empty()) {
      unsigned byte = 0;
      const char* const end = digits.data() + std::min<std::size_t>(digits.size(), 2);
      const auto [stop, error] = std::from_chars(digits.data(), end, byte, 16);
      if (error != std::errc() || stop != digits.data() + 2) return std::nullopt;
      bytes.push_back(static_cast<char>(byte));
      digits.remove_prefix(2);
      if (!digits.empty() && !takePrefix(digits, " ")) return std::nullopt;
    }
  }
  return bytes;
}

std::vector<std::string> codeSpans(std::string_view text) {
  std::vector<std::string> spans;
  for (std::size_t begin = text.find('`'); begin != text.npos;) {
    const std::size_t end = text.find('`', begin + 1);
    if (end == text.npos) break;
    spans.emplace_back(text.substr(begin + 1, end - begin - 1));
    begin = text.find('`', end + 1);
  }
  return spans;
}

std::vector<std::vector<std::string>> tableRows(std::string_view document,
                                                std::string_view heading) {
  std::vector<std::vector<std::string>> rows;
  bool under_heading = false;
  while (!document.empty()) {
    std::string_view line = takeLine(document);
    if (!headingOf(line).empty()) under_heading = headingOf(line) == heading;
    if (!under_heading || !takePrefix(line, "|")) continue;
    std::vector<std::string>& cells = rows.emplace_back();
    while (!line.empty()) {
      const std::size_t size = std::min(line.find('|'), line.size());
      cells.emplace_back(trim(line.substr(0, size)));
      line.remove_prefix(std::min(size + 1, line.size()));
    }
  }
  return rows;
}

std::vector<std::size_t> recordSizesOf(std::string_view document, std::string_view heading) {
  std::vector<std::size_t> sizes;
  bool has_gap = false;
  for (const std::vector<std::string>& row : tableRows(document, heading)) {
    const std::optional<std::size_t> offset = numberOf(row[0]);
    const std::optional<std::size_t> size = row.size() < 2 ? std::nullopt : numberOf(row[1]);
    if (!offset || !size) continue;
    if (*offset == 0) {
      sizes.push_back(0);
      has_gap = false;
    }
    has_gap = has_gap || sizes.empty() || *offset != sizes.back();
    if (!sizes.empty()) sizes.back() = has_gap ? 0 : *offset + *size;
  }
  return sizes;
}

bool fitsPattern(std::string_view text, std::string_view pattern) {
  const std::size_t bracket = pattern.find('<');
  const std::size_t close = bracket == pattern.npos ? pattern.npos : pattern.find('>', bracket);
  if (close == pattern.npos) return text == pattern;
  if (!takePrefix(text, pattern.substr(0, bracket))) return false;
  const std::string_view rest = pattern.substr(close + 1);
  for (std::size_t skipped = 1; skipped <= text.size(); ++skipped) {
    if (fitsPattern(text.substr(skipped), rest)) return true;
  }
  return false;
}

}  // namespace lisp_worker::testing_support
