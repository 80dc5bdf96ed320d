#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

#include "console/terminal.h"

namespace lisp_worker::console {
namespace {

std::string_view variable(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

}  // namespace

bool isOutputTerminal() { return ::isatty(STDOUT_FILENO) != 0; }

bool isTerminalAttached() { return ::isatty(STDERR_FILENO) != 0; }

bool wantColours() {
  const std::string_view terminal = variable("TERM");
  return variable("NO_COLOR").empty() && !terminal.empty() && terminal != "dumb";
}

std::size_t outputWidth() {
  winsize size{};
  if (!isOutputTerminal() || ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) return 0;
  return size.ws_col;
}

}  // namespace lisp_worker::console
