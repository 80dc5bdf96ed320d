// Advice is text for people, but what is to be written begins at a known word and is a form. So it
// is cut out by the tokens of the language, and taken only if it is made of what the program has
// and of names of the language; then no word of an explanation can slip in.

#include "console/language/fixes.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

#include "console/command_input.h"
#include "console/form_layout.h"
#include "console/language/cursor.h"
#include "explain/form.h"
#include "explain/reference.h"
#include "explain/source.h"

namespace lisp_worker::console::language {
namespace {

using explain::Form;

std::string_view after(std::string_view text, std::string_view word) {
  const std::size_t at = text.find(word);
  return at == std::string_view::npos ? "" : text.substr(at + word.size());
}

// The forms that `text` begins with, and how many: one atom, or lists.
std::string_view formsIn(std::string_view text, std::size_t& count) {
  std::size_t depth = 0;
  std::size_t end = 0;
  count = 0;
  bool is_quoted = false;
  for (const Token& token : tokensOf(text)) {
    const bool is_list = token.kind == TokenKind::Open || token.kind == TokenKind::Quote;
    if (depth == 0 && count > 0 && !is_list) break;
    if (depth == 0 && end != 0 && !is_quoted && token.begin > end + 1) break;
    if (token.kind == TokenKind::Comment) break;
    is_quoted = token.kind == TokenKind::Quote;
    if (is_quoted) continue;
    if (token.kind == TokenKind::Open) ++depth;
    if (token.kind == TokenKind::Close && depth > 0) --depth;
    if (depth != 0) continue;
    ++count;
    end = token.end;
    if (token.kind == TokenKind::Atom) break;
  }
  std::string_view forms = text.substr(0, end);
  // An atom that is followed by a mark of the sentence.
  while (forms.ends_with(':') || forms.ends_with(',')) forms.remove_suffix(1);
  return forms;
}

// True when each name in `written` is the language's, or in the program's own text. Texts that were
// too long for the advice are left out of it, as "...".
bool isMadeOf(std::string_view written, std::string_view own) {
  std::vector<std::string> known;
  for (const Token& token : tokensOf(own)) {
    known.push_back(upperCase(own.substr(token.begin, token.end - token.begin)));
  }
  for (const Token& token : tokensOf(written)) {
    if (token.kind != TokenKind::Atom) continue;
    const std::string name = upperCase(written.substr(token.begin, token.end - token.begin));
    const explain::Source source("", name);
    const explain::Reading reading = explain::readForms(source);
    const bool is_name = !reading.forms.empty() && reading.forms.front().isSymbol();
    if (!is_name || name == "T" || explain::findEntry(name) != nullptr) continue;
    // Variables that the habits' texts bring along.
    if (name.starts_with("ITEMS") || name == "I" || name == "R" || name == "I2" || name == "R2") {
      continue;
    }
    const bool is_own = std::any_of(known.begin(), known.end(), [&name](const std::string& each) {
      return each.find(name) != std::string::npos;
    });
    if (!is_own || name == "...") return false;
  }
  return true;
}

// Several forms may follow each other where only the last one's value counts.
bool takesSeveral(const Cursor& cursor, const Form& form) {
  const auto at = std::find(cursor.around.begin(), cursor.around.end(), &form);
  if (at == cursor.around.begin()) return true;
  const std::string_view name = (*(at - 1))->operatorName();
  return name == "PROGN" || name == "DEFUN" || name == "WHILE";
}

std::string shortened(std::string_view text) {
  constexpr std::size_t kTitleMax = 60;
  return text.size() <= kTitleMax ? std::string(text)
                                  : std::string(text.substr(0, kTitleMax)) + "...";
}

Fix makeFix(const Span& span, std::string_view written) {
  return {.title = "write " + shortened(written),
          .edit = {.span = span, .text = std::string(written)}};
}

class Fixer {
 public:
  Fixer(const ProgramText& text, const Diagnostic& diagnostic)
      : text_(text),
        diagnostic_(diagnostic),
        cursor_(cursorAt(text.parts, diagnostic.span.begin)) {}

  std::optional<Fix> find() const {
    const std::string_view advice = diagnostic_.advice;
    if (advice.starts_with("did you mean ") && advice.ends_with('?')) return likeName();
    if (diagnostic_.message == "unexpected ')'") return withoutParenthesis();
    if (diagnostic_.message == "unterminated list") return withParentheses();
    if (advice.starts_with("a double quote inside a text is written")) {
      return makeFix(diagnostic_.span, after(advice, ": "));
    }
    if (advice.starts_with("degrees are turned into radians: ")) {
      return makeFix(diagnostic_.span, after(advice, ": "));
    }
    if (diagnostic_.message.starts_with("this loop runs once more")) {
      const std::string_view loop = after(advice, "(WHILE ");
      return makeFix(diagnostic_.span, loop.substr(0, loop.find(" ...)")));
    }
    if (advice.find(" declare it as local, ") != advice.npos ||
        advice.find(" declare them as locals, ") != advice.npos) {
      return withLocals();
    }
    if (advice.starts_with("leave it out, or ask")) return withoutLocal();
    const std::string_view written = after(advice, "write ");
    return written.empty() ? std::nullopt : instead(written);
  }

 private:
  [[nodiscard]] std::string_view own(const Span& span) const { return text_.document.textOf(span); }

  std::optional<Fix> likeName() const {
    std::string_view name = after(diagnostic_.advice, "did you mean ");
    name.remove_suffix(1);
    const std::string_view old = own(diagnostic_.span);
    std::string written(name);
    if (std::any_of(old.begin(), old.end(), [](char c) { return c >= 'a' && c <= 'z'; })) {
      for (char& c : written) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return makeFix(diagnostic_.span, written);
  }

  std::optional<Fix> withoutParenthesis() const {
    const Span span = diagnostic_.span;
    if (own(span) != ")") return std::nullopt;
    return Fix{.title = "leave out this parenthesis", .edit = {.span = span, .text = ""}};
  }

  // The list should end before a line that the advice names, or at the end of the text.
  std::optional<Fix> withParentheses() const {
    const std::string_view line = after(diagnostic_.advice, "should end before line ");
    const bool is_at_end = diagnostic_.advice == "the text ends before this list does";
    if (line.empty() && !is_at_end) return std::nullopt;
    const std::string& all = text_.document.text();
    std::size_t end = all.size();
    if (!is_at_end) {
      const std::size_t number = static_cast<std::size_t>(std::stoul(std::string(line)));
      if (number == 0 || number > text_.document.lineCount()) return std::nullopt;
      end = text_.document.lineSpan(number - 1).begin;
    }
    const std::size_t begin = diagnostic_.span.begin;
    if (end <= begin) return std::nullopt;
    std::size_t depth = 0;
    std::size_t last = begin;
    for (const Token& token : tokensOf(std::string_view(all).substr(begin, end - begin))) {
      if (token.kind == TokenKind::Comment) continue;
      if (token.is_open) return std::nullopt;
      if (token.kind == TokenKind::Open) ++depth;
      if (token.kind == TokenKind::Close && depth > 0) --depth;
      last = begin + token.end;
    }
    if (depth == 0) return std::nullopt;
    return Fix{.title = "close the list here",
               .edit = {.span = {last, last}, .text = std::string(depth, ')')}};
  }

  // The DEFUN around the place, if its list of parameters is in the text.
  [[nodiscard]] const Form* parameters() const {
    if (!cursor_) return nullptr;
    const auto found = std::find_if(
        cursor_->around.rbegin(), cursor_->around.rend(),
        [](const Form* form) { return form->operatorName() == "DEFUN" && form->items.size() > 2; });
    return found == cursor_->around.rend() ? nullptr : &(*found)->items[2];
  }

  std::optional<Fix> withLocals() const {
    const Form* const list = parameters();
    const std::string_view definition = after(diagnostic_.advice, "(DEFUN ");
    const std::size_t begin = definition.find('(');
    const std::size_t end = definition.find(')');
    if (list == nullptr || begin > end || end == definition.npos) return std::nullopt;
    const std::string_view written = definition.substr(begin, end + 1 - begin);
    if (written.find("...") != written.npos) return std::nullopt;
    Fix fix = makeFix(placed(*list), written);
    fix.title = "declare locals: " + shortened(written);
    return fix;
  }

  std::optional<Fix> withoutLocal() const {
    const Form* const list = parameters();
    if (list == nullptr) return std::nullopt;
    Span span = diagnostic_.span;
    const std::string& all = text_.document.text();
    const std::size_t floor = placed(*list).begin + 1;
    while (span.begin > floor && (all[span.begin - 1] == ' ' || all[span.begin - 1] == '\n')) {
      --span.begin;
    }
    // A slash that no local follows any more goes too.
    const bool is_last = span.end < all.size() && all[span.end] == ')';
    if (is_last && span.begin > floor && all[span.begin - 1] == '/') {
      --span.begin;
      while (span.begin > floor && all[span.begin - 1] == ' ') --span.begin;
    }
    return Fix{.title = "leave out " + std::string(own(diagnostic_.span)),
               .edit = {.span = span, .text = ""}};
  }

  // What is to be written instead of the form that the message is about.
  std::optional<Fix> instead(std::string_view advice) const {
    if (!cursor_ || cursor_->innermost() == nullptr) return std::nullopt;
    std::size_t count = 0;
    std::string written(formsIn(advice, count));
    if (count == 0 || written.empty()) return std::nullopt;
    const Form* form = nullptr;
    for (const Form* const each : cursor_->around) {
      if (placed(*each) == diagnostic_.span) form = each;
    }
    if (form == nullptr) return std::nullopt;
    const bool is_about_call = diagnostic_.message.starts_with("unsupported LISP function") ||
                               diagnostic_.message.starts_with("first list item");
    if (is_about_call) {
      const auto at = std::find(cursor_->around.begin(), cursor_->around.end(), form);
      if (at == cursor_->around.begin()) return std::nullopt;
      form = *(at - 1);
    }
    Span span = placed(*form);
    if (form->isSymbol() && written.starts_with('(')) {
      // Advice on a line that begins with the name.
      const Span line = text_.document.lineSpan(text_.document.lineOf(span.begin));
      const std::string_view rest = own({span.begin, line.end});
      const bool is_line =
          own({line.begin, span.begin}).find_first_not_of(" \t") == std::string_view::npos &&
          rest.size() > span.size() && rest.find(';') == std::string_view::npos;
      if (is_line) span.end = span.begin + rest.find_last_not_of(" \t") + 1;
    } else if (form->isSymbol() && written.find_first_of(" \t") != std::string::npos &&
               !written.starts_with('\'')) {
      return std::nullopt;  // A text between other quotes that goes on behind the name.
    }
    if (!isMadeOf(written, own(span))) return std::nullopt;
    if (count > 1 && !takesSeveral(*cursor_, *form)) written = "(PROGN " + written + ")";
    return makeFix(span, written);
  }

  [[nodiscard]] Span placed(const Form& form) const {
    return cursor_->part->placed(cursor_->part->part->spanOf(form));
  }

  const ProgramText& text_;
  const Diagnostic& diagnostic_;
  std::optional<Cursor> cursor_;
};

}  // namespace

std::optional<Fix> fixFor(const ProgramText& text, const Diagnostic& diagnostic) {
  return Fixer(text, diagnostic).find();
}

}  // namespace lisp_worker::console::language
