// A run of a program that is over, with everything that is known of it: the index of its steps and
// the drawing before each of its host calls.

#ifndef CONSOLE_DEBUG_RECORDED_RUN_H_
#define CONSOLE_DEBUG_RECORDED_RUN_H_

#include <cstddef>
#include <string>
#include <vector>

#include "console/drawing.h"
#include "explain/evaluation.h"
#include "trace/index.h"

namespace lisp_worker::console {

struct RecordedRun {
  explain::ProgramPointer program;
  trace::Index index;
  explain::Outcome outcome;
  // Before the first answer of the host, before the second, and so on; at the end. Never empty.
  std::vector<Drawing> drawings;
  // Why the index is not to be trusted; empty if it comes to the worker's own outcome.
  std::string doubt;

  // The drawing at a position of the index.
  [[nodiscard]] const Drawing& drawingAt(trace::Position position) const;
  // The drawing before and after the host call, counted from 0.
  [[nodiscard]] const Drawing& drawingBefore(std::size_t call) const;
  [[nodiscard]] const Drawing& drawingAfter(std::size_t call) const;
};

// The form's text in one line, shortened.
[[nodiscard]] std::string textOf(const trace::Index& index, trace::Position step);

// "file.lsp:12:3"
[[nodiscard]] std::string placeOf(const trace::Index& index, trace::Position step);

// "= VALUE", ": no value" of a step that has not come to one.
[[nodiscard]] std::string valueText(const trace::Index& index, trace::Position step);

}  // namespace lisp_worker::console

#endif  // CONSOLE_DEBUG_RECORDED_RUN_H_
