// The arguments of lisp_console, parsed and checked.

#ifndef CONSOLE_COMMAND_LINE_H_
#define CONSOLE_COMMAND_LINE_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "console/paper.h"

namespace lisp_worker::console {

// A program as the command line names it.
struct ProgramArgument {
  std::string text;      // A path, "-" for standard input, or a form.
  bool is_form = false;  // Given by -e.
};

enum class ColorWish : std::uint8_t { Auto, Always, Never };

struct CommandLine {
  bool help = false;        // Nothing else counts then.
  std::string help_topic;   // Behind --help; empty for everything.
  bool version = false;     // Nothing else counts then, except help.
  bool check = false;       // Look at the programs without running them.
  bool test = false;        // Run each of them by itself, and say which are as they expect.
  bool watch = false;       // Show the program on a page, and follow its files.
  bool debug = false;       // Run the program, then look at the run step by step.
  bool lsp = false;         // Be a language server.
  bool dap = false;         // Be a debug adapter.
  bool format = false;      // Give each of them the style of layout, without running them.
  bool only_names = false;  // format: name those that would change.
  bool at_error = false;    // Begin where it has failed.
  int port = 0;             // Of watch's page or of dap; 0 where none is given.
  std::string worker_path;
  std::vector<ProgramArgument> programs;   // In the order given; none for the prompt.
  std::vector<std::string> program_paths;  // Those of them that are files.
  std::vector<std::string> forms;          // Those that are not.
  std::vector<std::string> library_paths;
  std::string drawing_path;  // This and the next are empty where nothing was given.
  std::string save_path;
  std::vector<std::string> picture_paths;
  PageTexts page_texts;  // As they were given, and read.
  PageWishes page = {};
  std::string answers_path;
  bool asks = false;
  bool is_brief = false;  // Asked for; it is so anyway.
  bool shows_conversation = false;
  bool shows_all = false;
  bool keeps = false;
  bool is_strict = false;
  bool is_dry = false;
  std::size_t host_call_count_max = 0;  // 0 where none was given.
  int time_limit_seconds = 0;           // For one answer of the worker; 0 where none was given.
  bool traces = false;
  bool profiles = false;
  bool shows_coverage = false;
  std::string coverage_path;
  bool shows_axes = false;
  bool shows_cells = false;
  bool keeps_history = true;
  bool is_json = false;
  ColorWish color = ColorWish::Auto;
};

// The text of --help.
[[nodiscard]] std::string usage();

// The text of --help for a topic. The only topic is "entities"; any other yields the whole text.
[[nodiscard]] std::string usage(std::string_view topic);

// Reads the arguments after the program's own name. `default_worker` is the worker where none is
// named. Empty when they make no sense, with the reason in `error`.
[[nodiscard]] std::optional<CommandLine> parseCommandLine(
    std::span<const std::string_view> arguments, const std::string& default_worker,
    std::string& error);

}  // namespace lisp_worker::console

#endif  // CONSOLE_COMMAND_LINE_H_
