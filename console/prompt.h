// The prompt: forms typed one after the other, run in a worker that is kept alive.

#ifndef CONSOLE_PROMPT_H_
#define CONSOLE_PROMPT_H_

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "client/process.h"
#include "client/worker_client.h"
#include "console/drawing_file.h"
#include "console/explainer.h"
#include "console/keyboard.h"
#include "console/line_editor.h"
#include "console/program.h"
#include "console/session.h"

namespace console {

class Prompt {
 public:
  // Where the worker is, and where lines are remembered.
  Prompt(std::string worker_path, const std::string& history_path);

  // Starts the worker. False with the reason in `error`.
  [[nodiscard]] bool open(std::string& error);

  void setSheet(Sheet sheet) { session_->setSheet(std::move(sheet)); }
  // Runs a library or a program before the first prompt.
  void load(const Program& library);

  // Reads and runs until the input ends or :quit. Returns how many programs have failed; ends
  // early, with the reason in `error`, only when no worker can be started any more.
  std::size_t converse(std::string& error);

 private:
  // What :undo goes back to.
  struct State {
    Sheet sheet;
    explain::Definitions definitions;
  };

  bool startWorker(std::string& error);
  // Replaces a worker that has ended, or that has definitions that were taken back.
  bool restartWorker(std::string& error);
  bool restoreDefinitions();

  // Reads until the parentheses close. Empty at the end of the input.
  std::optional<std::string> readInput();
  void runInput(const std::string& text);
  void runProgram(const Program& program);

  void runCommand(std::string_view line);
  void showHelp() const;
  void showEntry(std::string_view name) const;
  void showCalls() const;
  void undo();
  void loadFile(const std::string& path);
  void saveFile(const std::string& path);
  void drawFile(const std::string& path);

  [[nodiscard]] std::vector<std::string> completionsFor(std::string_view word) const;
  bool reportProgress(const Progress& progress);

  std::string worker_path_;
  std::unique_ptr<LineEditor> editor_;
  std::unique_ptr<Keyboard> keyboard_;
  std::unique_ptr<client::WorkerProcess> process_;
  std::unique_ptr<client::WorkerClient> worker_;
  std::unique_ptr<Session> session_;
  Explainer explainer_;
  std::vector<State> undo_;
  std::size_t input_count_ = 0;
  std::size_t failure_count_ = 0;
  bool is_over_ = false;
  std::string fatal_error_;
  std::chrono::steady_clock::time_point run_start_;
  bool shows_progress_ = false;
};

}  // namespace console

#endif  // CONSOLE_PROMPT_H_
