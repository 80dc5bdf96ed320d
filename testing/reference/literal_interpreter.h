// The evaluator of the literal implementation: one run of one program.
//
// Environments are hash maps from name to value, a call copies its caller's bindings into an
// environment of its own, operators are found by comparing names one after another, and a program
// resumed after a host call runs again from its first form.

#ifndef TESTING_REFERENCE_LITERAL_INTERPRETER_H_
#define TESTING_REFERENCE_LITERAL_INTERPRETER_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "testing/reference/literal_context.h"
#include "testing/reference/literal_outcome.h"
#include "testing/reference/literal_value.h"

namespace lisp_worker::testing_support {

using LiteralEnvironment = std::unordered_map<std::string, LiteralValue>;

// A function made by DEFUN. Replacing a definition leaves the record to the calls that are using
// it.
struct LiteralFunction {
  std::vector<std::string> params;
  std::vector<std::string> locals;
  std::vector<LiteralValue> body;
};

// The state that a finished run leaves for the next one.
struct LiteralState {
  LiteralEnvironment globals;
  std::unordered_map<std::string, std::shared_ptr<const LiteralFunction>> functions;
};

struct LiteralLimits {
  std::uint64_t steps_max = 250000;
  std::uint32_t depth_max = 128;
  // The most that a run may copy, in units of literalCopyCost, before it is abandoned.
  std::size_t copy_cost_max = 4'000'000;
};

class LiteralInterpreter {
 public:
  // `context` and `transcript` may be null and are borrowed for the interpreter's life.
  LiteralInterpreter(LiteralState state, const LiteralLimits& limits, const LiteralContext* context,
                     const LiteralTranscript* transcript)
      : state_(std::move(state)), limits_(limits), context_(context), transcript_(transcript) {}

  // Reads all of `text`, then evaluates its forms in order. Called once.
  LiteralOutcome runProgram(std::string_view text);

  // The globals and functions as the run left them.
  [[nodiscard]] const LiteralState& state() const { return state_; }

 private:
  using Items = std::vector<LiteralValue>;

  LiteralOutcome makeValue(LiteralValue value) const;
  LiteralOutcome makeError(LiteralOutcomeKind kind, std::string message) const;
  LiteralOutcome evalError(std::string message) const;
  // Books the copy of `value`; true while the run is within its budget.
  bool charge(const LiteralValue& value);

  LiteralOutcome evaluate(const LiteralValue& form, LiteralEnvironment& local, std::uint32_t depth);
  LiteralOutcome evaluateSymbol(const std::string& name, const LiteralEnvironment& local);
  LiteralOutcome evaluateList(const Items& items, LiteralEnvironment& local, std::uint32_t depth);
  const LiteralValue* lookupVariable(const std::string& name,
                                     const LiteralEnvironment& local) const;

  LiteralOutcome quote(const Items& items);
  LiteralOutcome setq(const Items& items, LiteralEnvironment& local, std::uint32_t depth);
  LiteralOutcome ifForm(const Items& items, LiteralEnvironment& local, std::uint32_t depth);
  LiteralOutcome progn(const Items& items, LiteralEnvironment& local, std::uint32_t depth);
  LiteralOutcome whileForm(const Items& items, LiteralEnvironment& local, std::uint32_t depth);
  LiteralOutcome defun(const Items& items);
  LiteralOutcome andOr(bool is_and, const Items& items, LiteralEnvironment& local,
                       std::uint32_t depth);
  LiteralOutcome notNull(const std::string& name, const Items& items, LiteralEnvironment& local,
                         std::uint32_t depth);
  LiteralOutcome applyFunction(const std::string& name, const LiteralFunction& function,
                               const Items& items, LiteralEnvironment& local, std::uint32_t depth);

  LiteralOutcome callBuiltin(const std::string& name, const Items& items, LiteralEnvironment& local,
                             std::uint32_t depth);
  LiteralOutcome callHost(const std::string& name, const Items& items, LiteralEnvironment& local,
                          std::uint32_t depth);

  LiteralState state_;
  LiteralLimits limits_;
  const LiteralContext* context_;
  const LiteralTranscript* transcript_;
  std::uint64_t steps_used_ = 0;
  std::size_t replay_cursor_ = 0;
  std::size_t copy_cost_ = 0;
};

}  // namespace lisp_worker::testing_support

#endif  // TESTING_REFERENCE_LITERAL_INTERPRETER_H_
