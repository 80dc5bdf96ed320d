// The state of a page: all that it shows, as the text of one JSON object.
//
//   status     "running", "asking", "value", "failed" or "unreadable": a file cannot be read, and
//              the rest is what was there before
//   files      [{name, text}]: the program, then the libraries
//   messages   [{kind: "result", "error" or "warning", text}], the texts as the console prints
//              them, with places such as "a.lsp:4:3: " at the beginning of lines
//   svg        the drawing before and after, as console/picture.h draws it
//   entities   {handle: description}
//   calls      [{name, file, line, end_line, loops: [{file, line, round}], from: [{file, line}],
//              entities: [handle]}], the host calls that have drawn something
//   question   {number, call, text, help, place, refused, base, snaps: [[x, y, kind]]} while it
//   asks

#ifndef CONSOLE_WATCH_PAGE_STATE_H_
#define CONSOLE_WATCH_PAGE_STATE_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "console/drawing.h"
#include "console/program.h"
#include "explain/evaluation.h"
#include "lisp_worker/client/coordinates.h"
#include "lisp_worker/client/eval_result.h"

namespace lisp_worker::console {

struct PageMessage {
  std::string kind;
  std::string text;
};

struct PageQuestion {
  std::uint64_t number = 0;
  std::string call;
  std::string text;
  std::string help;
  std::string place;         // "a.lsp:4:3", as far as it is known.
  std::string refused = {};  // An answer that could not be understood; empty for none.
  std::optional<client::Point> base = {};
};

// The entities that a host call has added or changed. `number` counts the calls from 0.
struct DrawnBy {
  std::size_t number = 0;
  std::vector<std::string> handles = {};
};

struct PageState {
  std::string status;
  std::vector<const Program*> programs = {};  // The program, then its libraries.
  std::vector<PageMessage> messages;
  const Drawing* before = nullptr;
  const Drawing* after = nullptr;
  const client::CoordContext* context = nullptr;
  std::vector<DrawnBy> drawn;
  const std::vector<explain::AnsweredCall>* calls = nullptr;
  std::optional<PageQuestion> question = {};
};

// The text of the object, in one line.
[[nodiscard]] std::string pageText(const PageState& state);

// The findings of the checks in a program after its libraries.
[[nodiscard]] std::vector<PageMessage> checkMessages(const std::vector<Program>& libraries,
                                                     const Program& program);

}  // namespace lisp_worker::console

#endif  // CONSOLE_WATCH_PAGE_STATE_H_
