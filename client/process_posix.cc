// Workers as children on Linux: two pipes, and a thread that has started the worker and stays.
//
// The worker is started by vfork, because a fork would copy the page tables of a large host; so
// between vfork and exec only system calls are made (becomeWorker). It is to die with its host, and
// the system ties that to the thread that started it. The host's first thread lives as long as the
// host, so a worker is started by that one itself. For all others the Keeper starts it, one thread
// for all workers of the process.
//
// Our end of the worker's input does not block, so that a deadline also ends a write into a full
// pipe; nor does the other, once there is a deadline. Finishing is closing both pipes, waiting for
// the grace, and killing.

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cassert>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <memory>
#include <mutex>
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

// The time for which a host's thread looks for a response before it sleeps. Most round trips of
// small requests take a tenth of it.
constexpr std::chrono::microseconds kLookingTime{50};

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

// Which program becomes a worker, on which descriptors.
struct Command {
  std::string program;
  int input = -1;
  int output = -1;
};

// Runs in the new process, which shares the host's memory until it has become the worker: system
// calls and nothing else. If it cannot, it writes the error to `report`.
[[noreturn]] void becomeWorker(const Command& command, char* const* arguments, pid_t host,
                               int report) {
  // Whatever the worker does, it ends with the host. A host that has ended before cannot tell.
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != host) ::_exit(0);
  // The keys ^C and ^Z send signals to the group of the program in front; a worker that got them
  // would be lost with all that it keeps, or stand still.
  ::setpgid(0, 0);
  ::dup2(command.input, STDIN_FILENO);
  ::dup2(command.output, STDOUT_FILENO);
  // The host may hold descriptors that it never marked to stay behind.
  if (report != kFirstOwnDescriptor) ::dup3(report, kFirstOwnDescriptor, O_CLOEXEC);
  ::closefrom(kFirstOwnDescriptor + 1);
  // No handler of the host's may run here, and a signal that the host blocks must still reach the
  // worker.
  for (int signal = 1; signal < NSIG; ++signal) {
    struct sigaction action {};
    if (::sigaction(signal, nullptr, &action) != 0) continue;
    if (action.sa_handler == SIG_IGN || action.sa_handler == SIG_DFL) continue;
    action = {};
    ::sigaction(signal, &action, nullptr);
  }
  sigset_t nothing_blocked;
  sigemptyset(&nothing_blocked);
  ::sigprocmask(SIG_SETMASK, &nothing_blocked, nullptr);
  ::execve(arguments[0], arguments, environ);
  const int error = errno;
  static_cast<void>(!::write(kFirstOwnDescriptor, &error, sizeof(error)));
  ::_exit(0);
}

// Keeps all signals of the host from this thread.
class BlockedSignals {
 public:
  BlockedSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &previous_);
  }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;
  ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }

 private:
  sigset_t previous_;
};

// Starts the worker and sets `process`. Returns 0 or the error. A pipe, which the worker's program
// closes by being there, tells of an error, because a checker of memory may make a fork of vfork.
int createProcess(Command& command, pid_t& process) {
  const std::array<char*, 2> arguments = {command.program.data(), nullptr};
  Pipe report;
  int error = openPipe(report);
  if (error != 0) return error;
  const pid_t host = ::getpid();
  const BlockedSignals blocked;
  // Copying the tables of a large host's memory would take longer than all the rest.
  process = ::vfork();
  if (process == 0) becomeWorker(command, arguments.data(), host, report.write_end.get());
  if (process < 0) return errno;
  report.write_end.close();
  if (::read(report.read_end.get(), &error, sizeof(error)) != sizeof(error)) return 0;
  ::waitpid(process, nullptr, 0);
  return error;
}

// A thread that starts workers for threads that may end before them. It stays as long as anybody
// has it. Linux ends a process with the thread that has started it, not with that thread's process;
// so a host that starts its worker in a thread that soon goes would lose it.
class Keeper {
 public:
  // The keeper of this process, which is made if there is none. Null, with `error`, when it cannot
  // be.
  static std::shared_ptr<Keeper> get(int& error) {
    Place& place = placeOfThisProcess();
    const std::lock_guard lock(place.mutex);
    std::shared_ptr<Keeper> keeper = place.keeper.lock();
    if (keeper != nullptr) return keeper;
    keeper = std::make_shared<Keeper>();
    error = keeper->startThread();
    if (error != 0) return nullptr;
    place.keeper = keeper;
    return keeper;
  }

  Keeper() {
    ::sem_init(&is_wanted_, 0, 0);
    ::sem_init(&is_done_, 0, 0);
  }
  Keeper(const Keeper&) = delete;
  Keeper& operator=(const Keeper&) = delete;
  ~Keeper() {
    // A forked copy of the host has the object but not the thread.
    if (has_thread_ && host_ == ::getpid()) {
      command_ = nullptr;
      ::sem_post(&is_wanted_);
      ::pthread_join(thread_, nullptr);
    }
    ::sem_destroy(&is_wanted_);
    ::sem_destroy(&is_done_);
  }

  // As createProcess. From any thread.
  int create(Command& command, pid_t& process) {
    const std::lock_guard lock(mutex_);
    command_ = &command;
    ::sem_post(&is_wanted_);
    await(is_done_);
    process = process_;
    return error_;
  }

 private:
  // Where the keeper of a process is. A fork leaves the copy a place whose mutex may be locked for
  // ever, so the copy gets a place of its own.
  struct Place {
    pid_t host = ::getpid();
    std::mutex mutex;
    std::weak_ptr<Keeper> keeper;
  };

  static Place& placeOfThisProcess() {
    static std::atomic<Place*> current{nullptr};
    Place* place = current.load();
    if (place != nullptr && place->host == ::getpid()) return *place;
    auto made = std::make_unique<Place>();
    // Another thread may be here, too; the place of the first one is taken. Places are for ever.
    if (current.compare_exchange_strong(place, made.get())) return *made.release();
    return *place;
  }

  int startThread() {
    // The host's signals are for the host's threads.
    const BlockedSignals blocked;
    const int error = ::pthread_create(&thread_, nullptr, &Keeper::run, this);
    has_thread_ = error == 0;
    return error;
  }

  static void* run(void* self) {
    auto& keeper = *static_cast<Keeper*>(self);
    for (;;) {
      await(keeper.is_wanted_);
      if (keeper.command_ == nullptr) return nullptr;
      keeper.error_ = createProcess(*keeper.command_, keeper.process_);
      ::sem_post(&keeper.is_done_);
    }
  }

  static void await(sem_t& semaphore) {
    while (::sem_wait(&semaphore) != 0) {
    }
  }

  const pid_t host_ = ::getpid();
  std::mutex mutex_;            // Of what follows, while a worker is started.
  Command* command_ = nullptr;  // Null: the thread is to end.
  pid_t process_ = 0;
  int error_ = 0;
  sem_t is_wanted_{};
  sem_t is_done_{};
  pthread_t thread_{};
  bool has_thread_ = false;
};

// Starts the worker in a thread that lives as long as it; `keeper` is set if that is not this one.
// Returns 0 or the error.
int createKeptProcess(Command command, pid_t& process, std::shared_ptr<Keeper>& keeper) {
  if (::gettid() == ::getpid()) return createProcess(command, process);
  int error = 0;
  keeper = Keeper::get(error);
  return keeper == nullptr ? error : keeper->create(command, process);
}

class PosixWorkerProcess final : public WorkerProcess {
 public:
  PosixWorkerProcess(std::shared_ptr<Keeper> keeper, pid_t process, Descriptor to_worker,
                     Descriptor from_worker)
      : keeper_(std::move(keeper)),
        process_(process),
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

  // Whoever never sets a deadline reads from a pipe that blocks.
  void setDeadline(Deadline deadline) override {
    deadline_ = deadline;
    if (!deadline || is_non_blocking_) return;
    is_non_blocking_ = ::fcntl(from_worker_.get(), F_SETFL, O_RDONLY | O_NONBLOCK) == 0;
  }
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
  // Reads once from the pipe: the number of bytes, 0 at its end and at the deadline. To sleep with
  // a deadline takes one call more than to sleep in a read. Most responses come within
  // microseconds, so for a moment we look again and again, and let others have the processor in
  // between.
  std::size_t fetch(char* buffer, std::size_t size) {
    Deadline end_of_looking;
    for (;;) {
      const ssize_t count = ::read(from_worker_.get(), buffer, size);
      if (count >= 0) return static_cast<std::size_t>(count);
      if (errno == EINTR) continue;
      if (errno != EAGAIN) return 0;
      const auto now = std::chrono::steady_clock::now();
      if (!end_of_looking) end_of_looking = now + kLookingTime;
      if (now < *end_of_looking) {
        ::sched_yield();
      } else if (!waitFor(from_worker_, POLLIN)) {
        return 0;
      }
    }
  }

  // True when the pipe is ready, or broken, before the deadline.
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

  std::shared_ptr<Keeper> keeper_;  // Null: the host's first thread has started the worker.
  pid_t process_;
  Descriptor to_worker_;
  Descriptor from_worker_;
  std::array<char, 8192> fetched_{};  // Read and not yet asked for, from begin to end.
  std::size_t fetched_begin_ = 0;
  std::size_t fetched_end_ = 0;
  Deadline deadline_;
  bool is_non_blocking_ = false;  // Our end of the worker's output.
  bool has_timed_out_ = false;
  std::optional<WorkerExit> exit_;
};

}  // namespace

std::unique_ptr<WorkerProcess> startWorker(const std::filesystem::path& path,
                                           std::string* error_out) {
  Pipe to_worker;
  Pipe from_worker;
  int error = openPipe(to_worker);
  if (error == 0) error = openPipe(from_worker);
  // A full pipe must not keep us beyond a deadline. The flag is our end's alone.
  if (error == 0) ::fcntl(to_worker.write_end.get(), F_SETFL, O_WRONLY | O_NONBLOCK);
  std::shared_ptr<Keeper> keeper;
  pid_t process = 0;
  if (error == 0) {
    error = createKeptProcess(
        {path.string(), to_worker.read_end.get(), from_worker.write_end.get()}, process, keeper);
  }
  if (error != 0) {
    if (error_out != nullptr) *error_out = systemMessage(error);
    return nullptr;
  }
  return std::make_unique<PosixWorkerProcess>(
      std::move(keeper), process, std::move(to_worker.write_end), std::move(from_worker.read_end));
}

void killNow(WorkerProcess& process) { static_cast<PosixWorkerProcess&>(process).killNow(); }

PipeEnds pipeEnds(const WorkerProcess& process) {
  return static_cast<const PosixWorkerProcess&>(process).ends();
}

}  // namespace lisp_worker::client
