// Completion of names by the Tab key.

#ifndef CONSOLE_COMPLETION_H_
#define CONSOLE_COMPLETION_H_

#include <string>
#include <string_view>
#include <vector>

namespace lisp_worker::console {

// The word before the cursor, from the last blank, parenthesis, apostrophe or quote on.
[[nodiscard]] std::string_view wordBefore(std::string_view line);

// Of `names`, those that begin with `word` in either case.
[[nodiscard]] std::vector<std::string> namesWith(const std::vector<std::string>& names,
                                                 std::string_view word);

// The letters that all candidates have after `word`, in its letters' case, and a blank if there is
// only one candidate.
[[nodiscard]] std::string commonRest(const std::vector<std::string>& candidates,
                                     std::string_view word);

}  // namespace lisp_worker::console

#endif  // CONSOLE_COMPLETION_H_
