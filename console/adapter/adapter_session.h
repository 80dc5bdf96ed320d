// One session of the debug adapter: an editor on the other side of the Debug Adapter Protocol looks
// at one program.
//
// The program is run once, whole, when it is launched. Everything after that is a jump in the index
// of that run, in both directions alike. docs/DEBUGGER.md tells what an editor sees of it.

#ifndef CONSOLE_ADAPTER_ADAPTER_SESSION_H_
#define CONSOLE_ADAPTER_ADAPTER_SESSION_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "console/adapter/client_style.h"
#include "console/adapter/fields.h"
#include "console/adapter/launch.h"
#include "console/adapter/run_sources.h"
#include "console/adapter/run_view.h"
#include "console/adapter/stops.h"
#include "console/debug/debugger.h"
#include "console/json_parts.h"
#include "lisp_worker/client/worker.h"
#include "trace/index.h"

namespace lisp_worker::console {

class AdapterSession {
 public:
  struct Settings {
    client::WorkerStarter start_worker;
    // Takes a message without its header.
    std::function<void(std::string_view)> send;
    // Asked while a program runs for the request of that number. May be empty.
    std::function<bool(std::int64_t)> is_cancelled = {};
  };

  explicit AdapterSession(Settings settings) : settings_(std::move(settings)) {}
  AdapterSession(const AdapterSession&) = delete;
  AdapterSession& operator=(const AdapterSession&) = delete;

  // Carries out a message of the client: sends the response to a request, then its events.
  void receive(std::string_view message);

  // The client has said that it is done.
  [[nodiscard]] bool isOver() const { return is_over_; }

  // True for a message that, read while a program runs for the request of that number, gives the
  // program up.
  [[nodiscard]] static bool cancels(std::string_view message, std::int64_t request);

 private:
  static constexpr int kThread = 1;  // The only one.

  // The state that a request needs.
  enum class Needs : std::uint8_t { Nothing, Initialized, Run, Stopped };
  struct Request;
  static std::span<const Request> requests();
  struct Movement;
  static std::span<const Movement> movements();

  // A program that has been launched.
  struct Launched {
    Launched(LaunchArguments launched, RecordedRun recorded, ClientStyle style)
        : arguments(std::move(launched)),
          debugger(std::move(recorded)),
          sources(debugger.run(), style),
          view(debugger.run(), sources) {}

    LaunchArguments arguments;
    Debugger debugger;
    RunSources sources;
    RunView view;
    std::size_t told_call_count = 0;  // Host calls that output events have told of.
    bool is_end_told = false;
  };

  // Requests. Each returns the body of its response, or writes into error_ why there is none.
  Json initialize(Fields& arguments);
  Json launch(Fields& arguments);
  Json attach(Fields& arguments);
  Json restart(Fields& arguments);
  Json configurationDone(Fields& arguments);
  Json setBreakpoints(Fields& arguments);
  Json setFunctionBreakpoints(Fields& arguments);
  Json setExceptionBreakpoints(Fields& arguments);
  Json setDataBreakpoints(Fields& arguments);
  Json dataBreakpointInfo(Fields& arguments);
  Json breakpointLocations(Fields& arguments);
  Json threads(Fields& arguments);
  Json stackTrace(Fields& arguments);
  Json scopes(Fields& arguments);
  Json variables(Fields& arguments);
  Json setVariable(Fields& arguments);
  Json evaluate(Fields& arguments);
  Json completions(Fields& arguments);
  Json exceptionInfo(Fields& arguments);
  Json picture(Fields& arguments);
  Json loadedSources(Fields& arguments);
  Json source(Fields& arguments);
  Json resume(Fields& arguments);
  Json reverse(Fields& arguments);
  Json pause(Fields& arguments);
  Json restartFrame(Fields& arguments);
  Json gotoTargets(Fields& arguments);
  Json goTo(Fields& arguments);
  Json cancel(Fields& arguments);
  Json terminate(Fields& arguments);
  Json disconnect(Fields& arguments);

  // Parts of them.
  [[nodiscard]] std::string whyNotNow(const Request& request) const;
  Json carryOut(std::string_view command, const Json& arguments);
  void record(const Json& arguments);
  void start();
  Json step(const Movement& movement, Fields& arguments);
  [[nodiscard]] Json answerQuestion(const std::string& line);
  [[nodiscard]] StopWish wishOf(Fields& fields, StopWish::Kind kind);
  [[nodiscard]] const RecordedRun& run() const { return launched_->debugger.run(); }
  [[nodiscard]] trace::Position position() const { return launched_->view.position(); }

  // Movements.
  void goForward(trace::Position target, bool is_to_breakpoint);
  void goBack(trace::Position target, bool is_to_breakpoint);
  void arrive(trace::Position position, const char* reason, const std::string& description,
              const std::vector<std::int64_t>& breakpoints = {});
  void arriveAt(const Stops::Arrival& arrival);
  void finish();
  void end();

  // Events; they follow the response.
  void queueEvent(const char* event, Json body);
  void queueOutput(const char* category, std::string text, trace::Position step = 0);
  void tellPassed(trace::Position from, trace::Position to);
  void tellCall(std::size_t call);

  void respond(std::int64_t request, const std::string& command, Json body);
  void send(Json message);

  Settings settings_;
  ClientStyle style_;
  std::unique_ptr<Launched> launched_;
  Stops stops_;
  bool is_initialized_ = false;
  bool is_configured_ = false;
  bool has_started_ = false;  // The run that is launched.
  bool has_ended_ = false;
  bool is_over_ = false;
  std::int64_t last_seq_ = 0;
  std::int64_t request_ = 0;  // The number of the request in hand.
  std::string error_;         // Of the request in hand.
  bool shows_error_ = false;  // To a person, even where nobody has asked.
  std::vector<Json> events_;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_ADAPTER_ADAPTER_SESSION_H_
