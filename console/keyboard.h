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
  std::optional<client::Datum> readPick(const client::HostCall& call, Drawing& drawing,
                                        const std::string& line);

  LineEditor& editor_;
  std::function<void()> before_asking_;
  std::function<void()> after_asking_;
  client::Point last_;  // What @ counts from.
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_KEYBOARD_H_
