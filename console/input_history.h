// The forms that were typed, kept in a file from one session to the next.
//
// A line of the file is a form; its line ends are written \n and its backslashes \\. Only the user
// can read the file. It has at most kHistoryCountMax forms: what is older goes when it is loaded.

#ifndef CONSOLE_INPUT_HISTORY_H_
#define CONSOLE_INPUT_HISTORY_H_

#include <cstddef>
#include <string>
#include <vector>

namespace lisp_worker::console {

inline constexpr std::size_t kHistoryCountMax = 1000;

// The forms in the file, the oldest first; none when it cannot be read.
[[nodiscard]] std::vector<std::string> loadHistory(const std::string& path);

// Adds a form at the end of the file, which is made if there is none. A file that cannot be written
// stays as it is, since nobody would miss a form for that.
void appendHistory(const std::string& path, const std::string& form);

}  // namespace lisp_worker::console

#endif  // CONSOLE_INPUT_HISTORY_H_
