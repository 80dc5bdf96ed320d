// Debugger: looks at a run that is over, step by step, forwards and backwards.
//
// Commands come as text and their answers go as text, so that a terminal, a file of commands and a
// test use it alike. There is always a current position: a form that is about to be evaluated, or
// the end.

#ifndef CONSOLE_DEBUG_DEBUGGER_H_
#define CONSOLE_DEBUG_DEBUGGER_H_

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "console/debug/breakpoints.h"
#include "console/debug/recorded_run.h"

namespace lisp_worker::console {

class Debugger {
 public:
  explicit Debugger(RecordedRun run);
  Debugger(const Debugger&) = delete;
  Debugger& operator=(const Debugger&) = delete;

  // Goes to the form that fails, if one does.
  void goToError();

  // The current position with its line of the program.
  [[nodiscard]] std::string whereText() const;

  // Carries out one command line, such as "over", "break 7", "why COUNT"; an empty one is the last
  // movement again. The answer is some lines.
  [[nodiscard]] std::string execute(std::string_view line);

  // The command was "quit".
  [[nodiscard]] bool isOver() const { return is_over_; }

  [[nodiscard]] trace::Position position() const { return position_; }
  // `position` must be one of the run, or the end.
  void setPosition(trace::Position position) { position_ = position; }
  [[nodiscard]] const RecordedRun& run() const { return run_; }

  // The value or error of the program, with its steps and host calls, in a line.
  [[nodiscard]] std::string summary() const;

  // The names of its variables at the position, and every command word.
  [[nodiscard]] std::vector<std::string> names() const;
  [[nodiscard]] static std::vector<std::string> commandNames();

 private:
  struct Command;
  static std::span<const Command> commands();

  // Movements: to where the run arrives, told with what was seen on the way.
  std::string step(std::string_view);
  std::string back(std::string_view);
  std::string over(std::string_view);
  std::string backOver(std::string_view);
  std::string out(std::string_view);
  std::string backOut(std::string_view);
  std::string resume(std::string_view);
  std::string reverse(std::string_view);
  std::string goTo(std::string_view target);
  std::string goToEntity(std::string_view handle);
  std::string when(std::string_view expression);

  std::string addBreakpoint(std::string_view text);
  std::string removeBreakpoint(std::string_view text);
  std::string list(std::string_view);
  std::string print(std::string_view expression);
  std::string variables(std::string_view);
  std::string stack(std::string_view);
  std::string calls(std::string_view);
  std::string drawing(std::string_view);
  std::string changes(std::string_view);
  std::string why(std::string_view what);
  std::string history(std::string_view name);
  std::string help(std::string_view);
  std::string quit(std::string_view);

  std::string moveTo(trace::Position position);
  std::string valuesBetween(trace::Position from, trace::Position to) const;

  RecordedRun run_;
  Breakpoints breakpoints_;
  trace::Position position_ = 1;
  std::string last_movement_ = "step";
  bool is_over_ = false;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_DEBUG_DEBUGGER_H_
