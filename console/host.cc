// The first that has an answer gives it: the program's script, then the list of answers or the
// person (Answerer), then one function for each host call, from a table. Those look at the drawing,
// or pick by rule.

#include "console/host.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "console/commands.h"
#include "console/display.h"
#include "console/selection.h"
#include "console/snap.h"
#include "lisp_worker/client/answer_text.h"

namespace lisp_worker::console {

using client::Datum;
using client::DatumList;
using client::Point;

namespace {

constexpr double kPickStepX = 100;
constexpr double kPickStepY = 50;
constexpr double kPickedDistance = 10;

Datum makePoint(const Point& point) { return client::point(point.x, point.y, point.z); }

Datum refuse(HostAnswer& answer, std::string why, std::optional<std::size_t> argument = 0) {
  answer.note = std::move(why);
  answer.is_refused = true;
  answer.refused_argument = argument;
  return client::nil();
}

// The call with its arguments; `error` says why there is none.
std::optional<client::HostCall> callOf(const client::EvalResult& waiting,
                                       const std::optional<DatumList>& known, std::string& error) {
  if (!known) return client::readHostCall(waiting, &error);
  return client::HostCall{
      .name = waiting.call_name, .arguments = *known, .text = waiting.text, .unreadable = {}};
}

}  // namespace

const Host::CallEntry Host::kCalls[] = {
    {"GETPOINT", &Host::pickPoint},   {"GETCORNER", &Host::pickCorner},
    {"GETDIST", &Host::pickDistance}, {"SSGET", &Host::select},
    {"ENTGET", &Host::getEntity},     {"ENTMOD", &Host::modifyEntity},
    {"ENTMAKE", &Host::makeEntity},   {"ENTMAKEX", &Host::makeEntityForHandle},
    {"COMMAND", &Host::command},      {"COMMAND-S", &Host::command},
    {"OSNAP", &Host::snap},
};

std::optional<HostAnswer> AnswerList::answer(const client::HostCall& call, Drawing& drawing) {
  const auto found =
      std::find_if(answers_.begin(), answers_.end(),
                   [&call](const ScriptedAnswer& answer) { return answer.call == call.name; });
  if (found != answers_.end()) {
    HostAnswer answer{std::move(found->text), "from " + name_, ""};
    answers_.erase(found);
    return answer;
  }
  if (next_ != nullptr) return next_->answer(call, drawing);
  if (call.name != "GETPOINT" && call.name != "GETCORNER" && call.name != "GETDIST") {
    return std::nullopt;
  }
  return HostAnswer{"nil", "",
                    name_ + ": no answer is left for " + call.name + "; add a line such as " +
                        call.name + (call.name == "GETDIST" ? " 10" : " (10 20 0)")};
}

Host::Host(Drawing& drawing, std::vector<ScriptedAnswer> script, Answerer* answerer)
    : drawing_(drawing), script_(std::move(script)), answerer_(answerer) {}

HostAnswer Host::answer(const client::EvalResult& waiting, const std::optional<DatumList>& known) {
  const auto scripted = std::find_if(
      script_.begin(), script_.end(),
      [&waiting](const ScriptedAnswer& answer) { return answer.call == waiting.call_name; });
  if (scripted != script_.end()) {
    HostAnswer answer{std::move(scripted->text), "from the program's script", ""};
    script_.erase(scripted);
    return answer;
  }
  std::string error;
  const auto call = callOf(waiting, known, error);
  if (!call) {
    return {
        "nil",
        "the arguments cannot be read: a text among them holds a double quote, and it could end "
        "there; write two apostrophes for inches, 3/4'', in " +
            displayText(waiting.text),
        "", true};
  }
  if (answerer_ != nullptr) {
    if (auto answer = answerer_->answer(*call, drawing_)) return *answer;
  }
  const auto* const entry =
      std::find_if(std::begin(kCalls), std::end(kCalls),
                   [&call](const CallEntry& each) { return each.name == call->name; });
  if (entry == std::end(kCalls)) return {"nil", "this host knows no such call", "", true};
  HostAnswer answer;
  const Datum datum = (this->*entry->operation)(call->arguments, answer);
  const auto text = client::answerText(datum, &error);
  if (!text) return {"nil", answer.note + "; cannot be answered: " + error, "", true};
  answer.text = *text;
  return answer;
}

Datum Host::pickPoint(const DatumList& /*arguments*/, HostAnswer& answer) {
  answer.note = kByRule;
  const double count = picked_point_count_++;
  return client::point(kPickStepX * count, kPickStepY * count, 0);
}

Datum Host::pickCorner(const DatumList& arguments, HostAnswer& answer) {
  answer.note = kByRule;
  const auto given = arguments.empty() ? std::nullopt : readPoint(arguments.front());
  const Point base = given.value_or(Point{});
  return client::point(base.x + kPickStepX, base.y + kPickStepY, base.z);
}

Datum Host::pickDistance(const DatumList& /*arguments*/, HostAnswer& answer) {
  answer.note = kByRule;
  return client::number(kPickedDistance);
}

Datum Host::select(const DatumList& arguments, HostAnswer& answer) {
  std::string refusal;
  const auto handles = selectEntities(drawing_, arguments, refusal);
  if (!handles) {
    return refuse(answer, "nothing selected: " + refusal);
  }
  answer.note = std::to_string(handles->size()) + " selected";
  drawing_.setPreviousSelection(*handles);
  if (handles->empty()) return client::nil();
  DatumList members;
  std::transform(handles->begin(), handles->end(), std::back_inserter(members), client::string);
  return client::selectionSet(std::move(members));
}

Datum Host::getEntity(const DatumList& arguments, HostAnswer& answer) {
  const auto handle = arguments.empty() ? std::nullopt : client::asString(arguments.front());
  if (!handle) return refuse(answer, "needs a handle, a text");
  const Entity* const entity = drawing_.find(*handle);
  if (entity == nullptr) {
    answer.note = "no such entity";
    return client::nil();
  }
  answer.note = "from the drawing";
  return entityData(*entity);
}

Datum Host::modifyEntity(const DatumList& arguments, HostAnswer& answer) {
  Datum groups = arguments.empty() ? client::nil() : arguments.front();
  std::string refusal;
  if (!drawing_.modify(groups, refusal)) {
    return refuse(answer, "not changed: " + refusal);
  }
  answer.note = "changed " + std::string(findStringGroup(*client::asList(groups), kHandleGroup));
  return groups;
}

Datum Host::makeEntity(const DatumList& arguments, HostAnswer& answer) {
  const Datum handle = makeEntityForHandle(arguments, answer);
  return client::asString(handle) ? arguments.front() : handle;
}

Datum Host::makeEntityForHandle(const DatumList& arguments, HostAnswer& answer) {
  std::string refusal;
  const auto handle = drawing_.add(arguments.empty() ? client::nil() : arguments.front(), refusal);
  if (!handle) {
    return refuse(answer, "not made: " + refusal);
  }
  answer.note = "added " + *handle;
  return client::string(*handle);
}

Datum Host::command(const DatumList& arguments, HostAnswer& answer) {
  CommandResult result = runCommand(drawing_, arguments);
  answer.note = std::move(result.text);
  answer.is_refused = !result.is_whole;
  answer.refused_argument = result.failed_argument;
  return client::nil();
}

Datum Host::snap(const DatumList& arguments, HostAnswer& answer) {
  const auto near = arguments.empty() ? std::nullopt : readPoint(arguments.front());
  const auto modes = arguments.size() < 2 ? std::nullopt : client::asString(arguments[1]);
  if (!near || !modes) {
    return refuse(answer, "needs a point and modes, such as \"end\"", near ? 1 : 0);
  }
  if (const std::string unknown = whyUnknownModes(*modes); !unknown.empty()) {
    return refuse(answer, unknown, 1);
  }
  const auto found = snapPoint(drawing_, *near, *modes);
  if (!found) {
    answer.note = "nothing to snap to";
    return client::nil();
  }
  answer.note = "from the drawing";
  return makePoint(*found);
}

}  // namespace lisp_worker::console
