// The start and the end of a worker, seen from programs other than the
// worker: small scripts, and cat, whose echo of a ping is a ping's response.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "lisp_worker/client/process.h"
#include "lisp_worker/client/worker.h"
#include "lisp_worker/client/worker_client.h"
#include "testing/base/test_environment.h"
#include "testing/workers/child_process_posix.h"
#include "testing/workers/executable_worker.h"

namespace lisp_worker::client {
namespace {

using worker::WorkerStatus;

class PosixWorkerProcess : public testing::Test {
 protected:
  ~PosixWorkerProcess() override { std::filesystem::remove(script_); }

  std::unique_ptr<WorkerProcess> startScript(const std::string& commands,
                                             const std::string& interpreter = "/bin/sh") {
    std::ofstream(script_) << "#!" << interpreter << "\n" << commands << "\n";
    std::filesystem::permissions(script_, std::filesystem::perms::owner_all);
    std::string error;
    auto process = startWorker(script_, &error);
    EXPECT_NE(process, nullptr) << error;
    return process;
  }

  static std::string readAll(WorkerProcess& process) {
    std::string text(65536, '\0');
    text.resize(process.read(text.data(), text.size()));
    return text;
  }

 private:
  std::filesystem::path script_ = std::filesystem::temp_directory_path() /
                                  ("lisp_worker_process_test." + std::to_string(::getpid()));
};

// Of this process.
std::set<int> openDescriptors() {
  std::set<int> descriptors;
  for (int descriptor = 0; descriptor < 1024; ++descriptor) {
    if (::fcntl(descriptor, F_GETFD) >= 0) descriptors.insert(descriptor);
  }
  return descriptors;
}

// Of this process too.
std::ptrdiff_t countThreads() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

bool hasChildren() { return ::waitpid(-1, nullptr, WNOHANG) >= 0 || errno != ECHILD; }

TEST_F(PosixWorkerProcess, CarriesFramesBothWays) {
  std::string error;
  const auto echo = startWorker("/bin/cat", &error);
  ASSERT_NE(echo, nullptr) << error;
  WorkerClient client(*echo);
  for (int n = 0; n < 100; ++n) ASSERT_EQ(client.ping(), WorkerStatus::Ok);
  EXPECT_EQ(echo->finish(), (WorkerExit{WorkerExit::Kind::Exited, 0}));
}

// Longer than a response is looked for.
TEST_F(PosixWorkerProcess, IsWaitedForUntilItsDeadline) {
  const auto process = startScript("head -c 64 >/dev/null; sleep 0.2; echo late; exec sleep 60");
  ASSERT_NE(process, nullptr);
  ASSERT_TRUE(process->write(std::string(64, 'x')));
  process->setDeadline(std::chrono::steady_clock::now() + std::chrono::seconds(60));
  std::string line(5, '\0');
  EXPECT_EQ(process->read(line.data(), line.size()), 5u);
  EXPECT_EQ(line, "late\n");
  EXPECT_FALSE(process->hasTimedOut());
  const auto begin = std::chrono::steady_clock::now();
  process->setDeadline(begin + std::chrono::milliseconds(100));
  EXPECT_EQ(process->read(line.data(), line.size()), 0u);
  EXPECT_TRUE(process->hasTimedOut());
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(100));
  EXPECT_EQ(process->finishWithin(std::chrono::milliseconds(0)),
            (WorkerExit{WorkerExit::Kind::Killed, 0}));
}

TEST_F(PosixWorkerProcess, ReportsAProgramThatIsNoWorker) {
  const auto process =
      startScript("echo 'Usage: something else entirely, and at some length.....'; exit 3");
  ASSERT_NE(process, nullptr);
  EXPECT_EQ(readAll(*process).substr(0, 6), "Usage:");
  WorkerClient client(*process);
  EXPECT_EQ(client.ping(), std::nullopt);
  ASSERT_TRUE(client.fault().has_value());
  EXPECT_EQ(process->finish(), (WorkerExit{WorkerExit::Kind::Exited, 3}));
}

TEST_F(PosixWorkerProcess, InheritsTheThreeStandardStreamsOnly) {
  const int careless = ::dup(STDERR_FILENO);  // Without close-on-exec.
  ASSERT_GE(careless, 3);
  ASSERT_LE(careless, 9);
  const auto process = startScript("ls -C /proc/$$/fd");
  ASSERT_NE(process, nullptr);
  // A shell keeps its own script open under a number of two digits.
  EXPECT_THAT(readAll(*process), testing::MatchesRegex("0  1  ([1-9][0-9]  )?2\n"));
  ::close(careless);
}

TEST_F(PosixWorkerProcess, GetsNoArgumentsAndNoBlockedSignals) {
  sigset_t blocked;
  sigset_t previous;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &blocked, &previous);
  // A shell would change the mask.
  const auto process = startScript(
      "BEGIN {"
      "  print ARGC - 1;"
      "  while ((getline < \"/proc/self/status\") > 0) if (/^SigBlk/) print $2"
      "}",
      "/usr/bin/awk -f");
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  ASSERT_NE(process, nullptr);
  EXPECT_EQ(readAll(*process), "0\n0000000000000000\n");
}

TEST_F(PosixWorkerProcess, RaisesNoSignalWhenItNoLongerReads) {
  const auto process = startScript("exec 0<&-; echo ready; sleep 0.05");
  ASSERT_NE(process, nullptr);
  EXPECT_EQ(readAll(*process), "ready\n");
  EXPECT_FALSE(process->write("x"));
  EXPECT_FALSE(process->write("x"));
  sigset_t pending;
  sigpending(&pending);
  EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
  sigset_t mask;
  pthread_sigmask(SIG_BLOCK, nullptr, &mask);
  EXPECT_EQ(sigismember(&mask, SIGPIPE), 0);
}

TEST_F(PosixWorkerProcess, LeavesTheHostsOwnPendingSignalAlone) {
  sigset_t sigpipe;
  sigset_t previous;
  sigemptyset(&sigpipe);
  sigaddset(&sigpipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &sigpipe, &previous);
  pthread_kill(pthread_self(), SIGPIPE);
  const auto process = startScript("exec 0<&-; echo ready");
  EXPECT_EQ(readAll(*process), "ready\n");
  EXPECT_FALSE(process->write("x"));
  sigset_t pending;
  sigpending(&pending);
  EXPECT_EQ(sigismember(&pending, SIGPIPE), 1);
  constexpr timespec kNoWait{};
  EXPECT_EQ(sigtimedwait(&sigpipe, nullptr, &kNoWait), SIGPIPE);
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

TEST_F(PosixWorkerProcess, TellsASignal) {
  const auto process = startScript("kill -SEGV $$");
  ASSERT_NE(process, nullptr);
  EXPECT_EQ(readAll(*process), "");
  EXPECT_EQ(process->finish(), (WorkerExit{WorkerExit::Kind::Signaled, SIGSEGV}));
}

TEST_F(PosixWorkerProcess, IsKilledWhenItOutlivesItsInput) {
  const auto process = startScript("exec sleep 60");
  ASSERT_NE(process, nullptr);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(process->finish(), (WorkerExit{WorkerExit::Kind::Killed, 0}));
  const auto elapsed = std::chrono::steady_clock::now() - begin;
  EXPECT_GE(elapsed, kExitGrace);
  EXPECT_LT(elapsed, kExitGrace + std::chrono::seconds(5));
  EXPECT_FALSE(process->write("x"));
  char byte = 0;
  EXPECT_EQ(process->read(&byte, 1), 0u);
}

TEST_F(PosixWorkerProcess, IsNotWaitedForWhileItWritesWhatNobodyReads) {
  const auto process = startScript("exec cat /dev/zero");
  ASSERT_NE(process, nullptr);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(process->finish(), (WorkerExit{WorkerExit::Kind::Signaled, SIGPIPE}));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, kExitGrace);
}

TEST_F(PosixWorkerProcess, CarriesNothingAfterItsEndAndDoesNotWait) {
  const auto process = startScript("exec cat");
  ASSERT_NE(process, nullptr);
  process->finish();
  const auto begin = std::chrono::steady_clock::now();
  process->setDeadline(begin + std::chrono::seconds(60));
  char byte = 0;
  EXPECT_EQ(process->read(&byte, 1), 0u);
  EXPECT_FALSE(process->write("x"));
  EXPECT_FALSE(process->hasTimedOut());
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
}

TEST_F(PosixWorkerProcess, LeavesNothingBehind) {
  ASSERT_FALSE(hasChildren());
  const std::set<int> before = openDescriptors();
  const std::ptrdiff_t threads_before = countThreads();
  for (int n = 0; n < 100; ++n) {
    std::string error;
    ASSERT_NE(startWorker("/bin/cat", &error), nullptr) << error;
    ASSERT_EQ(startWorker("/no/such/worker", &error), nullptr);
    EXPECT_EQ(error, "No such file or directory");
  }
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_EQ(countThreads(), threads_before);
  EXPECT_FALSE(hasChildren());
}

// LISP_START_COUNT asks for more: ten thousand take some twenty seconds.
TEST_F(PosixWorkerProcess, LeavesNothingBehindHoweverOftenAWorkerIsKilled) {
  const std::size_t count = testing_support::setting("LISP_START_COUNT", 300);
  ASSERT_FALSE(hasChildren());
  const std::set<int> before = openDescriptors();
  {
    Worker worker(testing_support::workerExecutable());
    for (std::size_t n = 0; n < count; ++n) {
      ASSERT_TRUE(worker.restart()) << worker.fault()->message;
      // Killed while it is idle, or not even there yet.
      if (n % 2 == 0) {
        ASSERT_EQ(worker.ping(), WorkerStatus::Ok);
      }
    }
  }
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_FALSE(hasChildren());
}

// Who dies cannot clean up. This process becomes the parent of the worker that is left.
TEST_F(PosixWorkerProcess, EndsWhenItsHostIsKilled) {
  ::prctl(PR_SET_CHILD_SUBREAPER, 1);
  // The one neither reads nor writes, and so it would not notice that the pipes are broken; the
  // other may come to the end of its input before it is killed.
  for (const char* const commands : {"echo $$; exec sleep 60", "echo $$; exec cat"}) {
    for (const bool in_a_thread : {false, true}) {
      int said[2] = {-1, -1};
      ASSERT_EQ(::pipe(said), 0);
      const pid_t host = ::fork();
      ASSERT_GE(host, 0);
      if (host == 0) {
        std::unique_ptr<WorkerProcess> process;
        const auto start = [&] { process = startScript(commands); };
        in_a_thread ? std::thread(start).join() : start();
        std::string line(32, '\0');
        if (process == nullptr || process->readSome(line.data(), line.size()) == 0) ::_exit(1);
        if (::write(said[1], line.data(), line.size()) < 0) ::_exit(1);
        ::pause();
        ::_exit(1);
      }
      std::string line(32, '\0');
      EXPECT_EQ(::read(said[0], line.data(), line.size()), 32);
      ::kill(host, SIGKILL);
      int status = 0;
      ASSERT_EQ(::waitpid(host, &status, 0), host);
      const std::string end = testing_support::waitForEnd(std::stoi(line), nullptr);
      const bool reads = std::string_view(commands).ends_with("cat");
      EXPECT_TRUE(end == "signal 9" || (reads && end == "exit code 0")) << commands << ": " << end;
      for (const int descriptor : said) ::close(descriptor);
    }
  }
  ::prctl(PR_SET_CHILD_SUBREAPER, 0);
}

// The system would end it with the thread that has started it, and a host's thread may be short.
TEST_F(PosixWorkerProcess, OutlivesTheThreadThatStartedIt) {
  std::unique_ptr<WorkerProcess> echo;
  std::thread([&] { echo = startWorker("/bin/cat", nullptr); }).join();
  ASSERT_NE(echo, nullptr);
  WorkerClient client(*echo);
  for (int n = 0; n < 100; ++n) ASSERT_EQ(client.ping(), WorkerStatus::Ok);
  EXPECT_EQ(echo->finish(), (WorkerExit{WorkerExit::Kind::Exited, 0}));
}

// A host may have hundreds of workers.
TEST_F(PosixWorkerProcess, NeedsNoThreadOfItsOwn) {
  constexpr std::size_t kCount = 20;
  const std::ptrdiff_t before = countThreads();
  std::vector<std::unique_ptr<WorkerProcess>> workers;
  for (std::size_t n = 0; n < kCount; ++n) workers.push_back(startWorker("/bin/cat", nullptr));
  EXPECT_EQ(countThreads(), before);
  // Threads that end share one that stays until it keeps nothing.
  for (std::size_t n = 0; n < kCount; ++n) {
    std::thread([&] { workers.push_back(startWorker("/bin/cat", nullptr)); }).join();
  }
  EXPECT_EQ(countThreads(), before + 1);
  for (const auto& worker : workers) {
    ASSERT_NE(worker, nullptr);
    WorkerClient client(*worker);
    EXPECT_EQ(client.ping(), WorkerStatus::Ok);
  }
  workers.clear();
  EXPECT_EQ(countThreads(), before);
  EXPECT_FALSE(hasChildren());
}

TEST_F(PosixWorkerProcess, IsStartedByManyThreadsAtATime) {
  const std::ptrdiff_t before = countThreads();
  std::vector<std::thread> threads;
  std::atomic<int> answered = 0;
  for (int n = 0; n < 8; ++n) {
    threads.emplace_back([&answered] {
      for (int round = 0; round < 10; ++round) {
        const auto worker = startWorker("/bin/cat", nullptr);
        if (worker == nullptr) continue;
        WorkerClient client(*worker);
        if (client.ping() == WorkerStatus::Ok) ++answered;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(answered, 80);
  EXPECT_EQ(countThreads(), before);
}

// The copy of the host has no thread but the one that has forked.
TEST_F(PosixWorkerProcess, IsStartedByAThreadOfAForkedCopyOfItsHost) {
  std::unique_ptr<WorkerProcess> kept;
  std::thread([&] { kept = startWorker("/bin/cat", nullptr); }).join();
  const pid_t copy = ::fork();
  ASSERT_GE(copy, 0);
  if (copy == 0) {
    bool is_answered = false;
    std::thread([&] {
      const auto echo = startWorker("/bin/cat", nullptr);
      WorkerClient client(*echo, {.time_limit = std::chrono::seconds(5)});
      is_answered = client.ping() == WorkerStatus::Ok;
    }).join();
    kept.reset();
    ::_exit(is_answered ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(copy, &status, 0), copy);
  EXPECT_EQ(status, 0);
  WorkerClient client(*kept);
  EXPECT_EQ(client.ping(), WorkerStatus::Ok);
}

// The host is sent what a terminal sends to all processes in front.
TEST_F(PosixWorkerProcess, IsOutOfReachOfTheKeysThatEndOrStopItsHost) {
  const pid_t host = ::fork();
  ASSERT_GE(host, 0);
  if (host == 0) {
    // A signal that the host ignores would be ignored by its worker, too.
    for (const int signal : {SIGINT, SIGQUIT, SIGTSTP}) ::signal(signal, [](int) {});
    ::setpgid(0, 0);
    auto echo = startWorker("/bin/cat", nullptr);
    WorkerClient client(*echo, {.time_limit = std::chrono::seconds(5)});
    for (const int signal : {SIGINT, SIGQUIT, SIGTSTP}) {
      ::kill(0, signal);
      if (client.ping() != WorkerStatus::Ok) ::_exit(signal);
    }
    ::_exit(0);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(host, &status, 0), host);
  EXPECT_EQ(status, 0);
}

// Whoever forks has copies of all objects, and may destroy them.
TEST_F(PosixWorkerProcess, IsLeftAloneByAForkedCopyOfItsHost) {
  auto echo = startWorker("/bin/cat", nullptr);
  ASSERT_NE(echo, nullptr);
  const pid_t copy = ::fork();
  ASSERT_GE(copy, 0);
  if (copy == 0) {
    echo.reset();
    ::_exit(0);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(copy, &status, 0), copy);
  EXPECT_EQ(status, 0);
  WorkerClient client(*echo);
  EXPECT_EQ(client.ping(), WorkerStatus::Ok);
  EXPECT_EQ(echo->finish(), (WorkerExit{WorkerExit::Kind::Exited, 0}));
}

TEST_F(PosixWorkerProcess, CannotBeStartedFromADirectory) {
  std::string error;
  EXPECT_EQ(startWorker("/tmp", &error), nullptr);
  EXPECT_EQ(error, "Permission denied");
}

// Another program that the host starts must not keep a worker's input open.
TEST_F(PosixWorkerProcess, KeepsItsEndsOfThePipesToItself) {
  const std::set<int> before = openDescriptors();
  const auto echo = startWorker("/bin/cat", nullptr);
  ASSERT_NE(echo, nullptr);
  std::size_t kept = 0;
  for (const int descriptor : openDescriptors()) {
    if (before.contains(descriptor)) continue;
    EXPECT_EQ(::fcntl(descriptor, F_GETFD), FD_CLOEXEC) << descriptor;
    ++kept;
  }
  EXPECT_EQ(kept, 2u);
}

// A host may have closed its own standard streams. What it prints then must not reach the worker.
TEST_F(PosixWorkerProcess, StartsFromAHostWithoutStandardStreams) {
  const pid_t host = ::fork();
  ASSERT_GE(host, 0);
  if (host == 0) {
    ::close(STDIN_FILENO);
    ::close(STDOUT_FILENO);
    ::close(STDERR_FILENO);
    const auto echo = startWorker("/bin/cat", nullptr);
    if (echo == nullptr) ::_exit(1);
    if (::write(STDOUT_FILENO, "x", 1) == 1 || ::write(STDERR_FILENO, "x", 1) == 1) ::_exit(2);
    WorkerClient client(*echo);
    if (client.ping() != WorkerStatus::Ok) ::_exit(3);
    ::_exit(echo->finish() == WorkerExit{WorkerExit::Kind::Exited, 0} ? 0 : 4);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(host, &status, 0), host);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

}  // namespace
}  // namespace lisp_worker::client
