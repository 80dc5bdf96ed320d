#include "explain/source.h"

#include <algorithm>
#include <utility>

namespace explain {
namespace {

bool beginsLetter(char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80; }

std::size_t letterCount(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), beginsLetter));
}

// A text as a terminal can show it: blanks for tabs, question marks for control characters.
std::string printable(std::string_view text) {
  std::string shown;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    shown += c == '\t' || c == '\r' ? ' ' : byte < 0x20 || byte == 0x7F ? '?' : c;
  }
  return shown;
}

// Where the letter begins that the byte at `at` is a part of. A letter has four bytes at most; what
// is not UTF-8 is cut anywhere.
std::size_t letterBegin(std::string_view line, std::size_t at) {
  for (std::size_t back = 0; back < 4 && back <= at; ++back) {
    if (beginsLetter(line[at - back])) return at - back;
  }
  return at;
}

}  // namespace

Source::Source(std::string name, std::string text)
    : name_(std::move(name)), text_(std::move(text)), starts_{0} {
  for (std::size_t n = 0; n < text_.size(); ++n) {
    if (text_[n] == '\n') starts_.push_back(n + 1);
  }
}

std::size_t Source::lineOf(std::size_t offset) const {
  const auto after = std::upper_bound(starts_.begin(), starts_.end(), offset);
  return static_cast<std::size_t>(after - starts_.begin());
}

std::size_t Source::indentOf(std::size_t offset) const {
  return offset - lineStart(lineOf(offset));
}

Place Source::placeOf(std::size_t offset) const {
  const std::size_t number = lineOf(offset);
  const std::size_t start = lineStart(number);
  return {number, letterCount(std::string_view(text_).substr(start, offset - start)) + 1};
}

std::string_view Source::line(std::size_t number) const {
  const std::size_t start = lineStart(number);
  const std::size_t end = number < starts_.size() ? starts_[number] - 1 : text_.size();
  return std::string_view(text_).substr(start, end - start);
}

std::string showPlace(const Source& source, std::size_t begin, std::size_t end) {
  constexpr std::size_t kWidthMax = 90;
  constexpr std::size_t kNumberWidth = 5;
  const std::size_t number = source.lineOf(begin);
  std::string_view line = source.line(number);
  std::size_t at = begin - source.lineStart(number);
  const std::size_t room = line.size() - std::min(at, line.size());
  std::size_t length = std::min(end - std::min(begin, end), room);
  std::string prefix;
  if (line.size() > kWidthMax && at > kWidthMax / 2) {
    const std::size_t cut = letterBegin(line, at - kWidthMax / 2);
    line.remove_prefix(cut);
    at -= cut;
    prefix = "...";
  }
  std::string suffix;
  if (line.size() > kWidthMax) {
    line = line.substr(0, letterBegin(line, kWidthMax));
    suffix = "...";
    length = std::min(length, line.size() - std::min(at, line.size()));
  }
  std::string label = std::to_string(number);
  label.insert(0, label.size() < kNumberWidth ? kNumberWidth - label.size() : 0, ' ');
  const std::size_t letters_before = prefix.size() + letterCount(line.substr(0, at));
  const std::size_t letters = at < line.size() ? letterCount(line.substr(at, length)) : 0;
  return label + " | " + prefix + printable(line) + suffix + "\n" + std::string(label.size(), ' ') +
         " | " + std::string(letters_before, ' ') +
         std::string(std::max<std::size_t>(letters, 1), '^') + "\n";
}

}  // namespace explain
