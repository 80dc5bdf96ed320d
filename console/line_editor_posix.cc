// At a terminal libedit edits lines and keeps their history; anything else is read line by line.
// Ctrl-C sets a flag that the prompt and running programs ask for.

#include <histedit.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <initializer_list>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "console/completion.h"
#include "console/display.h"
#include "console/form_layout.h"
#include "console/input_history.h"
#include "console/line_editor.h"
#include "console/utf8.h"

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

// Sequences that no key sends, for functions of the editor to name others to go on with.
constexpr const char* kEndOfInput = "\033[9998~";
constexpr const char* kPending = "\033[9999~";
constexpr const char* kEarlier = "\020";  // Ctrl-P and Ctrl-N: the forms before and after.
constexpr const char* kLater = "\016";

// Where a letter is on the screen, counted from the prompt.
struct ScreenPlace {
  int row = 0;
  int column = 0;
};

int letterCount(std::string_view text) {
  int count = 0;
  for (; !text.empty(); ++count) text.remove_prefix(letterAt(text).size);
  return count;
}

class TerminalEditor : public LineEditor {
 public:
  TerminalEditor(std::string history_path, Completer completer)
      : history_path_(std::move(history_path)), completer_(std::move(completer)) {
    editor_ = el_init("lisp_console", stdin, stdout, stderr);
    history_ = history_init();
    HistEvent event;
    history(history_, &event, H_SETSIZE, static_cast<int>(kHistoryCountMax));
    history(history_, &event, H_SETUNIQUE, 1);
    if (!history_path_.empty()) {
      for (const std::string& form : loadHistory(history_path_)) {
        history(history_, &event, H_ENTER, form.c_str());
        last_remembered_ = form;
      }
    }
    el_set(editor_, EL_CLIENTDATA, this);
    el_set(editor_, EL_PROMPT, &TerminalEditor::promptOf);
    el_set(editor_, EL_EDITOR, "emacs");
    el_set(editor_, EL_HIST, history, history_);
    el_set(editor_, EL_GETCFN, &TerminalEditor::readKey);
    addKey("lisp-complete", &TerminalEditor::complete, {"^I"});
    addKey("lisp-enter", &TerminalEditor::enter, {"^M", "^J"});
    addKey("lisp-up", &TerminalEditor::up, {"\033[A", "\033OA"});
    addKey("lisp-down", &TerminalEditor::down, {"\033[B", "\033OB"});
    // While a line is edited Ctrl-C is a key: the library would repeat an interrupted read.
    addKey("lisp-interrupt", &TerminalEditor::interrupt, {"^C"});
    el_set(editor_, EL_SETTY, "-d", "-isig", nullptr);
    // Pasted text is not keys: a tab in it completes nothing.
    addKey("lisp-paste", &TerminalEditor::paste, {kPasteBegin});
    addKey("lisp-pending", &TerminalEditor::insertPending, {kPending});
    el_set(editor_, EL_BIND, kEndOfInput, "ed-newline", nullptr);
    el_set(editor_, EL_BIND, kEarlier, "ed-prev-history", nullptr);
    el_set(editor_, EL_BIND, kLater, "ed-next-history", nullptr);
  }

  ~TerminalEditor() override {
    history_end(history_);
    el_end(editor_);
  }

  TerminalEditor(const TerminalEditor&) = delete;
  TerminalEditor& operator=(const TerminalEditor&) = delete;

  Result read(const std::string& prompt, std::string& line) override {
    reads_form_ = false;
    return readAll(prompt, line);
  }

  Result readForm(const std::string& prompt, std::string& text) override {
    reads_form_ = true;
    const Result result = readAll(prompt, text);
    if (result == Result::Line) {
      remember(text);
      text = withoutMargin(text, static_cast<std::size_t>(letterCount(prompt_)));
    }
    return result;
  }

  [[nodiscard]] bool isTerminal() const override { return true; }

  void remember(const std::string& form) override {
    if (form.find_first_not_of(" \t\n") == std::string::npos || form == last_remembered_) return;
    last_remembered_ = form;
    HistEvent event;
    history(history_, &event, H_ENTER, form.c_str());
    // At once: a session that is killed has a history too.
    if (!history_path_.empty()) appendHistory(history_path_, form);
  }

 private:
  using Function = unsigned char (*)(EditLine*, int);

  void addKey(const char* name, Function function, std::initializer_list<const char*> keys) {
    el_set(editor_, EL_ADDFN, name, name, function);
    for (const char* const key : keys) el_set(editor_, EL_BIND, key, name, nullptr);
  }

  static TerminalEditor& of(EditLine* editor) {
    void* self = nullptr;
    el_get(editor, EL_CLIENTDATA, &self);
    return *static_cast<TerminalEditor*>(self);
  }

  static char* promptOf(EditLine* editor) { return of(editor).prompt_.data(); }

  // The text that is edited, and the byte of it before which the cursor is.
  static std::string_view textOf(EditLine* editor) {
    const LineInfo* const info = el_line(editor);
    return {info->buffer, static_cast<std::size_t>(info->lastchar - info->buffer)};
  }
  static std::size_t cursorOf(EditLine* editor) {
    const LineInfo* const info = el_line(editor);
    return static_cast<std::size_t>(info->cursor - info->buffer);
  }

  Result readAll(const std::string& prompt, std::string& text) {
    prompt_ = safeText(prompt);
    is_interrupted_ = false;
    if (!pasted_.empty()) el_push(editor_, kPending);
    control(kPasteOn);
    int size = 0;
    const char* const line = el_gets(editor_, &size);
    control(kPasteOff);
    if (is_interrupted_) {
      pasted_.clear();
      std::cout << "^C\n";
      return Result::Interrupted;
    }
    if (line == nullptr || size <= 0) {
      std::cout << "\n";
      return Result::End;
    }
    text.assign(line, static_cast<std::size_t>(size));
    while (text.ends_with('\n') || text.ends_with('\r')) text.pop_back();
    return Result::Line;
  }

  [[nodiscard]] bool isUnfinished(std::string_view text) const {
    const bool is_command =
        text.substr(std::min(text.find_first_not_of(" \t"), text.size())).starts_with(':');
    return reads_form_ && !is_command && openAt(text).has_value();
  }

  // The bracket that belongs to the one before the cursor, or to the one at it, is shown while the
  // next key is awaited.
  static int readKey(EditLine* editor, wchar_t* letter) {
    TerminalEditor& self = of(editor);
    const bool is_shown = self.reads_form_ && !isMoreWaiting(0) && self.drawBracket("\033[7m");
    const int count = readLetter(letter);
    if (is_shown) self.drawBracket("");
    return count;
  }

  // One letter of the terminal, in the encoding of its user.
  static int readLetter(wchar_t* letter) {
    std::mbstate_t state{};
    for (;;) {
      char byte = 0;
      const ssize_t size = ::read(STDIN_FILENO, &byte, 1);
      if (size < 0 && errno == EINTR) continue;
      if (size <= 0) return static_cast<int>(size);
      const std::size_t length = std::mbrtowc(letter, &byte, 1, &state);
      if (length == static_cast<std::size_t>(-2)) continue;
      if (length == static_cast<std::size_t>(-1)) {
        state = {};
        continue;
      }
      return 1;
    }
  }

  bool drawBracket(const char* sequence) {
    const std::string_view text = textOf(editor_);
    const std::size_t cursor = cursorOf(editor_);
    std::optional<std::size_t> match;
    if (cursor > 0 && text[cursor - 1] == ')') match = matchingBracket(text, cursor - 1);
    if (!match && cursor < text.size()) match = matchingBracket(text, cursor);
    winsize size{};
    if (!match || ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return false;
    // A text that is higher than the screen has scrolled, and nobody knows how far.
    if (placeOf(text, text.size(), size.ws_col).row >= size.ws_row) return false;
    const ScreenPlace from = placeOf(text, cursor, size.ws_col);
    const ScreenPlace to = placeOf(text, *match, size.ws_col);
    std::string drawn = "\0337\r";
    if (to.row < from.row) drawn += "\033[" + std::to_string(from.row - to.row) + "A";
    if (to.row > from.row) drawn += "\033[" + std::to_string(to.row - from.row) + "B";
    if (to.column > 0) drawn += "\033[" + std::to_string(to.column) + "C";
    drawn += sequence;
    drawn += text[*match];
    drawn += "\033[0m\0338";
    control(drawn.c_str());
    return true;
  }

  [[nodiscard]] ScreenPlace placeOf(std::string_view text, std::size_t at, int width) const {
    ScreenPlace place;
    const auto pass = [&](std::string_view part) {
      while (!part.empty()) {
        const Letter letter = letterAt(part);
        part.remove_prefix(letter.size);
        if (letter.code == U'\n') {
          place = {place.row + 1, 0};
          continue;
        }
        const int columns = std::max(::wcwidth(static_cast<wchar_t>(letter.code)), 0);
        if (place.column + columns > width) place = {place.row + 1, 0};
        place.column += columns;
        if (place.column == width) place = {place.row + 1, 0};
      }
    };
    pass(prompt_);
    pass(text.substr(0, at));
    return place;
  }

  static unsigned char interrupt(EditLine* editor, int /*key*/) {
    of(editor).is_interrupted_ = true;
    el_push(editor, kEndOfInput);
    return CC_NORM;
  }

  // Runs a form that is whole; otherwise a new line begins, under what it belongs to.
  static unsigned char enter(EditLine* editor, int /*key*/) {
    TerminalEditor& self = of(editor);
    const std::string text(textOf(editor));
    if (!self.isUnfinished(text)) {
      el_push(editor, kEndOfInput);
      return CC_NORM;
    }
    // A paste that is not marked has its own blanks.
    const std::size_t indent =
        isMoreWaiting(1) ? 0
                         : indentAfter(std::string_view(text).substr(0, cursorOf(editor)),
                                       static_cast<std::size_t>(letterCount(self.prompt_)));
    const std::string line = "\n" + std::string(indent, ' ');
    return el_insertstr(editor, line.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
  }

  // One line up or down in the form; from its first line to the form before, from its last to the
  // one after.
  static unsigned char up(EditLine* editor, int /*key*/) {
    const std::string text(textOf(editor));
    const std::size_t cursor = cursorOf(editor);
    const std::size_t begin = lineBegin(text, cursor);
    if (begin == 0) {
      el_push(editor, kEarlier);
      return CC_NORM;
    }
    const std::size_t earlier = lineBegin(text, begin - 1);
    const std::size_t to = std::min(earlier + (cursor - begin), begin - 1);
    el_cursor(editor, -letterCount(std::string_view(text).substr(to, cursor - to)));
    return CC_REFRESH;
  }

  static unsigned char down(EditLine* editor, int /*key*/) {
    const std::string text(textOf(editor));
    const std::size_t cursor = cursorOf(editor);
    const std::size_t end = text.find('\n', cursor);
    if (end == std::string::npos) {
      el_push(editor, kLater);
      return CC_NORM;
    }
    const std::size_t last = std::min(text.find('\n', end + 1), text.size());
    const std::size_t to = std::min(end + 1 + (cursor - lineBegin(text, cursor)), last);
    el_cursor(editor, letterCount(std::string_view(text).substr(cursor, to - cursor)));
    return CC_REFRESH;
  }

  static std::size_t lineBegin(std::string_view text, std::size_t at) {
    const std::size_t end = at == 0 ? text.npos : text.rfind('\n', at - 1);
    return end == text.npos ? 0 : end + 1;
  }

  // Reads to the mark at the end of the paste.
  static unsigned char paste(EditLine* editor, int key) {
    std::string text;
    wchar_t letter = 0;
    while (!text.ends_with(kPasteEnd) && el_wgetc(editor, &letter) == 1) {
      std::array<char, MB_LEN_MAX> bytes{};
      std::mbstate_t state{};
      const std::size_t size = std::wcrtomb(bytes.data(), letter, &state);
      if (size != static_cast<std::size_t>(-1)) text.append(bytes.data(), size);
    }
    if (text.ends_with(kPasteEnd)) text.resize(text.size() - kPasteEnd.size());
    of(editor).pasted_ += withoutKeys(text);
    return insertPending(editor, key);
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

  // The lines of a paste up to the end of a form, which is then run. The others wait for the next
  // prompt.
  static unsigned char insertPending(EditLine* editor, int /*key*/) {
    TerminalEditor& self = of(editor);
    while (!self.pasted_.empty()) {
      const std::size_t end = self.pasted_.find('\n');
      const std::string line = self.pasted_.substr(0, end);
      if (!line.empty()) el_insertstr(editor, line.c_str());
      self.pasted_.erase(0, end == std::string::npos ? end : end + 1);
      if (end == std::string::npos) break;
      if (!self.isUnfinished(textOf(editor))) {
        el_push(editor, kEndOfInput);
        break;
      }
      el_insertstr(editor, "\n");
    }
    return CC_REFRESH;
  }

  // More comes at once than a person types: a paste into a terminal that does not mark it.
  static bool isMoreWaiting(int milliseconds) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    return ::poll(&input, 1, milliseconds) == 1;
  }

  static unsigned char complete(EditLine* editor, int /*key*/) {
    if (isMoreWaiting(1)) return el_insertstr(editor, " ") == 0 ? CC_REFRESH : CC_ERROR;
    TerminalEditor& self = of(editor);
    if (!self.reads_form_ || !self.completer_) return CC_ERROR;
    const std::string text(textOf(editor));
    const std::size_t cursor = cursorOf(editor);
    const Completion completion = self.completer_(std::string_view(text).substr(0, cursor));
    const std::string word = completion.extended();
    if (word != completion.word) {
      el_deletestr(editor, letterCount(completion.word));
      return el_insertstr(editor, word.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
    }
    if (completion.candidates.empty() && completion.hint.empty()) return CC_ERROR;
    // Below the form, which is then shown again.
    winsize size{};
    const bool has_size = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0;
    const int width = has_size ? size.ws_col : 80;
    const int row_count =
        self.placeOf(text, text.size(), width).row - self.placeOf(text, cursor, width).row;
    for (int n = 0; n <= row_count; ++n) std::cout << "\n";
    show(completion);
    return CC_REDISPLAY;
  }

  static void show(const Completion& completion) {
    constexpr std::size_t kShownMax = 60;
    const std::vector<Candidate>& all = completion.candidates;
    const bool have_notes = std::any_of(
        all.begin(), all.end(), [](const Candidate& candidate) { return !candidate.note.empty(); });
    if (!completion.hint.empty()) std::cout << completion.hint;
    for (std::size_t n = 0; n < all.size() && n < kShownMax; ++n) {
      const char* const separator = n == 0 ? "" : have_notes ? "\n" : "  ";
      std::cout << separator << all[n].text;
      if (!all[n].note.empty()) std::cout << "  " << all[n].note;
    }
    if (all.size() > kShownMax) std::cout << "  and " << all.size() - kShownMax << " more";
    std::cout << "\n" << std::flush;
  }

  std::string history_path_;
  Completer completer_;
  EditLine* editor_;
  History* history_;
  std::string prompt_;
  std::string pasted_;  // Not taken yet.
  std::string last_remembered_;
  bool reads_form_ = false;
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
  const char* const state = std::getenv("XDG_STATE_HOME");
  const char* const home = std::getenv("HOME");
  constexpr const char* kName = "/lisp_console/history";
  if (state != nullptr && *state == '/') return state + std::string(kName);
  return home == nullptr ? "" : std::string(home) + "/.local/state" + kName;
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
