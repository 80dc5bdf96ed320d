/* The LISP worker for hosts in C, and in every language that can call C.
 *
 * A host makes a worker, runs programs in it, and answers the calls that they need. It waits for
 * the worker meanwhile; lisp_async_worker.h is for hosts that must not. Objects are opaque. What a
 * function returns as a pointer that is not `const` belongs to the caller and is given back with
 * the function of that name that ends in _free. What it returns as `const` is borrowed from the
 * object that it was asked of, and lives as long as that. What it takes as `const` it does not
 * keep.
 *
 * Texts are bytes with a size and, for convenience, a zero after them. A text of a value or of a
 * run lives as long as that does. A text of a worker or a recorder lives as long as that does or
 * until the same function finds another text there. Names, reasons and explanations of numbers live
 * for ever. LISP_TO_ZERO may be given in place of a size. Texts of programs and values are bytes in
 * any encoding; paths are taken in UTF-8, and messages are given in it, on Windows too.
 *
 * A structure begins with its size: sizeof of the structure as the host was compiled with. All that
 * follows may be zero and has the default then that is said there. Later versions of this library
 * may append members. They take the shorter structures of earlier versions, and a structure that is
 * longer than a library knows is refused, with a reason.
 *
 * Null is allowed for every pointer. A null worker is one that cannot be started, a null value is
 * nil, a null run is one that the worker has refused, and a null text is empty. A function that
 * needs an array and gets null returns LISP_STATUS_BAD_REQUEST; one that would write to null leaves
 * that out.
 *
 * One thread at a time may use a worker, a value or a run, even to read it. Nothing is printed.
 * Running out of memory ends the process.
 *
 * The interface is stable: functions are added, and neither changed nor taken away, as long as
 * LISP_WORKER_INTERFACE_VERSION stays the same. */

#ifndef LISP_WORKER_H_
#define LISP_WORKER_H_

#include <stddef.h> /* NOLINT(modernize-deprecated-headers): this is C. */
#include <stdint.h> /* NOLINT(modernize-deprecated-headers) */

#ifdef __cplusplus
extern "C" {
#endif

#define LISP_WORKER_INTERFACE_VERSION 1

/* How the library's functions are marked when it is built; nothing for its users. */
#ifndef LISP_WORKER_API
#define LISP_WORKER_API
#endif

/* NOLINTBEGIN(modernize-use-using,readability-identifier-naming) */

typedef struct lisp_worker_handle lisp_worker_handle;
typedef struct lisp_value lisp_value;
typedef struct lisp_run lisp_run;
typedef struct lisp_call lisp_call;
typedef struct lisp_recorder lisp_recorder;

/* In place of a size: the text ends at its first zero. */
#define LISP_TO_ZERO SIZE_MAX

/* In place of a limit: there is none. */
#define LISP_NO_LIMIT UINT32_MAX

/* The version that the library was built with: of this interface, and of the library itself with
 * the worker that it comes with ("1.0.0"). */
LISP_WORKER_API unsigned lisp_worker_interface_version(void);
LISP_WORKER_API const char* lisp_worker_library_version(void);

/* --- Recorders and observers ----------------------------------------------------------------- */

/* Begins a recording, a new file that `lisp_session` reads. Never null: when the file exists
 * already or cannot be made, lisp_recorder_failure tells it. A recorder is given to one worker at a
 * time, which goes on with it when the recorder is freed. */
LISP_WORKER_API lisp_recorder* lisp_recorder_new(const char* path, size_t size);
LISP_WORKER_API void lisp_recorder_free(lisp_recorder* recorder);

/* Why the recording has not begun or has ended, such as a full disk, in a line; empty while
 * everything so far is in the file. A worker is not disturbed by that. */
LISP_WORKER_API const char* lisp_recorder_failure(const lisp_recorder* recorder, size_t* size_out);

/* How a worker's process has ended: by itself with an exit code; by a signal, whose number is the
 * code; killed by this library; in a way that the system does not tell. */
#define LISP_ENDED_EXITED 0
#define LISP_ENDED_SIGNALED 1
#define LISP_ENDED_KILLED 2
#define LISP_ENDED_UNKNOWN 3

/* Sees all that is said to a worker and by it, in the order in which it is said. Each function may
 * be null. Bytes are borrowed for the call. None of the functions may use the worker; all must
 * return, as those of lisp_answer. A C++ exception that leaves one is lost. */
typedef struct lisp_observer {
  size_t size;
  void* user;

  /* A worker has been started; what follows is a conversation with it alone. */
  void (*on_start)(void* user);

  /* A request has been written, or its writing has failed. A whole frame. */
  void (*on_request)(void* user, const char* frame, size_t size);

  /* A response has come in full, with a header that answers the request. */
  void (*on_response)(void* user, const char* header, size_t header_size, const char* payload,
                      size_t payload_size);

  /* These bytes, which may be none, came instead of a response. */
  void (*on_broken_response)(void* user, const char* bytes, size_t size);

  /* The worker has ended: LISP_ENDED_EXITED to LISP_ENDED_UNKNOWN, and its code. */
  void (*on_end)(void* user, int kind, uint32_t code);
} lisp_observer;

/* --- Workers --------------------------------------------------------------------------------- */

/* What functions that talk to the worker return when there is no worker to talk to any more:
 * lisp_worker_fault tells why, lisp_worker_restart begins anew. All other returns are statuses. */
#define LISP_FAULT (-1)

/* A worker whose program is the file `path`. The process is started by the first request. A request
 * that takes longer than `time_limit_ms` milliseconds ends the worker; 0 for no limit, which leaves
 * the host waiting for a worker that is stuck. 30000 is a good one. Never null. */
LISP_WORKER_API lisp_worker_handle* lisp_worker_new(const char* path, uint32_t time_limit_ms);

/* A worker with more to choose. */
typedef struct lisp_worker_options {
  size_t size;

  /* The file of the worker's program; a size of zero is LISP_TO_ZERO. */
  const char* path;
  size_t path_size;

  /* How many milliseconds a request may take; what takes longer ends the worker. 0 for 30000. */
  uint32_t time_limit_ms;

  /* The same for lisp_worker_stop, unless the other limit is shorter. 0 for 5000. */
  uint32_t stop_time_limit_ms;

  /* What records the worker, and what observes it, or null. The observer is copied. */
  const lisp_recorder* recorder;
  const lisp_observer* observer;
} lisp_worker_options;

/* As lisp_worker_new. Null when a structure has a size that this library does not know or the path
 * holds a zero, with the reason in `reason_out`. */
LISP_WORKER_API lisp_worker_handle* lisp_worker_open(const lisp_worker_options* options,
                                                     const char** reason_out);

/* Ends the worker, if it runs, and gives the object back. */
LISP_WORKER_API void lisp_worker_free(lisp_worker_handle* worker);

/* Records all that is said from now on into a new file, which `lisp_session` reads. Before the
 * first request. 0, or LISP_FAULT when the file exists already or cannot be made; lisp_recorder_new
 * tells why. */
LISP_WORKER_API int lisp_worker_record(lisp_worker_handle* worker, const char* path);

/* Starts the worker if it does not run yet. 0 or LISP_FAULT. */
LISP_WORKER_API int lisp_worker_start(lisp_worker_handle* worker);

/* Ends the worker, if it runs, starts another and registers all contexts with it. 0 or LISP_FAULT.
 * Not inside a lisp_answer. */
LISP_WORKER_API int lisp_worker_restart(lisp_worker_handle* worker);

/* Lets the worker go; one that does not agree within 5 seconds, or within the worker's time limit,
 * is killed. Not inside a lisp_answer. */
LISP_WORKER_API void lisp_worker_stop(lisp_worker_handle* worker);

/* Why there is no worker to talk to, in one sentence; empty while all is well. */
LISP_WORKER_API const char* lisp_worker_fault(const lisp_worker_handle* worker);

/* The kind of that fault. */
#define LISP_FAULT_REQUEST_NOT_TAKEN 0
#define LISP_FAULT_RESPONSE_CUT 1
#define LISP_FAULT_BAD_HEADER 2
#define LISP_FAULT_WRONG_ECHO 3
#define LISP_FAULT_BAD_RESPONSE 4
#define LISP_FAULT_SHUT_DOWN 5
#define LISP_FAULT_DEADLINE_PASSED 6
#define LISP_FAULT_NOT_STARTED 7

/* LISP_FAULT_REQUEST_NOT_TAKEN to LISP_FAULT_NOT_STARTED; -1 while all is well. */
LISP_WORKER_API int lisp_worker_fault_kind(const lisp_worker_handle* worker);

/* The name of such a kind ("ResponseCut", ...) and one line that explains it. */
LISP_WORKER_API const char* lisp_fault_name(int kind);
LISP_WORKER_API const char* lisp_fault_explanation(int kind);

/* How the last worker has ended, in one sentence; empty while one runs and before the first. */
LISP_WORKER_API const char* lisp_worker_exit(const lisp_worker_handle* worker);

/* The exit codes of the worker's program. */
#define LISP_EXIT_FINISHED 0
#define LISP_EXIT_BAD_MAGIC 2
#define LISP_EXIT_BAD_VERSION 3
#define LISP_EXIT_PAYLOAD_TOO_LARGE 4
#define LISP_EXIT_PAYLOAD_CUT 5
#define LISP_EXIT_HEADER_UNWRITTEN 6
#define LISP_EXIT_PAYLOAD_UNWRITTEN 7
#define LISP_EXIT_OUT_OF_MEMORY 8

/* The exit code of the last worker: one of these, or a crash's on Windows, or any of a program that
 * is no worker. -1 while one runs, before the first, and for one that did not end by itself. */
LISP_WORKER_API int64_t lisp_worker_exit_code(const lisp_worker_handle* worker);

/* LISP_ENDED_EXITED to LISP_ENDED_UNKNOWN; -1 while a worker runs and before the first. */
LISP_WORKER_API int lisp_worker_exit_kind(const lisp_worker_handle* worker);

/* The name of an exit code ("Finished", "PayloadCut", ...) and one line that explains it. */
LISP_WORKER_API const char* lisp_exit_code_name(int64_t code);
LISP_WORKER_API const char* lisp_exit_code_explanation(int64_t code);

/* What became of a request. */
#define LISP_STATUS_OK 0
#define LISP_STATUS_BAD_MAGIC 1
#define LISP_STATUS_BAD_VERSION 2
#define LISP_STATUS_BAD_REQUEST 3
#define LISP_STATUS_CONTEXT_NOT_FOUND 4
#define LISP_STATUS_QUERY_FAILED 5
#define LISP_STATUS_UNKNOWN_TYPE 6
#define LISP_STATUS_DEGENERATE 7
#define LISP_STATUS_EVAL_PARSE_ERROR 8
#define LISP_STATUS_EVAL_FAILED 9
#define LISP_STATUS_EVAL_STEP_LIMIT 10
#define LISP_STATUS_HOST_CALL_PENDING 11

/* Asks whether the worker answers. A status or LISP_FAULT. */
LISP_WORKER_API int lisp_worker_ping(lisp_worker_handle* worker);

/* The name of a status ("Ok", "BadRequest", ...) and one line that explains it. */
LISP_WORKER_API const char* lisp_status_name(int status);
LISP_WORKER_API const char* lisp_status_explanation(int status);

/* --- Values ---------------------------------------------------------------------------------- */

#define LISP_NIL 0
#define LISP_NUMBER 1
#define LISP_STRING 2
#define LISP_SYMBOL 3
#define LISP_LIST 4

LISP_WORKER_API lisp_value* lisp_value_nil(void);
LISP_WORKER_API lisp_value* lisp_value_number(double number);
LISP_WORKER_API lisp_value* lisp_value_string(const char* bytes, size_t size);
LISP_WORKER_API lisp_value* lisp_value_symbol(const char* name);

/* The same of a name that may hold a zero. */
LISP_WORKER_API lisp_value* lisp_value_symbol_of(const char* name, size_t size);

/* A list of copies of `count` values. */
LISP_WORKER_API lisp_value* lisp_value_list(const lisp_value* const* elements, size_t count);

/* Appends `element`, which is taken over, to a list, and ends all that was borrowed from the list.
 * 0; LISP_STATUS_BAD_REQUEST when `list` is not a list, with the element freed all the same, and
 * when both are one value, which is left as it is. */
LISP_WORKER_API int lisp_value_append(lisp_value* list, lisp_value* element);

/* A list of three numbers. */
LISP_WORKER_API lisp_value* lisp_value_point(double x, double y, double z);

/* A selection set of copies of `count` members, as SSGET is answered. */
LISP_WORKER_API lisp_value* lisp_value_selection_set(const lisp_value* const* members,
                                                     size_t count);

/* The value that `text` stands for in the dialect's syntax, as answers are written. Null when it is
 * not exactly one value. */
LISP_WORKER_API lisp_value* lisp_value_read(const char* text, size_t size);

/* The same. Never null: an error tells why the text is not exactly one value. */
LISP_WORKER_API lisp_value* lisp_value_parse(const char* text, size_t size);

/* A copy of a value, whole or borrowed; of an error too. */
LISP_WORKER_API lisp_value* lisp_value_copy(const lisp_value* value);

LISP_WORKER_API void lisp_value_free(lisp_value* value);

/* LISP_NIL to LISP_LIST. */
LISP_WORKER_API int lisp_value_kind(const lisp_value* value);

/* A number's; 0 for other kinds. */
LISP_WORKER_API double lisp_value_as_number(const lisp_value* value);

/* A string's bytes or a symbol's name, and its size unless `size_out` is null; empty for other
 * kinds. */
LISP_WORKER_API const char* lisp_value_text(const lisp_value* value, size_t* size_out);

/* The number of a list's elements; 0 for other kinds. */
LISP_WORKER_API size_t lisp_value_count(const lisp_value* value);

/* A copy of the element at `index`, counted from 0; null when there is none. */
LISP_WORKER_API lisp_value* lisp_value_element(const lisp_value* value, size_t index);

/* The element at `index`, borrowed; null when there is none. Takes as long for a large element as
 * for a small one. */
LISP_WORKER_API const lisp_value* lisp_value_at(const lisp_value* value, size_t index);

/* 1 for a selection set, otherwise 0. */
LISP_WORKER_API int lisp_value_is_selection_set(const lisp_value* value);

/* The number of a selection set's members; 0 for other values. */
LISP_WORKER_API size_t lisp_value_member_count(const lisp_value* value);

/* The member at `index`, borrowed; null when there is none. */
LISP_WORKER_API const lisp_value* lisp_value_member(const lisp_value* value, size_t index);

/* 1 when two values are equal as programs compare them: nil is not (), -0.0 equals 0.0, and NaN
 * equals nothing. Otherwise 0. */
LISP_WORKER_API int lisp_value_equals(const lisp_value* value, const lisp_value* other);

/* The message of an error, which lisp_value_parse and lisp_answer_error make; null for a value. */
LISP_WORKER_API const char* lisp_value_error(const lisp_value* value, size_t* size_out);

/* Why a value cannot be an answer, such as a NaN, in a line; null when it can. */
LISP_WORKER_API const char* lisp_value_why_unwritable(const lisp_value* value);

/* The value in the dialect's syntax. */
LISP_WORKER_API const char* lisp_value_print(const lisp_value* value, size_t* size_out);

/* --- Programs -------------------------------------------------------------------------------- */

/* Performs a host call for `user`: returns the answer, a value that is taken over, or null to
 * cancel the program. `arguments` is the list of the arguments; null when their text does not tell
 * them, because a string in it holds a double quote. `text` is that text. Both live as long as the
 * call. May talk to the worker.
 *
 * One that cannot perform the call returns lisp_answer_error. It must return: neither longjmp nor
 * what is built on it, such as the error() of a scripting language in C, may leave it, because that
 * would pass by the library's own clean-up. Catch such errors inside. A C++ exception that leaves
 * it is taken for a lisp_answer_error with its text; the ending of the thread passes through. */
typedef lisp_value* (*lisp_answer)(void* user, const char* name, const lisp_value* arguments,
                                   const char* text);

/* What a lisp_answer returns when it has failed: the program is cancelled and ends with
 * LISP_END_HOST_ERROR, and `message` is in its text. Anywhere else it is nil. */
LISP_WORKER_API lisp_value* lisp_answer_error(const char* message);
LISP_WORKER_API lisp_value* lisp_answer_error_of(const char* message, size_t size);

/* A host call: its name, the list of its arguments, borrowed, and their text. */
LISP_WORKER_API const char* lisp_call_name(const lisp_call* call, size_t* size_out);
LISP_WORKER_API const lisp_value* lisp_call_arguments(const lisp_call* call);
LISP_WORKER_API const char* lisp_call_text(const lisp_call* call, size_t* size_out);

/* Why the arguments are null, in a line; empty when they are not. */
LISP_WORKER_API const char* lisp_call_unreadable(const lisp_call* call, size_t* size_out);

/* As lisp_answer, of a call that lives until the function returns. */
typedef lisp_value* (*lisp_perform)(void* user, const lisp_call* call);

/* How a program has ended. */
#define LISP_END_VALUE 0
#define LISP_END_READ_ERROR 1
#define LISP_END_EVAL_ERROR 2
#define LISP_END_STEP_LIMIT 3
#define LISP_END_REFUSED 4
#define LISP_END_UNANSWERED 5
#define LISP_END_UNWRITABLE 6
#define LISP_END_TOO_MANY_CALLS 7
#define LISP_END_HOST_ERROR 8

/* It has not: it waits for the answer to a call. Of lisp_worker_start_run and
 * lisp_worker_resume_run alone. */
#define LISP_END_WAITING 9

/* Of lisp_async_worker.h alone: cancelled by the host; the time limit has passed; the worker has
 * gone. */
#define LISP_END_CANCELLED 10
#define LISP_END_TIMED_OUT 11
#define LISP_END_WORKER_LOST 12

/* Evaluates a program of `size` bytes under a registered context, or none for 0, and has `answer`
 * perform every call that it needs. Without `answer` a program that needs one is cancelled. Null
 * when there is no worker to talk to any more. */
LISP_WORKER_API lisp_run* lisp_worker_run(lisp_worker_handle* worker, const char* program,
                                          size_t size, uint64_t context_id, lisp_answer answer,
                                          void* user);

/* The same with more to choose. */
typedef struct lisp_run_options {
  size_t size;

  /* The registered context that the program runs under; 0 for none. */
  uint64_t context_id;

  /* A program that makes more host calls is cancelled. 0 for 10000. */
  uint64_t host_call_count_max;

  /* Performs the calls, and what it is given; null: a program that needs one is cancelled. */
  lisp_perform perform;
  void* user;
} lisp_run_options;

/* `options` may be null. Options of a size that this library does not know end the program with
 * LISP_END_REFUSED, the reason in its text. */
LISP_WORKER_API lisp_run* lisp_worker_run_program(lisp_worker_handle* worker, const char* program,
                                                  size_t size, const lisp_run_options* options);

/* A program step by step: it is evaluated until it ends or needs a call, which the host performs
 * and answers when it likes. Any number of runs may wait; each goes on with the variables that it
 * began with. A run that waits is kept by the worker until it is resumed to its end or cancelled.
 * Null when there is no worker to talk to any more. */
LISP_WORKER_API lisp_run* lisp_worker_start_run(lisp_worker_handle* worker, const char* program,
                                                size_t size, uint64_t context_id);

/* Answers the call that a run waits for. An answer that cannot be written ends with
 * LISP_END_UNWRITABLE and leaves the run waiting. One that is too long to send, and an id of which
 * no run waits, end with LISP_END_REFUSED. A lisp_answer_error cancels the run. */
LISP_WORKER_API lisp_run* lisp_worker_resume_run(lisp_worker_handle* worker, uint64_t run_id,
                                                 const lisp_value* answer);

/* Ends a run that waits, if it does. A status or LISP_FAULT. */
LISP_WORKER_API int lisp_worker_cancel_run(lisp_worker_handle* worker, uint64_t run_id);

LISP_WORKER_API void lisp_run_free(lisp_run* run);

/* A copy, for a callback that only borrows the run. Null for null. */
LISP_WORKER_API lisp_run* lisp_run_copy(const lisp_run* run);

/* LISP_END_VALUE to LISP_END_WORKER_LOST, its name, and one line that explains it. */
LISP_WORKER_API int lisp_run_end(const lisp_run* run);
LISP_WORKER_API const char* lisp_run_end_name(const lisp_run* run);
LISP_WORKER_API const char* lisp_run_end_explanation(const lisp_run* run);

/* The value as the worker wrote it, or why there is none. */
LISP_WORKER_API const char* lisp_run_text(const lisp_run* run, size_t* size_out);

/* A copy of the value; null when there is none, or none that its text tells. */
LISP_WORKER_API lisp_value* lisp_run_value(const lisp_run* run);

/* The value, borrowed; null likewise. */
LISP_WORKER_API const lisp_value* lisp_run_result(const lisp_run* run);

/* The status of the worker's last response. */
LISP_WORKER_API int lisp_run_status(const lisp_run* run);

/* The id of a run that waits, to resume or cancel it by, and the call that it waits for, borrowed;
 * 0 and null for others. */
LISP_WORKER_API uint64_t lisp_run_id(const lisp_run* run);
LISP_WORKER_API const lisp_call* lisp_run_call(const lisp_run* run);

/* The host calls that the program has made, those before this step left out, and the steps of its
 * last evaluation. */
LISP_WORKER_API size_t lisp_run_host_call_count(const lisp_run* run);
LISP_WORKER_API uint64_t lisp_run_steps(const lisp_run* run);

/* How often the program has come within a tenth of a limit of the worker, and each time in one
 * sentence; null when there is no warning of this index. */
LISP_WORKER_API size_t lisp_run_warning_count(const lisp_run* run);
LISP_WORKER_API const char* lisp_run_warning(const lisp_run* run, size_t index);

/* --- Coordinates and calculations ------------------------------------------------------------ */

/* Registers a context, or replaces the one of the same id. `systems` are five systems of eight
 * numbers each (origin_x, origin_y, a, b, c, d, z_scale, z_offset), `cell_plane` is one more. A
 * status or LISP_FAULT. */
LISP_WORKER_API int lisp_worker_register_context(lisp_worker_handle* worker, uint64_t id,
                                                 const double systems[40],
                                                 const double cell_plane[8], double cell_size,
                                                 uint64_t cell_key_seed, uint32_t tag);

/* Converts `point` (x, y, z) from one system to another, in place if the status is 0. A status or
 * LISP_FAULT. */
LISP_WORKER_API int lisp_worker_convert(lisp_worker_handle* worker, uint64_t context_id,
                                        double point[3], uint8_t source_system,
                                        uint8_t target_system);

/* Converts a point of the cell plane into a system, likewise. */
LISP_WORKER_API int lisp_worker_cell_plane_to_system(lisp_worker_handle* worker,
                                                     uint64_t context_id, double point[3],
                                                     uint8_t target_system);

/* Finds the cell that `point` of a system lies in: its indices, key and the context's tag, with the
 * point converted to the cell plane, if the status is 0. A status or LISP_FAULT. */
LISP_WORKER_API int lisp_worker_locate_cell(lisp_worker_handle* worker, uint64_t context_id,
                                            double point[3], uint8_t source_system,
                                            int64_t index[2], uint64_t* key, uint32_t* tag);

/* Operations: a sum, difference, product or quotient of numbers; the distance from (x1, y1) to
 * (x2, y2) and its angle in radians, of x1 y1 x2 y2; the point at an angle and a distance from
 * (x, y), of x y angle distance. */
#define LISP_COMPUTE_SUM 1
#define LISP_COMPUTE_DIFFERENCE 2
#define LISP_COMPUTE_PRODUCT 3
#define LISP_COMPUTE_QUOTIENT 4
#define LISP_COMPUTE_DISTANCE 5
#define LISP_COMPUTE_ANGLE 6
#define LISP_COMPUTE_POLAR 7

/* Carries out an operation on at most seven numbers; the result has an x and, for
 * LISP_COMPUTE_POLAR, a y. A status or LISP_FAULT. */
LISP_WORKER_API int lisp_worker_compute(lisp_worker_handle* worker, uint8_t operation,
                                        const double* operands, size_t count, double result[2]);

/* NOLINTEND(modernize-use-using,readability-identifier-naming) */

#ifdef __cplusplus
}
#endif

#endif /* LISP_WORKER_H_ */
