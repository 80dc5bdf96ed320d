// A moment of a recorded run as an editor shows it: frames, scopes, variables, values.

#ifndef CONSOLE_ADAPTER_RUN_VIEW_H_
#define CONSOLE_ADAPTER_RUN_VIEW_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "console/adapter/run_sources.h"
#include "console/debug/recorded_run.h"
#include "console/entity.h"
#include "console/json_parts.h"
#include "trace/index.h"

namespace lisp_worker::console {

// Numbers of frames and references of variables are good until the next moment, and are never used
// again.
class RunView {
 public:
  // Without a request for fewer, at most so many children of one variable are given.
  static constexpr std::size_t kChildrenMax = 10000;

  // All must outlive the view.
  RunView(const RecordedRun& run, const RunSources& sources) : run_(run), sources_(sources) {}

  void setPosition(trace::Position position);
  [[nodiscard]] trace::Position position() const { return position_; }

  // A page of the stack, innermost first; a count of 0 is all of it.
  [[nodiscard]] Json stackTrace(std::size_t first, std::size_t count) const;

  // Where the frame's call begins. Empty when there is no such frame.
  [[nodiscard]] std::optional<trace::Position> beginOf(std::int64_t frame) const;

  // Each of these is null with the reason in `error` when there is no such frame or reference.
  [[nodiscard]] Json scopes(std::int64_t frame, std::string& error);
  // `filter` is "indexed", "named" or empty.
  [[nodiscard]] Json variables(std::int64_t reference, const std::string& filter, std::size_t first,
                               std::size_t count, std::string& error);

  // The value of an expression in a frame, or in the innermost one for 0. Whole texts go to the
  // clipboard.
  [[nodiscard]] Json evaluate(const std::string& expression, std::int64_t frame,
                              bool is_for_clipboard, std::string& error);

  // The data that a name of a scope, or in a frame, means: "set NAME" or "entity E5", as
  // breakpoints take it. Empty with the reason in `error`.
  [[nodiscard]] std::string dataOf(std::int64_t reference, const std::string& name,
                                   std::string& error) const;

 private:
  // A call in progress, or the top level.
  struct Frame {
    trace::CallNumber call = 0;
    trace::Position shown = 0;   // The step that is being evaluated in it.
    trace::Position moment = 0;  // That its variables are shown at.
  };
  struct Reference {
    enum class Kind : std::uint8_t { Parameters, Locals, Globals, Drawing, Entity, List };
    Kind kind = Kind::List;
    Frame frame = {};
    std::string handle = {};
    lisp::LispValue value = {};
  };

  [[nodiscard]] const Frame* findFrame(std::int64_t number) const;
  [[nodiscard]] const Reference* findReference(std::int64_t number) const;
  [[nodiscard]] std::int64_t refer(Reference reference);
  [[nodiscard]] std::string nameOf(const Frame& frame) const;
  [[nodiscard]] std::vector<std::string> namesIn(const Reference& scope) const;
  void addValue(Json& variable, const char* key, const lisp::LispValue& value);
  [[nodiscard]] Json named(const Reference& scope, const std::string& name);
  [[nodiscard]] Json entity(const Entity& entity);
  void appendNamed(const Reference& parent, Json& variables);
  void appendIndexed(const Reference& parent, std::size_t first, std::size_t count,
                     Json& variables);
  [[nodiscard]] std::size_t childCount(const Reference& parent) const;

  const RecordedRun& run_;
  const RunSources& sources_;
  trace::Position position_ = 1;
  std::vector<Frame> frames_;
  std::int64_t first_frame_ = 1;
  std::vector<Reference> references_;
  std::int64_t first_reference_ = 1;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_ADAPTER_RUN_VIEW_H_
