// Points, distances and selections asked from the person at the keyboard.

#ifndef CONSOLE_KEYBOARD_H_
#define CONSOLE_KEYBOARD_H_

#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "console/host.h"
#include "console/line_editor.h"
#include "lisp_worker/client/coordinates.h"

namespace lisp_worker::console {

// True for a call that a person answers: GETPOINT, GETCORNER, GETDIST, and SSGET without a way of
// selecting; a filter there may be.
[[nodiscard]] bool asksPerson(const client::HostCall& call);

// The question, as the program puts it or else as the console does; and what may be typed.
[[nodiscard]] std::string questionOf(const client::HostCall& call);
[[nodiscard]] const char* helpForPick(const std::string& call_name);

// The answer that a typed line is to a call that asks a person. Empty when it is none. A selection
// becomes the drawing's previous one. `last` is what @ counts from, and the next point.
[[nodiscard]] std::optional<client::Datum> readPick(const client::HostCall& call, Drawing& drawing,
                                                    const std::string& line, client::Point& last);

// Answers GETPOINT, GETCORNER, GETDIST, and SSGET without a way of selecting (a filter there may
// be), with the prompt that the
// program gives. A point is typed as 10,20 or @5,0 or @10<45, or picked up from the drawing as
// "end 10,20"; a distance is a number or a second point; a selection is words as COMMAND takes
// them: all, l, p, w 0,0 10,10, E1 E2. Enter alone is nil. What cannot be understood is asked
// again; Ctrl-C and the end of the input give the program up.
class Keyboard : public Answerer {
 public:
  // `editor` must outlive it.
  explicit Keyboard(LineEditor& editor) : editor_(editor) {}

  // Called before each question, and when it has been answered or given up. May be empty.
  void setAround(std::function<void()> before, std::function<void()> after) {
    before_asking_ = std::move(before);
    after_asking_ = std::move(after);
  }

  std::optional<HostAnswer> answer(const client::HostCall& call, Drawing& drawing) override;

 private:
  HostAnswer ask(const client::HostCall& call, Drawing& drawing);

  LineEditor& editor_;
  std::function<void()> before_asking_;
  std::function<void()> after_asking_;
  client::Point last_;  // What @ counts from.
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_KEYBOARD_H_
