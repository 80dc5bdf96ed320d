// Where a run that is looked at step by step is to be stopped.

#ifndef CONSOLE_DEBUG_BREAKPOINTS_H_
#define CONSOLE_DEBUG_BREAKPOINTS_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/debug/recorded_run.h"
#include "trace/condition.h"

namespace lisp_worker::console {

// A debugger stops at lists that are evaluated; not at numbers, names and quoted data.
[[nodiscard]] bool isStop(const trace::Index& index, trace::Position position);

struct Breakpoint {
  std::size_t number = 0;    // From 1, never used again.
  std::string text = {};     // As it was given.
  std::string meaning = {};  // "line 7: (SETQ A 1)", for a person.
  // In order, each once.
  std::vector<trace::Position> positions = {};
};

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
  std::optional<Breakpoint> atFunction(const std::string& name, std::string& error) const;
  Breakpoint atHostCalls(const std::string& name) const;
  Breakpoint atAssignments(const std::string& name) const;
  std::optional<Breakpoint> atEntity(const std::string& handle, std::string& error) const;
  std::optional<Breakpoint> atError(std::string& error) const;
  bool narrow(Breakpoint& breakpoint, std::string_view condition, std::string& error) const;

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
