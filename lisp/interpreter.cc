// The run around the evaluator: arguments of builtins, failures, waiting for the host. A failure
// is a mark in the Result that travels outward; its message or host call is kept here until the
// edge takes it as an EvalOutcome.

#include "lisp/interpreter.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "lisp/evaluate.h"
#include "lisp/work.h"
#include "lisp/wrapping.h"

namespace lisp {
namespace {

// From this many parameters and locals on, what a DEFUN form makes is kept for its next evaluation.
constexpr std::uint32_t kKeptParametersMin = 16;

bool areSymbols(const LispList& elements) {
  return std::all_of(elements.begin(), elements.end(),
                     [](const LispValue& element) { return element.kind() == ValueKind::Symbol; });
}

}  // namespace

Interpreter::Interpreter(const Environment& environment, const geometry::CoordContext* context,
                         const HostTranscript* transcript, HostCallWaiter* waiter)
    : bindings_(environment), context_(context), transcript_(transcript), waiter_(waiter) {}

Interpreter::~Interpreter() {
  for (std::size_t i = 0; i < arguments_.size(); ++i) release(arguments_[i]);
  for (const auto& [form, function] : definitions_) releaseFunction(function);
}

void Interpreter::start(const EvalLimits& limits) {
  step_limit_ = limits.step_limit;
  steps_left_ = limits.step_limit;
  depth_limit_ = limits.depth_limit;
  replay_cursor_ = 0;
}

Result Interpreter::evaluate(const LispValue& form, std::uint32_t depth) {
  return evaluateForm(*this, form, depth);
}

// For builtins that evaluate their arguments themselves, such as host calls: these may wait for the
// host, and then the arguments are counted into what giving up the run costs (form_arguments_).
bool Interpreter::evaluateArguments(std::span<const LispValue> items, std::uint32_t depth,
                                    std::vector<LispValue>& values) {
  assert(!items.empty());
  const std::size_t count = items.size() - 1;
  values.reserve(count);
  form_arguments_ += count;
  for (const LispValue& item : items.subspan(1)) {
    Result value = evaluate(item, depth);
    if (value.failed()) return false;  // The run is over, and with it the count.
    values.push_back(LispValue::adopt(value.take()));
  }
  form_arguments_ -= count;
  return true;
}

// Parks the failure and returns its mark. A failure is parked once in a run: nothing is evaluated
// after the first one, so nothing overwrites it.
Result Interpreter::failWith(OutcomeKind kind, std::string_view message, std::string_view name) {
  failure_kind_ = kind;
  failure_message_.assign(message).append(name);
  return Result::failure();
}

Result Interpreter::fail(std::string_view message, std::string_view name) {
  return failWith(OutcomeKind::EvalError, message, name);
}

// Takes the refused step off all the same: at the step limit steps_left_ wraps around, and
// stepsUsed() is one more than the limit, as the contract has it.
LISP_WRAPS Result Interpreter::failLimits() {
  if (steps_left_-- == 0) {
    return failWith(OutcomeKind::StepLimit, "LISP evaluation step limit exceeded");
  }
  return fail("LISP evaluation depth exceeded");
}

// The message is made as the failure is taken (hostCallOutcome).
Result Interpreter::requireHostCall(HostCall call) {
  failure_host_call_ = std::move(call);
  return failWith(OutcomeKind::HostCallRequired, {});
}

EvalOutcome Interpreter::hostCallOutcome(HostCall call) const {
  EvalOutcome outcome;
  outcome.kind = OutcomeKind::HostCallRequired;
  outcome.message = "CAD host call required: " + call.name;
  outcome.host_call = std::move(call);
  outcome.steps = stepsUsed();
  return outcome;
}

bool Interpreter::awaitAnswer(const HostCall& call) {
  if (waiter_ == nullptr || !waiter_->awaitAnswer(*this, call)) return false;
  assert(bindings_.isResident());
  return true;
}

EvalOutcome Interpreter::takeFailure() {
  assert(failure_kind_ != OutcomeKind::Value);
  const OutcomeKind kind = std::exchange(failure_kind_, OutcomeKind::Value);
  if (kind == OutcomeKind::HostCallRequired) return hostCallOutcome(*std::move(failure_host_call_));
  EvalOutcome outcome;
  outcome.kind = kind;
  outcome.message = std::move(failure_message_);
  outcome.steps = stepsUsed();
  return outcome;
}

// A DEFUN that is evaluated again makes an equal function, so the first one may serve. Inner
// functions of committed ones were made ahead (UserFunction::prepare). One with many parameters is
// kept for its next evaluation, because making it costs as much as they are; a small one is made
// anew.
UserFunction* Interpreter::makeFunction(Chunk& items) {
  UserFunction* function = UserFunction::findPrepared(items);
  if (function == nullptr) {
    const auto kept = definitions_.find(&items);
    if (kept != definitions_.end()) function = kept->second;
  }
  if (function != nullptr) {
    retainFunction(function);
    return function;
  }
  const LispValue& names = items.slots()[2];
  countWork(names.raw().length());
  if (!areSymbols(*asList(names))) return nullptr;
  function = new UserFunction(LispValue::share(RawValue::ofList(items, items.flatLength())));
  if (names.raw().length() >= kKeptParametersMin) {
    definitions_.emplace(&items, function);
    retainFunction(function);
  }
  return function;
}

std::size_t Interpreter::bindingsTouched() const {
  return bindings_.touchedCount() + arguments_.size() + form_arguments_ + definitions_.size();
}

}  // namespace lisp
