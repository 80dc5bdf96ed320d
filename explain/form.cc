// Two passes over one table of places, which the worker's reader fills. TreeMaker gives each value
// its place: values and places come in the same order. FaultFinder looks for the place to show when
// a text cannot be read, which is seldom where the reader stopped: a missing parenthesis is noticed
// at the end of the text. It goes by the indentation, which shows what the writer meant.

#include "explain/form.h"

#include <utility>

#include "lisp/reader.h"

namespace explain {
namespace {

// Puts values and places together: both are in the order of the text.
class TreeMaker {
 public:
  TreeMaker(const Source& source, const lisp::Places& places)
      : source_(source), place_(places.begin()) {}

  std::vector<Form> makeForms(const lisp::LispValue& list) {
    std::vector<Form> forms;
    const lisp::LispList items = *lisp::asList(list);
    for (const lisp::LispValue& item : items) forms.push_back(makeForm(item));
    return forms;
  }

 private:
  Form makeForm(const lisp::LispValue& value) {
    Form form;
    form.value = value;
    form.begin = static_cast<std::size_t>(place_->data() - source_.text().data());
    form.end = form.begin + place_->size();
    form.line = source_.lineOf(form.begin);
    ++place_;
    if (form.isList()) {
      form.items = makeForms(value);
      form.entry = findEntry(form.operatorName());
    }
    return form;
  }

  const Source& source_;
  lisp::Places::const_iterator place_;
};

// Finds the place that a person should look at when a text cannot be read.
class FaultFinder {
 public:
  FaultFinder(const Source& source, const lisp::Places& places) : source_(source) {
    for (const std::string_view place : places) look(place);
    closeUntil(source.text().size());
  }

  [[nodiscard]] ReadFault find(const std::string& message, std::size_t at) const {
    ReadFault fault = describe(message, at);
    fault.message = message;
    fault.is_unfinished = message == lisp::kUnterminatedListMessage ||
                          message == lisp::kUnterminatedStringMessage ||
                          message == lisp::kUnexpectedEndMessage;
    const std::size_t innermost = open_lists_.empty() ? fault.begin : open_lists_.back();
    fault.open_at = message == lisp::kUnterminatedStringMessage ? at : innermost;
    return fault;
  }

 private:
  struct Suspect {
    std::size_t opener;
    std::size_t line;
  };

  // Lists without an end stay open.
  void closeUntil(std::size_t at) {
    while (!ends_.empty() && ends_.back() != 0 && ends_.back() <= at) {
      ends_.pop_back();
      open_lists_.pop_back();
    }
  }

  void look(std::string_view place) {
    const auto begin = static_cast<std::size_t>(place.data() - source_.text().data());
    closeUntil(begin);
    const std::size_t end = place.empty() ? 0 : begin + place.size();
    noteIndent(begin);
    switch (source_.text()[begin]) {
      case '(':
        open_lists_.push_back(begin);
        ends_.push_back(end);
        break;
      case '\'':
        last_quote_ = begin;
        break;
      case '"':
        // A string over several lines may be one whose end is missing.
        if (!first_long_string_ && source_.lineOf(begin) != source_.lineOf(end - 1)) {
          first_long_string_ = begin;
        }
        break;
      default:
        break;
    }
  }

  // A form that begins a line no further right than a list that is still open around it: that list
  // should have been closed before. The first time that happens is kept.
  void noteIndent(std::size_t at) {
    if (suspect_ || open_lists_.empty()) return;
    const std::size_t line = source_.lineOf(at);
    const std::size_t start = source_.lineStart(line);
    const std::string_view before = source_.text().substr(start, at - start);
    if (before.find_first_not_of(" \t") != std::string_view::npos) return;
    for (std::size_t n = 0; n < open_lists_.size() && !suspect_; ++n) {
      const std::size_t opener = open_lists_[n];
      if (source_.lineOf(opener) != line && source_.indentOf(opener) >= before.size()) {
        suspect_ = Suspect{opener, line};
      }
    }
  }

  [[nodiscard]] ReadFault describe(const std::string& message, std::size_t at) const {
    if (message == lisp::kUnterminatedStringMessage) {
      return wholeString(first_long_string_.value_or(at),
                         first_long_string_ ? "this string goes on over the end of its line"
                                            : "this string has no end");
    }
    if (message == lisp::kUnexpectedEndMessage) {
      return atByte(last_quote_, "nothing follows this apostrophe");
    }
    if (message == lisp::kTooDeepMessage) {
      return atByte(at, "more than 512 lists and apostrophes stand around this");
    }
    // A text over several lines is mostly one whose closing quote is missing, and then the
    // parentheses that it has swallowed are missing too.
    if (first_long_string_) {
      return wholeString(
          *first_long_string_,
          "this text goes on over the end of its line: its closing quote may be missing");
    }
    if (message == lisp::kUnexpectedCloseMessage)
      return atByte(at, "every list before it is closed already");
    if (!suspect_) return atByte(open_lists_.front(), "the text ends before this list does");
    return atByte(suspect_->opener, "this list should end before line " +
                                        std::to_string(suspect_->line) +
                                        ", which begins no further right");
  }

  // Where a text begins that may end only at `quote`, behind another quote on its line: "3/4"
  // BOLT".
  [[nodiscard]] std::optional<std::size_t> textBefore(std::size_t quote) const {
    const std::size_t start = source_.lineStart(source_.lineOf(quote));
    const std::string_view line = source_.text().substr(start, quote - start);
    const std::size_t inner = line.rfind('"');
    const std::size_t begin =
        inner == 0 || inner == line.npos ? line.npos : line.rfind('"', inner - 1);
    // Between other texts there are blanks or parentheses alone, and a blank before the next.
    const bool has_words = begin != line.npos && line[inner - 1] != '\\' && line.back() != ' ' &&
                           line.back() != '\t' &&
                           line.find_first_not_of(" \t()'", inner + 1) != line.npos &&
                           line.find_first_of("()'", inner + 1) == line.npos;
    return has_words ? std::optional(start + begin) : std::nullopt;
  }

  static ReadFault atByte(std::size_t begin, std::string hint) {
    return {.message = {}, .begin = begin, .end = begin + 1, .hint = std::move(hint)};
  }

  [[nodiscard]] ReadFault wholeString(std::size_t begin, std::string hint) const {
    const std::size_t line = source_.lineOf(begin);
    const std::size_t end = source_.lineStart(line) + source_.line(line).size();
    if (const auto before = textBefore(begin)) {
      const std::string_view text = source_.text().substr(*before, begin - *before);
      const std::size_t inner = text.find('"', 1);
      return {.message = {},
              .begin = *before,
              .end = begin + 1,
              .hint = "a double quote inside a text is written \\\": " +
                      std::string(text.substr(0, inner)) + "\\" + std::string(text.substr(inner)) +
                      "\"",
              .says_what_to_write = true};
    }
    return {.message = {}, .begin = begin, .end = end, .hint = std::move(hint)};
  }

  const Source& source_;
  std::vector<std::size_t> open_lists_;  // Where they begin, outermost first.
  std::vector<std::size_t> ends_;        // Of the same; 0 without an end.
  std::size_t last_quote_ = 0;
  std::optional<std::size_t> first_long_string_;
  std::optional<Suspect> suspect_;
};

}  // namespace

std::string_view Form::name() const {
  return isSymbol() ? *lisp::asText(value) : std::string_view();
}

std::string_view Form::operatorName() const {
  return items.empty() ? std::string_view() : items.front().name();
}

Reading readForms(const Source& source) {
  lisp::Places places;
  lisp::Reader reader(source.text());
  const auto forms = reader.readForms(&places);
  if (!forms) {
    const auto at = static_cast<std::size_t>(reader.at() - source.text().data());
    return {
        .value = {}, .forms = {}, .fault = FaultFinder(source, places).find(reader.error(), at)};
  }
  return {.value = *forms, .forms = TreeMaker(source, places).makeForms(*forms), .fault = {}};
}

}  // namespace explain
