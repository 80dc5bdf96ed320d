#include "c_interface/lisp_worker.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "client/answer_text.h"
#include "client/names.h"
#include "client/worker.h"
#include "session/recorder.h"

using client::CoordContext;
using client::Datum;
using worker::WorkerStatus;

// NOLINTBEGIN(readability-identifier-naming): the names are C's.

struct lisp_worker {
  std::string path;
  std::chrono::milliseconds time_limit{0};
  std::unique_ptr<session::Recorder> recorder;
  std::unique_ptr<client::Worker> worker;  // Made by its first use, which ends the settings.
  std::string exit_text;
};

struct lisp_value {
  Datum datum;
  std::string text;  // What was asked for last.
};

struct lisp_run {
  client::RunReport report;
  std::string warning_text;
};

namespace {

client::Worker& workerOf(lisp_worker* handle) {
  if (handle->worker == nullptr) {
    handle->worker = std::make_unique<client::Worker>(
        handle->path, client::ClientSettings{.time_limit = handle->time_limit,
                                             .observer = handle->recorder.get()});
  }
  return *handle->worker;
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

lisp_value* toHandle(Datum datum) { return new lisp_value{std::move(datum), {}}; }

const char* giveText(std::string_view text, size_t* size_out) {
  if (size_out != nullptr) *size_out = text.size();
  return text.data();
}

client::Point toPoint(const double* point) { return {point[0], point[1], point[2]}; }

void writePoint(const client::Point& from, double* point) {
  point[0] = from.x;
  point[1] = from.y;
  point[2] = from.z;
}

client::PlanarSystem toSystem(const double* numbers) {
  return {.origin_x = numbers[0],
          .origin_y = numbers[1],
          .a = numbers[2],
          .b = numbers[3],
          .c = numbers[4],
          .d = numbers[5],
          .z_scale = numbers[6],
          .z_offset = numbers[7]};
}

constexpr std::size_t kNumbersPerSystem = 8;

// Has the host's callback perform the call.
std::optional<Datum> performCall(const client::HostCall& call, lisp_answer answer, void* user) {
  if (answer == nullptr) return std::nullopt;
  const lisp_value arguments{client::list(call.arguments), {}};
  const std::unique_ptr<lisp_value> given(answer(
      user, call.name.c_str(), call.unreadable.empty() ? &arguments : nullptr, call.text.c_str()));
  if (given == nullptr) return std::nullopt;
  return std::move(given->datum);
}

}  // namespace

unsigned lisp_worker_interface_version() { return LISP_WORKER_INTERFACE_VERSION; }

lisp_worker* lisp_worker_new(const char* path, uint32_t time_limit_ms) {
  return new lisp_worker{.path = path,
                         .time_limit = std::chrono::milliseconds(time_limit_ms),
                         .recorder = nullptr,
                         .worker = nullptr,
                         .exit_text = {}};
}

void lisp_worker_free(lisp_worker* worker) { delete worker; }

int lisp_worker_record(lisp_worker* worker, const char* path) {
  if (worker->worker != nullptr || worker->recorder != nullptr) return LISP_FAULT;
  worker->recorder = session::Recorder::create(path, nullptr);
  return worker->recorder == nullptr ? LISP_FAULT : 0;
}

int lisp_worker_start(lisp_worker* worker) { return workerOf(worker).start() ? 0 : LISP_FAULT; }

int lisp_worker_restart(lisp_worker* worker) { return workerOf(worker).restart() ? 0 : LISP_FAULT; }

void lisp_worker_stop(lisp_worker* worker) { workerOf(worker).stop(); }

const char* lisp_worker_fault(const lisp_worker* worker) {
  if (worker->worker == nullptr || !worker->worker->fault()) return "";
  return worker->worker->fault()->message.c_str();
}

const char* lisp_worker_exit(lisp_worker* worker) {
  if (worker->worker == nullptr || !worker->worker->exit()) return "";
  worker->exit_text = client::describeExit(*worker->worker->exit());
  return worker->exit_text.c_str();
}

int lisp_worker_fault_kind(const lisp_worker* worker) {
  if (worker->worker == nullptr || !worker->worker->fault()) return -1;
  return static_cast<int>(worker->worker->fault()->kind);
}

const char* lisp_fault_name(int kind) { return client::faultName(toFaultKind(kind)).data(); }

const char* lisp_fault_explanation(int kind) {
  return client::explainFault(toFaultKind(kind)).data();
}

int64_t lisp_worker_exit_code(const lisp_worker* worker) {
  if (worker->worker == nullptr || !worker->worker->exit()) return -1;
  const client::WorkerExit& exit = *worker->worker->exit();
  return exit.kind == client::WorkerExit::Kind::Exited ? int64_t{exit.code} : -1;
}

const char* lisp_exit_code_name(int64_t code) {
  return client::exitCodeName(static_cast<std::uint32_t>(code)).data();
}

const char* lisp_exit_code_explanation(int64_t code) {
  return client::explainExitCode(static_cast<std::uint32_t>(code)).data();
}

int lisp_worker_ping(lisp_worker* worker) { return toCode(workerOf(worker).ping()); }

const char* lisp_status_name(int status) {
  return client::statusName(static_cast<WorkerStatus>(status)).data();
}

const char* lisp_status_explanation(int status) {
  return client::explainStatus(static_cast<WorkerStatus>(status)).data();
}

lisp_value* lisp_value_nil() { return toHandle(client::nil()); }

lisp_value* lisp_value_number(double number) { return toHandle(client::number(number)); }

lisp_value* lisp_value_string(const char* bytes, size_t size) {
  return toHandle(client::string(std::string(bytes, size)));
}

lisp_value* lisp_value_symbol(const char* name) { return toHandle(client::symbol(name)); }

lisp_value* lisp_value_list(const lisp_value* const* elements, size_t count) {
  client::DatumList data;
  for (const lisp_value* const element : std::span(elements, count)) {
    data.push_back(element->datum);
  }
  return toHandle(client::list(std::move(data)));
}

lisp_value* lisp_value_point(double x, double y, double z) {
  return toHandle(client::point(x, y, z));
}

lisp_value* lisp_value_read(const char* text, size_t size) {
  std::optional<Datum> datum = client::readDatum({text, size}, nullptr);
  return datum ? toHandle(*std::move(datum)) : nullptr;
}

void lisp_value_free(lisp_value* value) { delete value; }

int lisp_value_kind(const lisp_value* value) { return static_cast<int>(value->datum.kind()); }

double lisp_value_as_number(const lisp_value* value) {
  return client::asNumber(value->datum).value_or(0);
}

const char* lisp_value_text(lisp_value* value, size_t* size_out) {
  const auto string = client::asString(value->datum);
  value->text = string ? *string : client::asSymbol(value->datum).value_or("");
  return giveText(value->text, size_out);
}

size_t lisp_value_count(const lisp_value* value) {
  const client::DatumList* const elements = client::asList(value->datum);
  return elements == nullptr ? 0 : elements->size();
}

lisp_value* lisp_value_element(const lisp_value* value, size_t index) {
  const client::DatumList* const elements = client::asList(value->datum);
  if (elements == nullptr || index >= elements->size()) return nullptr;
  return toHandle((*elements)[index]);
}

const char* lisp_value_print(lisp_value* value, size_t* size_out) {
  value->text = client::printDatum(value->datum);
  return giveText(value->text, size_out);
}

lisp_run* lisp_worker_run(lisp_worker* worker, const char* program, size_t size,
                          uint64_t context_id, lisp_answer answer, void* user) {
  const auto perform = [answer, user](const client::HostCall& call) {
    return performCall(call, answer, user);
  };
  std::optional<client::RunReport> report =
      workerOf(worker).run({program, size}, perform, {.context_id = context_id});
  return report ? new lisp_run{*std::move(report), {}} : nullptr;
}

void lisp_run_free(lisp_run* run) { delete run; }

int lisp_run_end(const lisp_run* run) { return static_cast<int>(run->report.end); }

const char* lisp_run_end_name(const lisp_run* run) {
  return client::runEndName(run->report.end).data();
}

const char* lisp_run_end_explanation(const lisp_run* run) {
  return client::explainRunEnd(run->report.end).data();
}

const char* lisp_run_text(const lisp_run* run, size_t* size_out) {
  return giveText(run->report.text, size_out);
}

lisp_value* lisp_run_value(const lisp_run* run) {
  return run->report.value ? toHandle(*run->report.value) : nullptr;
}

size_t lisp_run_host_call_count(const lisp_run* run) { return run->report.host_call_count; }

uint64_t lisp_run_steps(const lisp_run* run) { return run->report.steps; }

size_t lisp_run_warning_count(const lisp_run* run) { return run->report.warnings.size(); }

const char* lisp_run_warning(lisp_run* run, size_t index) {
  if (index >= run->report.warnings.size()) return nullptr;
  run->warning_text = client::describeWarning(run->report.warnings[index]);
  return run->warning_text.c_str();
}

int lisp_worker_register_context(lisp_worker* worker, uint64_t id, const double systems[40],
                                 const double cell_plane[8], double cell_size,
                                 uint64_t cell_key_seed, uint32_t tag) {
  CoordContext context;
  context.id = id;
  context.cell_key_seed = cell_key_seed;
  context.tag = tag;
  context.cell_size = cell_size;
  for (std::size_t index = 0; index < context.systems.size(); ++index) {
    context.systems[index] = toSystem(systems + index * kNumbersPerSystem);
  }
  context.cell_plane = toSystem(cell_plane);
  return toCode(workerOf(worker).registerContext(context));
}

int lisp_worker_convert(lisp_worker* worker, uint64_t context_id, double point[3],
                        uint8_t source_system, uint8_t target_system) {
  const auto reply =
      workerOf(worker).convert(context_id, toPoint(point), source_system, target_system);
  if (!reply) return LISP_FAULT;
  if (reply->value) writePoint(*reply->value, point);
  return toCode(reply->status);
}

int lisp_worker_cell_plane_to_system(lisp_worker* worker, uint64_t context_id, double point[3],
                                     uint8_t target_system) {
  const auto reply = workerOf(worker).cellPlaneToSystem(context_id, toPoint(point), target_system);
  if (!reply) return LISP_FAULT;
  if (reply->value) writePoint(*reply->value, point);
  return toCode(reply->status);
}

int lisp_worker_locate_cell(lisp_worker* worker, uint64_t context_id, double point[3],
                            uint8_t source_system, int64_t index[2], uint64_t* key, uint32_t* tag) {
  const auto reply = workerOf(worker).locateCell(context_id, toPoint(point), source_system);
  if (!reply) return LISP_FAULT;
  if (reply->value) {
    writePoint(reply->value->in_cell_plane, point);
    index[0] = reply->value->i;
    index[1] = reply->value->j;
    *key = reply->value->key;
    *tag = reply->value->tag;
  }
  return toCode(reply->status);
}

int lisp_worker_compute(lisp_worker* worker, uint8_t operation, const double* operands,
                        size_t count, double result[2]) {
  // More operands than a request can hold are what the worker calls a bad request.
  if (count > worker::kGeometryOperandCountMax) return toCode(WorkerStatus::BadRequest);
  const auto reply = workerOf(worker).computeGeometry(
      static_cast<client::GeometryOperation>(operation), {operands, count});
  if (!reply) return LISP_FAULT;
  if (reply->value) {
    result[0] = reply->value->x;
    result[1] = reply->value->y;
  }
  return toCode(reply->status);
}

// NOLINTEND(readability-identifier-naming)
