#include "lisp/reader.h"

#include <algorithm>
#include <array>
#include <utility>

#include "lisp/list.h"
#include "lisp/number.h"
#include "lisp/symbol.h"
#include "lisp/work.h"

namespace lisp {
namespace {

constexpr char kEndOfFileMark = 0x1A;  // Skipped between forms, like white space.

// Classes of bytes as the "C" locale has them, whatever the environment's locale.
constexpr bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

constexpr std::array<bool, 256> makeDelimiters() {
  std::array<bool, 256> delimiters{};
  for (const char c : {' ', '\t', '\n', '\v', '\f', '\r', '(', ')', '\'', ';', '"'}) {
    delimiters[static_cast<unsigned char>(c)] = true;
  }
  return delimiters;
}

constexpr std::array<bool, 256> kDelimiters = makeDelimiters();  // Bytes that end an atom's token.

constexpr char upperCase(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }

// The byte that a backslash and `c` stand for in a string.
constexpr char unescaped(char c) {
  switch (c) {
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    default:
      return c;
  }
}

const LispValue& quoteSymbol() {
  static const auto& symbol = *new LispValue(lisp::symbol("QUOTE"));
  return symbol;
}

}  // namespace

void Reader::skipBlanks() {
  while (position_ < text_.size()) {
    const char c = text_[position_];
    countWork();
    if (c == ';') {
      skipToLineFeed();
    } else if (isSpace(c) || c == kEndOfFileMark) {
      ++position_;
    } else {
      return;
    }
  }
}

void Reader::skipToLineFeed() {
  const std::size_t line_feed = text_.find('\n', position_);
  countWork(std::min(line_feed, text_.size()) - position_);
  position_ = line_feed == std::string_view::npos ? text_.size() : line_feed;
}

std::optional<LispValue> Reader::readForm(std::uint32_t depth) {
  while (true) {
    LispValue form;
    const Step step = beginForm(depth + open_forms_.size(), form);
    if (step == Step::Failed) return std::nullopt;
    if (step == Step::Opened) continue;
    if (!placeForm(form)) return form;
  }
}

// One form, or the beginning of one, at the level `depth`; or the end of the list that is open.
Reader::Step Reader::beginForm(std::size_t depth, LispValue& form) {
  const bool in_list = !open_forms_.empty() && !open_forms_.back().is_quote;
  if (in_list) {
    // Between elements the list looks for its end first, at its own level.
    skipBlanks();
    if (atEnd()) return fail("unterminated list");
    if (text_[position_] == ')') {
      ++position_;
      const std::size_t first = open_forms_.back().first_element;
      form = LispValue::adopt(makeList(elements_.data() + first, elements_.size() - first));
      elements_.resize(first);
      open_forms_.pop_back();
      return Step::Completed;
    }
  }
  if (depth > kNestingMax) return fail("parser nesting limit exceeded");
  if (!in_list) skipBlanks();
  if (atEnd()) return fail("unexpected end of input");
  switch (text_[position_]) {
    case '(':
      ++position_;
      open_forms_.push_back({false, elements_.size()});
      return Step::Opened;
    case '\'':
      ++position_;
      open_forms_.push_back({true, 0});
      return Step::Opened;
    case ')':
      return fail("unexpected ')'");
    case '"':
      ++position_;
      return readString(form);
    default:
      form = readAtom();
      return Step::Completed;
  }
}

bool Reader::placeForm(LispValue& form) {
  while (!open_forms_.empty() && open_forms_.back().is_quote) {
    std::array<LispValue, 2> quoted = {quoteSymbol(), std::move(form)};
    form = LispValue::adopt(makeList(quoted.data(), quoted.size()));
    open_forms_.pop_back();
  }
  if (open_forms_.empty()) return false;
  elements_.push_back(std::move(form));
  return true;
}

Reader::Step Reader::readString(LispValue& form) {
  scratch_.clear();
  while (true) {
    const std::size_t stop = text_.find_first_of("\"\\", position_);
    if (stop == std::string_view::npos) break;
    countWork(stop - position_ + 1);
    scratch_.append(text_, position_, stop - position_);
    position_ = stop + 1;
    if (text_[stop] == '"') {
      form = string(scratch_);
      return Step::Completed;
    }
    if (position_ == text_.size()) break;
    scratch_.push_back(unescaped(text_[position_++]));
  }
  return fail("unterminated string");
}

// An atom's token has at least one byte: its first byte is neither blank nor delimiter.
LispValue Reader::readAtom() {
  const std::size_t begin = position_;
  while (position_ < text_.size() && !kDelimiters[static_cast<unsigned char>(text_[position_])]) {
    ++position_;
  }
  const std::string_view token = text_.substr(begin, position_ - begin);
  countWork(token.size());
  if (const std::optional<double> value = parseNumber(token)) return number(*value);
  scratch_.assign(token);
  for (char& c : scratch_) c = upperCase(c);
  if (scratch_ == "NIL") return nil();
  return symbol(scratch_);
}

Reader::Step Reader::fail(std::string_view message) {
  error_ = message;
  open_forms_.clear();
  elements_.clear();
  return Step::Failed;
}

std::optional<LispValue> parseProgram(std::string_view text, std::string* error_out) {
  std::string error;
  std::optional<std::vector<LispValue>> forms = readForms(text, error);
  if (forms && forms->size() != 1) error = "expected exactly one form";
  if (error_out != nullptr) *error_out = error;
  if (!error.empty()) return std::nullopt;
  return std::move(forms->front());
}

std::optional<std::vector<LispValue>> readForms(std::string_view text, std::string& error_out) {
  Reader reader(text);
  std::vector<LispValue> forms;
  for (reader.skipBlanks(); !reader.atEnd(); reader.skipBlanks()) {
    std::optional<LispValue> form = reader.readForm();
    if (!form) {
      error_out = reader.error();
      return std::nullopt;
    }
    forms.push_back(std::move(*form));
  }
  error_out.clear();
  return forms;
}

}  // namespace lisp
