// Workers as children on Linux: two pipes, and a thread that keeps the worker.
//
// The worker is started by vfork, because a fork would copy the page tables of a large host; so
// between vfork and exec only system calls are made (becomeWorker). It is to die with its host, and
// the system ties that to the thread that started it: therefore the Keeper, a thread that waits
// until the worker is let go.
//
// Our end of the worker's input does not block, so that a deadline also ends a write into a full
// pipe. Reading waits by poll. Finishing is closing both pipes, waiting for the grace, and killing.

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <semaphore.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cerrno>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "client/process_access.h"
#include "client/sigpipe_guard_posix.h"
#include "client/system_text.h"
#include "lisp_worker/client/process.h"

namespace lisp_worker::client {
namespace {

constexpr int kFirstOwnDescriptor = 3;  // Below stand standard input, output and error.

// Owns a descriptor; closes it when it goes.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
  Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  ~Descriptor() { close(); }

  void close() {
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = -1;
  }

  [[nodiscard]] int get() const { return descriptor_; }
  [[nodiscard]] bool isOpen() const { return descriptor_ >= 0; }

 private:
  int descriptor_ = -1;
};

// Which program becomes a worker, on which descriptors.
struct Command {
  std::string program;
  int input = -1;
  int output = -1;
};

// Runs in the new process, which shares the host's memory until it has become the worker: system
// calls and nothing else. `error` is set if it cannot.
[[noreturn]] void becomeWorker(const Command& command, char* const* arguments, pid_t host,
                               volatile int& error) {
  // Whatever the worker does, it ends with the host. A host that has ended before cannot tell.
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != host) ::_exit(0);
  // The keys ^C and ^Z send signals to the group of the program in front; a worker that got them
  // would be lost with all that it keeps, or stand still.
  ::setpgid(0, 0);
  ::dup2(command.input, STDIN_FILENO);
  ::dup2(command.output, STDOUT_FILENO);
  // The host may hold descriptors that it never marked to stay behind.
  ::closefrom(kFirstOwnDescriptor);
  // No handler of the host's may run here, and a signal that the host blocks must still reach the
  // worker.
  for (int signal = 1; signal < NSIG; ++signal) {
    struct sigaction action {};
    if (::sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
    action = {};
    ::sigaction(signal, &action, nullptr);
  }
  sigset_t nothing_blocked;
  sigemptyset(&nothing_blocked);
  ::sigprocmask(SIG_SETMASK, &nothing_blocked, nullptr);
  ::execve(arguments[0], arguments, environ);
  error = errno;
  ::_exit(0);
}

// Starts the worker and sets `process`. All signals must be blocked. Returns 0 or the error.
int createProcess(Command& command, pid_t& process) {
  const std::array<char*, 2> arguments = {command.program.data(), nullptr};
  const pid_t host = ::getpid();
  volatile int error = 0;
  // Copying the tables of a large host's memory would take longer than all the rest.
  process = ::vfork();
  if (process == 0) becomeWorker(command, arguments.data(), host, error);
  if (process < 0) return errno;
  if (error != 0) ::waitpid(process, nullptr, 0);
  return error;
}

// A thread that starts a worker and stays until the worker has ended. Linux ends a process with
// the thread that has started it, not with that thread's process; so a host that starts its worker
// in a thread that soon goes would lose it.
class Keeper {
 public:
  explicit Keeper(Command command) : command_(std::move(command)) {
    ::sem_init(&is_started_, 0, 0);
    ::sem_init(&is_over_, 0, 0);
    // The host's signals are for the host's threads.
    sigset_t all;
    sigset_t previous;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &previous);
    const int error = ::pthread_create(&thread_, nullptr, &Keeper::run, this);
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    has_thread_ = error == 0;
    if (has_thread_) {
      await(is_started_);
    } else {
      error_ = error;
    }
  }
  Keeper(const Keeper&) = delete;
  Keeper& operator=(const Keeper&) = delete;
  ~Keeper() {
    ::sem_post(&is_over_);
    if (has_thread_) ::pthread_join(thread_, nullptr);
    ::sem_destroy(&is_started_);
    ::sem_destroy(&is_over_);
  }

  [[nodiscard]] pid_t process() const { return process_; }

  // 0, or why there is no process.
  [[nodiscard]] int error() const { return error_; }

 private:
  static void* run(void* self) {
    auto& keeper = *static_cast<Keeper*>(self);
    keeper.error_ = createProcess(keeper.command_, keeper.process_);
    ::sem_post(&keeper.is_started_);
    await(keeper.is_over_);
    return nullptr;
  }

  static void await(sem_t& semaphore) {
    while (::sem_wait(&semaphore) != 0) {
    }
  }

  Command command_;
  pid_t process_ = 0;
  int error_ = 0;
  pthread_t thread_{};
  bool has_thread_ = false;
  sem_t is_started_{};
  sem_t is_over_{};
};

class PosixWorkerProcess final : public WorkerProcess {
 public:
  PosixWorkerProcess(std::unique_ptr<Keeper> keeper, Descriptor to_worker, Descriptor from_worker)
      : keeper_(std::move(keeper)),
        process_(keeper_->process()),
        to_worker_(std::move(to_worker)),
        from_worker_(std::move(from_worker)) {}

  ~PosixWorkerProcess() override { PosixWorkerProcess::finishWithin(kExitGrace); }

  // Until all is taken, the deadline has passed, or the worker has closed its input.
  bool write(std::string_view bytes) override {
    assert(!bytes.empty());
    SigpipeGuard guard;
    while (!bytes.empty()) {
      const ssize_t count = ::write(to_worker_.get(), bytes.data(), bytes.size());
      if (count < 0 && errno == EPIPE) guard.noteRaised();
      if (count < 0 && errno == EINTR) continue;
      if (count < 0 && errno == EAGAIN && waitFor(to_worker_, POLLOUT)) continue;
      if (count <= 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
  }

  std::size_t read(char* buffer, std::size_t size) override {
    std::size_t filled = 0;
    while (filled < size) {
      const std::size_t count = readSome(buffer + filled, size - filled);
      if (count == 0) break;
      filled += count;
    }
    return filled;
  }

  // Mostly a response's header and payload are there together, and are fetched by one call.
  std::size_t readSome(char* buffer, std::size_t size) override {
    if (fetched_begin_ == fetched_end_) {
      if (size >= fetched_.size()) return fetch(buffer, size);
      fetched_begin_ = 0;
      fetched_end_ = fetch(fetched_.data(), fetched_.size());
    }
    const std::size_t count = std::min(size, fetched_end_ - fetched_begin_);
    std::copy_n(fetched_.data() + fetched_begin_, count, buffer);
    fetched_begin_ += count;
    return count;
  }

  // As long as nobody has waited for the worker its number is its own.
  void killNow() const { ::kill(process_, SIGKILL); }

  [[nodiscard]] PipeEnds ends() const { return {to_worker_.get(), from_worker_.get()}; }

  void setDeadline(Deadline deadline) override { deadline_ = deadline; }
  [[nodiscard]] bool hasTimedOut() const override { return has_timed_out_; }

  void endInput() override { to_worker_.close(); }
  void endOutput() override {
    from_worker_.close();
    fetched_begin_ = fetched_end_ = 0;
  }

  WorkerExit finishWithin(std::chrono::milliseconds grace) override {
    // Without a grace the worker is not to begin its own end, which we would meet at any stage.
    if (grace.count() <= 0 && !waitForEnd(grace)) kill();
    to_worker_.close();
    // A worker in the middle of a response that nobody will read must not wait for us.
    PosixWorkerProcess::endOutput();
    if (!waitForEnd(grace)) kill();
    return *exit_;
  }

  std::optional<WorkerExit> waitForEnd(std::chrono::milliseconds grace) override {
    const auto deadline = momentAfter(grace);
    std::chrono::microseconds pause{50};
    while (!exit_) {
      int status = 0;
      const pid_t ended = ::waitpid(process_, &status, WNOHANG);
      if (ended == process_) {
        exit_ = exitOf(status);
      } else if (ended < 0 && errno != EINTR) {
        exit_ = WorkerExit{};
      } else if (std::chrono::steady_clock::now() >= deadline) {
        break;
      } else {
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, std::chrono::microseconds{5000});
      }
    }
    return exit_;
  }

 private:
  // Reads once from the pipe: the number of bytes, 0 at its end and at the deadline.
  std::size_t fetch(char* buffer, std::size_t size) {
    for (;;) {
      if (deadline_ && !waitFor(from_worker_, POLLIN)) return 0;
      const ssize_t count = ::read(from_worker_.get(), buffer, size);
      if (count >= 0) return static_cast<std::size_t>(count);
      if (errno != EINTR) return 0;
    }
  }

  // Whether the pipe is ready, or broken, before the deadline.
  bool waitFor(const Descriptor& descriptor, short events) {
    if (descriptor.get() < 0) return false;  // It would wait for nothing until the deadline.
    for (;;) {
      pollfd waiting{descriptor.get(), events, 0};
      timespec left{};
      if (deadline_) {
        const auto remaining = std::max(*deadline_ - std::chrono::steady_clock::now(),
                                        std::chrono::steady_clock::duration::zero());
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(remaining);
        left.tv_sec = seconds.count();
        left.tv_nsec = std::chrono::nanoseconds(remaining - seconds).count();
      }
      const int count = ::ppoll(&waiting, 1, deadline_ ? &left : nullptr, nullptr);
      if (count > 0) return true;
      has_timed_out_ = count == 0;
      if (has_timed_out_ || errno != EINTR) return false;
    }
  }

  // A worker that ended by itself a moment before is reported with its own end.
  void kill() {
    ::kill(process_, SIGKILL);
    int status = 0;
    while (::waitpid(process_, &status, 0) < 0) {
      if (errno == EINTR) continue;
      exit_ = WorkerExit{};
      return;
    }
    exit_ = exitOf(status);
    const bool by_us = exit_ == WorkerExit{WorkerExit::Kind::Signaled, SIGKILL};
    if (by_us) exit_ = WorkerExit{WorkerExit::Kind::Killed, 0};
  }

  static WorkerExit exitOf(int status) {
    if (WIFEXITED(status)) {
      return {WorkerExit::Kind::Exited, static_cast<std::uint32_t>(WEXITSTATUS(status))};
    }
    return {WorkerExit::Kind::Signaled, static_cast<std::uint32_t>(WTERMSIG(status))};
  }

  std::unique_ptr<Keeper> keeper_;
  pid_t process_;
  Descriptor to_worker_;
  Descriptor from_worker_;
  std::array<char, 8192> fetched_{};  // Read and not yet asked for, from begin to end.
  std::size_t fetched_begin_ = 0;
  std::size_t fetched_end_ = 0;
  Deadline deadline_;
  bool has_timed_out_ = false;
  std::optional<WorkerExit> exit_;
};

struct Pipe {
  Descriptor read_end;
  Descriptor write_end;
};

// The same descriptor under a number that is not a standard stream's. A host that has closed one
// of those would otherwise have a pipe in its place, and speak to the worker by printing.
Descriptor movedAboveStandardStreams(Descriptor descriptor) {
  if (descriptor.get() >= kFirstOwnDescriptor) return descriptor;
  return Descriptor(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, kFirstOwnDescriptor));
}

// Both ends stay with this process when it starts another program. errno on failure.
int openPipe(Pipe& pipe) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return errno;
  pipe.read_end = movedAboveStandardStreams(Descriptor(ends[0]));
  pipe.write_end = movedAboveStandardStreams(Descriptor(ends[1]));
  return pipe.read_end.isOpen() && pipe.write_end.isOpen() ? 0 : EMFILE;
}

}  // namespace

std::unique_ptr<WorkerProcess> startWorker(const std::filesystem::path& path,
                                           std::string* error_out) {
  Pipe to_worker;
  Pipe from_worker;
  int error = openPipe(to_worker);
  if (error == 0) error = openPipe(from_worker);
  // A full pipe must not keep us beyond a deadline. The flag is our end's alone.
  if (error == 0) ::fcntl(to_worker.write_end.get(), F_SETFL, O_WRONLY | O_NONBLOCK);
  std::unique_ptr<Keeper> keeper;
  if (error == 0) {
    keeper = std::make_unique<Keeper>(
        Command{path.string(), to_worker.read_end.get(), from_worker.write_end.get()});
    error = keeper->error();
  }
  if (error != 0) {
    if (error_out != nullptr) *error_out = systemMessage(error);
    return nullptr;
  }
  return std::make_unique<PosixWorkerProcess>(std::move(keeper), std::move(to_worker.write_end),
                                              std::move(from_worker.read_end));
}

void killNow(WorkerProcess& process) { static_cast<PosixWorkerProcess&>(process).killNow(); }

PipeEnds pipeEnds(const WorkerProcess& process) {
  return static_cast<const PosixWorkerProcess&>(process).ends();
}

}  // namespace lisp_worker::client
