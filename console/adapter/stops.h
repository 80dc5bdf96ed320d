// The breakpoints that an editor has set: of lines, functions, data and exceptions.
//
// An editor sends all breakpoints of one group (a file, or all functions) at once. They are kept as
// they were wished for, because they may come before the program is launched, and have to be found
// again in each new run of it.

#ifndef CONSOLE_ADAPTER_STOPS_H_
#define CONSOLE_ADAPTER_STOPS_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "console/adapter/run_sources.h"
#include "console/debug/breakpoints.h"
#include "console/debug/recorded_run.h"
#include "console/json_parts.h"
#include "trace/condition.h"
#include "trace/index.h"

namespace lisp_worker::console {

// A breakpoint as the editor has asked for it.
struct StopWish {
  enum class Kind : std::uint8_t { Line, Function, Data, Exception };

  std::int64_t id = 0;
  Kind kind = Kind::Line;
  Json source = {};  // Of a line.
  std::int64_t line = 0;
  std::optional<std::int64_t> column = {};
  std::string name = {};  // Of the function, the data ("set N", "entity E5") or the filter.
  std::string condition = {};
  std::string hits = {};  // Such as ">= 3".
  std::string log = {};   // It tells this instead of stopping.
};

// Exceptions, as the filters are called.
inline constexpr const char* kErrorFilter = "error";
inline constexpr const char* kRefusalFilter = "refusal";

class Stops {
 public:
  // Puts these in the place of all others of the group. Returns them as Breakpoints of the protocol
  // in their order.
  Json set(const std::string& group, std::vector<StopWish> wishes);

  // The run that they are looked for in, which must outlive them. Returns all breakpoints. Null for
  // both takes the run away.
  Json setRun(const RecordedRun* run, const RunSources* sources);

  [[nodiscard]] std::int64_t nextId() { return ++last_id_; }

  struct Arrival {
    trace::Position position = 0;
    StopWish::Kind kind = StopWish::Kind::Line;
    std::string meaning = {};
    std::vector<std::int64_t> ids = {};
  };
  // The next after the position where one of them stops, or the last before it.
  [[nodiscard]] std::optional<Arrival> next(trace::Position position) const;
  [[nodiscard]] std::optional<Arrival> previous(trace::Position position) const;

  // The texts of log messages behind `from`, up to `to`, in order: at most `count_max`.
  [[nodiscard]] std::vector<std::pair<trace::Position, std::string>> logsBetween(
      trace::Position from, trace::Position to, std::size_t count_max) const;

 private:
  // A piece of a log message: text, then the value of an expression if there is one.
  struct LogPart {
    std::string text;
    std::unique_ptr<trace::Condition> expression;
  };
  struct Stop {
    StopWish wish;
    Breakpoint found = {};
    const explain::Form* form = nullptr;  // Of a line that has one.
    std::uint32_t program = 0;
    std::string why_not = {};  // It can never stop; otherwise empty.
    std::vector<LogPart> log = {};

    [[nodiscard]] bool stops() const { return wish.log.empty(); }
  };

  void find(Stop& stop) const;
  [[nodiscard]] bool findLine(Stop& stop) const;
  void readLog(Stop& stop) const;
  [[nodiscard]] Json breakpointOf(const Stop& stop) const;
  [[nodiscard]] std::optional<Arrival> arrivalAt(trace::Position position) const;

  const RecordedRun* run_ = nullptr;
  const RunSources* sources_ = nullptr;
  std::map<std::string, std::vector<Stop>> groups_;
  std::int64_t last_id_ = 0;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_ADAPTER_STOPS_H_
