// One line is one answer: a point, a distance, handles, or an object snap and a point. A line that
// cannot be read is answered with the help for this call, and asked for again.

#include "console/keyboard.h"

#include <cmath>
#include <iostream>
#include <sstream>
#include <utility>

#include "console/command_input.h"
#include "console/selection.h"
#include "console/snap.h"
#include "lisp_worker/client/answer_text.h"
#include "lisp_worker/client/number_text.h"

namespace lisp_worker::console {

using client::Datum;
using client::DatumList;

namespace {

std::optional<client::Point> baseOf(const client::HostCall& call) {
  return call.arguments.empty() ? std::nullopt : readPoint(call.arguments.front());
}

bool asksForSelection(const client::HostCall& call) {
  return call.arguments.empty() || (call.arguments.size() == 1 && isFilter(call.arguments[0]));
}

std::optional<client::Point> readSnapped(const std::string& line, const client::Point& last,
                                         const Drawing& drawing) {
  const std::size_t blank = line.find(' ');
  if (blank == std::string::npos) return readTypedPoint(line, last);
  const auto near = readTypedPoint(line.substr(blank + 1), last);
  return near ? snapPoint(drawing, *near, line.substr(0, blank)) : std::nullopt;
}

}  // namespace

bool asksPerson(const client::HostCall& call) {
  return call.name == "GETPOINT" || call.name == "GETCORNER" || call.name == "GETDIST" ||
         (call.name == "SSGET" && asksForSelection(call));
}

std::string questionOf(const client::HostCall& call) {
  for (const Datum& argument : call.arguments) {
    if (const auto text = client::asString(argument)) return std::string(*text);
  }
  if (call.name == "GETDIST") return "Distance: ";
  if (call.name == "SSGET") return "Select (all, l, p, w x,y x,y, or handles): ";
  return "Point: ";
}

const char* helpForPick(const std::string& call_name) {
  if (call_name == "GETDIST")
    return "a distance is a number, 12.5, or a point to measure to, 10,20";
  if (call_name == "SSGET")
    return "all, l (the last), p (the previous), w x,y x,y, c x,y x,y, E1 E2 ...";
  return "a point is 10,20 or @5,0 (from the last), @10<45, or cen 10,20 to snap; Enter for none";
}

std::optional<Datum> readPick(const client::HostCall& call, Drawing& drawing,
                              const std::string& line, client::Point& last) {
  if (line.empty()) return client::nil();
  if (call.name == "SSGET") {
    DatumList words;
    std::istringstream stream(line);
    for (std::string word; stream >> word;) words.push_back(client::string(upperCase(word)));
    CommandInput input(words);
    const auto handles = input.takeSelection(drawing);
    if (!handles) return std::nullopt;
    drawing.setPreviousSelection(*handles);
    DatumList members;
    for (const std::string& handle : *handles) {
      const bool is_wanted =
          call.arguments.empty() ||
          fitsFilter(*drawing.find(handle), *client::asList(call.arguments.front()));
      if (is_wanted) members.push_back(client::string(handle));
    }
    return members.empty() ? client::nil() : client::selectionSet(std::move(members));
  }
  const client::Point base = baseOf(call).value_or(last);
  if (call.name == "GETDIST") {
    const auto number = client::readNumber(line);
    if (number && std::isfinite(*number)) return client::number(*number);
  }
  const auto point = readSnapped(line, base, drawing);
  if (!point) return std::nullopt;
  if (call.name == "GETDIST") {
    return client::number(std::hypot(point->x - base.x, point->y - base.y));
  }
  last = *point;
  return client::point(point->x, point->y, point->z);
}

std::optional<HostAnswer> Keyboard::answer(const client::HostCall& call, Drawing& drawing) {
  if (!asksPerson(call)) return std::nullopt;
  if (before_asking_) before_asking_();
  HostAnswer answer = ask(call, drawing);
  if (after_asking_) after_asking_();
  return answer;
}

HostAnswer Keyboard::ask(const client::HostCall& call, Drawing& drawing) {
  for (;;) {
    std::string line;
    switch (editor_.read(questionOf(call), line)) {
      case LineEditor::Result::End:
        return HostAnswer{"nil", "", "no answer was given to " + call.name};
      case LineEditor::Result::Interrupted:
        return HostAnswer{"nil", "", "cancelled at " + call.name};
      case LineEditor::Result::Line:
        break;
    }
    // A line from a file or a pipe is not on the screen yet, nor is its end.
    if (!editor_.isTerminal()) std::cout << line << "\n";
    const std::size_t begin = line.find_first_not_of(" \t");
    line = begin == std::string::npos
               ? ""
               : line.substr(begin, line.find_last_not_of(" \t") - begin + 1);
    if (const auto datum = readPick(call, drawing, line, last_)) {
      return HostAnswer{client::printDatum(*datum), "from the keyboard", ""};
    }
    std::cout << helpForPick(call.name) << "\n";
  }
}

}  // namespace lisp_worker::console
