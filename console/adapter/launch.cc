#include "console/adapter/launch.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <span>
#include <sstream>
#include <utility>

#include "console/adapter/fields.h"
#include "console/debug/debug_session.h"
#include "console/explainer.h"
#include "console/host.h"
#include "console/program.h"
#include "console/progress.h"
#include "explain/evaluation.h"
#include "lisp_worker/client/worker_client.h"

namespace lisp_worker::console {
namespace {

constexpr std::int64_t kTimeLimitMax = 3600;  // Seconds.
constexpr const char* kFormName = "<form>";   // No file is named so by accident.

std::span<const std::string> knownArguments() {
  static const std::vector<std::string> kKnown = {
      "program",     "form",      "cwd",     "drawing", "answers",  "libraries", "noDebug",
      "stopOnEntry", "stopAtEnd", "atError", "strict",  "maxCalls", "timeLimit"};
  return kKnown;
}

// Editors put these beside the arguments, for themselves.
bool isOfEditor(std::string_view key) {
  constexpr std::string_view kKeys[] = {"type",
                                        "request",
                                        "name",
                                        "preLaunchTask",
                                        "postDebugTask",
                                        "internalConsoleOptions",
                                        "presentation",
                                        "debugServer",
                                        "debugAdapterExecutable",
                                        "serverReadyAction",
                                        "suppressMultipleSessionWarning",
                                        "console",
                                        "windows",
                                        "linux",
                                        "osx"};
  return key.starts_with("__") ||
         std::find(std::begin(kKeys), std::end(kKeys), key) != std::end(kKeys);
}

std::string whyUnknownArgument(const Json& arguments) {
  for (const auto& [key, value] : arguments.items()) {
    const std::span<const std::string> known = knownArguments();
    if (isOfEditor(key) || std::find(known.begin(), known.end(), key) != known.end()) continue;
    const auto near = explain::similarNames(key, known);
    std::string text = "unknown argument " + inQuotes(key);
    if (!near.empty()) return text + "; did you mean " + inQuotes(near.front()) + "?";
    text += "; known are";
    for (const std::string& name : known) text += " " + name;
    return text;
  }
  return "";
}

std::vector<std::string> textsOf(const Json& list) {
  return list.is_array() ? list.get<std::vector<std::string>>() : std::vector<std::string>();
}

bool hasZeroByte(const std::string& text) { return text.find('\0') != std::string::npos; }

struct Inputs {
  std::vector<Program> libraries;
  Program program;
  std::optional<Sheet> sheet;
  std::vector<ScriptedAnswer> answers;
};

std::optional<Inputs> readInputs(const LaunchArguments& launch, std::string& error) {
  const auto path_of = [&launch](const std::string& path) {
    return (std::filesystem::path(launch.cwd) / path).string();
  };
  Inputs inputs;
  for (const std::string& path : launch.libraries) {
    auto library = readProgram(libraryPath(launch.cwd, path), error);
    if (!library) return std::nullopt;
    inputs.libraries.push_back(std::move(*library));
  }
  auto program = launch.program.empty() ? makeProgram(kFormName, launch.form, error)
                                        : readProgram(path_of(launch.program), error);
  if (!program) return std::nullopt;
  inputs.program = std::move(*program);
  if (!launch.drawing.empty()) {
    inputs.sheet = readSheetFile(path_of(launch.drawing), error);
    if (!inputs.sheet) return std::nullopt;
  }
  std::string lines;
  for (const std::string& line : launch.answer_lines) lines += line + "\n";
  auto answers = launch.answers_path.empty() ? readAnswerLines(lines, error)
                                             : readAnswers(path_of(launch.answers_path), error);
  if (!answers) return std::nullopt;
  inputs.answers = std::move(*answers);
  return inputs;
}

}  // namespace

std::optional<LaunchArguments> readLaunch(const Json& arguments, std::string& error) {
  error = whyUnknownArgument(arguments);
  Fields fields(arguments, error);
  LaunchArguments launch{
      .program = fields.text("program"),
      .form = fields.text("form"),
      .cwd = fields.text("cwd"),
      .drawing = fields.text("drawing"),
      .libraries = textsOf(fields.texts("libraries")),
      .stops_on_entry = fields.flag("stopOnEntry"),
      .stops_at_end = fields.flag("stopAtEnd"),
      .stops_at_error = fields.flag("atError"),
      .is_plain_run = fields.flag("noDebug"),
      .is_strict = fields.flag("strict"),
      .host_call_count_max = static_cast<std::size_t>(fields.number("maxCalls", 0)),
      .as_given = arguments};
  if (const auto seconds = fields.number("timeLimit", 0); seconds != 0) {
    launch.time_limit = std::chrono::seconds(std::min<std::int64_t>(seconds, kTimeLimitMax));
  }
  const auto answers = arguments.is_object() ? arguments.find("answers") : arguments.end();
  if (answers != arguments.end() && answers->is_array()) {
    launch.answer_lines = textsOf(fields.texts("answers"));
  } else {
    launch.answers_path = fields.text("answers");
  }
  if (error.empty() && launch.program.empty() == launch.form.empty()) {
    error = launch.form.empty() ? "\"program\" must be the path of a program, such as "
                                  "\"${file}\"; or \"form\" a form, such as \"(+ 1 2)\""
                                : "\"program\" and \"form\" exclude each other: write one of them";
  }
  if (error.empty() && launch.program == "-") {
    error = "\"program\" must be a file: standard input belongs to the editor";
  }
  const bool has_zero =
      hasZeroByte(launch.program + launch.cwd + launch.drawing + launch.answers_path) ||
      std::any_of(launch.libraries.begin(), launch.libraries.end(), hasZeroByte);
  if (error.empty() && has_zero) error = "a path with a zero byte in it names no file";
  return error.empty() ? std::optional(std::move(launch)) : std::nullopt;
}

std::optional<RecordedRun> recordLaunch(const LaunchArguments& launch,
                                        const client::WorkerStarter& start_worker,
                                        const std::function<bool()>& is_cancelled,
                                        std::string& error) {
  const auto inputs = readInputs(launch, error);
  if (!inputs) return std::nullopt;
  const auto process = start_worker(&error);
  if (process == nullptr) {
    error = "the worker could not be started: " + error;
    return std::nullopt;
  }
  client::WorkerClient worker(*process, {.time_limit = launch.time_limit});
  std::ostringstream told;
  Session session(worker, told);
  Explainer explainer;
  session.setExplainer(&explainer);
  session.setBrief(true);
  session.setStrict(launch.is_strict);
  if (launch.host_call_count_max != 0) session.setHostCallCountMax(launch.host_call_count_max);
  const bool has_answers = !launch.answers_path.empty() || !launch.answer_lines.empty();
  AnswerList answers(launch.answers_path.empty() ? "answers" : launch.answers_path,
                     inputs->answers);
  if (has_answers) session.setAnswerer(&answers);
  if (inputs->sheet) session.setSheet(*inputs->sheet);
  ProgramEnd loaded = ProgramEnd::AsExpected;
  for (const Program& library : inputs->libraries) {
    if (loaded == ProgramEnd::AsExpected) loaded = session.load(library);
  }
  bool was_cancelled = false;
  std::optional<RecordedRun> run;
  if (loaded == ProgramEnd::AsExpected) {
    run = recordRun(session, explainer, inputs->program,
                    [&is_cancelled, &was_cancelled](const Progress&) {
                      was_cancelled = is_cancelled && is_cancelled();
                      return !was_cancelled;
                    });
  }
  const std::string broken = endWorker(worker, *process);
  if (was_cancelled) {
    error = "cancelled";
    return std::nullopt;
  }
  if (!run) error = told.str() + broken;
  while (error.ends_with('\n')) error.pop_back();
  return run;
}

}  // namespace lisp_worker::console
