// What the user asked for: lisp_console --worker PATH PROGRAM...

#ifndef CONSOLE_COMMAND_LINE_H_
#define CONSOLE_COMMAND_LINE_H_

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace console {

struct CommandLine {
  bool help = false;  // Nothing else counts then.
  std::string worker_path;
  std::vector<std::string> program_paths;  // At least one, in the order given.
};

// What --help prints.
extern const std::string_view kUsage;

// Reads the arguments after the program's own name. Empty when they make no sense, with the reason
// in `error`.
[[nodiscard]] std::optional<CommandLine> parseCommandLine(
    std::span<const std::string_view> arguments, std::string& error);

}  // namespace console

#endif  // CONSOLE_COMMAND_LINE_H_
