// The requests by their names, what they need, and the order of what is sent.

#include "console/adapter/adapter_session.h"

#include <algorithm>
#include <utility>

#include "console/debug/breakpoints.h"
#include "console/debug/movements.h"
#include "explain/evaluation.h"
#include "explain/explanation.h"
#include "explain/value_text.h"

namespace lisp_worker::console {
namespace {

using trace::Position;

// One movement tells so many host calls and log messages; the rest is counted.
constexpr std::size_t kToldMax = 200;

}  // namespace

struct AdapterSession::Request {
  std::string_view name;
  Needs needs;
  Json (AdapterSession::*carry_out)(Fields&);
};

std::span<const AdapterSession::Request> AdapterSession::requests() {
  using Self = AdapterSession;
  static constexpr Request kRequests[] = {
      {"initialize", Needs::Nothing, &Self::initialize},
      {"launch", Needs::Initialized, &Self::launch},
      {"attach", Needs::Initialized, &Self::attach},
      {"restart", Needs::Run, &Self::restart},
      {"configurationDone", Needs::Initialized, &Self::configurationDone},
      {"setBreakpoints", Needs::Initialized, &Self::setBreakpoints},
      {"setFunctionBreakpoints", Needs::Initialized, &Self::setFunctionBreakpoints},
      {"setExceptionBreakpoints", Needs::Initialized, &Self::setExceptionBreakpoints},
      {"setDataBreakpoints", Needs::Initialized, &Self::setDataBreakpoints},
      {"dataBreakpointInfo", Needs::Run, &Self::dataBreakpointInfo},
      {"breakpointLocations", Needs::Run, &Self::breakpointLocations},
      {"threads", Needs::Initialized, &Self::threads},
      {"stackTrace", Needs::Stopped, &Self::stackTrace},
      {"scopes", Needs::Stopped, &Self::scopes},
      {"variables", Needs::Stopped, &Self::variables},
      {"setVariable", Needs::Stopped, &Self::setVariable},
      {"setExpression", Needs::Stopped, &Self::setVariable},
      {"evaluate", Needs::Stopped, &Self::evaluate},
      {"completions", Needs::Run, &Self::completions},
      {"exceptionInfo", Needs::Stopped, &Self::exceptionInfo},
      {"picture", Needs::Stopped, &Self::picture},
      {"loadedSources", Needs::Run, &Self::loadedSources},
      {"source", Needs::Run, &Self::source},
      {"continue", Needs::Stopped, &Self::resume},
      {"reverseContinue", Needs::Stopped, &Self::reverse},
      {"pause", Needs::Run, &Self::pause},
      {"restartFrame", Needs::Stopped, &Self::restartFrame},
      {"gotoTargets", Needs::Stopped, &Self::gotoTargets},
      {"goto", Needs::Stopped, &Self::goTo},
      {"cancel", Needs::Initialized, &Self::cancel},
      {"terminate", Needs::Initialized, &Self::terminate},
      {"disconnect", Needs::Nothing, &Self::disconnect},
  };
  return kRequests;
}

// The steps, each with its direction. Two of them are requests of our own: the protocol has one
// step back only.
struct AdapterSession::Movement {
  std::string_view name;
  bool is_forward;
  Position (*from)(const trace::Index&, Position);
};

std::span<const AdapterSession::Movement> AdapterSession::movements() {
  static constexpr Movement kMovements[] = {
      {"next", true, stepOver},
      {"stepIn", true, stepInto},
      {"stepOut", true, stepOut},
      {"stepBack", false, stepBackOver},
      {"stepBackIn", false, stepBackInto},
      {"stepBackOut", false, stepBackOut},
  };
  return kMovements;
}

// --- Messages -----------------------------------------------------------------------------------

bool AdapterSession::cancels(std::string_view message, std::int64_t request) {
  const Json json = Json::parse(message, nullptr, false);
  if (!json.is_object()) return false;
  std::string error;
  Fields fields(json, error);
  const std::string command = fields.text("command");
  if (command == "disconnect" || command == "terminate") return true;
  const Json& arguments = fields.object("arguments");
  return command == "cancel" && Fields(arguments, error).number("requestId", -1) == request;
}

void AdapterSession::receive(std::string_view message) {
  error_.clear();
  shows_error_ = false;
  const Json json = Json::parse(message, nullptr, false);
  if (!json.is_object()) {
    error_ = json.is_discarded() ? "the message is not JSON" : "the message must be an object";
    respond(0, "", nullptr);
    return;
  }
  Fields fields(json, error_);
  request_ = fields.neededNumber("seq");
  const std::string type = fields.neededText("type");
  if (error_.empty() && type != "request") return;  // We ask nothing, so this answers nothing.
  const std::string command = fields.neededText("command");
  const Json& arguments = fields.object("arguments");
  Json body = error_.empty() ? carryOut(command, arguments) : Json();
  respond(request_, command, std::move(body));
  for (Json& event : std::exchange(events_, {})) send(std::move(event));
}

Json AdapterSession::carryOut(std::string_view command, const Json& arguments) {
  Fields fields(arguments, error_);
  for (const Request& request : requests()) {
    if (request.name != command) continue;
    error_ = whyNotNow(request);
    return error_.empty() ? (this->*request.carry_out)(fields) : Json();
  }
  for (const Movement& movement : movements()) {
    if (movement.name != command) continue;
    error_ = whyNotNow({movement.name, Needs::Stopped, nullptr});
    return error_.empty() ? step(movement, fields) : Json();
  }
  error_ = "there is no request " + inQuotes(command);
  return nullptr;
}

std::string AdapterSession::whyNotNow(const Request& request) const {
  const std::string name = inQuotes(request.name);
  const bool needs_run = request.needs == Needs::Run || request.needs == Needs::Stopped;
  if (request.needs != Needs::Nothing && !is_initialized_) {
    return name + " comes too early: initialize begins a session";
  }
  if (needs_run && launched_ == nullptr) return name + " needs a program: launch runs one";
  if (request.needs != Needs::Stopped) return "";
  if (!has_started_) return name + " comes too early: configurationDone lets the program begin";
  return has_ended_ ? name + " comes too late: the program has ended; restart begins again" : "";
}

void AdapterSession::respond(std::int64_t request, const std::string& command, Json body) {
  Json response = {{"type", "response"},
                   {"request_seq", request},
                   {"command", command},
                   {"success", error_.empty()}};
  if (!error_.empty()) {
    response["message"] = error_;
    response["body"] = {{"error",
                         {{"id", 1},
                          {"format", "{message}"},
                          {"variables", {{"message", error_}}},
                          {"showUser", shows_error_}}}};
  } else if (!body.is_null()) {
    response["body"] = std::move(body);
  }
  send(std::move(response));
}

void AdapterSession::send(Json message) {
  message["seq"] = ++last_seq_;
  settings_.send(dumped(message));
}

void AdapterSession::queueEvent(const char* event, Json body) {
  Json message = {{"type", "event"}, {"event", event}};
  if (!body.is_null()) message["body"] = std::move(body);
  events_.push_back(std::move(message));
}

// --- The life of a session ----------------------------------------------------------------------

Json AdapterSession::initialize(Fields& arguments) {
  static_cast<void>(arguments.neededText("adapterID"));
  if (error_.empty() && is_initialized_) error_ = "the session has begun already";
  style_ = {.first_line = arguments.flag("linesStartAt1", true) ? 1 : 0,
            .first_column = arguments.flag("columnsStartAt1", true) ? 1 : 0,
            .shows_types = arguments.flag("supportsVariableType")};
  if (arguments.text("pathFormat", "path") != "path" && error_.empty()) {
    error_ = "\"pathFormat\" must be \"path\"";
  }
  if (!error_.empty()) return nullptr;
  is_initialized_ = true;
  queueEvent("initialized", nullptr);
  Json capabilities = Json::object();
  for (const char* const capability : {"supportsConfigurationDoneRequest",
                                       "supportsFunctionBreakpoints",
                                       "supportsConditionalBreakpoints",
                                       "supportsHitConditionalBreakpoints",
                                       "supportsEvaluateForHovers",
                                       "supportsStepBack",
                                       "supportsRestartFrame",
                                       "supportsGotoTargetsRequest",
                                       "supportsCompletionsRequest",
                                       "supportsRestartRequest",
                                       "supportsExceptionInfoRequest",
                                       "supportsExceptionFilterOptions",
                                       "supportsDelayedStackTraceLoading",
                                       "supportsLoadedSourcesRequest",
                                       "supportsLogPoints",
                                       "supportsTerminateRequest",
                                       "supportsDataBreakpoints",
                                       "supportsCancelRequest",
                                       "supportsBreakpointLocationsRequest",
                                       "supportsClipboardContext",
                                       "supportsSteppingGranularity"}) {
    capabilities[capability] = true;
  }
  capabilities["completionTriggerCharacters"] = {"(", "\"", " "};
  capabilities["exceptionBreakpointFilters"] = {
      {{"filter", kErrorFilter},
       {"label", "Errors"},
       {"description", "Stops at the form that fails"},
       {"default", true},
       {"supportsCondition", true}},
      {{"filter", kRefusalFilter},
       {"label", "Refused host calls"},
       {"description", "Stops at host calls that the drawing refuses"},
       {"default", false},
       {"supportsCondition", true}}};
  return capabilities;
}

void AdapterSession::record(const Json& arguments) {
  shows_error_ = true;
  auto wanted = readLaunch(arguments, error_);
  if (!wanted) return;
  auto recorded = recordLaunch(
      *wanted, settings_.start_worker,
      [this] { return settings_.is_cancelled && settings_.is_cancelled(request_); }, error_);
  if (!recorded) {
    if (error_.empty()) error_ = "the program could not be run";
    return;
  }
  stops_.setRun(nullptr, nullptr);
  launched_ = std::make_unique<Launched>(std::move(*wanted), std::move(*recorded), style_);
  has_started_ = false;
  has_ended_ = false;
  for (const Json& breakpoint : stops_.setRun(&run(), &launched_->sources)) {
    queueEvent("breakpoint", {{"reason", "changed"}, {"breakpoint", breakpoint}});
  }
  if (!run().doubt.empty()) {
    queueOutput("important", "NOT TO BE TRUSTED: " + run().doubt + "\n");
  }
  if (is_configured_) start();
}

Json AdapterSession::launch(Fields& arguments) {
  if (launched_ != nullptr) {
    error_ = "a program is launched already: restart runs it again";
    return nullptr;
  }
  record(arguments.object());
  return nullptr;
}

Json AdapterSession::attach(Fields& /*arguments*/) {
  error_ = "there is nothing to attach to: launch runs a program and shows that run";
  return nullptr;
}

// The arguments are those of the launch unless the client has new ones.
Json AdapterSession::restart(Fields& arguments) {
  const Json& newer = arguments.object("arguments");
  if (error_.empty()) record(newer.is_null() ? launched_->arguments.as_given : newer);
  return nullptr;
}

Json AdapterSession::configurationDone(Fields& /*arguments*/) {
  is_configured_ = true;
  if (launched_ != nullptr && !has_started_) start();
  return nullptr;
}

void AdapterSession::start() {
  has_started_ = true;
  const LaunchArguments& wanted = launched_->arguments;
  launched_->view.setPosition(1);
  if (wanted.is_plain_run) {
    tellPassed(0, run().index.end());
    queueOutput("console", launched_->debugger.summary());
    end();
    return;
  }
  if (wanted.stops_at_error) {
    if (const auto failed = failedAt(run())) {
      tellPassed(0, *failed);
      arrive(*failed, "exception", run().outcome.message);
      return;
    }
  }
  const auto first = stops_.next(0);
  if (wanted.stops_on_entry) {
    tellPassed(0, 1);
    arrive(1, "entry", "at the beginning");
  } else if (first && first->position == 1) {
    tellPassed(0, 1);
    arriveAt(*first);
  } else {
    tellPassed(0, 1);
    goForward(run().index.end(), true);
  }
}

Json AdapterSession::cancel(Fields& /*arguments*/) { return nullptr; }

Json AdapterSession::terminate(Fields& /*arguments*/) {
  if (!has_ended_) queueEvent("terminated", nullptr);
  has_ended_ = true;
  return nullptr;
}

Json AdapterSession::disconnect(Fields& /*arguments*/) {
  is_over_ = true;
  return nullptr;
}

void AdapterSession::end() {
  has_ended_ = true;
  const bool has_value = run().outcome.kind == explain::OutcomeKind::Value;
  queueEvent("exited", {{"exitCode", has_value ? 0 : 1}});
  queueEvent("terminated", nullptr);
}

// --- Movements ----------------------------------------------------------------------------------

void AdapterSession::arrive(Position position, const char* reason, const std::string& description,
                            const std::vector<std::int64_t>& breakpoints) {
  launched_->debugger.setPosition(position);
  launched_->view.setPosition(position);
  Json body = {{"reason", reason}, {"threadId", kThread}, {"allThreadsStopped", true}};
  if (!description.empty()) body["description"] = description;
  if (std::string_view(reason) == "exception") body["text"] = description;
  if (!breakpoints.empty()) body["hitBreakpointIds"] = breakpoints;
  queueEvent("stopped", std::move(body));
}

void AdapterSession::arriveAt(const Stops::Arrival& arrival) {
  switch (arrival.kind) {
    case StopWish::Kind::Line:
      arrive(arrival.position, "breakpoint", "", arrival.ids);
      return;
    case StopWish::Kind::Function:
      arrive(arrival.position, "function breakpoint", arrival.meaning, arrival.ids);
      return;
    case StopWish::Kind::Data:
      arrive(arrival.position, "data breakpoint", arrival.meaning, arrival.ids);
      return;
    case StopWish::Kind::Exception: {
      const bool is_error = failedAt(run()) == arrival.position;
      arrive(arrival.position, "exception",
             is_error ? run().outcome.message : "a refused host call", arrival.ids);
      return;
    }
  }
}

void AdapterSession::goForward(Position target, bool is_to_breakpoint) {
  const Position from = position();
  const auto stop = stops_.next(from);
  const bool stops = stop && (stop->position < target || is_to_breakpoint);
  tellPassed(from, stops ? stop->position : target);
  if (stops) {
    arriveAt(*stop);
  } else if (target >= run().index.end()) {
    finish();
  } else {
    arrive(target, "step", "");
  }
}

void AdapterSession::goBack(Position target, bool is_to_breakpoint) {
  const auto stop = stops_.previous(position());
  if (stop && (stop->position > target || is_to_breakpoint)) {
    arriveAt(*stop);
  } else if (target == 1) {
    arrive(1, "entry", "at the beginning");
  } else {
    arrive(target, "step", "");
  }
}

// The run is over. A session that has stopped at its end goes on from there to its own end.
void AdapterSession::finish() {
  const bool was_there = position() >= run().index.end() && launched_->is_end_told;
  if (!std::exchange(launched_->is_end_told, true)) {
    const bool has_value = run().outcome.kind == explain::OutcomeKind::Value;
    if (!has_value) queueOutput("stderr", explain::explanationOf(run().outcome));
    queueOutput("console", launched_->debugger.summary());
  }
  if (launched_->arguments.stops_at_end && !was_there) {
    arrive(run().index.end(), "end", "at the end");
  } else {
    end();
  }
}

Json AdapterSession::resume(Fields& /*arguments*/) {
  goForward(run().index.end(), true);
  return {{"allThreadsContinued", true}};
}

Json AdapterSession::reverse(Fields& /*arguments*/) {
  goBack(1, true);
  return nullptr;
}

// A line is left once another one of the same call, or another call, is reached.
Json AdapterSession::step(const Movement& movement, Fields& arguments) {
  const std::string granularity = arguments.text("granularity", "statement");
  if (error_.empty() && granularity != "statement" && granularity != "line" &&
      granularity != "instruction") {
    error_ = "\"granularity\" must be \"statement\", \"line\" or \"instruction\"";
  }
  if (!error_.empty()) return nullptr;
  const trace::Index& index = run().index;
  Position target = 0;
  if (granularity == "instruction" && movement.name != "stepOut" &&
      movement.name != "stepBackOut") {
    target = movement.is_forward ? std::min(position() + 1, index.end())
                                 : std::max<Position>(position(), 2) - 1;
  } else {
    target = movement.from(index, position());
  }
  if (granularity == "line" && position() < index.end()) {
    const trace::Step& from = index.step(position());
    const std::size_t line = index.formOf(position()).line;
    const auto is_in_line = [&](Position at) {
      return at > 1 && at < index.end() && index.step(at).program == from.program &&
             index.step(at).call == from.call && index.formOf(at).line == line;
    };
    while (is_in_line(target)) target = movement.from(index, target);
  }
  if (movement.is_forward) {
    goForward(target, false);
  } else {
    goBack(target, false);
  }
  return nullptr;
}

Json AdapterSession::pause(Fields& /*arguments*/) {
  error_ = "nothing runs: the whole run is recorded, and you are at a moment of it";
  return nullptr;
}

Json AdapterSession::restartFrame(Fields& arguments) {
  const auto frame = arguments.neededNumber("frameId");
  if (!error_.empty()) return nullptr;
  const auto begin = launched_->view.beginOf(frame);
  if (begin) {
    arrive(*begin, "restart", "at the beginning of the call");
  } else {
    error_ = "there is no frame " + std::to_string(frame) + " at this moment";
  }
  return nullptr;
}

// The moments at which the form of the line is evaluated: the next, and the last before.
Json AdapterSession::gotoTargets(Fields& arguments) {
  const auto line = arguments.neededNumber("line");
  const auto column =
      arguments.has("column") ? std::optional(arguments.number("column", 0)) : std::nullopt;
  const auto program = launched_->sources.find(arguments.object("source"));
  if (error_.empty() && !program) error_ = "this file takes no part in the run";
  if (!error_.empty()) return nullptr;
  Json targets = Json::array();
  if (const auto form = launched_->sources.stopAt(*program, line, column)) {
    const explain::ProgramPointer& text = run().index.program(*program);
    const std::vector<Position> steps = breakAtForm(run(), text, *form).positions;
    const auto add = [&](const char* when, Position step) {
      Json target = Json::object();
      launched_->sources.addPlaceOfStep(target, step);
      target.erase("source");
      target["id"] = step;
      target["label"] = std::string(when) + ", step " + std::to_string(step);
      targets.push_back(std::move(target));
    };
    const auto later = std::upper_bound(steps.begin(), steps.end(), position());
    const auto here = std::lower_bound(steps.begin(), steps.end(), position());
    if (later != steps.end()) add("next time", *later);
    if (here != steps.begin()) add("last time", *std::prev(here));
  }
  return {{"targets", std::move(targets)}};
}

Json AdapterSession::goTo(Fields& arguments) {
  const auto target = arguments.neededNumber("targetId");
  if (error_.empty() && (target < 1 || target > run().index.end())) {
    error_ = "there is no target " + std::to_string(target) + ": gotoTargets lists them";
  }
  if (error_.empty()) arrive(static_cast<Position>(target), "goto", "");
  return nullptr;
}

// --- Output -------------------------------------------------------------------------------------

void AdapterSession::queueOutput(const char* category, std::string text, Position step) {
  Json body = {{"category", category}, {"output", std::move(text)}};
  if (step != 0) {
    launched_->sources.addPlaceOfStep(body, step);
    body.erase("endLine");
    body.erase("endColumn");
  }
  queueEvent("output", std::move(body));
}

void AdapterSession::tellCall(std::size_t call) {
  const trace::HostCall& made = run().index.hostCalls()[call];
  const std::string text = textOf(run().index, made.step) + " " + valueText(run().index, made.step);
  if (!made.refusal.empty()) {
    queueOutput("stderr", text + "\n  refused: " + made.refusal + "\n", made.step);
    return;
  }
  std::string told = text + "\n";
  std::size_t count = 0;
  for (const EntityChange& change :
       compareDrawings(run().drawingBefore(call), run().drawingAfter(call))) {
    if (++count > kToldMax) continue;
    told += "  " + std::string(nameOf(change.kind)) + " " + describeEntity(change.entity) + "\n";
  }
  if (count > kToldMax) told += "  ... and " + std::to_string(count - kToldMax) + " more\n";
  queueOutput("stdout", std::move(told), made.step);
}

// Host calls are told when they are passed for the first time, log messages each time.
void AdapterSession::tellPassed(Position from, Position to) {
  const std::size_t answered = run().index.answersBefore(to);
  std::size_t& told = launched_->told_call_count;
  for (std::size_t count = 0; told < answered; ++told, ++count) {
    if (count == kToldMax) {
      queueOutput("stdout",
                  "... and " + explain::counted(answered - told, "host call") + " more\n");
      told = answered;
      break;
    }
    tellCall(told);
  }
  const auto logs = stops_.logsBetween(from, to, kToldMax + 1);
  for (std::size_t n = 0; n < logs.size() && n < kToldMax; ++n) {
    const Position step = std::min(logs[n].first, run().index.stepCount());
    queueOutput("console", logs[n].second + "\n", step);
  }
  if (logs.size() > kToldMax) queueOutput("console", "... and more log messages\n");
}

}  // namespace lisp_worker::console
