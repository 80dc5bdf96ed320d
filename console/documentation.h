// All that :doc knows: forms and functions of the dialect, host calls, commands of COMMAND,
// entities with their groups, commands of the prompt, and habits from elsewhere.

#ifndef CONSOLE_DOCUMENTATION_H_
#define CONSOLE_DOCUMENTATION_H_

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace lisp_worker::console {

// A command of the prompt: ":doc NAME" and its meaning.
struct PromptCommand {
  std::string_view usage;
  std::string_view meaning;

  [[nodiscard]] std::string_view name() const { return usage.substr(0, usage.find(' ')); }
};
[[nodiscard]] std::span<const PromptCommand> promptCommands();

// Something that has a name and a text.
struct Topic {
  std::string name;
  std::string text;  // One line.
};

// All entries whose name or text has a word that begins with `word`, in either case, the ones named
// exactly so left out. None for a word of one letter. `with_habits`: also what only other languages
// have, with what to write here.
[[nodiscard]] std::vector<Topic> topicsAbout(std::string_view word, bool with_habits);

// The description of `name` itself, in capitals: some lines; empty when nothing is known of it.
[[nodiscard]] std::string describeName(std::string_view name);

// Advice on a name that only other languages have; otherwise empty.
[[nodiscard]] std::string describeHabit(std::string_view name);

}  // namespace lisp_worker::console

#endif  // CONSOLE_DOCUMENTATION_H_
