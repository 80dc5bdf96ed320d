// Columns of a text that is not ASCII are counted from the last of many marks, so that a position
// in a line of a megabyte takes as long as one in a short line.

#include "console/language/text_document.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace lisp_worker::console::language {
namespace {

constexpr std::size_t kBlock = 512;

bool continuesLetter(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80; }

// Of a byte in UTF-16: a letter of four bytes is two units, each other letter one.
std::size_t unitsOf(char c) {
  return continuesLetter(c) ? 0U : static_cast<unsigned char>(c) >= 0xF0 ? 2U : 1U;
}

std::size_t utf16Units(std::string_view text) {
  std::size_t count = 0;
  for (const char c : text) count += unitsOf(c);
  return count;
}

bool isAscii(std::string_view text) {
  unsigned char all = 0;
  for (const char c : text) all |= static_cast<unsigned char>(c);
  return all < 0x80;
}

}  // namespace

TextDocument::TextDocument(std::string text, Encoding encoding)
    : text_(std::move(text)), encoding_(encoding) {
  index();
}

std::size_t TextDocument::offsetOf(const Position& position) const {
  if (position.line >= lineCount()) return text_.size();
  const Span line = lineSpan(position.line);
  if (units_.empty()) {
    std::size_t at = line.begin + std::min(position.character, line.size());
    for (int n = 0; n < 3 && at > line.begin && at < text_.size() && continuesLetter(text_[at]);
         ++n)
      --at;
    return at;
  }
  const std::size_t wanted = std::min(
      unitsBefore(line.begin) + std::min(position.character, line.size()), unitsBefore(line.end));
  const auto after = std::upper_bound(units_.begin(), units_.end(), wanted);
  const auto block = static_cast<std::size_t>(after - units_.begin()) - 1;
  const bool is_in_line = block * kBlock >= line.begin;
  std::size_t at = is_in_line ? block * kBlock : line.begin;
  for (std::size_t units = is_in_line ? units_[block] : unitsBefore(at); at < line.end; ++at) {
    if (continuesLetter(text_[at])) continue;
    units += unitsOf(text_[at]);
    if (units > wanted) break;  // The letter begins here, or holds the position.
  }
  return at;
}

Position TextDocument::positionOf(std::size_t offset) const {
  assert(offset <= text_.size());
  const std::size_t line = lineOf(offset);
  const std::size_t begin = line_begins_[line];
  return {line, unitsBefore(offset) - unitsBefore(begin)};
}

Span TextDocument::spanOf(const Range& range) const {
  const std::size_t one = offsetOf(range.start);
  const std::size_t other = offsetOf(range.end);
  return {std::min(one, other), std::max(one, other)};
}

Range TextDocument::rangeOf(const Span& span) const {
  return {positionOf(span.begin), positionOf(span.end)};
}

std::size_t TextDocument::lineOf(std::size_t offset) const {
  const auto after = std::upper_bound(line_begins_.begin(), line_begins_.end(), offset);
  return static_cast<std::size_t>(after - line_begins_.begin()) - 1;
}

Span TextDocument::lineSpan(std::size_t line) const {
  const std::size_t begin = line_begins_[line];
  if (line + 1 == lineCount()) return {begin, text_.size()};
  std::size_t end = line_begins_[line + 1] - 1;
  if (end > begin && text_[end] == '\n' && text_[end - 1] == '\r') --end;
  return {begin, end};
}

std::size_t TextDocument::unitsIn(std::string_view text) const {
  return encoding_ == Encoding::Utf8 ? text.size() : utf16Units(text);
}

void TextDocument::replace(const Range& range, std::string_view text) {
  const Span span = spanOf(range);
  text_.replace(span.begin, span.size(), text);
  index();
}

void TextDocument::replaceAll(std::string text) {
  text_ = std::move(text);
  index();
}

void TextDocument::index() {
  line_begins_.assign(1, 0);
  const bool has_returns = text_.find('\r') != std::string::npos;
  for (std::size_t at = 0;; ++at) {
    at = has_returns ? text_.find_first_of("\r\n", at) : text_.find('\n', at);
    if (at == std::string::npos) break;
    if (text_[at] == '\r' && at + 1 < text_.size() && text_[at + 1] == '\n') ++at;
    line_begins_.push_back(at + 1);
  }
  units_.clear();
  if (encoding_ == Encoding::Utf8 || isAscii(text_)) return;
  std::size_t units = 0;
  for (std::size_t at = 0; at <= text_.size(); at += kBlock) {
    units_.push_back(units);
    units += utf16Units(std::string_view(text_).substr(at, kBlock));
  }
}

std::size_t TextDocument::unitsBefore(std::size_t offset) const {
  if (units_.empty()) return offset;
  const std::size_t block = offset / kBlock;
  return units_[block] +
         utf16Units(std::string_view(text_).substr(block * kBlock, offset % kBlock));
}

}  // namespace lisp_worker::console::language
