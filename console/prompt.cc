// Each input is one program. :undo and :redo go from state to state: the drawing and the
// explainer's definitions are put back, and a new worker is started that gets the definitions as
// programs.

#include "console/prompt.h"

#include <algorithm>
#include <array>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <utility>

#include "console/command_input.h"
#include "console/completion.h"
#include "console/coverage.h"
#include "console/display.h"
#include "console/documentation.h"
#include "console/external_editor.h"
#include "console/files.h"
#include "console/form_layout.h"
#include "console/profile.h"
#include "console/safe_output.h"
#include "console/trace_listing.h"
#include "explain/explanation.h"
#include "explain/form.h"
#include "explain/reference.h"
#include "explain/source.h"
#include "explain/value_text.h"
#include "lisp_worker/client/names.h"

namespace lisp_worker::console {
namespace {

constexpr std::size_t kUndoMax = 100;
constexpr std::size_t kLastValueSizeMax = 200000;
constexpr std::size_t kTopicsShownMax = 15;
constexpr std::size_t kCallsShownMax = 24;
constexpr std::size_t kNameWidth = 16;
const std::string kPrompt = "lisp> ";

constexpr const char* kKeys =
    "Tab completes names, Ctrl-C drops a line or cancels a program, the arrow keys bring earlier "
    "forms.\n";

constexpr std::string_view kBlanks = " \t\r\n";

std::string trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return "";
  return std::string(text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1));
}

void tellNames(const char* what, const std::vector<std::string>& of,
               const std::vector<std::string>& without) {
  std::string names;
  for (const std::string& name : of) {
    if (!std::binary_search(without.begin(), without.end(), name)) names += " " + name;
  }
  if (!names.empty()) std::cout << what << displayText(names) << "\n";
}

// The names that one has and the other has not.
void tellDefinitions(const explain::Definitions& before, const explain::Definitions& after) {
  tellNames("functions gone:", before.functionNames(), after.functionNames());
  tellNames("functions back:", after.functionNames(), before.functionNames());
  tellNames("variables gone:", before.variableNames(), after.variableNames());
  tellNames("variables back:", after.variableNames(), before.variableNames());
}

}  // namespace

Prompt::Prompt(std::string worker_path, const std::string& history_path,
               std::chrono::milliseconds time_limit)
    : worker_path_(std::move(worker_path)),
      time_limit_(time_limit),
      editor_(openLineEditor(history_path,
                             [this](std::string_view before) { return completionAt(before); })),
      keyboard_(std::make_unique<Keyboard>(*editor_)) {
  keyboard_->setAround(
      [this] {
        progress_.pause();
        asked_at_ = std::chrono::steady_clock::now();
      },
      [this] {
        progress_.resume();
        asking_time_ += std::chrono::steady_clock::now() - asked_at_;
      });
}

bool Prompt::open(std::string& error) {
  if (!startWorker(error)) return false;
  session_ = std::make_unique<Session>(*worker_, std::cout);
  session_->setBrief(true);
  session_->setExplainer(&explainer_);
  session_->setAnswerer(keyboard_.get());
  session_->setProgress([this](const Progress& progress) { return progress_.report(progress); });
  return true;
}

bool Prompt::startWorker(std::string& error) {
  ignoreInterrupts();
  process_ = client::startWorker(worker_path_, &error);
  catchInterrupts();
  if (process_ == nullptr) {
    error = worker_path_ + ": " + error;
    return false;
  }
  worker_ = std::make_unique<client::WorkerClient>(
      *process_, client::ClientSettings{.time_limit = time_limit_});
  return true;
}

bool Prompt::restartWorker(std::string& error) {
  worker_.reset();
  process_.reset();
  if (!startWorker(error)) return false;
  session_->setWorker(*worker_);
  return restoreDefinitions(error);
}

// The definitions as programs of their own; the explainer has them already.
bool Prompt::restoreDefinitions(std::string& error) {
  std::vector<std::string> lost;
  const std::string text = explainer_.definitions().asProgram(lost);
  for (const std::string& name : lost) {
    std::cout << "lost: " << name << ", whose value cannot be written\n";
  }
  const auto reply = worker_->evalStart(text, 0);
  if (!reply) {
    error = endWorker(*worker_, *process_);
    return false;
  }
  if (reply->status != worker::WorkerStatus::Ok) {
    std::cout << "the definitions could not be given to the new worker\n";
    explainer_.setDefinitions({});
  }
  return true;
}

Prompt::State Prompt::state(std::string program) const {
  return {std::move(program), session_->state(), explainer_.definitions()};
}

void Prompt::remember(State state) {
  redo_.clear();
  undo_.push_back(std::move(state));
  if (undo_.size() > kUndoMax) undo_.erase(undo_.begin());
}

void Prompt::load(const Program& library) {
  if (session_->load(library) != ProgramEnd::AsExpected) ++failure_count_;
}

std::size_t Prompt::converse(std::string& error) {
  if (editor_->isTerminal()) {
    std::cout << "A form is run when its parentheses close. :help lists what else there is.\n";
  }
  while (!is_over_) {
    const auto input = readInput();
    if (!input) break;
    if (input->starts_with(':')) {
      runCommand(*input);
    } else if (!input->empty()) {
      runInput(*input);
    }
  }
  error = fatal_error_.empty() ? endWorker(*worker_, *process_) : fatal_error_;
  return failure_count_;
}

std::optional<std::string> Prompt::readInput() {
  std::string text;
  const LineEditor::Result result = editor_->readForm(kPrompt, text);
  static_cast<void>(takeInterrupt());
  if (result == LineEditor::Result::Interrupted) return "";
  if (result == LineEditor::Result::End) return std::nullopt;
  const std::string bare = trimmed(text);
  if (bare.starts_with(':')) return bare;
  if (auto command = commandWithoutColon(bare)) return command;
  const explain::Source source("input", text);
  const explain::Reading reading = explain::readForms(source);
  return reading.forms.empty() && !reading.fault ? "" : text;
}

std::optional<std::string> Prompt::commandWithoutColon(std::string_view text) const {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 4> kWords = {
      {{"HELP", ":help"}, {"?", ":help"}, {"QUIT", ":quit"}, {"EXIT", ":quit"}}};
  const std::string capitals = upperCase(text);
  for (const auto& [word, command] : kWords) {
    if (capitals != word && capitals != "(" + std::string(word) + ")") continue;
    const explain::Definitions& own = explainer_.definitions();
    const std::vector<std::string> variables = own.variableNames();
    const bool is_taken = capitals == word
                              ? std::binary_search(variables.begin(), variables.end(), capitals)
                              : own.findFunctionNamed(word) != nullptr;
    if (!is_taken) return std::string(command);
  }
  return std::nullopt;
}

void Prompt::runInput(const std::string& text) {
  last_form_ = text;
  last_path_.clear();
  const std::string without = withLastValue(text, "");
  if (without != text && !last_value_) {
    std::cout << Style::Error << "no text can be written for the last value" << Style::Plain
              << "\n";
    return;
  }
  std::string error;
  const auto program =
      makeProgram("input " + std::to_string(++input_count_),
                  without == text ? text : withLastValue(text, "'" + *last_value_), error);
  if (!program) {
    std::cout << Style::Error << error << Style::Plain << "\n";
    return;
  }
  runProgram(*program);
}

void Prompt::runProgram(const Program& program) {
  State before = state(program.name);
  progress_.start();
  asking_time_ = {};
  const auto begin = std::chrono::steady_clock::now();
  const ProgramEnd end = session_->run(program);
  last_time_ = std::chrono::steady_clock::now() - begin - asking_time_;
  progress_.clear();
  if (session_->hasValue() && explainer_.outcome().kind == explain::OutcomeKind::Value) {
    last_value_ = explain::write(explainer_.outcome().value, kLastValueSizeMax);
  }
  if (end != ProgramEnd::AsExpected) ++failure_count_;
  // A program that has changed nothing need not be taken back.
  const bool changed_nothing =
      end != ProgramEnd::AsExpected && before.session.sheet.drawing == session_->drawing();
  if (!changed_nothing) remember(std::move(before));
  if (end != ProgramEnd::Broken) return;
  std::cout << "the worker is gone: " << client::describeExit(process_->finish()) << "\n";
  if (!restartWorker(fatal_error_)) {
    is_over_ = true;
    return;
  }
  std::cout << "a new one has the variables and functions from before\n";
}

void Prompt::runCommand(std::string_view line) {
  const std::size_t blank = std::min(line.find(' '), line.size());
  const std::string_view name = line.substr(0, blank);
  const std::string argument = trimmed(line.substr(blank));
  if (name == ":help") {
    for (const PromptCommand& command : promptCommands()) {
      std::string usage(command.usage);
      usage.resize(18, ' ');
      std::cout << "  " << usage << command.meaning << "\n";
    }
    std::cout << kKeys;
  } else if (name == ":doc") {
    showEntry(argument);
  } else if (name == ":vars") {
    showVariables();
  } else if (name == ":last") {
    std::cout << Style::Value
              << (last_value_ ? displayText(*last_value_, kLastValueSizeMax)
                              : "no text can be written for the last value")
              << Style::Plain << "\n";
  } else if (name == ":time") {
    showTime(argument);
  } else if (name == ":trace" || name == ":profile" || name == ":coverage") {
    record(name, argument);
  } else if (name == ":edit") {
    edit(argument);
  } else if (name == ":steps") {
    std::cout << explainer_.outcome().steps << " steps in the last program\n"
              << explain::stepTable(explainer_.outcome(), 12);
  } else if (name == ":calls") {
    showCalls(argument == "all");
  } else if (name == ":drawing") {
    session_->printDrawing("the drawing");
  } else if (name == ":picture") {
    drawFile(argument.empty() ? "drawing.svg" : argument);
  } else if (name == ":undo") {
    step(undo_, redo_, "taken back");
  } else if (name == ":redo") {
    step(redo_, undo_, "done again");
  } else if (name == ":load") {
    loadFile(argument);
  } else if (name == ":save") {
    saveFile(argument);
  } else if (name == ":quit") {
    is_over_ = true;
  } else {
    std::vector<std::string> names;
    for (const PromptCommand& command : promptCommands()) names.emplace_back(command.name());
    std::cout << "there is no " << name;
    for (const std::string& near : explain::similarNames(name, names)) {
      std::cout << "; " << near << "?";
    }
    std::cout << "; :help lists what there is\n";
  }
}

void Prompt::showEntry(const std::string& name) const {
  const std::string wanted = upperCase(name);
  std::string text = describeName(wanted);
  if (const auto function = explainer_.definitions().findFunctionNamed(wanted)) {
    const explain::Form& form = *function->definition;
    text = "defined at " + explain::nameOfPlace(*function->program, form.begin) + "\n" +
           std::string(function->program->source.text().substr(form.begin, form.end - form.begin)) +
           "\n";
  }
  if (text.empty()) text = describeHabit(wanted);
  const std::vector<Topic> others = topicsAbout(wanted, text.empty());
  if (text.empty() && others.empty()) {
    std::vector<std::string> names = sessionNames();
    std::cout << (wanted.empty() ? "which name? :doc CAR; or a word to look for"
                                 : "nothing is known of " + wanted);
    for (const std::string& near : explain::similarNames(wanted, names)) {
      std::cout << "; " << near << "?";
    }
    std::cout << "\n";
    return;
  }
  std::cout << text;
  if (!others.empty()) std::cout << (text.empty() ? "" : "also ") << "in the texts of\n";
  for (std::size_t n = 0; n < others.size() && n < kTopicsShownMax; ++n) {
    std::string topic = others[n].name;
    topic.resize(std::max<std::size_t>(18, topic.size() + 2), ' ');
    std::cout << "  " << topic << others[n].text << "\n";
  }
  if (others.size() > kTopicsShownMax) {
    std::cout << "... and " << others.size() - kTopicsShownMax << " more\n";
  }
}

void Prompt::showVariables() const {
  constexpr std::size_t kValueSizeMax = 200;
  const explain::Definitions& own = explainer_.definitions();
  const auto padded = [](std::string name) {
    name.resize(std::max(kNameWidth, name.size() + 2), ' ');
    return name;
  };
  for (const std::string& name : own.variableNames()) {
    std::cout << "  " << padded(name) << Style::Value
              << displayText(explain::shorten(own.valueOf(name), kValueSizeMax)) << Style::Plain
              << "\n";
  }
  for (const std::string& name : own.functionNames()) {
    const explain::Function& function = *own.findFunctionNamed(name);
    const explain::Form& parameters = function.definition->items[2];
    std::cout << "  " << padded(name) << "function of "
              << displayText(function.program->source.text().substr(
                     parameters.begin, parameters.end - parameters.begin))
              << "\n";
  }
  if (own.variableNames().empty() && own.functionNames().empty()) {
    std::cout << "there are no variables and no functions yet\n";
  }
}

void Prompt::showTime(const std::string& form) {
  if (!form.empty()) {
    const std::size_t count = input_count_;
    runInput(form);
    if (input_count_ == count) return;
  }
  const auto time = std::chrono::duration<double, std::milli>(last_time_);
  const std::size_t call_count = session_->calls().size();
  std::ostringstream text;
  text << std::fixed << std::setprecision(2) << time.count() << " ms, "
       << explainer_.outcome().steps << " steps, " << call_count
       << (call_count == 1 ? " host call" : " host calls");
  std::cout << "time: " << text.str() << "\n";
}

void Prompt::record(std::string_view recording, const std::string& argument) {
  if (argument.empty()) {
    std::cout << recording.substr(1) << " what? " << recording << " FORM, or a .lsp file\n";
    return;
  }
  TraceListing trace;
  Profile profile;
  Coverage coverage;
  explainer_.setWatcher(recording == ":trace"     ? static_cast<explain::Watcher*>(&trace)
                        : recording == ":profile" ? static_cast<explain::Watcher*>(&profile)
                                                  : &coverage);
  if (argument.ends_with(".lsp")) {
    loadFile(argument);
  } else {
    runInput(argument);
  }
  explainer_.setWatcher(nullptr);
  if (recording == ":trace") {
    std::cout << (trace.text().empty() ? "== trace: no calls of functions or of the host\n"
                                       : trace.text());
  } else {
    std::cout << (recording == ":profile" ? profile.text() : coverage.text());
  }
}

// The last program's file, or its form, or the file that is named.
void Prompt::edit(const std::string& path) {
  std::string error;
  const std::string& file = path.empty() ? last_path_ : path;
  if (file.empty()) {
    const auto text = editText(last_form_.empty() ? "" : last_form_ + "\n", error);
    if (!text) {
      std::cout << Style::Error << error << Style::Plain << "\n";
      return;
    }
    const std::string form = trimmed(*text);
    if (form.empty() || form == trimmed(last_form_)) {
      std::cout << "nothing has changed, so nothing is run\n";
      return;
    }
    std::cout << form << "\n";
    editor_->remember(form);
    runInput(form);
    return;
  }
  std::string ignored;
  const auto before = readFile(file, ignored);
  const std::string name = file;
  if (!editFile(name, error)) {
    std::cout << Style::Error << error << Style::Plain << "\n";
  } else if (readFile(name, ignored) == before) {
    std::cout << "nothing has changed, so nothing is run\n";
  } else {
    loadFile(name);
  }
}

void Prompt::showCalls(bool all) const {
  const std::vector<CallRecord>& calls = session_->calls();
  if (calls.empty()) std::cout << "the last program has made no host calls\n";
  const std::size_t count = all ? calls.size() : std::min(calls.size(), kCallsShownMax);
  for (std::size_t n = 0; n < count; ++n) {
    std::cout << "  " << n + 1 << "  (" << calls[n].name << " "
              << displayWorkerText(calls[n].arguments) << ")  =>  " << displayText(calls[n].answer)
              << "   [" << displayText(calls[n].note) << "]\n";
  }
  if (count < calls.size()) {
    const std::size_t more = calls.size() - count;
    std::cout << "... and " << more << (more == 1 ? " more call" : " more calls")
              << ": :calls all shows them\n";
  }
}

// Goes to the state at the end of `from`, and leaves the way back in `to`.
void Prompt::step(std::vector<State>& from, std::vector<State>& to, const char* done) {
  if (from.empty()) {
    std::cout << "there is nothing to " << (&from == &undo_ ? "take back\n" : "do again\n");
    return;
  }
  State wanted = std::move(from.back());
  from.pop_back();
  to.push_back(state(wanted.program));
  const State& left = to.back();
  session_->restore(std::move(wanted.session));
  explainer_.setDefinitions(std::move(wanted.definitions));
  if (!restartWorker(fatal_error_)) {
    is_over_ = true;
    return;
  }
  const std::size_t count = session_->drawing().entities().size();
  std::cout << done << ": " << displayText(wanted.program) << "; the drawing has " << count
            << (count == 1 ? " entity\n" : " entities\n");
  session_->printChanges(left.session.sheet.drawing);
  tellDefinitions(left.definitions, explainer_.definitions());
}

void Prompt::loadFile(const std::string& path) {
  std::string error;
  if (path.empty()) {
    std::cout << "load what? :load FILE\n";
  } else if (path.ends_with(".json")) {
    auto sheet = readSheetFile(path, error);
    if (sheet) {
      remember(state(path));
      session_->setSheet(std::move(*sheet));
      std::cout << "the drawing has " << session_->drawing().entities().size() << " entities\n";
    } else {
      std::cout << error << "\n";
    }
  } else if (const auto program = readProgram(path, error)) {
    last_path_ = path;
    runProgram(*program);
  } else {
    std::cout << error << "\n";
  }
}

void Prompt::saveFile(const std::string& path) {
  std::string error;
  if (path.empty()) {
    std::cout << "save where? :save FILE\n";
    return;
  }
  std::vector<std::string> lost;
  const bool is_program = path.ends_with(".lsp");
  const std::string text =
      is_program ? explainer_.definitions().asProgram(lost) : writeSheet(session_->sheet());
  std::cout << (writeFile(path, text, error) ? "written: " + path : error) << "\n";
  for (const std::string& name : lost) std::cout << "without " << name << "\n";
}

void Prompt::drawFile(const std::string& path) {
  std::string error;
  if (const std::string reason = whyNoPicture(path); !reason.empty()) {
    std::cout << reason << "\n";
    return;
  }
  const Sheet sheet = session_->sheet();
  const auto picture =
      makePicture(session_->drawingBefore(), sheet.drawing, sheet.context, picture_options_, error);
  const auto bytes = picture ? pictureFile(picture->svg, path, error) : std::nullopt;
  const bool is_written = bytes && writeFile(path, *bytes, error);
  std::cout << (is_written ? pictureLine(path, *picture) : error) << "\n";
}

std::vector<std::string> Prompt::sessionNames() const {
  std::vector<std::string> names = explainer_.definitions().functionNames();
  for (std::string& name : explainer_.definitions().variableNames())
    names.push_back(std::move(name));
  for (const explain::Entry& entry : explain::entries()) names.emplace_back(entry.name);
  return names;
}

// The call of a function: "(POLAR POINT ANGLE DISTANCE)". Empty for an unknown one.
std::string Prompt::signatureOf(std::string_view name) const {
  if (const auto* const function = explainer_.definitions().findFunctionNamed(name)) {
    std::string signature = "(" + std::string(name);
    for (const explain::Form& parameter : function->definition->items[2].items) {
      if (parameter.name() == "/") break;
      signature += " " + std::string(parameter.name());
    }
    return signature + ")";
  }
  const explain::Entry* const entry = explain::findEntry(name);
  return entry == nullptr ? "" : std::string(entry->form);
}

Completion Prompt::completionAt(std::string_view before) const {
  CompletionSource source{.names = sessionNames()};
  for (const Layer& layer : session_->drawing().layers()) source.layers.push_back(layer.name);
  source.signature = [this](std::string_view name) { return signatureOf(name); };
  return completeAt(before, source);
}

}  // namespace lisp_worker::console
