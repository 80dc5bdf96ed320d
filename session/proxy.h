// A process between a host and its worker that records what passes and is noticed by neither.

#ifndef SESSION_PROXY_H_
#define SESSION_PROXY_H_

#include "client/process.h"
#include "session/recorder.h"

namespace session {

// Carries all bytes from this process's standard input to the worker and from the worker to
// standard output, as soon as they come and whatever they are, until the worker ends, and ends
// this process in the same way. Each frame is recorded before its last byte is passed on, so the
// recording knows of a request that brings the worker down.
[[noreturn]] void runProxy(client::WorkerProcess& worker, Recorder& recorder);

}  // namespace session

#endif  // SESSION_PROXY_H_
