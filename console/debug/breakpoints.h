// Where a run that is looked at step by step is to be stopped.

#ifndef CONSOLE_DEBUG_BREAKPOINTS_H_
#define CONSOLE_DEBUG_BREAKPOINTS_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/debug/recorded_run.h"
#include "explain/evaluation.h"
#include "trace/index.h"

namespace lisp_worker::console {

struct Breakpoint {
  std::size_t number = 0;    // From 1, never used again.
  std::string text = {};     // As it was given.
  std::string meaning = {};  // "line 7: (SETQ A 1)", for a person.
  // In order, each once.
  std::vector<trace::Position> positions = {};
};

// Makers. Each says in `meaning` where it is; they are empty with the reason in `error` when there
// is nothing of that kind.

// The forms of a program at which a debugger can stop, in the order of the text: lists that may be
// evaluated, as numbers in forms_by_number.
[[nodiscard]] std::vector<std::uint32_t> stopForms(const explain::Program& program);
// Before each evaluation of the form.
[[nodiscard]] Breakpoint breakAtForm(const RecordedRun& run, const explain::ProgramPointer& program,
                                     std::uint32_t form);
// Before the body of each call of the function.
[[nodiscard]] std::optional<Breakpoint> breakAtFunction(const RecordedRun& run,
                                                        const std::string& name,
                                                        std::string& error);
// Before each call of the host function, or of all for an empty name.
[[nodiscard]] Breakpoint breakAtHostCalls(const RecordedRun& run, const std::string& name);
// Before each host call that was refused.
[[nodiscard]] Breakpoint breakAtRefusals(const RecordedRun& run);
// After each assignment of a variable of that name.
[[nodiscard]] Breakpoint breakAtAssignments(const RecordedRun& run, const std::string& name);
// After each host call that adds, changes or erases the entity.
[[nodiscard]] std::optional<Breakpoint> breakAtEntity(const RecordedRun& run,
                                                      const std::string& handle,
                                                      std::string& error);
// At the form that fails.
[[nodiscard]] std::optional<Breakpoint> breakAtError(const RecordedRun& run, std::string& error);

// Leaves the positions where the expression is true. False with the reason in `error` when it
// cannot be read, or costs too many steps.
[[nodiscard]] bool narrow(const RecordedRun& run, Breakpoint& breakpoint,
                          std::string_view condition, std::string& error);

class Breakpoints {
 public:
  // `run` must outlive them.
  explicit Breakpoints(const RecordedRun& run) : run_(run) {}

  // Adds what `text` asks for:
  //
  //   LINE                 before the first form that begins in the line; or FILE:LINE
  //   NAME                 before the body of each call of that function
  //   call NAME            before each call of that host function, or of all: call
  //   set NAME             after each assignment of that variable
  //   entity E5            after each host call that adds, changes or erases the entity
  //   error                at the form that fails
  //   ... if CONDITION     only where the expression is true
  //   ... after COUNT      not the first COUNT times
  //
  // Null, with the reason in `error`, if it asks for nothing that there is.
  const Breakpoint* add(std::string_view text, std::string& error);

  // False if there is none of that number.
  bool remove(std::size_t number);

  [[nodiscard]] const std::vector<Breakpoint>& all() const { return breakpoints_; }

  // The next breakpoint after the position, or the last before it. Null if there is none; `at` is
  // where it stops.
  const Breakpoint* next(trace::Position position, trace::Position& at) const;
  const Breakpoint* previous(trace::Position position, trace::Position& at) const;

 private:
  std::optional<Breakpoint> make(std::string_view where, std::string& error) const;
  std::optional<Breakpoint> atLine(std::string_view file, std::size_t line,
                                   std::string& error) const;

  const RecordedRun& run_;
  std::vector<Breakpoint> breakpoints_;
  std::size_t count_ = 0;  // Ever added.
};

// The position of the form that has failed; nothing if the run has come to a value.
[[nodiscard]] std::optional<trace::Position> failedAt(const RecordedRun& run);

// The host calls, counted from 0, that have added, changed or erased the entity.
struct EntityCall {
  std::size_t call = 0;
  EntityChange::Kind kind = EntityChange::Kind::Added;
};
[[nodiscard]] std::vector<EntityCall> callsOn(const RecordedRun& run, std::string_view handle);

}  // namespace lisp_worker::console

#endif  // CONSOLE_DEBUG_BREAKPOINTS_H_
