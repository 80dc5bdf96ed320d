// Three passes over the tokens of a text, which come from the reader's own table of places.
//
// Tidying settles which tokens begin a line because the author wrote it: closing parentheses never
// do, unless a comment is in front of them. LineMaker places one token after the other. It knows
// the column of each and breaks a line in front of one that would not fit. The last pass aligns the
// comments behind code and joins the lines.
//
// Formatting twice changes nothing, because the breaks that the first time has added only make
// parts of lines shorter: a list that fits then fits now, and the others have their breaks already.

#include "explain/format.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <utility>
#include <vector>

#include "lisp/number.h"
#include "lisp/reader.h"
#include "lisp/value.h"

namespace explain {
namespace {

// No line begins further right, so that the text cannot grow out of proportion.
constexpr std::size_t kIndentMax = 60;
constexpr std::size_t kTabWidth = 8;
constexpr std::size_t kCommentGap = 2;
constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();

bool beginsLetter(char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80; }

std::size_t letterCount(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), beginsLetter));
}

std::string upperCase(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  return upper;
}

enum class Kind : std::uint8_t { Open, Close, Quote, Atom, Comment };

struct Token {
  Kind kind = Kind::Atom;
  std::uint8_t breaks = 0;  // Line ends in front of it: none, one, or two for a blank line.
  std::string_view text;    // Of a comment without blanks at its end.
  std::size_t column = 0;   // Where the author has put it.

  [[nodiscard]] bool isComment() const { return kind == Kind::Comment; }
  // A comment behind code. One that begins the text counts as a line of its own.
  [[nodiscard]] bool isTrailing() const { return isComment() && breaks == 0; }
  [[nodiscard]] bool hasLines() const { return text.find('\n') != text.npos; }
};

struct Tokens {
  std::vector<Token> list;
  bool has_crlf = false;  // The first line ends with a carriage return and a line feed.
};

// Cuts a text into tokens. `places` are those of its data: what lies between atoms is blanks,
// parentheses, apostrophes and comments.
class Scanner {
 public:
  Scanner(std::string_view text, const lisp::Places& places) : text_(text), places_(places) {}

  Tokens scan() {
    auto place = places_.begin();
    while (at_ < text_.size()) {
      // Lists and apostrophes have places too.
      while (place != places_.end() && (place->front() == '(' || place->front() == '\'')) ++place;
      if (place != places_.end() && place->data() == text_.data() + at_) {
        add(Kind::Atom, *place);
        ++place;
      } else {
        scanOther();
      }
    }
    return std::move(tokens_);
  }

 private:
  void scanOther() {
    const char c = text_[at_];
    switch (c) {
      case '(':
        return add(Kind::Open, text_.substr(at_, 1));
      case ')':
        return add(Kind::Close, text_.substr(at_, 1));
      case '\'':
        return add(Kind::Quote, text_.substr(at_, 1));
      case ';':
        return addComment();
      case '\n':
        if (!has_line_) tokens_.has_crlf = at_ > 0 && text_[at_ - 1] == '\r';
        has_line_ = true;
        ++breaks_;
        column_ = 0;
        break;
      case '\t':
        column_ = (column_ / kTabWidth + 1) * kTabWidth;
        break;
      default:
        ++column_;
        break;
    }
    ++at_;
  }

  void addComment() {
    const std::size_t end = std::min(text_.find('\n', at_), text_.size());
    std::string_view comment = text_.substr(at_, end - at_);
    comment = comment.substr(0, comment.find_last_not_of(" \t\r\f\v") + 1);
    if (tokens_.list.empty()) breaks_ = std::max<std::size_t>(breaks_, 1);
    add(Kind::Comment, comment);
    at_ = end;
  }

  void add(Kind kind, std::string_view text) {
    const auto breaks = static_cast<std::uint8_t>(std::min<std::size_t>(breaks_, 2));
    tokens_.list.push_back({.kind = kind, .breaks = breaks, .text = text, .column = column_});
    breaks_ = 0;
    const std::size_t line_end = text.rfind('\n');
    if (line_end != text.npos) column_ = 0;
    column_ += letterCount(text.substr(line_end == text.npos ? 0 : line_end + 1));
    at_ += text.size();
  }

  const std::string_view text_;
  const lisp::Places& places_;
  std::size_t at_ = 0;
  std::size_t column_ = 0;
  std::size_t breaks_ = 0;
  bool has_line_ = false;
  Tokens tokens_;
};

// The closing parentheses after a comment behind code move in front of it:
//
//   (WHILE (< N 3)
//     (DRAW N)  ; one ring
//   )
//
// becomes (DRAW N))  ; one ring. They stay where another comment follows them in their line, which
// would become a line of its own.
void joinClosings(std::vector<Token>& tokens) {
  for (std::size_t n = 0; n < tokens.size(); ++n) {
    if (!tokens[n].isTrailing()) continue;
    std::size_t end = n + 1;
    while (end < tokens.size() && tokens[end].kind == Kind::Close) ++end;
    if (end == n + 1 || (end < tokens.size() && tokens[end].isTrailing())) continue;
    for (std::size_t closing = n + 1; closing < end; ++closing) tokens[closing].breaks = 0;
    std::rotate(tokens.begin() + static_cast<std::ptrdiff_t>(n),
                tokens.begin() + static_cast<std::ptrdiff_t>(n) + 1,
                tokens.begin() + static_cast<std::ptrdiff_t>(end));
    n = end - 1;
  }
}

// Settles the line breaks that are the author's.
void tidy(std::vector<Token>& tokens) {
  joinClosings(tokens);
  for (std::size_t n = 0; n < tokens.size(); ++n) {
    Token& token = tokens[n];
    if (n == 0) {
      token.breaks = token.isComment() ? 1 : 0;
      continue;
    }
    const Kind before = tokens[n - 1].kind;
    std::uint8_t breaks_max = 2;
    if (before == Kind::Open || before == Kind::Quote) breaks_max = token.isComment() ? 1 : 0;
    if (token.kind == Kind::Close) breaks_max = 0;
    token.breaks = std::min(token.breaks, breaks_max);
    if (before == Kind::Comment && token.breaks == 0) token.breaks = 1;
  }
}

// The kind of a list, for its layout.
enum class Head : std::uint8_t {
  Text,     // No list: the forms of the program.
  Data,     // Quoted, or parameters: nothing is evaluated.
  Other,    // Does not begin with a name.
  Call,     // Arguments are below the first, or indented by two when that is in a line of its own.
  Command,  // The same, but as many in a line as fit.
  Pairs,    // SETQ: breaks come before names.
  Loop,     // WHILE: a body after the condition.
  Defun,    // A body after the name and the parameters.
  Quote,    // Written out.
};

Head headOf(std::string_view name) {
  const std::string capitals = upperCase(name);
  if (capitals == "SETQ") return Head::Pairs;
  if (capitals == "WHILE") return Head::Loop;
  if (capitals == "DEFUN") return Head::Defun;
  if (capitals == "QUOTE") return Head::Quote;
  if (capitals == "COMMAND" || capitals == "COMMAND-S") return Head::Command;
  return Head::Call;
}

bool isBodied(Head head) { return head == Head::Loop || head == Head::Defun; }

struct Line {
  bool is_after_blank = false;
  std::size_t indent = 0;
  std::string code;     // Without the indentation; may go on over lines inside strings.
  std::size_t end = 0;  // The column behind the code.
  const Token* comment = nullptr;
  bool goes_on = false;  // The comment continues one that is behind code.
};

class LineMaker {
 public:
  explicit LineMaker(const std::vector<Token>& tokens)
      : tokens_(tokens),
        ends_(tokens.size()),
        stops_(tokens.size()),
        element_ends_(tokens.size()),
        closing_ends_(tokens.size()) {
    measure();
  }

  std::vector<Line> makeLines() {
    lists_.push_back({.head = Head::Text});
    for (std::size_t n = 0; n < tokens_.size(); ++n) {
      if (tokens_[n].isComment()) {
        placeComment(tokens_[n]);
      } else {
        place(n);
      }
    }
    return std::move(lines_);
  }

 private:
  struct List {
    Head head = Head::Text;
    std::size_t column = 0;
    std::size_t item_count = 0;
    std::size_t argument_column = kNone;  // Of the first one, when it is beside the name.
    bool is_quoted = false;               // All inside it is data.
    bool is_too_long = false;             // Gets a break wherever its head allows one.
  };

  // A blank, where two tokens of one line need it.
  [[nodiscard]] std::size_t gapBefore(std::size_t n) const {
    if (n == 0 || tokens_[n].kind == Kind::Close) return 0;
    const Kind before = tokens_[n - 1].kind;
    return before == Kind::Open || before == Kind::Quote ? 0 : 1;
  }

  // Fills the tables that fitsAt() needs.
  void measure() {
    std::size_t end = 0;
    std::vector<std::size_t> open;
    for (std::size_t n = 0; n < tokens_.size(); ++n) {
      const Token& token = tokens_[n];
      if (!token.isComment()) end += gapBefore(n) + letterCount(firstLine(token));
      ends_[n] = end;
      element_ends_[n] = n;
      if (token.kind == Kind::Open) open.push_back(n);
      if (token.kind == Kind::Close) {
        element_ends_[open.back()] = n;
        open.pop_back();
      }
    }
    std::size_t stop = tokens_.size();  // The next token that is not in the line of this one.
    std::size_t form = 0;               // The next that is not a comment.
    for (std::size_t n = tokens_.size(); n-- > 0;) {
      const Token& token = tokens_[n];
      const bool goes_on = n + 1 < tokens_.size() && tokens_[n + 1].kind == Kind::Close &&
                           tokens_[n + 1].breaks == 0;
      closing_ends_[n] = goes_on ? closing_ends_[n + 1] : n;
      if (token.kind == Kind::Quote) element_ends_[n] = element_ends_[form];
      if (token.hasLines()) stop = n + 1;
      stops_[n] = stop;
      if (token.breaks != 0 || token.isComment()) stop = n;
      if (!token.isComment()) form = n;
    }
  }

  static std::string_view firstLine(const Token& token) {
    return token.text.substr(0, token.text.find('\n'));
  }

  // True when the element that begins with token `n` ends before the right margin when it begins at
  // `column`: up to the next line break, with the parentheses that follow it.
  [[nodiscard]] bool fitsAt(std::size_t n, std::size_t column) const {
    const std::size_t last = std::min(closing_ends_[element_ends_[n]], stops_[n] - 1);
    const std::size_t begin = n == 0 ? 0 : ends_[n - 1] + gapBefore(n);
    return column + ends_[last] - begin <= kLineWidthMax;
  }

  // A table that SETQ assigns begins a line of its own, not far to the right.
  static bool isFirstValue(const List& list) {
    return list.head == Head::Pairs && list.item_count == 2;
  }

  // Where a line inside the innermost list begins.
  [[nodiscard]] std::size_t indent() const {
    if (quote_column_ != kNone) return std::min(quote_column_ + 1, kIndentMax);
    const List& list = lists_.back();
    std::size_t indent = list.column + 2;
    if (list.head == Head::Text) indent = 0;
    if (list.head == Head::Data || list.head == Head::Other) indent = list.column + 1;
    const bool is_below = !isBodied(list.head) && !isFirstValue(list);
    if (is_below && list.argument_column <= kIndentMax) indent = list.argument_column;
    return std::min(indent, kIndentMax);
  }

  // True when the innermost list may be broken in front of its next item.
  [[nodiscard]] bool mayBreak() const {
    const List& list = lists_.back();
    switch (list.head) {
      case Head::Text:
      case Head::Data:
      case Head::Other:
        return list.item_count >= 1;
      case Head::Pairs:
        return list.item_count >= 3 && list.item_count % 2 == 1;
      case Head::Defun:
        return list.item_count >= 3;
      default:
        return list.item_count >= 2;
    }
  }

  [[nodiscard]] bool breaksBefore(std::size_t n) const {
    const Token& token = tokens_[n];
    if (token.breaks != 0 || lines_.empty()) return true;
    if (token.kind == Kind::Close || gapBefore(n) == 0 || !mayBreak()) return false;
    if (lists_.back().is_too_long) return true;
    return indent() < column_ + 1 && !fitsAt(n, column_ + 1);
  }

  void beginLine(const Token& token) {
    Line& line = lines_.emplace_back();
    line.is_after_blank = token.breaks == 2;
    line.indent = indent();
    column_ = line.indent;
  }

  void place(std::size_t n) {
    const Token& token = tokens_[n];
    const bool is_first = breaksBefore(n);
    if (is_first) {
      beginLine(token);
    } else if (gapBefore(n) != 0) {
      lines_.back().code += ' ';
      ++column_;
    }
    const std::size_t column = column_;
    lines_.back().code += token.text;
    const std::size_t line_end = token.text.rfind('\n');
    if (line_end != token.text.npos) column_ = 0;
    column_ += letterCount(token.text.substr(line_end == token.text.npos ? 0 : line_end + 1));
    lines_.back().end = column_;
    if (token.kind == Kind::Close) {
      lists_.pop_back();
      return;
    }
    const bool is_quoted = quote_column_ != kNone;
    if (!is_quoted) noteItem(column, is_first);
    quote_column_ = token.kind == Kind::Quote ? column : kNone;
    if (token.kind == Kind::Open) open(n, column, is_quoted);
  }

  void noteItem(std::size_t column, bool is_first) {
    List& list = lists_.back();
    ++list.item_count;
    const bool has_arguments = list.head >= Head::Call;
    if (has_arguments && list.item_count == 2 && !is_first) list.argument_column = column;
  }

  void open(std::size_t n, std::size_t column, bool is_quoted) {
    const List& around = lists_.back();
    const bool is_parameters = around.head == Head::Defun && around.item_count == 3;
    List list{.column = column};
    list.is_quoted = is_quoted || around.is_quoted || around.head == Head::Quote;
    const Token& first = tokens_[n + 1];
    list.head = Head::Other;
    if (list.is_quoted || is_parameters) {
      list.head = Head::Data;
    } else if (first.kind == Kind::Atom && first.text.front() != '"' &&
               !lisp::parseNumber(first.text)) {
      list.head = headOf(first.text);
    }
    const bool is_filled = list.head == Head::Data || list.head == Head::Command;
    list.is_too_long = !is_filled && !fitsAt(n, column);
    lists_.push_back(list);
  }

  void placeComment(const Token& comment) {
    if (comment.isTrailing()) {
      lines_.back().comment = &comment;
      return;
    }
    const bool goes_on = comment.breaks == 1 && !lines_.empty() &&
                         lines_.back().comment != nullptr &&
                         (!lines_.back().code.empty() || lines_.back().goes_on) &&
                         lines_.back().comment->column == comment.column;
    beginLine(comment);
    lines_.back().comment = &comment;
    lines_.back().goes_on = goes_on;
  }

  const std::vector<Token>& tokens_;
  // By token. If the whole text were one line: the column behind the token.
  std::vector<std::size_t> ends_;
  // The first token behind it that cannot be in its line.
  std::vector<std::size_t> stops_;
  // The last token of the element that begins with it.
  std::vector<std::size_t> element_ends_;
  // The last of the closing parentheses that follow it in its line; itself if there are none.
  std::vector<std::size_t> closing_ends_;

  std::vector<List> lists_;
  std::vector<Line> lines_;
  std::size_t column_ = 0;
  std::size_t quote_column_ = kNone;  // Of an apostrophe whose form is still to come.
};

// Where the comments behind code begin in the lines from `begin` to `end`, which follow each other:
// below each other if none of them then reaches over the margin.
std::size_t alignedColumn(const std::vector<Line>& lines, std::size_t begin, std::size_t end) {
  std::size_t column = 0;
  std::size_t width = 0;
  for (std::size_t n = begin; n < end; ++n) {
    column = std::max(column, lines[n].end + kCommentGap);
    width = std::max(width, letterCount(lines[n].comment->text));
  }
  return column + width <= kLineWidthMax ? column : 0;
}

std::string join(const std::vector<Line>& lines, std::string_view line_end) {
  const auto has_trailing = [&](std::size_t n) {
    return n < lines.size() && lines[n].comment != nullptr && !lines[n].code.empty();
  };
  std::string text;
  std::size_t group_end = 0;
  std::size_t group_column = 0;
  std::size_t comment_column = 0;
  for (std::size_t n = 0; n < lines.size(); ++n) {
    const Line& line = lines[n];
    if (line.is_after_blank) text += line_end;
    if (has_trailing(n)) {
      if (n >= group_end) {
        group_end = n + 1;
        while (has_trailing(group_end) && !lines[group_end].is_after_blank) ++group_end;
        group_column = alignedColumn(lines, n, group_end);
      }
      comment_column = std::max(group_column, line.end + kCommentGap);
      text.append(line.indent, ' ') += line.code;
      text.append(comment_column - line.end, ' ') += line.comment->text;
    } else if (line.comment != nullptr) {
      text.append(line.goes_on ? comment_column : line.indent, ' ') += line.comment->text;
    } else {
      text.append(line.indent, ' ') += line.code;
    }
    text += line_end;
  }
  return text;
}

bool isAtom(std::string_view place) { return place.front() != '(' && place.front() != '\''; }

std::vector<std::string_view> atomsOf(const lisp::Places& places) {
  std::vector<std::string_view> atoms;
  std::copy_if(places.begin(), places.end(), std::back_inserter(atoms), isAtom);
  return atoms;
}

struct PlacedComment {
  std::string_view text;
  std::size_t atom_count;  // In front of it.
  bool is_trailing;

  friend bool operator==(const PlacedComment&, const PlacedComment&) = default;
};

std::vector<PlacedComment> commentsOf(const Tokens& tokens) {
  std::vector<PlacedComment> comments;
  std::size_t atom_count = 0;
  for (const Token& token : tokens.list) {
    if (token.kind == Kind::Atom) ++atom_count;
    if (token.isComment()) comments.push_back({token.text, atom_count, token.isTrailing()});
  }
  return comments;
}

}  // namespace

Formatting formatProgram(const Source& source) {
  const std::string_view text = source.text();
  lisp::Places places;
  if (!lisp::Reader(text).readForms(&places)) return {"", readForms(source).fault};
  Tokens tokens = Scanner(text, places).scan();
  tidy(tokens.list);
  Formatting formatting;
  formatting.text = join(LineMaker(tokens.list).makeLines(), tokens.has_crlf ? "\r\n" : "\n");
  if (readTheSame(text, formatting.text)) return formatting;
  ReadFault fault;
  fault.message = "the formatter has failed: it would change what is read";
  return {"", std::move(fault)};
}

bool readTheSame(std::string_view a, std::string_view b) {
  lisp::Places a_places;
  lisp::Places b_places;
  const auto a_forms = lisp::Reader(a).readForms(&a_places);
  const auto b_forms = lisp::Reader(b).readForms(&b_places);
  return a_forms && b_forms && lisp::valuesEqual(*a_forms, *b_forms) &&
         atomsOf(a_places) == atomsOf(b_places) &&
         commentsOf(Scanner(a, a_places).scan()) == commentsOf(Scanner(b, b_places).scan());
}

bool hasBody(std::string_view name) { return isBodied(headOf(name)); }

}  // namespace explain
