#include "console/watch/page_runner.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

#include "console/keyboard.h"
#include "lisp_worker/client/answer_text.h"
#include "lisp_worker/client/process.h"
#include "lisp_worker/client/worker_client.h"

namespace lisp_worker::console {

using client::Datum;

namespace {

// A run is shown while it goes on from this time on, and then again after the same pause.
constexpr std::chrono::milliseconds kShownAfter{500};
// To show a large drawing takes long. It gets a tenth of the time at most.
constexpr int kCostFactor = 10;

constexpr const char* kKeptNote =
    "the page shows what the program had drawn before it failed; a run without watch takes it "
    "back\n";

void appendPrograms(const Program& program, std::vector<const Program*>& programs) {
  programs.push_back(&program);
  for (const Program& library : program.libraries) appendPrograms(library, programs);
}

std::string withoutBlanks(const std::string& line) {
  const std::size_t begin = line.find_first_not_of(" \t\r\n");
  return begin == std::string::npos
             ? ""
             : line.substr(begin, line.find_last_not_of(" \t\r\n") - begin + 1);
}

}  // namespace

PageRunner::PageRunner(WatchSettings settings, Mailbox& mailbox,
                       std::function<bool()> is_interrupted)
    : settings_(std::move(settings)),
      mailbox_(mailbox),
      is_interrupted_(std::move(is_interrupted)) {}

void PageRunner::watch() {
  while (!has_ended_) {
    runOnce();
    while (!shouldStop()) std::this_thread::sleep_for(WatchedFiles::kInterval);
  }
}

bool PageRunner::shouldStop() {
  has_ended_ = has_ended_ || is_interrupted_();
  const auto now = WatchedFiles::Clock::now();
  if (!is_saved_ && now >= look_due_) {
    is_saved_ = files_.look(now);
    look_due_ = now + WatchedFiles::kInterval;
  }
  return has_ended_ || is_saved_;
}

std::optional<PageRunner::Inputs> PageRunner::readInputs(std::string& error) {
  Inputs inputs;
  for (const std::string& path : settings_.library_paths) {
    auto library = readProgram(path, error);
    if (!library) return std::nullopt;
    inputs.libraries.push_back(std::move(*library));
  }
  auto program = readProgram(settings_.program_path, error);
  if (!program) return std::nullopt;
  inputs.program = std::move(*program);
  if (!settings_.drawing_path.empty()) {
    inputs.sheet = readSheetFile(settings_.drawing_path, error);
    if (!inputs.sheet) return std::nullopt;
  }
  return inputs;
}

void PageRunner::runOnce() {
  is_saved_ = false;
  // Noted before they are read, so that a save while they are read is not missed.
  std::vector<std::string> paths = filesOf(settings_.program_path);
  for (const std::string& library : settings_.library_paths) {
    for (std::string& path : filesOf(library)) paths.push_back(std::move(path));
  }
  if (!settings_.drawing_path.empty()) paths.push_back(settings_.drawing_path);
  files_.watch(paths);
  std::string error;
  auto inputs = readInputs(error);
  if (!inputs) {
    shown_.messages = {{"error", error + "\n"}};
    publish("unreadable");
    return;
  }
  shown_ = {.inputs = std::move(*inputs)};
  shown_.messages = checkMessages(shown_.inputs.libraries, shown_.inputs.program);
  const auto process = client::startWorker(settings_.worker_path, &error);
  if (process == nullptr) {
    shown_.messages.push_back({"error", settings_.worker_path + ": " + error + "\n"});
    publish("failed");
    return;
  }
  client::WorkerClient worker(*process, {.time_limit = settings_.time_limit});
  std::ostringstream out;
  Session session(worker, out);
  session_ = &session;
  explainer_ = {};
  runProgram(session, worker, out);
  session_ = nullptr;
  static_cast<void>(endWorker(worker, *process));
}

void PageRunner::runProgram(Session& session, const client::WorkerClient& worker,
                            const std::ostringstream& out) {
  session.setExplainer(&explainer_);
  session.setBrief(true);
  session.setKeep(true);
  session.setStrict(settings_.is_strict);
  if (settings_.host_call_count_max != 0) {
    session.setHostCallCountMax(settings_.host_call_count_max);
  }
  session.setAnswerer(this);
  session.setProgress(
      [this, &session](const Progress& progress) { return goOn(session, progress); });
  if (shown_.inputs.sheet) session.setSheet(*shown_.inputs.sheet);
  last_drawing_ = session.drawing();
  last_point_ = {};
  progress_due_ = WatchedFiles::Clock::now() + kShownAfter;
  ProgramEnd end = ProgramEnd::AsExpected;
  for (const Program& library : shown_.inputs.libraries) {
    if (end == ProgramEnd::AsExpected) end = session.load(library);
  }
  const bool is_loaded = end == ProgramEnd::AsExpected;
  if (is_loaded) end = session.run(shown_.inputs.program);
  mailbox_.ask(0);
  if (is_saved_ || has_ended_) return;  // Nobody wants to know any more.
  if (is_loaded) noteDrawn(session.drawing(), session.calls().size());
  showDrawing(session);
  const bool has_failed = end != ProgramEnd::AsExpected;
  std::string text = out.str();
  if (const auto& fault = worker.fault()) text += fault->message + "\n";
  const bool has_drawn = has_failed && !shown_.drawn.empty();
  shown_.messages.insert(shown_.messages.begin(),
                         {has_failed ? "error" : "result", text + (has_drawn ? kKeptNote : "")});
  publish(has_failed ? "failed" : "value");
}

void PageRunner::showDrawing(const Session& session) {
  shown_.before = session.drawingBefore();
  shown_.after = session.drawing();
  shown_.context = session.sheet().context;
  shown_.calls = explainer_.answeredCalls();
}

// The call before has ended, so what has changed since the last time is its work.
void PageRunner::noteDrawn(const Drawing& drawing, std::size_t call_count) {
  if (call_count != 0) {
    DrawnBy drawn{.number = call_count - 1};
    for (const EntityChange& change : compareDrawings(last_drawing_, drawing)) {
      drawn.handles.push_back(change.entity.handle);
    }
    if (!drawn.handles.empty()) shown_.drawn.push_back(std::move(drawn));
  }
  last_drawing_ = drawing;
}

bool PageRunner::goOn(const Session& session, const Progress& progress) {
  noteDrawn(session.drawing(), progress.call_count);
  if (shouldStop()) return false;
  const auto begin = WatchedFiles::Clock::now();
  if (begin < progress_due_) return true;
  showDrawing(session);
  publish("running");
  const auto end = WatchedFiles::Clock::now();
  progress_due_ =
      end + std::max<WatchedFiles::Clock::duration>(kShownAfter, kCostFactor * (end - begin));
  return true;
}

std::optional<HostAnswer> PageRunner::answer(const client::HostCall& call, Drawing& drawing) {
  if (!asksPerson(call)) return std::nullopt;
  PageQuestion question{.call = call.name,
                        .text = questionOf(call),
                        .help = helpForPick(call.name),
                        .place = explainer_.placeOfWaitingCall()};
  if (!call.arguments.empty()) question.base = readPoint(call.arguments.front());
  showDrawing(*session_);
  for (;;) {
    question.number = ++question_count_;
    mailbox_.ask(question.number);
    publish("asking", question);
    std::optional<std::string> line;
    while (!line) {
      line = mailbox_.waitForAnswer(WatchedFiles::kInterval);
      if (shouldStop()) return HostAnswer{"nil", "", "cancelled at " + call.name};
    }
    const std::string typed = withoutBlanks(*line);
    if (const auto datum = readPick(call, drawing, typed, last_point_)) {
      progress_due_ = WatchedFiles::Clock::now() + kShownAfter;
      return HostAnswer{client::printDatum(*datum), "from the page", ""};
    }
    question.refused = typed;
  }
}

void PageRunner::publish(const std::string& status, std::optional<PageQuestion> question) {
  PageState state{.status = status,
                  .messages = shown_.messages,
                  .before = &shown_.before,
                  .after = &shown_.after,
                  .context = &shown_.context,
                  .drawn = shown_.drawn,
                  .calls = &shown_.calls,
                  .question = std::move(question)};
  appendPrograms(shown_.inputs.program, state.programs);
  for (const Program& library : shown_.inputs.libraries) appendPrograms(library, state.programs);
  mailbox_.publish(pageText(state));
}

}  // namespace lisp_worker::console
