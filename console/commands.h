// The commands that COMMAND and COMMAND-S can run on the drawing.

#ifndef CONSOLE_COMMANDS_H_
#define CONSOLE_COMMANDS_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/drawing.h"
#include "lisp_worker/client/datum.h"

namespace lisp_worker::console {

// One line for each command: its name and inputs, for a person.
[[nodiscard]] std::vector<std::string_view> commandSummaries();

// True when there is a command of this name, in capitals.
[[nodiscard]] bool isCommand(std::string_view name);

struct CommandResult {
  std::string text;       // Says what was done, or why something was not, for a person.
  bool is_whole = false;  // Everything was.
  // The argument because of which something was not, counted from 0; empty when it is none of them.
  std::optional<std::size_t> failed_argument = {};
};

// Runs the commands that `arguments` hold, one after the other; command_input.h tells how inputs
// are written. Names and words may be in either case. "" is the Enter key:
//   LINE point point... [C] ""            C closes
//   PLINE point [A arcs|L lines] point... [S on-arc point] [C] ""
//   CIRCLE centre radius | centre D diameter | 2P point point | 3P point point point
//   ARC point point point | C centre start end      through three points; against the clock
//   POINT point... ""
//   TEXT [J L|C|R] point height angle text
//   HATCH SOLID selection "" | LINE|NET distance angle selection ""   circles, closed polylines
//   MOVE selection "" from to             COPY selection "" from to [to...] ""
//   ROTATE selection "" centre angle      SCALE selection "" centre factor
//   MIRROR selection "" point point [Y|N] Y erases the originals
//   ERASE selection ""
//   LAYER [M|N|S name] [C colour|L line-type|LW mm names] [ON|OFF names] ""
//                                                     names separated by commas
//   ZOOM E|A | W corner corner | C centre height
// Entities go on the current layer. A command does all that it is told or nothing; after one that
// fails the rest is not run.
CommandResult runCommand(Drawing& drawing, const client::DatumList& arguments);

}  // namespace lisp_worker::console

#endif  // CONSOLE_COMMANDS_H_
