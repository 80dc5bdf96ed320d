// The special forms. `items` is the whole form, the operator's symbol first; `depth` is the level
// at which every sub-form is evaluated.

#include <memory>
#include <utility>

#include "testing/reference/literal_interpreter.h"

namespace lisp_worker::testing_support {

LiteralOutcome LiteralInterpreter::quote(const Items& items) {
  if (items.size() != 2) return evalError("quote expects one argument");
  if (!charge(items[1])) return makeError(LiteralOutcomeKind::Abandoned, "");
  return makeValue(items[1]);
}

LiteralOutcome LiteralInterpreter::setq(const Items& items, LiteralEnvironment& local,
                                        std::uint32_t depth) {
  if (items.size() % 2 == 0 || items.size() < 3) {
    return evalError("setq expects symbol/value pairs");
  }
  LiteralOutcome last;
  for (std::size_t i = 1; i < items.size(); i += 2) {
    const LiteralValue& target = items[i];
    if (target.kind != LiteralKind::Symbol) return evalError("setq target must be a symbol");
    last = evaluate(items[i + 1], local, depth);
    if (last.kind != LiteralOutcomeKind::Value) return last;
    if (local.count(target.text) != 0) {
      local[target.text] = last.value;
    } else {
      state_.globals[target.text] = last.value;
    }
  }
  return makeValue(std::move(last.value));
}

LiteralOutcome LiteralInterpreter::ifForm(const Items& items, LiteralEnvironment& local,
                                          std::uint32_t depth) {
  if (items.size() != 3 && items.size() != 4) {
    return evalError("if expects condition, true and optional false expression");
  }
  LiteralOutcome condition = evaluate(items[1], local, depth);
  if (condition.kind != LiteralOutcomeKind::Value) return condition;
  if (literalIsTrue(condition.value)) return evaluate(items[2], local, depth);
  if (items.size() == 4) return evaluate(items[3], local, depth);
  return makeValue(literalNil());
}

LiteralOutcome LiteralInterpreter::progn(const Items& items, LiteralEnvironment& local,
                                         std::uint32_t depth) {
  LiteralOutcome last;
  for (std::size_t i = 1; i < items.size(); ++i) {
    last = evaluate(items[i], local, depth);
    if (last.kind != LiteralOutcomeKind::Value) return last;
  }
  return makeValue(std::move(last.value));
}

LiteralOutcome LiteralInterpreter::whileForm(const Items& items, LiteralEnvironment& local,
                                             std::uint32_t depth) {
  if (items.size() < 2) return evalError("while expects a condition");
  LiteralValue body_result = literalNil();
  while (true) {
    LiteralOutcome condition = evaluate(items[1], local, depth);
    if (condition.kind != LiteralOutcomeKind::Value) return condition;
    if (!literalIsTrue(condition.value)) return makeValue(std::move(body_result));
    for (std::size_t i = 2; i < items.size(); ++i) {
      LiteralOutcome body = evaluate(items[i], local, depth);
      if (body.kind != LiteralOutcomeKind::Value) return body;
      body_result = std::move(body.value);
    }
  }
}

LiteralOutcome LiteralInterpreter::defun(const Items& items) {
  if (items.size() < 4) return evalError("defun syntax error");
  const LiteralValue& name = items[1];
  const LiteralValue& parameter_list = items[2];
  if (name.kind != LiteralKind::Symbol || parameter_list.kind != LiteralKind::List) {
    return evalError("defun syntax error");
  }
  LiteralFunction function;
  bool past_slash = false;
  for (const LiteralValue& parameter : parameter_list.elements) {
    if (parameter.kind != LiteralKind::Symbol) {
      return evalError("defun parameter must be symbol");
    }
    if (parameter.text == "/") {
      past_slash = true;
    } else if (past_slash) {
      function.locals.push_back(parameter.text);
    } else {
      function.params.push_back(parameter.text);
    }
  }
  for (std::size_t i = 3; i < items.size(); ++i) {
    if (!charge(items[i])) return makeError(LiteralOutcomeKind::Abandoned, "");
    function.body.push_back(items[i]);
  }
  state_.functions[name.text] = std::make_shared<const LiteralFunction>(std::move(function));
  return makeValue(name);
}

LiteralOutcome LiteralInterpreter::andOr(bool is_and, const Items& items, LiteralEnvironment& local,
                                         std::uint32_t depth) {
  LiteralValue result = is_and ? literalTruth() : literalNil();
  for (std::size_t i = 1; i < items.size(); ++i) {
    LiteralOutcome outcome = evaluate(items[i], local, depth);
    if (outcome.kind != LiteralOutcomeKind::Value) return outcome;
    result = std::move(outcome.value);
    if (is_and && !literalIsTrue(result)) break;
    if (!is_and && literalIsTrue(result)) break;
  }
  return makeValue(std::move(result));
}

LiteralOutcome LiteralInterpreter::notNull(const std::string& name, const Items& items,
                                           LiteralEnvironment& local, std::uint32_t depth) {
  if (items.size() != 2) return evalError(name + " expects one argument");
  LiteralOutcome outcome = evaluate(items[1], local, depth);
  if (outcome.kind != LiteralOutcomeKind::Value) return outcome;
  return makeValue(literalIsTrue(outcome.value) ? literalNil() : literalTruth());
}

}  // namespace lisp_worker::testing_support
