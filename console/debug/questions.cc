#include "console/debug/questions.h"

#include <algorithm>
#include <charconv>
#include <vector>

#include "console/command_input.h"
#include "console/debug/breakpoints.h"
#include "console/entity.h"
#include "explain/explanation.h"
#include "explain/form.h"
#include "explain/value_text.h"
#include "trace/condition.h"
#include "trace/reasons.h"

namespace lisp_worker::console {
namespace {

using trace::CallNumber;
using trace::Index;
using trace::Obstacle;
using trace::Origin;
using trace::Position;
using trace::Variable;

constexpr std::size_t kValueSizeMax = 120;
constexpr std::size_t kWayShownMax = 12;
constexpr std::size_t kRowsShownMax = 40;
constexpr std::size_t kPlaceWidth = 20;

std::string padded(std::string text) {
  text.resize(std::max(text.size(), kPlaceWidth), ' ');
  return text;
}

// "  WHAT    p.lsp:3:1            (CAR L) = nil\n"
std::string lineOf(const RecordedRun& run, const char* what, Position step) {
  std::string text = "  ";
  text += what;
  text.resize(std::max<std::size_t>(text.size(), 12), ' ');
  return text + padded(placeOf(run.index, step)) + " " + textOf(run.index, step) + " " +
         valueText(run.index, step) + "\n";
}

std::string nameOfCall(const RecordedRun& run, CallNumber call) {
  const trace::Call& made = run.index.calls()[call];
  return std::string(run.index.function(made.function).definition->items[1].name());
}

std::string valueOf(const RecordedRun& run, std::string_view name, const Variable& variable) {
  if (variable.origin == Origin::Unbound) return "unbound";
  const auto value = run.index.valueOf(name, variable);
  return value ? explain::shorten(*value, kValueSizeMax) : "a value that was not kept";
}

// The steps behind the value of `step`: those that have handed it on, and at the end the parts of
// the form that has made it.
std::string wayOf(const RecordedRun& run, Position step) {
  const std::vector<Position> way = trace::originOf(run.index, step);
  std::string text;
  for (std::size_t n = 0; n < way.size() && n < kWayShownMax; ++n) {
    text += lineOf(run, n == 0 ? "value" : "from", way[n]);
  }
  if (way.size() > kWayShownMax) {
    text += "  ... and " + explain::counted(way.size() - kWayShownMax, "step") + " more\n";
    text += lineOf(run, "from", way.back());
  }
  const explain::Form& origin = run.index.formOf(way.back());
  if (origin.isSymbol()) {
    const Variable variable = run.index.find(origin.name(), way.back());
    if (variable.origin == Origin::EarlierProgram) text += "  set by an earlier program\n";
    if (variable.origin == Origin::Local) text += "  a local that was never assigned\n";
    return text;
  }
  if (!origin.isList() || origin.operatorName() == "QUOTE") return text;
  for (const Position part : run.index.partsOf(way.back())) {
    const explain::Form& form = run.index.formOf(part);
    if (form.isSymbol() || form.isList()) text += lineOf(run, "where", part);
  }
  return text;
}

const explain::ProgramPointer* findProgram(const RecordedRun& run, std::string_view file) {
  if (file.empty()) return &run.program;
  for (std::uint32_t number = 0; number < run.index.programCount(); ++number) {
    const std::string_view name = run.index.program(number)->source.name();
    if (name == file || name.ends_with("/" + std::string(file))) return &run.index.program(number);
  }
  return nullptr;
}

std::string placeOfForm(const explain::Program& program, const explain::Form& form) {
  return explain::nameOfPlace(program, form.begin);
}

std::string textOfForm(const explain::Program& program, const explain::Form& form) {
  constexpr std::size_t kSizeMax = 60;
  std::string text(program.source.text().substr(form.begin, form.end - form.begin));
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text.size() <= kSizeMax ? text : text.substr(0, kSizeMax) + "...";
}

std::string times(std::size_t count) {
  return count == 1 ? "once" : count == 2 ? "twice" : std::to_string(count) + " times";
}

// Of one obstacle, some lines.
std::string textOf(const RecordedRun& run, const explain::Program& program,
                   const Obstacle& obstacle) {
  const std::string place = obstacle.form == nullptr ? "" : placeOfForm(program, *obstacle.form);
  switch (obstacle.kind) {
    case Obstacle::Kind::Condition: {
      std::string text = "  it depends on a condition, which has decided against it " +
                         times(obstacle.times) + "\n" + lineOf(run, "condition", obstacle.step);
      for (const Position part : run.index.partsOf(obstacle.step)) {
        const explain::Form& form = run.index.formOf(part);
        if (form.isSymbol() || form.isList()) text += lineOf(run, "where", part);
      }
      return text;
    }
    case Obstacle::Kind::NeverCalled:
      return "  it is in the function " + std::string(obstacle.form->items[1].name()) + " (" +
             place + "), which was not called\n";
    case Obstacle::Kind::NotReached:
      if (obstacle.step == 0) return "  the run does not come to it\n";
      return "  the run has ended before: " + run.outcome.message + "\n" +
             lineOf(run, "at", obstacle.step);
    case Obstacle::Kind::Data:
      return "  it is quoted (" + place + "): data, not evaluated\n";
    case Obstacle::Kind::NotEvaluated:
      return "  " + placeOf(run.index, obstacle.step) + " " +
             console::textOf(run.index, obstacle.step) + " does not evaluate that part of it\n";
  }
  return "";
}

}  // namespace

std::string whyVariable(const RecordedRun& run, std::string_view name, Position position) {
  const std::string upper = upperCase(name);
  const Variable variable = run.index.find(upper, position);
  std::string text = upper + " is " + valueOf(run, upper, variable);
  if (variable.call != 0) text += ", in " + nameOfCall(run, variable.call);
  text += "\n";
  switch (variable.origin) {
    case Origin::Unbound: {
      const auto history = run.index.historyOf(upper);
      if (history.empty()) return text + "  nothing in this run assigns it\n";
      return text + "  it has a value at other moments: history " + upper + "\n";
    }
    case Origin::EarlierProgram:
      return text + "  set by an earlier program\n";
    case Origin::Local:
      return text + lineOf(run, "local of", variable.step) + "  not assigned since\n";
    case Origin::Assignment:
      return text + lineOf(run, "set by", variable.step) + wayOf(run, variable.value_step);
    case Origin::Parameter:
      return text + lineOf(run, "passed by", variable.step) + wayOf(run, variable.value_step);
  }
  return text;
}

std::string whyEntity(const RecordedRun& run, std::string_view handle) {
  const std::string upper = upperCase(handle);
  const std::vector<EntityCall> calls = callsOn(run, upper);
  if (calls.empty()) {
    const bool is_there = run.drawings.front().find(upper) != nullptr;
    return upper + (is_there ? " was there before the program, which has not changed it\n"
                             : " is no entity of this run\n");
  }
  std::string text = upper + "\n";
  for (std::size_t n = 0; n < calls.size() && n < kRowsShownMax; ++n) {
    const Position step = run.index.hostCalls()[calls[n].call].step;
    text += lineOf(run, std::string(nameOf(calls[n].kind)).c_str(), step);
    for (const CallNumber call : run.index.callsAt(step)) {
      text += lineOf(run, "in", run.index.calls()[call].site);
    }
  }
  if (calls.size() > kRowsShownMax) {
    text += "  ... and " + explain::counted(calls.size() - kRowsShownMax, "call") + " more\n";
  }
  return text;
}

std::string whyNotLine(const RecordedRun& run, std::string_view place) {
  const std::size_t colon = place.rfind(':');
  const std::string_view file = colon == std::string_view::npos ? "" : place.substr(0, colon);
  const std::string_view digits = colon == std::string_view::npos ? place : place.substr(colon + 1);
  std::size_t line = 0;
  const auto [end, fault] = std::from_chars(digits.data(), digits.data() + digits.size(), line);
  if (fault != std::errc() || end != digits.data() + digits.size()) {
    return "which line? For example: why not 7\n";
  }
  const explain::ProgramPointer* const program = findProgram(run, file);
  if (program == nullptr) return "no file " + std::string(file) + " takes part in this run\n";
  const std::vector<const explain::Form*>& forms = (*program)->forms_by_number;
  const auto form = std::find_if(forms.begin(), forms.end(),
                                 [line](const explain::Form* each) { return each->line == line; });
  if (form == forms.end()) return "no form begins in line " + std::to_string(line) + "\n";
  const auto number = static_cast<std::uint32_t>(form - forms.begin());
  std::string text = placeOfForm(**program, **form) + " " + textOfForm(**program, **form) + "\n";
  std::size_t count = 0;
  for (Position step = run.index.lastStepOf(*program, number); step != 0;
       step = run.index.step(step).before) {
    ++count;
  }
  if (count != 0) return text + "  it was evaluated " + times(count) + "\n";
  for (const Obstacle& obstacle : trace::whyNot(run.index, *program, number)) {
    text += textOf(run, **program, obstacle);
  }
  return text;
}

WhenAnswer whenTrue(const RecordedRun& run, std::string_view expression, Position from) {
  trace::Condition condition(run.index, expression);
  if (!condition.error().empty()) {
    return {std::nullopt, "the expression cannot be read: " + condition.error() + "\n"};
  }
  const auto position = condition.firstTrue(from);
  if (position) return {position, ""};
  return {std::nullopt, condition.failure().empty()
                            ? "it is not true from here on\n"
                            : "it is not true from here on; where it has no value: " +
                                  condition.failure() + "\n"};
}

std::string historyText(const RecordedRun& run, std::string_view name) {
  const std::string upper = upperCase(name);
  const auto history = run.index.historyOf(upper);
  if (history.empty()) return "nothing in this run assigns " + upper + "\n";
  std::string text;
  const std::size_t left_out = history.size() - std::min(history.size(), kRowsShownMax);
  if (left_out != 0) text += "... " + explain::counted(left_out, "value") + " before\n";
  for (std::size_t n = left_out; n < history.size(); ++n) {
    const auto& [position, variable] = history[n];
    std::string step = std::to_string(position);
    step.insert(0, 7 - std::min<std::size_t>(7, step.size()), ' ');
    text += step + "  " +
            padded(variable.step == 0 ? "earlier program" : placeOf(run.index, variable.step)) +
            " " + upper + " = " + valueOf(run, upper, variable);
    if (variable.call != 0) text += "   in " + nameOfCall(run, variable.call);
    text += "\n";
  }
  return text;
}

std::string variablesText(const RecordedRun& run, Position position) {
  std::string text;
  std::vector<CallNumber> calls = run.index.callsAt(position);
  calls.push_back(0);
  Position moment = position;
  for (const CallNumber call : calls) {
    text += call == 0 ? "global\n" : nameOfCall(run, call) + "\n";
    const std::vector<std::string> names = run.index.namesOf(call, call == 0 ? position : moment);
    for (const std::string& name : names) {
      const auto variable = run.index.findIn(call, name, call == 0 ? position : moment);
      const Variable shown = variable.value_or(Variable{.origin = Origin::EarlierProgram});
      text += "  " + name + " = " + valueOf(run, name, shown) + "\n";
    }
    if (names.empty()) text += "  none\n";
    if (call != 0) moment = run.index.calls()[call].site;
  }
  return text;
}

std::string stackText(const RecordedRun& run, Position position) {
  std::string text;
  Position at = std::min(position, run.index.end() - (run.index.end() > 1 ? 1 : 0));
  for (const CallNumber call : run.index.callsAt(position)) {
    const trace::Call& made = run.index.calls()[call];
    text += "  " + padded(placeOf(run.index, at)) + " in (" + nameOfCall(run, call);
    for (const Position part : run.index.partsOf(made.site)) {
      const auto value = run.index.valueOf(part);
      text += " " + (value ? explain::shorten(*value, 40) : "?");
    }
    text += ")\n";
    at = made.site;
  }
  if (run.index.stepCount() == 0) return "  no steps\n";
  return text + "  " + padded(placeOf(run.index, at)) + " at the top level\n";
}

std::string valueTextOf(const RecordedRun& run, std::string_view expression, Position position) {
  trace::Condition condition(run.index, expression);
  if (!condition.error().empty()) return "it cannot be read: " + condition.error() + "\n";
  const auto value = condition.valueAt(position);
  return value ? "= " + explain::shorten(*value, 2000) + "\n" : condition.failure() + "\n";
}

std::string hostCallsText(const RecordedRun& run, Position position) {
  const std::deque<trace::HostCall>& calls = run.index.hostCalls();
  if (calls.empty()) return "the program makes no host calls\n";
  const std::size_t done = run.index.answersBefore(position);
  const std::size_t first = done > kRowsShownMax / 2 ? done - kRowsShownMax / 2 : 0;
  std::string text;
  if (first != 0) text += "... " + explain::counted(first, "call") + " before\n";
  for (std::size_t n = first; n < calls.size() && n < first + kRowsShownMax; ++n) {
    text += lineOf(run, n < done ? "done" : "to come", calls[n].step);
    if (!calls[n].refusal.empty()) text += "            refused: " + calls[n].refusal + "\n";
  }
  const std::size_t shown = std::min(calls.size(), first + kRowsShownMax);
  if (shown < calls.size()) {
    text += "... " + explain::counted(calls.size() - shown, "call") + " after\n";
  }
  return text;
}

}  // namespace lisp_worker::console
