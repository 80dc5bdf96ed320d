// Functions that a watched program has defined are observed, and may only be called with an
// observer; so the expression is observed too, by nobody.
//
// At each moment the expression is evaluated by itself, in an environment that has the functions of
// the run's end and the variables of that moment. It can look at no variable that is not named in
// it or in a function that it can reach, so these are all that must be found.

#include "trace/condition.h"

#include <algorithm>
#include <set>
#include <utility>

#include "explain/form.h"
#include "host/run.h"
#include "lisp/interpreter.h"
#include "lisp/observer.h"
#include "lisp/symbol.h"

namespace trace {
namespace {

constexpr lisp::EvalLimits kLimits = {.step_limit = Condition::kStepsMax};

// The names in a text and, once it is known which of them are functions, in what these call.
class NameCollector {
 public:
  explicit NameCollector(const Index& index) : index_(index) {
    for (std::uint32_t number = 0; number < index.programCount(); ++number) {
      collectDefinitions(number);
    }
  }

  void collectFrom(const std::vector<explain::Form>& forms) {
    collect(forms);
    while (!waiting_.empty()) {
      const explain::Form* const definition = waiting_.back();
      waiting_.pop_back();
      collect(definition->items);
    }
  }

  [[nodiscard]] const std::set<std::string>& names() const { return names_; }
  // The DEFUN forms of the functions that the run has defined, as text: only what the reader has
  // made can be evaluated.
  [[nodiscard]] const std::string& definitions() const { return definitions_; }

 private:
  // Of several definitions of a name the last one counts that the run has made.
  void collectDefinitions(std::uint32_t number) {
    const explain::ProgramPointer& program = index_.program(number);
    for (std::uint32_t form = 0; form < program->forms_by_number.size(); ++form) {
      const explain::Form& definition = *program->forms_by_number[form];
      if (definition.operatorName() != "DEFUN") continue;
      const Position step = index_.lastStepOf(program, form);
      if (step == 0 || index_.step(step).end == 0) continue;
      Definition& known = functions_[std::string(definition.items[1].name())];
      if (step > known.step) known = {step, &definition, program.get()};
    }
  }

  void collect(const std::vector<explain::Form>& forms) {
    for (const explain::Form& form : forms) {
      if (form.isSymbol()) addName(std::string(form.name()));
      collect(form.items);
    }
  }

  void addName(const std::string& name) {
    if (!names_.insert(name).second) return;
    const auto defined = functions_.find(name);
    if (defined != functions_.end()) {
      const auto& [step, form, program] = defined->second;
      definitions_ += program->source.text().substr(form->begin, form->end - form->begin);
      definitions_ += '\n';
      waiting_.push_back(form);
    } else if (const explain::Function* const kept = index_.definitions().findFunctionNamed(name)) {
      waiting_.push_back(kept->definition);
    }
  }

  struct Definition {
    Position step = 0;
    const explain::Form* form = nullptr;
    const explain::Program* program = nullptr;
  };

  const Index& index_;
  std::unordered_map<std::string, Definition> functions_;
  std::set<std::string> names_;
  std::string definitions_;
  std::vector<const explain::Form*> waiting_;  // Functions that have been named.
};

}  // namespace

Condition::Condition(const Index& index, std::string_view text) : index_(index) {
  const auto program = explain::readProgram("condition", std::string(text));
  if (program->reading.fault) {
    error_ = program->reading.fault->message;
    return;
  }
  forms_ = program->observed;
  NameCollector collector(index);
  collector.collectFrom(program->reading.forms);
  names_.assign(collector.names().begin(), collector.names().end());
  functions_ = index.definitions().environment();
  lisp::Interpreter interpreter(functions_, nullptr, nullptr);
  lisp::Observer nobody;
  interpreter.observe(&nobody);
  const auto made = explain::readProgram("functions", collector.definitions());
  host::StoredProgram definitions{{}, made->observed};
  static_cast<void>(host::run_program(interpreter, definitions, {}));
  interpreter.commit(functions_);
}

std::optional<lisp::LispValue> Condition::valueAt(Position position, Position now) {
  lisp::Environment environment = functions_;
  for (const std::string& name : names_) {
    const lisp::LispValue held = lisp::symbol(name);
    lisp::Symbol& symbol = lisp::symbolOf(held.raw());
    const auto value = index_.valueOf(name, index_.find(name, position, now));
    lisp::Binding binding = environment.find(symbol);
    if (!value && binding.value.tag() == lisp::Tag::Unbound) continue;
    binding.value = value ? value->raw() : lisp::RawValue::of(lisp::Tag::Unbound);
    environment.set(symbol, binding);
  }
  lisp::Interpreter interpreter(environment, nullptr, nullptr);
  lisp::Observer nobody;
  interpreter.observe(&nobody);
  host::StoredProgram program{{}, forms_};
  lisp::EvalOutcome outcome = host::run_program(interpreter, program, kLimits);
  steps_used_ += outcome.steps;
  if (outcome.kind == lisp::OutcomeKind::Value) return std::move(outcome.value);
  failure_ =
      outcome.kind == lisp::OutcomeKind::HostCallRequired ? "it asks the host" : outcome.message;
  return std::nullopt;
}

std::vector<Position> Condition::momentsOfChange() const {
  std::vector<Position> moments;
  std::set<NameNumber> numbers;
  for (const std::string& name : names_) {
    const auto number = index_.numberOf(name);
    if (number) numbers.insert(*number);
  }
  // A call that ends takes its own bindings with it, and one that begins may hide some.
  std::set<CallNumber> touched;
  for (const Assignment& assignment : index_.assignments()) {
    if (!numbers.contains(assignment.name)) continue;
    moments.push_back(assignment.at);
    if (assignment.call != 0) touched.insert(assignment.call);
  }
  const std::deque<Call>& calls = index_.calls();
  for (CallNumber call = 1; call < calls.size(); ++call) {
    const bool changes = touched.contains(call) || touched.contains(calls[call].caller) ||
                         index_.declares(call, numbers);
    if (!changes) continue;
    moments.push_back(calls[call].begin);
    if (calls[call].end != 0) moments.push_back(calls[call].end);
  }
  std::sort(moments.begin(), moments.end());
  moments.erase(std::unique(moments.begin(), moments.end()), moments.end());
  return moments;
}

std::optional<Position> Condition::firstTrue(Position from, std::size_t tries_max) {
  const auto is_true_at = [this](Position position) {
    const auto value = valueAt(position);
    return value && lisp::isTrue(*value);
  };
  if (is_true_at(from)) return from;
  const std::vector<Position> moments = momentsOfChange();
  auto moment = std::upper_bound(moments.begin(), moments.end(), from);
  const std::uint64_t steps_max = steps_used_ + kSearchStepsMax;
  for (; moment != moments.end() && tries_max > 0; ++moment, --tries_max) {
    if (is_true_at(*moment)) return *moment;
    if (steps_used_ > steps_max) {
      failure_ = "it costs too many steps to be evaluated again and again";
      return std::nullopt;
    }
  }
  return std::nullopt;
}

}  // namespace trace
