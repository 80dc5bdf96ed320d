// The brackets, lines and indents of a form that is being typed.

#ifndef CONSOLE_FORM_LAYOUT_H_
#define CONSOLE_FORM_LAYOUT_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lisp_worker::console {

// Where the innermost list or string that is still open begins; empty when the text is whole, or
// when no more text could make it whole.
[[nodiscard]] std::optional<std::size_t> openAt(std::string_view text);

// The parenthesis that belongs to the one at `at`, which may be either; empty when there is none,
// or when that one is part of a string or a comment.
[[nodiscard]] std::optional<std::size_t> matchingBracket(std::string_view text, std::size_t at);

// The blanks that a new line behind `text` begins with, as people indent LISP: two more than the
// list around it when that has a body, such as DEFUN and WHILE, under the first argument when there
// is one in the line of the name, and one more otherwise; none inside a string. `margin` is what
// the first line has in front of it on the screen.
[[nodiscard]] std::size_t indentAfter(std::string_view text, std::size_t margin);

// `text` with `margin` blanks less in front of all lines after the first, unless one of them has
// fewer or begins inside a string.
[[nodiscard]] std::string withoutMargin(std::string_view text, std::size_t margin);

// `text` with `value` in the place of every :LAST, in either case, outside strings and comments.
[[nodiscard]] std::string withLastValue(std::string_view text, std::string_view value);

// The tokens of a text, as far as editing needs them.
enum class TokenKind : std::uint8_t { Open, Close, Quote, String, Comment, Atom };
struct Token {
  TokenKind kind;
  std::size_t begin;
  std::size_t end;
  bool is_open = false;  // A string whose end is still to come.
};
[[nodiscard]] std::vector<Token> tokensOf(std::string_view text);

}  // namespace lisp_worker::console

#endif  // CONSOLE_FORM_LAYOUT_H_
