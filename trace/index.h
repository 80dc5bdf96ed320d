// Index: everything that happened in one run of a program, in the order of its steps.
//
// A run takes at most 250,000 steps, and each step evaluates one form. So the whole run fits into a
// table with one line for each step, and any moment of it can be looked at without evaluating
// anything again. An example, (DEFUN F (X) (* X 2)) and then (SETQ A (F 5)):
//
//   step  form               around  call  end  value
//   1     (DEFUN F ...)      0       0     2    F
//   2     (SETQ A (F 5))     0       0     8    10      assigns A at position 8
//   3       (F 5)            2       0     8    10      makes call 1, which begins at position 5
//   4         5              3       0     5    5
//   5         (* X 2)        3       1     8    10
//   6           X            5       1     7    5
//   7           2            5       1     8    2
//
// A *position* is the moment before the step of the same number; the position after the last step
// is the end of the run. A *call* is one of a function that a program defined; call 0 is the top
// level. Steps, positions and calls are borrowed from nobody: they are numbers.
//
// Values are held as the run made them, so they cost nothing as long as the program holds them too.
// Once those of the run have taken kValueBytesMax bytes, further lists and texts are not kept.

#ifndef TRACE_INDEX_H_
#define TRACE_INDEX_H_

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "explain/evaluation.h"
#include "lisp/value.h"

namespace trace {

// Of a step, or of a moment; counted from 1, 0 for none.
using Position = std::uint32_t;
// Counted from 0, which is the top level.
using CallNumber = std::uint32_t;
// A name that the run has assigned or that one of its functions declares.
using NameNumber = std::uint32_t;

inline constexpr std::size_t kValueBytesMax = std::size_t{32} << 20;

// One evaluation of one form.
struct Step {
  std::uint32_t program = 0;  // Index::program
  std::uint32_t form = 0;     // In the program's forms_by_number.
  Position around = 0;        // The step that evaluates the form around it, or calls its function.
  CallNumber call = 0;        // In progress.
  Position end = 0;           // After it has come to a value; 0 if it never has.
  Position before = 0;        // The step that evaluated the same form the last time.
  std::uint32_t value = 0;    // Index::valueOf
};

struct Call {
  Position site = 0;  // The step of the form that calls; 0 at the top level.
  CallNumber caller = 0;
  Position begin = 1;          // Of the body.
  Position end = 0;            // After the body; 0 if it has never come to a value.
  std::uint32_t function = 0;  // Index::function; none at the top level.
};

// The variable of the call, or the global one of call 0, has a new value from position `at` on.
struct Assignment {
  Position at = 0;
  Position step = 0;  // Of the SETQ.
  Position value_step = 0;
  NameNumber name = 0;
  CallNumber call = 0;
};

// Its arguments are the values of the step's parts, its answer that of the step.
struct HostCall {
  Position step = 0;
  Position at = 0;  // Before it is made.
  std::string name;
  bool is_answered = false;
  std::string refusal = {};  // Why the host has not done it; empty if it has.
};

// Where the value of a variable comes from.
enum class Origin : std::uint8_t {
  Unbound,
  EarlierProgram,
  Assignment,
  Parameter,
  Local,  // Declared, and nothing assigned yet.
};

struct Variable {
  Origin origin = Origin::Unbound;
  Position step = 0;        // The SETQ, or the call with its parameters and locals.
  Position value_step = 0;  // That came to the value; 0 for a local and an earlier program's.
  CallNumber call = 0;      // The call that it belongs to, 0 for a global one.

  friend bool operator==(const Variable&, const Variable&) = default;
};

class Recorder;

class Index {
 public:
  // --- The run ---------------------------------------------------------------------------------

  [[nodiscard]] Position stepCount() const { return static_cast<Position>(steps_.size()); }
  // The position after the last step.
  [[nodiscard]] Position end() const { return stepCount() + 1; }
  // `position` must be from 1 to stepCount().
  [[nodiscard]] const Step& step(Position position) const { return steps_[position - 1]; }
  [[nodiscard]] const std::deque<Call>& calls() const { return calls_; }
  [[nodiscard]] const std::deque<Assignment>& assignments() const { return assignments_; }
  [[nodiscard]] const std::deque<HostCall>& hostCalls() const { return host_calls_; }
  [[nodiscard]] std::uint32_t programCount() const {
    return static_cast<std::uint32_t>(programs_.size());
  }
  [[nodiscard]] const explain::ProgramPointer& program(std::uint32_t number) const {
    return programs_[number].program;
  }
  [[nodiscard]] const explain::Function& function(std::uint32_t number) const {
    return functions_[number].function;
  }
  // Variables and functions that the run began with.
  [[nodiscard]] const explain::Definitions& definitions() const { return definitions_; }

  // --- Steps -----------------------------------------------------------------------------------

  // The form that the step evaluates. Borrowed from its program.
  [[nodiscard]] const explain::Form& formOf(Position step) const;
  // Nothing if the step has not come to a value, or the value was not kept.
  [[nodiscard]] std::optional<lisp::LispValue> valueOf(Position step) const;
  // True if the step has come to a value that was not kept.
  [[nodiscard]] bool isValueLost(Position step) const;
  // The steps of the parts that the form has evaluated by itself, in order; without those of the
  // body of the function that it calls.
  [[nodiscard]] std::vector<Position> partsOf(Position step) const;
  // The last step that evaluated the form, 0 if none has. Step::before leads on.
  [[nodiscard]] Position lastStepOf(const explain::ProgramPointer& program,
                                    std::uint32_t form) const;
  // The host call that the step makes, counted from 0.
  [[nodiscard]] std::optional<std::size_t> hostCallOf(Position step) const;
  // The number of host calls that have been answered before the position.
  [[nodiscard]] std::size_t answersBefore(Position position) const;

  // --- Moving ----------------------------------------------------------------------------------
  // Each gives the position where it arrives; 1 and end() are never passed.

  // The form there, with everything that it evaluates, is over.
  [[nodiscard]] Position over(Position position) const;
  // The call there has returned.
  [[nodiscard]] Position out(Position position) const;
  // Before the form that was over last; before the form around it when it is the first.
  [[nodiscard]] Position backOver(Position position) const;
  // Before the form that has made the call.
  [[nodiscard]] Position backOut(Position position) const;

  // --- Variables -------------------------------------------------------------------------------

  [[nodiscard]] CallNumber callAt(Position position) const;
  // Innermost first, without the top level.
  [[nodiscard]] std::vector<CallNumber> callsAt(Position position) const;
  // The variable that the name means at the position.
  [[nodiscard]] Variable find(std::string_view name, Position position) const {
    return find(name, position, position);
  }
  // The same with the global variables of another moment.
  [[nodiscard]] Variable find(std::string_view name, Position position, Position now) const;
  // The variable that the call itself has, or the global one for call 0, at the position; nothing
  // if it has none.
  [[nodiscard]] std::optional<Variable> findIn(CallNumber call, std::string_view name,
                                               Position position) const;
  // Nothing for an unbound one, and for one whose value was not kept.
  [[nodiscard]] std::optional<lisp::LispValue> valueOf(std::string_view name,
                                                       const Variable& variable) const;
  // The names that the call has parameters, locals or assignments of its own for, until the
  // position, as they were declared and then assigned; of call 0 the global ones, sorted.
  [[nodiscard]] std::vector<std::string> namesOf(CallNumber call, Position position) const;
  // The number that assignments have for the name; nothing if the run neither assigns nor declares
  // it.
  [[nodiscard]] std::optional<NameNumber> numberOf(std::string_view name) const;
  // True if one of the names is a parameter or a local of the call's function.
  [[nodiscard]] bool declares(CallNumber call, const std::set<NameNumber>& names) const;
  // The moments at which a variable of that name was assigned, or bound by a call, in order.
  // Position is the first at which it holds.
  [[nodiscard]] std::vector<std::pair<Position, Variable>> historyOf(std::string_view name) const;

 private:
  friend class Recorder;

  struct ProgramEntry {
    explain::ProgramPointer program;
    std::vector<Position> last_steps;  // By form.
  };
  struct FunctionEntry {
    explain::Function function;
    // The names that its call binds, parameters first, then locals. Of equal names the last counts.
    std::vector<NameNumber> names;
    std::size_t parameter_count = 0;
    std::unordered_map<NameNumber, std::size_t> places;  // In `names`.
  };
  struct TextHash : std::hash<std::string_view> {
    using is_transparent = void;  // NOLINT(readability-identifier-naming): the library's name.
  };

  // The latest assignment of the call's variable at or before the position; null if none.
  [[nodiscard]] const Assignment* lastAssignment(NameNumber name, CallNumber call,
                                                 Position position) const;
  // Of the run that has ended.
  void sortAssignments();
  // The variable as the call itself has bound or assigned it before the position.
  [[nodiscard]] std::optional<Variable> findIn(CallNumber call, NameNumber name,
                                               Position position) const;
  [[nodiscard]] Variable boundBy(CallNumber call, std::size_t place) const;

  static constexpr std::uint32_t kNoValue = 0;
  static constexpr std::uint32_t kLostValue = 1;
  static constexpr std::uint32_t kFirstValue = 2;  // Leads to values_[0].

  explain::Definitions definitions_;
  std::vector<ProgramEntry> programs_;
  std::vector<FunctionEntry> functions_;
  std::deque<Step> steps_;
  std::deque<lisp::LispValue> values_;
  std::deque<Call> calls_ = {Call{}};
  std::deque<Assignment> assignments_;
  std::deque<HostCall> host_calls_;
  std::vector<std::string> names_;
  std::unordered_map<std::string, NameNumber, TextHash, std::equal_to<>> name_numbers_;
  std::vector<std::uint32_t> by_variable_;  // Assignments, by name, then call, then position.
  CallNumber last_call_ = 0;                // In progress at the end.
};

}  // namespace trace

#endif  // TRACE_INDEX_H_
