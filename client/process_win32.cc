// Workers as children on Windows: CreateProcess and two anonymous pipes.

#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cassert>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "client/process_access.h"
#include "client/system_text.h"
#include "lisp_worker/client/process.h"

namespace lisp_worker::client {
namespace {

// The most that one ReadFile or WriteFile call is asked to move, in bytes.
constexpr std::size_t kTransferMax = 0x7FFFFFFF;

// Given to a worker that we end; never seen by a host, which learns of Kind::Killed instead.
constexpr UINT kKilledExitCode = 1;

// Owns a handle; closes it when it goes. Null stands for none.
class Handle {
 public:
  Handle() = default;
  explicit Handle(HANDLE handle) : handle_(handle) {}
  Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Handle& operator=(Handle&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~Handle() { close(); }

  void close() {
    if (handle_ != nullptr) ::CloseHandle(handle_);
    handle_ = nullptr;
  }

  [[nodiscard]] HANDLE get() const { return handle_; }

 private:
  HANDLE handle_ = nullptr;
};

DWORD transferSize(std::size_t remaining) {
  return static_cast<DWORD>(std::min(remaining, kTransferMax));
}

// Ends a process at a deadline. An anonymous pipe knows no time-out, but reading and writing fail
// as soon as the process at its other end has gone.
class Watchdog {
 public:
  Watchdog() : timer_(::CreateThreadpoolTimer(&Watchdog::expire, this, nullptr)) {}
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;
  ~Watchdog() {
    if (!isReady()) return;
    arm(std::nullopt);
    ::CloseThreadpoolTimer(timer_);
  }

  // Without a timer no deadline would be kept.
  [[nodiscard]] bool isReady() const { return timer_ != nullptr; }

  // The process must live until the last deadline is taken back.
  void watch(HANDLE process) { process_ = process; }

  void arm(Deadline deadline) {
    ::SetThreadpoolTimer(timer_, nullptr, 0, 0);
    ::WaitForThreadpoolTimerCallbacks(timer_, TRUE);
    if (!deadline) return;
    // Negative: from now on, in units of 100 nanoseconds.
    using Ticks = std::chrono::duration<LONGLONG, std::ratio<1, 10'000'000>>;
    const auto remaining =
        std::chrono::duration_cast<Ticks>(*deadline - std::chrono::steady_clock::now());
    ULARGE_INTEGER due{};
    due.QuadPart = static_cast<ULONGLONG>(-std::max<LONGLONG>(remaining.count(), 1));
    FILETIME time{due.LowPart, due.HighPart};
    ::SetThreadpoolTimer(timer_, &time, 0, 0);
  }

  [[nodiscard]] bool hasExpired() const { return has_expired_; }

 private:
  static void CALLBACK expire(PTP_CALLBACK_INSTANCE /*instance*/, PVOID self, PTP_TIMER /*timer*/) {
    auto* const watchdog = static_cast<Watchdog*>(self);
    watchdog->has_expired_ = true;
    ::TerminateProcess(watchdog->process_, kKilledExitCode);
  }

  HANDLE process_ = nullptr;
  PTP_TIMER timer_;
  std::atomic<bool> has_expired_ = false;
};

class Win32WorkerProcess final : public WorkerProcess {
 public:
  Win32WorkerProcess(Handle job, Handle process, std::unique_ptr<Watchdog> watchdog,
                     Handle to_worker, Handle from_worker)
      : job_(std::move(job)),
        process_(std::move(process)),
        watchdog_(std::move(watchdog)),
        to_worker_(std::move(to_worker)),
        from_worker_(std::move(from_worker)) {
    watchdog_->watch(process_.get());
  }

  ~Win32WorkerProcess() override { Win32WorkerProcess::finishWithin(kExitGrace); }

  bool write(std::string_view bytes) override {
    assert(!bytes.empty());
    while (!bytes.empty()) {
      DWORD count = 0;
      if (!::WriteFile(to_worker_.get(), bytes.data(), transferSize(bytes.size()), &count,
                       nullptr) ||
          count == 0) {
        return false;
      }
      bytes.remove_prefix(count);
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

  std::size_t readSome(char* buffer, std::size_t size) override {
    DWORD count = 0;
    if (!::ReadFile(from_worker_.get(), buffer, transferSize(size), &count, nullptr)) return 0;
    return count;
  }

  void killNow() const { ::TerminateProcess(process_.get(), kKilledExitCode); }

  void setDeadline(Deadline deadline) override { watchdog_->arm(deadline); }
  [[nodiscard]] bool hasTimedOut() const override { return watchdog_->hasExpired(); }

  void endInput() override { to_worker_.close(); }
  void endOutput() override { from_worker_.close(); }

  WorkerExit finishWithin(std::chrono::milliseconds grace) override {
    watchdog_->arm(std::nullopt);
    // Without a grace the worker is not to begin its own end, which we would meet at any stage.
    if (grace.count() <= 0 && !waitForEnd(grace)) kill();
    to_worker_.close();
    // A worker in the middle of a response that nobody will read must not wait for us.
    from_worker_.close();
    if (!waitForEnd(grace)) kill();
    process_.close();
    return *exit_;
  }

  std::optional<WorkerExit> waitForEnd(std::chrono::milliseconds grace) override {
    const auto longest = std::chrono::milliseconds{INFINITE};  // Waits for ever.
    const auto wait = static_cast<DWORD>(std::clamp(grace, {}, longest).count());
    if (!exit_ && ::WaitForSingleObject(process_.get(), wait) == WAIT_OBJECT_0) {
      exit_ = exitOfEnded();
    }
    return exit_;
  }

 private:
  void kill() {
    const bool killed = ::TerminateProcess(process_.get(), kKilledExitCode) != 0;
    ::WaitForSingleObject(process_.get(), INFINITE);
    exit_ = killed ? WorkerExit{WorkerExit::Kind::Killed, 0} : exitOfEnded();
  }

  [[nodiscard]] WorkerExit exitOfEnded() const {
    if (watchdog_->hasExpired()) return {WorkerExit::Kind::Killed, 0};
    DWORD code = 0;
    if (!::GetExitCodeProcess(process_.get(), &code)) return WorkerExit{};
    return {WorkerExit::Kind::Exited, code};
  }

  Handle job_;  // The worker is in it, and goes with it.
  Handle process_;
  std::unique_ptr<Watchdog> watchdog_;  // Of process_, so it must go first.
  Handle to_worker_;
  Handle from_worker_;
  std::optional<WorkerExit> exit_;
};

struct Pipe {
  Handle read_end;
  Handle write_end;
};

// Neither end is inherited yet. Like makeInheritable, returns 0 or the system's error code.
DWORD openPipe(Pipe& pipe) {
  HANDLE read_end = nullptr;
  HANDLE write_end = nullptr;
  if (!::CreatePipe(&read_end, &write_end, nullptr, 0)) return ::GetLastError();
  pipe.read_end = Handle(read_end);
  pipe.write_end = Handle(write_end);
  return ERROR_SUCCESS;
}

DWORD makeInheritable(const Handle& handle) {
  const bool done =
      ::SetHandleInformation(handle.get(), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT) != 0;
  return done ? ERROR_SUCCESS : ::GetLastError();
}

// A copy of the host's standard error that a child can inherit; none when the host has none.
Handle inheritableStandardError() {
  const HANDLE original = ::GetStdHandle(STD_ERROR_HANDLE);
  if (original == nullptr || original == INVALID_HANDLE_VALUE) return Handle();
  HANDLE copy = nullptr;
  const HANDLE self = ::GetCurrentProcess();
  if (!::DuplicateHandle(self, original, self, &copy, 0, TRUE, DUPLICATE_SAME_ACCESS)) {
    return Handle();
  }
  return Handle(copy);
}

// Limits what a child inherits to a list of handles, and puts it into a job from its first moment
// on. What is given must outlive this.
class StartAttributes {
 public:
  StartAttributes(std::vector<HANDLE>& handles, HANDLE& job) {
    constexpr DWORD kCount = 2;
    SIZE_T size = 0;
    ::InitializeProcThreadAttributeList(nullptr, kCount, 0, &size);
    storage_.resize(size);
    initialized_ = ::InitializeProcThreadAttributeList(get(), kCount, 0, &size) != 0;
    ready_ =
        initialized_ &&
        set(PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles.data(), handles.size() * sizeof(HANDLE)) &&
        set(PROC_THREAD_ATTRIBUTE_JOB_LIST, &job, sizeof(HANDLE));
  }
  StartAttributes(const StartAttributes&) = delete;
  StartAttributes& operator=(const StartAttributes&) = delete;
  ~StartAttributes() {
    if (initialized_) ::DeleteProcThreadAttributeList(get());
  }

  [[nodiscard]] bool isReady() const { return ready_; }
  [[nodiscard]] LPPROC_THREAD_ATTRIBUTE_LIST get() {
    return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(storage_.data());
  }

 private:
  bool set(DWORD_PTR attribute, void* value, SIZE_T size) {
    return ::UpdateProcThreadAttribute(get(), 0, attribute, value, size, nullptr, nullptr) != 0;
  }

  std::vector<std::byte> storage_;
  bool initialized_ = false;
  bool ready_ = false;
};

// Sets `job` to one whose processes are ended when its last handle is closed. That one is ours, and
// the system closes it when we end, however that comes. Returns 0, or the system's error code.
DWORD createJob(Handle& job) {
  job = Handle(::CreateJobObjectW(nullptr, nullptr));
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  const bool done = job.get() != nullptr &&
                    ::SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits,
                                              sizeof(limits)) != 0;
  return done ? ERROR_SUCCESS : ::GetLastError();
}

// Starts the program in `job` with the given standard streams and sets `process`. Returns 0, or the
// system's error code.
DWORD createProcess(const std::filesystem::path& path, const Handle& job, const Handle& input,
                    const Handle& output, const Handle& error, Handle& process) {
  std::vector<HANDLE> inherited = {input.get(), output.get()};
  if (error.get() != nullptr) inherited.push_back(error.get());
  HANDLE its_job = job.get();
  StartAttributes attributes(inherited, its_job);
  if (!attributes.isReady()) return ::GetLastError();

  STARTUPINFOEXW startup{};
  startup.StartupInfo.cb = sizeof(startup);
  startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  startup.StartupInfo.hStdInput = input.get();
  startup.StartupInfo.hStdOutput = output.get();
  startup.StartupInfo.hStdError = error.get();
  startup.lpAttributeList = attributes.get();

  // A worker needs no console, and the system starts another process for each.
  constexpr DWORD kFlags = EXTENDED_STARTUPINFO_PRESENT | DETACHED_PROCESS;
  const std::wstring program = path.wstring();
  std::wstring command_line = L"\"" + program + L"\"";
  PROCESS_INFORMATION information{};
  if (!::CreateProcessW(program.c_str(), command_line.data(), nullptr, nullptr, TRUE, kFlags,
                        nullptr, nullptr, &startup.StartupInfo, &information)) {
    return ::GetLastError();
  }
  ::CloseHandle(information.hThread);
  process = Handle(information.hProcess);
  return ERROR_SUCCESS;
}

}  // namespace

std::unique_ptr<WorkerProcess> startWorker(const std::filesystem::path& path,
                                           std::string* error_out) {
  Pipe to_worker;
  Pipe from_worker;
  Handle job;
  Handle process;
  auto watchdog = std::make_unique<Watchdog>();
  DWORD error = watchdog->isReady() ? ERROR_SUCCESS : ::GetLastError();
  if (error == ERROR_SUCCESS) error = createJob(job);
  if (error == ERROR_SUCCESS) error = openPipe(to_worker);
  if (error == ERROR_SUCCESS) error = openPipe(from_worker);
  if (error == ERROR_SUCCESS) error = makeInheritable(to_worker.read_end);
  if (error == ERROR_SUCCESS) error = makeInheritable(from_worker.write_end);
  if (error == ERROR_SUCCESS) {
    // Under Wine a process that is to begin in a job does not come up once in some thousand times;
    // this is how it is reported, and the next one does.
    int attempts_left = 3;
    do {
      error = createProcess(path, job, to_worker.read_end, from_worker.write_end,
                            inheritableStandardError(), process);
    } while (error == ERROR_INTERNAL_ERROR && --attempts_left > 0);
  }
  if (error != ERROR_SUCCESS) {
    if (error_out != nullptr) *error_out = systemMessage(static_cast<int>(error));
    return nullptr;
  }
  return std::make_unique<Win32WorkerProcess>(std::move(job), std::move(process),
                                              std::move(watchdog), std::move(to_worker.write_end),
                                              std::move(from_worker.read_end));
}

void killNow(WorkerProcess& process) { static_cast<Win32WorkerProcess&>(process).killNow(); }

}  // namespace lisp_worker::client
