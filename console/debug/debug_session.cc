#include "console/debug/debug_session.h"

#include <ostream>
#include <utility>

#include "console/report.h"
#include "explain/explanation.h"
#include "trace/recorder.h"

namespace lisp_worker::console {
namespace {

// Keeps what the worker has said about the program.
class ResultKeeper : public Reporter {
 public:
  void reportCall(std::string_view /*program*/, const ReportedCall& /*call*/) override {}
  void reportChange(std::string_view /*program*/, const EntityChange& /*change*/) override {}
  void reportResult(std::string_view /*program*/, const ReportedResult& result) override {
    result_ = result;
  }

  [[nodiscard]] const ReportedResult& result() const { return result_; }

 private:
  ReportedResult result_;
};

// Empty if the run that the debugger shows ended as the worker's did; otherwise the difference.
std::string doubtAbout(const RecordedRun& run, const ReportedResult& result) {
  switch (result.end) {
    case ReportedResult::End::Broken:
      return "the worker broke off";
    case ReportedResult::End::Cancelled:
      return "";
    case ReportedResult::End::Value:
    case ReportedResult::End::Error:
      break;
  }
  return trace::differenceFrom(run.outcome, result.end == ReportedResult::End::Value, result.text,
                               result.steps);
}

}  // namespace

std::optional<RecordedRun> recordRun(Session& session, Explainer& explainer, const Program& program,
                                     const std::function<bool(const Progress&)>& progress) {
  RecordedRun run;
  ResultKeeper keeper;
  trace::Recorder recorder(explainer.definitions());
  explainer.setWatcher(&recorder);
  session.setReporter(&keeper);
  session.setKeep(true);
  // Asked before each answer, when the drawing is as the answers before have left it.
  session.setProgress([&](const Progress& now) {
    run.drawings.push_back(session.drawing());
    return !progress || progress(now);
  });
  const ProgramEnd end = session.run(program);
  // A worker that has broken off leaves the answers so far: as far as they lead, there is a run.
  if (end == ProgramEnd::Broken && explainer.hasProgram()) static_cast<void>(explainer.cancel());
  session.setProgress(progress);
  explainer.setWatcher(nullptr);
  session.setReporter(nullptr);
  run.index = recorder.take();
  if (run.index.programCount() == 0) return std::nullopt;
  run.program = run.index.program(0);
  run.outcome = explainer.outcome();
  run.drawings.push_back(session.drawing());
  run.doubt = doubtAbout(run, keeper.result());
  return run;
}

void converse(Debugger& debugger, LineEditor& editor, std::ostream& out) {
  out << debugger.summary() << debugger.whereText();
  std::string line;
  while (!debugger.isOver()) {
    switch (editor.read(editor.isTerminal() ? "debug> " : "", line)) {
      case LineEditor::Result::Line:
        out << debugger.execute(line);
        break;
      case LineEditor::Result::Interrupted:
        break;
      case LineEditor::Result::End:
        return;
    }
  }
}

Completion completeCommand(const Debugger& debugger, std::string_view before) {
  const std::size_t begin = before.find_last_of(" (") + 1;
  Completion completion{.word = std::string(before.substr(begin)), .ending = std::string(1, ' ')};
  std::vector<std::string> names = begin == 0 ? Debugger::commandNames() : debugger.names();
  for (std::string& name : namesWith(names, completion.word)) {
    completion.candidates.push_back({std::move(name)});
  }
  return completion;
}

}  // namespace lisp_worker::console
