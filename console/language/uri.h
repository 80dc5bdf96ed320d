// The names that a client gives to files: file:///home/ada/plate%20two.lsp

#ifndef CONSOLE_LANGUAGE_URI_H_
#define CONSOLE_LANGUAGE_URI_H_

#include <string>
#include <string_view>

namespace lisp_worker::console::language {

// The path of a file; empty for a name that is none, such as that of a text that was never saved.
[[nodiscard]] std::string pathOf(std::string_view uri);

// `path` is absolute.
[[nodiscard]] std::string uriOf(std::string_view path);

}  // namespace lisp_worker::console::language

#endif  // CONSOLE_LANGUAGE_URI_H_
