// From the worker's message and the values at hand to what a person can do about it. causeOf
// decides by the kind of failure first (limits, host calls), then by the form that has failed: a
// name without a value, a list without a function's name, an unknown function, a user function, a
// special form, a builtin. Habits from other languages (explain/habits.h) are asked wherever a name
// is not known.
//
// Nothing is evaluated here. A builtin's message does not say which argument it refused; the first
// one that is not of the kind in the reference (explain/reference.h) is.

#include "explain/cause.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "explain/habits.h"
#include "explain/reference.h"
#include "explain/value_text.h"
#include "geometry/builtins.h"
#include "lisp/reader.h"

namespace explain {
namespace {

std::string joined(const std::vector<std::string>& names, const char* separator) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : separator) + name;
  return text;
}

bool contains(std::span<const std::string> names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

FailureCause causeOfLimits(const Failure& failure) {
  if (failure.kind == lisp::OutcomeKind::StepLimit) {
    return {&failure.form, "an end within " + std::to_string(failure.limits.step_limit) + " steps",
            "the table shows where they went: does the condition of that WHILE ever become nil?"};
  }
  return {&failure.form,
          "forms at most " + std::to_string(failure.limits.depth_limit) + " deep inside each other",
          "does the recursion end? A function that calls itself inside an IF takes two levels each "
          "time: about 60 calls; a WHILE takes none"};
}

FailureCause causeOfUnbound(const Failure& failure) {
  const std::string name(failure.form.name());
  FailureCause cause{&failure.form, "a variable that has been given a value", ""};
  const std::vector<std::string> near = similarNames(name, failure.variables);
  if (std::string habit = adviceOnHabit(failure.form, failure.source); !habit.empty()) {
    cause.advice = std::move(habit);
  } else if (contains(failure.functions, name) || findEntry(name) != nullptr) {
    cause.advice = name + " is a function: call it, as in (" + name + " ...)";
  } else if (!near.empty()) {
    cause.advice = "did you mean " + joined(near, " or ") + "?";
  } else {
    cause.advice =
        "give it one before, with SETQ or as a parameter; if the name itself is meant, write '" +
        name;
  }
  return cause;
}

FailureCause causeOfUnknown(const Failure& failure) {
  const std::string_view name = failure.form.operatorName();
  FailureCause cause{&failure.form.items.front(),
                     "a special form, a builtin or a function that has been defined",
                     "define it with DEFUN before this line, or load the library that does"};
  std::vector<std::string> names(failure.functions.begin(), failure.functions.end());
  for (const Entry& entry : entries()) names.emplace_back(entry.name);
  if (std::string habit = adviceOnHabit(failure.form, failure.source); !habit.empty()) {
    cause.advice = std::move(habit);
  } else if (const auto near = similarNames(name, names); !near.empty()) {
    cause.advice = "did you mean " + joined(near, " or ") + "?";
  }
  return cause;
}

FailureCause causeOfArity(const Form& call, const Function& callee) {
  const Form& definition = *callee.definition;
  const std::string name(definition.items[1].name());
  std::string pattern = "(" + name;
  std::size_t count = 0;
  for (const Form& parameter : definition.items[2].items) {
    if (parameter.name() == "/") break;
    pattern += " " + std::string(parameter.name());
    ++count;
  }
  const Source& source = callee.program->source;
  return {&call,
          counted(count, "argument") + ": " + pattern + "); there are " +
              std::to_string(call.items.size() - 1),
          name + " is defined at " + source.name() + ":" +
              std::to_string(source.lineOf(definition.begin))};
}

FailureCause causeInDefun(const Form& form, const std::string& syntax) {
  const std::vector<Form>& items = form.items;
  if (items.size() > 1 && !items[1].isSymbol()) {
    return {&items[1], syntax, "a function has a name"};
  }
  if (items.size() > 2 && !items[2].isList()) {
    return {&items[2], syntax, "the parameter list is a list of names, () for none"};
  }
  if (items.size() < 4) {
    return {&form, syntax, "a name, a parameter list, () for none, and a body are needed"};
  }
  const auto item = std::find_if(items[2].items.begin(), items[2].items.end(),
                                 [](const Form& parameter) { return !parameter.isSymbol(); });
  return {item == items[2].items.end() ? &form : &*item, "the name of a parameter",
          "parameters are names; give values when you call the function"};
}

// A mistake in a special form can be seen in its text.
FailureCause causeInSpecialForm(const Form& form, const Source& source) {
  const std::string syntax(form.entry->form);
  if (std::string habit = adviceOnHabit(form, source); !habit.empty()) {
    return {&form, syntax, std::move(habit)};
  }
  if (form.entry->name == "DEFUN") return causeInDefun(form, syntax);
  if (form.entry->name == "IF") {
    return {&form, syntax, "put several forms of one branch into a PROGN"};
  }
  if (form.entry->name == "SETQ" && form.items.size() % 2 == 1) {
    for (std::size_t n = 1; n < form.items.size(); n += 2) {
      if (form.items[n].isSymbol()) continue;
      return {&form.items[n], "the name of a variable",
              "names stand without quotes and apostrophes, and each is followed by its value"};
    }
  }
  return {
      &form, syntax,
      "there are " + counted(form.items.size() - 1, "part") + "; look where the parentheses close"};
}

FailureCause causeInCount(const Failure& failure, const Entry& entry) {
  std::string takes = counted(entry.count_min, "argument");
  if (entry.count_max == kAnyCount) {
    takes = "at least " + takes;
  } else if (entry.count_max != entry.count_min) {
    takes = std::to_string(entry.count_min) + " or " + counted(entry.count_max, "argument");
  }
  const std::string name(entry.name);
  return {&failure.form,
          takes + ", as in " + std::string(entry.form) + "; there are " +
              std::to_string(failure.arguments.size()),
          failure.arguments.empty() && entry.count_max == kAnyCount
              ? "give " + name + " an argument"
              : "count what stands between the parentheses of " + name,
          true};
}

FailureCause causeInTrans(const Failure& failure) {
  if (failure.message.ends_with("singular")) {
    const std::size_t target = geometry::read_system_code(failure.arguments[2]).value_or(0);
    return {&failure.form, "a system that can be converted into, and finite coordinates",
            "system " + std::to_string(target) +
                " has axes on one line or a z scale of 0, or a coordinate is infinite",
            true};
  }
  return {&failure.form, "a program that runs under a coordinate context",
          "the host registers one; a library runs without", true};
}

// The first argument that is not of the kind that the builtin asks for is to blame.
FailureCause causeInBuiltin(const Failure& failure, const Entry& entry) {
  const std::size_t count = failure.arguments.size();
  if (count < entry.count_min || count > entry.count_max) return causeInCount(failure, entry);
  const bool lacks_context = failure.message.ends_with("registered context");
  for (std::size_t n = 0; n < count && !lacks_context; ++n) {
    const Kind kind = entry.kindAt(n);
    const lisp::LispValue& value = failure.arguments[n];
    if (fits(kind, value)) continue;
    return {&failure.form.items[n + 1], expectationOf(kind, value),
            adviceFor(kind, value, entry.name), true};
  }
  return causeInTrans(failure);
}

}  // namespace

FailureCause causeOf(const Failure& failure) {
  const Form& form = failure.form;
  const bool is_limit = failure.kind == lisp::OutcomeKind::StepLimit ||
                        failure.message == "LISP evaluation depth exceeded";
  if (is_limit) return causeOfLimits(failure);
  if (failure.kind == lisp::OutcomeKind::HostCallRequired) return {&form, "", ""};
  if (form.isSymbol()) return causeOfUnbound(failure);
  if (form.operatorName().empty()) {
    std::string habit = adviceOnHabit(form, failure.source);
    return {form.items.empty() ? &form : &form.items.front(),
            "the name of a function in front of a list that is evaluated",
            habit.empty() ? "if the list is data, quote it: '" + std::string(failure.form_text)
                          : std::move(habit)};
  }
  if (failure.is_unknown) return causeOfUnknown(failure);
  if (failure.callee != nullptr) return causeOfArity(form, *failure.callee);
  if (form.entry == nullptr) return {&form, "", ""};
  switch (form.entry->group) {
    case Group::SpecialForm:
      return causeInSpecialForm(form, failure.source);
    case Group::HostCall:
      return {&form,
              "the same call as in the evaluation before: " + std::string(failure.recorded_call),
              "what the call depends on has changed outside, such as a coordinate system, or an "
              "argument is NaN, which equals nothing",
              true};
    case Group::Builtin:
      break;
  }
  return causeInBuiltin(failure, *form.entry);
}

std::string adviceForReading(std::string_view message) {
  if (message == lisp::kUnterminatedListMessage) return "close it with )";
  if (message == lisp::kUnterminatedStringMessage) return "end it with a double quote";
  if (message == lisp::kUnexpectedCloseMessage) return "take it out, or open a list before it";
  if (message == lisp::kUnexpectedEndMessage) return "take the apostrophe out, or quote something";
  return "build the value step by step with LIST and CONS";
}

}  // namespace explain
