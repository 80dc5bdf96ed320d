// Files as wholes.

#ifndef CONSOLE_FILES_H_
#define CONSOLE_FILES_H_

#include <optional>
#include <string>
#include <string_view>

namespace console {

// All bytes of a file. Empty when it cannot be read, with the reason in `error`: one sentence with
// the path in front.
[[nodiscard]] std::optional<std::string> readFile(const std::string& path, std::string& error);

// Writes `bytes` into a new file beside `path` and renames it, so that nobody ever sees half a
// file, and an old one stays when the disk is full. False with the reason in `error`.
[[nodiscard]] bool writeFile(const std::string& path, std::string_view bytes, std::string& error);

}  // namespace console

#endif  // CONSOLE_FILES_H_
