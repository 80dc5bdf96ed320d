/* The LISP worker for hosts in C that must not wait for it: hosts with an event loop, and hosts
 * with many programs at once. Nothing here needs a thread of the host's.
 *
 *   lisp_async_worker* worker = lisp_async_worker_new(&options, NULL);
 *   lisp_async_worker_submit(worker, "(+ 1 2)", LISP_TO_ZERO, &program, NULL);
 *   for (;;) {
 *     wait_until_readable(lisp_async_worker_handle(worker));
 *     lisp_async_worker_process(worker);
 *   }
 *
 * The worker evaluates one thing at a time, but a program that waits for an answer is in nobody's
 * way: others are evaluated meanwhile, and the answer comes whenever the host has it.
 *
 * All is done in the thread that calls lisp_async_worker_process, and all callbacks are called by
 * that alone, after everything else. A callback may use the worker in any way, even free it. It
 * must return, as a lisp_answer must. It returns 0, or another number, which then is the result of
 * lisp_async_worker_process; no other callback is lost by that, the next call goes on. A C++
 * exception that leaves a callback is taken for LISP_CALLBACK_THREW.
 *
 * What lisp_worker.h says of objects, texts, structures, null and threads holds here too. */

#ifndef LISP_ASYNC_WORKER_H_
#define LISP_ASYNC_WORKER_H_

#include <stddef.h> /* NOLINT(modernize-deprecated-headers): this is C. */
#include <stdint.h> /* NOLINT(modernize-deprecated-headers) */

#include "lisp_worker/c_interface/lisp_worker.h"

#ifdef __cplusplus
extern "C" {
#endif

/* NOLINTBEGIN(modernize-use-using,readability-identifier-naming) */

typedef struct lisp_async_worker lisp_async_worker;

#define LISP_CALLBACK_THREW (-2)

typedef struct lisp_async_options {
  size_t size;

  /* The file of the worker's program; a size of zero is LISP_TO_ZERO. */
  const char* path;
  size_t path_size;

  /* What records the worker, and what observes it, or null. The observer is copied. */
  const lisp_recorder* recorder;
  const lisp_observer* observer;

  /* Called when the worker has gone, idle or not; null: nobody is told. lisp_async_worker_fault and
   * lisp_async_worker_exit tell how. lisp_async_worker_restart may be called. */
  int (*on_fault)(void* user, lisp_async_worker* worker);
  void* user;

  /* How many milliseconds a request may take; what takes longer ends the worker. 0 for 30000. */
  uint64_t time_limit_ms;
} lisp_async_options;

/* A worker whose process is started by the first program. Null when a structure has a size that
 * this library does not know or the path holds a zero, with the reason in `reason_out`. */
LISP_WORKER_API lisp_async_worker* lisp_async_worker_new(const lisp_async_options* options,
                                                         const char** reason_out);

/* Ends the worker, at once if it is at work, and gives the object back. Nothing is called back any
 * more. */
LISP_WORKER_API void lisp_async_worker_free(lisp_async_worker* worker);

/* Starts the worker if none runs. 0; LISP_FAULT when it cannot be started, and after a fault. */
LISP_WORKER_API int lisp_async_worker_start(lisp_async_worker* worker);

/* Kills the worker, if one runs, starts another and registers all contexts with it. Programs in
 * hand end with LISP_END_WORKER_LOST. The handle is another one afterwards. 0 or LISP_FAULT. */
LISP_WORKER_API int lisp_async_worker_restart(lisp_async_worker* worker);

/* What an event loop waits for: on POSIX systems a descriptor that becomes readable when there is
 * something to do, on Windows a HANDLE that becomes signaled. The same until
 * lisp_async_worker_restart. -1 before the first start and when the worker could not be started:
 * then call lisp_async_worker_process once after what has been handed over. */
LISP_WORKER_API intptr_t lisp_async_worker_handle(const lisp_async_worker* worker);

/* Does all that can be done without waiting, and calls the callbacks that are due. May be called at
 * any time; does nothing inside a callback. 0, or what a callback has returned, which may have
 * freed the worker. */
LISP_WORKER_API int lisp_async_worker_process(lisp_async_worker* worker);

typedef struct lisp_program_options {
  size_t size;

  /* The registered context that the program runs under; 0 for none. */
  uint64_t context_id;

  /* A program that makes more host calls is cancelled. 0 for 10000. */
  uint64_t host_call_count_max;

  /* How many milliseconds the whole program may take, answers included; 0 for no limit. */
  uint64_t time_limit_ms;

  /* The program waits for an answer to `call`, which lives until this returns. The host gives it
   * now or later, by lisp_async_worker_answer or lisp_async_worker_decline. Null: declined. */
  int (*on_call)(void* user, uint64_t program, const lisp_call* call);

  /* The program has ended; `run` lives until this returns. Called once for every program, unless
   * the worker is freed before. */
  int (*on_end)(void* user, uint64_t program, const lisp_run* run);

  void* user;
} lisp_program_options;

/* Hands a program over to be evaluated after those before it, and returns its number, which is
 * never used again. After a fault it ends with LISP_END_WORKER_LOST. `options` may be null. 0 when
 * they have a size that this library does not know, with the reason in `reason_out`. */
LISP_WORKER_API uint64_t lisp_async_worker_submit(lisp_async_worker* worker, const char* program,
                                                  size_t size, const lisp_program_options* options,
                                                  const char** reason_out);

/* Answers the call that a program waits for. A lisp_answer_error ends the program with
 * LISP_END_HOST_ERROR. 1; 0, and nothing happens, when the program does not wait. */
LISP_WORKER_API int lisp_async_worker_answer(lisp_async_worker* worker, uint64_t program,
                                             const lisp_value* answer);

/* Tells that there will be no answer: the program ends with LISP_END_UNANSWERED. 1 or 0 as above.
 */
LISP_WORKER_API int lisp_async_worker_decline(lisp_async_worker* worker, uint64_t program);

/* Has a program end with LISP_END_CANCELLED as soon as possible: at once when it is queued or
 * waits, after the evaluation in hand otherwise. From any thread. */
LISP_WORKER_API void lisp_async_worker_cancel(lisp_async_worker* worker, uint64_t program);

/* Kills the worker, whatever it does. Programs in hand end with LISP_END_WORKER_LOST. From any
 * thread. */
LISP_WORKER_API void lisp_async_worker_kill(lisp_async_worker* worker);

/* How a request was answered: a status, or LISP_FAULT when the worker was lost. */
typedef int (*lisp_on_status)(void* user, int status);

/* Registers or replaces a context, as lisp_worker_register_context describes it, after what has
 * been handed over before. 0, and `on_end` is told the status, which is LISP_STATUS_BAD_REQUEST
 * when the worker's table is full. LISP_STATUS_BAD_REQUEST when an array is null. */
LISP_WORKER_API int lisp_async_worker_register_context(lisp_async_worker* worker, uint64_t id,
                                                       const double systems[40],
                                                       const double cell_plane[8], double cell_size,
                                                       uint64_t cell_key_seed, uint32_t tag,
                                                       lisp_on_status on_end, void* user);

/* Asks whether the worker answers; `on_end` is told LISP_STATUS_OK or LISP_FAULT. */
LISP_WORKER_API void lisp_async_worker_ping(lisp_async_worker* worker, lisp_on_status on_end,
                                            void* user);

/* What a program does: it, or an answer to it, has not been sent yet; it is being evaluated; it
 * waits for the host's answer. */
#define LISP_PROGRAM_ENDED (-1)
#define LISP_PROGRAM_QUEUED 0
#define LISP_PROGRAM_EVALUATING 1
#define LISP_PROGRAM_WAITING 2

/* LISP_PROGRAM_QUEUED to LISP_PROGRAM_WAITING, the host calls so far, the steps of the last
 * evaluation, and the worker's id of the run while it waits, otherwise 0. LISP_PROGRAM_ENDED, and
 * nothing is written, when there is no such program any more. */
LISP_WORKER_API int lisp_async_worker_progress(const lisp_async_worker* worker, uint64_t program,
                                               uint64_t* host_call_count, uint64_t* steps,
                                               uint64_t* run_id);

/* Why there is no worker to talk to, as lisp_worker_fault and lisp_worker_fault_kind; how the last
 * worker has ended, as lisp_worker_exit, lisp_worker_exit_kind and lisp_worker_exit_code. */
LISP_WORKER_API const char* lisp_async_worker_fault(const lisp_async_worker* worker);
LISP_WORKER_API int lisp_async_worker_fault_kind(const lisp_async_worker* worker);
LISP_WORKER_API const char* lisp_async_worker_exit(const lisp_async_worker* worker);
LISP_WORKER_API int lisp_async_worker_exit_kind(const lisp_async_worker* worker);
LISP_WORKER_API int64_t lisp_async_worker_exit_code(const lisp_async_worker* worker);

/* NOLINTEND(modernize-use-using,readability-identifier-naming) */

#ifdef __cplusplus
}
#endif

#endif /* LISP_ASYNC_WORKER_H_ */
