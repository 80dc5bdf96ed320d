#include "console/adapter/stops.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <system_error>

#include "console/command_input.h"
#include "console/script.h"
#include "explain/evaluation.h"
#include "explain/form.h"
#include "explain/value_text.h"

namespace lisp_worker::console {
namespace {

using trace::Position;

constexpr std::size_t kLoggedSizeMax = 400;

std::string_view withoutBlanks(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(" \t");
  if (begin == std::string_view::npos) return "";
  return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

// Leaves the hits that `wish` is for, counted from 1. False if it cannot be read.
bool keepHits(std::vector<Position>& positions, std::string_view wish) {
  wish = withoutBlanks(wish);
  if (wish.empty()) return true;
  const std::size_t digits = wish.find_first_of("0123456789");
  if (digits == std::string_view::npos) return false;
  const std::string_view sign = withoutBlanks(wish.substr(0, digits));
  std::size_t wanted = 0;
  const char* const end = wish.data() + wish.size();
  const auto [read, fault] = std::from_chars(wish.data() + digits, end, wanted);
  if (fault != std::errc() || read != end) return false;
  if (sign == "%" && wanted == 0) return false;
  const std::string_view signs[] = {"", ">=", ">", "=", "==", "<", "<=", "%"};
  if (std::find(std::begin(signs), std::end(signs), sign) == std::end(signs)) return false;
  std::size_t hit = 0;
  std::erase_if(positions, [&](Position) {
    ++hit;
    if (sign == ">") return hit <= wanted;
    if (sign == "=" || sign == "==") return hit != wanted;
    if (sign == "<") return hit >= wanted;
    if (sign == "<=") return hit > wanted;
    if (sign == "%") return hit % wanted != 0;
    return hit < wanted;
  });
  return true;
}

}  // namespace

bool Stops::findLine(Stop& stop) const {
  const auto program = sources_->find(stop.wish.source);
  if (!program) {
    stop.why_not = "no form of this file is evaluated in this run";
    return false;
  }
  const auto form = sources_->stopAt(*program, stop.wish.line, stop.wish.column);
  if (!form) {
    stop.why_not = "no form begins here or in a later line";
    return false;
  }
  stop.program = *program;
  stop.form = run_->index.program(*program)->forms_by_number[*form];
  stop.found = breakAtForm(*run_, run_->index.program(*program), *form);
  return true;
}

void Stops::find(Stop& stop) const {
  stop.found = {};
  stop.form = nullptr;
  stop.why_not.clear();
  stop.log.clear();
  if (run_ == nullptr) {
    stop.why_not = "the program is not launched yet";
    return;
  }
  const StopWish& wish = stop.wish;
  std::optional<Breakpoint> found;
  if (wish.kind == StopWish::Kind::Line) {
    if (!findLine(stop)) return;
    found = std::move(stop.found);
  } else if (wish.kind == StopWish::Kind::Function) {
    const std::string name = upperCase(withoutBlanks(wish.name));
    found = isHostCall(name) ? breakAtHostCalls(*run_, name)
                             : breakAtFunction(*run_, name, stop.why_not);
  } else if (wish.name == kErrorFilter) {
    // A program that does not fail is a good one, and the filter is right all the same.
    std::string none;
    found = breakAtError(*run_, none).value_or(Breakpoint{.meaning = "the error"});
  } else if (wish.name == kRefusalFilter) {
    found = breakAtRefusals(*run_);
  } else if (wish.kind == StopWish::Kind::Data && wish.name.starts_with("set ")) {
    found = breakAtAssignments(*run_, wish.name.substr(4));
  } else if (wish.kind == StopWish::Kind::Data && wish.name.starts_with("entity ")) {
    found = breakAtEntity(*run_, wish.name.substr(7), stop.why_not);
  } else {
    stop.why_not = wish.kind == StopWish::Kind::Data
                       ? "data is \"set NAME\" or \"entity HANDLE\", as dataBreakpointInfo tells"
                       : "the filters are \"error\" and \"refusal\"";
  }
  if (!found) return;
  const std::string_view condition = withoutBlanks(wish.condition);
  if (!condition.empty() && !narrow(*run_, *found, condition, stop.why_not)) return;
  if (!keepHits(found->positions, wish.hits)) {
    stop.why_not = "the hits cannot be read: write a number, or one after >=, >, =, <, <= or %";
    return;
  }
  stop.found = std::move(*found);
  readLog(stop);
}

// "N is {N}, and {(* 2 N)}"; a brace that is never closed is text.
void Stops::readLog(Stop& stop) const {
  std::string_view rest = stop.wish.log;
  while (!rest.empty()) {
    const std::size_t open = rest.find('{');
    const std::size_t close = open == std::string_view::npos ? open : rest.find('}', open);
    if (close == std::string_view::npos) {
      stop.log.push_back({std::string(rest), nullptr});
      return;
    }
    auto expression =
        std::make_unique<trace::Condition>(run_->index, rest.substr(open + 1, close - open - 1));
    if (!expression->error().empty()) {
      stop.why_not = "the log message cannot be read: " + expression->error();
      stop.found.positions.clear();
      return;
    }
    stop.log.push_back({std::string(rest.substr(0, open)), std::move(expression)});
    rest.remove_prefix(close + 1);
  }
}

Json Stops::breakpointOf(const Stop& stop) const {
  Json json = {{"id", stop.wish.id}, {"verified", stop.why_not.empty()}};
  if (!stop.why_not.empty()) json["message"] = stop.why_not;
  if (stop.form != nullptr) sources_->addPlace(json, stop.program, *stop.form);
  return json;
}

Json Stops::set(const std::string& group, std::vector<StopWish> wishes) {
  std::vector<Stop>& stops = groups_[group];
  stops.clear();
  Json breakpoints = Json::array();
  for (StopWish& wish : wishes) {
    Stop stop{.wish = std::move(wish)};
    find(stop);
    breakpoints.push_back(breakpointOf(stop));
    stops.push_back(std::move(stop));
  }
  return breakpoints;
}

Json Stops::setRun(const RecordedRun* run, const RunSources* sources) {
  run_ = run;
  sources_ = sources;
  Json breakpoints = Json::array();
  for (auto& [group, stops] : groups_) {
    for (Stop& stop : stops) {
      find(stop);
      breakpoints.push_back(breakpointOf(stop));
    }
  }
  return breakpoints;
}

std::optional<Stops::Arrival> Stops::arrivalAt(Position position) const {
  std::optional<Arrival> arrival;
  for (const auto& [group, stops] : groups_) {
    for (const Stop& stop : stops) {
      const auto& positions = stop.found.positions;
      if (!stop.stops() || !std::binary_search(positions.begin(), positions.end(), position)) {
        continue;
      }
      if (!arrival) arrival = {position, stop.wish.kind, stop.found.meaning, {}};
      arrival->ids.push_back(stop.wish.id);
    }
  }
  return arrival;
}

std::optional<Stops::Arrival> Stops::next(Position position) const {
  std::optional<Position> nearest;
  for (const auto& [group, stops] : groups_) {
    for (const Stop& stop : stops) {
      const auto& positions = stop.found.positions;
      const auto later = std::upper_bound(positions.begin(), positions.end(), position);
      if (!stop.stops() || later == positions.end()) continue;
      nearest = nearest ? std::min(*nearest, *later) : *later;
    }
  }
  return nearest ? arrivalAt(*nearest) : std::nullopt;
}

std::optional<Stops::Arrival> Stops::previous(Position position) const {
  std::optional<Position> nearest;
  for (const auto& [group, stops] : groups_) {
    for (const Stop& stop : stops) {
      const auto& positions = stop.found.positions;
      const auto later = std::lower_bound(positions.begin(), positions.end(), position);
      if (!stop.stops() || later == positions.begin()) continue;
      nearest = nearest ? std::max(*nearest, *std::prev(later)) : *std::prev(later);
    }
  }
  return nearest ? arrivalAt(*nearest) : std::nullopt;
}

std::vector<std::pair<Position, std::string>> Stops::logsBetween(Position from, Position to,
                                                                 std::size_t count_max) const {
  std::vector<std::pair<Position, const Stop*>> moments;
  for (const auto& [group, stops] : groups_) {
    for (const Stop& stop : stops) {
      if (stop.stops()) continue;
      const auto& positions = stop.found.positions;
      auto at = std::upper_bound(positions.begin(), positions.end(), from);
      for (std::size_t n = 0; n < count_max && at != positions.end() && *at <= to; ++n) {
        moments.emplace_back(*at++, &stop);
      }
    }
  }
  std::stable_sort(moments.begin(), moments.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  moments.resize(std::min(moments.size(), count_max));
  std::vector<std::pair<Position, std::string>> logs;
  for (const auto& [position, stop] : moments) {
    std::string text;
    for (const LogPart& part : stop->log) {
      text += part.text;
      if (part.expression == nullptr) continue;
      const auto value = part.expression->valueAt(position);
      text +=
          value ? explain::shorten(*value, kLoggedSizeMax) : "{" + part.expression->failure() + "}";
    }
    logs.emplace_back(position, std::move(text));
  }
  return logs;
}

}  // namespace lisp_worker::console
