// Why the worker ended, as its host reads it from the process's exit code.

#ifndef LISP_WORKER_WORKER_EXIT_CODE_H_
#define LISP_WORKER_WORKER_EXIT_CODE_H_

namespace lisp_worker::worker {

// The codes 2 to 4 follow a response that holds only a header. 1 stays free: systems and runtime
// libraries report failures of their own with it.
enum class ExitCode : int {
  Finished = 0,          // The input ended where a header was awaited, or a Shutdown was answered.
  BadMagic = 2,          // A request's header does not begin with the magic.
  BadVersion = 3,        // A request's header has another protocol version.
  PayloadTooLarge = 4,   // A request's header announces more than kPayloadSizeMax bytes.
  PayloadCut = 5,        // The input ended or failed inside a payload; nothing was answered.
  HeaderUnwritten = 6,   // A response's header could not be written in full.
  PayloadUnwritten = 7,  // A response's payload could not be written in full.
  OutOfMemory = 8,       // The system gave no more memory; the request in progress is unanswered.
};

}  // namespace lisp_worker::worker

#endif  // LISP_WORKER_WORKER_EXIT_CODE_H_
