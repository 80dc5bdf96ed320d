// lisp_session: looks at recorded sessions, holds them again, and records them.

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "client/process.h"
#include "client/worker.h"
#include "session/command_line.h"
#include "session/explain.h"
#include "session/plain_text.h"
#include "session/proxy.h"
#include "session/recorder.h"
#include "session/replay.h"
#include "session/session.h"
#include "session/show.h"

namespace session {
namespace {

// command_line.h tells the user what they mean.
enum class ExitCode : std::uint8_t { Done = 0, Different = 1, UnusableInput = 2, NoWorker = 3 };

// All that comes from a session goes this way: it may hold any bytes, and a terminal obeys some.
void print(const std::string& text) { std::cout << printable(text); }

ExitCode complain(ExitCode code, const std::string& what) {
  std::cout.flush();
  std::cerr << "lisp_session: " << what << "\n";
  return code;
}

// A damaged file is refused; one that was cut is used as far as it goes, and said to be.
std::optional<Session> load(const std::string& path) {
  std::string error;
  std::optional<Session> session = readSession(path, &error);
  if (!session) {
    complain(ExitCode::UnusableInput, error);
  } else if (session->end != FileEnd::Whole) {
    complain(ExitCode::UnusableInput, path + ": " + session->end_text);
    if (session->end == FileEnd::Damaged) return std::nullopt;
  }
  return session;
}

client::WorkerStarter starterOf(const std::string& path) {
  return [path](std::string* error_out) {
    auto process = client::startWorker(path, error_out);
    if (process == nullptr) *error_out = path + ": " + *error_out;
    return process;
  };
}

ExitCode show(const CommandLine& line) {
  std::string error;
  // What stands before the damage can still be looked at.
  const std::optional<Session> session = readSession(line.files[0], &error);
  if (!session) return complain(ExitCode::UnusableInput, error);
  if (!line.number) {
    print(showSession(*session));
    return session->end == FileEnd::Damaged ? ExitCode::UnusableInput : ExitCode::Done;
  }
  if (*line.number >= session->records.size()) {
    return complain(ExitCode::UnusableInput,
                    "there are " + counted(session->records.size(), "record"));
  }
  print(showRecord(session->records[*line.number], *line.number));
  return ExitCode::Done;
}

// Prints both sides of the first difference, if there is one.
ExitCode tellDifference(const Session& recorded, const Session& made) {
  const std::optional<std::size_t> number = firstDifference(recorded, made);
  if (!number) {
    std::cout << "the same, " << counted(recorded.records.size(), "record") << "\n";
    return ExitCode::Done;
  }
  std::cout << "different from record " << *number << " on\n";
  for (const Session* session : {&recorded, &made}) {
    if (*number < session->records.size()) {
      print(describeRecord(session->records[*number], *number) + "\n");
    } else {
      std::cout << "  (the session has ended)\n";
    }
  }
  return ExitCode::Different;
}

ExitCode replay(const CommandLine& line) {
  const std::optional<Session> recorded = load(line.files[0]);
  if (!recorded) return ExitCode::UnusableInput;
  const ReplayReport report = replaySession(*recorded, starterOf(line.worker), line.time_limit);
  if (!report.error.empty()) return complain(ExitCode::NoWorker, report.error);
  return tellDifference(*recorded, report.made);
}

ExitCode diff(const CommandLine& line) {
  const std::optional<Session> recorded = load(line.files[0]);
  const std::optional<Session> made = load(line.files[1]);
  if (!recorded || !made) return ExitCode::UnusableInput;
  return tellDifference(*recorded, *made);
}

ExitCode explain(const CommandLine& line) {
  const std::optional<Session> recorded = load(line.files[0]);
  if (!recorded) return ExitCode::UnusableInput;
  std::optional<Explanation> explanation;
  if (line.files.size() == 2) {
    const std::optional<Session> made = load(line.files[1]);
    if (!made) return ExitCode::UnusableInput;
    explanation = explainDifference(*recorded, *made);
  } else if (line.worker.empty()) {
    explanation = explainDivergence(*recorded, nullptr);
  } else {
    const client::WorkerStarter starter = starterOf(line.worker);
    const ReplayReport report = replaySession(*recorded, starter, line.time_limit);
    if (!report.error.empty()) return complain(ExitCode::NoWorker, report.error);
    explanation = explainDifference(*recorded, report.made);
    if (!explanation) explanation = explainDivergence(*recorded, &starter, line.time_limit);
  }
  if (!explanation) {
    std::cout << "nothing diverges\n";
    return ExitCode::Done;
  }
  print(explanation->text);
  return ExitCode::Different;
}

ExitCode proxy(const CommandLine& line) {
  std::string error;
  // First the worker: a recording of nothing helps nobody.
  const auto worker = starterOf(line.worker)(&error);
  if (worker == nullptr) return complain(ExitCode::NoWorker, error);
  const auto recorder = Recorder::create(line.recording, &error);
  if (recorder == nullptr) {
    return complain(ExitCode::UnusableInput, line.recording + ": " + error);
  }
  runProxy(*worker, *recorder);
}

ExitCode run(const std::vector<std::string_view>& arguments) {
  std::string error;
  const std::optional<CommandLine> line = parseCommandLine(arguments, error);
  if (!line) return complain(ExitCode::UnusableInput, error + " (--help tells more)");
  switch (line->command) {
    case Command::Help:
      std::cout << kUsage;
      return ExitCode::Done;
    case Command::Show:
      return show(*line);
    case Command::Replay:
      return replay(*line);
    case Command::Diff:
      return diff(*line);
    case Command::Explain:
      return explain(*line);
    case Command::Proxy:
      return proxy(*line);
  }
  return ExitCode::Done;
}

}  // namespace
}  // namespace session

int main(int argc, char** argv) {
  const std::vector<std::string_view> arguments(argv + std::min(argc, 1), argv + argc);
  return static_cast<int>(session::run(arguments));
}
