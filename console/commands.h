// The few commands that COMMAND and COMMAND-S can run on the drawing.

#ifndef CONSOLE_COMMANDS_H_
#define CONSOLE_COMMANDS_H_

#include <string>

#include "client/datum.h"
#include "console/drawing.h"

namespace console {

// Runs the command that the first of `arguments` names, in either case, with or without a leading
// underscore, dot or hyphen; empty strings, which stand for the Enter key, are passed over:
//   LINE point point...        a line from each point to the next
//   CIRCLE centre radius
//   POINT point...
//   ERASE handle-or-set...     handles and selection sets
//   LAYER name                 makes it the current one; options before the name are passed over
// Entities go on the current layer. Returns what was done, or why nothing was, for a person.
std::string runCommand(Drawing& drawing, const client::DatumList& arguments);

}  // namespace console

#endif  // CONSOLE_COMMANDS_H_
