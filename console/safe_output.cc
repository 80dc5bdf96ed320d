// A stream buffer in front of the real one. What it gets is passed on through safeText(); the bytes
// of a letter that is not whole yet wait for the rest. Changes of style wait as marks beside the
// text, so that no control sequence of a text can be taken for one.

#include "console/safe_output.h"

#include <algorithm>
#include <iostream>
#include <ostream>
#include <string_view>

#include "console/display.h"
#include "console/terminal.h"
#include "console/utf8.h"

namespace lisp_worker::console {
namespace {

// The eight colours that every terminal has, as its owner has set them.
std::string_view sequenceOf(Style style) {
  switch (style) {
    case Style::Plain:
      return "\033[0m";
    case Style::Error:
      return "\033[1;31m";
    case Style::Warning:
      return "\033[33m";
    case Style::Value:
      return "\033[36m";
    case Style::Added:
      return "\033[32m";
    case Style::Changed:
      return "\033[34m";
    case Style::Erased:
      return "\033[31m";
    case Style::Prompt:
      return "\033[1m";
  }
  return "";
}

std::size_t lettersIn(std::string_view text) {
  std::size_t count = 0;
  for (; !text.empty(); ++count) text.remove_prefix(letterAt(text).size);
  return count;
}

// "    7 | (/ SUM COUNT)", and the line with the caret below it.
bool isProgramLine(std::string_view line) {
  const std::size_t end = line.find_first_not_of(" 0123456789");
  return end != std::string_view::npos && end >= 4 && line[end] == '|';
}

}  // namespace

std::ostream& operator<<(std::ostream& out, Style style) {
  if (auto* const buffer = dynamic_cast<SafeBuffer*>(out.rdbuf())) buffer->setStyle(style);
  return out;
}

std::vector<std::size_t> lineBreaks(std::string_view line, std::size_t width, std::size_t& indent) {
  constexpr std::size_t kColumnMax = 32;  // A last column begins at most so far to the right.
  std::vector<std::size_t> breaks;
  if (width == 0 || line.size() <= width || isProgramLine(line) || lettersIn(line) <= width) {
    return breaks;
  }
  const std::size_t begin = std::min(line.find_first_not_of(' '), line.size());
  indent = begin + 2;
  for (std::size_t gap = line.find("  ", begin); gap < kColumnMax; gap = line.find("  ", gap)) {
    gap = std::min(line.find_first_not_of(' ', gap), line.size());
    if (gap < kColumnMax) indent = gap;
  }
  if (indent > width / 2) indent = 2;
  std::size_t column = 0;
  std::size_t blank = 0;            // The last one in this part.
  std::size_t column_at_blank = 0;  // Of what comes after it.
  std::size_t part = begin;
  for (std::size_t at = 0; at < line.size();) {
    if (line[at] == ' ' && at > part) {
      blank = at;
      column_at_blank = column + 1;
    }
    ++column;
    at += letterAt(line.substr(at)).size;
    if (column <= width || blank <= part) continue;
    breaks.push_back(blank);
    part = blank;
    column = indent + column - column_at_blank;
  }
  return breaks;
}

SafeBuffer::~SafeBuffer() { pass(waiting_.size()); }

void SafeBuffer::setStyle(Style style) {
  if (has_colours_) marks_.push_back({waiting_.size(), style});
}

bool SafeBuffer::pass(std::size_t size) {
  bool is_passed = true;
  while (size != 0) {
    const std::size_t line_end = waiting_.find('\n');
    const std::size_t part = line_end < size ? line_end + 1 : size;
    is_passed = passLine(part) && is_passed;
    size -= part;
  }
  // A style that nothing follows yet: a prompt must not keep the last one.
  for (const Mark& mark : marks_) {
    if (mark.at != 0) break;
    const std::string_view sequence = sequenceOf(mark.style);
    target_.sputn(sequence.data(), static_cast<std::streamsize>(sequence.size()));
  }
  std::erase_if(marks_, [](const Mark& mark) { return mark.at == 0; });
  return is_passed;
}

// Passes a line on, or the beginning of one.
bool SafeBuffer::passLine(std::size_t size) {
  const std::string_view line = std::string_view(waiting_).substr(0, size);
  const bool is_whole = line.ends_with('\n');
  std::size_t indent = 0;
  std::vector<std::size_t> breaks;
  if (is_whole && !is_line_begun_) {
    breaks = lineBreaks(line.substr(0, size - 1), width_, indent);
  }
  std::string text;
  std::size_t passed = 0;
  auto mark = marks_.begin();
  auto line_break = breaks.begin();
  for (;;) {
    const std::size_t mark_at = mark == marks_.end() ? size : std::min(mark->at, size);
    const std::size_t break_at = line_break == breaks.end() ? size : *line_break;
    const std::size_t next = std::min(mark_at, break_at);
    text += safeText(line.substr(passed, next - passed));
    passed = next;
    if (mark != marks_.end() && mark->at < size && mark->at == next) {
      text += sequenceOf(mark->style);
      ++mark;
    } else if (line_break != breaks.end() && *line_break == next) {
      text += "\n" + std::string(indent, ' ');
      ++passed;
      ++line_break;
    } else {
      break;
    }
  }
  marks_.erase(marks_.begin(), mark);
  for (Mark& later : marks_) later.at -= size;
  waiting_.erase(0, size);
  is_line_begun_ = !is_whole;
  const auto wanted = static_cast<std::streamsize>(text.size());
  return target_.sputn(text.data(), wanted) == wanted;
}

SafeBuffer::int_type SafeBuffer::overflow(int_type c) {
  if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
  const char letter = traits_type::to_char_type(c);
  return xsputn(&letter, 1) == 1 ? c : traits_type::eof();
}

std::streamsize SafeBuffer::xsputn(const char* text, std::streamsize size) {
  waiting_.append(text, static_cast<std::size_t>(size));
  const std::size_t line_end = waiting_.rfind('\n');
  if (line_end != std::string::npos && !pass(line_end + 1)) return 0;
  return size;
}

int SafeBuffer::sync() {
  const bool is_passed = pass(waiting_.size() - unfinishedSize(waiting_));
  return target_.pubsync() == 0 && is_passed ? 0 : -1;
}

SafeOutput::SafeOutput()
    : out_(std::cout.rdbuf()), err_(std::cerr.rdbuf()), safe_out_(*out_), safe_err_(*err_) {
  std::cout.rdbuf(&safe_out_);
  std::cerr.rdbuf(&safe_err_);
}

SafeOutput::~SafeOutput() {
  std::cout.flush();
  std::cerr.flush();
  std::cout.rdbuf(out_);
  std::cerr.rdbuf(err_);
}

void SafeOutput::setColours(bool on_output, bool on_error) {
  safe_out_.setColours(on_output);
  safe_err_.setColours(on_error);
}

void SafeOutput::writeUnchanged(std::string_view text) {
  if (isOutputTerminal()) {
    std::cout << text;
    return;
  }
  std::cout.flush();
  const auto size = static_cast<std::streamsize>(text.size());
  if (out_->sputn(text.data(), size) != size) std::cout.setstate(std::ios::badbit);
}

}  // namespace lisp_worker::console
