// The person's own editor, run on a file.

#ifndef CONSOLE_EXTERNAL_EDITOR_H_
#define CONSOLE_EXTERNAL_EDITOR_H_

#include <optional>
#include <string>
#include <string_view>

namespace lisp_worker::console {

// Opens `path` in the editor that VISUAL names, else EDITOR, else the system's, and waits for its
// end. False with the reason in `error`.
[[nodiscard]] bool editFile(const std::string& path, std::string& error);

// `text` as the editor leaves it, in a file that nobody else may read and that is gone afterwards.
// Empty with the reason in `error`.
[[nodiscard]] std::optional<std::string> editText(std::string_view text, std::string& error);

}  // namespace lisp_worker::console

#endif  // CONSOLE_EXTERNAL_EDITOR_H_
