// Runs and host calls of the C interface: only read here.

#include <iterator>

#include "c_interface/objects.h"

namespace client = lisp_worker::client;

using lisp_worker::c_interface::giveText;
using lisp_worker::c_interface::reportOf;

// NOLINTBEGIN(readability-identifier-naming): the names are C's.

namespace {

struct EndRow {
  const char* name;
  const char* explanation;
};

// The ends that only the C interface has, from LISP_END_HOST_ERROR on.
constexpr EndRow kOwnEnds[] = {
    {"HostError", "cancelled, because the host has failed to perform a call"},
    {"Waiting", "the program waits for the answer to a call"},
    {"Cancelled", "cancelled by the host"},
    {"TimedOut", "cancelled, because its time limit has passed"},
    {"WorkerLost", "the worker has gone with it"},
};
static_assert(std::size(kOwnEnds) == LISP_END_WORKER_LOST - LISP_END_HOST_ERROR + 1);

// Null for an end of RunEnd.
const EndRow* ownRowOf(const lisp_run* run) {
  if (run == nullptr || run->end < LISP_END_HOST_ERROR) return nullptr;
  return &kOwnEnds[run->end - LISP_END_HOST_ERROR];
}

}  // namespace

void lisp_run_free(lisp_run* run) { delete run; }

lisp_run* lisp_run_copy(const lisp_run* run) {
  if (run == nullptr) return nullptr;
  auto copy = std::make_unique<lisp_run>(run->report);
  copy->end = run->end;
  copy->id = run->id;
  if (run->call != nullptr) copy->call = std::make_unique<const lisp_call>(*run->call);
  return copy.release();
}

int lisp_run_end(const lisp_run* run) { return run == nullptr ? LISP_END_REFUSED : run->end; }

const char* lisp_run_end_name(const lisp_run* run) {
  const EndRow* const row = ownRowOf(run);
  return row == nullptr ? client::runEndName(reportOf(run).end).data() : row->name;
}

const char* lisp_run_end_explanation(const lisp_run* run) {
  const EndRow* const row = ownRowOf(run);
  return row == nullptr ? client::explainRunEnd(reportOf(run).end).data() : row->explanation;
}

const char* lisp_run_text(const lisp_run* run, size_t* size_out) {
  return giveText(reportOf(run).text, size_out);
}

lisp_value* lisp_run_value(const lisp_run* run) {
  return reportOf(run).value ? new lisp_value(client::Datum(*reportOf(run).value)) : nullptr;
}

const lisp_value* lisp_run_result(const lisp_run* run) {
  return run != nullptr && run->result ? &*run->result : nullptr;
}

int lisp_run_status(const lisp_run* run) {
  return run == nullptr ? LISP_FAULT : static_cast<int>(run->report.status);
}

uint64_t lisp_run_id(const lisp_run* run) { return run == nullptr ? 0 : run->id; }

const lisp_call* lisp_run_call(const lisp_run* run) {
  return run == nullptr ? nullptr : run->call.get();
}

size_t lisp_run_host_call_count(const lisp_run* run) { return reportOf(run).host_call_count; }

uint64_t lisp_run_steps(const lisp_run* run) { return reportOf(run).steps; }

size_t lisp_run_warning_count(const lisp_run* run) {
  return run == nullptr ? 0 : run->warnings.size();
}

const char* lisp_run_warning(const lisp_run* run, size_t index) {
  return index < lisp_run_warning_count(run) ? run->warnings[index].c_str() : nullptr;
}

const char* lisp_call_name(const lisp_call* call, size_t* size_out) {
  return giveText(call == nullptr ? std::string_view("") : call->name, size_out);
}

const lisp_value* lisp_call_arguments(const lisp_call* call) {
  return call == nullptr || !call->unreadable.empty() ? nullptr : &call->arguments;
}

const char* lisp_call_text(const lisp_call* call, size_t* size_out) {
  return giveText(call == nullptr ? std::string_view("") : call->text, size_out);
}

const char* lisp_call_unreadable(const lisp_call* call, size_t* size_out) {
  return giveText(call == nullptr ? std::string_view("") : call->unreadable, size_out);
}

// NOLINTEND(readability-identifier-naming)
