#include "explain/evaluation.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

#include "explain/call.h"
#include "explain/value_text.h"

namespace explain {

using lisp::LispValue;

namespace {

constexpr std::size_t kShownValueSize = 60;

// Bindings copied, compared and searched in one run before it is given up: about a second.
constexpr std::uint64_t kWorkMax = 100'000'000;

// The local variables of a call.
class Locals {
 public:
  struct Binding {
    LispValue symbol;
    LispValue value;
  };

  [[nodiscard]] LispValue* find(const LispValue& symbol) {
    for (Binding& binding : bindings_) {
      if (binding.symbol.raw().record == symbol.raw().record) return &binding.value;
    }
    return nullptr;
  }

  void bind(const LispValue& symbol, const LispValue& value) {
    if (LispValue* const known = find(symbol)) {
      *known = value;
    } else {
      bindings_.push_back({symbol, value});
    }
  }

  [[nodiscard]] std::size_t size() const { return bindings_.size(); }

 private:
  std::vector<Binding> bindings_;
};

std::string joined(const std::vector<std::string>& names, const char* separator) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : separator) + name;
  return text;
}

std::string counted(std::size_t count, const char* thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

class Evaluator {
 public:
  Evaluator(ProgramPointer program, Definitions definitions, std::span<AnsweredCall> answers,
            const geometry::CoordContext* context, const Limits& limits)
      : program_(std::move(program)),
        definitions_(std::move(definitions)),
        answers_(answers),
        context_(context),
        limits_(limits) {}

  Outcome run() {
    if (program_->reading.fault) {
      const ReadFault& fault = *program_->reading.fault;
      outcome_.kind = OutcomeKind::ReadError;
      outcome_.message = fault.message;
      outcome_.fault = {.program = program_,
                        .begin = fault.begin,
                        .end = fault.end,
                        .expected = fault.hint,
                        .advice = adviceForReading(fault.message)};
      return outcome_;
    }
    LispValue value;
    for (const Form& form : program_->reading.forms) {
      if (!evaluate(form, 0, value)) return finish();
    }
    if (next_answer_ != answers_.size()) {
      const Form* const last =
          program_->reading.forms.empty() ? nullptr : &program_->reading.forms.back();
      static const Form kNothing{};
      fail("LISP host replay transcript has unused answers", last == nullptr ? kNothing : *last,
           "the same host calls as in the evaluation before",
           "something that the calls depend on has changed outside: a coordinate system?");
      return finish();
    }
    outcome_.value = value;
    return finish();
  }

  Definitions takeDefinitions() { return std::move(definitions_); }

 private:
  struct Frame {
    FunctionPointer function;  // Null at the top level.
    ProgramPointer caller;     // Where the call stands.
    const Form* call = nullptr;
  };
  using StepKey = std::tuple<const Function*, const Program*, std::size_t>;

  static std::string adviceForReading(std::string_view message) {
    if (message == "unterminated list") return "close it with )";
    if (message == "unterminated string") return "end it with a double quote";
    if (message == "unexpected ')'") return "take it out, or open a list before it";
    if (message == "unexpected end of input") return "take the apostrophe out, or quote something";
    return "build the value step by step with LIST and CONS";
  }

  Outcome finish() {
    outcome_.steps = steps_;
    for (const auto& [key, count] : counts_) {
      const auto& [function, program, line] = key;
      StepCount row{.function = function == nullptr ? "" : function->name,
                    .program = programs_.at(program),
                    .line = line,
                    .count = count};
      outcome_.step_counts.push_back(std::move(row));
    }
    std::sort(outcome_.step_counts.begin(), outcome_.step_counts.end(),
              [](const StepCount& a, const StepCount& b) {
                return std::make_tuple(b.count, a.line) < std::make_tuple(a.count, b.line);
              });
    return std::move(outcome_);
  }

  [[nodiscard]] const ProgramPointer& currentProgram() const {
    return frames_.empty() ? program_ : frames_.back().function->program;
  }

  // --- Failing --------------------------------------------------------------------------------

  bool stop(OutcomeKind kind, std::string message, const Form& at, std::string expected,
            std::string advice) {
    outcome_.kind = kind;
    outcome_.message = std::move(message);
    outcome_.fault = faultAt(at);
    outcome_.fault.expected = std::move(expected);
    outcome_.fault.advice = std::move(advice);
    return false;
  }

  [[nodiscard]] Fault faultAt(const Form& at) const {
    Fault fault{.program = currentProgram(), .begin = at.begin, .end = at.end};
    for (std::size_t n = frames_.size(); n-- > 0;) {
      const Frame& frame = frames_[n];
      fault.calls.push_back(
          {frame.function->name, frame.caller, frame.call->begin, frame.call->end});
    }
    return fault;
  }

  bool fail(std::string message, const Form& at, std::string expected, std::string advice) {
    return stop(OutcomeKind::EvalError, std::move(message), at, std::move(expected),
                std::move(advice));
  }

  [[nodiscard]] std::string textOf(const Form& form) const {
    constexpr std::size_t kTextSizeMax = 40;
    std::string text(currentProgram()->source.text().substr(form.begin, form.end - form.begin));
    for (char& c : text) {
      if (c == '\n' || c == '\r' || c == '\t') c = ' ';
    }
    return text.size() <= kTextSizeMax ? text : text.substr(0, kTextSizeMax - 3) + "...";
  }

  // Notes what the arguments of the call that has failed have come to, unless it can be seen.
  void noteValues(const Form& call, std::span<const LispValue> arguments, Fault& fault) const {
    constexpr std::size_t kCountMax = 6;
    for (std::size_t n = 0; n < arguments.size() && n < kCountMax; ++n) {
      const Form& form = call.items[n + 1];
      const bool is_quoted = form.entry != nullptr && form.entry->name == "QUOTE";
      if (is_quoted || (!form.isSymbol() && !form.isList())) continue;
      fault.values.push_back({textOf(form), shorten(arguments[n], kShownValueSize)});
    }
  }

  bool work(std::uint64_t units) {
    work_ += units;
    return work_ <= kWorkMax;
  }

  bool giveUp(const Form& at) {
    return stop(OutcomeKind::GivenUp, "too much work to explain", at, "", "");
  }

  // --- Forms ----------------------------------------------------------------------------------

  bool evaluate(const Form& form, std::uint32_t depth, LispValue& value) {
    ++steps_;
    const Program* const program = currentProgram().get();
    const Function* const function = frames_.empty() ? nullptr : frames_.back().function.get();
    const StepKey key{function, program, form.line};
    if (last_count_ == nullptr || key != last_key_) {
      if (programs_.find(program) == programs_.end()) programs_[program] = currentProgram();
      if (function != nullptr) kept_functions_[function] = frames_.back().function;
      last_key_ = key;
      last_count_ = &counts_[key];
    }
    ++*last_count_;
    if (steps_ > limits_.steps_max) {
      return stop(OutcomeKind::StepLimit, "LISP evaluation step limit exceeded", form,
                  "an end within " + std::to_string(limits_.steps_max) + " steps",
                  "the table shows where they went: does the condition of that WHILE ever become "
                  "nil?");
    }
    if (depth > limits_.depth_max) {
      return fail("LISP evaluation depth exceeded", form,
                  "forms at most " + std::to_string(limits_.depth_max) + " deep inside each other",
                  "does the recursion end? A function that calls itself inside an IF takes two "
                  "levels each time: about 60 calls; a WHILE takes none");
    }
    switch (form.value.kind()) {
      case lisp::ValueKind::Symbol:
        return evaluateSymbol(form, value);
      case lisp::ValueKind::List:
        return evaluateList(form, depth + 1, value);
      default:
        value = form.value;
        return true;
    }
  }

  bool evaluateSymbol(const Form& form, LispValue& value) {
    if (form.name() == "T") {
      value = lisp::truth();
      return true;
    }
    if (!work(locals_->size() / 8 + 1)) return giveUp(form);
    if (const LispValue* const local = locals_->find(form.value)) {
      value = *local;
      return true;
    }
    if (const LispValue* const global = definitions_.findVariable(form.value)) {
      value = *global;
      return true;
    }
    return fail("unbound symbol: " + std::string(form.name()), form,
                "a variable that has been given a value", adviceForUnbound(form));
  }

  [[nodiscard]] std::string adviceForUnbound(const Form& form) const {
    const std::string name(form.name());
    if (definitions_.findFunction(form.value) != nullptr || findEntry(name) != nullptr) {
      return name + " is a function: call it, as in (" + name + " ...)";
    }
    std::vector<std::string> names = definitions_.variableNames();
    for (const LispValue& symbol : localNames()) names.emplace_back(*lisp::asText(symbol));
    const std::vector<std::string> near = similarNames(name, names);
    if (!near.empty()) return "did you mean " + joined(near, " or ") + "?";
    return "give it one before, with SETQ or as a parameter; if the name itself is meant, write '" +
           name;
  }

  [[nodiscard]] std::vector<LispValue> localNames() const {
    std::vector<LispValue> names;
    for (const Frame& frame : frames_) {
      names.insert(names.end(), frame.function->parameters.begin(),
                   frame.function->parameters.end());
      names.insert(names.end(), frame.function->locals.begin(), frame.function->locals.end());
    }
    return names;
  }

  bool evaluateList(const Form& form, std::uint32_t depth, LispValue& value) {
    if (form.items.empty()) {
      value = lisp::nil();
      return true;
    }
    if (!form.items.front().isSymbol()) {
      return fail("first list item must be a function symbol", form.items.front(),
                  "the name of a function in front of a list that is evaluated",
                  "if the list is data, quote it: '" + textOf(form));
    }
    if (form.entry != nullptr && form.entry->group == Group::SpecialForm) {
      return evaluateSpecialForm(form, depth, value);
    }
    if (const FunctionPointer function = definitions_.findFunction(form.items.front().value)) {
      return apply(function, form, depth, value);
    }
    if (form.entry != nullptr && form.entry->group == Group::HostCall) {
      return callHost(form, depth, value);
    }
    std::vector<LispValue> arguments;
    if (!evaluateArguments(form, depth, arguments)) {
      if (form.entry == nullptr) adviseOnForeignForm(form);
      return false;
    }
    if (form.entry == nullptr) return failUnknown(form);
    Refusal refusal;
    auto result = callBuiltin(form.entry->name, arguments, context_, refusal);
    if (result) {
      value = std::move(*result);
      return true;
    }
    const Form& at = refusal.argument ? form.items[*refusal.argument + 1] : form;
    fail(refusal.message, at, refusal.expected, refusal.advice);
    noteValues(form, arguments, outcome_.fault);
    return false;
  }

  // Something in the form has failed that would not have been evaluated where the form is known,
  // such as a clause of COND.
  void adviseOnForeignForm(const Form& form) {
    const ForeignName* const foreign = findForeignName(form.operatorName());
    Fault& fault = outcome_.fault;
    if (foreign == nullptr || !foreign->is_form || fault.calls.size() != frames_.size()) return;
    fault.advice = "it stands in a form that the language does not have, " +
                   std::string(foreign->name) + ": " + std::string(foreign->advice);
  }

  bool failUnknown(const Form& form) {
    const std::string name(form.operatorName());
    const ForeignName* const foreign = findForeignName(name);
    std::string advice(foreign == nullptr ? "" : foreign->advice);
    std::vector<std::string> names = definitions_.functionNames();
    for (const Entry& entry : entries()) names.emplace_back(entry.name);
    const std::vector<std::string> near = similarNames(name, names);
    if (advice.empty() && !near.empty()) advice = "did you mean " + joined(near, " or ") + "?";
    if (advice.empty()) {
      advice = "define it with DEFUN before this line, or load the library that does";
    }
    return fail("unsupported LISP function: " + name, form.items.front(),
                "a special form, a builtin or a function that has been defined", advice);
  }

  bool evaluateArguments(const Form& form, std::uint32_t depth, std::vector<LispValue>& arguments) {
    for (std::size_t n = 1; n < form.items.size(); ++n) {
      if (!evaluate(form.items[n], depth, arguments.emplace_back())) return false;
    }
    return true;
  }

  // --- Special forms --------------------------------------------------------------------------

  bool failForm(const Form& form, const char* message, const Form& at) {
    return fail(message, at, std::string(form.entry->form),
                "there are " + counted(form.items.size() - 1, "part") +
                    "; look where the parentheses close");
  }

  bool evaluateSpecialForm(const Form& form, std::uint32_t depth, LispValue& value) {
    const std::string_view name = form.entry->name;
    if (name == "IF") return evaluateIf(form, depth, value);
    if (name == "SETQ") return evaluateSetq(form, depth, value);
    if (name == "WHILE") return evaluateWhile(form, depth, value);
    if (name == "QUOTE") {
      if (form.items.size() != 2) return failForm(form, "quote expects one argument", form);
      value = form.items[1].value;
      return true;
    }
    if (name == "PROGN") {
      value = lisp::nil();
      return evaluateBody(form, 1, depth, value);
    }
    if (name == "DEFUN") return define(form, value);
    if (name == "AND" || name == "OR") {
      const bool is_and = name == "AND";
      value = is_and ? lisp::truth() : lisp::nil();
      for (std::size_t n = 1; n < form.items.size(); ++n) {
        if (!evaluate(form.items[n], depth, value)) return false;
        if (lisp::isTrue(value) != is_and) break;
      }
      return true;
    }
    if (form.items.size() != 2) {
      return failForm(
          form, name == "NOT" ? "NOT expects one argument" : "NULL expects one argument", form);
    }
    if (!evaluate(form.items[1], depth, value)) return false;
    value = lisp::isTrue(value) ? lisp::nil() : lisp::truth();
    return true;
  }

  bool evaluateBody(const Form& form, std::size_t first, std::uint32_t depth, LispValue& value) {
    for (std::size_t n = first; n < form.items.size(); ++n) {
      if (!evaluate(form.items[n], depth, value)) return false;
    }
    return true;
  }

  bool evaluateIf(const Form& form, std::uint32_t depth, LispValue& value) {
    const std::size_t count = form.items.size();
    if (count != 3 && count != 4) {
      fail("if expects condition, true and optional false expression", form,
           std::string(form.entry->form), "put several forms of one branch into a PROGN");
      return false;
    }
    if (!evaluate(form.items[1], depth, value)) return false;
    if (lisp::isTrue(value)) return evaluate(form.items[2], depth, value);
    if (count == 4) return evaluate(form.items[3], depth, value);
    value = lisp::nil();
    return true;
  }

  bool evaluateSetq(const Form& form, std::uint32_t depth, LispValue& value) {
    const std::size_t count = form.items.size();
    if (count < 3 || count % 2 == 0) {
      return failForm(form, "setq expects symbol/value pairs", form);
    }
    for (std::size_t n = 1; n < count; n += 2) {
      const Form& target = form.items[n];
      if (!target.isSymbol()) {
        return fail(
            "setq target must be a symbol", target, "the name of a variable",
            "names stand without quotes and apostrophes, and each is followed by its value");
      }
      if (!evaluate(form.items[n + 1], depth, value)) return false;
      if (LispValue* const local = locals_->find(target.value)) {
        *local = value;
      } else {
        definitions_.setVariable(target.value, value);
      }
    }
    return true;
  }

  bool evaluateWhile(const Form& form, std::uint32_t depth, LispValue& value) {
    if (form.items.size() < 2) return failForm(form, "while expects a condition", form);
    LispValue result;
    for (;;) {
      LispValue condition;
      if (!evaluate(form.items[1], depth, condition)) return false;
      if (!lisp::isTrue(condition)) break;
      if (!evaluateBody(form, 2, depth, result)) return false;
    }
    value = std::move(result);
    return true;
  }

  bool define(const Form& form, LispValue& value) {
    const std::vector<Form>& items = form.items;
    if (items.size() < 4 || !items[1].isSymbol() || !items[2].isList()) {
      const bool bad_name = items.size() >= 2 && !items[1].isSymbol();
      const bool bad_list = items.size() >= 3 && !bad_name && !items[2].isList();
      return fail("defun syntax error",
                  bad_name   ? items[1]
                  : bad_list ? items[2]
                             : form,
                  std::string(form.entry->form),
                  items.size() < 4 ? "a name, a parameter list, () for none, and a body are needed"
                                   : "the parameter list is a list of names, () for none");
    }
    auto function = std::make_shared<Function>();
    function->name = items[1].name();
    function->program = currentProgram();
    function->definition = &form;
    bool are_locals = false;
    for (const Form& item : items[2].items) {
      if (!item.isSymbol()) {
        return fail("defun parameter must be symbol", item, "the name of a parameter",
                    "parameters are names; give values when you call the function");
      }
      if (item.name() == "/") {
        are_locals = true;
      } else {
        (are_locals ? function->locals : function->parameters).push_back(item.value);
      }
    }
    definitions_.setFunction(items[1].value, std::move(function));
    value = items[1].value;
    return true;
  }

  // --- Calls ----------------------------------------------------------------------------------

  bool apply(const FunctionPointer& function, const Form& form, std::uint32_t depth,
             LispValue& value) {
    const std::size_t count = function->parameters.size();
    if (form.items.size() - 1 != count) {
      std::string call = "(" + function->name;
      for (const LispValue& parameter : function->parameters) {
        call += " " + std::string(*lisp::asText(parameter));
      }
      const Place place = function->program->source.placeOf(function->definition->begin);
      return fail("wrong argument count for " + function->name, form,
                  counted(count, "argument") + ": " + call + "); there are " +
                      std::to_string(form.items.size() - 1),
                  function->name + " is defined at " + function->program->source.name() + ":" +
                      std::to_string(place.line));
    }
    if (!work(locals_->size() + 1)) return giveUp(form);
    Locals locals = *locals_;
    for (std::size_t n = 0; n < count; ++n) {
      LispValue argument;
      if (!evaluate(form.items[n + 1], depth, argument)) return false;
      if (!work(locals.size() / 8 + 1)) return giveUp(form);
      locals.bind(function->parameters[n], argument);
    }
    for (const LispValue& local : function->locals) {
      if (!work(locals.size() / 8 + 1)) return giveUp(form);
      locals.bind(local, lisp::nil());
    }
    frames_.push_back({function, currentProgram(), &form});
    Locals* const callers = std::exchange(locals_, &locals);
    const bool is_done = evaluateBody(*function->definition, 3, depth, value);
    locals_ = callers;
    frames_.pop_back();
    return is_done;
  }

  bool callHost(const Form& form, std::uint32_t depth, LispValue& value) {
    std::vector<LispValue> arguments;
    if (!evaluateArguments(form, depth, arguments)) return false;
    const std::string name(form.operatorName());
    if (next_answer_ == answers_.size()) {
      return stop(OutcomeKind::HostCallRequired, "CAD host call required: " + name, form, "", "");
    }
    AnsweredCall& recorded = answers_[next_answer_];
    if (!recorded.arguments) recorded.arguments = arguments;
    bool is_same = recorded.name == name && recorded.arguments->size() == arguments.size();
    for (std::size_t n = 0; is_same && n < arguments.size(); ++n) {
      is_same = lisp::valuesEqual((*recorded.arguments)[n], arguments[n]);
    }
    if (!is_same) return failDivergence(form, recorded, arguments);
    if (!recorded.refusal.empty() && !recorded.fault) {
      recorded.fault = faultAt(form);
      noteValues(form, arguments, *recorded.fault);
    }
    value = recorded.answer;
    ++next_answer_;
    return true;
  }

  bool failDivergence(const Form& form, const AnsweredCall& recorded,
                      std::span<const LispValue> arguments) {
    std::string before = "(" + recorded.name;
    for (const LispValue& argument : *recorded.arguments) {
      before += " " + shorten(argument, kShownValueSize);
    }
    fail(
        "LISP host replay divergence at call " + std::to_string(next_answer_ + 1) + ": " +
            std::string(form.operatorName()),
        form, "the same call as in the evaluation before: " + before + ")",
        "what the call depends on has changed outside, such as a coordinate system, or an argument "
        "is NaN, which equals nothing");
    noteValues(form, arguments, outcome_.fault);
    return false;
  }

  ProgramPointer program_;
  Definitions definitions_;
  std::span<AnsweredCall> answers_;
  const geometry::CoordContext* context_;
  Limits limits_;
  std::size_t next_answer_ = 0;
  std::uint64_t steps_ = 0;
  std::uint64_t work_ = 0;
  Locals top_level_;
  Locals* locals_ = &top_level_;
  std::vector<Frame> frames_;
  std::map<StepKey, std::uint64_t> counts_;
  std::map<const Program*, ProgramPointer> programs_;
  std::map<const Function*, FunctionPointer> kept_functions_;
  StepKey last_key_;
  std::uint64_t* last_count_ = nullptr;
  Outcome outcome_;
};

}  // namespace

ProgramPointer readProgram(std::string name, std::string text) {
  Source source(std::move(name), std::move(text));
  Reading reading = readForms(source);
  return std::make_shared<const Program>(Program{std::move(source), std::move(reading)});
}

Outcome evaluate(const ProgramPointer& program, Definitions& definitions,
                 std::span<AnsweredCall> answers, const geometry::CoordContext* context,
                 const Limits& limits) {
  Evaluator evaluator(program, definitions, answers, context, limits);
  Outcome outcome = evaluator.run();
  if (outcome.kind == OutcomeKind::Value) definitions = evaluator.takeDefinitions();
  return outcome;
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
