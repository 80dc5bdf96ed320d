// All state is in the Core, which AsyncWorker and a process() in progress share: a callback may
// destroy the AsyncWorker, and process() still has something to return to.
//
// process() works in rounds until nothing moves any more. A round takes cancellations, ends
// programs whose time has passed, moves bytes (AsyncExchange), and then calls back. Nothing calls a
// callback of the host's from the middle of a step: a step puts it into `callbacks_`, and
// callBack() takes it from there when the state is consistent. So a callback may call anything
// here.
//
// A program is in `programs_` from submit() to end(). It is queued, in hand or waiting. In hand
// means that the exchange has its evaluation on the way; such a program cannot be taken back, so
// cancel() and the time limit leave a verdict, and the evaluation's end carries that out (stop,
// takeCall).
//
// Only cancel() and kill() may be called from other threads. They touch what `mutex_` guards, and
// wake the thread that waits for the handle.

#include "lisp_worker/client/async_worker.h"

#include <algorithm>
#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

#include "client/async_exchange.h"
#include "client/exchange.h"
#include "client/run_steps.h"
#include "client/system_text.h"
#include "lisp_worker/client/answer_text.h"
#include "lisp_worker/client/names.h"

namespace lisp_worker::client {

using std::chrono::steady_clock;
using worker::MessageType;
using worker::WorkerStatus;

namespace {

// For a worker whose output has ended, which is most likely about to exit. A host's event loop
// stands still meanwhile.
constexpr std::chrono::milliseconds kEndGrace{100};

struct ProgramState {
  std::shared_ptr<const ProgramSettings> settings;
  RunReport report;
  std::uint64_t run_id = 0;  // Of the worker, while the run waits there.
  bool is_waiting = false;   // For the host's answer.
  std::string call_name;     // Of the call that it waits for.
  Deadline deadline;
  std::optional<ProgramOutcome::Kind> verdict;  // Once the evaluation in hand is over.
};

}  // namespace

class AsyncWorker::Core : public std::enable_shared_from_this<AsyncWorker::Core> {
 public:
  Core(AsyncStarter starter, AsyncSettings settings)
      : starter_(std::move(starter)), settings_(std::move(settings)) {}
  Core(const Core&) = delete;
  Core& operator=(const Core&) = delete;

  // Nothing is called back any more.
  void close() {
    is_closed_ = true;
    callbacks_.clear();
    endWorker(exchange_ != nullptr && exchange_->isIdle() ? kExitGrace : kNoGrace);
    exchange_.reset();
  }

  bool start() {
    if (fault_) return false;
    return exchange_ != nullptr || startAnew();
  }

  bool restart() {
    endWorker(kNoGrace);
    loseAll();
    fault_.reset();
    return startAnew();
  }

  [[nodiscard]] WaitHandle handle() const { return channel_ == nullptr ? -1 : channel_->handle(); }

  // Not reentrant: a call inside a callback returns at once, and the round in progress does its
  // work. The last condition keeps on while the worker has answered and another request is queued.
  void process() {
    if (is_processing_) return;
    const std::shared_ptr<Core> keeps_this = shared_from_this();
    const Processing processing(*this);
    if (channel_ != nullptr) channel_->acknowledge();
    do {
      takeCancellations();
      expirePrograms();
      advance();
      callBack();
    } while (exchange_ != nullptr && !exchange_->isIdle() && !exchange_->isAtWork());
    if (observer_failure_) std::rethrow_exception(std::exchange(observer_failure_, nullptr));
  }

  // A program that cannot be sent ends like any other: its on_end is called by process(), never
  // here, so the host has the id before it hears of the end.
  ProgramId submit(std::string text, ProgramSettings settings) {
    const ProgramId id = next_program_id_++;
    ProgramState& program = programs_[id];
    if (settings.time_limit.count() > 0) {
      program.deadline = momentAfter(settings.time_limit);
      deadlines_.insert({*program.deadline, id});
    }
    program.settings = std::make_shared<const ProgramSettings>(std::move(settings));
    if (!start()) {
      end(id, ProgramOutcome::Kind::WorkerLost);
    } else if (text.size() > worker::kPayloadSizeMax) {
      finish(id, {.status = WorkerStatus::InvalidRequest, .value = std::nullopt});
    } else {
      sendEvaluation(id, {.type = MessageType::EvalStart,
                          .context_id = program.settings->context_id,
                          .payload = std::move(text)});
    }
    poke();
    return id;
  }

  bool answer(ProgramId id, const Datum& datum) {
    ProgramState* const program = findWaiting(id);
    if (program == nullptr) return false;
    std::string reason;
    std::optional<std::string> text = answerText(datum, &reason);
    if (!text) {
      giveUp(id, RunEnd::Unwritable,
             "the host's answer to " + program->call_name + " cannot be written: " + reason);
    } else if (text->size() > worker::kPayloadSizeMax) {
      cancelRun(program->run_id);
      finish(id, {.status = WorkerStatus::InvalidRequest, .value = std::nullopt});
    } else {
      program->is_waiting = false;
      sendEvaluation(id, {.type = MessageType::EvalResume,
                          .run_id = program->run_id,
                          .payload = *std::move(text)});
    }
    poke();
    return true;
  }

  bool decline(ProgramId id) {
    const ProgramState* const program = findWaiting(id);
    if (program == nullptr) return false;
    giveUp(id, RunEnd::Unanswered, "the host has not answered " + program->call_name);
    poke();
    return true;
  }

  void cancel(ProgramId id) {
    const std::lock_guard lock(mutex_);
    cancellations_.push_back(id);
    if (channel_ != nullptr) channel_->wake();
  }

  void kill() {
    const std::lock_guard lock(mutex_);
    if (!is_running_) return;
    is_killed_ = true;
    channel_->kill();
  }

  void registerContext(const CoordContext& context,
                       std::function<void(std::optional<WorkerStatus>)> on_end) {
    const auto tell = [this, on_end = std::move(on_end)](std::optional<WorkerStatus> status) {
      if (on_end) callbacks_.emplace_back([on_end, status] { on_end(status); });
    };
    AsyncRequest request{.type = MessageType::RegisterContext,
                         .context_id = context.id,
                         .payload = encodeContext(context)};
    request.on_response = [this, context, tell](WorkerStatus status, std::string_view payload) {
      auto fault = faultOfStatus(MessageType::RegisterContext, status, payload.size());
      if (!fault && status == WorkerStatus::Ok) remember(context);
      tell(fault ? std::nullopt : std::optional(status));
      return fault;
    };
    request.on_lost = [tell] { tell(std::nullopt); };
    send(std::move(request));
  }

  void ping(std::function<void(bool)> on_end) {
    const auto tell = [this, on_end = std::move(on_end)](bool is_answered) {
      if (on_end) callbacks_.emplace_back([on_end, is_answered] { on_end(is_answered); });
    };
    AsyncRequest request{.type = MessageType::Ping};
    request.on_response = [tell](WorkerStatus status, std::string_view payload) {
      auto fault = faultOfStatus(MessageType::Ping, status, payload.size());
      tell(!fault);
      return fault;
    };
    request.on_lost = [tell] { tell(false); };
    send(std::move(request));
  }

  [[nodiscard]] std::optional<ProgramProgress> progress(ProgramId id) const {
    using State = ProgramProgress::State;
    const auto found = programs_.find(id);
    if (found == programs_.end()) return std::nullopt;
    const ProgramState& program = found->second;
    const bool is_in_hand = exchange_ != nullptr && exchange_->programInHand() == id;
    return ProgramProgress{.state = program.is_waiting ? State::Waiting
                                    : is_in_hand       ? State::Evaluating
                                                       : State::Queued,
                           .host_call_count = program.report.host_call_count,
                           .steps = program.report.steps,
                           .run_id = program.run_id};
  }

  [[nodiscard]] const std::optional<Fault>& fault() const { return fault_; }
  [[nodiscard]] const std::optional<WorkerExit>& exit() const { return exit_; }

 private:
  static constexpr std::chrono::milliseconds kNoGrace{0};

  // Marks that process() is going on, and has the host woken for what remains when it is over.
  class Processing {
   public:
    explicit Processing(Core& core) : core_(core) { core_.is_processing_ = true; }
    Processing(const Processing&) = delete;
    Processing& operator=(const Processing&) = delete;
    ~Processing() {
      core_.is_processing_ = false;
      core_.prepareToWait();
    }

   private:
    Core& core_;
  };

  // --- The worker ---

  bool startAnew() {
    exit_.reset();
    std::string error;
    std::unique_ptr<AsyncChannel> channel = starter_(&error);
    {
      const std::lock_guard lock(mutex_);
      is_running_ = channel != nullptr;
      is_killed_ = false;
      channel_ = std::move(channel);
    }
    next_run_id_ = 1;
    if (channel_ == nullptr) {
      fault_ = Fault{Fault::Kind::NotStarted, "the worker cannot be started: " + error};
      return false;
    }
    exchange_ =
        std::make_unique<AsyncExchange>(*channel_, settings_.time_limit, settings_.observer);
    if (settings_.observer != nullptr) settings_.observer->onStart();
    for (const CoordContext& context : contexts_) registerContext(context, {});
    poke();
    return true;
  }

  // An exception of the observer is kept for process(): what is being done here must be finished.
  // The channel stays, for its handle.
  void endWorker(std::chrono::milliseconds grace) {
    const std::lock_guard lock(mutex_);
    if (!is_running_) return;
    is_running_ = false;
    exit_ = channel_->finish(grace);
    if (settings_.observer == nullptr) return;
    try {
      settings_.observer->onEnd(*exit_);
    } catch (...) {
      observer_failure_ = std::current_exception();
    }
  }

  // Tells everybody that their work is lost with the worker.
  void loseAll() {
    const std::unique_ptr<AsyncExchange> lost = std::exchange(exchange_, nullptr);
    if (lost != nullptr) lost->loseAll();
    while (!programs_.empty()) end(programs_.begin()->first, ProgramOutcome::Kind::WorkerLost);
  }

  void advance() {
    if (exchange_ == nullptr) return;
    exchange_->advance();
    if (auto failure = exchange_->takeObserverFailure()) observer_failure_ = std::move(failure);
    if (exchange_->fault()) concludeFault();
  }

  // Ends the worker that has broken the contract or gone. The exit code tells why a worker has
  // ended by itself, so one whose output has ended gets a moment to exit.
  void concludeFault() {
    fault_ = exchange_->fault();
    const bool is_ending =
        fault_->kind == Fault::Kind::ResponseCut || fault_->kind == Fault::Kind::RequestNotTaken;
    endWorker(is_ending ? kEndGrace : kNoGrace);
    if (is_killed_) fault_ = Fault{Fault::Kind::ShutDown, "the host has killed the worker"};
    fault_->message +=
        "; " + (exit_->kind == WorkerExit::Kind::Killed ? std::string("it has been killed")
                                                        : describeExit(*exit_));
    loseAll();
    if (settings_.on_fault) {
      callbacks_.emplace_back([this, fault = *fault_] { settings_.on_fault(fault); });
    }
  }

  // After the host has handed something over: it goes on its way without waiting for process().
  void poke() {
    if (is_processing_) return;
    advance();
    prepareToWait();
  }

  void prepareToWait() {
    if (is_closed_ || channel_ == nullptr) return;
    Deadline deadline = exchange_ == nullptr ? std::nullopt : exchange_->deadline();
    if (!deadlines_.empty() && (!deadline || deadlines_.begin()->first < *deadline)) {
      deadline = deadlines_.begin()->first;
    }
    channel_->prepare(exchange_ != nullptr && exchange_->wantsToWrite(), deadline);
    if (!callbacks_.empty()) channel_->wake();
  }

  void send(AsyncRequest request) {
    if (!start()) {
      if (request.on_lost) request.on_lost();
    } else {
      exchange_->add(std::move(request));
    }
    poke();
  }

  void remember(const CoordContext& context) {
    const auto known =
        std::find_if(contexts_.begin(), contexts_.end(),
                     [&](const CoordContext& each) { return each.id == context.id; });
    if (known == contexts_.end()) {
      contexts_.push_back(context);
    } else {
      *known = context;
    }
  }

  // One callback at a time, each out of the queue before it is called: it may throw, and it may
  // end with this object closed.
  void callBack() {
    while (!callbacks_.empty()) {
      const std::function<void()> callback = std::move(callbacks_.front());
      callbacks_.pop_front();
      callback();
    }
  }

  // --- Programs ---

  ProgramState* findWaiting(ProgramId id) {
    const auto found = programs_.find(id);
    return found != programs_.end() && found->second.is_waiting ? &found->second : nullptr;
  }

  void sendEvaluation(ProgramId id, AsyncRequest request) {
    const MessageType type = request.type;
    request.program = id;
    request.on_response = [this, id, type](WorkerStatus status, std::string_view payload) {
      std::optional<Fault> fault;
      auto reply = decodeEvaluation(status, payload, fault);
      if (reply) takeEvaluation(id, type, *std::move(reply));
      return fault;
    };
    exchange_->add(std::move(request));
  }

  // The worker counts run ids from 1 on. `next_run_id_` follows the count, because a run whose call
  // was too long to send waits under an id that no response tells (endUntoldRun).
  void takeEvaluation(ProgramId id, MessageType type, Reply<EvalResult> reply) {
    ProgramState& program = programs_.at(id);
    const bool is_start = type == MessageType::EvalStart;
    if (is_start && reply.value && reply.value->run_id != 0) {
      next_run_id_ = reply.value->run_id + 1;
    }
    if (is_start && reply.status == WorkerStatus::InvalidRequest) endUntoldRun();
    // After a refusal the run may wait on: its answer or its next call was too long to send.
    if (!is_start && !reply.value) cancelRun(program.run_id);
    noteEvaluation(reply, program.report);
    program.run_id = reply.value ? reply.value->run_id : 0;
    const bool waits = reply.value && reply.value->eval_status == EvalStatus::HostCallRequired;
    if (waits) {
      takeCall(id, program, *reply.value);
    } else {
      finish(id, reply);
    }
  }

  // The host hears of the call later, in callBack(): by then the program may have been cancelled.
  void takeCall(ProgramId id, ProgramState& program, const EvalResult& result) {
    program.is_waiting = true;
    program.call_name = result.call_name;
    if (program.verdict) return stop(id, *program.verdict);
    if (program.report.host_call_count == program.settings->host_call_count_max) {
      return giveUp(id, RunEnd::TooManyCalls,
                    "the program makes more than " +
                        std::to_string(program.settings->host_call_count_max) + " host calls");
    }
    ++program.report.host_call_count;
    if (!program.settings->on_call) {
      return giveUp(id, RunEnd::Unanswered, "the host has not answered " + program.call_name);
    }
    callbacks_.emplace_back([this, id, settings = program.settings, call = describeCall(result)] {
      if (findWaiting(id) != nullptr) settings->on_call(id, call);
    });
  }

  void finish(ProgramId id, const Reply<EvalResult>& reply) {
    conclude(reply, programs_.at(id).report);
    end(id, ProgramOutcome::Kind::Finished);
  }

  // Ends a waiting program for a reason of the host's side.
  void giveUp(ProgramId id, RunEnd reason, std::string text) {
    ProgramState& program = programs_.at(id);
    cancelRun(program.run_id);
    program.report.end = reason;
    program.report.text = std::move(text);
    end(id, ProgramOutcome::Kind::Finished);
  }

  // Ends a program that is not being evaluated at once, any other after its evaluation.
  void stop(ProgramId id, ProgramOutcome::Kind kind) {
    ProgramState& program = programs_.at(id);
    if (exchange_ != nullptr && exchange_->programInHand() == id) {
      program.verdict = kind;
      if (program.deadline) deadlines_.erase({*program.deadline, id});
      return;
    }
    if (exchange_ != nullptr) exchange_->drop(id);
    if (program.run_id != 0) cancelRun(program.run_id);
    end(id, kind);
  }

  void end(ProgramId id, ProgramOutcome::Kind kind) {
    const auto found = programs_.find(id);
    ProgramState& program = found->second;
    if (program.deadline) deadlines_.erase({*program.deadline, id});
    if (program.settings->on_end) {
      callbacks_.emplace_back(
          [id, settings = program.settings,
           outcome = ProgramOutcome{.kind = kind, .report = std::move(program.report)}] {
            settings->on_end(id, outcome);
          });
    }
    programs_.erase(found);
  }

  void takeCancellations() {
    std::vector<ProgramId> cancelled;
    {
      const std::lock_guard lock(mutex_);
      cancelled.swap(cancellations_);
    }
    for (const ProgramId id : cancelled) {
      if (programs_.contains(id)) stop(id, ProgramOutcome::Kind::Cancelled);
    }
  }

  void expirePrograms() {
    const auto now = steady_clock::now();
    while (!deadlines_.empty() && deadlines_.begin()->first <= now) {
      stop(deadlines_.begin()->second, ProgramOutcome::Kind::TimedOut);
    }
  }

  void cancelRun(std::uint64_t run_id) {
    AsyncRequest request{.type = MessageType::EvalCancel, .run_id = run_id};
    request.on_response = [](WorkerStatus status, std::string_view payload) {
      return faultOfStatus(MessageType::EvalCancel, status, payload.size());
    };
    exchange_->add(std::move(request));
  }

  // Ends the run that waits under the next run id, if there is one, before another can get that
  // id. An answer that cannot be read does that, and tells whether the id has been used up.
  void endUntoldRun() {
    AsyncRequest request{.type = MessageType::EvalResume, .run_id = next_run_id_, .payload = ")"};
    request.on_response = [this](WorkerStatus status, std::string_view payload) {
      std::optional<Fault> fault;
      const auto reply = decodeEvaluation(status, payload, fault);
      if (reply && reply->value) ++next_run_id_;
      return fault;
    };
    exchange_->addFirst(std::move(request));
  }

  AsyncStarter starter_;
  AsyncSettings settings_;

  std::mutex mutex_;  // Guards what cancel() and kill() touch: the next four.
  std::unique_ptr<AsyncChannel> channel_;
  bool is_running_ = false;
  bool is_killed_ = false;
  std::vector<ProgramId> cancellations_;

  std::unique_ptr<AsyncExchange> exchange_;  // On channel_; null after a fault.
  std::map<ProgramId, ProgramState> programs_;
  std::set<std::pair<steady_clock::time_point, ProgramId>> deadlines_;
  std::vector<CoordContext> contexts_;  // In the order of their first registration.
  std::deque<std::function<void()>> callbacks_;
  ProgramId next_program_id_ = 1;
  std::uint64_t next_run_id_ = 1;  // The id that the worker gives to the next run that waits.
  std::optional<Fault> fault_;
  std::optional<WorkerExit> exit_;
  std::exception_ptr observer_failure_;
  bool is_processing_ = false;
  bool is_closed_ = false;
};

AsyncWorker::AsyncWorker(const std::filesystem::path& path, AsyncSettings settings)
    : AsyncWorker(
          [path](std::string* error_out) {
            auto channel = startAsyncWorker(path, error_out);
            if (channel == nullptr && error_out != nullptr) {
              *error_out = pathText(path) + ": " + *error_out;
            }
            return channel;
          },
          std::move(settings)) {}

AsyncWorker::AsyncWorker(AsyncStarter starter, AsyncSettings settings)
    : core_(std::make_shared<Core>(std::move(starter), std::move(settings))) {}

AsyncWorker::~AsyncWorker() { core_->close(); }

bool AsyncWorker::start() { return core_->start(); }

bool AsyncWorker::restart() { return core_->restart(); }

WaitHandle AsyncWorker::handle() const { return core_->handle(); }

void AsyncWorker::process() { core_->process(); }

ProgramId AsyncWorker::submit(std::string program, ProgramSettings settings) {
  return core_->submit(std::move(program), std::move(settings));
}

bool AsyncWorker::answer(ProgramId program, const Datum& datum) {
  return core_->answer(program, datum);
}

bool AsyncWorker::decline(ProgramId program) { return core_->decline(program); }

void AsyncWorker::cancel(ProgramId program) { core_->cancel(program); }

void AsyncWorker::kill() { core_->kill(); }

void AsyncWorker::registerContext(const CoordContext& context,
                                  std::function<void(std::optional<worker::WorkerStatus>)> on_end) {
  core_->registerContext(context, std::move(on_end));
}

void AsyncWorker::ping(std::function<void(bool is_answered)> on_end) {
  core_->ping(std::move(on_end));
}

std::optional<ProgramProgress> AsyncWorker::progress(ProgramId program) const {
  return core_->progress(program);
}

const std::optional<Fault>& AsyncWorker::fault() const { return core_->fault(); }

const std::optional<WorkerExit>& AsyncWorker::exit() const { return core_->exit(); }

}  // namespace lisp_worker::client
