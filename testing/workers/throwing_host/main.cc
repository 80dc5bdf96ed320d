// A host in C++ on the shared library, whose callback leaves in two ways that are not a return: by
// an exception, and because its thread is cancelled. The library has a runtime of its own inside,
// and both have to pass through the two.
//
//   lisp_throwing_host WORKER

#include <pthread.h>
#include <semaphore.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include "lisp_worker/c_interface/lisp_worker.h"

namespace {

constexpr const char* kProgram = "(GETDIST)";

void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "not so: %s\n", what);
  std::exit(1);
}

lisp_value* throwError(void* /*user*/, const char* /*name*/, const lisp_value* /*arguments*/,
                       const char* /*text*/) {
  throw std::runtime_error("no mouse");
}

sem_t is_called;

lisp_value* waitForEver(void* /*user*/, const char* /*name*/, const lisp_value* /*arguments*/,
                        const char* /*text*/) {
  ::sem_post(&is_called);
  for (;;) ::pause();
}

void* runInThread(void* worker) {
  return lisp_worker_run(static_cast<lisp_worker_handle*>(worker), kProgram, std::strlen(kProgram),
                         0, waitForEver, nullptr);
}

}  // namespace

int main(int count, char** arguments) {
  require(count == 2, "there is one argument");
  lisp_worker_handle* const worker = lisp_worker_new(arguments[1], 30000);

  lisp_run* const thrown =
      lisp_worker_run(worker, kProgram, std::strlen(kProgram), 0, throwError, nullptr);
  require(lisp_run_end(thrown) == LISP_END_HOST_ERROR, "an exception is an error of the host");
  require(std::string(lisp_run_text(thrown, nullptr)) ==
              "the host has failed to perform GETDIST: no mouse",
          "the error is that of the exception");
  lisp_run_free(thrown);

  ::sem_init(&is_called, 0, 0);
  pthread_t thread{};
  require(::pthread_create(&thread, nullptr, runInThread, worker) == 0, "a thread starts");
  ::sem_wait(&is_called);
  ::pthread_cancel(thread);
  void* result = nullptr;
  ::pthread_join(thread, &result);
  require(result == PTHREAD_CANCELED, "the thread has been cancelled");

  lisp_run* const after = lisp_worker_run(worker, "(+ 1 2)", 7, 0, nullptr, nullptr);
  require(after != nullptr && std::string(lisp_run_text(after, nullptr)) == "3",
          "the worker goes on");
  lisp_run_free(after);
  lisp_worker_free(worker);
}
