// A launch: the program that an editor wants to debug, and the way to its recorded run.

#ifndef CONSOLE_ADAPTER_LAUNCH_H_
#define CONSOLE_ADAPTER_LAUNCH_H_

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "console/debug/recorded_run.h"
#include "console/json_parts.h"
#include "console/session.h"
#include "lisp_worker/client/worker.h"

namespace lisp_worker::console {

// The arguments of a launch request. All paths count from `cwd`.
struct LaunchArguments {
  std::string program;  // A path; empty if there is a form.
  std::string form;     // A program of its own, without a file.
  std::string cwd;      // The adapter's own directory when it is empty.
  std::string drawing;  // This and the next are empty where none is wanted.
  std::string answers_path = {};
  std::vector<std::string> answer_lines = {};  // "GETPOINT 10,20"
  std::vector<std::string> libraries;
  bool stops_on_entry = false;
  bool stops_at_end = false;
  bool stops_at_error = false;
  bool is_plain_run = false;  // Nothing stops it.
  bool is_strict = false;
  std::size_t host_call_count_max = 0;                // 0 for the usual number.
  std::chrono::milliseconds time_limit = kTimeLimit;  // For one answer of the worker.
  Json as_given = {};
};

// Empty with what to write in `error` for an unknown or wrong argument. Those that an editor adds
// for itself are passed over.
[[nodiscard]] std::optional<LaunchArguments> readLaunch(const Json& arguments, std::string& error);

// Runs the program once and records it. `is_cancelled` is asked between its host calls. Empty with
// the reason in `error`, some lines, if there is no run to look at.
[[nodiscard]] std::optional<RecordedRun> recordLaunch(const LaunchArguments& launch,
                                                      const client::WorkerStarter& start_worker,
                                                      const std::function<bool()>& is_cancelled,
                                                      std::string& error);

}  // namespace lisp_worker::console

#endif  // CONSOLE_ADAPTER_LAUNCH_H_
