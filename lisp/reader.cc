#include "lisp/reader.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "lisp/list.h"
#include "lisp/number.h"
#include "lisp/symbol.h"
#include "lisp/work.h"

namespace lisp {
namespace {

constexpr char kEndOfFileMark = 0x1A;  // Skipped between forms, like white space.

// What a form can begin with, by its first byte. White space is what the "C" locale calls so,
// whatever the environment's locale.
enum class Class : std::uint8_t { Name, Number, Blank, Comment, Open, Close, Quote, String };

constexpr std::array<Class, 256> makeClasses() {
  std::array<Class, 256> classes{};
  const auto classify = [&](std::string_view bytes, Class of_these) {
    for (const char c : bytes) classes[static_cast<unsigned char>(c)] = of_these;
  };
  classify("0123456789+-.", Class::Number);  // Or a name, such as 1+.
  classify({" \t\n\v\f\r", 6}, Class::Blank);
  classify({&kEndOfFileMark, 1}, Class::Blank);
  classify(";", Class::Comment);
  classify("(", Class::Open);
  classify(")", Class::Close);
  classify("'", Class::Quote);
  classify("\"", Class::String);
  return classes;
}

constexpr std::array<Class, 256> kClasses = makeClasses();

Class classOf(char c) { return kClasses[static_cast<unsigned char>(c)]; }

// The mark of the end of a file is part of an atom that it follows.
bool endsAtom(char c) { return classOf(c) >= Class::Blank && c != kEndOfFileMark; }

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

// The line feed that ends the comment at `at`, or `end`.
const char* pastComment(const char* at, const char* end) {
  const char* const line_feed = std::find(at, end, '\n');
  countWork(static_cast<std::uint64_t>(line_feed - at));
  return line_feed;
}

RawValue quoted(RawValue form) {
  static Symbol* const quote = internSymbol("QUOTE");
  ++quote->references;
  RawValue name;
  name.tag = Tag::Symbol;
  name.record = quote;
  const std::array<RawValue, 2> elements = {name, form};
  return makeLiteral(elements.data(), elements.size());
}

constexpr std::string_view kTooDeep = "parser nesting limit exceeded";

// What stands for a quote mark among the lists that are open.
constexpr std::size_t kQuoteMark = std::numeric_limits<std::size_t>::max();

}  // namespace

Reader::~Reader() {
  for (std::size_t i = 0; i < elements_.size(); ++i) release(elements_[i]);
}

void Reader::skipBlanks() {
  while (at_ != end_) {
    if (classOf(*at_) == Class::Blank) {
      ++at_;
      countWork();
    } else if (classOf(*at_) == Class::Comment) {
      at_ = pastComment(at_, end_);
    } else {
      return;
    }
  }
}

std::optional<LispValue> Reader::readForm(std::uint32_t depth) {
  // For each list that is open, the place of its first element among elements_.
  std::array<std::size_t, kNestingMax + 1> open_forms;
  std::size_t open_count = 0;
  const auto inList = [&] { return open_count > 0 && open_forms[open_count - 1] != kQuoteMark; };
  const auto isTooDeep = [&] { return depth + open_count > kNestingMax; };
  for (const char* at = at_;;) {
    // Between elements a list looks for its end first, at its own level.
    if (at == end_) {
      if (inList()) return fail("unterminated list");
      return fail(isTooDeep() ? kTooDeep : "unexpected end of input");
    }
    RawValue form;
    switch (classOf(*at)) {
      case Class::Blank:
        ++at;
        countWork();
        continue;
      case Class::Comment:
        at = pastComment(at, end_);
        continue;
      case Class::Open:
      case Class::Quote:
        if (isTooDeep()) return fail(kTooDeep);
        open_forms[open_count++] = *at == '(' ? elements_.size() : kQuoteMark;
        ++at;
        continue;
      case Class::Close: {
        if (!inList()) return fail(isTooDeep() ? kTooDeep : "unexpected ')'");
        ++at;
        const std::size_t first = open_forms[--open_count];
        form = makeLiteral(elements_.data() + first, elements_.size() - first);
        elements_.truncate(first);
        break;
      }
      case Class::String:
        if (isTooDeep()) return fail(kTooDeep);
        at = readString(at + 1, form);
        if (at == nullptr) return fail("unterminated string");
        break;
      case Class::Number:
        if (isTooDeep()) return fail(kTooDeep);
        at = readNumberOrName(at, form);
        break;
      case Class::Name:
        if (isTooDeep()) return fail(kTooDeep);
        at = readName(at, form);
        break;
    }
    for (; open_count > 0 && open_forms[open_count - 1] == kQuoteMark; --open_count) {
      form = quoted(form);
    }
    if (open_count == 0) {
      at_ = at;
      return LispValue::adopt(form);
    }
    elements_.push(form);
  }
}

const char* Reader::readString(const char* at, RawValue& form) {
  form.tag = Tag::String;
  const char* piece = at;  // What is not in scratch_ yet.
  scratch_.clear();
  for (; at != end_; ++at) {
    if (*at == '"') {
      countWork(scratch_.size() + static_cast<std::size_t>(at - piece) + 1);
      form.record = internText(scratch_.empty() ? std::string_view(piece, at)
                                                : std::string_view(scratch_.append(piece, at)));
      return at + 1;
    }
    if (*at != '\\') continue;
    scratch_.append(piece, at);
    if (++at == end_) break;
    scratch_.push_back(unescaped(*at));
    piece = at + 1;
  }
  return nullptr;
}

const char* Reader::readNumberOrName(const char* at, RawValue& form) {
  form.tag = Tag::Number;
  const char* const short_end = readShortDecimal(at, end_, form.number);
  if (short_end != nullptr && (short_end == end_ || endsAtom(*short_end))) {
    countWork(static_cast<std::uint64_t>(short_end - at));
    return short_end;
  }
  const char* const end = std::find_if(at, end_, endsAtom);
  countWork(static_cast<std::uint64_t>(end - at));
  const std::optional<double> value = parseNumber({at, end});
  if (!value) return readName(at, form);
  form.number = *value;
  return end;
}

const char* Reader::readName(const char* at, RawValue& form) {
  constexpr std::size_t kPieceSize = 32;
  std::array<char, kPieceSize> piece;  // What is not in scratch_ yet; almost always all of it.
  std::size_t size = 0;
  scratch_.clear();
  for (; at != end_ && !endsAtom(*at); ++at) {
    if (size == kPieceSize) {
      scratch_.append(piece.data(), size);
      size = 0;
    }
    piece[size++] = upperCase(*at);
  }
  std::string_view name(piece.data(), size);
  if (!scratch_.empty()) name = scratch_.append(name);
  countWork(name.size());
  if (name == "NIL") {
    form = RawValue();
  } else {
    form.tag = Tag::Symbol;
    form.record = internSymbol(name);
  }
  return at;
}

std::optional<LispValue> Reader::fail(std::string_view message) {
  error_ = message;
  return std::nullopt;
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
