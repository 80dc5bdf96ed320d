// Every operation goes through perform(): it starts a worker if none runs, and afterwards takes
// over the fault that the client has met. A callback inside an operation may call further
// operations, so they nest; only the outermost one ends a faulty worker (`depth_`), because the
// others still use the client.
//
// A worker is ended in three ways. stop() asks it to, and waits. A fault ends it at once, or, when
// its output has ended, after the moment it may need to exit with a code that tells why. restart()
// and the destructor let it go. Contexts are kept here, and registered anew with each worker.

#include "lisp_worker/client/worker.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "client/system_text.h"
#include "lisp_worker/client/names.h"

namespace lisp_worker::client {

using worker::WorkerStatus;

namespace {

// Counts an operation as long as it lasts, also when a callback inside it throws.
class Level {
 public:
  explicit Level(int& depth) : depth_(depth) { ++depth_; }
  Level(const Level&) = delete;
  Level& operator=(const Level&) = delete;
  ~Level() { --depth_; }

 private:
  int& depth_;
};

}  // namespace

Worker::Worker(std::filesystem::path path, ClientSettings settings)
    : Worker(
          [path = std::move(path)](std::string* error_out) {
            auto process = startWorker(path, error_out);
            if (process == nullptr && error_out != nullptr) {
              *error_out = pathText(path) + ": " + *error_out;
            }
            return process;
          },
          settings) {}

Worker::Worker(WorkerStarter starter, ClientSettings settings)
    : starter_(std::move(starter)), settings_(settings) {}

Worker::~Worker() {
  try {
    endProcess(exitGrace());
  } catch (...) {
    // An observer's. The process has been reaped before.
  }
}

bool Worker::start() {
  if (fault_) return false;
  return process_ != nullptr || startAnew();
}

bool Worker::restart() {
  if (depth_ != 0) return false;
  endProcess(std::chrono::milliseconds::zero());
  fault_.reset();
  return startAnew();
}

WorkerExit Worker::stop() {
  if (depth_ != 0) return {};
  if (client_ != nullptr) {
    static_cast<void>(client_->shutdown());
    const std::optional<Fault>& fault = client_->fault();
    if (fault && fault->kind != Fault::Kind::ShutDown) {
      concludeFault();
      return *exit_;
    }
  }
  if (!fault_) fault_ = Fault{Fault::Kind::ShutDown, "the worker has been asked to end"};
  return endProcess(client_ != nullptr ? remainingGrace() : exitGrace());
}

std::optional<RunReport> Worker::run(std::string_view program, const Answerer& answer,
                                     const RunSettings& settings) {
  return perform(
      [&](WorkerClient& client) { return runProgram(client, program, answer, settings); });
}

std::optional<WorkerStatus> Worker::ping() {
  return perform([](WorkerClient& client) { return client.ping(); });
}

std::optional<WorkerStatus> Worker::registerContext(const CoordContext& context) {
  const auto status =
      perform([&](WorkerClient& client) { return client.registerContext(context); });
  if (status == WorkerStatus::Ok) {
    const auto known =
        std::find_if(contexts_.begin(), contexts_.end(),
                     [&](const CoordContext& each) { return each.id == context.id; });
    if (known == contexts_.end()) {
      contexts_.push_back(context);
    } else {
      *known = context;
    }
  }
  return status;
}

std::optional<Reply<CellLocation>> Worker::locateCell(std::uint64_t context_id, const Point& point,
                                                      std::uint8_t source_system) {
  return perform(
      [&](WorkerClient& client) { return client.locateCell(context_id, point, source_system); });
}

std::optional<Reply<Point>> Worker::cellPlaneToSystem(std::uint64_t context_id, const Point& point,
                                                      std::uint8_t target_system) {
  return perform([&](WorkerClient& client) {
    return client.cellPlaneToSystem(context_id, point, target_system);
  });
}

std::optional<Reply<Point>> Worker::convert(std::uint64_t context_id, const Point& point,
                                            std::uint8_t source_system,
                                            std::uint8_t target_system) {
  return perform([&](WorkerClient& client) {
    return client.convert(context_id, point, source_system, target_system);
  });
}

std::optional<Reply<GeometryResult>> Worker::computeGeometry(GeometryOperation operation,
                                                             std::span<const double> operands) {
  return perform([&](WorkerClient& client) { return client.computeGeometry(operation, operands); });
}

std::optional<Reply<EvalResult>> Worker::evalStart(std::string_view program,
                                                   std::uint64_t context_id) {
  return perform([&](WorkerClient& client) { return client.evalStart(program, context_id); });
}

std::optional<Reply<EvalResult>> Worker::evalResume(std::uint64_t run_id, std::string_view answer) {
  return perform([&](WorkerClient& client) { return client.evalResume(run_id, answer); });
}

std::optional<WorkerStatus> Worker::evalCancel(std::uint64_t run_id) {
  return perform([&](WorkerClient& client) { return client.evalCancel(run_id); });
}

template <typename Operation>
auto Worker::perform(Operation operation) -> decltype(operation(std::declval<WorkerClient&>())) {
  if (!start()) return std::nullopt;
  try {
    auto reply = [&] {
      const Level level(depth_);
      return operation(*client_);
    }();
    takeFault();
    return reply;
  } catch (...) {
    takeFault();
    throw;
  }
}

bool Worker::startAnew() {
  exit_.reset();
  std::string error;
  process_ = starter_(&error);
  if (process_ == nullptr) {
    fault_ = Fault{Fault::Kind::NotStarted, "the worker cannot be started: " + error};
    return false;
  }
  client_ = std::make_unique<WorkerClient>(*process_, settings_);
  try {
    if (settings_.observer != nullptr) settings_.observer->onStart();
    return registerAll();
  } catch (...) {
    // A worker without all contexts would not be the one that the host expects.
    endProcess(std::chrono::milliseconds::zero());
    throw;
  }
}

bool Worker::registerAll() {
  for (const CoordContext& context : contexts_) {
    if (!client_->registerContext(context)) {
      concludeFault();
      return false;
    }
  }
  return true;
}

// Keeps the fault that the client has met, if any.
void Worker::takeFault() {
  if (client_ == nullptr || !client_->fault()) return;
  fault_ = client_->fault();
  // The operations around this one still use the client.
  if (depth_ == 0) concludeFault();
}

// Ends the worker that has caused the client's fault. One whose output has ended is most likely
// about to exit with a code that tells why, so it gets what is left of the time for that.
void Worker::concludeFault() {
  fault_ = client_->fault();
  const bool may_exit =
      fault_->kind == Fault::Kind::ResponseCut || fault_->kind == Fault::Kind::RequestNotTaken;
  reap(may_exit ? remainingGrace() : std::chrono::milliseconds::zero());
  fault_->message +=
      "; " + (exit_->kind == WorkerExit::Kind::Killed ? std::string("it has been killed")
                                                      : describeExit(*exit_));
  tellEnd();
}

// For a worker that is let go without a request.
std::chrono::milliseconds Worker::exitGrace() const {
  return settings_.time_limit.count() > 0 ? std::min(kExitGrace, settings_.time_limit) : kExitGrace;
}

// For a worker that ends after a request: until that one's deadline.
std::chrono::milliseconds Worker::remainingGrace() const {
  const Deadline deadline = client_->deadline();
  if (!deadline) return kExitGrace;
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
      *deadline - std::chrono::steady_clock::now());
  return std::clamp(left, std::chrono::milliseconds::zero(), kExitGrace);
}

void Worker::reap(std::chrono::milliseconds grace) {
  client_.reset();
  exit_ = process_->finishWithin(grace);
  process_.reset();
}

void Worker::tellEnd() {
  if (settings_.observer != nullptr) settings_.observer->onEnd(*exit_);
}

WorkerExit Worker::endProcess(std::chrono::milliseconds grace) {
  if (process_ == nullptr) return exit_.value_or(WorkerExit{});
  reap(grace);
  tellEnd();
  return *exit_;
}

}  // namespace lisp_worker::client
