// Letters of UTF-8.

#ifndef CONSOLE_UTF8_H_
#define CONSOLE_UTF8_H_

#include <cstddef>
#include <string_view>

namespace lisp_worker::console {

// A letter, or a byte that belongs to none.
struct Letter {
  std::size_t size = 1;  // In bytes.
  char32_t code = 0;
  bool is_whole = false;
};

// The first of `text`, which is not empty. Overlong forms, surrogates and what lies above the last
// code point are no letters.
[[nodiscard]] Letter letterAt(std::string_view text);

// The number of bytes at the end of `text` that begin a letter but are not all of it.
[[nodiscard]] std::size_t unfinishedSize(std::string_view text);

}  // namespace lisp_worker::console

#endif  // CONSOLE_UTF8_H_
