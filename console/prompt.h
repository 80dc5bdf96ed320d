// The prompt: forms typed one after the other, run in a worker that is kept alive.

#ifndef CONSOLE_PROMPT_H_
#define CONSOLE_PROMPT_H_

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/completion.h"
#include "console/drawing_file.h"
#include "console/explainer.h"
#include "console/keyboard.h"
#include "console/line_editor.h"
#include "console/picture.h"
#include "console/program.h"
#include "console/progress.h"
#include "console/session.h"
#include "lisp_worker/client/process.h"
#include "lisp_worker/client/worker_client.h"

namespace lisp_worker::console {

class Prompt {
 public:
  // The paths of the worker and of the file that keeps lines, and the limit for one answer of the
  // worker.
  Prompt(std::string worker_path, const std::string& history_path,
         std::chrono::milliseconds time_limit);

  // Starts the worker. False with the reason in `error`.
  [[nodiscard]] bool open(std::string& error);

  // Once the prompt is open: the session that programs run in, and the source of picks in it.
  [[nodiscard]] Session& session() { return *session_; }
  [[nodiscard]] Answerer& keyboard() { return *keyboard_; }
  // The subject of :picture.
  void setPictureOptions(const PictureOptions& options) { picture_options_ = options; }

  // Runs a library before the first prompt.
  void load(const Program& library);

  // Reads and runs until the input ends or :quit, and ends the worker. Returns how many programs
  // have failed. `error` is why no worker could be started any more, or the last one has not ended
  // well; otherwise empty.
  std::size_t converse(std::string& error);

 private:
  // The states that :undo goes back to, and :redo forward.
  struct State {
    std::string program;  // The name of the one that lies between it and the next.
    Session::State session;
    explain::Definitions definitions;
  };

  bool startWorker(std::string& error);
  // Replaces a worker that has ended, or that has definitions that were taken back.
  bool restartWorker(std::string& error);
  bool restoreDefinitions(std::string& error);
  [[nodiscard]] State state(std::string program) const;
  void remember(State state);

  // A form or a command, or nothing to do. Empty at the end of the input.
  std::optional<std::string> readInput();
  void runInput(const std::string& text);
  void runProgram(const Program& program);

  void runCommand(std::string_view line);
  // A command that is written without its colon, unless a variable has that name.
  [[nodiscard]] std::optional<std::string> commandWithoutColon(std::string_view text) const;
  void showEntry(const std::string& name) const;
  void showVariables() const;
  void showTime(const std::string& form);
  // Runs a form or a file, and shows what `recording` prints of it: ":trace", ":profile" or
  // ":coverage".
  void record(std::string_view recording, const std::string& argument);
  void edit(const std::string& path);
  void showCalls(bool all) const;
  void step(std::vector<State>& from, std::vector<State>& to, const char* done);
  void loadFile(const std::string& path);
  void saveFile(const std::string& path);
  void drawFile(const std::string& path);

  // Of functions and variables, and of what the dialect has.
  [[nodiscard]] std::vector<std::string> sessionNames() const;
  [[nodiscard]] std::string signatureOf(std::string_view name) const;
  [[nodiscard]] Completion completionAt(std::string_view before) const;

  std::string worker_path_;
  std::chrono::milliseconds time_limit_;
  std::unique_ptr<LineEditor> editor_;
  std::unique_ptr<Keyboard> keyboard_;
  std::unique_ptr<client::WorkerProcess> process_;
  std::unique_ptr<client::WorkerClient> worker_;
  std::unique_ptr<Session> session_;
  Explainer explainer_;
  PictureOptions picture_options_;
  std::vector<State> undo_;  // The last program's is at the end.
  std::vector<State> redo_;  // The next one's is at the end.
  std::size_t input_count_ = 0;
  std::optional<std::string> last_value_ = "nil";  // Empty when no text can be written for it.
  std::string last_form_;
  std::string last_path_;  // Of the last program, if it is a file; then it comes before the form.
  std::chrono::steady_clock::duration last_time_{};  // Without the time that picks have taken.
  std::chrono::steady_clock::duration asking_time_{};
  std::chrono::steady_clock::time_point asked_at_;
  std::size_t failure_count_ = 0;
  bool is_over_ = false;
  std::string fatal_error_;
  ProgressLine progress_;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_PROMPT_H_
