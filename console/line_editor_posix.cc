// At a terminal libedit edits lines and keeps their history; anything else is read line by line.
// Ctrl-C sets a flag that the prompt and running programs ask for.

#include <histedit.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <iostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "console/completion.h"
#include "console/display.h"
#include "console/line_editor.h"

namespace lisp_worker::console {
namespace {

volatile std::sig_atomic_t interrupt_count = 0;

extern "C" void noteInterrupt(int /*signal*/) { interrupt_count = 1; }

// A terminal that has been asked to puts these around a paste.
constexpr const char* kPasteOn = "\033[?2004h";
constexpr const char* kPasteOff = "\033[?2004l";
constexpr const char* kPasteBegin = "\033[200~";
constexpr std::string_view kPasteEnd = "\033[201~";

// Written around the filter of std::cout.
void control(const char* sequence) {
  std::cout.flush();
  std::fputs(sequence, stdout);
  std::fflush(stdout);
}

class PlainEditor : public LineEditor {
 public:
  Result read(const std::string& prompt, std::string& line) override {
    std::cout << prompt << std::flush;
    if (std::getline(std::cin, line)) return Result::Line;
    if (!prompt.empty()) std::cout << "\n";
    return takeInterrupt() ? Result::Interrupted : Result::End;
  }

  [[nodiscard]] bool isTerminal() const override { return false; }
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
    // Pasted text is not keys: a tab in it completes nothing.
    el_set(editor_, EL_ADDFN, "lisp-paste", "Take what is pasted", &TerminalEditor::paste);
    el_set(editor_, EL_BIND, kPasteBegin, "lisp-paste", nullptr);
  }

  ~TerminalEditor() override {
    history_end(history_);
    el_end(editor_);
  }

  TerminalEditor(const TerminalEditor&) = delete;
  TerminalEditor& operator=(const TerminalEditor&) = delete;

  Result read(const std::string& prompt, std::string& line) override {
    prompt_ = safeText(prompt);
    is_interrupted_ = false;
    if (takePasted(line)) return Result::Line;
    control(kPasteOn);
    int size = 0;
    const char* const text = el_gets(editor_, &size);
    control(kPasteOff);
    if (is_interrupted_) {
      pasted_.clear();
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

  [[nodiscard]] bool isTerminal() const override { return true; }

  void remember(const std::string& line) override {
    if (line.find_first_not_of(" \t") == std::string::npos) return;
    HistEvent event;
    history(history_, &event, H_ENTER, line.c_str());
    // At once: a session that is killed has a history too.
    if (!history_path_.empty()) history(history_, &event, H_SAVE, history_path_.c_str());
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

  // Reads to the mark at the end of the paste. The first line joins the one that is edited; the
  // others are read before the keyboard is.
  static unsigned char paste(EditLine* editor, int /*key*/) {
    std::string text;
    wchar_t letter = 0;
    while (!text.ends_with(kPasteEnd) && el_wgetc(editor, &letter) == 1) {
      std::array<char, MB_LEN_MAX> bytes{};
      std::mbstate_t state{};
      const std::size_t size = std::wcrtomb(bytes.data(), letter, &state);
      if (size != static_cast<std::size_t>(-1)) text.append(bytes.data(), size);
    }
    if (text.ends_with(kPasteEnd)) text.resize(text.size() - kPasteEnd.size());
    text = withoutKeys(text);
    const std::size_t end = std::min(text.find('\n'), text.size());
    if (end > 0) el_insertstr(editor, text.substr(0, end).c_str());
    if (end == text.size()) return CC_REFRESH;
    of(editor).pasted_ = text.substr(end + 1);
    return CC_NEWLINE;
  }

  // Line feeds at the ends of lines, blanks for tabs, and no other control characters.
  static std::string withoutKeys(std::string_view text) {
    std::string clean;
    for (std::size_t n = 0; n < text.size(); ++n) {
      const char c = text[n];
      if (c == '\r') {
        if (n + 1 == text.size() || text[n + 1] != '\n') clean += '\n';
      } else if (c == '\t') {
        clean += ' ';
      } else if (c == '\n' || static_cast<unsigned char>(c) >= 0x20) {
        clean += c;
      }
    }
    return clean;
  }

  // The next whole line of a paste. The text after its last line end is typed in by itself.
  bool takePasted(std::string& line) {
    const std::size_t end = pasted_.find('\n');
    if (end == std::string::npos) {
      if (!pasted_.empty()) el_push(editor_, std::exchange(pasted_, "").c_str());
      return false;
    }
    line = pasted_.substr(0, end);
    pasted_.erase(0, end + 1);
    std::cout << prompt_ << line << "\n" << std::flush;
    remember(line);
    return true;
  }

  // More comes at once than a person types: a paste into a terminal that does not mark it.
  static bool isMoreWaiting() {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    return ::poll(&input, 1, 0) == 1;
  }

  static unsigned char complete(EditLine* editor, int /*key*/) {
    if (isMoreWaiting()) return el_insertstr(editor, " ") == 0 ? CC_REFRESH : CC_ERROR;
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

  std::string history_path_;
  Completer completer_;
  EditLine* editor_;
  History* history_;
  std::string prompt_;
  std::string pasted_;  // Not read yet.
  bool is_interrupted_ = false;
};

}  // namespace

std::unique_ptr<LineEditor> openLineEditor(const std::string& history_path,
                                           LineEditor::Completer completer) {
  if (::isatty(STDIN_FILENO) == 0) return std::make_unique<PlainEditor>();
  // The library counts letters by it, and drops those that it does not have.
  std::setlocale(LC_CTYPE, "");
  if (MB_CUR_MAX == 1) std::setlocale(LC_CTYPE, "C.UTF-8");
  return std::make_unique<TerminalEditor>(history_path, std::move(completer));
}

std::string defaultHistoryPath() {
  if (const char* const path = std::getenv("LISP_CONSOLE_HISTORY")) return path;
  const char* const home = std::getenv("HOME");
  return home == nullptr ? "" : std::string(home) + "/.lisp_console_history";
}

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

}  // namespace lisp_worker::console
