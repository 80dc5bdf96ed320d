#include "console/debug/debugger.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "console/command_input.h"
#include "console/debug/movements.h"
#include "console/debug/questions.h"
#include "console/entity.h"
#include "explain/explanation.h"
#include "explain/form.h"
#include "explain/source.h"
#include "explain/value_text.h"

namespace lisp_worker::console {

using trace::Position;

struct Debugger::Command {
  std::string_view name;
  std::string_view short_name;
  bool is_movement;
  std::string (Debugger::*run)(std::string_view);
  std::string_view meaning;
};

std::span<const Debugger::Command> Debugger::commands() {
  static constexpr Command kCommands[] = {
      {"step", "s", true, &Debugger::step, "into the form: to the next one that is evaluated"},
      {"over", "n", true, &Debugger::over, "over the form: to the one after it"},
      {"out", "o", true, &Debugger::out, "out of the function: to where it has returned"},
      {"back", "b", true, &Debugger::back, "one form back"},
      {"back-over", "bn", true, &Debugger::backOver, "back over the form before"},
      {"back-out", "bo", true, &Debugger::backOut, "back to the call of the function"},
      {"continue", "c", true, &Debugger::resume, "to the next breakpoint or the end"},
      {"reverse", "rc", true, &Debugger::reverse, "to the breakpoint before or the beginning"},
      {"goto", "g", true, &Debugger::goTo,
       "goto STEP, start, end, error, or entity HANDLE: to the form that drew it"},
      {"when", "w", true, &Debugger::when, "when FORM: to the next moment when it is true"},
      {"break", "br", false, &Debugger::addBreakpoint,
       "break LINE, FUNCTION, call NAME, set NAME, entity HANDLE, error; then: if FORM, after "
       "COUNT; "
       "alone it lists them"},
      {"delete", "d", false, &Debugger::removeBreakpoint, "delete NUMBER of a breakpoint"},
      {"print", "p", false, &Debugger::print, "print FORM: its value here"},
      {"vars", "v", false, &Debugger::variables, "the variables, by call"},
      {"stack", "k", false, &Debugger::stack, "the calls in progress"},
      {"why", "y", false, &Debugger::why,
       "why NAME has its value, why entity HANDLE, why not LINE"},
      {"history", "h", false, &Debugger::history, "history NAME: the values that it has had"},
      {"calls", "ca", false, &Debugger::calls, "the host calls"},
      {"drawing", "dr", false, &Debugger::drawing, "the drawing here"},
      {"changes", "ch", false, &Debugger::changes, "what the program has changed in it so far"},
      {"list", "l", false, &Debugger::list, "the lines around"},
      {"help", "?", false, &Debugger::help, "this list"},
      {"quit", "q", false, &Debugger::quit, "the end"},
  };
  return kCommands;
}

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::size_t kEntitiesShownMax = 40;
constexpr std::size_t kLinesAround = 5;
constexpr std::size_t kSummarySize = 100;

std::string_view trimmed(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

std::optional<Position> readPosition(std::string_view text) {
  Position position = 0;
  const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), position);
  if (fault != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return position;
}

}  // namespace

Debugger::Debugger(RecordedRun run) : run_(std::move(run)), breakpoints_(run_) {}

std::vector<std::string> Debugger::commandNames() {
  std::vector<std::string> names;
  for (const Command& command : commands()) names.emplace_back(command.name);
  return names;
}

std::vector<std::string> Debugger::names() const {
  std::vector<trace::CallNumber> calls = run_.index.callsAt(position_);
  calls.push_back(0);
  std::vector<std::string> names;
  for (const trace::CallNumber call : calls) {
    for (std::string& name : run_.index.namesOf(call, position_)) names.push_back(std::move(name));
  }
  return names;
}

std::string Debugger::summary() const {
  const explain::Outcome& outcome = run_.outcome;
  const bool has_value = outcome.kind == explain::OutcomeKind::Value;
  std::string text =
      run_.program->source.name() + ": " +
      (has_value ? "= " + explain::shorten(outcome.value, kSummarySize) : outcome.message) +
      ", after " + explain::counted(run_.index.stepCount(), "step") + " and " +
      explain::counted(run_.index.hostCalls().size(), "host call") + "\n";
  if (!run_.doubt.empty()) text += "NOT TO BE TRUSTED: " + run_.doubt + "\n";
  return text;
}

void Debugger::goToError() { position_ = failedAt(run_).value_or(run_.index.end()); }

std::string Debugger::whereText() const {
  const trace::Index& index = run_.index;
  if (position_ >= index.end()) {
    const explain::Outcome& outcome = run_.outcome;
    const bool has_value = outcome.kind == explain::OutcomeKind::Value;
    return "the end, after " + explain::counted(index.stepCount(), "step") + ": " +
           (has_value ? "= " + explain::shorten(outcome.value, 200) : outcome.message) + "\n";
  }
  const explain::Program& program = *index.program(index.step(position_).program);
  const explain::Form& form = index.formOf(position_);
  std::string text = explain::nameOfPlace(program, form.begin) + "   step " +
                     std::to_string(position_) + " of " + std::to_string(index.stepCount());
  const trace::CallNumber call = index.callAt(position_);
  if (call != 0) {
    const explain::Function& function = index.function(index.calls()[call].function);
    text += ", in " + std::string(function.definition->items[1].name());
  }
  return text + "\n" + explain::showPlace(program.source, form.begin, form.end);
}

std::string Debugger::execute(std::string_view line) {
  line = trimmed(line);
  const std::string repeated = last_movement_;
  if (line.empty()) line = repeated;
  const std::string_view word = line.substr(0, line.find_first_of(kBlanks));
  const std::string_view rest = trimmed(line.substr(word.size()));
  for (const Command& command : commands()) {
    if (word != command.name && word != command.short_name) continue;
    if (command.is_movement) last_movement_ = line;
    return (this->*command.run)(rest);
  }
  return "no command " + std::string(word) + "; help lists them\n";
}

// The forms that were over on the way from one position to a later one tell what they came to: only
// the outermost of them.
std::string Debugger::valuesBetween(Position from, Position to) const {
  const trace::Index& index = run_.index;
  if (from >= index.end() || to <= from) return "";
  const Position end = index.step(from).end;
  if (end == 0 || end > to || !isStop(index, from)) return "";
  return textOf(index, from) + " " + valueText(index, from) + "\n";
}

std::string Debugger::moveTo(Position position) {
  const Position from = position_;
  position_ = std::clamp<Position>(position, 1, run_.index.end());
  return valuesBetween(from, position_) + whereText();
}

std::string Debugger::step(std::string_view) { return moveTo(stepInto(run_.index, position_)); }

std::string Debugger::back(std::string_view) { return moveTo(stepBackInto(run_.index, position_)); }

std::string Debugger::over(std::string_view) { return moveTo(stepOver(run_.index, position_)); }

std::string Debugger::backOver(std::string_view) {
  return moveTo(stepBackOver(run_.index, position_));
}

std::string Debugger::out(std::string_view) {
  const trace::CallNumber call = run_.index.callAt(position_);
  const Position site = run_.index.calls()[call].site;
  const bool has_returned = call != 0 && run_.index.calls()[call].end != 0;
  const std::string value =
      has_returned ? textOf(run_.index, site) + " " + valueText(run_.index, site) + "\n" : "";
  position_ = stepOut(run_.index, position_);
  return value + whereText();
}

std::string Debugger::backOut(std::string_view) {
  return moveTo(stepBackOut(run_.index, position_));
}

std::string Debugger::resume(std::string_view) {
  Position at = run_.index.end();
  const Breakpoint* const hit = breakpoints_.next(position_, at);
  position_ = at;
  return (hit == nullptr
              ? ""
              : "breakpoint " + std::to_string(hit->number) + ", " + hit->meaning + "\n") +
         whereText();
}

std::string Debugger::reverse(std::string_view) {
  Position at = 1;
  const Breakpoint* const hit = breakpoints_.previous(position_, at);
  position_ = at;
  return (hit == nullptr
              ? ""
              : "breakpoint " + std::to_string(hit->number) + ", " + hit->meaning + "\n") +
         whereText();
}

std::string Debugger::goTo(std::string_view target) {
  if (target == "start") return moveTo(1);
  if (target == "end") return moveTo(run_.index.end());
  if (target == "error") {
    const auto failed = failedAt(run_);
    if (!failed) return "the program does not fail\n";
    position_ = *failed;
    return whereText();
  }
  if (target.starts_with("entity ")) return goToEntity(trimmed(target.substr(7)));
  const auto position = readPosition(target);
  if (!position || *position == 0 || *position > run_.index.end()) {
    return "goto takes start, end, error, entity HANDLE or a step from 1 to " +
           std::to_string(run_.index.end()) + "\n";
  }
  position_ = *position;
  return whereText();
}

std::string Debugger::goToEntity(std::string_view handle) {
  const std::vector<EntityCall> calls = callsOn(run_, upperCase(handle));
  if (calls.empty()) return whyEntity(run_, handle);
  position_ = run_.index.hostCalls()[calls.back().call].step;
  return whereText();
}

std::string Debugger::when(std::string_view expression) {
  if (expression.empty()) return "when what is true? For example: when (> N 5)\n";
  const WhenAnswer answer = whenTrue(run_, expression, position_ + 1);
  if (!answer.position) return answer.text;
  position_ = *answer.position;
  return whereText();
}

std::string Debugger::addBreakpoint(std::string_view text) {
  std::string told;
  if (text.empty()) {
    for (const Breakpoint& each : breakpoints_.all()) {
      told += std::to_string(each.number) + "  " + each.meaning + ", " +
              explain::counted(each.positions.size(), "time") + "\n";
    }
    return told.empty() ? "no breakpoints\n" : told;
  }
  const Breakpoint* const made = breakpoints_.add(text, told);
  if (made == nullptr) return told + "\n";
  return "breakpoint " + std::to_string(made->number) + ", " + made->meaning + ": " +
         explain::counted(made->positions.size(), "time") + " in this run\n";
}

std::string Debugger::removeBreakpoint(std::string_view text) {
  const auto number = readPosition(text);
  if (!number || !breakpoints_.remove(*number)) return "no breakpoint of that number\n";
  return "";
}

std::string Debugger::list(std::string_view) {
  const trace::Index& index = run_.index;
  const Position shown = std::min(position_, index.stepCount());
  const bool has_steps = shown != 0;
  const explain::Program& program =
      has_steps ? *index.program(index.step(shown).program) : *run_.program;
  const std::size_t current = has_steps ? index.formOf(shown).line : 1;
  const std::size_t last = program.source.lineOf(program.source.text().size());
  std::string text;
  for (std::size_t line = current > kLinesAround ? current - kLinesAround : 1;
       line <= std::min(last, current + kLinesAround); ++line) {
    std::string number = std::to_string(line);
    number.insert(0, 5 - std::min<std::size_t>(5, number.size()), ' ');
    text += number + (line == current && position_ < index.end() ? " > " : " | ") +
            std::string(program.source.line(line)) + "\n";
  }
  return text;
}

std::string Debugger::print(std::string_view expression) {
  if (expression.empty()) return "print what? For example: print (CAR L)\n";
  return valueTextOf(run_, expression, position_);
}

std::string Debugger::variables(std::string_view) { return variablesText(run_, position_); }

std::string Debugger::stack(std::string_view) { return stackText(run_, position_); }

std::string Debugger::calls(std::string_view) { return hostCallsText(run_, position_); }

std::string Debugger::drawing(std::string_view) {
  const Drawing& drawing = run_.drawingAt(position_);
  std::string text = std::to_string(drawing.entities().size()) +
                     (drawing.entities().size() == 1 ? " entity\n" : " entities\n");
  std::size_t count = 0;
  for (const Entity& entity : drawing.entities()) {
    if (++count <= kEntitiesShownMax) text += "  " + describeEntity(entity) + "\n";
  }
  if (count > kEntitiesShownMax) {
    text += "  ... and " + std::to_string(count - kEntitiesShownMax) + " more\n";
  }
  return text;
}

std::string Debugger::changes(std::string_view) {
  std::string text;
  std::size_t count = 0;
  for (const EntityChange& change :
       compareDrawings(run_.drawings.front(), run_.drawingAt(position_))) {
    if (++count > kEntitiesShownMax) continue;
    text += "  " + std::string(nameOf(change.kind)) + " " + describeEntity(change.entity) + "\n";
  }
  if (count > kEntitiesShownMax) {
    text += "  ... and " + std::to_string(count - kEntitiesShownMax) + " more\n";
  }
  return text.empty() ? "nothing is changed so far\n" : text;
}

std::string Debugger::why(std::string_view what) {
  if (what.empty()) return "why what? why NAME, why entity HANDLE, why not LINE\n";
  if (what.starts_with("entity ")) return whyEntity(run_, trimmed(what.substr(7)));
  if (what.starts_with("not ")) return whyNotLine(run_, trimmed(what.substr(4)));
  return whyVariable(run_, what, position_);
}

std::string Debugger::history(std::string_view name) {
  return name.empty() ? "history of which name?\n" : historyText(run_, name);
}

std::string Debugger::help(std::string_view) {
  std::string text;
  for (const Command& command : commands()) {
    std::string line = "  " + std::string(command.name) + ", " + std::string(command.short_name);
    line.resize(std::max<std::size_t>(line.size(), 18), ' ');
    text += line + std::string(command.meaning) + "\n";
  }
  return text + "  Enter            the last movement again\n";
}

std::string Debugger::quit(std::string_view) {
  is_over_ = true;
  return "";
}

}  // namespace lisp_worker::console
