// A line is shown after the first second and then twice a second at most. Its place costs an
// evaluation, so the pause after a line is at least ten times what the line has cost.

#include "console/progress.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <utility>

#include "console/line_editor.h"
#include "console/terminal.h"

namespace lisp_worker::console {
namespace {

constexpr std::chrono::seconds kFirstAfter{1};
constexpr std::chrono::milliseconds kInterval{500};

// Finding the place evaluates the program once more, so it gets a tenth of the time at most.
constexpr int kCostFactor = 10;

// Empties the line. Written around the filter of std::cerr.
void wipe() {
  std::cerr.flush();
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
}

}  // namespace

void ProgressLine::start() {
  static_cast<void>(takeInterrupt());
  due_ = Clock::now() + kFirstAfter;
}

bool ProgressLine::report(const Progress& progress) {
  if (takeInterrupt()) {
    clear();
    return false;
  }
  const Clock::time_point begin = Clock::now();
  if (begin < due_ || !isTerminalAttached()) return true;
  is_shown_ = true;
  const std::string place = progress.place ? progress.place() : "";
  wipe();
  std::cerr << progress.call_count << " host calls answered, " << progress.entity_count
            << " entities, " << progress.steps << " steps" << (place.empty() ? "" : ", at " + place)
            << "; Ctrl-C ends the program" << std::flush;
  const Clock::time_point end = Clock::now();
  due_ = end + std::max<Clock::duration>(kInterval, kCostFactor * (end - begin));
  return true;
}

void ProgressLine::clear() {
  if (std::exchange(is_shown_, false)) wipe();
}

void ProgressLine::pause() {
  clear();
  paused_at_ = Clock::now();
}

void ProgressLine::resume() { due_ += Clock::now() - paused_at_; }

}  // namespace lisp_worker::console
