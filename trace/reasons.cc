// A form that was not evaluated is part of one that was. The kind of that one decides: a condition
// has gone the other way, or the run has ended inside it. A form in the body of a function was not
// evaluated because nobody called it, and so its calls are asked the same.

#include "trace/reasons.h"

#include <algorithm>
#include <set>

#include "explain/form.h"

namespace trace {
namespace {

using explain::Form;

bool isSpecialForm(const Form& form) {
  return form.entry != nullptr && form.entry->group == explain::Group::SpecialForm;
}

// The call that the step makes; 0 if it makes none.
CallNumber callMadeBy(const Index& index, Position step) {
  const std::deque<Call>& calls = index.calls();
  // Calls are in the order of their bodies; those of the arguments come first.
  auto call =
      std::upper_bound(calls.begin() + 1, calls.end(), step,
                       [](Position position, const Call& each) { return position < each.begin; });
  for (; call != calls.end() && call->begin <= index.over(step); ++call) {
    if (call->site == step) return static_cast<CallNumber>(call - calls.begin());
  }
  return 0;
}

// The last form of the call's body that was evaluated; 0 if there is none.
Position lastOfBody(const Index& index, CallNumber call) {
  Position last = 0;
  const Call& made = index.calls()[call];
  for (Position part = made.begin; part != 0 && part < index.end();) {
    const Step& step = index.step(part);
    if (step.around != made.site || step.call != call) break;
    last = part;
    part = step.end;
  }
  return last;
}

// The step that the value of `step` has been taken over from; 0 if it was made there.
Position cameFrom(const Index& index, Position step) {
  const Form& form = index.formOf(step);
  if (form.isSymbol()) return index.find(form.name(), step).value_step;
  if (!form.isList() || form.items.empty()) return 0;
  if (!isSpecialForm(form)) {
    const CallNumber call = callMadeBy(index, step);
    return call == 0 ? 0 : lastOfBody(index, call);
  }
  const std::vector<Position> parts = index.partsOf(step);
  const std::string_view name = form.operatorName();
  if (name == "IF") return parts.size() < 2 ? 0 : parts.back();
  if (name == "WHILE") {  // The last part is the condition that has ended it.
    return parts.size() < 3 || form.items.size() < 3 ? 0 : parts[parts.size() - 2];
  }
  const bool hands_on = name == "PROGN" || name == "AND" || name == "OR" || name == "SETQ";
  return !hands_on || parts.empty() ? 0 : parts.back();
}

// For each form the number of the one around it; its own for one at the top level.
std::vector<std::uint32_t> formsAround(const explain::Program& program) {
  std::vector<std::uint32_t> around(program.forms_by_number.size());
  std::vector<std::pair<std::uint32_t, std::size_t>> open;  // With what is left of their items.
  for (std::uint32_t number = 0; number < around.size(); ++number) {
    while (!open.empty() && open.back().second == 0) open.pop_back();
    around[number] = open.empty() ? number : open.back().first;
    if (!open.empty()) --open.back().second;
    open.emplace_back(number, program.forms_by_number[number]->items.size());
  }
  return around;
}

// The step at which the run has stopped; 0 if it has come to a value.
Position stoppedAt(const Index& index) {
  for (Position step = index.stepCount(); step > 0; --step) {
    if (index.step(step).end == 0) return step;
  }
  return 0;
}

// Looks for what has kept one form of a program from being evaluated.
class Search {
 public:
  Search(const Index& index, explain::ProgramPointer program)
      : index_(index), program_(std::move(program)), around_(formsAround(*program_)) {}

  std::vector<Obstacle> findFrom(std::uint32_t form) {
    while (!isEvaluated(form)) {
      const auto call = climb(form);
      if (!call) break;
      form = *call;
    }
    return std::move(obstacles_);
  }

 private:
  [[nodiscard]] bool isEvaluated(std::uint32_t form) const {
    return index_.lastStepOf(program_, form) != 0;
  }
  [[nodiscard]] const Form& formAt(std::uint32_t number) const {
    return *program_->forms_by_number[number];
  }

  void add(Obstacle::Kind kind, const Form* form, Position step = 0, std::size_t times = 0) {
    obstacles_.push_back({kind, form, step, times});
  }
  void addNotReached() {
    const Position step = stoppedAt(index_);
    add(Obstacle::Kind::NotReached, step == 0 ? nullptr : &index_.formOf(step), step);
  }

  // Adds the obstacle between the form and the one around it that was evaluated. When that is a
  // DEFUN, returns the number of a call of the function that was not evaluated either.
  std::optional<std::uint32_t> climb(std::uint32_t form) {
    std::uint32_t part = form;
    while (around_[part] != part && !isEvaluated(around_[part])) part = around_[part];
    if (around_[part] == part) {
      addNotReached();
      return std::nullopt;
    }
    const std::uint32_t outer = around_[part];
    if (formAt(outer).operatorName() == "DEFUN") return neverCalled(outer, part);
    addBetween(outer, formAt(part));
    return std::nullopt;
  }

  std::optional<std::uint32_t> neverCalled(std::uint32_t definition, std::uint32_t part) {
    const Form& form = formAt(definition);
    if (form.items.size() < 4 || &formAt(part) < &form.items[3]) {
      add(Obstacle::Kind::NotEvaluated, &form, index_.lastStepOf(program_, definition));
      return std::nullopt;
    }
    if (!seen_.insert(definition).second) return std::nullopt;
    add(Obstacle::Kind::NeverCalled, &form, index_.lastStepOf(program_, definition));
    for (std::uint32_t number = 0; number < around_.size(); ++number) {
      const Form& call = formAt(number);
      const bool is_call = call.operatorName() == form.items[1].name() && !isQuoted(number);
      if (is_call && !isInside(number, definition)) return number;
    }
    return std::nullopt;
  }

  [[nodiscard]] bool isInside(std::uint32_t form, std::uint32_t outer) const {
    while (form != outer && around_[form] != form) form = around_[form];
    return form == outer;
  }
  [[nodiscard]] bool isQuoted(std::uint32_t form) const {
    for (; around_[form] != form; form = around_[form]) {
      if (formAt(around_[form]).operatorName() == "QUOTE") return true;
    }
    return false;
  }

  // `outer` was evaluated, its part was not.
  void addBetween(std::uint32_t outer, const Form& part) {
    const Form& form = formAt(outer);
    const Position last = index_.lastStepOf(program_, outer);
    const std::string_view name = isSpecialForm(form) ? form.operatorName() : std::string_view();
    const auto place = static_cast<std::size_t>(&part - form.items.data());
    if (name == "QUOTE") {
      add(Obstacle::Kind::Data, &form, last);
    } else if (place == 0 || (name == "SETQ" && place % 2 == 1)) {
      add(Obstacle::Kind::NotEvaluated, &form, last);
    } else if (!addCondition(name, last)) {
      addNotReached();
    }
  }

  // Counts how often the form has gone another way by itself, and adds the part that has decided it
  // the last time. False if it never has.
  bool addCondition(std::string_view name, Position last) {
    if (name != "IF" && name != "WHILE" && name != "AND" && name != "OR") return false;
    std::size_t times = 0;
    Position decided_by = 0;
    for (Position step = last; step != 0; step = index_.step(step).before) {
      if (index_.step(step).end == 0) continue;
      const std::vector<Position> parts = index_.partsOf(step);
      if (parts.empty()) continue;
      if (decided_by == 0) decided_by = name == "IF" ? parts.front() : parts.back();
      ++times;
    }
    if (times == 0) return false;
    add(Obstacle::Kind::Condition, &index_.formOf(decided_by), decided_by, times);
    return true;
  }

  const Index& index_;
  const explain::ProgramPointer program_;
  const std::vector<std::uint32_t> around_;
  std::set<std::uint32_t> seen_;  // Definitions of functions that are never called.
  std::vector<Obstacle> obstacles_;
};

}  // namespace

std::vector<Position> originOf(const Index& index, Position step) {
  std::vector<Position> way;
  for (; step != 0 && way.size() < kWayMax; step = cameFrom(index, step)) way.push_back(step);
  return way;
}

std::vector<Obstacle> whyNot(const Index& index, const explain::ProgramPointer& program,
                             std::uint32_t form) {
  return Search(index, program).findFrom(form);
}

}  // namespace trace
