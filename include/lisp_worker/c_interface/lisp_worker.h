/* The LISP worker for hosts in C, and in every language that can call C.
 *
 * A host makes a worker, runs programs in it, and answers the calls that they need. Values are
 * opaque and copied: what a function returns as `lisp_value*` or `lisp_run*` belongs to the caller
 * and is given back with the function of that name that ends in _free; what it takes as `const` it
 * does not keep.
 *
 * Texts are bytes with a size and, for convenience, a zero after them. A text of a value or of a
 * run lives as long as that does. A text of a worker lives as long as that does or until the same
 * function finds another text there. Names and explanations of numbers live for ever. Texts of
 * programs and values are bytes in any encoding; paths are taken in UTF-8, and messages are given
 * in it, on Windows too.
 *
 * Null is allowed for every pointer. A null worker is one that cannot be started, a null value is
 * nil, a null run is one that the worker has refused, and a null text is empty. A function that
 * needs an array and gets null returns LISP_STATUS_BAD_REQUEST; one that would write to null leaves
 * that out.
 *
 * One thread at a time may use a worker. Nothing is printed. Running out of memory ends the
 * process.
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

/* The version that the library was built with: of this interface, and of the library itself with
 * the worker that it comes with ("1.0.0"). */
LISP_WORKER_API unsigned lisp_worker_interface_version(void);
LISP_WORKER_API const char* lisp_worker_library_version(void);

/* --- Workers --------------------------------------------------------------------------------- */

/* What functions that talk to the worker return when there is no worker to talk to any more:
 * lisp_worker_fault tells why, lisp_worker_restart begins anew. All other returns are statuses. */
#define LISP_FAULT (-1)

/* A worker whose program is the file `path`. The process is started by the first request. A request
 * that takes longer than `time_limit_ms` milliseconds ends the worker; 0 for no limit, which leaves
 * the host waiting for a worker that is stuck. 30000 is a good one. Never null. */
LISP_WORKER_API lisp_worker_handle* lisp_worker_new(const char* path, uint32_t time_limit_ms);

/* Ends the worker, if it runs, and gives the object back. */
LISP_WORKER_API void lisp_worker_free(lisp_worker_handle* worker);

/* Records all that is said from now on into a new file, which `lisp_session` reads. Before the
 * first request. 0, or LISP_FAULT when the file exists already or cannot be made. */
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

/* A list of copies of `count` values. */
LISP_WORKER_API lisp_value* lisp_value_list(const lisp_value* const* elements, size_t count);

/* A list of three numbers. */
LISP_WORKER_API lisp_value* lisp_value_point(double x, double y, double z);

/* The value that `text` stands for in the dialect's syntax, as answers are written. Null when it is
 * not exactly one value. */
LISP_WORKER_API lisp_value* lisp_value_read(const char* text, size_t size);

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

/* Evaluates a program of `size` bytes under a registered context, or none for 0, and has `answer`
 * perform every call that it needs. Without `answer` a program that needs one is cancelled. Null
 * when there is no worker to talk to any more. */
LISP_WORKER_API lisp_run* lisp_worker_run(lisp_worker_handle* worker, const char* program,
                                          size_t size, uint64_t context_id, lisp_answer answer,
                                          void* user);

LISP_WORKER_API void lisp_run_free(lisp_run* run);

/* LISP_END_VALUE to LISP_END_HOST_ERROR, its name, and one line that explains it. */
LISP_WORKER_API int lisp_run_end(const lisp_run* run);
LISP_WORKER_API const char* lisp_run_end_name(const lisp_run* run);
LISP_WORKER_API const char* lisp_run_end_explanation(const lisp_run* run);

/* The value as the worker wrote it, or why there is none. */
LISP_WORKER_API const char* lisp_run_text(const lisp_run* run, size_t* size_out);

/* A copy of the value; null when there is none, or none that its text tells. */
LISP_WORKER_API lisp_value* lisp_run_value(const lisp_run* run);

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
