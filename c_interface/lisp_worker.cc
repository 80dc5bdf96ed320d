// The C interface: each function turns its arguments into the types of client/, calls one function
// there, and turns the result into codes and texts.
//
// No exception passes into C. Functions that may throw catch everything and report it as their own
// error; a host's callback that fails leaves runProgram as a HostError. A handle, a value and a run
// are C++ objects behind pointers to incomplete types, and the texts that are lent live in them
// (lend). Every pointer may be null, so each function asks first; viewOf, workerOf, datumOf and
// reportOf know what null means.

#include "lisp_worker/c_interface/lisp_worker.h"

#include <chrono>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#ifdef __GLIBCXX__
#include <cxxabi.h>
#endif

#include "client/system_text.h"
#include "lisp_worker/client/answer_text.h"
#include "lisp_worker/client/names.h"
#include "lisp_worker/client/version.h"
#include "lisp_worker/client/worker.h"
#include "lisp_worker/session/recorder.h"

namespace client = lisp_worker::client;
namespace session = lisp_worker::session;
namespace worker = lisp_worker::worker;

using lisp_worker::client::CoordContext;
using lisp_worker::client::Datum;
using lisp_worker::worker::WorkerStatus;

// NOLINTBEGIN(readability-identifier-naming): the names are C's.

// Texts about a worker are copies, because requests replace the records that they describe.
struct lisp_worker_handle {
  std::string path;
  std::chrono::milliseconds time_limit{0};
  std::unique_ptr<session::Recorder> recorder;
  std::unique_ptr<client::Worker> worker;  // Made by its first use, which ends the settings.
  mutable std::string fault_text;
  mutable std::string exit_text;
};

struct lisp_value {
  Datum datum;
  std::string error;  // Of lisp_answer_error, which is_error tells.
  bool is_error = false;
  mutable std::optional<std::string> printed;  // Once it has been asked for.
};

struct lisp_run {
  client::RunReport report;
  std::vector<std::string> warnings;
  bool is_host_error = false;
};

namespace {

// Thrown out of runProgram when the host's callback has failed.
struct HostError {
  std::string message;
};

std::string_view viewOf(const char* text) {
  return text == nullptr ? std::string_view() : std::string_view(text);
}

std::string_view viewOf(const char* bytes, std::size_t size) {
  return bytes == nullptr ? std::string_view() : std::string_view(bytes, size);
}

client::Worker& workerOf(lisp_worker_handle* handle) {
  if (handle->worker == nullptr) {
    client::ClientSettings settings;
    settings.time_limit = handle->time_limit;
    settings.observer = handle->recorder.get();
    const auto start =
        [path = handle->path](std::string* error_out) -> std::unique_ptr<client::WorkerProcess> {
      const std::optional<std::filesystem::path> file = client::pathFromText(path);
      auto process = file ? client::startWorker(*file, error_out) : nullptr;
      if (process == nullptr) {
        *error_out = path + ": " + (file ? *error_out : "the path is not UTF-8");
      }
      return process;
    };
    handle->worker = std::make_unique<client::Worker>(start, settings);
  }
  return *handle->worker;
}

// Null before the first use.
const client::Worker* workerOf(const lisp_worker_handle* handle) {
  return handle == nullptr ? nullptr : handle->worker.get();
}

const Datum& datumOf(const lisp_value* value) {
  static const Datum kNil;
  return value == nullptr ? kNil : value->datum;
}

const client::RunReport& reportOf(const lisp_run* run) {
  static const client::RunReport kRefused = [] {
    client::RunReport report;
    report.end = client::RunEnd::Refused;
    return report;
  }();
  return run == nullptr ? kRefused : run->report;
}

// Keeps `text` where it can be borrowed from. An equal one that was lent before stays.
const char* lend(std::string& place, std::string_view text) {
  if (place != text) place = text;
  return place.c_str();
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

lisp_value* toHandle(Datum datum) {
  return new lisp_value{.datum = std::move(datum), .error = {}, .printed = {}};
}

lisp_run* toHandle(client::RunReport report) {
  auto run = std::make_unique<lisp_run>();
  for (const client::LimitWarning& warning : report.warnings) {
    run->warnings.push_back(client::describeWarning(warning));
  }
  run->report = std::move(report);
  return run.release();
}

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

// Calls the host and returns its answer. An exception of the host becomes a HostError. The forced
// unwinding that ends a cancelled thread is passed on, because it must not be swallowed.
lisp_value* callHost(const client::HostCall& call, const lisp_value& arguments, lisp_answer answer,
                     void* user) {
  try {
    return answer(user, call.name.c_str(), call.unreadable.empty() ? &arguments : nullptr,
                  call.text.c_str());
#ifdef __GLIBCXX__
  } catch (abi::__forced_unwind&) {
    throw;
#endif
  } catch (const std::exception& exception) {
    throw HostError{exception.what()};
  } catch (...) {
    throw HostError{"it has thrown what is not a std::exception"};
  }
}

// Has the host's callback perform the call.
std::optional<Datum> performCall(const client::HostCall& call, lisp_answer answer, void* user) {
  if (answer == nullptr) return std::nullopt;
  const lisp_value arguments{.datum = client::list(call.arguments), .error = {}, .printed = {}};
  const std::unique_ptr<lisp_value> given(callHost(call, arguments, answer, user));
  if (given == nullptr) return std::nullopt;
  if (given->is_error) throw HostError{std::move(given->error)};
  return std::move(given->datum);
}

}  // namespace

unsigned lisp_worker_interface_version() { return LISP_WORKER_INTERFACE_VERSION; }

const char* lisp_worker_library_version() { return client::libraryVersion().data(); }

lisp_worker_handle* lisp_worker_new(const char* path, uint32_t time_limit_ms) {
  return new lisp_worker_handle{.path = std::string(viewOf(path)),
                                .time_limit = std::chrono::milliseconds(time_limit_ms),
                                .recorder = nullptr,
                                .worker = nullptr,
                                .fault_text = {},
                                .exit_text = {}};
}

void lisp_worker_free(lisp_worker_handle* worker) { delete worker; }

int lisp_worker_record(lisp_worker_handle* worker, const char* path) {
  if (worker == nullptr || worker->worker != nullptr || worker->recorder != nullptr) {
    return LISP_FAULT;
  }
  const std::optional<std::filesystem::path> file = client::pathFromText(viewOf(path));
  if (file) worker->recorder = session::Recorder::create(*file, nullptr);
  return worker->recorder == nullptr ? LISP_FAULT : 0;
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
  const client::Worker* const made = workerOf(worker);
  if (made == nullptr || !made->exit()) return "";
  return lend(worker->exit_text, client::describeExit(*made->exit()));
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

int64_t lisp_worker_exit_code(const lisp_worker_handle* worker) {
  const client::Worker* const made = workerOf(worker);
  if (made == nullptr || !made->exit()) return -1;
  const client::WorkerExit& exit = *made->exit();
  return exit.kind == client::WorkerExit::Kind::Exited ? int64_t{exit.code} : -1;
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

lisp_value* lisp_value_nil() { return toHandle(client::nil()); }

lisp_value* lisp_value_number(double number) { return toHandle(client::number(number)); }

lisp_value* lisp_value_string(const char* bytes, size_t size) {
  return toHandle(client::string(std::string(viewOf(bytes, size))));
}

lisp_value* lisp_value_symbol(const char* name) {
  return toHandle(client::symbol(std::string(viewOf(name))));
}

lisp_value* lisp_value_list(const lisp_value* const* elements, size_t count) {
  client::DatumList data;
  if (elements == nullptr) count = 0;
  for (const lisp_value* const element : std::span(elements, count)) {
    data.push_back(datumOf(element));
  }
  return toHandle(client::list(std::move(data)));
}

lisp_value* lisp_value_point(double x, double y, double z) {
  return toHandle(client::point(x, y, z));
}

lisp_value* lisp_value_read(const char* text, size_t size) {
  std::optional<Datum> datum = client::readDatum(viewOf(text, size), nullptr);
  return datum ? toHandle(*std::move(datum)) : nullptr;
}

void lisp_value_free(lisp_value* value) { delete value; }

int lisp_value_kind(const lisp_value* value) { return static_cast<int>(datumOf(value).kind()); }

double lisp_value_as_number(const lisp_value* value) {
  return client::asNumber(datumOf(value)).value_or(0);
}

const char* lisp_value_text(const lisp_value* value, size_t* size_out) {
  // Both kinds of text are views of whole strings, so a zero follows them.
  const auto string = client::asString(datumOf(value));
  return giveText(string ? *string : client::asSymbol(datumOf(value)).value_or(""), size_out);
}

size_t lisp_value_count(const lisp_value* value) {
  const client::DatumList* const elements = client::asList(datumOf(value));
  return elements == nullptr ? 0 : elements->size();
}

lisp_value* lisp_value_element(const lisp_value* value, size_t index) {
  const client::DatumList* const elements = client::asList(datumOf(value));
  if (elements == nullptr || index >= elements->size()) return nullptr;
  return toHandle((*elements)[index]);
}

const char* lisp_value_print(const lisp_value* value, size_t* size_out) {
  if (value == nullptr) return giveText("nil", size_out);
  if (!value->printed) value->printed = client::printDatum(value->datum);
  return giveText(*value->printed, size_out);
}

lisp_value* lisp_answer_error(const char* message) {
  return new lisp_value{
      .datum = {}, .error = std::string(viewOf(message)), .is_error = true, .printed = {}};
}

lisp_run* lisp_worker_run(lisp_worker_handle* worker, const char* program, size_t size,
                          uint64_t context_id, lisp_answer answer, void* user) {
  if (worker == nullptr) return nullptr;
  std::string call_name;
  std::size_t call_count = 0;
  const auto perform = [&](const client::HostCall& call) {
    call_name = call.name;
    ++call_count;
    return performCall(call, answer, user);
  };
  try {
    std::optional<client::RunReport> report =
        workerOf(worker).run(viewOf(program, size), perform, {.context_id = context_id});
    return report ? toHandle(*std::move(report)) : nullptr;
  } catch (const HostError& error) {
    client::RunReport report;
    report.end = client::RunEnd::Unanswered;
    report.status = WorkerStatus::HostCallPending;
    report.text = "the host has failed to perform " + call_name + ": " + error.message;
    report.host_call_count = call_count;
    lisp_run* const run = toHandle(std::move(report));
    run->is_host_error = true;
    return run;
  }
}

void lisp_run_free(lisp_run* run) { delete run; }

int lisp_run_end(const lisp_run* run) {
  if (run != nullptr && run->is_host_error) return LISP_END_HOST_ERROR;
  return static_cast<int>(reportOf(run).end);
}

const char* lisp_run_end_name(const lisp_run* run) {
  if (run != nullptr && run->is_host_error) return "HostError";
  return client::runEndName(reportOf(run).end).data();
}

const char* lisp_run_end_explanation(const lisp_run* run) {
  if (run != nullptr && run->is_host_error) {
    return "cancelled, because the host has failed to perform a call";
  }
  return client::explainRunEnd(reportOf(run).end).data();
}

const char* lisp_run_text(const lisp_run* run, size_t* size_out) {
  return giveText(reportOf(run).text, size_out);
}

lisp_value* lisp_run_value(const lisp_run* run) {
  return reportOf(run).value ? toHandle(*reportOf(run).value) : nullptr;
}

size_t lisp_run_host_call_count(const lisp_run* run) { return reportOf(run).host_call_count; }

uint64_t lisp_run_steps(const lisp_run* run) { return reportOf(run).steps; }

size_t lisp_run_warning_count(const lisp_run* run) {
  return run == nullptr ? 0 : run->warnings.size();
}

const char* lisp_run_warning(const lisp_run* run, size_t index) {
  return index < lisp_run_warning_count(run) ? run->warnings[index].c_str() : nullptr;
}

int lisp_worker_register_context(lisp_worker_handle* worker, uint64_t id, const double systems[40],
                                 const double cell_plane[8], double cell_size,
                                 uint64_t cell_key_seed, uint32_t tag) {
  if (worker == nullptr) return LISP_FAULT;
  if (systems == nullptr || cell_plane == nullptr) return LISP_STATUS_BAD_REQUEST;
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
