// Writing to a worker that may have gone, without a signal for the host.

#ifndef CLIENT_SIGPIPE_GUARD_POSIX_H_
#define CLIENT_SIGPIPE_GUARD_POSIX_H_

#include <pthread.h>
#include <signal.h>

#include <cerrno>
#include <ctime>

namespace lisp_worker::client {

// Keeps SIGPIPE from the host while we write: blocks it in this thread, takes back the one that
// the write has raised, and leaves the thread's mask as it was. A SIGPIPE that already waits is
// the host's own; a second one would only merge with it. A write that succeeds costs two calls.
class SigpipeGuard {
 public:
  SigpipeGuard() {
    sigemptyset(&sigpipe_);
    sigaddset(&sigpipe_, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &sigpipe_, &previous_mask_);
    // One that the thread lets through does not wait.
    if (sigismember(&previous_mask_, SIGPIPE) == 0) return;
    sigset_t pending;
    sigemptyset(&pending);
    sigpending(&pending);
    host_has_one_pending_ = sigismember(&pending, SIGPIPE) == 1;
  }
  SigpipeGuard(const SigpipeGuard&) = delete;
  SigpipeGuard& operator=(const SigpipeGuard&) = delete;

  ~SigpipeGuard() {
    if (is_raised_ && !host_has_one_pending_) {
      constexpr timespec kNoWait{};
      while (sigtimedwait(&sigpipe_, nullptr, &kNoWait) < 0 && errno == EINTR) {
      }
    }
    pthread_sigmask(SIG_SETMASK, &previous_mask_, nullptr);
  }

  // A write has found the pipe broken.
  void noteRaised() { is_raised_ = true; }

 private:
  sigset_t sigpipe_;
  sigset_t previous_mask_;
  bool host_has_one_pending_ = false;
  bool is_raised_ = false;
};

}  // namespace lisp_worker::client

#endif  // CLIENT_SIGPIPE_GUARD_POSIX_H_
