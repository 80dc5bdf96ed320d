// Objects of the C interface, owned as tests own things.

#ifndef TESTING_WORKERS_C_INTERFACE_HANDLES_H_
#define TESTING_WORKERS_C_INTERFACE_HANDLES_H_

#include <cstddef>
#include <memory>
#include <string>

#include "lisp_worker/c_interface/lisp_async_worker.h"
#include "lisp_worker/c_interface/lisp_worker.h"
#include "testing/workers/executable_worker.h"

namespace lisp_worker::testing_support {

struct FreeInC {
  void operator()(lisp_worker_handle* worker) const { lisp_worker_free(worker); }
  void operator()(lisp_async_worker* worker) const { lisp_async_worker_free(worker); }
  void operator()(lisp_recorder* recorder) const { lisp_recorder_free(recorder); }
  void operator()(lisp_value* value) const { lisp_value_free(value); }
  void operator()(lisp_run* run) const { lisp_run_free(run); }
};
using WorkerHandle = std::unique_ptr<lisp_worker_handle, FreeInC>;
using AsyncWorkerHandle = std::unique_ptr<lisp_async_worker, FreeInC>;
using RecorderHandle = std::unique_ptr<lisp_recorder, FreeInC>;
using ValueHandle = std::unique_ptr<lisp_value, FreeInC>;
using RunHandle = std::unique_ptr<lisp_run, FreeInC>;

// A worker of the executable that the tests are given.
[[nodiscard]] inline WorkerHandle newWorker() {
  return WorkerHandle(lisp_worker_new(workerExecutable().c_str(), 60000));
}

// A text that a function gives with its size, which must have a zero after it.
template <typename Object>
[[nodiscard]] std::string textOf(const char* (*function)(const Object*, std::size_t*),
                                 const Object* object) {
  std::size_t size = 0;
  const char* const text = function(object, &size);
  return text == nullptr || text[size] != '\0' ? "(not a text)" : std::string(text, size);
}

}  // namespace lisp_worker::testing_support

#endif  // TESTING_WORKERS_C_INTERFACE_HANDLES_H_
