// lisp_session: looks at recorded sessions, holds them again, and records them.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "lisp_worker/client/process.h"
#include "lisp_worker/client/version.h"
#include "lisp_worker/client/worker.h"
#include "lisp_worker/session/explain.h"
#include "lisp_worker/session/recorder.h"
#include "lisp_worker/session/replay.h"
#include "lisp_worker/session/session.h"
#include "lisp_worker/session/show.h"
#include "lisp_worker/worker/frame.h"
#include "session/command_line.h"
#include "session/frame_stream.h"
#include "session/plain_text.h"
#include "session/proxy.h"

namespace lisp_worker::session {
namespace {

// command_line.h tells the user what they mean.
enum class ExitCode : std::uint8_t {
  Done = 0,
  Different = 1,
  UnusableInput = 2,
  NoWorker = 3,
  // A proxy ends like its worker, so these are none of a worker's.
  UnusableProxyLine = 120,
  NoProxiedWorker = 121,
};

// All that comes from a session goes this way: it may hold any bytes, and a terminal obeys some.
void print(const std::string& text) { std::cout << printable(text); }

ExitCode complain(ExitCode code, const std::string& what) {
  std::cout.flush();
  std::cerr << "lisp_session: " << what << "\n";
  return code;
}

// A damaged file is refused; one that was cut is used as far as it goes, and said to be.
bool mayUse(const std::string& path, FileEnd end, const std::string& end_text) {
  if (end != FileEnd::Whole) complain(ExitCode::UnusableInput, path + ": " + end_text);
  return end != FileEnd::Damaged;
}

std::unique_ptr<SessionReader> open(const std::string& path) {
  std::string error;
  auto reader = SessionReader::open(path, &error);
  if (reader == nullptr) complain(ExitCode::UnusableInput, error);
  return reader;
}

// The file from its beginning, once it has been read to its end and may be used.
std::unique_ptr<SessionReader> openChecked(const std::string& path) {
  const auto reader = open(path);
  if (reader == nullptr) return nullptr;
  Record record;
  while (reader->next(record)) {
  }
  return mayUse(path, reader->end(), reader->endText()) ? open(path) : nullptr;
}

std::optional<RecordedSession> load(const std::string& path) {
  std::string error;
  std::optional<RecordedSession> session = readSession(path, &error);
  if (!session) complain(ExitCode::UnusableInput, error);
  if (session && !mayUse(path, session->end, session->end_text)) return std::nullopt;
  return session;
}

void complainOfRecording(const std::string& path, const std::string& reason) {
  std::cerr << "lisp_session: " << path << ": nothing is recorded from here on: " << reason
            << std::endl;
}

client::WorkerStarter starterOf(const std::string& path) {
  return [path](std::string* error_out) {
    auto process = client::startWorker(path, error_out);
    if (process == nullptr) *error_out = path + ": " + *error_out;
    return process;
  };
}

// The frames of a stream that is no recording; nothing if the file is a recording, or none at all.
std::optional<RecordedSession> framesIn(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return std::nullopt;
  std::ifstream file(path, std::ios::binary);
  std::string bytes(worker::kHeaderSize, '\0');
  file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(file.gcount()));
  if (!beginsWithFrame(bytes)) return std::nullopt;
  bytes.append(std::istreambuf_iterator<char>(file), {});
  return sessionOfFrames(bytes);
}

ExitCode showFrames(const RecordedSession& session, const std::optional<std::size_t>& number) {
  if (!number) {
    print(showSession(session));
    return ExitCode::Done;
  }
  if (*number >= session.records.size()) {
    return complain(ExitCode::UnusableInput,
                    "there are " + counted(session.records.size(), "record"));
  }
  print(showRecord(session.records[*number], *number));
  return ExitCode::Done;
}

// Records before a damage can still be looked at.
ExitCode show(const CommandLine& line) {
  if (const auto frames = framesIn(line.files[0])) return showFrames(*frames, line.number);
  const auto reader = open(line.files[0]);
  if (reader == nullptr) return ExitCode::UnusableInput;
  Record record;
  while (reader->next(record)) {
    const std::size_t number = reader->recordCount() - 1;
    if (!line.number) {
      print(describeRecord(record, number) + "\n");
    } else if (*line.number == number) {
      print(showRecord(record, number));
      return ExitCode::Done;
    }
  }
  if (line.number) {
    return complain(ExitCode::UnusableInput,
                    "there are " + counted(reader->recordCount(), "record"));
  }
  if (reader->end() != FileEnd::Whole) print(reader->endText() + "\n");
  return reader->end() == FileEnd::Damaged ? ExitCode::UnusableInput : ExitCode::Done;
}

// Prints both sides of the first difference, if there is one.
ExitCode tellDifference(const std::optional<RecordDifference>& difference, std::size_t count) {
  if (!difference) {
    std::cout << "the same, " << counted(count, "record") << "\n";
    return ExitCode::Done;
  }
  std::cout << "different from record " << difference->number << " on\n";
  for (const std::optional<Record>& record : {difference->a, difference->b}) {
    if (record) {
      print(describeRecord(*record, difference->number) + "\n");
    } else {
      std::cout << "  (the session has ended)\n";
    }
  }
  return ExitCode::Different;
}

// One reader says what to send, the other what came of it before.
ExitCode replay(const CommandLine& line) {
  const auto orders = openChecked(line.files[0]);
  const auto recorded = orders == nullptr ? nullptr : open(line.files[0]);
  if (recorded == nullptr) return ExitCode::UnusableInput;
  const client::WorkerStarter starter = starterOf(line.worker);
  ReplayStream made(*orders, starter, line.time_limit);
  std::size_t count = 0;
  const auto difference = firstDifference(*recorded, made, &count);
  if (!made.error().empty()) return complain(ExitCode::NoWorker, made.error());
  return tellDifference(difference, count);
}

ExitCode diff(const CommandLine& line) {
  const auto recorded = openChecked(line.files[0]);
  const auto made = openChecked(line.files[1]);
  if (recorded == nullptr || made == nullptr) return ExitCode::UnusableInput;
  std::size_t count = 0;
  const auto difference = firstDifference(*recorded, *made, &count);
  return tellDifference(difference, count);
}

ExitCode explain(const CommandLine& line) {
  const std::optional<RecordedSession> recorded = load(line.files[0]);
  if (!recorded) return ExitCode::UnusableInput;
  std::optional<Explanation> explanation;
  if (line.files.size() == 2) {
    const std::optional<RecordedSession> made = load(line.files[1]);
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

// Records only if it can: the conversation is what the host is here for.
ExitCode proxy(const CommandLine& line) {
  std::string error;
  // First the worker: a recording of nothing helps nobody.
  const auto worker = starterOf(line.worker)(&error);
  if (worker == nullptr) return complain(ExitCode::NoProxiedWorker, error);
  const auto recorder = Recorder::create(line.recording, &error);
  if (recorder == nullptr) complainOfRecording(line.recording, error);
  runProxy(*worker, recorder.get(),
           [&line](const std::string& reason) { complainOfRecording(line.recording, reason); });
}

ExitCode run(const std::vector<std::string_view>& arguments) {
  std::string error;
  const std::optional<CommandLine> line = parseCommandLine(arguments, error);
  if (!line) {
    const bool is_proxy = !arguments.empty() && arguments[0] == "proxy";
    return complain(is_proxy ? ExitCode::UnusableProxyLine : ExitCode::UnusableInput,
                    error + " (--help tells more)");
  }
  switch (line->command) {
    case Command::Help:
      std::cout << kUsage;
      return ExitCode::Done;
    case Command::Version:
      std::cout << "lisp_session " << client::libraryVersion() << "\n";
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
}  // namespace lisp_worker::session

int main(int argc, char** argv) {
  const std::vector<std::string_view> arguments(argv + std::min(argc, 1), argv + argc);
  return static_cast<int>(lisp_worker::session::run(arguments));
}
