// A program evaluated once more, so that what it comes to can be explained.
//
// The worker's errors carry no position, because its values carry none. So a person's console runs
// a program once more, here, in the worker's own evaluator, from its text and the answers that the
// host has given, and observes it (lisp/observer.h). The observer knows where every form stands,
// what the arguments of the calls in progress have come to, and which calls lead to the form that
// fails. A run is bounded as the worker's is.

#ifndef EXPLAIN_EVALUATION_H_
#define EXPLAIN_EVALUATION_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "explain/form.h"
#include "explain/source.h"
#include "geometry/coord_context.h"
#include "lisp/environment.h"
#include "lisp/interpreter.h"
#include "lisp/outcome.h"
#include "lisp/user_function.h"
#include "lisp/value.h"

namespace explain {

// A text with its forms; functions keep the program that they come from.
struct Program {
  Source source;
  Reading reading;
  lisp::LispValue observed = {};                  // The forms as they are run.
  std::vector<const Form*> forms_by_number = {};  // Those of `reading` and all inside them.
};
using ProgramPointer = std::shared_ptr<const Program>;

[[nodiscard]] ProgramPointer readProgram(std::string name, std::string text);

// A function that a DEFUN has made.
struct Function {
  ProgramPointer program;
  const Form* definition = nullptr;  // The DEFUN; of `program`.
};
// By the evaluator's records.
using FunctionTable = std::unordered_map<const lisp::UserFunction*, Function>;

// The variables and functions that finished programs have left; a mirror of the worker's.
class Definitions {
 public:
  [[nodiscard]] const lisp::Environment& environment() const { return environment_; }
  [[nodiscard]] std::vector<std::string> variableNames() const;  // Sorted.
  [[nodiscard]] std::vector<std::string> functionNames() const;  // Sorted.
  [[nodiscard]] bool hasVariable(std::string_view name) const;
  // Of one of the variables.
  [[nodiscard]] lisp::LispValue valueOf(std::string_view name) const;
  // Null when there is no such function.
  [[nodiscard]] const Function* findFunctionNamed(std::string_view name) const;
  [[nodiscard]] const Function* findFunction(const lisp::UserFunction* record) const;

  // Takes over what a run on environment() has left that has ended with a value: the names of the
  // global variables that it has set, and all functions that it has defined.
  void keep(lisp::Interpreter& finished, const std::set<std::string>& variables,
            const FunctionTable& functions);

  // A program that makes the same definitions in a fresh worker. Names of variables that no text
  // stands for are appended to `lost`.
  [[nodiscard]] std::string asProgram(std::vector<std::string>& lost) const;

 private:
  [[nodiscard]] lisp::Binding bindingOf(std::string_view name) const;

  lisp::Environment environment_;
  std::set<std::string> variables_;
  FunctionTable functions_;  // Those in force.
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
struct FaultyForm {
  ProgramPointer program;
  std::size_t begin = 0;  // What the caret shows.
  std::size_t end = 0;
  std::vector<CallSite> calls = {};  // Innermost first.
  std::vector<NamedValue> values = {};
  std::string expected = {};  // May be empty, as the next.
  std::string advice = {};
};

// A loop in progress: its round is counted from 1.
struct LoopRound {
  ProgramPointer program;
  std::size_t line = 1;  // Of the loop.
  std::uint64_t round = 1;
};

// Where a host call stands, and the way to it: of long ways the innermost part.
struct HostCallPlace {
  ProgramPointer program;
  std::size_t begin = 0;
  std::size_t end = 0;
  std::vector<CallSite> calls = {};   // Innermost first, as the next.
  std::vector<LoopRound> loops = {};  // In the functions around it too.
};
inline constexpr std::size_t kKeptWayMax = 8;

// A host call that has been answered. `arguments` and `place` are filled in by the evaluation that
// reaches the call first.
struct AnsweredCall {
  std::string name;
  lisp::LispValue answer;
  std::string refusal = {};  // Why the host has not done what the call asks for; empty if it has.
  std::optional<std::vector<lisp::LispValue>> arguments = {};
  std::optional<HostCallPlace> place = {};
  std::optional<FaultyForm> fault =
      {};  // Where a refused call stands, once an evaluation has met it.
};

// The steps that a line of a function has taken.
struct StepCount {
  std::string function;  // Empty at the top level.
  ProgramPointer program;
  std::size_t line = 1;
  std::uint64_t count = 0;
};

using lisp::OutcomeKind;

struct Outcome {
  OutcomeKind kind = OutcomeKind::Value;
  lisp::LispValue value;
  std::string message;  // The worker's own.
  std::uint64_t steps = 0;
  FaultyForm fault;                    // Unless the kind is Value.
  std::vector<StepCount> step_counts;  // The most first.
};

class Watcher;  // explain/watcher.h

// Runs `program` on `definitions`, which change only when it ends with a value. `context` may be
// null, as may `watcher`, who is told of the run. Calls without an answer end in HostCallRequired.
[[nodiscard]] Outcome evaluate(const ProgramPointer& program, Definitions& definitions,
                               std::span<AnsweredCall> answers,
                               const geometry::CoordContext* context,
                               const lisp::EvalLimits& limits = {}, Watcher* watcher = nullptr);

// The fault of a host's answer that cannot be read; message is the worker's own, with its prefix.
[[nodiscard]] std::optional<Outcome> explainAnswer(const std::string& answer);

// The worker's message when a builtin is called with these arguments and no context; empty when it
// comes to a value.
[[nodiscard]] std::string refusalOf(std::string_view name,
                                    std::span<const lisp::LispValue> arguments);

// The names nearest to `name`, at most three, none when all are far; for advice.
[[nodiscard]] std::vector<std::string> similarNames(std::string_view name,
                                                    std::span<const std::string> names);

}  // namespace explain

#endif  // EXPLAIN_EVALUATION_H_
