// The command `lisp_console format`: one file after the other gets the style of layout that
// docs/LANGUAGE.md describes.

#ifndef CONSOLE_FORMATTING_H_
#define CONSOLE_FORMATTING_H_

#include <optional>
#include <string>

namespace lisp_worker::console {

struct FormattedFile {
  std::string name;                 // For a person.
  std::optional<std::string> text;  // Empty when the file must be left alone.
  bool is_changed = false;          // The text is another than before.
  std::string complaint;            // Why it must; lines for a person.
};

// Reads a program from a file, or from standard input for "-", and formats it. Writes nothing. A
// byte order mark stays.
[[nodiscard]] FormattedFile formatFile(const std::string& path);

}  // namespace lisp_worker::console

#endif  // CONSOLE_FORMATTING_H_
