// The reader looks at each byte once and keeps the elements of all open lists on one stack. While
// (A (B C) D) is read, the stack grows to A B C; at the first closing parenthesis B C becomes a
// list, and the stack is A (B C). For every open list it knows where its elements begin.

#include "lisp/reader.h"

#include <algorithm>
#include <array>
#include <limits>

#include "lisp/list.h"
#include "lisp/number.h"
#include "lisp/symbol.h"
#include "lisp/work.h"

namespace lisp {
namespace {

constexpr char kEndOfFileMark = 0x1A;  // Skipped between forms, like white space.

// The beginnings of forms, by their first byte. White space is what the "C" locale calls so,
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

constexpr Class classOf(char c) { return kClasses[static_cast<unsigned char>(c)]; }

// The mark of the end of a file is part of an atom that it follows.
constexpr bool endsAtom(char c) { return classOf(c) >= Class::Blank && c != kEndOfFileMark; }

constexpr char upperCase(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }

// The upper-case byte for each byte of a name; 0 for those that end it, and for the byte 0 itself.
constexpr std::array<char, 256> makeNameBytes() {
  std::array<char, 256> bytes{};
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const char c = static_cast<char>(i);
    if (!endsAtom(c)) bytes[i] = upperCase(c);
  }
  return bytes;
}

constexpr std::array<char, 256> kNameBytes = makeNameBytes();

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

RawValue quoted(RawValue form) {
  static Symbol* const quote = internSymbol("QUOTE");
  ++quote->references;
  const std::array<RawValue, 2> elements = {RawValue::of(Tag::Symbol, quote), form};
  return makeLiteral(elements.data(), elements.size());
}

// The mark of a quote among the lists that are open.
constexpr std::size_t kQuoteMark = std::numeric_limits<std::size_t>::max();

// Told where data are. The worker's reads take no notes.
struct NoNotes {
  void open(const char* /*begin*/) {}
  void close(const char* /*end*/) {}
  void note(const char* /*begin*/, const char* /*end*/) {}
};

class PlaceNotes {
 public:
  explicit PlaceNotes(Places& places) : places_(places) {}

  // A list begins; the one that has begun last ends.
  void open(const char* begin) {
    open_.push_back(places_.size());
    places_.emplace_back(begin, 0);
  }
  void close(const char* end) {
    std::string_view& place = places_[open_.back()];
    place = {place.data(), end};
    open_.pop_back();
  }
  // An atom.
  void note(const char* begin, const char* end) { places_.emplace_back(begin, end); }

 private:
  Places& places_;
  std::vector<std::size_t> open_;  // The places of lists without an end.
};

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
      skipComment();
    } else {
      return;
    }
  }
}

std::optional<LispValue> Reader::readForm(std::uint32_t depth) {
  NoNotes notes;
  const RawValue form = read(depth, notes);
  if (form.tag() == Tag::Failed) return std::nullopt;
  return LispValue::adopt(form);
}

std::optional<LispValue> Reader::readForms(Places* places) {
  if (places != nullptr) return readAll(PlaceNotes(*places));
  return readAll(NoNotes());
}

template <typename Notes>
std::optional<LispValue> Reader::readAll(Notes notes) {
  for (skipBlanks(); !atEnd(); skipBlanks()) {
    const RawValue form = read(0, notes);
    if (form.tag() == Tag::Failed) return std::nullopt;
    elements_.push(form);
  }
  const RawValue forms = makeLiteral(elements_.data(), elements_.size());
  elements_.truncate(0);
  return LispValue::adopt(forms);
}

// A string that is long or has a backslash, if it is one.
RawValue Reader::readLongString() {
  const char* at = at_ + 1;
  const char* piece = at;  // What is not in scratch_ yet.
  scratch_.clear();
  for (; at != end_; ++at) {
    if (*at == '"') {
      countWork(static_cast<std::uint64_t>(at - at_));
      at_ = at + 1;
      const std::string_view text(piece, at);
      return RawValue::of(Tag::String, internText(scratch_.empty() ? text : scratch_.append(text)));
    }
    if (*at != '\\') continue;
    scratch_.append(piece, at);
    if (++at == end_) break;
    scratch_.push_back(unescaped(*at));
    piece = at + 1;
  }
  return fail(kUnterminatedStringMessage);
}

// The usual way of each kind of atom stands in line in read(), which is where reading's time goes.

[[gnu::always_inline]] inline RawValue Reader::readString() {
  PackedText text;
  for (const char* at = at_ + 1; at != end_ && *at != '\\'; ++at) {
    if (*at == '"') {
      countWork(static_cast<std::uint64_t>(at - at_));
      at_ = at + 1;
      return RawValue::of(Tag::String, internShortText(text.word()));
    }
    if (text.isFull()) break;
    text.append(*at);
  }
  return readLongString();
}

// A name that is long or holds the byte 0.
RawValue Reader::readLongName() {
  const char* const end = std::find_if(at_, end_, endsAtom);
  scratch_.resize(static_cast<std::size_t>(end - at_));
  std::transform(at_, end, scratch_.begin(), upperCase);
  countWork(scratch_.size());
  at_ = end;
  return RawValue::of(Tag::Symbol, internSymbol(scratch_));
}

[[gnu::always_inline]] inline RawValue Reader::readName() {
  constexpr std::uint64_t kNil = packedWord("NIL");
  PackedText name;
  const char* at = at_;
  for (; at != end_; ++at) {
    const char c = kNameBytes[static_cast<unsigned char>(*at)];
    if (c == '\0') {
      if (endsAtom(*at)) break;
      return readLongName();
    }
    if (name.isFull()) return readLongName();
    name.append(c);
  }
  countWork(static_cast<std::uint64_t>(at - at_));
  at_ = at;
  if (name.word() == kNil) return RawValue();
  return RawValue::of(Tag::Symbol, internShortSymbol(name.word()));
}

[[gnu::always_inline]] inline RawValue Reader::readNumberOrName() {
  double short_value = 0.0;
  const char* const short_end = readShortDecimal(at_, end_, short_value);
  if (short_end != nullptr && (short_end == end_ || endsAtom(*short_end))) {
    countWork(static_cast<std::uint64_t>(short_end - at_));
    at_ = short_end;
    return RawValue::ofNumber(short_value);
  }
  const char* const end = std::find_if(at_, end_, endsAtom);
  countWork(static_cast<std::uint64_t>(end - at_));
  const std::optional<double> value = parseNumber({at_, end});
  if (!value) return readName();
  at_ = end;
  return RawValue::ofNumber(*value);
}

// One loop reads a form with all inside it. An apostrophe counts as an open list of its own that
// ends with the next form: kQuoteMark in open_forms, without elements. The order of the checks
// shows in the messages: at the end of the text an open list is unterminated, whatever its depth;
// anything else that begins is refused by its depth first.
//
// `notes` is told where each form begins and ends, for those who want places; for the others it is
// nothing, and the compiler leaves it out.
template <typename Notes>
RawValue Reader::read(std::uint32_t depth, Notes& notes) {
  // For each list that is open, the place of its first element among elements_.
  std::array<std::size_t, kNestingMax + 1> open_forms;
  std::size_t open_count = 0;
  const auto in_list = [&] { return open_count > 0 && open_forms[open_count - 1] != kQuoteMark; };
  const auto is_too_deep = [&] { return depth + open_count > kNestingMax; };
  while (true) {
    for (; at_ != end_ && *at_ == ' '; ++at_) countWork();
    // Between elements a list looks for its end first, at its own level.
    if (at_ == end_) {
      if (in_list()) return fail(kUnterminatedListMessage);
      return fail(is_too_deep() ? kTooDeepMessage : kUnexpectedEndMessage);
    }
    RawValue form;
    const char* const begin = at_;
    switch (classOf(*at_)) {
      case Class::Blank:
        ++at_;
        countWork();
        continue;
      case Class::Comment:
        skipComment();
        continue;
      case Class::Open:
      case Class::Quote:
        if (is_too_deep()) return fail(kTooDeepMessage);
        notes.open(begin);
        if (*at_ == '\'') notes.note(begin, begin + 1);
        open_forms[open_count++] = *at_ == '(' ? elements_.size() : kQuoteMark;
        ++at_;
        continue;
      case Class::Close: {
        if (!in_list()) return fail(is_too_deep() ? kTooDeepMessage : kUnexpectedCloseMessage);
        notes.close(++at_);
        const std::size_t first = open_forms[--open_count];
        form = makeLiteral(elements_.data() + first, elements_.size() - first);
        elements_.truncate(first);
        break;
      }
      case Class::String:
        if (is_too_deep()) return fail(kTooDeepMessage);
        form = readString();
        if (form.tag() == Tag::Failed) return form;
        notes.note(begin, at_);
        break;
      case Class::Number:
        if (is_too_deep()) return fail(kTooDeepMessage);
        form = readNumberOrName();
        notes.note(begin, at_);
        break;
      case Class::Name:
        if (is_too_deep()) return fail(kTooDeepMessage);
        form = readName();
        notes.note(begin, at_);
        break;
    }
    for (; open_count > 0 && open_forms[open_count - 1] == kQuoteMark; --open_count) {
      form = quoted(form);
      notes.close(at_);
    }
    if (open_count == 0) return form;
    elements_.push(form);
  }
}

void Reader::skipComment() {
  const char* const line_feed = std::find(at_, end_, '\n');
  countWork(static_cast<std::uint64_t>(line_feed - at_));
  at_ = line_feed;
}

RawValue Reader::fail(std::string_view message) {
  error_ = message;
  return RawValue::of(Tag::Failed);
}

std::optional<LispValue> parseProgram(std::string_view text, std::string* error_out) {
  std::string error;
  const std::optional<LispValue> forms = readForms(text, &error);
  if (forms && asList(*forms)->size() != 1) error = kNotOneFormMessage;
  if (error_out != nullptr) *error_out = error;
  if (!error.empty()) return std::nullopt;
  return asList(*forms)->front();
}

std::optional<LispValue> readForms(std::string_view text, std::string* error_out) {
  Reader reader(text);
  std::optional<LispValue> forms = reader.readForms();
  if (error_out != nullptr) *error_out = reader.error();
  return forms;
}

}  // namespace lisp
