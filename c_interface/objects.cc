#include "c_interface/objects.h"

#include <utility>

#include "lisp_worker/client/limits.h"

// NOLINTBEGIN(readability-identifier-naming): the names are C's.

lisp_run::lisp_run(lisp_worker::client::RunReport ended)
    : report(std::move(ended)), end(static_cast<int>(report.end)) {
  for (const lisp_worker::client::LimitWarning& warning : report.warnings) {
    warnings.push_back(lisp_worker::client::describeWarning(warning));
  }
  if (report.value) result.emplace(std::as_const(*report.value));
}

// NOLINTEND(readability-identifier-naming)

namespace lisp_worker::c_interface {

using client::Datum;
using client::PlanarSystem;
using client::RunReport;

namespace {

constexpr std::size_t kNumbersPerSystem = 8;

PlanarSystem toSystem(const double* numbers) {
  return {.origin_x = numbers[0],
          .origin_y = numbers[1],
          .a = numbers[2],
          .b = numbers[3],
          .c = numbers[4],
          .d = numbers[5],
          .z_scale = numbers[6],
          .z_offset = numbers[7]};
}

}  // namespace

const Datum& datumOf(const lisp_value* value) {
  static const Datum kNil;
  return value == nullptr ? kNil : *value->datum;
}

const RunReport& reportOf(const lisp_run* run) {
  static const RunReport kRefused = [] {
    RunReport report;
    report.end = client::RunEnd::Refused;
    return report;
  }();
  return run == nullptr ? kRefused : run->report;
}

const char* lend(std::string& place, std::string_view text) {
  if (place != text) place = text;
  return place.c_str();
}

const char* giveText(std::string_view text, std::size_t* size_out) {
  if (size_out != nullptr) *size_out = text.size();
  return text.data();
}

std::unique_ptr<lisp_value> makeError(std::string_view message) {
  auto error = std::make_unique<lisp_value>(Datum());
  error->extras->is_error = true;
  error->extras->error = message;
  return error;
}

const std::string* errorOf(const lisp_value* value) {
  const bool is_error = value != nullptr && value->extras != nullptr && value->extras->is_error;
  return is_error ? &value->extras->error : nullptr;
}

std::unique_ptr<lisp_run> makeHostError(RunReport report, std::string_view call_name,
                                        std::string_view message) {
  report.end = client::RunEnd::Unanswered;
  report.text = "the host has failed to perform ";
  report.text.append(call_name).append(": ").append(message);
  auto run = std::make_unique<lisp_run>(std::move(report));
  run->end = LISP_END_HOST_ERROR;
  return run;
}

int exitKindOf(const std::optional<client::WorkerExit>& exit) {
  return exit ? static_cast<int>(exit->kind) : -1;
}

std::int64_t exitCodeOf(const std::optional<client::WorkerExit>& exit) {
  const bool has_code = exit && exit->kind == client::WorkerExit::Kind::Exited;
  return has_code ? std::int64_t{exit->code} : -1;
}

client::CoordContext contextOf(std::uint64_t id, const double* systems, const double* cell_plane,
                               double cell_size, std::uint64_t cell_key_seed, std::uint32_t tag) {
  client::CoordContext context;
  context.id = id;
  context.cell_key_seed = cell_key_seed;
  context.tag = tag;
  context.cell_size = cell_size;
  for (std::size_t index = 0; index < context.systems.size(); ++index) {
    context.systems[index] = toSystem(systems + index * kNumbersPerSystem);
  }
  context.cell_plane = toSystem(cell_plane);
  return context;
}

}  // namespace lisp_worker::c_interface
