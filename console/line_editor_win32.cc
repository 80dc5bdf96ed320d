// Lines are read as they come: the terminal of Windows edits them itself. Ctrl-C arrives on a
// thread of the system and sets a flag.

#include <windows.h>

#include <atomic>
#include <iostream>

#include "console/line_editor.h"

namespace lisp_worker::console {
namespace {

std::atomic<bool> is_interrupted = false;

BOOL WINAPI noteInterrupt(DWORD event) {
  if (event != CTRL_C_EVENT) return FALSE;
  is_interrupted = true;
  return TRUE;
}

// The system's own terminal edits lines and keeps their history.
class PlainEditor : public LineEditor {
 public:
  Result read(const std::string& prompt, std::string& line) override {
    std::cout << prompt << std::flush;
    if (std::getline(std::cin, line)) return Result::Line;
    if (!prompt.empty()) std::cout << "\n";
    return takeInterrupt() ? Result::Interrupted : Result::End;
  }

  [[nodiscard]] bool isTerminal() const override {
    return GetFileType(GetStdHandle(STD_INPUT_HANDLE)) == FILE_TYPE_CHAR;
  }
};

}  // namespace

std::unique_ptr<LineEditor> openLineEditor(const std::string& /*history_path*/,
                                           LineEditor::Completer /*completer*/) {
  return std::make_unique<PlainEditor>();
}

std::string defaultHistoryPath() { return ""; }

void ignoreInterrupts() { SetConsoleCtrlHandler(nullptr, TRUE); }

void catchInterrupts() {
  SetConsoleCtrlHandler(nullptr, FALSE);
  SetConsoleCtrlHandler(noteInterrupt, TRUE);
}

void endInterrupts() { SetConsoleCtrlHandler(noteInterrupt, FALSE); }

bool takeInterrupt() { return is_interrupted.exchange(false); }

}  // namespace lisp_worker::console
