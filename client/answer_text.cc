// Answers in both directions: a Datum as text that the worker reads, and a text of the language as
// a Datum. The reader is the client's own, with the worker's messages, because a host links no
// evaluator. It recurses into lists, at most kTextNestingMax levels: the worker refuses more.

#include "lisp_worker/client/answer_text.h"

#include <algorithm>
#include <cmath>
#include <ostream>
#include <utility>

#include "lisp_worker/client/number_text.h"

namespace lisp_worker::client {
namespace {

constexpr char kEndOfFileMark = 0x1A;  // Skipped between forms, as old editors leave it.

// Independent of the locale that the embedding program may have set.
bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

bool endsToken(char c) {
  return isBlank(c) || c == '(' || c == ')' || c == '\'' || c == ';' || c == '"';
}

char toUpper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

void appendDatum(const Datum& datum, std::string& text) {
  if (const auto value = asNumber(datum)) {
    text += printNumber(*value);
  } else if (const auto characters = asString(datum)) {
    text += '"';
    for (const char c : *characters) {
      if (c == '"' || c == '\\') text += '\\';
      text += c;
    }
    text += '"';
  } else if (const auto name = asSymbol(datum)) {
    text += *name;
  } else if (const DatumList* elements = asList(datum)) {
    text += '(';
    for (const Datum& element : *elements) {
      if (&element != elements->data()) text += ' ';
      appendDatum(element, text);
    }
    text += ')';
  } else {
    text += "nil";
  }
}

class DatumReader {
 public:
  explicit DatumReader(std::string_view text) : text_(text) {}

  // Skips what may stand between forms; whether a form may follow.
  bool skipBlanks() {
    while (!atEnd()) {
      if (text_[position_] == ';') {
        position_ = std::min(text_.find('\n', position_), text_.size());
      } else if (isBlank(text_[position_]) || text_[position_] == kEndOfFileMark) {
        ++position_;
      } else {
        return true;
      }
    }
    return false;
  }

  std::optional<Datum> readForm(std::uint32_t depth) {
    if (depth > kTextNestingMax) return fail("parser nesting limit exceeded");
    if (!skipBlanks()) return fail("unexpected end of input");
    switch (text_[position_]) {
      case '(':
        return readList(depth);
      case ')':
        return fail("unexpected ')'");
      case '\'':
        return readQuoted(depth);
      case '"':
        return readString();
      default:
        return readAtom();
    }
  }

  [[nodiscard]] const std::string& error() const { return error_; }

 private:
  [[nodiscard]] bool atEnd() const { return position_ == text_.size(); }

  std::nullopt_t fail(const char* message) {
    error_ = message;
    return std::nullopt;
  }

  std::optional<Datum> readList(std::uint32_t depth) {
    ++position_;
    DatumList elements;
    while (skipBlanks() && text_[position_] != ')') {
      std::optional<Datum> element = readForm(depth + 1);
      if (!element) return std::nullopt;
      elements.push_back(std::move(*element));
    }
    if (atEnd()) return fail("unterminated list");
    ++position_;
    return list(std::move(elements));
  }

  std::optional<Datum> readQuoted(std::uint32_t depth) {
    ++position_;
    std::optional<Datum> quoted = readForm(depth + 1);
    if (!quoted) return std::nullopt;
    return list({symbol("QUOTE"), std::move(*quoted)});
  }

  std::optional<Datum> readString() {
    ++position_;
    std::string characters;
    while (!atEnd()) {
      const char c = text_[position_++];
      if (c == '"') return string(std::move(characters));
      characters += c == '\\' && !atEnd() ? readEscaped() : c;
    }
    return fail("unterminated string");
  }

  char readEscaped() {
    const char c = text_[position_++];
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

  Datum readAtom() {
    const std::string_view rest = text_.substr(position_);
    const auto end = std::find_if(rest.begin(), rest.end(), endsToken);
    const std::string_view token(rest.data(), static_cast<std::size_t>(end - rest.begin()));
    position_ += token.size();
    if (const std::optional<double> value = readNumber(token)) return number(*value);
    std::string name(token);
    std::transform(name.begin(), name.end(), name.begin(), toUpper);
    if (name == "NIL") return nil();
    return symbol(std::move(name));
  }

  std::string_view text_;
  std::size_t position_ = 0;
  std::string error_;
};

// Why no text stands for `datum` at `depth`; null when one does.
const char* whyUnwritableAt(const Datum& datum, std::uint32_t depth) {
  if (depth > kTextNestingMax) return "more than 512 lists inside each other";
  if (const auto value = asNumber(datum)) {
    // printNumber writes any number but an infinity or a NaN so that it reads back.
    return std::isfinite(*value) ? nullptr : "no text stands for an infinity or a NaN";
  }
  if (const auto name = asSymbol(datum)) {
    if (name->empty()) return "a symbol needs a name";
    if (std::any_of(name->begin(), name->end(), endsToken) || name->front() == kEndOfFileMark) {
      return "a symbol's name holds a character that cannot stand in one";
    }
    if (std::any_of(name->begin(), name->end(), [](char c) { return toUpper(c) != c; })) {
      return "a symbol's name would be read in upper case";
    }
    if (*name == "NIL") return "a symbol named NIL would be read as nil";
    if (readNumber(*name)) return "a symbol's name would be read as a number";
  }
  if (const DatumList* elements = asList(datum)) {
    for (const Datum& element : *elements) {
      if (const char* reason = whyUnwritableAt(element, depth + 1)) return reason;
    }
  }
  return nullptr;
}

}  // namespace

std::string printDatum(const Datum& datum) {
  std::string text;
  appendDatum(datum, text);
  return text;
}

std::ostream& operator<<(std::ostream& stream, const Datum& datum) {
  return stream << printDatum(datum);
}

const char* whyUnwritable(const Datum& datum) { return whyUnwritableAt(datum, 0); }

std::optional<std::string> answerText(const Datum& answer, std::string* error_out) {
  if (const char* reason = whyUnwritable(answer)) {
    if (error_out != nullptr) *error_out = reason;
    return std::nullopt;
  }
  return printDatum(answer);
}

std::optional<Datum> readDatum(std::string_view text, std::string* error_out) {
  DatumReader reader(text);
  std::optional<Datum> only;
  std::size_t count = 0;
  while (reader.skipBlanks()) {
    only = reader.readForm(0);
    if (!only) break;
    ++count;
  }
  if (only && count == 1) return only;
  if (error_out != nullptr) {
    *error_out = reader.error().empty() ? "expected exactly one form" : reader.error();
  }
  return std::nullopt;
}

}  // namespace lisp_worker::client
