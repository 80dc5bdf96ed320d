// lisp_console watch: a page that shows a program, its drawing and its errors, and follows its
// files.

#ifndef CONSOLE_WATCH_WATCH_H_
#define CONSOLE_WATCH_WATCH_H_

#include <chrono>
#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

#include "console/session.h"

namespace lisp_worker::console {

struct WatchSettings {
  std::string worker_path;
  std::string program_path;
  std::vector<std::string> library_paths;  // Run before the program.
  std::string drawing_path;                // The drawing to begin with; empty for none.
  bool is_strict = false;
  std::size_t host_call_count_max = 0;                // 0 for the usual one.
  std::chrono::milliseconds time_limit = kTimeLimit;  // For one answer of the worker.
  int port = 0;                                       // 0 for one that the system chooses.
};

// Serves the page until Ctrl-C, and prints its address. False when it cannot be served, with the
// reason in `error`.
[[nodiscard]] bool watch(const WatchSettings& settings, std::ostream& out, std::string& error);

}  // namespace lisp_worker::console

#endif  // CONSOLE_WATCH_WATCH_H_
