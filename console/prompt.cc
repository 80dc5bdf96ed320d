// Each input is one program. :undo and :redo go from state to state: the drawing and the
// explainer's definitions are put back, and a new worker is started that gets the definitions as
// programs.

#include "console/prompt.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <utility>

#include "console/command_input.h"
#include "console/commands.h"
#include "console/completion.h"
#include "console/display.h"
#include "console/entity.h"
#include "console/files.h"
#include "console/picture.h"
#include "explain/explanation.h"
#include "explain/form.h"
#include "explain/habits.h"
#include "lisp_worker/client/names.h"

namespace lisp_worker::console {
namespace {

constexpr std::size_t kUndoMax = 100;

struct Command {
  std::string_view name;
  std::string_view meaning;
};

constexpr std::array kCommands = {
    Command{":help", "this list"},
    Command{":doc NAME", "what a form, a function or a command of COMMAND takes and gives"},
    Command{":steps", "where the steps of the last program went, by function and line"},
    Command{":calls", "the host calls of the last program, with their answers"},
    Command{":drawing", "what the drawing holds"},
    Command{":picture [FILE]", "draw it, before and after, as .svg or .png (drawing.svg)"},
    Command{":undo", "take back the last program: drawing, variables and functions"},
    Command{":redo", "do again what :undo has taken back"},
    Command{":load FILE", "run a program, or begin with the drawing of a .json file"},
    Command{":save FILE", "write the drawing as .json, or the definitions as .lsp"},
    Command{":quit", "leave, as Ctrl-D does"},
};

std::string trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(" \t");
  if (begin == std::string_view::npos) return "";
  return std::string(text.substr(begin, text.find_last_not_of(" \t") - begin + 1));
}

// "(DEFUN F> " for a list that is still open.
std::string continuationPrompt(std::string_view text, std::size_t open_at) {
  constexpr std::size_t kShownMax = 14;
  std::string_view open = text.substr(open_at, text.find('\n', open_at) - open_at);
  const bool is_cut = open.size() > kShownMax;
  return "  " + std::string(open.substr(0, kShownMax)) + (is_cut ? "..." : "") + "> ";
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

Prompt::Prompt(std::string worker_path, const std::string& history_path)
    : worker_path_(std::move(worker_path)),
      editor_(openLineEditor(history_path,
                             [this](std::string_view word) { return completionsFor(word); })),
      keyboard_(std::make_unique<Keyboard>(*editor_)) {
  keyboard_->setAround([this] { progress_.pause(); }, [this] { progress_.resume(); });
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
      *process_, client::ClientSettings{.time_limit = kTimeLimit});
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
    std::cout << "lost: " << name << ", whose value no text stands for\n";
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
  std::cout << "A form is run when its parentheses close. :help lists what else there is.\n";
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
  std::string prompt = "lisp> ";
  for (;;) {
    std::string line;
    const LineEditor::Result result = editor_->read(prompt, line);
    static_cast<void>(takeInterrupt());
    if (result == LineEditor::Result::Interrupted) {
      text.clear();
      prompt = "lisp> ";
      continue;
    }
    if (result == LineEditor::Result::End) {
      if (text.empty()) return std::nullopt;
      return text;  // Unfinished: its error says so, and the input ends at the next prompt.
    }
    if (text.empty() && trimmed(line).starts_with(':')) return trimmed(line);
    text += line;
    const explain::Source source("input", text);
    const explain::Reading reading = explain::readForms(source);
    if (!reading.fault || !reading.fault->is_unfinished) {
      return reading.forms.empty() && !reading.fault ? "" : text;
    }
    prompt = continuationPrompt(text, reading.fault->open_at);
    text += "\n";
  }
}

void Prompt::runInput(const std::string& text) {
  std::string error;
  const auto program = makeProgram("input " + std::to_string(++input_count_), text, error);
  if (!program) {
    std::cout << error << "\n";
    return;
  }
  runProgram(*program);
}

void Prompt::runProgram(const Program& program) {
  State before = state(program.name);
  progress_.start();
  const ProgramEnd end = session_->run(program);
  progress_.clear();
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
    showHelp();
  } else if (name == ":doc") {
    showEntry(argument);
  } else if (name == ":steps") {
    std::cout << explainer_.outcome().steps << " steps in the last program\n"
              << explain::stepTable(explainer_.outcome(), 12);
  } else if (name == ":calls") {
    showCalls();
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
    std::cout << "there is no " << name << "; :help lists what there is\n";
  }
}

void Prompt::showHelp() const {
  for (const Command& command : kCommands) {
    std::string name(command.name);
    name.resize(18, ' ');
    std::cout << "  " << name << command.meaning << "\n";
  }
  std::cout
      << "Tab completes names, Ctrl-C drops a line or cancels a program, the arrow keys bring "
         "earlier lines.\n";
}

void Prompt::showEntry(std::string_view name) const {
  const std::string wanted = upperCase(name);
  if (const explain::Entry* const entry = explain::findEntry(wanted)) {
    std::cout << explain::describe(*entry);
    return;
  }
  if (const auto function = explainer_.definitions().findFunctionNamed(wanted)) {
    const explain::Form& form = *function->definition;
    std::cout << "defined at " << explain::nameOfPlace(*function->program, form.begin) << "\n"
              << function->program->source.text().substr(form.begin, form.end - form.begin) << "\n";
    return;
  }
  const std::string type = typeReference(wanted);
  bool is_known = !type.empty();
  for (const std::string_view summary : commandSummaries()) {
    if (!summary.starts_with(wanted + " ")) continue;
    std::cout << "a command, for (COMMAND \"" << wanted << "\" ...):\n  " << summary << "\n";
    is_known = true;
  }
  std::cout << type;
  if (is_known) return;
  if (const explain::Habit* const habit = explain::findHabit(wanted)) {
    std::cout << explain::describe(*habit) << "\n";
    return;
  }
  std::vector<std::string> names = completionsFor("");
  std::cout << (wanted.empty() ? "which name? :doc CAR" : "nothing is known of " + wanted);
  for (const std::string& near : explain::similarNames(wanted, names))
    std::cout << "; " << near << "?";
  std::cout << "\n";
}

void Prompt::showCalls() const {
  const std::vector<CallRecord>& calls = session_->calls();
  if (calls.empty()) std::cout << "the last program has made no host calls\n";
  for (std::size_t n = 0; n < calls.size(); ++n) {
    std::cout << "  " << n + 1 << "  (" << calls[n].name << " "
              << displayWorkerText(calls[n].arguments) << ")  =>  " << displayText(calls[n].answer)
              << "   [" << displayText(calls[n].note) << "]\n";
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
  if (!path.ends_with(".svg") && !path.ends_with(".png")) {
    std::cout << path << ": the name must end in .svg or .png\n";
    return;
  }
  const Sheet sheet = session_->sheet();
  const std::string svg = drawPicture(
      session_->drawingBefore(), sheet.drawing, sheet.context,
      {.title = "", .shows_axes = picture_wishes_.axes, .shows_cells = picture_wishes_.cells});
  const auto bytes = path.ends_with(".png") ? renderPng(svg, error) : std::optional(svg);
  const bool is_written = bytes && writeFile(path, *bytes, error);
  std::cout << (is_written ? "picture: " + path : error) << "\n";
}

std::vector<std::string> Prompt::completionsFor(std::string_view word) const {
  std::vector<std::string> names = explainer_.definitions().functionNames();
  for (std::string& name : explainer_.definitions().variableNames())
    names.push_back(std::move(name));
  for (const explain::Entry& entry : explain::entries()) names.emplace_back(entry.name);
  if (word.starts_with(':')) {
    for (const Command& command : kCommands) {
      names.emplace_back(command.name.substr(0, command.name.find(' ')));
    }
  }
  return namesWith(names, word);
}

}  // namespace lisp_worker::console
