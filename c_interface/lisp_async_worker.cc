// The workers of the C interface that never wait, over client::AsyncWorker.
//
// A callback of the host's that returns a number other than 0 is a CallbackResult thrown through
// AsyncWorker::process, which keeps the callbacks that are still due, and caught outside of it. The
// handle may be gone by then.

#include "lisp_worker/c_interface/lisp_async_worker.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "c_interface/host_callback.h"
#include "c_interface/objects.h"
#include "c_interface/observers.h"
#include "c_interface/program_file.h"
#include "lisp_worker/client/async_worker.h"
#include "lisp_worker/client/names.h"

namespace c_interface = lisp_worker::c_interface;
namespace client = lisp_worker::client;
namespace worker = lisp_worker::worker;

using c_interface::lend;
using c_interface::Observers;
using c_interface::viewOf;
using client::AsyncWorker;
using client::ProgramId;
using client::ProgramOutcome;

// NOLINTBEGIN(readability-identifier-naming): the names are C's.

struct lisp_async_worker {
  // Of a program whose call the host could not perform.
  struct Failure {
    std::string call_name;
    std::string message;
  };

  lisp_async_options options;
  std::unique_ptr<Observers> observers;
  std::map<ProgramId, std::string> call_names;  // Of programs that wait, once the host knows.
  std::map<ProgramId, Failure> failures;        // Until the host has been told of the end.
  mutable std::string fault_text;
  mutable std::string exit_text;
  std::unique_ptr<AsyncWorker> worker;  // Goes first: it tells the observers of its end.
};

namespace {

struct CallbackResult {
  int number;
};

// Calls the host. What it returns, unless that is 0, leaves AsyncWorker::process.
template <typename Callback>
void notify(Callback callback) {
  const int number =
      c_interface::callHost(callback, [](std::string_view) { return LISP_CALLBACK_THREW; });
  if (number != 0) throw CallbackResult{number};
}

int endOf(ProgramOutcome::Kind kind) {
  switch (kind) {
    case ProgramOutcome::Kind::Cancelled:
      return LISP_END_CANCELLED;
    case ProgramOutcome::Kind::TimedOut:
      return LISP_END_TIMED_OUT;
    default:
      return LISP_END_WORKER_LOST;
  }
}

std::unique_ptr<lisp_run> endedRun(const lisp_async_worker* handle, const ProgramOutcome& outcome) {
  auto run = std::make_unique<lisp_run>(outcome.report);
  if (outcome.kind == ProgramOutcome::Kind::Finished) return run;
  run->end = endOf(outcome.kind);
  const std::optional<client::Fault>& fault = handle->worker->fault();
  const bool is_lost = run->end == LISP_END_WORKER_LOST && fault;
  run->report.text = is_lost ? fault->message : lisp_run_end_explanation(run.get());
  return run;
}

client::ProgramSettings settingsOf(lisp_async_worker* handle, const lisp_program_options& options) {
  client::ProgramSettings settings{.context_id = options.context_id};
  if (options.host_call_count_max != 0) settings.host_call_count_max = options.host_call_count_max;
  settings.time_limit = c_interface::millisecondsOf(options.time_limit_ms);
  if (options.on_call != nullptr) {
    settings.on_call = [handle, options](ProgramId id, const client::HostCall& call) {
      handle->call_names[id] = call.name;
      const lisp_call lent(call);
      notify([&] { return options.on_call(options.user, id, &lent); });
    };
  }
  settings.on_end = [handle, options](ProgramId id, const ProgramOutcome& outcome) {
    handle->call_names.erase(id);
    const auto failure = handle->failures.extract(id);
    if (options.on_end == nullptr) return;
    std::unique_ptr<lisp_run> run;
    if (failure.empty()) {
      run = endedRun(handle, outcome);
    } else {
      run = c_interface::makeHostError(outcome.report, failure.mapped().call_name,
                                       failure.mapped().message);
    }
    notify([&] { return options.on_end(options.user, id, run.get()); });
  };
  return settings;
}

const std::optional<client::WorkerExit>& exitOf(const lisp_async_worker* handle) {
  static const std::optional<client::WorkerExit> kNone;
  return handle == nullptr ? kNone : handle->worker->exit();
}

}  // namespace

lisp_async_worker* lisp_async_worker_new(const lisp_async_options* options,
                                         const char** reason_out) {
  auto setup = c_interface::readSetup(options, reason_out);
  if (!setup) return nullptr;
  auto made = std::make_unique<lisp_async_worker>();
  lisp_async_worker* const handle = made.get();
  handle->options = setup->options;
  handle->observers = std::move(setup->observers);
  client::AsyncSettings settings{.observer = handle->observers.get()};
  settings.time_limit = c_interface::limitOf(handle->options.time_limit_ms, settings.time_limit);
  if (handle->options.on_fault != nullptr) {
    settings.on_fault = [handle](const client::Fault&) {
      const lisp_async_options& own = handle->options;
      notify([&] { return own.on_fault(own.user, handle); });
    };
  }
  const auto start = [path = std::move(setup->path)](std::string* error_out) {
    return c_interface::startProgram(path, client::startAsyncWorker, error_out);
  };
  handle->worker = std::make_unique<AsyncWorker>(start, std::move(settings));
  return made.release();
}

void lisp_async_worker_free(lisp_async_worker* worker) { delete worker; }

int lisp_async_worker_start(lisp_async_worker* worker) {
  return worker != nullptr && worker->worker->start() ? 0 : LISP_FAULT;
}

int lisp_async_worker_restart(lisp_async_worker* worker) {
  return worker != nullptr && worker->worker->restart() ? 0 : LISP_FAULT;
}

intptr_t lisp_async_worker_handle(const lisp_async_worker* worker) {
  return worker == nullptr ? -1 : worker->worker->handle();
}

int lisp_async_worker_process(lisp_async_worker* worker) {
  if (worker == nullptr) return 0;
  try {
    worker->worker->process();
    return 0;
  } catch (const CallbackResult& result) {
    return result.number;
  }
}

uint64_t lisp_async_worker_submit(lisp_async_worker* worker, const char* program, size_t size,
                                  const lisp_program_options* options, const char** reason_out) {
  const char* reason = nullptr;
  if (reason_out == nullptr) reason_out = &reason;
  *reason_out = worker == nullptr ? "there is no worker" : nullptr;
  const auto known = c_interface::readStructure(options, reason_out);
  if (worker == nullptr || !known) return 0;
  return worker->worker->submit(std::string(viewOf(program, size)), settingsOf(worker, *known));
}

int lisp_async_worker_answer(lisp_async_worker* worker, uint64_t program,
                             const lisp_value* answer) {
  if (worker == nullptr) return 0;
  const std::string* const error = c_interface::errorOf(answer);
  if (error == nullptr) {
    return worker->worker->answer(program, c_interface::datumOf(answer)) ? 1 : 0;
  }
  if (!worker->worker->decline(program)) return 0;
  worker->failures[program] = {.call_name = worker->call_names[program], .message = *error};
  return 1;
}

int lisp_async_worker_decline(lisp_async_worker* worker, uint64_t program) {
  return worker != nullptr && worker->worker->decline(program) ? 1 : 0;
}

void lisp_async_worker_cancel(lisp_async_worker* worker, uint64_t program) {
  if (worker != nullptr) worker->worker->cancel(program);
}

void lisp_async_worker_kill(lisp_async_worker* worker) {
  if (worker != nullptr) worker->worker->kill();
}

int lisp_async_worker_register_context(lisp_async_worker* worker, uint64_t id,
                                       const double systems[40], const double cell_plane[8],
                                       double cell_size, uint64_t cell_key_seed, uint32_t tag,
                                       lisp_on_status on_end, void* user) {
  if (worker == nullptr) return LISP_FAULT;
  if (systems == nullptr || cell_plane == nullptr) return LISP_STATUS_BAD_REQUEST;
  const auto tell = [on_end, user](std::optional<worker::WorkerStatus> status) {
    if (on_end == nullptr) return;
    notify([&] { return on_end(user, status ? static_cast<int>(*status) : LISP_FAULT); });
  };
  worker->worker->registerContext(
      c_interface::contextOf(id, systems, cell_plane, cell_size, cell_key_seed, tag), tell);
  return LISP_STATUS_OK;
}

void lisp_async_worker_ping(lisp_async_worker* worker, lisp_on_status on_end, void* user) {
  if (worker == nullptr) return;
  worker->worker->ping([on_end, user](bool is_answered) {
    if (on_end == nullptr) return;
    notify([&] { return on_end(user, is_answered ? LISP_STATUS_OK : LISP_FAULT); });
  });
}

int lisp_async_worker_progress(const lisp_async_worker* worker, uint64_t program,
                               uint64_t* host_call_count, uint64_t* steps, uint64_t* run_id) {
  if (worker == nullptr) return LISP_PROGRAM_ENDED;
  const std::optional<client::ProgramProgress> progress = worker->worker->progress(program);
  if (!progress) return LISP_PROGRAM_ENDED;
  if (host_call_count != nullptr) *host_call_count = progress->host_call_count;
  if (steps != nullptr) *steps = progress->steps;
  if (run_id != nullptr) *run_id = progress->run_id;
  return static_cast<int>(progress->state);
}

const char* lisp_async_worker_fault(const lisp_async_worker* worker) {
  if (worker == nullptr) return "there is no worker";
  const std::optional<client::Fault>& fault = worker->worker->fault();
  return fault ? lend(worker->fault_text, fault->message) : "";
}

int lisp_async_worker_fault_kind(const lisp_async_worker* worker) {
  if (worker == nullptr) return LISP_FAULT_NOT_STARTED;
  const std::optional<client::Fault>& fault = worker->worker->fault();
  return fault ? static_cast<int>(fault->kind) : -1;
}

const char* lisp_async_worker_exit(const lisp_async_worker* worker) {
  const std::optional<client::WorkerExit>& exit = exitOf(worker);
  return exit ? lend(worker->exit_text, client::describeExit(*exit)) : "";
}

int lisp_async_worker_exit_kind(const lisp_async_worker* worker) {
  return c_interface::exitKindOf(exitOf(worker));
}

int64_t lisp_async_worker_exit_code(const lisp_async_worker* worker) {
  return c_interface::exitCodeOf(exitOf(worker));
}

// NOLINTEND(readability-identifier-naming)
