// The progress of a long program: a line on a person's terminal, and Ctrl-C.

#ifndef CONSOLE_PROGRESS_H_
#define CONSOLE_PROGRESS_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace lisp_worker::console {

// The state between two host calls.
struct Progress {
  std::size_t call_count = 0;          // Host calls answered.
  std::uint64_t steps = 0;             // Of the last evaluation.
  std::size_t entity_count = 0;        // In the drawing.
  std::function<std::string()> place;  // Of the call that waits, as "a.lsp:4:3"; costly.
};

class ProgressLine {
 public:
  // A program begins. An earlier Ctrl-C counts no more.
  void start();

  // Shows the line once a program has run for a second, if there is a terminal. False when Ctrl-C
  // has been pressed.
  [[nodiscard]] bool report(const Progress& progress);

  // Takes the line away: something else will be printed.
  void clear();

  // Around a question to a person: the time of the answer does not count.
  void pause();
  void resume();

 private:
  using Clock = std::chrono::steady_clock;

  Clock::time_point due_;  // When the line is shown next.
  Clock::time_point paused_at_;
  bool is_shown_ = false;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_PROGRESS_H_
