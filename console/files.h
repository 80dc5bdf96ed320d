// Files as wholes.

#ifndef CONSOLE_FILES_H_
#define CONSOLE_FILES_H_

#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

namespace lisp_worker::console {

// All bytes of a file. Empty when it cannot be read, with the reason in `error`: one sentence with
// the path in front.
[[nodiscard]] std::optional<std::string> readFile(const std::string& path, std::string& error);

// Writes `bytes` into a new file beside `path` and renames it, so that nobody ever sees half a
// file, and an old one stays when the disk is full. The old one's mode and owner are kept, and a
// link to a file stays a link. False with the reason in `error`.
[[nodiscard]] bool writeFile(const std::string& path, std::string_view bytes, std::string& error);

// True when writeFile could write there now; leaves no trace. False with the reason in `error`.
[[nodiscard]] bool canWriteFile(const std::string& path, std::string& error);

// Opens a file beside `target` that was not there before, under a name that nobody guesses, with
// the mode and owner of `target` if that is there. Null with the reason in errno. Its path is in
// `path` then.
[[nodiscard]] std::FILE* createBeside(const std::string& target, std::string& path);

}  // namespace lisp_worker::console

#endif  // CONSOLE_FILES_H_
