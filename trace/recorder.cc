#include "trace/recorder.h"

#include "explain/form.h"
#include "explain/value_text.h"
#include "lisp/printer.h"
#include "lisp/storage.h"

namespace trace {

Recorder::Recorder(const explain::Definitions& definitions, std::size_t value_bytes_max)
    : definitions_(definitions), value_bytes_max_(value_bytes_max) {}

// Programs and functions are asked for with every step, mostly for the one of the step before.
std::uint32_t Recorder::numberOf(const explain::ProgramPointer& program) {
  if (program.get() == state_.program) return state_.program_number;
  const auto count = static_cast<std::uint32_t>(state_.index.programs_.size());
  const auto [entry, is_new] = state_.program_numbers.try_emplace(program.get(), count);
  if (is_new) {
    state_.index.programs_.push_back(
        {program, std::vector<Position>(program->forms_by_number.size())});
  }
  state_.program = program.get();
  state_.program_number = entry->second;
  return state_.program_number;
}

std::uint32_t Recorder::numberOf(const explain::Function& function) {
  const auto count = static_cast<std::uint32_t>(state_.index.functions_.size());
  const auto [entry, is_new] = state_.function_numbers.try_emplace(function.definition, count);
  if (!is_new) return entry->second;
  Index::FunctionEntry made{.function = function, .names = {}, .places = {}};
  bool is_parameter = true;
  for (const explain::Form& item : function.definition->items[2].items) {
    if (item.name() == "/") {
      is_parameter = false;
      continue;
    }
    made.names.push_back(numberOf(item.name()));
    if (is_parameter) ++made.parameter_count;
  }
  for (std::size_t n = 0; n < made.names.size(); ++n) {
    if (state_.index.names_[made.names[n]] != "T") made.places[made.names[n]] = n;
  }
  state_.index.functions_.push_back(std::move(made));
  return count;
}

NameNumber Recorder::numberOf(std::string_view name) {
  const auto known = state_.index.name_numbers_.find(name);
  if (known != state_.index.name_numbers_.end()) return known->second;
  const auto number = static_cast<NameNumber>(state_.index.names_.size());
  state_.index.names_.emplace_back(name);
  state_.index.name_numbers_.emplace(name, number);
  return number;
}

std::uint32_t Recorder::keep(const lisp::LispValue& value) {
  const bool has_memory =
      value.kind() == lisp::ValueKind::List || value.kind() == lisp::ValueKind::String;
  if (has_memory && lisp::storage::liveBytes() > state_.bytes_max) return Index::kLostValue;
  state_.index.values_.push_back(value);
  return static_cast<std::uint32_t>(state_.index.values_.size() - 1) + Index::kFirstValue;
}

void Recorder::began(const explain::ProgramPointer& program) {
  state_ = State();
  state_.index.definitions_ = definitions_;
  state_.bytes_max = lisp::storage::liveBytes() + value_bytes_max_;
  static_cast<void>(numberOf(program));
}

void Recorder::entered(const explain::ProgramPointer& program, std::size_t number) {
  const Position position = next();
  const std::uint32_t program_number = numberOf(program);
  Position& last = state_.index.programs_[program_number].last_steps[number];
  state_.index.steps_.push_back({.program = program_number,
                                 .form = static_cast<std::uint32_t>(number),
                                 .around = state_.open.empty() ? 0 : state_.open.back(),
                                 .call = state_.call,
                                 .before = last});
  last = position;
  state_.open.push_back(position);
}

void Recorder::left(const lisp::LispValue& value) {
  state_.left_last = state_.open.back();
  state_.open.pop_back();
  Step& step = state_.index.steps_[state_.left_last - 1];
  step.end = next();
  step.value = keep(value);
}

void Recorder::assigned(std::string_view name, bool is_global) {
  const NameNumber number = numberOf(name);
  const CallNumber call = is_global ? 0 : state_.call;
  state_.index.assignments_.push_back({.at = next(),
                                       .step = state_.open.back(),
                                       .value_step = state_.left_last,
                                       .name = number,
                                       .call = call});
}

void Recorder::called(const explain::Function& function) {
  const std::uint32_t number = numberOf(function);
  state_.index.calls_.push_back(
      {.site = state_.open.back(), .caller = state_.call, .begin = next(), .function = number});
  state_.call = static_cast<CallNumber>(state_.index.calls_.size() - 1);
}

void Recorder::returned() {
  Call& call = state_.index.calls_[state_.call];
  call.end = next();
  state_.call = call.caller;
}

void Recorder::hostCalled(std::string_view name, std::span<const lisp::LispValue> /*arguments*/) {
  state_.index.host_calls_.push_back(
      {.step = state_.open.back(), .at = next(), .name = std::string(name)});
}

void Recorder::hostAnswered(const explain::AnsweredCall& call) {
  HostCall& made = state_.index.host_calls_.back();
  made.is_answered = true;
  made.refusal = call.refusal;
}

void Recorder::ended() {
  state_.index.last_call_ = state_.call;
  state_.index.sortAssignments();
}

std::string differenceFrom(const explain::Outcome& outcome, bool has_value, std::string_view text,
                           std::uint64_t steps) {
  std::string own = outcome.message;
  if (outcome.kind == explain::OutcomeKind::Value) {
    own.clear();
    static_cast<void>(lisp::appendValue(outcome.value, text.size() + 1, own));
  }
  if ((outcome.kind == explain::OutcomeKind::Value) == has_value && own == text &&
      outcome.steps == steps) {
    return "";
  }
  constexpr std::size_t kShownSize = 60;
  return "the worker came to \"" + std::string(text.substr(0, kShownSize)) + "\" after " +
         explain::counted(steps, "step") + ", this run to \"" + own.substr(0, kShownSize) +
         "\" after " + explain::counted(outcome.steps, "step");
}

}  // namespace trace
