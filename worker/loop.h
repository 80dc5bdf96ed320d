// The life of a worker: read a request, carry it out, answer it, until there is a reason to end.

#ifndef WORKER_LOOP_H_
#define WORKER_LOOP_H_

#include "lisp_worker/worker/exit_code.h"
#include "worker/byte_stream.h"
#include "worker/dispatch.h"

namespace lisp_worker::worker {

// Serves requests from `input` on `output` until one of the reasons to end arises, and returns it.
// Begins with no coordinate context, no binding, no function and no pending run; nothing of them
// is left when it returns.
//
// Strictly in turn: each request is answered in full before the next byte is read.
[[nodiscard]] ExitCode runWorker(ByteReader& input, ByteWriter& output);

// The same with the state in `dispatcher`, which must be new. It keeps what the requests left
// there, for a process that ends at once and need not take it apart.
[[nodiscard]] ExitCode serve(Dispatcher& dispatcher, ByteReader& input, ByteWriter& output);

}  // namespace lisp_worker::worker

#endif  // WORKER_LOOP_H_
