// The inputs of a command, taken one after the other as a person would type them.
//
// A point is a list of numbers, or text: "10,20", "10,20,5", "@5,0" from the last point, "@10<45"
// from the last point at an angle. A number is a number, or text that is one. Angles are in
// degrees, against the clock. An empty string is the Enter key.

#ifndef CONSOLE_COMMAND_INPUT_H_
#define CONSOLE_COMMAND_INPUT_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/drawing.h"
#include "lisp_worker/client/coordinates.h"
#include "lisp_worker/client/datum.h"

namespace lisp_worker::console {

// A point as a person types it. `last` is what @ counts from. Empty when `text` is none.
[[nodiscard]] std::optional<client::Point> readTypedPoint(std::string_view text,
                                                          const client::Point& last);

// A to Z for a to z.
[[nodiscard]] std::string upperCase(std::string_view text);

// The operations named take... consume an input and write into error() when it does not fit, or
// when there is none. Then the command has failed, and its caller returns.
class CommandInput {
 public:
  // `arguments` must outlive the input.
  explicit CommandInput(const client::DatumList& arguments) : arguments_(arguments) {}

  // The command that error() speaks of.
  void setCommand(std::string_view command) { command_ = command; }
  [[nodiscard]] const std::string& command() const { return command_; }
  [[nodiscard]] const std::string& error() const { return error_; }

  [[nodiscard]] bool atEnd() const { return next_ == arguments_.size(); }
  // True when nothing is left or Enter comes next. takeEnter also consumes the Enter.
  [[nodiscard]] bool atEnter() const;
  bool takeEnter();
  // True when nothing has been consumed or Enter was the last input.
  [[nodiscard]] bool isBehindEnter() const;
  // Consumes the next input when it is this word, short or in full, in either case.
  bool takeWord(std::string_view word, std::string_view in_full = "");
  // Passes over the next input.
  void takeAny() { ++next_; }
  // The next input as text, of any kind; for messages.
  [[nodiscard]] std::string next() const;
  // The next input when it is a text; empty otherwise. A view into the arguments.
  [[nodiscard]] std::string_view nextText() const;

  [[nodiscard]] bool atPoint() const { return peekPoint().has_value(); }
  std::optional<client::Point> takePoint(std::string_view what);
  // A number, or a point: then its distance from `base`.
  std::optional<double> takeDistance(std::string_view what, const client::Point& base);
  std::optional<double> takeNumber(std::string_view what);
  // Radians, from degrees.
  std::optional<double> takeAngle(std::string_view what);
  // A text; a number is one too, with up to six digits behind the point.
  std::optional<std::string> takeText(std::string_view what);

  // Handles, selection sets, and the words ALL, L (the last entity), P (what was selected last),
  // W and C with two corners (what lies inside, what touches), up to Enter or a point. Only
  // entities that there are, on visible layers, each once, in the order of the drawing.
  std::optional<std::vector<std::string>> takeSelection(const Drawing& drawing);

  // The command fails because of the input that was taken last.
  void fail(std::string reason);

  // The command fails because of the input that comes next, or because none does.
  void failAtNext(std::string reason);

  // Which argument is to blame, counted from 0, once there is an error; empty when none is.
  [[nodiscard]] std::optional<std::size_t> failedArgument() const { return failed_argument_; }

 private:
  [[nodiscard]] const client::Datum* peek() const;
  [[nodiscard]] std::optional<client::Point> peekPoint() const;
  [[nodiscard]] std::optional<double> peekNumber() const;
  void failFor(std::string_view what);
  // For a list of names in the place of a point; else empty. There is a next input.
  [[nodiscard]] std::string hintOnNext() const;
  void failAt(std::optional<std::size_t> argument, std::string reason);

  const client::DatumList& arguments_;
  std::size_t next_ = 0;
  client::Point last_;
  std::string command_;
  std::string error_;
  std::optional<std::size_t> failed_argument_;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_COMMAND_INPUT_H_
