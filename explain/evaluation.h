// A second evaluation of a program that knows where everything stands.
//
// The worker's errors carry no position, because its values carry none. So a person's console
// evaluates a program once more, here, from its forms and the answers that the host has given, and
// takes what it finds for an explanation only when message and steps are the worker's own. Nothing
// here is fast, but everything is bounded: a run that would take too much work is given up.

#ifndef EXPLAIN_EVALUATION_H_
#define EXPLAIN_EVALUATION_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "explain/form.h"
#include "explain/source.h"
#include "geometry/coord_context.h"
#include "lisp/value.h"

namespace explain {

// A text with its forms; functions keep the program that they come from.
struct Program {
  Source source;
  Reading reading;
};
using ProgramPointer = std::shared_ptr<const Program>;

[[nodiscard]] ProgramPointer readProgram(std::string name, std::string text);

struct Function {
  std::string name;
  std::vector<lisp::LispValue> parameters;  // Symbols.
  std::vector<lisp::LispValue> locals;
  ProgramPointer program;
  const Form* definition = nullptr;  // The DEFUN; of `program`.
};
using FunctionPointer = std::shared_ptr<const Function>;

// What finished programs have left: the mirror of the worker's variables and functions.
class Definitions {
 public:
  struct Variable {
    lisp::LispValue symbol;
    lisp::LispValue value;
  };
  struct Defined {
    lisp::LispValue symbol;
    FunctionPointer function;
  };

  [[nodiscard]] const lisp::LispValue* findVariable(const lisp::LispValue& symbol) const;
  void setVariable(const lisp::LispValue& symbol, const lisp::LispValue& value);
  [[nodiscard]] FunctionPointer findFunction(const lisp::LispValue& symbol) const;
  void setFunction(const lisp::LispValue& symbol, FunctionPointer function);

  [[nodiscard]] std::vector<std::string> variableNames() const;  // Sorted.
  [[nodiscard]] std::vector<std::string> functionNames() const;  // Sorted.
  [[nodiscard]] FunctionPointer findFunctionNamed(std::string_view name) const;

  // A program that makes the same definitions in a fresh worker. Names of variables that no text
  // stands for are appended to `lost`.
  [[nodiscard]] std::string asProgram(std::vector<std::string>& lost) const;

 private:
  std::unordered_map<const lisp::Counted*, Variable> variables_;
  std::unordered_map<const lisp::Counted*, Defined> functions_;
};

// A call of a function on the way to where an evaluation has stopped.
struct CallSite {
  std::string function;    // That is called.
  ProgramPointer program;  // Where the call stands.
  std::size_t begin = 0;
  std::size_t end = 0;
};

struct NamedValue {
  std::string what;   // As the program's text has it.
  std::string value;  // Shortened.
};

// Where an evaluation has stopped and why.
struct Fault {
  ProgramPointer program;
  std::size_t begin = 0;  // What the caret shows.
  std::size_t end = 0;
  std::vector<CallSite> calls = {};  // Innermost first.
  std::vector<NamedValue> values = {};
  std::string expected = {};  // May be empty, as the next.
  std::string advice = {};
};

// A host call that has been answered. `arguments` are filled in by the evaluation that reaches the
// call first.
struct AnsweredCall {
  std::string name;
  lisp::LispValue answer;
  std::string refusal = {};  // Why the host has not done what the call asks for; empty if it has.
  std::optional<std::vector<lisp::LispValue>> arguments = {};
  std::optional<Fault> fault = {};  // Where a refused call stands, once an evaluation has met it.
};

// How many steps a line of a function has taken.
struct StepCount {
  std::string function;  // Empty at the top level.
  ProgramPointer program;
  std::size_t line = 1;
  std::uint64_t count = 0;
};

enum class OutcomeKind : std::uint8_t {
  Value = 0,
  ReadError = 1,
  EvalError = 2,
  StepLimit = 3,
  HostCallRequired = 4,
  GivenUp = 5,  // It would have taken too much work.
};

struct Outcome {
  OutcomeKind kind = OutcomeKind::Value;
  lisp::LispValue value;
  std::string message;  // The worker's own.
  std::uint64_t steps = 0;
  Fault fault;                         // Unless the kind is Value.
  std::vector<StepCount> step_counts;  // The most first.
};

struct Limits {
  std::uint64_t steps_max = 250000;
  std::uint32_t depth_max = 128;
};

// Runs `program` on `definitions`, which change only when it ends with a value. `context` may be
// null. Calls without an answer end in HostCallRequired.
[[nodiscard]] Outcome evaluate(const ProgramPointer& program, Definitions& definitions,
                               std::span<AnsweredCall> answers,
                               const geometry::CoordContext* context, const Limits& limits = {});

// The fault of a host's answer that cannot be read; message is the worker's own, with its prefix.
[[nodiscard]] std::optional<Outcome> explainAnswer(const std::string& answer);

// The names nearest to `name`, at most three, none when all are far; for advice.
[[nodiscard]] std::vector<std::string> similarNames(std::string_view name,
                                                    std::span<const std::string> names);

}  // namespace explain

#endif  // EXPLAIN_EVALUATION_H_
