// A selection is a way of selecting, such as a window, and a filter. Candidates come in the order
// of the drawing, and the filter takes those that have every group of it.

#include "console/selection.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "console/command_input.h"

namespace lisp_worker::console {

using client::Datum;
using client::DatumList;

namespace {

// True when `text` fits the pattern, in which * matches any letters and ? one.
bool fitsPattern(std::string_view text, std::string_view pattern) {
  std::size_t at = 0;
  std::size_t in_pattern = 0;
  std::size_t star = std::string_view::npos;  // The last star met, and where it began to stand for
  std::size_t star_at = 0;                    // more than nothing.
  while (at < text.size()) {
    if (in_pattern < pattern.size() &&
        (pattern[in_pattern] == '?' || pattern[in_pattern] == text[at]) &&
        pattern[in_pattern] != '*') {
      ++at;
      ++in_pattern;
    } else if (in_pattern < pattern.size() && pattern[in_pattern] == '*') {
      star = in_pattern++;
      star_at = at;
    } else if (star != std::string_view::npos) {
      in_pattern = star + 1;
      at = ++star_at;
    } else {
      return false;
    }
  }
  while (in_pattern < pattern.size() && pattern[in_pattern] == '*') ++in_pattern;
  return in_pattern == pattern.size();
}

bool fitsAnyPattern(std::string_view text, std::string_view patterns) {
  for (std::size_t begin = 0; begin <= patterns.size();) {
    const std::size_t end = std::min(patterns.find(',', begin), patterns.size());
    if (fitsPattern(text, patterns.substr(begin, end - begin))) return true;
    begin = end + 1;
  }
  return false;
}

bool fitsGroup(const Datum& group, const Datum& wanted) {
  const DatumList& parts = *client::asList(wanted);
  const double code = *client::asNumber(parts.front());
  const auto patterns = client::asString(parts.back());
  if (!patterns || (code != kTypeGroup && code != kTextGroup && code != kLayerGroup)) {
    return group == wanted;
  }
  const DatumList* const own = client::asList(group);
  const auto text = own->front() == parts.front() ? client::asString(own->back()) : std::nullopt;
  // Types are in capitals, however they are asked for.
  const std::string wanted_text =
      code == kTypeGroup ? upperCase(*patterns) : std::string(*patterns);
  return text && (*text == wanted_text || fitsAnyPattern(*text, wanted_text));
}

// The entities that the way of selecting in front of `arguments` finds; `next` is moved behind it.
std::optional<std::vector<std::string>> selectByMode(const Drawing& drawing,
                                                     const DatumList& arguments, std::size_t& next,
                                                     std::string& refusal) {
  const auto typed = arguments.empty() ? std::nullopt : client::asString(arguments[0]);
  std::optional<std::string> mode;
  if (typed) {
    ++next;
    mode = upperCase(typed->substr(typed->starts_with('_') ? 1 : 0));
  }
  if (mode == "W" || mode == "C") {
    const auto corner = arguments.size() < 3 ? std::nullopt : readPoint(arguments[1]);
    const auto opposite = arguments.size() < 3 ? std::nullopt : readPoint(arguments[2]);
    if (!corner || !opposite) {
      refusal = "a window needs two corners";
      return std::nullopt;
    }
    next += 2;
    return entitiesIn(drawing, boxBetween(*corner, *opposite), mode == "W");
  }
  std::vector<std::string> handles;
  if (mode == "P") {
    for (const std::string& handle : drawing.previousSelection()) {
      if (drawing.find(handle) != nullptr) handles.push_back(handle);
    }
  } else if (mode == "L") {
    if (!drawing.entities().empty()) handles.push_back(drawing.entities().back().handle);
  } else if (!mode || mode == "X" || mode == "A") {
    for (const Entity& entity : drawing.entities()) {
      if (mode == "X" || drawing.isVisible(entity)) handles.push_back(entity.handle);
    }
  } else {
    refusal = "no way of selecting: " + std::string(*typed) + "; there are X, A, W, C, L and P";
    return std::nullopt;
  }
  return handles;
}

}  // namespace

std::string whyNoFilter(const Datum& datum) {
  const DatumList* const groups = client::asList(datum);
  if (groups == nullptr) return "a filter is a list of groups";
  for (const Datum& group : *groups) {
    if (std::string reason = whyNoGroup(group); !reason.empty()) return reason;
  }
  return "";
}

bool isFilter(const Datum& datum) { return whyNoFilter(datum).empty(); }

bool fitsFilter(const Entity& entity, const DatumList& filter) {
  return std::all_of(filter.begin(), filter.end(), [&entity](const Datum& wanted) {
    return std::any_of(entity.groups.begin(), entity.groups.end(),
                       [&wanted](const Datum& group) { return fitsGroup(group, wanted); });
  });
}

std::vector<std::string> entitiesIn(const Drawing& drawing, const Box& box, bool inside_only) {
  std::vector<std::string> handles;
  for (const Entity& entity : drawing.entities()) {
    const bool is_in = inside_only ? liesInside(entity, box) : touches(entity, box);
    if (is_in && drawing.isVisible(entity)) handles.push_back(entity.handle);
  }
  return handles;
}

std::optional<std::vector<std::string>> selectEntities(const Drawing& drawing,
                                                       const DatumList& arguments,
                                                       std::string& refusal) {
  std::size_t next = 0;
  auto handles = selectByMode(drawing, arguments, next, refusal);
  if (!handles) return std::nullopt;
  DatumList filter;
  if (next < arguments.size()) {
    refusal = whyNoFilter(arguments[next]);
    if (!refusal.empty()) return std::nullopt;
    filter = *client::asList(arguments[next]);
    ++next;
  }
  if (next < arguments.size()) {
    refusal = "too many arguments";
    return std::nullopt;
  }
  std::erase_if(*handles, [&](const std::string& handle) {
    return !fitsFilter(*drawing.find(handle), filter);
  });
  return handles;
}

}  // namespace lisp_worker::console
