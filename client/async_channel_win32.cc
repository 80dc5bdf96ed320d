// Anonymous pipes cannot be waited for, and reading from one blocks. So two threads of our own move
// the bytes, and an event tells the host that there is something to do.

#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <ratio>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "client/process_access.h"
#include "client/system_text.h"
#include "lisp_worker/client/async_channel.h"

namespace lisp_worker::client {
namespace {

class Win32AsyncChannel final : public AsyncChannel {
 public:
  explicit Win32AsyncChannel(std::unique_ptr<WorkerProcess> process)
      : process_(std::move(process)),
        event_(::CreateEventW(nullptr, TRUE, FALSE, nullptr)),
        timer_(::CreateThreadpoolTimer(&Win32AsyncChannel::expire, this, nullptr)) {}

  ~Win32AsyncChannel() override {
    if (!is_finished_) Win32AsyncChannel::finish(std::chrono::milliseconds::zero());
    if (timer_ != nullptr) ::CloseThreadpoolTimer(timer_);
    if (event_ != nullptr) ::CloseHandle(event_);
  }

  // Returns 0 or the system's error.
  DWORD open() {
    if (event_ == nullptr || timer_ == nullptr) return ::GetLastError();
    reader_ = std::thread([this] { readAll(); });
    writer_ = std::thread([this] { writeAll(); });
    return ERROR_SUCCESS;
  }

  std::optional<std::size_t> writeSome(std::string_view bytes) override {
    const std::lock_guard lock(mutex_);
    if (is_broken_) return std::nullopt;
    if (!outgoing_.empty()) return 0;
    outgoing_ = bytes;
    may_write_.notify_one();
    return bytes.size();
  }

  std::optional<std::size_t> readSome(char* buffer, std::size_t size) override {
    const std::lock_guard lock(mutex_);
    if (incoming_.empty() && has_ended_) return std::nullopt;
    const std::size_t count = std::min(size, incoming_.size());
    std::copy_n(incoming_.data(), count, buffer);
    incoming_.erase(0, count);
    return count;
  }

  [[nodiscard]] WaitHandle handle() const override { return reinterpret_cast<WaitHandle>(event_); }

  void acknowledge() override { ::ResetEvent(event_); }

  void prepare(bool wants_to_write, Deadline deadline) override {
    arm(deadline);
    const std::lock_guard lock(mutex_);
    wants_to_write_ = wants_to_write;
    const bool may_write = wants_to_write && (outgoing_.empty() || is_broken_);
    if (!is_finished_ && (may_write || !incoming_.empty() || has_ended_)) wake();
  }

  void wake() override { ::SetEvent(event_); }

  void kill() override {
    is_killed_ = true;
    killNow(*process_);
  }

  // The threads end with the worker; only then may their pipes be closed.
  WorkerExit finish(std::chrono::milliseconds grace) override {
    is_finished_ = true;
    arm(std::nullopt);
    {
      const std::lock_guard lock(mutex_);
      is_leaving_ = true;
      if (grace.count() > 0 && outgoing_.empty()) process_->endInput();
    }
    may_write_.notify_one();
    const bool has_exited = process_->waitForEnd(grace).has_value();
    if (!has_exited) kill();
    if (writer_.joinable()) writer_.join();
    if (reader_.joinable()) reader_.join();
    const WorkerExit exit = process_->finishWithin(kExitGrace);
    return is_killed_ ? WorkerExit{WorkerExit::Kind::Killed, 0} : exit;
  }

 private:
  void readAll() {
    std::array<char, 8192> buffer;
    for (;;) {
      const std::size_t count = process_->readSome(buffer.data(), buffer.size());
      const std::lock_guard lock(mutex_);
      incoming_.append(buffer.data(), count);
      has_ended_ = count == 0;
      wake();
      if (has_ended_) return;
    }
  }

  void writeAll() {
    std::unique_lock lock(mutex_);
    for (;;) {
      may_write_.wait(lock, [this] { return is_leaving_ || !outgoing_.empty(); });
      if (is_leaving_) return;
      const std::string bytes = outgoing_;
      lock.unlock();
      const bool is_taken = process_->write(bytes);
      lock.lock();
      outgoing_.clear();
      is_broken_ = !is_taken;
      if (wants_to_write_ || is_broken_) wake();
      if (is_broken_) return;
    }
  }

  void arm(Deadline deadline) {
    ::SetThreadpoolTimer(timer_, nullptr, 0, 0);
    ::WaitForThreadpoolTimerCallbacks(timer_, TRUE);
    if (!deadline) return;
    // Negative: from now on, in units of 100 nanoseconds. Rounded up: woken before the deadline, a
    // host would find nothing to do.
    using Ticks = std::chrono::duration<LONGLONG, std::ratio<1, 10'000'000>>;
    const auto remaining = std::chrono::ceil<Ticks>(*deadline - std::chrono::steady_clock::now());
    ULARGE_INTEGER due{};
    due.QuadPart = static_cast<ULONGLONG>(-std::max<LONGLONG>(remaining.count(), 1));
    FILETIME time{due.LowPart, due.HighPart};
    ::SetThreadpoolTimer(timer_, &time, 0, 0);
  }

  static void CALLBACK expire(PTP_CALLBACK_INSTANCE /*instance*/, PVOID self, PTP_TIMER /*timer*/) {
    static_cast<Win32AsyncChannel*>(self)->wake();
  }

  std::unique_ptr<WorkerProcess> process_;
  HANDLE event_;
  PTP_TIMER timer_;
  std::thread reader_;
  std::thread writer_;
  bool is_finished_ = false;
  std::atomic<bool> is_killed_ = false;

  std::mutex mutex_;  // Guards all below.
  std::condition_variable may_write_;
  std::string incoming_;
  std::string outgoing_;  // Being written, or about to be.
  bool wants_to_write_ = false;
  bool has_ended_ = false;
  bool is_broken_ = false;
  bool is_leaving_ = false;
};

}  // namespace

std::unique_ptr<AsyncChannel> startAsyncWorker(const std::filesystem::path& path,
                                               std::string* error_out) {
  std::unique_ptr<WorkerProcess> process = startWorker(path, error_out);
  if (process == nullptr) return nullptr;
  auto channel = std::make_unique<Win32AsyncChannel>(std::move(process));
  const DWORD error = channel->open();
  if (error == ERROR_SUCCESS) return channel;
  if (error_out != nullptr) *error_out = systemMessage(static_cast<int>(error));
  return nullptr;
}

}  // namespace lisp_worker::client
