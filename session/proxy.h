// A process between a host and its worker that records what passes and is noticed by neither.

#ifndef SESSION_PROXY_H_
#define SESSION_PROXY_H_

#include <cstdint>
#include <functional>
#include <string>

#include "lisp_worker/client/process.h"
#include "lisp_worker/session/recorder.h"

namespace lisp_worker::session {

// The exit code of a proxy that has not recorded all, when its worker has ended with 0.
inline constexpr std::uint32_t kIncompleteRecordingCode = 122;

// Carries all bytes from this process's standard input to the worker and from the worker to
// standard output, as soon as they come and whatever they are, until the worker ends, and ends
// this process in the same way. Each frame is recorded before its last byte is passed on, so the
// recording knows of a request that brings the worker down. Without a recorder, or after it has
// failed, the bytes are carried all the same; `complain` is told a failure, once, when it happens.
[[noreturn]] void runProxy(client::WorkerProcess& worker, Recorder* recorder,
                           const std::function<void(const std::string& reason)>& complain);

}  // namespace lisp_worker::session

#endif  // SESSION_PROXY_H_
