// Sees all that is said to a worker and by it, in the order in which it is said. A recorder of
// conversations is one (session/recorder.h).

#ifndef LISP_WORKER_CLIENT_FRAME_OBSERVER_H_
#define LISP_WORKER_CLIENT_FRAME_OBSERVER_H_

#include <string_view>

#include "lisp_worker/client/process.h"

namespace lisp_worker::client {

// Arguments are borrowed for the call. An observer must not use the worker that it observes.
// What it throws leaves the request or the call of Worker that it was told about, after the request
// has been completed; a program that is run is cancelled. Only what it throws in the destructor of
// a Worker is lost.
class FrameObserver {
 public:
  virtual ~FrameObserver() = default;

  // A worker has been started; what follows is a conversation with it alone.
  virtual void onStart() {}

  // A request has been written, or its writing has failed. A whole frame.
  virtual void onRequest(std::string_view frame) = 0;

  // A response has come in full, with a header that answers the request.
  virtual void onResponse(std::string_view header, std::string_view payload) = 0;

  // `bytes`, which may be none, came instead of a response. Nothing follows but the end.
  virtual void onBrokenResponse(std::string_view bytes) = 0;

  // The worker has ended.
  virtual void onEnd(const WorkerExit& /*exit*/) {}
};

}  // namespace lisp_worker::client

#endif  // LISP_WORKER_CLIENT_FRAME_OBSERVER_H_
