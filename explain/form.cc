#include "explain/form.h"

#include <algorithm>
#include <utility>

#include "lisp/number.h"
#include "lisp/reader.h"

namespace explain {
namespace {

bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

bool endsToken(char c) {
  return isBlank(c) || c == '(' || c == ')' || c == '\'' || c == ';' || c == '"';
}

class PositionReader {
 public:
  explicit PositionReader(const Source& source) : source_(source), text_(source.text()) {}

  Reading readAll() {
    Reading reading;
    for (skipBlanks(); at_ < text_.size(); skipBlanks()) {
      Form form;
      if (!readForm(0, form)) {
        reading.forms.clear();
        reading.fault = std::move(fault_);
        return reading;
      }
      reading.forms.push_back(std::move(form));
    }
    return reading;
  }

 private:
  void skipBlanks() {
    while (at_ < text_.size()) {
      if (isBlank(text_[at_]) || text_[at_] == '\x1A') {
        ++at_;
      } else if (text_[at_] == ';') {
        at_ = std::min(text_.find('\n', at_), text_.size());
      } else {
        return;
      }
    }
  }

  bool readForm(std::uint32_t depth, Form& form) {
    if (depth > lisp::kNestingMax) {
      return fail("parser nesting limit exceeded", at_, at_ + 1,
                  "more than 512 lists and apostrophes stand around this");
    }
    skipBlanks();
    if (at_ == text_.size()) {
      return fail("unexpected end of input", last_quote_, last_quote_ + 1,
                  "nothing follows this apostrophe");
    }
    form.begin = at_;
    form.line = source_.lineOf(at_);
    noteIndent();
    bool is_read = false;
    switch (text_[at_]) {
      case '(':
        is_read = readList(depth, form);
        break;
      case ')':
        return failAtClosing();
      case '\'':
        is_read = readQuoted(depth, form);
        break;
      case '"':
        is_read = readString(form);
        break;
      default:
        is_read = readAtom(form);
    }
    form.end = at_;
    return is_read;
  }

  bool readList(std::uint32_t depth, Form& form) {
    open_lists_.push_back(at_++);
    for (skipBlanks();; skipBlanks()) {
      if (at_ == text_.size()) return failUnterminatedList();
      if (text_[at_] == ')') break;
      if (!readForm(depth + 1, form.items.emplace_back())) return false;
    }
    ++at_;
    open_lists_.pop_back();
    std::vector<lisp::LispValue> values;
    for (const Form& item : form.items) values.push_back(item.value);
    form.value = lisp::list(values);
    form.entry = findEntry(form.operatorName());
    return true;
  }

  bool readQuoted(std::uint32_t depth, Form& form) {
    last_quote_ = at_;
    Form quote;
    quote.value = lisp::symbol("QUOTE");
    quote.begin = at_++;
    quote.end = at_;
    quote.line = form.line;
    form.items.push_back(std::move(quote));
    if (!readForm(depth + 1, form.items.emplace_back())) return false;
    form.value = lisp::list({form.items[0].value, form.items[1].value});
    form.entry = findEntry("QUOTE");
    return true;
  }

  bool readString(Form& form) {
    const std::size_t begin = at_++;
    last_string_ = begin;
    std::string bytes;
    while (at_ < text_.size()) {
      char c = text_[at_++];
      if (c == '"') {
        // A string over several lines may be one whose end is missing.
        if (!first_long_string_ && source_.lineOf(begin) != source_.lineOf(at_ - 1)) {
          first_long_string_ = begin;
        }
        form.value = lisp::string(bytes);
        last_string_.reset();
        return true;
      }
      if (c == '\\' && at_ < text_.size()) {
        c = text_[at_++];
        c = c == 'n' ? '\n' : c == 'r' ? '\r' : c == 't' ? '\t' : c;
      }
      bytes += c;
    }
    const std::size_t likely = first_long_string_.value_or(begin);
    const std::size_t line_end =
        source_.lineStart(source_.lineOf(likely)) + source_.line(source_.lineOf(likely)).size();
    return fail("unterminated string", likely, line_end,
                likely == begin ? "this string has no end"
                                : "this string goes on over the end of its line");
  }

  bool readAtom(Form& form) {
    const std::size_t begin = at_;
    while (at_ < text_.size() && !endsToken(text_[at_])) ++at_;
    const std::string_view token = text_.substr(begin, at_ - begin);
    if (const auto number = lisp::parseNumber(token)) {
      form.value = lisp::number(*number);
      return true;
    }
    std::string name(token);
    for (char& c : name) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    if (name != "NIL") form.value = lisp::symbol(name);
    return true;
  }

  // A form that begins a line no further right than a list that is still open around it: that list
  // should have been closed before. The first time that happens is kept.
  void noteIndent() {
    if (suspect_ || open_lists_.empty()) return;
    const std::size_t line = source_.lineOf(at_);
    const std::size_t start = source_.lineStart(line);
    if (text_.substr(start, at_ - start).find_first_not_of(" \t") != std::string_view::npos) return;
    for (const std::size_t opener : open_lists_) {
      if (source_.lineOf(opener) == line || source_.indentOf(opener) < at_ - start) continue;
      suspect_ = Suspect{opener, line};
      return;
    }
  }

  // A text over several lines is mostly one whose closing quote is missing, and then the
  // parentheses that it has swallowed are missing too. True when that explains the fault.
  bool failByLongString(const char* message) {
    if (!first_long_string_) return false;
    const std::size_t line = source_.lineOf(*first_long_string_);
    fail(message, *first_long_string_, source_.lineStart(line) + source_.line(line).size(),
         "this text goes on over the end of its line: its closing quote may be missing");
    return true;
  }

  bool failUnterminatedList() {
    if (failByLongString("unterminated list")) return false;
    const std::size_t opener = suspect_ ? suspect_->opener : open_lists_.front();
    std::string hint = "the text ends before this list does";
    if (suspect_) {
      hint = "this list should end before line " + std::to_string(suspect_->line) +
             ", which begins no further right";
    }
    return fail("unterminated list", opener, opener + 1, hint);
  }

  bool failAtClosing() {
    if (failByLongString("unexpected ')'")) return false;
    return fail("unexpected ')'", at_, at_ + 1, "every list before it is closed already");
  }

  bool fail(std::string message, std::size_t begin, std::size_t end, std::string hint) {
    if (fault_) return false;
    const bool is_unfinished = message == "unterminated list" || message == "unterminated string" ||
                               message == "unexpected end of input";
    const std::size_t open_at =
        last_string_.value_or(open_lists_.empty() ? begin : open_lists_.back());
    fault_ = ReadFault{std::move(message), begin, end, std::move(hint), is_unfinished, open_at};
    return false;
  }

  struct Suspect {
    std::size_t opener;
    std::size_t line;
  };

  const Source& source_;
  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t last_quote_ = 0;
  std::vector<std::size_t> open_lists_;  // Where they begin, outermost first.
  std::optional<std::size_t> first_long_string_;
  std::optional<std::size_t> last_string_;  // While it is being read.
  std::optional<Suspect> suspect_;
  std::optional<ReadFault> fault_;
};

}  // namespace

std::string_view Form::name() const {
  return isSymbol() ? *lisp::asText(value) : std::string_view();
}

std::string_view Form::operatorName() const {
  return items.empty() ? std::string_view() : items.front().name();
}

Reading readForms(const Source& source) { return PositionReader(source).readAll(); }

}  // namespace explain
