// The run is over, so a breakpoint is the list of the positions where it stops. Moving to the next
// one is looking it up.

#include "console/debug/breakpoints.h"

#include <algorithm>
#include <charconv>
#include <deque>
#include <span>
#include <system_error>
#include <utility>

#include "console/command_input.h"
#include "explain/form.h"
#include "trace/condition.h"

namespace lisp_worker::console {
namespace {

using explain::Form;
using trace::Position;

constexpr std::string_view kBlanks = " \t";

// Takes the first word off.
std::string_view takeWord(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
  text.remove_prefix(word.size());
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return word;
}

std::optional<std::size_t> readCount(std::string_view text) {
  std::size_t count = 0;
  const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), count);
  if (fault != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return count;
}

// Each step that evaluates the form, in order.
std::vector<Position> stepsOf(const trace::Index& index, const explain::ProgramPointer& program,
                              std::uint32_t form) {
  std::vector<Position> steps;
  for (Position step = index.lastStepOf(program, form); step != 0; step = index.step(step).before) {
    steps.push_back(step);
  }
  std::reverse(steps.begin(), steps.end());
  return steps;
}

void sortEachOnce(std::vector<Position>& positions) {
  std::sort(positions.begin(), positions.end());
  positions.erase(std::unique(positions.begin(), positions.end()), positions.end());
}

// Where `word` stands as a word of its own; npos if it does not.
std::size_t findWord(std::string_view text, std::string_view word) {
  for (std::size_t at = text.find(word); at != std::string_view::npos;
       at = text.find(word, at + 1)) {
    const bool begins = at > 0 && kBlanks.find(text[at - 1]) != std::string_view::npos;
    const std::size_t end = at + word.size();
    if (begins && end < text.size() && kBlanks.find(text[end]) != std::string_view::npos) return at;
  }
  return std::string_view::npos;
}

// Appends the numbers of those forms that are lists to be evaluated. `number` is that of the first.
void collectStops(std::span<const Form> forms, bool are_evaluated, std::uint32_t& number,
                  std::vector<std::uint32_t>& stops) {
  for (const Form& form : forms) {
    const std::uint32_t own = number++;
    const bool is_call =
        are_evaluated && form.isList() && !form.items.empty() && form.operatorName() != "QUOTE";
    if (is_call) stops.push_back(own);
    // Of a DEFUN the name and the parameters are not evaluated.
    const std::size_t skipped =
        form.operatorName() == "DEFUN" ? std::min<std::size_t>(3, form.items.size()) : 0;
    const std::span<const Form> items = form.items;
    collectStops(items.first(skipped), false, number, stops);
    collectStops(items.subspan(skipped), is_call, number, stops);
  }
}

bool isSameFile(std::string_view name, std::string_view wanted) {
  return name == wanted || (name.ends_with(wanted) && name[name.size() - wanted.size() - 1] == '/');
}

}  // namespace

std::optional<Position> failedAt(const RecordedRun& run) {
  if (run.outcome.kind == explain::OutcomeKind::Value) return std::nullopt;
  for (Position step = run.index.stepCount(); step > 0; --step) {
    if (run.index.step(step).end == 0) return step;
  }
  return std::nullopt;
}

std::vector<EntityCall> callsOn(const RecordedRun& run, std::string_view handle) {
  std::vector<EntityCall> calls;
  for (std::size_t call = 0; call < run.index.hostCalls().size(); ++call) {
    for (const EntityChange& change :
         compareDrawings(run.drawingBefore(call), run.drawingAfter(call))) {
      if (change.entity.handle == handle) calls.push_back({call, change.kind});
    }
  }
  return calls;
}

std::vector<std::uint32_t> stopForms(const explain::Program& program) {
  std::vector<std::uint32_t> stops;
  std::uint32_t number = 0;
  collectStops(program.reading.forms, true, number, stops);
  return stops;
}

Breakpoint breakAtForm(const RecordedRun& run, const explain::ProgramPointer& program,
                       std::uint32_t form) {
  return {.meaning = "line " + std::to_string(program->forms_by_number[form]->line),
          .positions = stepsOf(run.index, program, form)};
}

std::optional<Breakpoint> breakAtFunction(const RecordedRun& run, const std::string& name,
                                          std::string& error) {
  Breakpoint breakpoint{.meaning = "function " + name};
  const std::deque<trace::Call>& calls = run.index.calls();
  for (std::size_t call = 1; call < calls.size(); ++call) {
    const explain::Function& function = run.index.function(calls[call].function);
    if (function.definition->items[1].name() == name) {
      breakpoint.positions.push_back(calls[call].begin);
    }
  }
  if (breakpoint.positions.empty()) {
    error = "the program never calls a function " + name;
    return std::nullopt;
  }
  return breakpoint;
}

Breakpoint breakAtHostCalls(const RecordedRun& run, const std::string& name) {
  Breakpoint breakpoint{.meaning = name.empty() ? "host calls" : "host calls of " + name};
  for (const trace::HostCall& call : run.index.hostCalls()) {
    if (name.empty() || call.name == name) breakpoint.positions.push_back(call.step);
  }
  sortEachOnce(breakpoint.positions);
  return breakpoint;
}

Breakpoint breakAtRefusals(const RecordedRun& run) {
  Breakpoint breakpoint{.meaning = "refused host calls"};
  for (const trace::HostCall& call : run.index.hostCalls()) {
    if (!call.refusal.empty()) breakpoint.positions.push_back(call.step);
  }
  sortEachOnce(breakpoint.positions);
  return breakpoint;
}

Breakpoint breakAtAssignments(const RecordedRun& run, const std::string& name) {
  Breakpoint breakpoint{.meaning = "assignments of " + name};
  for (const auto& [position, variable] : run.index.historyOf(name)) {
    if (variable.origin == trace::Origin::Assignment) breakpoint.positions.push_back(position);
  }
  sortEachOnce(breakpoint.positions);
  return breakpoint;
}

std::optional<Breakpoint> breakAtEntity(const RecordedRun& run, const std::string& handle,
                                        std::string& error) {
  Breakpoint breakpoint{.meaning = "changes of " + handle};
  for (const EntityCall& change : callsOn(run, handle)) {
    breakpoint.positions.push_back(run.index.hostCalls()[change.call].at);
  }
  if (breakpoint.positions.empty()) {
    error = "the program neither adds, changes nor erases an entity " + handle;
    return std::nullopt;
  }
  sortEachOnce(breakpoint.positions);
  return breakpoint;
}

std::optional<Breakpoint> breakAtError(const RecordedRun& run, std::string& error) {
  const auto failed = failedAt(run);
  if (!failed) {
    error = "the program does not fail";
    return std::nullopt;
  }
  return Breakpoint{.meaning = "the error", .positions = {*failed}};
}

bool narrow(const RecordedRun& run, Breakpoint& breakpoint, std::string_view condition,
            std::string& error) {
  trace::Condition expression(run.index, condition);
  if (!expression.error().empty()) {
    error = "the condition cannot be read: " + expression.error();
    return false;
  }
  std::erase_if(breakpoint.positions, [&expression](Position position) {
    if (expression.stepsUsed() > trace::Condition::kSearchStepsMax) return true;
    const auto value = expression.valueAt(position);
    return !value || !lisp::isTrue(*value);
  });
  if (expression.stepsUsed() > trace::Condition::kSearchStepsMax) {
    error = "the condition costs too many steps to be evaluated each time";
    return false;
  }
  breakpoint.meaning +=
      " if" + std::string(condition.starts_with(' ') ? "" : " ") + std::string(condition);
  return true;
}

const Breakpoint* Breakpoints::add(std::string_view text, std::string& error) {
  const std::size_t condition = findWord(text, "if");
  const std::size_t count = findWord(text, "after");
  const std::size_t end = std::min({condition, count, text.size()});
  auto breakpoint = make(text.substr(0, end), error);
  if (!breakpoint) return nullptr;
  if (condition != std::string_view::npos) {
    const std::size_t size = count > condition ? count - condition : std::string_view::npos;
    if (!narrow(run_, *breakpoint, text.substr(condition, size).substr(3), error)) return nullptr;
  }
  if (count != std::string_view::npos) {
    std::string_view rest = text.substr(count + 6);
    const auto skipped = readCount(takeWord(rest));
    if (!skipped) {
      error = "after: how many times? For example: break 7 after 10";
      return nullptr;
    }
    auto& positions = breakpoint->positions;
    positions.erase(positions.begin(),
                    positions.begin() + static_cast<std::ptrdiff_t>(
                                            std::min<std::size_t>(*skipped, positions.size())));
  }
  breakpoint->number = ++count_;
  breakpoint->text = text;
  breakpoints_.push_back(std::move(*breakpoint));
  return &breakpoints_.back();
}

std::optional<Breakpoint> Breakpoints::make(std::string_view where, std::string& error) const {
  const std::string_view first = takeWord(where);
  const std::string second = upperCase(takeWord(where));
  if (first.empty()) {
    error = "where? A line, a function, call NAME, set NAME, entity HANDLE or error";
    return std::nullopt;
  }
  if (first == "call") return breakAtHostCalls(run_, second);
  if (first == "error") return breakAtError(run_, error);
  if (first == "set" && !second.empty()) return breakAtAssignments(run_, second);
  if (first == "entity" && !second.empty()) return breakAtEntity(run_, second, error);
  const std::size_t colon = first.rfind(':');
  const std::string_view file = colon == std::string_view::npos ? "" : first.substr(0, colon);
  const std::string_view last = colon == std::string_view::npos ? first : first.substr(colon + 1);
  if (const auto line = readCount(last)) return atLine(file, *line, error);
  return breakAtFunction(run_, upperCase(first), error);
}

// The first list that begins in the line, or in the first line after it that has one.
std::optional<Breakpoint> Breakpoints::atLine(std::string_view file, std::size_t line,
                                              std::string& error) const {
  for (std::uint32_t number = 0; number < run_.index.programCount(); ++number) {
    const explain::ProgramPointer& program = run_.index.program(number);
    const bool is_meant =
        file.empty() ? program == run_.program : isSameFile(program->source.name(), file);
    if (!is_meant) continue;
    for (const std::uint32_t form : stopForms(*program)) {
      if (program->forms_by_number[form]->line >= line) return breakAtForm(run_, program, form);
    }
    error = "no form begins in line " + std::to_string(line) + " or after it";
    return std::nullopt;
  }
  error = "no file " + std::string(file) + " takes part in this run";
  return std::nullopt;
}

bool Breakpoints::remove(std::size_t number) {
  return std::erase_if(breakpoints_,
                       [number](const Breakpoint& each) { return each.number == number; }) != 0;
}

const Breakpoint* Breakpoints::next(Position position, Position& at) const {
  const Breakpoint* found = nullptr;
  for (const Breakpoint& each : breakpoints_) {
    const auto later = std::upper_bound(each.positions.begin(), each.positions.end(), position);
    if (later == each.positions.end() || (found != nullptr && *later >= at)) continue;
    found = &each;
    at = *later;
  }
  return found;
}

const Breakpoint* Breakpoints::previous(Position position, Position& at) const {
  const Breakpoint* found = nullptr;
  for (const Breakpoint& each : breakpoints_) {
    const auto later = std::lower_bound(each.positions.begin(), each.positions.end(), position);
    if (later == each.positions.begin() || (found != nullptr && *std::prev(later) <= at)) continue;
    found = &each;
    at = *std::prev(later);
  }
  return found;
}

}  // namespace lisp_worker::console
