// Lines from a person at a terminal, or from standard input that is a file or a pipe.

#ifndef CONSOLE_LINE_EDITOR_H_
#define CONSOLE_LINE_EDITOR_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "console/completion.h"

namespace lisp_worker::console {

class LineEditor {
 public:
  enum class Result : std::uint8_t {
    Line,
    End,          // Of the input: Ctrl-D.
    Interrupted,  // By Ctrl-C; the line is dropped.
  };

  // Tells from `before`, the text up to the cursor, what can come next.
  using Completer = std::function<Completion(std::string_view before)>;

  virtual ~LineEditor() = default;

  // Shows `prompt` and reads a line, without its end, into `line`.
  virtual Result read(const std::string& prompt, std::string& line) = 0;

  // Reads lines until their parentheses close, or one line that begins with a colon. The end of the
  // input ends a form that is still open. Prompts are shown at a terminal only.
  virtual Result readForm(const std::string& prompt, std::string& text);

  // Adds a form that was not typed here to the history, if there is one.
  virtual void remember(const std::string& /*form*/) {}

  // True when a person sees what is typed.
  [[nodiscard]] virtual bool isTerminal() const = 0;
};

// At a terminal a form is edited as a whole, with all its lines: new ones are indented, the bracket
// that belongs to the one at the cursor is shown, the Tab key completes, and earlier forms come
// back. These are kept in `history_path` from one session to the next, unless that is empty.
// Otherwise plain lines.
[[nodiscard]] std::unique_ptr<LineEditor> openLineEditor(const std::string& history_path,
                                                         LineEditor::Completer completer);

// The file of the history: the one that LISP_CONSOLE_HISTORY names, none when that is empty; else
// lisp_console/history in the directory that XDG_STATE_HOME names, or in ~/.local/state. Empty
// without a home directory.
[[nodiscard]] std::string defaultHistoryPath();

// From here on Ctrl-C does nothing, to a process that is started now either: at a terminal it
// reaches every process of the group, and the worker must outlive it.
void ignoreInterrupts();

// From here on Ctrl-C does not end the program but is remembered until it is taken.
void catchInterrupts();
[[nodiscard]] bool takeInterrupt();

// From here on Ctrl-C ends the program again.
void endInterrupts();

}  // namespace lisp_worker::console

#endif  // CONSOLE_LINE_EDITOR_H_
