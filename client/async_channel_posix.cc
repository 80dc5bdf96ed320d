// Pipes, a clock and a wake behind one descriptor: an epoll descriptor is readable while any of its
// members is ready, and every event loop can wait for it.

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "client/process_access.h"
#include "client/sigpipe_guard_posix.h"
#include "client/system_text.h"
#include "lisp_worker/client/async_channel.h"

namespace lisp_worker::client {
namespace {

class PosixAsyncChannel final : public AsyncChannel {
 public:
  explicit PosixAsyncChannel(std::unique_ptr<WorkerProcess> process)
      : process_(std::move(process)), ends_(pipeEnds(*process_)) {}

  ~PosixAsyncChannel() override {
    for (const int descriptor : {epoll_, wake_, timer_}) {
      if (descriptor >= 0) ::close(descriptor);
    }
  }

  // Returns 0 or the system's error.
  int open() {
    epoll_ = ::epoll_create1(EPOLL_CLOEXEC);
    wake_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    timer_ = ::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
    const bool is_open = epoll_ >= 0 && wake_ >= 0 && timer_ >= 0 &&
                         ::fcntl(ends_.from_worker, F_SETFL, O_RDONLY | O_NONBLOCK) == 0 &&
                         watch(wake_) && watch(timer_) && watch(ends_.from_worker);
    return is_open ? 0 : errno;
  }

  std::optional<std::size_t> writeSome(std::string_view bytes) override {
    SigpipeGuard guard;
    for (;;) {
      const ssize_t count = ::write(ends_.to_worker, bytes.data(), bytes.size());
      if (count >= 0) return static_cast<std::size_t>(count);
      if (errno == EAGAIN) return 0;
      if (errno == EPIPE) guard.noteRaised();
      if (errno != EINTR) return std::nullopt;
    }
  }

  std::optional<std::size_t> readSome(char* buffer, std::size_t size) override {
    for (;;) {
      const ssize_t count = ::read(ends_.from_worker, buffer, size);
      if (count > 0) return static_cast<std::size_t>(count);
      if (count < 0 && errno == EAGAIN) return 0;
      if (count == 0 || errno != EINTR) return std::nullopt;
    }
  }

  [[nodiscard]] WaitHandle handle() const override { return epoll_; }

  void acknowledge() override {
    std::uint64_t count = 0;
    static_cast<void>(!::read(wake_, &count, sizeof(count)));
  }

  void prepare(bool wants_to_write, Deadline deadline) override {
    if (is_finished_) return;
    if (wants_to_write != is_watching_write_) watchWrite(wants_to_write);
    // A timer that goes off early only wakes the host once, which costs less than to set it anew
    // for every request.
    const bool has_gone_off = armed_ && *armed_ <= std::chrono::steady_clock::now();
    const bool is_too_late = deadline && (!armed_ || *deadline < *armed_);
    if (has_gone_off || is_too_late) arm(deadline);
  }

  void wake() override {
    const std::uint64_t one = 1;
    static_cast<void>(!::write(wake_, &one, sizeof(one)));
  }

  void kill() override { killNow(*process_); }

  WorkerExit finish(std::chrono::milliseconds grace) override {
    is_finished_ = true;
    arm(std::nullopt);
    ::epoll_ctl(epoll_, EPOLL_CTL_DEL, ends_.from_worker, nullptr);
    watchWrite(false);
    return process_->finishWithin(grace);
  }

 private:
  bool watch(int descriptor, std::uint32_t events = EPOLLIN) {
    epoll_event event{};
    event.events = events;
    return ::epoll_ctl(epoll_, EPOLL_CTL_ADD, descriptor, &event) == 0;
  }

  // Only while it is wanted: a pipe that takes bytes is ready all the time.
  void watchWrite(bool wanted) {
    if (wanted && !is_watching_write_) watch(ends_.to_worker, EPOLLOUT);
    if (!wanted && is_watching_write_) {
      ::epoll_ctl(epoll_, EPOLL_CTL_DEL, ends_.to_worker, nullptr);
    }
    is_watching_write_ = wanted;
  }

  void arm(Deadline deadline) {
    armed_ = deadline;
    itimerspec when{};
    if (deadline) {
      // The clock of steady_clock is CLOCK_MONOTONIC. A time of zero would disarm the timer.
      const auto time = std::max<std::chrono::nanoseconds>(deadline->time_since_epoch(),
                                                           std::chrono::nanoseconds(1));
      const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
      when.it_value.tv_sec = seconds.count();
      when.it_value.tv_nsec = std::chrono::nanoseconds(time - seconds).count();
    }
    ::timerfd_settime(timer_, TFD_TIMER_ABSTIME, &when, nullptr);
  }

  std::unique_ptr<WorkerProcess> process_;
  PipeEnds ends_;
  int epoll_ = -1;
  int wake_ = -1;
  int timer_ = -1;
  bool is_watching_write_ = false;
  bool is_finished_ = false;
  Deadline armed_;
};

}  // namespace

std::unique_ptr<AsyncChannel> startAsyncWorker(const std::filesystem::path& path,
                                               std::string* error_out) {
  std::unique_ptr<WorkerProcess> process = startWorker(path, error_out);
  if (process == nullptr) return nullptr;
  auto channel = std::make_unique<PosixAsyncChannel>(std::move(process));
  const int error = channel->open();
  if (error == 0) return channel;
  if (error_out != nullptr) *error_out = systemMessage(error);
  return nullptr;
}

}  // namespace lisp_worker::client
