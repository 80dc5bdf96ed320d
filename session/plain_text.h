// Bytes of a conversation as lines for a person.

#ifndef SESSION_PLAIN_TEXT_H_
#define SESSION_PLAIN_TEXT_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace lisp_worker::session {

// `text` as it may be sent to a terminal: line feeds as they are, all other control characters and
// what is no UTF-8 as \t or \x1b.
[[nodiscard]] std::string printable(std::string_view text);

// The same on one line of at most `width` bytes, line feeds as \n, with three points at the end
// when something had to be left out.
[[nodiscard]] std::string plainText(std::string_view text, std::size_t width);

// `count` and `thing`, with an s unless there is one.
[[nodiscard]] std::string counted(std::size_t count, std::string_view thing);

// `text` with blanks after it, `width` characters at least.
[[nodiscard]] std::string padded(std::string text, std::size_t width);

}  // namespace lisp_worker::session

#endif  // SESSION_PLAIN_TEXT_H_
