#include "console/command_line.h"

#include <cstddef>

namespace console {

const std::string_view kUsage = R"(usage: lisp_console --worker PATH PROGRAM...

Starts the worker at PATH as a process of its own and runs each PROGRAM, a file in the worker's
LISP dialect, against a small drawing in memory. Prints what goes over the pipes in either
direction, and what became of the drawing. All programs share the worker and the drawing, in the
order given.

A program can say in comments how it wants to be run. Each takes a line of its own:

  ;@ answer CALL TEXT               send TEXT, as it stands, as the answer to the next host call
                                    CALL that has none yet: ;@ answer GETPOINT (10 20 0)
  ;@ entity LIST                    put an entity into the drawing first:
                                    ;@ entity ((0 "CIRCLE") (8 "HOLES") (10 (5 5 0)) (40 3))
  ;@ system S (NUMBERS)             before the program, make S (0 to 4) the coordinate system with
                                    these origin_x origin_y a b c d z_scale z_offset
  ;@ system S at-call N (NUMBERS)   the same while the program's call N waits for its answer
  ;@ expect value DATUM             the program ends with this value,
  ;@ expect error MESSAGE           or with this message,
  ;@ expect refusal STATUS          or with this status and nothing else

Calls without an answer in the script are answered from the drawing (SSGET, ENTGET, ENTMAKE,
ENTMAKEX, ENTMOD, OSNAP, COMMAND, COMMAND-S) or by rule: GETPOINT picks (0 0 0), (100 50 0),
(200 100 0) and so on, GETCORNER the point (100 50 0) away from its base point, GETDIST 10.

Programs run under coordinate context 1, with the systems
  0  the world, in millimetres
  1  a plan: turned left by 90 degrees, its origin at (100 50 0)
  2  inches: 25.4 mm each
  3  a sheet at 1:50
  4  a shadow on the x axis, which cannot be converted back: a target only for errors

Exit codes: 0 every program ended as it expects, or with a value if it expects nothing; 1 some
program did not; 2 the command line, a program file or its comments could not be used; 3 the worker
could not be started or broke off.
)";

std::optional<CommandLine> parseCommandLine(std::span<const std::string_view> arguments,
                                            std::string& error) {
  CommandLine command_line;
  bool options_end = false;  // After "--" every argument is a program.
  for (std::size_t n = 0; n < arguments.size(); ++n) {
    const std::string_view argument = arguments[n];
    if (options_end || !argument.starts_with('-')) {
      command_line.program_paths.emplace_back(argument);
    } else if (argument == "--") {
      options_end = true;
    } else if (argument == "--help" || argument == "-h") {
      command_line.help = true;
      return command_line;
    } else if (argument == "--worker") {
      if (n + 1 == arguments.size()) {
        error = "--worker needs the path of a worker";
        return std::nullopt;
      }
      command_line.worker_path = arguments[++n];
    } else {
      error = "unknown option: " + std::string(argument);
      return std::nullopt;
    }
  }
  if (command_line.worker_path.empty()) {
    error = "no worker given: --worker PATH";
    return std::nullopt;
  }
  if (command_line.program_paths.empty()) {
    error = "no program given";
    return std::nullopt;
  }
  return command_line;
}

}  // namespace console
