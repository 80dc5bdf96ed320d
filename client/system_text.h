// Texts that come from the system or go to it, in UTF-8 on every system.

#ifndef CLIENT_SYSTEM_TEXT_H_
#define CLIENT_SYSTEM_TEXT_H_

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace lisp_worker::client {

// The system's words for one of its error codes: errno's on POSIX systems, GetLastError's on
// Windows.
[[nodiscard]] std::string systemMessage(int error);

// A path in UTF-8. On POSIX systems its bytes, whatever they are.
[[nodiscard]] std::string pathText(const std::filesystem::path& path);

// The path that `text` names. Empty on Windows when that is not UTF-8.
[[nodiscard]] std::optional<std::filesystem::path> pathFromText(std::string_view text);

}  // namespace lisp_worker::client

#endif  // CLIENT_SYSTEM_TEXT_H_
