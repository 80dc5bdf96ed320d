// lisp_console: a host for people who write programs. Runs them against a drawing in memory.

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "check/check.h"
#include "console/adapter/adapter_channel.h"
#include "console/adapter/serve_adapter.h"
#include "console/check_program.h"
#include "console/command_line.h"
#include "console/debug/debug_session.h"
#include "console/display.h"
#include "console/explainer.h"
#include "console/files.h"
#include "console/formatting.h"
#include "console/host.h"
#include "console/keyboard.h"
#include "console/language/language_server.h"
#include "console/line_editor.h"
#include "console/own_path.h"
#include "console/picture.h"
#include "console/program.h"
#include "console/progress.h"
#include "console/prompt.h"
#include "console/recordings.h"
#include "console/report.h"
#include "console/safe_output.h"
#include "console/session.h"
#include "console/terminal.h"
#include "console/test_runner.h"
#include "console/watch/watch.h"
#include "explain/evaluation.h"
#include "explain/value_text.h"
#include "lisp_worker/client/names.h"
#include "lisp_worker/client/process.h"
#include "lisp_worker/client/version.h"
#include "lisp_worker/client/worker.h"
#include "lisp_worker/client/worker_client.h"

namespace lisp_worker::console {
namespace {

// command_line.cc tells the user what they mean.
enum class ExitCode : std::uint8_t {
  AllAsExpected = 0,
  SomeUnexpected = 1,
  UnusableInput = 2,
  WorkerBroken = 3,
  SomeRefused = 4,
  SomeTestsFailed = 5,
};

ExitCode complain(ExitCode code, const std::string& what) {
  std::cout.flush();
  std::cerr << Style::Error << "lisp_console: " << Style::Plain << what << "\n";
  return code;
}

// All files that a command line names.
struct Inputs {
  std::vector<Program> libraries;
  std::vector<Program> programs;
  std::optional<Sheet> sheet;
  std::vector<ScriptedAnswer> answers;
};

std::optional<Inputs> readInputs(const CommandLine& line, std::string& error) {
  Inputs inputs;
  for (const std::string& path : line.library_paths) {
    auto library = readProgram(libraryPath("", path), error);
    if (!library) return std::nullopt;
    inputs.libraries.push_back(std::move(*library));
  }
  std::size_t form_count = 0;
  for (const ProgramArgument& argument : line.programs) {
    const std::string name = "form " + std::to_string(form_count += argument.is_form ? 1 : 0);
    auto program = argument.is_form ? makeProgram(name, argument.text, error)
                                    : readProgram(argument.text, error);
    if (!program) return std::nullopt;
    inputs.programs.push_back(std::move(*program));
  }
  if (!line.drawing_path.empty()) {
    inputs.sheet = readSheetFile(line.drawing_path, error);
    if (!inputs.sheet) return std::nullopt;
  }
  if (!line.answers_path.empty()) {
    auto answers = readAnswers(line.answers_path, error);
    if (!answers) return std::nullopt;
    inputs.answers = std::move(*answers);
  }
  return inputs;
}

// Checks before anything runs that the files that the command line asks for can be written. False
// with the reason in `error`.
bool canWriteOutputs(const CommandLine& line, std::string& error) {
  std::vector<std::string> paths = line.picture_paths;
  if (!line.save_path.empty() && !line.is_dry) paths.push_back(line.save_path);
  if (!line.coverage_path.empty()) paths.push_back(line.coverage_path);
  return std::all_of(paths.begin(), paths.end(),
                     [&error](const std::string& path) { return canWriteFile(path, error); });
}

// The wishes of the command line, and of the programs where it has none.
PictureOptions pictureOptions(const CommandLine& line, const PictureWishes& wishes) {
  return {.shows_axes = line.shows_axes || wishes.axes,
          .shows_cells = line.shows_cells || wishes.cells,
          .page = {.sheet = line.page.sheet ? line.page.sheet : wishes.page.sheet,
                   .window = line.page.window ? line.page.window : wishes.page.window}};
}

struct PictureFile {
  std::string path;
  std::string bytes;
  std::string line;  // For a person.
};

// The pictures that the command line asks for. Empty with the reason in `error` when one of them
// cannot be made.
std::optional<std::vector<PictureFile>> makePictures(const CommandLine& line,
                                                     const Session& session, const Sheet& sheet,
                                                     const PictureOptions& options,
                                                     std::string& error) {
  std::vector<PictureFile> files;
  if (line.picture_paths.empty()) return files;
  const auto picture =
      makePicture(session.drawingBefore(), sheet.drawing, sheet.context, options, error);
  if (!picture) return std::nullopt;
  for (const std::string& path : line.picture_paths) {
    auto bytes = pictureFile(picture->svg, path, error);
    if (!bytes) return std::nullopt;
    files.push_back({path, std::move(*bytes), pictureLine(path, *picture)});
  }
  return files;
}

bool writeDrawing(const CommandLine& line, const Sheet& sheet, std::string& error) {
  if (line.save_path.empty()) return true;
  if (!line.is_dry) return writeFile(line.save_path, writeSheet(sheet), error);
  if (!line.is_json) std::cout << "not written: " << line.save_path << "   [--dry-run]\n";
  return true;
}

// Writes the files that the command line asks for. False with the reason in `error`. When a picture
// cannot be made, nothing is written; except the drawing, where a person has worked on it.
bool writeOutputs(const CommandLine& line, const Session& session, const PictureOptions& options,
                  std::string& error) {
  const Sheet sheet = session.sheet();
  std::string picture_error;
  const auto pictures = makePictures(line, session, sheet, options, picture_error);
  const bool is_typed = line.programs.empty() || line.asks;
  if ((pictures || is_typed) && !writeDrawing(line, sheet, error)) return false;
  if (!pictures) {
    error = picture_error;
    return false;
  }
  for (const PictureFile& file : *pictures) {
    if (!writeFile(file.path, file.bytes, error)) return false;
    if (!line.is_json) std::cout << file.line << "\n";
  }
  return true;
}

void tellUnusedAnswers(const CommandLine& line, const AnswerList& answers) {
  for (const ScriptedAnswer& unused : answers.unusedAnswers()) {
    // Beside the objects it would be no object.
    (line.is_json ? std::cerr : std::cout)
        << line.answers_path << ": line " << unused.line << ": not asked for: " << unused.call
        << " " << displayText(unused.text) << "\n";
  }
}

// For the worker's answer to one request.
std::chrono::milliseconds timeLimit(const CommandLine& line) {
  return line.time_limit_seconds == 0 ? kTimeLimit : std::chrono::seconds(line.time_limit_seconds);
}

// The settings that the prompt and programs in files share.
void setUp(Session& session, const CommandLine& line) {
  session.setKeep(line.keeps);
  session.setStrict(line.is_strict);
  if (line.host_call_count_max != 0) session.setHostCallCountMax(line.host_call_count_max);
  session.setBrief(!line.shows_conversation);
  session.setWhole(line.shows_all);
}

ExitCode runPrograms(const Inputs& inputs, const CommandLine& line,
                     client::WorkerProcess& process) {
  client::WorkerClient worker(process, {.time_limit = timeLimit(line)});
  std::ostream nowhere(nullptr);
  JsonReporter reporter(std::cout);
  Session session(worker, line.is_json ? nowhere : std::cout);
  if (line.is_json) session.setReporter(&reporter);
  Explainer explainer;
  Recordings recordings(line);
  explainer.setWatcher(recordings.watcher());
  session.setExplainer(&explainer);
  session.setNames(inputs.programs.size() > 1);
  setUp(session, line);
  ProgressLine progress;
  bool is_interrupted = false;
  session.setProgress([&](const Progress& now) {
    is_interrupted = !progress.report(now);
    return !is_interrupted;
  });
  std::unique_ptr<LineEditor> editor;
  std::unique_ptr<Keyboard> keyboard;
  if (line.asks) {
    editor = openLineEditor("", {});
    keyboard = std::make_unique<Keyboard>(*editor);
    keyboard->setAround([&progress] { progress.pause(); }, [&progress] { progress.resume(); });
  }
  AnswerList answers(line.answers_path, inputs.answers, keyboard.get());
  session.setAnswerer(line.answers_path.empty() ? static_cast<Answerer*>(keyboard.get())
                                                : &answers);
  if (inputs.sheet) session.setSheet(*inputs.sheet);
  ExitCode exit_code = ExitCode::AllAsExpected;
  const auto note = [&](ProgramEnd end) {
    progress.clear();
    if (end == ProgramEnd::Unexpected) exit_code = ExitCode::SomeUnexpected;
    return end != ProgramEnd::Broken && !is_interrupted;
  };
  PictureWishes wishes;
  std::string title;
  bool goes_on = true;
  for (const Program& library : inputs.libraries) goes_on = goes_on && note(session.load(library));
  for (const Program& program : inputs.programs) {
    progress.start();
    goes_on = goes_on && note(session.run(program));
    wishes.axes = wishes.axes || program.script.picture.axes;
    wishes.cells = wishes.cells || program.script.picture.cells;
    if (program.script.picture.page.sheet) wishes.page.sheet = program.script.picture.page.sheet;
    if (program.script.picture.page.window) wishes.page.window = program.script.picture.page.window;
    title = std::filesystem::path(program.name).filename().string();
  }
  if (!worker.fault() && line.shows_conversation) session.printDrawing();
  tellUnusedAnswers(line, answers);
  const std::string broken = endWorker(worker, process);
  if (inputs.programs.size() > 1) title = std::to_string(inputs.programs.size()) + " programs";
  // The drawing is here, not in the worker.
  endInterrupts();
  std::string error;
  PictureOptions options = pictureOptions(line, wishes);
  options.title = title;
  const bool is_written =
      recordings.finish(std::cout, error) && writeOutputs(line, session, options, error);
  if (!is_written) complain(ExitCode::UnusableInput, error);
  if (!broken.empty()) return complain(ExitCode::WorkerBroken, broken);
  if (!is_written) return ExitCode::UnusableInput;
  const bool some_refused = exit_code == ExitCode::AllAsExpected && session.refusedCount() != 0;
  return some_refused ? ExitCode::SomeRefused : exit_code;
}

ExitCode testPrograms(const Inputs& inputs, const CommandLine& line) {
  Recordings recordings(line);
  ProgressLine progress;
  bool is_interrupted = false;
  TestRunner runner({.start_worker =
                         [&line](std::string& error) {
                           ignoreInterrupts();
                           auto process = client::startWorker(line.worker_path, &error);
                           catchInterrupts();
                           return process;
                         },
                     .libraries = inputs.libraries,
                     .sheet = inputs.sheet,
                     .answers_name = line.answers_path,
                     .answers = inputs.answers,
                     .is_strict = line.is_strict,
                     .host_call_count_max = line.host_call_count_max,
                     .time_limit = timeLimit(line),
                     .watcher = recordings.watcher(),
                     .progress =
                         [&](const Progress& now) {
                           is_interrupted = !progress.report(now);
                           return !is_interrupted;
                         }},
                    std::cout);
  std::string error;
  std::string broken;
  for (const Program& program : inputs.programs) {
    progress.start();
    if (!runner.run(program, error)) broken = program.name + ": " + error;
    progress.clear();
    if (is_interrupted) break;
  }
  endInterrupts();
  runner.printSummary();
  if (!recordings.finish(std::cout, error)) return complain(ExitCode::UnusableInput, error);
  if (!broken.empty()) return complain(ExitCode::WorkerBroken, broken);
  return runner.haveAllPassed() && !is_interrupted ? ExitCode::AllAsExpected
                                                   : ExitCode::SomeTestsFailed;
}

// Runs the program once; what it says is only shown when there is no run to look at.
ExitCode debugProgram(const Inputs& inputs, const CommandLine& line,
                      client::WorkerProcess& process) {
  client::WorkerClient worker(process, {.time_limit = timeLimit(line)});
  std::ostringstream told;
  Session session(worker, told);
  Explainer explainer;
  session.setExplainer(&explainer);
  session.setBrief(true);
  setUp(session, line);
  const Debugger* shown = nullptr;
  const auto editor = openLineEditor("", [&shown](std::string_view before) {
    return shown == nullptr ? Completion() : completeCommand(*shown, before);
  });
  Keyboard keyboard(*editor);
  AnswerList answers(line.answers_path, inputs.answers, line.asks ? &keyboard : nullptr);
  if (line.asks || !line.answers_path.empty()) session.setAnswerer(&answers);
  if (inputs.sheet) session.setSheet(*inputs.sheet);
  ProgressLine progress;
  keyboard.setAround([&progress] { progress.pause(); }, [&progress] { progress.resume(); });
  ProgramEnd loaded = ProgramEnd::AsExpected;
  for (const Program& library : inputs.libraries) {
    if (loaded == ProgramEnd::AsExpected) loaded = session.load(library);
  }
  progress.start();
  std::optional<RecordedRun> run;
  if (loaded == ProgramEnd::AsExpected) {
    run = recordRun(session, explainer, inputs.programs.front(),
                    [&progress](const Progress& now) { return progress.report(now); });
  }
  progress.clear();
  const std::string broken = endWorker(worker, process);
  endInterrupts();
  if (!run) {
    std::cout << told.str();
    return broken.empty() ? ExitCode::SomeUnexpected : complain(ExitCode::WorkerBroken, broken);
  }
  Debugger debugger(std::move(*run));
  shown = &debugger;
  if (line.at_error) debugger.goToError();
  converse(debugger, *editor, std::cout);
  return ExitCode::AllAsExpected;
}

// Counts and prints what the checks find.
class CheckReport {
 public:
  void add(const std::vector<TextFindings>& all) {
    for (const TextFindings& text : all) {
      for (const check::Finding& finding : text.findings) {
        ++(finding.severity == check::Severity::Error ? error_count_ : warning_count_);
        std::cout << check::describe(finding);
      }
      if (!text.has_more) continue;
      std::cout << "... of more than " << text.findings.size() << " these are the first\n";
    }
  }

  ExitCode finish(std::size_t program_count) const {
    std::cout << explain::counted(program_count, "program") << ", "
              << explain::counted(error_count_, "error") << ", "
              << explain::counted(warning_count_, "warning") << "\n";
    return error_count_ == 0 ? ExitCode::AllAsExpected : ExitCode::SomeUnexpected;
  }

 private:
  std::size_t error_count_ = 0;
  std::size_t warning_count_ = 0;
};

ExitCode checkPrograms(const Inputs& inputs) {
  CheckReport report;
  std::vector<explain::ProgramPointer> texts;
  for (const Program& library : inputs.libraries) report.add(checkAsLibrary(library, texts));
  for (const Program& program : inputs.programs) report.add(checkProgram(program, texts));
  return report.finish(inputs.programs.size());
}

ExitCode runPrompt(const Inputs& inputs, const CommandLine& line) {
  Prompt prompt(line.worker_path, line.keeps_history ? defaultHistoryPath() : "", timeLimit(line));
  std::string error;
  if (!prompt.open(error)) return complain(ExitCode::WorkerBroken, error);
  Session& session = prompt.session();
  setUp(session, line);
  AnswerList answers(line.answers_path, inputs.answers, &prompt.keyboard());
  session.setAnswerer(&answers);
  const PictureOptions options = pictureOptions(line, {});
  prompt.setPictureOptions(options);
  if (inputs.sheet) session.setSheet(*inputs.sheet);
  for (const Program& library : inputs.libraries) prompt.load(library);
  const std::size_t failure_count = prompt.converse(error);
  tellUnusedAnswers(line, answers);
  // The drawing is here, not in the worker.
  std::string write_error;
  const bool is_written = writeOutputs(line, session, options, write_error);
  if (!is_written) complain(ExitCode::UnusableInput, write_error);
  if (!error.empty()) return complain(ExitCode::WorkerBroken, error);
  if (!is_written) return ExitCode::UnusableInput;
  return failure_count == 0 || isTerminalAttached() ? ExitCode::AllAsExpected
                                                    : ExitCode::SomeUnexpected;
}

ExitCode watchProgram(const CommandLine& line) {
  std::string error;
  const bool is_served = watch({.worker_path = line.worker_path,
                                .program_path = line.program_paths.front(),
                                .library_paths = line.library_paths,
                                .drawing_path = line.drawing_path,
                                .is_strict = line.is_strict,
                                .host_call_count_max = line.host_call_count_max,
                                .time_limit = timeLimit(line),
                                .port = line.port},
                               std::cout, error);
  return is_served ? ExitCode::AllAsExpected : complain(ExitCode::UnusableInput, error);
}

ExitCode serveDebugger(const CommandLine& line) {
  const client::WorkerStarter start_worker = [&line](std::string* error) {
    return client::startWorker(line.worker_path, error);
  };
  std::string error;
  if (line.port == 0) {
    error = serveAdapter(*standardChannel(), start_worker);
  } else {
    static_cast<void>(serveAdapterPort(line.port, start_worker, std::cout, error));
  }
  return error.empty() ? ExitCode::AllAsExpected : complain(ExitCode::UnusableInput, error);
}

// Goes on after a file that cannot be used.
ExitCode formatPrograms(const CommandLine& line, SafeOutput& output) {
  bool is_any_unusable = false;
  bool is_any_changed = false;
  for (const std::string& path : line.program_paths) {
    FormattedFile file = formatFile(path);
    const bool is_input = path == "-";
    if (!file.text) {
      is_any_unusable = true;
      std::cout.flush();
      std::cerr << file.complaint;
    } else if (is_input && !line.only_names) {
      output.writeUnchanged(*file.text);
    } else if (file.is_changed) {
      std::string error;
      if (line.only_names) {
        is_any_changed = true;
        std::cout << file.name << ": would change\n";
      } else if (writeFile(path, *file.text, error)) {
        std::cout << file.name << ": formatted\n";
      } else {
        is_any_unusable = true;
        complain(ExitCode::UnusableInput, error);
      }
    }
  }
  if (is_any_unusable) return ExitCode::UnusableInput;
  return is_any_changed ? ExitCode::SomeUnexpected : ExitCode::AllAsExpected;
}

// Colours and line breaks, where a person sees them.
void setUp(SafeOutput& output, ColorWish wish) {
  const bool is_wanted = wish == ColorWish::Always || (wish == ColorWish::Auto && wantColours());
  const bool is_always = wish == ColorWish::Always;
  output.setColours(is_wanted && (is_always || isOutputTerminal()),
                    is_wanted && (is_always || isTerminalAttached()));
  output.setWidth(outputWidth());
}

ExitCode run(const std::vector<std::string_view>& arguments, SafeOutput& output) {
  std::string error;
  const auto line = parseCommandLine(arguments, workerBeside(), error);
  setUp(output, line ? line->color : ColorWish::Auto);
  if (line && line->is_json) output.setWidth(0);
  if (!line) return complain(ExitCode::UnusableInput, error + " (--help tells more)");
  if (line->help) {
    std::cout << usage(line->help_topic);
    return ExitCode::AllAsExpected;
  }
  if (line->version) {
    std::cout << "lisp_console " << client::libraryVersion() << "\n";
    return ExitCode::AllAsExpected;
  }
  if (line->lsp) {
    return language::runLanguageServer() == 0 ? ExitCode::AllAsExpected : ExitCode::SomeUnexpected;
  }
  if (line->watch) return watchProgram(*line);
  if (line->dap) return serveDebugger(*line);
  if (line->format) return formatPrograms(*line, output);
  const auto inputs = readInputs(*line, error);
  if (!inputs) return complain(ExitCode::UnusableInput, error);
  if (line->check) return checkPrograms(*inputs);
  if (!canWriteOutputs(*line, error)) return complain(ExitCode::UnusableInput, error);
  if (line->test) return testPrograms(*inputs, *line);
  if (line->programs.empty()) return runPrompt(*inputs, *line);
  ignoreInterrupts();
  const auto process = client::startWorker(line->worker_path, &error);
  catchInterrupts();
  if (process == nullptr) {
    return complain(ExitCode::WorkerBroken, line->worker_path + ": " + error);
  }
  return line->debug ? debugProgram(*inputs, *line, *process)
                     : runPrograms(*inputs, *line, *process);
}

}  // namespace
}  // namespace lisp_worker::console

int main(int argc, char** argv) {
  lisp_worker::console::SafeOutput output;
  const std::vector<std::string_view> arguments(argv + std::min(argc, 1), argv + argc);
  const lisp_worker::console::ExitCode code = lisp_worker::console::run(arguments, output);
  std::cout.flush();
  if (std::cout) return static_cast<int>(code);
  return static_cast<int>(lisp_worker::console::complain(
      lisp_worker::console::ExitCode::UnusableInput, "standard output cannot be written"));
}
