// A cursor over the arguments of one COMMAND. Each take...() reads the next argument as one kind of
// input; the first that cannot be read is the error of the whole command.

#include "console/command_input.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <set>
#include <utility>

#include "console/selection.h"
#include "console/shape.h"
#include "lisp_worker/client/answer_text.h"
#include "lisp_worker/client/number_text.h"

namespace lisp_worker::console {

using client::Datum;
using client::DatumList;
using client::Point;

namespace {

constexpr double kDegree = kPi / 180;

std::optional<double> readTypedNumber(std::string_view text) {
  const auto value = client::readNumber(text);
  return value && std::isfinite(*value) ? value : std::nullopt;
}

}  // namespace

std::string upperCase(std::string_view text) {
  std::string upper(text);
  std::transform(upper.begin(), upper.end(), upper.begin(), [](char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  });
  return upper;
}

std::optional<Point> readTypedPoint(std::string_view text, const Point& last) {
  const bool is_relative = text.starts_with('@');
  if (is_relative) text.remove_prefix(1);
  const Point base = is_relative ? last : Point{};
  if (const std::size_t mark = text.find('<'); mark != std::string_view::npos) {
    const auto distance = readTypedNumber(text.substr(0, mark));
    const auto degrees = readTypedNumber(text.substr(mark + 1));
    if (!distance || !degrees) return std::nullopt;
    return Point{base.x + *distance * std::cos(*degrees * kDegree),
                 base.y + *distance * std::sin(*degrees * kDegree), base.z};
  }
  std::vector<double> parts;
  while (parts.size() < 3) {
    const std::size_t size = std::min(text.find(','), text.size());
    const auto part = readTypedNumber(text.substr(0, size));
    if (!part) return std::nullopt;
    parts.push_back(*part);
    if (size == text.size()) break;
    text.remove_prefix(size + 1);
    if (parts.size() == 3) return std::nullopt;
  }
  if (parts.size() < 2) return std::nullopt;
  return Point{base.x + parts[0], base.y + parts[1], base.z + (parts.size() == 3 ? parts[2] : 0)};
}

const Datum* CommandInput::peek() const { return atEnd() ? nullptr : &arguments_[next_]; }

bool CommandInput::atEnter() const { return atEnd() || client::asString(*peek()) == ""; }

bool CommandInput::takeEnter() {
  if (!atEnter()) return false;
  if (!atEnd()) ++next_;
  return true;
}

bool CommandInput::isBehindEnter() const {
  return next_ == 0 || client::asString(arguments_[next_ - 1]) == "";
}

bool CommandInput::takeWord(std::string_view word, std::string_view in_full) {
  const std::string typed = upperCase(nextText());
  if (typed.empty() || (typed != word && typed != in_full)) return false;
  ++next_;
  return true;
}

std::string CommandInput::next() const { return atEnd() ? "" : client::printDatum(*peek()); }

std::string_view CommandInput::nextText() const {
  return atEnd() ? "" : client::asString(*peek()).value_or("");
}

std::optional<Point> CommandInput::peekPoint() const {
  if (atEnd()) return std::nullopt;
  if (const auto text = client::asString(*peek())) return readTypedPoint(*text, last_);
  return readPoint(*peek());
}

std::optional<double> CommandInput::peekNumber() const {
  if (atEnd()) return std::nullopt;
  if (const auto text = client::asString(*peek())) return readTypedNumber(*text);
  const auto value = client::asNumber(*peek());
  return value && std::isfinite(*value) ? value : std::nullopt;
}

std::optional<Point> CommandInput::takePoint(std::string_view what) {
  const auto point = peekPoint();
  if (!point) {
    failFor(what);
    return std::nullopt;
  }
  ++next_;
  last_ = *point;
  return point;
}

std::optional<double> CommandInput::takeDistance(std::string_view what, const Point& base) {
  if (const auto point = peekPoint()) {
    ++next_;
    return std::hypot(point->x - base.x, point->y - base.y);
  }
  return takeNumber(what);
}

std::optional<double> CommandInput::takeNumber(std::string_view what) {
  const auto value = peekNumber();
  if (value) {
    ++next_;
  } else {
    failFor(what);
  }
  return value;
}

std::optional<double> CommandInput::takeAngle(std::string_view what) {
  const auto degrees = takeNumber(what);
  if (!degrees) return std::nullopt;
  return *degrees * kDegree;
}

std::optional<std::string> CommandInput::takeText(std::string_view what) {
  const auto text = atEnd() ? std::nullopt : client::asString(*peek());
  const auto number = atEnd() ? std::nullopt : client::asNumber(*peek());
  if (!text && !(number && std::isfinite(*number))) {
    failFor(what);
    return std::nullopt;
  }
  ++next_;
  if (text) return std::string(*text);
  // More digits would be those of the computation.
  constexpr double kSteps = 1e6;
  constexpr double kRoundedMax = 1e9;
  const bool is_rounded = std::fabs(*number) < kRoundedMax;
  return client::printNumber(is_rounded ? std::round(*number * kSteps) / kSteps + 0.0 : *number);
}

std::optional<std::vector<std::string>> CommandInput::takeSelection(const Drawing& drawing) {
  std::set<std::uint64_t> chosen;  // Places, so that it is in the drawing's order.
  const auto choose = [&](std::string_view handle) {
    if (const auto place = drawing.placeOf(handle)) chosen.insert(*place);
  };
  while (!takeEnter()) {
    if (atPoint()) break;
    if (const DatumList* const set = client::asList(*peek())) {
      for (const Datum& member : *set) choose(client::asString(member).value_or(""));
      ++next_;
    } else if (takeWord("W", "WINDOW") || takeWord("C", "CROSSING")) {
      const bool is_window = upperCase(*client::asString(arguments_[next_ - 1])).front() == 'W';
      const auto corner = takePoint("a corner");
      const auto opposite = corner ? takePoint("the opposite corner") : std::nullopt;
      if (!opposite) return std::nullopt;
      const Box box = boxBetween(*corner, *opposite);
      for (const std::string& handle : entitiesIn(drawing, box, is_window)) choose(handle);
    } else if (takeWord("ALL")) {
      const EntityList all = drawing.entities();
      for (auto entity = all.begin(); entity != all.end(); ++entity) {
        chosen.insert(chosen.end(), entity.place());
      }
    } else if (takeWord("L", "LAST")) {
      if (!drawing.entities().empty()) choose(drawing.entities().back().handle);
    } else if (takeWord("P", "PREVIOUS")) {
      for (const std::string& handle : drawing.previousSelection()) choose(handle);
    } else if (const auto handle = client::asString(*peek())) {
      if (drawing.find(*handle) == nullptr) {
        failAt(next_, "there is no entity " + std::string(*handle));
        return std::nullopt;
      }
      choose(*handle);
      ++next_;
    } else if (peek()->kind() == client::DatumKind::Nil) {
      ++next_;  // What SSGET answers when it has found nothing.
    } else {
      failFor("a handle or a selection set");
      return std::nullopt;
    }
  }
  std::vector<std::string> handles;
  for (const std::uint64_t place : chosen) {
    const Entity& entity = drawing.at(place);
    if (drawing.isVisible(entity)) handles.push_back(entity.handle);
  }
  if (handles.empty()) {
    fail("nothing is selected");
    return std::nullopt;
  }
  return handles;
}

void CommandInput::fail(std::string reason) {
  failAt(next_ == 0 ? std::nullopt : std::optional(next_ - 1), std::move(reason));
}

void CommandInput::failAtNext(std::string reason) {
  failAt(atEnd() ? std::nullopt : std::optional(next_), std::move(reason));
}

void CommandInput::failFor(std::string_view what) {
  failAtNext("needs " + std::string(what) + (atEnd() ? "" : ", not " + next() + hintOnNext()));
}

std::string CommandInput::hintOnNext() const {
  const DatumList* const parts = client::asList(*peek());
  const bool has_names =
      parts != nullptr && std::any_of(parts->begin(), parts->end(), [](const Datum& part) {
        return part.kind() == client::DatumKind::Symbol;
      });
  return has_names ? "; in '(...) names are not their values: write (LIST ...)" : "";
}

void CommandInput::failAt(std::optional<std::size_t> argument, std::string reason) {
  error_ = command_ + ": " + std::move(reason);
  failed_argument_ = argument;
}

}  // namespace lisp_worker::console
