#include <histedit.h>
#include <signal.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <utility>

#include "console/completion.h"
#include "console/line_editor.h"

namespace console {
namespace {

volatile std::sig_atomic_t interrupt_count = 0;

extern "C" void noteInterrupt(int /*signal*/) { interrupt_count = 1; }

class PlainEditor : public LineEditor {
 public:
  Result read(const std::string& prompt, std::string& line) override {
    std::cout << prompt << std::flush;
    if (std::getline(std::cin, line)) return Result::Line;
    std::cout << "\n";
    return takeInterrupt() ? Result::Interrupted : Result::End;
  }
};

class TerminalEditor : public LineEditor {
 public:
  TerminalEditor(std::string history_path, Completer completer)
      : history_path_(std::move(history_path)), completer_(std::move(completer)) {
    editor_ = el_init("lisp_console", stdin, stdout, stderr);
    history_ = history_init();
    HistEvent event;
    history(history_, &event, H_SETSIZE, 1000);
    history(history_, &event, H_SETUNIQUE, 1);
    if (!history_path_.empty()) history(history_, &event, H_LOAD, history_path_.c_str());
    el_set(editor_, EL_CLIENTDATA, this);
    el_set(editor_, EL_PROMPT, &TerminalEditor::promptOf);
    el_set(editor_, EL_EDITOR, "emacs");
    el_set(editor_, EL_HIST, history, history_);
    el_set(editor_, EL_ADDFN, "lisp-complete", "Complete the name", &TerminalEditor::complete);
    el_set(editor_, EL_BIND, "^I", "lisp-complete", nullptr);
    // While a line is edited Ctrl-C is a key: the library would repeat an interrupted read.
    el_set(editor_, EL_ADDFN, "lisp-interrupt", "Drop the line", &TerminalEditor::interrupt);
    el_set(editor_, EL_BIND, "^C", "lisp-interrupt", nullptr);
    el_set(editor_, EL_SETTY, "-d", "-isig", nullptr);
  }

  ~TerminalEditor() override {
    history_end(history_);
    el_end(editor_);
  }

  TerminalEditor(const TerminalEditor&) = delete;
  TerminalEditor& operator=(const TerminalEditor&) = delete;

  Result read(const std::string& prompt, std::string& line) override {
    prompt_ = prompt;
    is_interrupted_ = false;
    int size = 0;
    const char* const text = el_gets(editor_, &size);
    if (is_interrupted_) {
      std::cout << "^C\n";
      return Result::Interrupted;
    }
    if (text == nullptr || size <= 0) {
      std::cout << "\n";
      return Result::End;
    }
    line.assign(text, static_cast<std::size_t>(size));
    while (line.ends_with('\n') || line.ends_with('\r')) line.pop_back();
    remember(line);
    return Result::Line;
  }

 private:
  static TerminalEditor& of(EditLine* editor) {
    void* self = nullptr;
    el_get(editor, EL_CLIENTDATA, &self);
    return *static_cast<TerminalEditor*>(self);
  }

  static char* promptOf(EditLine* editor) { return of(editor).prompt_.data(); }

  static unsigned char interrupt(EditLine* editor, int /*key*/) {
    of(editor).is_interrupted_ = true;
    return CC_NEWLINE;
  }

  static unsigned char complete(EditLine* editor, int /*key*/) {
    const LineInfo* const info = el_line(editor);
    const std::string_view before(info->buffer,
                                  static_cast<std::size_t>(info->cursor - info->buffer));
    const std::string word(wordBefore(before));
    const std::vector<std::string> candidates = of(editor).completer_(word);
    const std::string rest = commonRest(candidates, word);
    if (!rest.empty()) {
      return el_insertstr(editor, rest.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
    }
    if (candidates.empty()) return CC_ERROR;
    std::cout << "\n";
    for (const std::string& name : candidates) std::cout << name << "  ";
    std::cout << "\n" << std::flush;
    return CC_REDISPLAY;
  }

  void remember(const std::string& line) {
    if (line.find_first_not_of(" \t") == std::string::npos) return;
    HistEvent event;
    history(history_, &event, H_ENTER, line.c_str());
    // At once: a session that is killed has a history too.
    if (!history_path_.empty()) history(history_, &event, H_SAVE, history_path_.c_str());
  }

  std::string history_path_;
  Completer completer_;
  EditLine* editor_;
  History* history_;
  std::string prompt_;
  bool is_interrupted_ = false;
};

}  // namespace

std::unique_ptr<LineEditor> openLineEditor(const std::string& history_path,
                                           LineEditor::Completer completer) {
  if (::isatty(STDIN_FILENO) == 0) return std::make_unique<PlainEditor>();
  std::setlocale(LC_CTYPE, "");  // The library counts letters by it.
  return std::make_unique<TerminalEditor>(history_path, std::move(completer));
}

std::string defaultHistoryPath() {
  if (const char* const path = std::getenv("LISP_CONSOLE_HISTORY")) return path;
  const char* const home = std::getenv("HOME");
  return home == nullptr ? "" : std::string(home) + "/.lisp_console_history";
}

bool isTerminalAttached() { return ::isatty(STDERR_FILENO) != 0; }

void ignoreInterrupts() {
  struct sigaction action = {};
  action.sa_handler = SIG_IGN;
  ::sigaction(SIGINT, &action, nullptr);
}

void catchInterrupts() {
  struct sigaction action = {};
  action.sa_handler = noteInterrupt;
  ::sigaction(SIGINT, &action, nullptr);
}

void endInterrupts() {
  struct sigaction action = {};
  action.sa_handler = SIG_DFL;
  ::sigaction(SIGINT, &action, nullptr);
}

bool takeInterrupt() {
  const bool is_interrupted = interrupt_count != 0;
  interrupt_count = 0;
  return is_interrupted;
}

}  // namespace console
