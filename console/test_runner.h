// Runs programs as tests: each in a worker and on a drawing of its own, quietly, and compares what
// becomes of it with its ";@ expect" lines.

#ifndef CONSOLE_TEST_RUNNER_H_
#define CONSOLE_TEST_RUNNER_H_

#include <chrono>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "console/drawing_file.h"
#include "console/program.h"
#include "console/progress.h"
#include "console/script.h"
#include "console/session.h"
#include "explain/watcher.h"
#include "lisp_worker/client/process.h"

namespace lisp_worker::console {

struct TestSettings {
  // Null, with the reason in `error`, when a worker cannot be started.
  std::function<std::unique_ptr<client::WorkerProcess>(std::string& error)> start_worker;
  std::vector<Program> libraries = {};  // Run before each program.
  std::optional<Sheet> sheet = {};      // That each begins with, unless it names one.
  std::string answers_name = {};        // The file of the answers, for messages.
  std::vector<ScriptedAnswer> answers = {};
  bool is_strict = false;
  std::size_t host_call_count_max = 0;                 // 0 for the default.
  std::chrono::milliseconds time_limit = kTimeLimit;   // For one answer of the worker.
  explain::Watcher* watcher = nullptr;                 // Told of all runs; may be null.
  std::function<bool(const Progress&)> progress = {};  // As Session::setProgress takes it.
};

class TestRunner {
 public:
  // `out` must outlive the runner.
  TestRunner(TestSettings settings, std::ostream& out)
      : settings_(std::move(settings)), out_(out) {}

  // Prints a line for a program that passes; for one that fails both sides of each difference, and
  // what explains it. False when no worker could be started or it broke off, with the reason in
  // `error`; the program has failed then.
  [[nodiscard]] bool run(const Program& program, std::string& error);

  void printSummary() const;

  [[nodiscard]] bool haveAllPassed() const { return failed_.empty(); }

 private:
  std::string runQuietly(const Program& program, client::WorkerProcess& process,
                         std::vector<std::string>& report);

  TestSettings settings_;
  std::ostream& out_;
  std::size_t count_ = 0;
  std::size_t without_expectation_count_ = 0;
  std::vector<std::string> failed_;  // Names.
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_TEST_RUNNER_H_
