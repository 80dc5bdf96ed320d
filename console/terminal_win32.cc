#include <windows.h>

#include <cstdlib>
#include <string_view>

#include "console/terminal.h"

namespace lisp_worker::console {
namespace {

// False when the terminal is too old to know control sequences.
bool understandSequences(DWORD which) {
  DWORD mode = 0;
  const HANDLE handle = GetStdHandle(which);
  if (GetConsoleMode(handle, &mode) == 0) return true;  // Not a terminal.
  return SetConsoleMode(handle, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

}  // namespace

bool isOutputTerminal() { return GetFileType(GetStdHandle(STD_OUTPUT_HANDLE)) == FILE_TYPE_CHAR; }

bool isTerminalAttached() { return GetFileType(GetStdHandle(STD_ERROR_HANDLE)) == FILE_TYPE_CHAR; }

bool wantColours() {
  const char* const no_color = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  if (no_color != nullptr && *no_color != '\0') return false;
  if (terminal != nullptr && std::string_view(terminal) == "dumb") return false;
  return understandSequences(STD_OUTPUT_HANDLE) && understandSequences(STD_ERROR_HANDLE);
}

std::size_t outputWidth() {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  if (GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info) == 0) return 0;
  return static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left + 1);
}

}  // namespace lisp_worker::console
