// A worker for hosts that must not wait for it: hosts with an event loop, and hosts with many
// programs at once. Nothing here needs a thread of the host's.
//
//   client::AsyncWorker worker("/usr/bin/lisp_worker");
//   worker.start();
//   worker.submit("(+ 1 2)", {.on_end = [](auto, const auto& outcome) { use(outcome); }});
//   for (;;) {
//     waitUntilReady(worker.handle());  // poll, a notifier of the host's event loop, ...
//     worker.process();
//   }
//
// The worker evaluates one thing at a time, but a program that waits for an answer is in nobody's
// way: others are evaluated meanwhile, and the answer comes whenever the host has it.
//
// All is done in the thread that calls process(), and all callbacks are called by process() alone,
// after everything else. A callback may use the worker in any way, even destroy it. What it throws
// leaves process(); no other callback is lost by that, the next process() goes on.

#ifndef LISP_WORKER_CLIENT_ASYNC_WORKER_H_
#define LISP_WORKER_CLIENT_ASYNC_WORKER_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "lisp_worker/client/async_channel.h"
#include "lisp_worker/client/coordinates.h"
#include "lisp_worker/client/datum.h"
#include "lisp_worker/client/eval_result.h"
#include "lisp_worker/client/frame_observer.h"
#include "lisp_worker/client/process.h"
#include "lisp_worker/client/run.h"
#include "lisp_worker/client/worker_client.h"

namespace lisp_worker::client {

// Names a program of one AsyncWorker; never 0, never used again.
using ProgramId = std::uint64_t;

// The end of a program.
struct ProgramOutcome {
  enum class Kind : std::uint8_t {
    Finished,    // As the report says, which is that of runProgram.
    Cancelled,   // By cancel().
    TimedOut,    // Its time limit has passed.
    WorkerLost,  // The worker has gone: killed, ended, out of time, restarted. fault() says why.
  };

  Kind kind = Kind::Finished;
  RunReport report;  // Of a program that has not finished: steps and host calls as far as it came.

  [[nodiscard]] bool hasValue() const { return kind == Kind::Finished && report.hasValue(); }
};

// The progress of a program.
struct ProgramProgress {
  enum class State : std::uint8_t {
    Queued,      // It, or an answer to it, has not been sent yet.
    Evaluating,  // The worker is at it.
    Waiting,     // It waits for the host's answer.
  };

  State state = State::Queued;
  std::size_t host_call_count = 0;
  std::uint64_t steps = 0;   // Of the last evaluation.
  std::uint64_t run_id = 0;  // The worker's, while it waits; otherwise 0.
};

struct ProgramSettings {
  // The coordinate context that the program runs under; 0 for none.
  std::uint64_t context_id = 0;

  // A program that makes more host calls is cancelled.
  std::size_t host_call_count_max = 10000;

  // The time that the whole program may take, answers included; zero: forever. One that is being
  // evaluated when the time has passed ends with what that comes to, if it comes to an end.
  std::chrono::milliseconds time_limit{0};

  // The program waits for an answer to `call`. The host gives it now or later, by answer() or
  // decline(). Without this callback calls are declined.
  std::function<void(ProgramId program, const HostCall& call)> on_call = {};

  // The program has ended. Called once for every program, unless the AsyncWorker goes before.
  std::function<void(ProgramId program, const ProgramOutcome& outcome)> on_end = {};
};

struct AsyncSettings {
  // The time that one request may take; one that passes it ends the worker. Zero: forever.
  std::chrono::milliseconds time_limit{30000};

  // Sees every frame, without the freedoms of a callback; null: nobody does. Must outlive the
  // worker.
  FrameObserver* observer = nullptr;

  // The worker has gone, idle or not. fault() and exit() tell how. restart() may be called.
  std::function<void(const Fault& fault)> on_fault = {};
};

// Makes a worker's process, as startAsyncWorker does.
using AsyncStarter = std::function<std::unique_ptr<AsyncChannel>(std::string* error_out)>;

class AsyncWorker {
 public:
  explicit AsyncWorker(const std::filesystem::path& path, AsyncSettings settings = {});
  explicit AsyncWorker(AsyncStarter starter, AsyncSettings settings = {});
  AsyncWorker(const AsyncWorker&) = delete;
  AsyncWorker& operator=(const AsyncWorker&) = delete;

  // Ends the worker: at once if it is at work, otherwise as soon as it sees that nobody is there.
  // Programs in hand are not told.
  ~AsyncWorker();

  // Starts the worker if none runs. False with a fault when it cannot be started; also after a
  // fault, until restart().
  bool start();

  // Kills the worker, if one runs, starts another and registers all contexts with it. Programs in
  // hand end with WorkerLost. The handle is another one afterwards.
  bool restart();

  // Becomes ready when process() has something to do. The same until restart(), after a fault too.
  // -1 before the first start and when the worker could not be started: then call process() once
  // after what has been handed over, to learn that it is lost.
  [[nodiscard]] WaitHandle handle() const;

  // Does all that can be done without waiting, and calls the callbacks that are due. May be called
  // at any time; a host without an event loop calls it now and then. Does nothing inside a
  // callback.
  void process();

  // Hands a program over to be evaluated after those before it. After a fault it ends with
  // WorkerLost. Starts the worker if none has run yet.
  ProgramId submit(std::string program, ProgramSettings settings = {});

  // Answers the call that a program waits for. False, and nothing happens, when it does not wait,
  // because it has been cancelled meanwhile, for example.
  bool answer(ProgramId program, const Datum& datum);

  // Tells that there will be no answer: the program ends with RunEnd::Unanswered.
  bool decline(ProgramId program);

  // Has a program end with Cancelled as soon as possible: at once when it is queued or waits, after
  // the evaluation in hand otherwise. One that has ended by then has ended as it has. From any
  // thread.
  void cancel(ProgramId program);

  // Kills the worker, whatever it does. Programs in hand end with WorkerLost. From any thread.
  void kill();

  // Registers or replaces a context, after what has been handed over before. `on_end` gets the
  // status, which is InvalidRequest when the worker's table is full; nothing when the worker is
  // lost. The contexts that the worker has taken are remembered for restart().
  void registerContext(const CoordContext& context,
                       std::function<void(std::optional<worker::WorkerStatus>)> on_end = {});

  // Asks whether the worker answers; `on_end` is told.
  void ping(std::function<void(bool is_answered)> on_end);

  // The progress of a program; empty when it has ended.
  [[nodiscard]] std::optional<ProgramProgress> progress(ProgramId program) const;

  // Why there is no worker to talk to; empty while all is well.
  [[nodiscard]] const std::optional<Fault>& fault() const;

  // The end of the last worker; empty while one runs and before the first.
  [[nodiscard]] const std::optional<WorkerExit>& exit() const;

 private:
  class Core;
  std::shared_ptr<Core> core_;  // Shared with a process() that is going on.
};

}  // namespace lisp_worker::client

#endif  // LISP_WORKER_CLIENT_ASYNC_WORKER_H_
