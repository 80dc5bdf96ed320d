// Evaluation as the language document tells it, in that order. literal_special_forms.cc and
// literal_builtins.cc have the forms and the functions.

#include "testing/reference/literal_interpreter.h"

#include <optional>
#include <utility>

#include "testing/reference/literal_reader.h"

namespace lisp_worker::testing_support {

LiteralOutcome LiteralInterpreter::makeValue(LiteralValue value) const {
  LiteralOutcome outcome;
  outcome.kind = LiteralOutcomeKind::Value;
  outcome.value = std::move(value);
  outcome.steps = steps_used_;
  return outcome;
}

LiteralOutcome LiteralInterpreter::makeError(LiteralOutcomeKind kind, std::string message) const {
  LiteralOutcome outcome;
  outcome.kind = kind;
  outcome.message = std::move(message);
  outcome.steps = steps_used_;
  return outcome;
}

LiteralOutcome LiteralInterpreter::evalError(std::string message) const {
  return makeError(LiteralOutcomeKind::EvalError, std::move(message));
}

bool LiteralInterpreter::charge(const LiteralValue& value) {
  copy_cost_ += literalCopyCost(value);
  return copy_cost_ <= limits_.copy_cost_max;
}

LiteralOutcome LiteralInterpreter::runProgram(std::string_view text) {
  steps_used_ = 0;
  replay_cursor_ = 0;

  std::string error;
  const std::optional<std::vector<LiteralValue>> forms = literalParseAll(text, &error);
  if (!forms.has_value()) return makeError(LiteralOutcomeKind::ReadError, error);

  LiteralEnvironment top_level;
  LiteralOutcome last = makeValue(literalNil());
  for (const LiteralValue& form : *forms) {
    last = evaluate(form, top_level, 0);
    if (last.kind != LiteralOutcomeKind::Value) return last;
  }
  if (transcript_ != nullptr && replay_cursor_ != transcript_->size()) {
    return evalError("LISP host replay transcript has unused answers");
  }
  last.steps = steps_used_;
  return last;
}

LiteralOutcome LiteralInterpreter::evaluate(const LiteralValue& form, LiteralEnvironment& local,
                                            std::uint32_t depth) {
  ++steps_used_;
  if (steps_used_ > limits_.steps_max) {
    return makeError(LiteralOutcomeKind::StepLimit, "LISP evaluation step limit exceeded");
  }
  if (depth > limits_.depth_max) return evalError("LISP evaluation depth exceeded");
  switch (form.kind) {
    case LiteralKind::Nil:
    case LiteralKind::Number:
    case LiteralKind::String:
      if (!charge(form)) return makeError(LiteralOutcomeKind::Abandoned, "");
      return makeValue(form);
    case LiteralKind::Symbol:
      return evaluateSymbol(form.text, local);
    case LiteralKind::List:
      return evaluateList(form.elements, local, depth + 1);
  }
  return evalError("invalid list");
}

LiteralOutcome LiteralInterpreter::evaluateSymbol(const std::string& name,
                                                  const LiteralEnvironment& local) {
  if (name == "T") return makeValue(literalTruth());
  const LiteralValue* bound = lookupVariable(name, local);
  if (bound == nullptr) return evalError("unbound symbol: " + name);
  if (!charge(*bound)) return makeError(LiteralOutcomeKind::Abandoned, "");
  return makeValue(*bound);
}

const LiteralValue* LiteralInterpreter::lookupVariable(const std::string& name,
                                                       const LiteralEnvironment& local) const {
  const auto in_local = local.find(name);
  if (in_local != local.end()) return &in_local->second;
  const auto in_globals = state_.globals.find(name);
  if (in_globals != state_.globals.end()) return &in_globals->second;
  return nullptr;
}

LiteralOutcome LiteralInterpreter::evaluateList(const Items& items, LiteralEnvironment& local,
                                                std::uint32_t depth) {
  if (items.empty()) return makeValue(literalNil());
  if (items[0].kind != LiteralKind::Symbol) {
    return evalError("first list item must be a function symbol");
  }
  const std::string& name = items[0].text;
  if (name == "QUOTE") return quote(items);
  if (name == "SETQ") return setq(items, local, depth);
  if (name == "IF") return ifForm(items, local, depth);
  if (name == "PROGN") return progn(items, local, depth);
  if (name == "WHILE") return whileForm(items, local, depth);
  if (name == "DEFUN") return defun(items);
  if (name == "AND") return andOr(true, items, local, depth);
  if (name == "OR") return andOr(false, items, local, depth);
  if (name == "NOT") return notNull(name, items, local, depth);
  if (name == "NULL") return notNull(name, items, local, depth);

  const auto found = state_.functions.find(name);
  if (found != state_.functions.end()) {
    // The call keeps this record to its end, even if the name is defined anew meanwhile.
    const std::shared_ptr<const LiteralFunction> function = found->second;
    return applyFunction(name, *function, items, local, depth);
  }
  return callBuiltin(name, items, local, depth);
}

LiteralOutcome LiteralInterpreter::applyFunction(const std::string& name,
                                                 const LiteralFunction& function,
                                                 const Items& items, LiteralEnvironment& local,
                                                 std::uint32_t depth) {
  if (items.size() - 1 != function.params.size()) {
    return evalError("wrong argument count for " + name);
  }
  for (const auto& [bound_name, value] : local) {
    if (!charge(value)) return makeError(LiteralOutcomeKind::Abandoned, "");
  }
  LiteralEnvironment callee = local;
  for (std::size_t i = 0; i < function.params.size(); ++i) {
    LiteralOutcome argument = evaluate(items[i + 1], local, depth);
    if (argument.kind != LiteralOutcomeKind::Value) return argument;
    callee[function.params[i]] = std::move(argument.value);
  }
  for (const std::string& local_name : function.locals) callee[local_name] = literalNil();

  LiteralOutcome last;
  for (const LiteralValue& form : function.body) {
    last = evaluate(form, callee, depth);
    if (last.kind != LiteralOutcomeKind::Value) return last;
  }
  return makeValue(std::move(last.value));
}

}  // namespace lisp_worker::testing_support
