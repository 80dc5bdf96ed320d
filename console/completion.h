// Completion by the Tab key: of what can stand at the cursor.
//
//   (POL              names of the dialect and of the session, parameters of the DEFUN around
//   (POLAR _          how the function is called
//   (COMMAND "CI      commands; behind one of them its options
//   '((0 "            types of entities; '((0 "CIRCLE") ( their groups; (8 " layers
//   :lo   :load pl    commands of the prompt, and names of files
//   :trace (POL       forms, behind commands that run one

#ifndef CONSOLE_COMPLETION_H_
#define CONSOLE_COMPLETION_H_

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace lisp_worker::console {

struct Candidate {
  std::string text;
  std::string note = {};  // Shown beside it where several are; may be empty.
};

struct Completion {
  std::string word;                        // Before the cursor, as it has been typed.
  std::vector<Candidate> candidates = {};  // In the order in which they are shown.
  std::string ending = {};                 // Follows the only candidate.
  bool keeps_case = false;                 // Letters follow those of the word, small or capital.
  std::string hint = {};                   // Shown before the first letter of a word.

  // The word with as much as all candidates have in common, and the ending if there is only
  // one. The word itself when nothing can be added.
  [[nodiscard]] std::string extended() const;
};

// Names that a session has to offer.
struct CompletionSource {
  std::vector<std::string> names = {};   // Of functions and variables, in capitals.
  std::vector<std::string> layers = {};  // Of the drawing.
  // The call of a function: "(POLAR POINT ANGLE DISTANCE)"; empty for unknown ones.
  std::function<std::string(std::string_view name)> signature = {};
};

// `before` is the text up to the cursor, with all lines of its form.
[[nodiscard]] Completion completeAt(std::string_view before, const CompletionSource& source);

// Of `names`, those that begin with `word` in either case, sorted, each once.
[[nodiscard]] std::vector<std::string> namesWith(const std::vector<std::string>& names,
                                                 std::string_view word);

}  // namespace lisp_worker::console

#endif  // CONSOLE_COMPLETION_H_
