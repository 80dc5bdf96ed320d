// A worker with everything that a host needs around it: the process, the conversation, the
// contexts, and what to do when it breaks.
//
//   client::Worker worker("/usr/bin/lisp_worker");
//   const auto run = worker.run("(+ 1 2)");
//   if (run && run->hasValue()) use(run->text);
//
// The process is started by the first request. When it goes away, sends what no worker sends, or
// does not answer in time, it is ended and reaped there and then; the request that met it and all
// later ones return nothing, and fault() tells why, until restart() has started another. What a
// worker keeps is lost with it: variables, functions, pending runs. The coordinate contexts are
// not: this object remembers them and registers them with the next worker.
//
// One thread at a time may use a worker; several workers know nothing of each other.

#ifndef LISP_WORKER_CLIENT_WORKER_H_
#define LISP_WORKER_CLIENT_WORKER_H_

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "lisp_worker/client/coordinates.h"
#include "lisp_worker/client/eval_result.h"
#include "lisp_worker/client/geometry.h"
#include "lisp_worker/client/process.h"
#include "lisp_worker/client/run.h"
#include "lisp_worker/client/worker_client.h"

namespace lisp_worker::client {

// Makes a worker's process, as startWorker does.
// An exception of it leaves the request or the restart() that needs a process; the next one asks
// again.
using WorkerStarter = std::function<std::unique_ptr<WorkerProcess>(std::string* error_out)>;

class Worker {
 public:
  // The worker's program, as startWorker takes it.
  explicit Worker(std::filesystem::path path, ClientSettings settings = {});

  // For workers that are started in some other way.
  explicit Worker(WorkerStarter starter, ClientSettings settings = {});

  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;
  ~Worker();

  // Both results may be ignored: the next request meets the same fault.

  // Starts the worker if none runs. Only needed by a host that wants to know early. False with a
  // fault when it cannot be started; also after a fault, until restart().
  bool start();

  // Ends the worker, if one runs, without waiting for what it does, starts another and registers
  // all contexts anew. False with a fault when that fails. Not for an Answerer, which must leave
  // its worker where it is: false then, and nothing happens.
  bool restart();

  // Lets the worker go by a Shutdown and returns how it has ended; one that does not answer within
  // ClientSettings::stop_time_limit is killed. The next request would meet the fault ShutDown;
  // restart() starts another. Not for an Answerer either.
  WorkerExit stop();

  // Carries a program through all its host calls. Without `answer`, or for a call that it does not
  // answer, the program is cancelled. `answer` may make requests of this worker, and even run
  // another program.
  [[nodiscard]] std::optional<RunReport> run(std::string_view program, const Answerer& answer = {},
                                             const RunSettings& settings = {});

  // The requests of WorkerClient, which describes them.
  [[nodiscard]] std::optional<worker::WorkerStatus> ping();
  [[nodiscard]] std::optional<worker::WorkerStatus> registerContext(const CoordContext& context);
  [[nodiscard]] std::optional<Reply<CellLocation>> locateCell(std::uint64_t context_id,
                                                              const Point& point,
                                                              std::uint8_t source_system);
  [[nodiscard]] std::optional<Reply<Point>> cellPlaneToSystem(std::uint64_t context_id,
                                                              const Point& point,
                                                              std::uint8_t target_system);
  [[nodiscard]] std::optional<Reply<Point>> convert(std::uint64_t context_id, const Point& point,
                                                    std::uint8_t source_system,
                                                    std::uint8_t target_system);
  [[nodiscard]] std::optional<Reply<GeometryResult>> computeGeometry(
      GeometryOperation operation, std::span<const double> operands);
  [[nodiscard]] std::optional<Reply<EvalResult>> evalStart(std::string_view program,
                                                           std::uint64_t context_id);
  [[nodiscard]] std::optional<Reply<EvalResult>> evalResume(std::uint64_t run_id,
                                                            std::string_view answer);
  [[nodiscard]] std::optional<worker::WorkerStatus> evalCancel(std::uint64_t run_id);

  // Why there is no worker to talk to, with how it has ended when it was there; empty while all is
  // well.
  [[nodiscard]] const std::optional<Fault>& fault() const { return fault_; }

  // The end of the last worker; empty while one runs and before the first.
  [[nodiscard]] const std::optional<WorkerExit>& exit() const { return exit_; }

 private:
  template <typename Operation>
  auto perform(Operation operation) -> decltype(operation(std::declval<WorkerClient&>()));
  bool startAnew();
  bool registerAll();
  void takeFault();
  void concludeFault();
  [[nodiscard]] std::chrono::milliseconds exitGrace() const;
  [[nodiscard]] std::chrono::milliseconds remainingGrace() const;
  void reap(std::chrono::milliseconds grace);
  void tellEnd();
  WorkerExit endProcess(std::chrono::milliseconds grace);

  WorkerStarter starter_;
  ClientSettings settings_;
  std::unique_ptr<WorkerProcess> process_;
  std::unique_ptr<WorkerClient> client_;  // On process_.
  int depth_ = 0;                         // Operations of client_ in hand, one inside the other.
  std::vector<CoordContext> contexts_;    // In the order of their first registration.
  std::optional<Fault> fault_;
  std::optional<WorkerExit> exit_;
};

}  // namespace lisp_worker::client

#endif  // LISP_WORKER_CLIENT_WORKER_H_
