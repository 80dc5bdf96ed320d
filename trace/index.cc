// Most questions are answered by walking from a step to the one around it, which is as long as the
// forms are deep: at most 128 levels of lists. Variables are looked for in the calls in progress,
// innermost first. By contract a call works on copies of its caller's variables that were taken
// before its arguments were evaluated, so each call further out is looked at as it was then; only
// global variables are those of the moment.

#include "trace/index.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <tuple>

#include "explain/form.h"

namespace trace {

const explain::Form& Index::formOf(Position step) const {
  const Step& entry = this->step(step);
  return *programs_[entry.program].program->forms_by_number[entry.form];
}

std::optional<lisp::LispValue> Index::valueOf(Position step) const {
  const std::uint32_t value = this->step(step).value;
  if (value < kFirstValue) return std::nullopt;
  return values_[value - kFirstValue];
}

bool Index::isValueLost(Position step) const { return this->step(step).value == kLostValue; }

std::vector<Position> Index::partsOf(Position step) const {
  std::vector<Position> parts;
  const CallNumber call = this->step(step).call;
  for (Position part = step + 1; part != 0 && part < end();) {
    const Step& entry = this->step(part);
    if (entry.around != step || entry.call != call) break;
    parts.push_back(part);
    part = entry.end;
  }
  return parts;
}

Position Index::lastStepOf(const explain::ProgramPointer& program, std::uint32_t form) const {
  for (const ProgramEntry& entry : programs_) {
    if (entry.program == program) return entry.last_steps[form];
  }
  return 0;
}

// The last that was made before the step was over; several may have been made at one position, one
// for each form that begins there.
std::optional<std::size_t> Index::hostCallOf(Position step) const {
  const Position last = this->step(step).end == 0 ? end() : this->step(step).end;
  for (std::size_t n = static_cast<std::size_t>(
           std::upper_bound(host_calls_.begin(), host_calls_.end(), last,
                            [](Position at, const HostCall&call) { return at < call.at; }) -
           host_calls_.begin());
       n > 0 && host_calls_[n - 1].at == last; --n) {
    if (host_calls_[n - 1].step == step) return n - 1;
  }
  return std::nullopt;
}

std::size_t Index::answersBefore(Position position) const {
  const auto later =
      std::upper_bound(host_calls_.begin(), host_calls_.end(), position,
                       [](Position at, const HostCall& call) { return at < call.at; });
  auto count = static_cast<std::size_t>(later - host_calls_.begin());
  while (count > 0 && !host_calls_[count - 1].is_answered) --count;
  return count;
}

Position Index::over(Position position) const {
  if (position >= end()) return end();
  const Position after = step(position).end;
  return after == 0 ? end() : after;
}

Position Index::out(Position position) const {
  const Position after = calls_[callAt(position)].end;
  return after == 0 ? end() : after;
}

Position Index::backOver(Position position) const {
  if (position <= 1) return 1;
  const Position around = position >= end() ? 0 : step(position).around;
  const CallNumber call = position >= end() ? 0 : step(position).call;
  Position before = std::min(position, end()) - 1;
  while (before != around && (step(before).around != around || step(before).call != call)) {
    before = step(before).around;
  }
  return before;
}

Position Index::backOut(Position position) const {
  return std::max<Position>(1, calls_[callAt(position)].site);
}

CallNumber Index::callAt(Position position) const {
  return position >= end() ? last_call_ : step(position).call;
}

std::vector<CallNumber> Index::callsAt(Position position) const {
  std::vector<CallNumber> calls;
  for (CallNumber call = callAt(position); call != 0; call = calls_[call].caller) {
    calls.push_back(call);
  }
  return calls;
}

std::optional<NameNumber> Index::numberOf(std::string_view name) const {
  const auto known = name_numbers_.find(name);
  if (known == name_numbers_.end()) return std::nullopt;
  return known->second;
}

void Index::sortAssignments() {
  by_variable_.resize(assignments_.size());
  std::iota(by_variable_.begin(), by_variable_.end(), 0U);
  std::stable_sort(by_variable_.begin(), by_variable_.end(),
                   [this](std::uint32_t a, std::uint32_t b) {
                     const Assignment& first = assignments_[a];
                     const Assignment& second = assignments_[b];
                     return std::tie(first.name, first.call) < std::tie(second.name, second.call);
                   });
}

const Assignment* Index::lastAssignment(NameNumber name, CallNumber call, Position position) const {
  const auto wanted = std::make_tuple(name, call, position);
  const auto later = std::upper_bound(by_variable_.begin(), by_variable_.end(), wanted,
                                      [this](const auto& key, std::uint32_t number) {
                                        const Assignment& each = assignments_[number];
                                        return key < std::make_tuple(each.name, each.call, each.at);
                                      });
  if (later == by_variable_.begin()) return nullptr;
  const Assignment& last = assignments_[*std::prev(later)];
  return last.name == name && last.call == call ? &last : nullptr;
}

Variable Index::boundBy(CallNumber call, std::size_t place) const {
  const Call& entry = calls_[call];
  if (place >= functions_[entry.function].parameter_count) {
    return {.origin = Origin::Local, .step = entry.site, .call = call};
  }
  return {.origin = Origin::Parameter,
          .step = entry.site,
          .value_step = partsOf(entry.site)[place],
          .call = call};
}

std::optional<Variable> Index::findIn(CallNumber call, NameNumber name, Position position) const {
  if (const Assignment* const last = lastAssignment(name, call, position)) {
    return Variable{Origin::Assignment, last->step, last->value_step, call};
  }
  if (call == 0) return std::nullopt;
  const auto& places = functions_[calls_[call].function].places;
  const auto place = places.find(name);
  if (place == places.end()) return std::nullopt;
  return boundBy(call, place->second);
}

std::optional<Variable> Index::findIn(CallNumber call, std::string_view name,
                                      Position position) const {
  const auto number = numberOf(name);
  return number ? findIn(call, *number, position) : std::nullopt;
}

Variable Index::find(std::string_view name, Position position, Position now) const {
  if (const auto number = numberOf(name)) {
    Position moment = position;
    for (const CallNumber call : callsAt(position)) {
      if (auto variable = findIn(call, *number, moment)) return *variable;
      moment = calls_[call].site;
    }
    if (auto variable = findIn(0, *number, now)) return *variable;
  }
  return {.origin = definitions_.hasVariable(name) ? Origin::EarlierProgram : Origin::Unbound};
}

std::optional<lisp::LispValue> Index::valueOf(std::string_view name,
                                              const Variable& variable) const {
  switch (variable.origin) {
    case Origin::Unbound:
      return std::nullopt;
    case Origin::EarlierProgram:
      return definitions_.valueOf(name);
    case Origin::Local:
      return lisp::nil();
    case Origin::Assignment:
    case Origin::Parameter:
      break;
  }
  return valueOf(variable.value_step);
}

std::vector<std::string> Index::namesOf(CallNumber call, Position position) const {
  std::vector<NameNumber> numbers;
  if (call != 0) {
    const FunctionEntry& function = functions_[calls_[call].function];
    for (std::size_t n = 0; n < function.names.size(); ++n) {
      const auto place = function.places.find(function.names[n]);
      if (place != function.places.end() && place->second == n)
        numbers.push_back(function.names[n]);
    }
  }
  std::set<NameNumber> known(numbers.begin(), numbers.end());
  for (const Assignment& assignment : assignments_) {
    if (assignment.at > position) break;
    if (assignment.call == call && known.insert(assignment.name).second) {
      numbers.push_back(assignment.name);
    }
  }
  std::vector<std::string> names;
  for (const NameNumber number : numbers) names.push_back(names_[number]);
  if (call != 0) return names;
  for (std::string& name : definitions_.variableNames()) names.push_back(std::move(name));
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

bool Index::declares(CallNumber call, const std::set<NameNumber>& names) const {
  const auto& places = functions_[calls_[call].function].places;
  return std::any_of(names.begin(), names.end(),
                     [&places](NameNumber name) { return places.contains(name); });
}

std::vector<std::pair<Position, Variable>> Index::historyOf(std::string_view name) const {
  std::vector<std::pair<Position, Variable>> history;
  if (definitions_.hasVariable(name)) {
    history.emplace_back(1, Variable{.origin = Origin::EarlierProgram});
  }
  const auto number = numberOf(name);
  if (!number) return history;
  for (const Assignment& assignment : assignments_) {
    if (assignment.name != *number) continue;
    history.emplace_back(assignment.at, Variable{Origin::Assignment, assignment.step,
                                                 assignment.value_step, assignment.call});
  }
  for (CallNumber call = 1; call < calls_.size(); ++call) {
    const auto& places = functions_[calls_[call].function].places;
    const auto place = places.find(*number);
    if (place != places.end())
      history.emplace_back(calls_[call].begin, boundBy(call, place->second));
  }
  std::stable_sort(history.begin(), history.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  return history;
}

}  // namespace trace
