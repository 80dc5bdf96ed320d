// The workers of the C interface that wait: each function turns its arguments into the types of
// client/, calls one function there, and turns the result into codes and texts.
//
// No exception passes into C. A host's callback that fails leaves runProgram as a HostError, which
// becomes the end of that run. Texts about a worker are copies, because requests replace the
// records that they describe.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "c_interface/host_callback.h"
#include "c_interface/objects.h"
#include "c_interface/observers.h"
#include "c_interface/program_file.h"
#include "client/run_steps.h"
#include "lisp_worker/client/answer_text.h"
#include "lisp_worker/client/names.h"
#include "lisp_worker/client/version.h"
#include "lisp_worker/client/worker.h"

namespace c_interface = lisp_worker::c_interface;
namespace client = lisp_worker::client;
namespace worker = lisp_worker::worker;

using c_interface::contextOf;
using c_interface::datumOf;
using c_interface::lend;
using c_interface::Observers;
using c_interface::viewOf;
using client::Datum;
using client::EvalResult;
using client::RunEnd;
using client::RunReport;
using worker::WorkerStatus;

// NOLINTBEGIN(readability-identifier-naming): the names are C's.

struct lisp_worker_handle {
  std::string path;
  client::ClientSettings settings;
  std::unique_ptr<Observers> observers;
  std::unique_ptr<client::Worker> worker;  // Made by its first use, which ends the settings.
  mutable std::string fault_text;
  mutable std::string exit_text;
};

namespace {

// Thrown out of runProgram when the host's callback has failed.
struct HostError {
  std::string message;
};

client::Worker& workerOf(lisp_worker_handle* handle) {
  if (handle->worker == nullptr) {
    client::ClientSettings settings = handle->settings;
    settings.observer = handle->observers.get();
    const auto start = [path = handle->path](std::string* error_out) {
      return c_interface::startProgram(path, client::startWorker, error_out);
    };
    handle->worker = std::make_unique<client::Worker>(start, settings);
  }
  return *handle->worker;
}

// Null before the first use.
const client::Worker* workerOf(const lisp_worker_handle* handle) {
  return handle == nullptr ? nullptr : handle->worker.get();
}

std::optional<client::WorkerExit> exitOf(const lisp_worker_handle* handle) {
  const client::Worker* const made = workerOf(handle);
  return made == nullptr ? std::nullopt : made->exit();
}

int toCode(WorkerStatus status) { return static_cast<int>(status); }

int toCode(const std::optional<WorkerStatus>& status) {
  return status ? toCode(*status) : LISP_FAULT;
}

// A number that names no kind becomes one that is none.
client::Fault::Kind toFaultKind(int kind) {
  const bool is_possible = kind >= 0 && kind <= 0xFF;
  return static_cast<client::Fault::Kind>(is_possible ? kind : 0xFF);
}

// No code of a process is that long; such a number becomes one that has no name.
std::uint32_t toExitCode(std::int64_t code) {
  constexpr std::uint32_t kNoCode = 0xFFFFFFFF;
  return code >= 0 && code <= kNoCode ? static_cast<std::uint32_t>(code) : kNoCode;
}

client::Point toPoint(const double* point) { return {point[0], point[1], point[2]}; }

void writePoint(const client::Point& from, double* point) {
  point[0] = from.x;
  point[1] = from.y;
  point[2] = from.z;
}

lisp_run* toHandle(RunReport report) { return new lisp_run(std::move(report)); }

// The answer that the host's callback has given, which is taken over here.
std::optional<Datum> takeAnswer(lisp_value* answer) {
  const std::unique_ptr<lisp_value> given(answer);
  if (given == nullptr) return std::nullopt;
  if (const std::string* const error = c_interface::errorOf(given.get())) {
    throw HostError{*error};
  }
  return std::move(given->extras->own);
}

lisp_value* failCall(std::string_view message) { return c_interface::makeError(message).release(); }

// Runs a program, with `perform` for its calls.
lisp_run* runWith(lisp_worker_handle* handle, std::string_view program,
                  const client::Answerer& perform, const client::RunSettings& settings) {
  std::string call_name;
  std::size_t call_count = 0;
  const auto noted = [&](const client::HostCall& call) {
    call_name = call.name;
    ++call_count;
    return perform(call);
  };
  try {
    std::optional<RunReport> report =
        workerOf(handle).run(program, perform ? noted : client::Answerer(), settings);
    return report ? toHandle(*std::move(report)) : nullptr;
  } catch (const HostError& error) {
    RunReport report;
    report.status = WorkerStatus::HostCallPending;
    report.host_call_count = call_count;
    return c_interface::makeHostError(std::move(report), call_name, error.message).release();
  }
}

// A step of a program that the host carries on itself.
lisp_run* toStep(const std::optional<client::Reply<EvalResult>>& reply) {
  if (!reply) return nullptr;
  RunReport report;
  client::noteEvaluation(*reply, report);
  const bool waits =
      reply->value && reply->value->eval_status == client::EvalStatus::HostCallRequired;
  if (!waits) {
    client::conclude(*reply, report);
    return toHandle(std::move(report));
  }
  report.host_call_count = 1;
  lisp_run* const run = toHandle(std::move(report));
  run->end = LISP_END_WAITING;
  run->id = reply->value->run_id;
  run->call = std::make_unique<const lisp_call>(client::describeCall(*reply->value));
  return run;
}

lisp_run* toUnwritable(std::string text) {
  RunReport report;
  report.end = RunEnd::Unwritable;
  report.status = WorkerStatus::HostCallPending;
  report.text = std::move(text);
  return toHandle(std::move(report));
}

}  // namespace

unsigned lisp_worker_interface_version() { return LISP_WORKER_INTERFACE_VERSION; }

const char* lisp_worker_library_version() { return client::libraryVersion().data(); }

lisp_worker_handle* lisp_worker_new(const char* path, uint32_t time_limit_ms) {
  lisp_worker_options options{};
  options.size = sizeof(options);
  options.path = path;
  options.time_limit_ms = time_limit_ms == 0 ? LISP_NO_LIMIT : time_limit_ms;
  return lisp_worker_open(&options, nullptr);
}

lisp_worker_handle* lisp_worker_open(const lisp_worker_options* options, const char** reason_out) {
  auto setup = c_interface::readSetup(options, reason_out);
  if (!setup) return nullptr;
  auto handle = std::make_unique<lisp_worker_handle>();
  handle->path = std::move(setup->path);
  handle->observers = std::move(setup->observers);
  handle->settings.time_limit =
      c_interface::limitOf(setup->options.time_limit_ms, handle->settings.time_limit);
  handle->settings.stop_time_limit =
      c_interface::limitOf(setup->options.stop_time_limit_ms, handle->settings.stop_time_limit);
  return handle.release();
}

void lisp_worker_free(lisp_worker_handle* worker) { delete worker; }

int lisp_worker_record(lisp_worker_handle* worker, const char* path) {
  if (worker == nullptr || worker->worker != nullptr || worker->observers->hasRecorder()) {
    return LISP_FAULT;
  }
  const std::unique_ptr<lisp_recorder> made(lisp_recorder_new(path, LISP_TO_ZERO));
  worker->observers->setRecorder(made->recorder);
  return made->recorder == nullptr ? LISP_FAULT : 0;
}

int lisp_worker_start(lisp_worker_handle* worker) {
  return worker != nullptr && workerOf(worker).start() ? 0 : LISP_FAULT;
}

int lisp_worker_restart(lisp_worker_handle* worker) {
  return worker != nullptr && workerOf(worker).restart() ? 0 : LISP_FAULT;
}

void lisp_worker_stop(lisp_worker_handle* worker) {
  if (worker != nullptr) workerOf(worker).stop();
}

const char* lisp_worker_fault(const lisp_worker_handle* worker) {
  if (worker == nullptr) return "there is no worker";
  const client::Worker* const made = workerOf(worker);
  if (made == nullptr || !made->fault()) return "";
  return lend(worker->fault_text, made->fault()->message);
}

const char* lisp_worker_exit(const lisp_worker_handle* worker) {
  const std::optional<client::WorkerExit> exit = exitOf(worker);
  return exit ? lend(worker->exit_text, client::describeExit(*exit)) : "";
}

int lisp_worker_fault_kind(const lisp_worker_handle* worker) {
  if (worker == nullptr) return LISP_FAULT_NOT_STARTED;
  const client::Worker* const made = workerOf(worker);
  return made == nullptr || !made->fault() ? -1 : static_cast<int>(made->fault()->kind);
}

const char* lisp_fault_name(int kind) { return client::faultName(toFaultKind(kind)).data(); }

const char* lisp_fault_explanation(int kind) {
  return client::explainFault(toFaultKind(kind)).data();
}

int lisp_worker_exit_kind(const lisp_worker_handle* worker) {
  return c_interface::exitKindOf(exitOf(worker));
}

int64_t lisp_worker_exit_code(const lisp_worker_handle* worker) {
  return c_interface::exitCodeOf(exitOf(worker));
}

const char* lisp_exit_code_name(int64_t code) {
  return client::exitCodeName(toExitCode(code)).data();
}

const char* lisp_exit_code_explanation(int64_t code) {
  return client::explainExitCode(toExitCode(code)).data();
}

int lisp_worker_ping(lisp_worker_handle* worker) {
  return worker == nullptr ? LISP_FAULT : toCode(workerOf(worker).ping());
}

const char* lisp_status_name(int status) {
  return client::statusName(static_cast<WorkerStatus>(status)).data();
}

const char* lisp_status_explanation(int status) {
  return client::explainStatus(static_cast<WorkerStatus>(status)).data();
}

lisp_run* lisp_worker_run(lisp_worker_handle* worker, const char* program, size_t size,
                          uint64_t context_id, lisp_answer answer, void* user) {
  if (worker == nullptr) return nullptr;
  client::Answerer perform;
  if (answer != nullptr) {
    perform = [answer, user](const client::HostCall& call) {
      const lisp_value arguments(client::list(call.arguments));
      return takeAnswer(c_interface::callHost(
          [&] {
            return answer(user, call.name.c_str(), call.unreadable.empty() ? &arguments : nullptr,
                          call.text.c_str());
          },
          failCall));
    };
  }
  return runWith(worker, viewOf(program, size), perform, {.context_id = context_id});
}

lisp_run* lisp_worker_run_program(lisp_worker_handle* worker, const char* program, size_t size,
                                  const lisp_run_options* options) {
  if (worker == nullptr) return nullptr;
  const char* reason = nullptr;
  const auto known = c_interface::readStructure(options, &reason);
  if (!known) {
    RunReport report;
    report.end = RunEnd::Refused;
    report.status = WorkerStatus::InvalidRequest;
    report.text = reason;
    return toHandle(std::move(report));
  }
  client::RunSettings settings{.context_id = known->context_id};
  if (known->host_call_count_max != 0) settings.host_call_count_max = known->host_call_count_max;
  client::Answerer perform;
  if (known->perform != nullptr) {
    perform = [&known](const client::HostCall& call) {
      const lisp_call lent(call);
      return takeAnswer(
          c_interface::callHost([&] { return known->perform(known->user, &lent); }, failCall));
    };
  }
  return runWith(worker, viewOf(program, size), perform, settings);
}

lisp_run* lisp_worker_start_run(lisp_worker_handle* worker, const char* program, size_t size,
                                uint64_t context_id) {
  if (worker == nullptr) return nullptr;
  return toStep(workerOf(worker).evalStart(viewOf(program, size), context_id));
}

lisp_run* lisp_worker_resume_run(lisp_worker_handle* worker, uint64_t run_id,
                                 const lisp_value* answer) {
  if (worker == nullptr) return nullptr;
  if (const std::string* const error = c_interface::errorOf(answer)) {
    if (!workerOf(worker).evalCancel(run_id)) return nullptr;
    RunReport report;
    report.status = WorkerStatus::HostCallPending;
    return c_interface::makeHostError(std::move(report), "the call", *error).release();
  }
  std::string reason;
  const std::optional<std::string> text = client::answerText(datumOf(answer), &reason);
  if (!text) {
    return toUnwritable("the host's answer cannot be written: " + reason);
  }
  return toStep(workerOf(worker).evalResume(run_id, *text));
}

int lisp_worker_cancel_run(lisp_worker_handle* worker, uint64_t run_id) {
  return worker == nullptr ? LISP_FAULT : toCode(workerOf(worker).evalCancel(run_id));
}

int lisp_worker_register_context(lisp_worker_handle* worker, uint64_t id, const double systems[40],
                                 const double cell_plane[8], double cell_size,
                                 uint64_t cell_key_seed, uint32_t tag) {
  if (worker == nullptr) return LISP_FAULT;
  if (systems == nullptr || cell_plane == nullptr) return LISP_STATUS_BAD_REQUEST;
  return toCode(workerOf(worker).registerContext(
      contextOf(id, systems, cell_plane, cell_size, cell_key_seed, tag)));
}

int lisp_worker_convert(lisp_worker_handle* worker, uint64_t context_id, double point[3],
                        uint8_t source_system, uint8_t target_system) {
  if (worker == nullptr) return LISP_FAULT;
  if (point == nullptr) return LISP_STATUS_BAD_REQUEST;
  const auto reply =
      workerOf(worker).convert(context_id, toPoint(point), source_system, target_system);
  if (!reply) return LISP_FAULT;
  if (reply->value) writePoint(*reply->value, point);
  return toCode(reply->status);
}

int lisp_worker_cell_plane_to_system(lisp_worker_handle* worker, uint64_t context_id,
                                     double point[3], uint8_t target_system) {
  if (worker == nullptr) return LISP_FAULT;
  if (point == nullptr) return LISP_STATUS_BAD_REQUEST;
  const auto reply = workerOf(worker).cellPlaneToSystem(context_id, toPoint(point), target_system);
  if (!reply) return LISP_FAULT;
  if (reply->value) writePoint(*reply->value, point);
  return toCode(reply->status);
}

int lisp_worker_locate_cell(lisp_worker_handle* worker, uint64_t context_id, double point[3],
                            uint8_t source_system, int64_t index[2], uint64_t* key, uint32_t* tag) {
  if (worker == nullptr) return LISP_FAULT;
  if (point == nullptr) return LISP_STATUS_BAD_REQUEST;
  const auto reply = workerOf(worker).locateCell(context_id, toPoint(point), source_system);
  if (!reply) return LISP_FAULT;
  if (reply->value) {
    writePoint(reply->value->in_cell_plane, point);
    if (index != nullptr) {
      index[0] = reply->value->i;
      index[1] = reply->value->j;
    }
    if (key != nullptr) *key = reply->value->key;
    if (tag != nullptr) *tag = reply->value->tag;
  }
  return toCode(reply->status);
}

int lisp_worker_compute(lisp_worker_handle* worker, uint8_t operation, const double* operands,
                        size_t count, double result[2]) {
  if (worker == nullptr) return LISP_FAULT;
  // More operands than a request can hold are what the worker calls a bad request.
  const bool is_lacking = operands == nullptr && count > 0;
  if (is_lacking || count > worker::kGeometryOperandCountMax) return LISP_STATUS_BAD_REQUEST;
  const auto reply = workerOf(worker).computeGeometry(
      static_cast<client::GeometryOperation>(operation), {operands, count});
  if (!reply) return LISP_FAULT;
  if (reply->value && result != nullptr) {
    result[0] = reply->value->x;
    result[1] = reply->value->y;
  }
  return toCode(reply->status);
}

// NOLINTEND(readability-identifier-naming)
