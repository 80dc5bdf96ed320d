// The Witness is the observer of one run. It keeps a stack of the forms that are open and, for
// calls of builtins, the values of their arguments. At the first failure it stops listening, so the
// stack still shows the state of that moment when explain() asks for it. An example:
//
//   (DEFUN F (X) (+ X (CAR X)))
//   (F 5)
//
// As + fails, (F 5) and (+ X (CAR X)) are open, and 5 and nil are the values of the latter's
// operands.

#include "explain/evaluation.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

#include "explain/cause.h"
#include "explain/habits.h"
#include "explain/value_text.h"
#include "explain/watcher.h"
#include "geometry/builtins.h"
#include "host/builtins.h"
#include "host/run.h"
#include "lisp/builtin.h"
#include "lisp/observer.h"
#include "lisp/symbol.h"

namespace explain {

using lisp::LispValue;

namespace {

constexpr std::size_t kShownValueSize = 60;

// The operation that the name in front of a list has at the moment.
lisp::Operation operationOf(const Form& list) {
  return lisp::symbolOf(list.items.front().value.raw()).operation;
}

bool beginsWithName(const Form& form) { return !form.operatorName().empty(); }

// Sees one run of a program. It keeps the forms that have been entered and not left, and what the
// arguments of the calls among them have come to. It looks away as soon as a form fails, and so
// keeps the state of that moment.
class Witness : public lisp::Observer {
 public:
  // Calls without arguments on record get them, in `answers` and in `transcript`.
  Witness(ProgramPointer program, const Definitions& definitions, std::span<AnsweredCall> answers,
          lisp::HostTranscript& transcript, Watcher& watcher)
      : program_(std::move(program)),
        definitions_(definitions),
        answers_(answers),
        transcript_(transcript),
        watcher_(watcher) {}

  void entered(lisp::FormNumber number) override {
    watcher_.entered(currentProgram(), number);
    const Form& form = *currentProgram()->forms_by_number[number];
    if (!open_.empty() && isConditionOfLoop(form, *open_.back().form)) ++open_.back().round;
    open_.push_back({&form, values_.size()});
    count(form);
  }

  void left(lisp::FormNumber /*number*/, const lisp::RawValue* value) override {
    if (has_failed_ || value == nullptr) {
      has_failed_ = true;
      return;
    }
    const OpenForm left = open_.back();
    open_.pop_back();
    values_.resize(left.first_value);
    if (left.form->operatorName() == "DEFUN") noteDefinition(*left.form);
    const bool is_argument = !open_.empty() && open_.back().form->entry != nullptr &&
                             open_.back().form->entry->group != Group::SpecialForm;
    const LispValue shared = LispValue::share(*value);
    watcher_.left(shared);
    if (is_argument) values_.push_back(shared);
  }

  void assigned(const lisp::Symbol& variable, const lisp::RawValue* /*before*/,
                const lisp::RawValue& /*value*/) override {
    const bool is_global = variable.owner == lisp::kGlobalOwner;
    if (is_global) globals_.emplace(variable.bytes());
    watcher_.assigned(variable.bytes(), is_global);
  }

  void called(const lisp::UserFunction& function) override {
    const auto defined = functions_.find(&function);
    const Function& callee =
        defined != functions_.end() ? defined->second : *definitions_.findFunction(&function);
    watcher_.called(callee);
    calls_.push_back({callee, currentProgram(), open_.size()});
  }

  void returned() override {
    watcher_.returned();
    calls_.pop_back();
  }

  // The arguments of a recorded call are those with which the program first made it. The transcript
  // gets them too, so that the evaluator finds its own call equal.
  void hostCalled(std::string_view name, std::span<const LispValue> arguments) override {
    watcher_.hostCalled(name, arguments);
    if (next_answer_ == answers_.size() || answers_[next_answer_].arguments) return;
    answers_[next_answer_].arguments.emplace(arguments.begin(), arguments.end());
    transcript_[next_answer_].arguments = *answers_[next_answer_].arguments;
  }

  void hostAnswered(const lisp::HostTranscriptEntry& /*entry*/) override {
    AnsweredCall& call = answers_[next_answer_++];
    if (!call.place) call.place = placeOfCall();
    watcher_.hostAnswered(call);
    if (call.refusal.empty() || call.fault) return;
    const Form& form = *open_.back().form;
    call.fault = faultAt(form);
    noteValues(form, *call.fault);
  }

  [[nodiscard]] const std::set<std::string>& variables() const { return globals_; }
  [[nodiscard]] const FunctionTable& functions() const { return functions_; }

  // Where and why the run has stopped, with `message`.
  [[nodiscard]] FaultyForm explain(OutcomeKind kind, std::string_view message,
                                   const lisp::EvalLimits& limits) const {
    if (!has_failed_) return faultOfUnusedAnswers();
    const Form& form = *open_.back().form;
    const std::string text = textOf(form);
    const std::string recorded_call = recordedCall();
    const std::vector<std::string> variables = variableNames();
    const std::vector<std::string> functions = functionNames();
    const bool is_call = beginsWithName(form);
    const FailureCause cause =
        causeOf({.kind = kind,
                 .message = message,
                 .form = form,
                 .source = currentProgram()->source,
                 .form_text = text,
                 .is_unknown = is_call && operationOf(form) == lisp::Operation::Unknown,
                 .callee = is_call ? calleeOf(form) : nullptr,
                 .arguments = arguments(),
                 .recorded_call = recorded_call,
                 .variables = variables,
                 .functions = functions,
                 .limits = limits});
    FaultyForm fault = faultAt(*cause.at);
    fault.expected = cause.expected;
    fault.advice = cause.advice;
    if (cause.is_of_values) noteValues(form, fault);
    adviseOnForeignForm(fault);
    return fault;
  }

  [[nodiscard]] std::vector<StepCount> stepCounts() const {
    std::vector<StepCount> counts;
    for (const auto& [key, count] : counts_) counts.push_back(count);
    std::sort(counts.begin(), counts.end(), [](const StepCount& a, const StepCount& b) {
      return std::make_tuple(b.count, a.line) < std::make_tuple(a.count, b.line);
    });
    return counts;
  }

 private:
  struct OpenForm {
    const Form* form;
    std::size_t first_value;  // Of its arguments, in values_.
    std::uint64_t round = 0;  // Of a loop; 0 for other forms.
  };
  struct Call {
    Function function;
    ProgramPointer caller;   // Where the call stands.
    std::size_t open_count;  // Forms that were open as it began; the last is the call.
  };
  // The DEFUN of a function, the program, the line.
  using StepKey = std::tuple<const Form*, const Program*, std::size_t>;

  [[nodiscard]] const ProgramPointer& currentProgram() const {
    return calls_.empty() ? program_ : calls_.back().function.program;
  }

  static std::string nameOf(const Function& function) {
    return std::string(function.definition->items[1].name());
  }

  // The last line is remembered: most steps are on the line of the one before.
  void count(const Form& form) {
    const Form* const definition = calls_.empty() ? nullptr : calls_.back().function.definition;
    const StepKey key{definition, currentProgram().get(), form.line};
    if (last_count_ == nullptr || key != last_key_) {
      StepCount& count = counts_[key];
      if (count.program == nullptr) {
        count = {.function = definition == nullptr ? "" : nameOf(calls_.back().function),
                 .program = currentProgram(),
                 .line = form.line};
      }
      last_key_ = key;
      last_count_ = &count;
    }
    ++last_count_->count;
  }

  static bool isConditionOfLoop(const Form& form, const Form& around) {
    return around.items.size() > 1 && &form == &around.items[1] && around.operatorName() == "WHILE";
  }

  // The place of the host call that is open.
  [[nodiscard]] HostCallPlace placeOfCall() const {
    const Form& form = *open_.back().form;
    HostCallPlace place{.program = currentProgram(), .begin = form.begin, .end = form.end};
    std::size_t call = calls_.size();  // The innermost whose function may hold the form.
    for (std::size_t n = open_.size(); n-- > 0;) {
      while (call > 0 && n < calls_[call - 1].open_count) {
        const Form& site = *open_[calls_[--call].open_count - 1].form;
        if (place.calls.size() == kKeptWayMax) continue;
        place.calls.push_back(
            {nameOf(calls_[call].function), calls_[call].caller, site.begin, site.end});
      }
      if (open_[n].round == 0 || place.loops.size() == kKeptWayMax) continue;
      place.loops.push_back({call == 0 ? program_ : calls_[call - 1].function.program,
                             open_[n].form->line, open_[n].round});
    }
    return place;
  }

  // A special form keeps its name, and nothing is defined.
  void noteDefinition(const Form& form) {
    const lisp::UserFunction* const record = lisp::symbolOf(form.items[1].value.raw()).function;
    if (record != nullptr) functions_[record] = {currentProgram(), &form};
  }

  // --- What is known of a failure ---------------------------------------------------------------

  [[nodiscard]] std::span<const LispValue> arguments() const {
    return std::span(values_).subspan(open_.back().first_value);
  }

  [[nodiscard]] const Function* calleeOf(const Form& call) const {
    if (operationOf(call) != lisp::Operation::UserFunction) return nullptr;
    const lisp::UserFunction* const record =
        lisp::symbolOf(call.items.front().value.raw()).function;
    const auto defined = functions_.find(record);
    return defined != functions_.end() ? &defined->second : definitions_.findFunction(record);
  }

  [[nodiscard]] FaultyForm faultAt(const Form& at) const {
    FaultyForm fault{.program = currentProgram(), .begin = at.begin, .end = at.end};
    for (std::size_t n = calls_.size(); n-- > 0;) {
      const Form& call = *open_[calls_[n].open_count - 1].form;
      fault.calls.push_back({nameOf(calls_[n].function), calls_[n].caller, call.begin, call.end});
    }
    return fault;
  }

  [[nodiscard]] FaultyForm faultOfUnusedAnswers() const {
    static const Form kNothing{};
    const std::vector<Form>& forms = program_->reading.forms;
    FaultyForm fault = faultAt(forms.empty() ? kNothing : forms.back());
    fault.expected = "the same host calls as in the evaluation before";
    fault.advice = "something that the calls depend on has changed outside: a coordinate system?";
    return fault;
  }

  [[nodiscard]] std::string textOf(const Form& form) const {
    constexpr std::size_t kTextSizeMax = 40;
    std::string text(currentProgram()->source.text().substr(form.begin, form.end - form.begin));
    for (char& c : text) {
      if (c == '\n' || c == '\r' || c == '\t') c = ' ';
    }
    return text.size() <= kTextSizeMax ? text : text.substr(0, kTextSizeMax - 3) + "...";
  }

  // Notes the values of the arguments of the call, except those that can be seen in the text.
  void noteValues(const Form& call, FaultyForm& fault) const {
    constexpr std::size_t kCountMax = 6;
    const std::span<const LispValue> values = arguments();
    for (std::size_t n = 0; n < values.size() && n < kCountMax; ++n) {
      const Form& form = call.items[n + 1];
      const bool is_quoted = form.entry != nullptr && form.entry->name == "QUOTE";
      if (is_quoted || (!form.isSymbol() && !form.isList())) continue;
      fault.values.push_back({textOf(form), shorten(values[n], kShownValueSize)});
    }
  }

  [[nodiscard]] std::string recordedCall() const {
    if (next_answer_ == answers_.size()) return "";
    const AnsweredCall& recorded = answers_[next_answer_];
    std::string text = "(" + recorded.name;
    if (!recorded.arguments) return text + " ...)";
    for (const LispValue& argument : *recorded.arguments) {
      text += " " + shorten(argument, kShownValueSize);
    }
    return text + ")";
  }

  [[nodiscard]] std::vector<std::string> variableNames() const {
    std::vector<std::string> names = definitions_.variableNames();
    names.insert(names.end(), globals_.begin(), globals_.end());
    for (const Call& call : calls_) {
      for (const Form& local : call.function.definition->items[2].items) {
        if (local.name() != "/") names.emplace_back(local.name());
      }
    }
    return names;
  }

  [[nodiscard]] std::vector<std::string> functionNames() const {
    std::vector<std::string> names = definitions_.functionNames();
    for (const auto& [record, function] : functions_) names.push_back(nameOf(function));
    return names;
  }

  // Something may have failed that would not have been evaluated where the form around it is known,
  // such as a clause of COND.
  void adviseOnForeignForm(FaultyForm& fault) const {
    const std::size_t first = calls_.empty() ? 0 : calls_.back().open_count;
    for (std::size_t n = first; n + 1 < open_.size(); ++n) {
      const Form& form = *open_[n].form;
      if (operationOf(form) != lisp::Operation::Unknown) continue;
      std::string advice = adviceAround(form, currentProgram()->source);
      if (advice.empty()) continue;
      fault.advice = std::move(advice);
      return;
    }
  }

  ProgramPointer program_;
  const Definitions& definitions_;
  std::span<AnsweredCall> answers_;
  lisp::HostTranscript& transcript_;
  Watcher& watcher_;
  std::size_t next_answer_ = 0;
  bool has_failed_ = false;
  std::vector<OpenForm> open_;     // Outermost first.
  std::vector<LispValue> values_;  // Of the arguments of open calls.
  std::vector<Call> calls_;
  std::set<std::string> globals_;  // That the run has assigned.
  FunctionTable functions_;        // That it has defined.
  std::map<StepKey, StepCount> counts_;
  StepKey last_key_;
  StepCount* last_count_ = nullptr;
};

void installBuiltins() {
  lisp::installBuiltins(lisp::coreBuiltins());
  lisp::installBuiltins(host::host_builtins());
  lisp::installBuiltins(geometry::geometry_builtins());
}

Outcome outcomeOfReading(const ProgramPointer& program) {
  const ReadFault& fault = *program->reading.fault;
  Outcome outcome;
  outcome.kind = OutcomeKind::ReadError;
  outcome.message = fault.message;
  outcome.fault = {.program = program,
                   .begin = fault.begin,
                   .end = fault.end,
                   .expected = fault.hint,
                   .advice = fault.says_what_to_write ? "" : adviceForReading(fault.message)};
  return outcome;
}

void number(const std::vector<Form>& forms, std::vector<const Form*>& forms_by_number) {
  for (const Form& form : forms) {
    forms_by_number.push_back(&form);
    number(form.items, forms_by_number);
  }
}

}  // namespace

ProgramPointer readProgram(std::string name, std::string text) {
  installBuiltins();
  Source source(std::move(name), std::move(text));
  Reading reading = readForms(source);
  const auto program = std::make_shared<Program>(Program{std::move(source), std::move(reading)});
  if (program->reading.fault) return program;
  program->observed = lisp::observedProgram(program->reading.value);
  number(program->reading.forms, program->forms_by_number);
  return program;
}

Outcome evaluate(const ProgramPointer& program, Definitions& definitions,
                 std::span<AnsweredCall> answers, const geometry::CoordContext* context,
                 const lisp::EvalLimits& limits, Watcher* watcher) {
  if (program->reading.fault) return outcomeOfReading(program);
  Watcher nobody;
  if (watcher == nullptr) watcher = &nobody;
  watcher->began(program);
  lisp::HostTranscript transcript;
  for (const AnsweredCall& answer : answers) {
    transcript.push_back(
        {answer.name, answer.arguments.value_or(std::vector<LispValue>()), answer.answer});
  }
  Witness witness(program, definitions, answers, transcript, *watcher);
  lisp::Interpreter interpreter(definitions.environment(), context, &transcript);
  interpreter.observe(&witness);
  host::StoredProgram observed{{}, program->observed};
  const lisp::EvalOutcome result = host::run_program(interpreter, observed, limits);
  watcher->ended();
  Outcome outcome;
  outcome.kind = result.kind;
  outcome.value = result.value;
  outcome.message = result.message;
  outcome.steps = result.steps;
  outcome.step_counts = witness.stepCounts();
  if (result.kind == OutcomeKind::Value) {
    definitions.keep(interpreter, witness.variables(), witness.functions());
  } else {
    outcome.fault = witness.explain(result.kind, result.message, limits);
  }
  return outcome;
}

std::string refusalOf(std::string_view name, std::span<const LispValue> arguments) {
  installBuiltins();
  std::vector<LispValue> items = {lisp::symbol(name)};
  for (const LispValue& argument : arguments) {
    items.push_back(lisp::list({lisp::symbol("QUOTE"), argument}));
  }
  const lisp::Environment environment;
  lisp::Interpreter interpreter(environment, nullptr, nullptr);
  lisp::Observer nobody;
  interpreter.observe(&nobody);
  host::StoredProgram program{{}, lisp::observedProgram(lisp::list({lisp::list(items)}))};
  return host::run_program(interpreter, program, {}).message;
}

std::optional<Outcome> explainAnswer(const std::string& answer) {
  const ProgramPointer program = readProgram("the host's answer", answer);
  const Reading& reading = program->reading;
  if (!reading.fault && reading.forms.size() == 1) return std::nullopt;
  Outcome outcome;
  outcome.kind = OutcomeKind::ReadError;
  outcome.fault.program = program;
  if (reading.fault) {
    outcome.message = "host response parse error: " + reading.fault->message;
    outcome.fault.begin = reading.fault->begin;
    outcome.fault.end = reading.fault->end;
    outcome.fault.expected = reading.fault->hint;
  } else {
    outcome.message = "host response parse error: expected exactly one form";
    if (reading.forms.size() > 1) {
      outcome.fault.begin = reading.forms[1].begin;
      outcome.fault.end = reading.forms[1].end;
    }
    outcome.fault.expected = "one datum: a point is one list, (10 20 0)";
  }
  outcome.fault.advice = "an answer is written as the language writes values";
  return outcome;
}

}  // namespace explain
