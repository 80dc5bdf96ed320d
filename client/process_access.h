// The part of a worker's process that only an AsyncChannel needs; hosts that wait do without.

#ifndef CLIENT_PROCESS_ACCESS_H_
#define CLIENT_PROCESS_ACCESS_H_

#include "lisp_worker/client/process.h"

namespace lisp_worker::client {

// Ends the worker at once, without waiting for that. `process` comes from startWorker and has not
// been finished. From any thread.
void killNow(WorkerProcess& process);

// Our ends of the pipes of such a process, which still owns them.
struct PipeEnds {
  int to_worker;    // Never blocks.
  int from_worker;  // Blocks.
};

// On POSIX systems only.
[[nodiscard]] PipeEnds pipeEnds(const WorkerProcess& process);

}  // namespace lisp_worker::client

#endif  // CLIENT_PROCESS_ACCESS_H_
