// Runs a program whenever one of its files is saved, and tells pages what came of it.

#ifndef CONSOLE_WATCH_PAGE_RUNNER_H_
#define CONSOLE_WATCH_PAGE_RUNNER_H_

#include <cstdint>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "console/drawing.h"
#include "console/drawing_file.h"
#include "console/explainer.h"
#include "console/host.h"
#include "console/program.h"
#include "console/progress.h"
#include "console/session.h"
#include "console/watch/mailbox.h"
#include "console/watch/page_state.h"
#include "console/watch/watch.h"
#include "console/watch/watched_files.h"
#include "lisp_worker/client/coordinates.h"
#include "lisp_worker/client/worker_client.h"

namespace lisp_worker::console {

// One thread owns a runner. Each run has a worker, a drawing and definitions of its own, so a page
// shows what a first run of the program comes to. What a failed program has drawn stays to be
// looked at.
class PageRunner : private Answerer {
 public:
  // `mailbox` must outlive the runner. `is_interrupted` is asked often; once it is true,
  // everything ends.
  PageRunner(WatchSettings settings, Mailbox& mailbox, std::function<bool()> is_interrupted);

  // Runs the program now and after each save, until it is interrupted.
  void watch();

 private:
  struct Inputs {
    std::vector<Program> libraries;
    Program program;
    std::optional<Sheet> sheet;
  };
  // The contents of the pages. They stay when a file cannot be read any more.
  struct Shown {
    Inputs inputs = {};
    std::vector<PageMessage> messages = {};
    Drawing before = {};
    Drawing after = {};
    client::CoordContext context = emptySheet().context;
    std::vector<DrawnBy> drawn = {};
    std::vector<explain::AnsweredCall> calls = {};
  };

  std::optional<HostAnswer> answer(const client::HostCall& call, Drawing& drawing) override;
  std::optional<Inputs> readInputs(std::string& error);
  void runOnce();
  void runProgram(Session& session, const client::WorkerClient& worker,
                  const std::ostringstream& out);
  bool goOn(const Session& session, const Progress& progress);
  void noteDrawn(const Drawing& drawing, std::size_t call_count);
  void publish(const std::string& status, std::optional<PageQuestion> question = {});
  void showDrawing(const Session& session);
  // True once a file has been saved, or everything is to end.
  bool shouldStop();

  WatchSettings settings_;
  Mailbox& mailbox_;
  std::function<bool()> is_interrupted_;
  WatchedFiles files_;
  WatchedFiles::Clock::time_point look_due_;
  bool is_saved_ = false;
  bool has_ended_ = false;
  std::uint64_t question_count_ = 0;
  Shown shown_;

  // Of the run in hand.
  const Session* session_ = nullptr;
  Explainer explainer_;
  Drawing last_drawing_;  // Before the host call in hand.
  client::Point last_point_;
  WatchedFiles::Clock::time_point progress_due_;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_WATCH_PAGE_RUNNER_H_
