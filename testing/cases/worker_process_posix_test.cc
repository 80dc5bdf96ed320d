// The worker as a process of a POSIX system: what it takes from it, and what it leaves alone.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <thread>

#include "testing/base/test_environment.h"
#include "testing/formats/reference_conversation.h"
#include "testing/formats/scenario.h"
#include "testing/workers/child_process.h"
#include "testing/workers/child_process_posix.h"
#include "testing/workers/executable_worker.h"
#include "testing/workers/worker_process.h"

namespace lisp_worker::testing_support {
namespace {

using std::chrono::milliseconds;

// A file that may grow so far and no further takes exactly as much of a response. The limit and
// that its signal is ignored are inherited.
class FileLimit {
 public:
  explicit FileLimit(std::size_t size_max) {
    ::signal(SIGXFSZ, SIG_IGN);
    EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &saved_), 0);
    rlimit limit = saved_;
    limit.rlim_cur = size_max;
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
  }
  ~FileLimit() {
    ::setrlimit(RLIMIT_FSIZE, &saved_);
    ::signal(SIGXFSZ, SIG_DFL);
  }
  FileLimit(const FileLimit&) = delete;
  FileLimit& operator=(const FileLimit&) = delete;

 private:
  rlimit saved_{};
};

TEST(WorkerExecutable, TellsHeaderFromPayloadByTheBytesWritten) {
  const std::filesystem::path path =
      std::filesystem::temp_directory_path() / ("lisp_worker_output." + std::to_string(::getpid()));
  const std::string input = pingFrame() + programFrame("(+ 1 2)");
  const std::string output = liveInProcess(input).output;
  ASSERT_EQ(output.size(), 64U + 64 + 65);
  for (std::size_t size_max = 0; size_max <= output.size(); ++size_max) {
    std::string end;
    {
      const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
      ASSERT_GE(file, 0);
      ChildSettings settings;
      settings.output = file;
      ChildProcess child = [&] {
        const FileLimit limit(size_max);
        return ChildProcess(settings);
      }();
      ::close(file);
      child.send(input);
      child.endInput();
      end = child.end();
      EXPECT_EQ(child.errors(), "");
    }
    const char* const expected = size_max < 128             ? "exit code 6"
                                 : size_max < output.size() ? "exit code 7"
                                                            : "exit code 0";
    EXPECT_EQ(end, expected) << size_max;
    std::ifstream file(path, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), output.substr(0, size_max));
  }
  std::filesystem::remove(path);
}

// A host that dies.

class WorkerOfADeadHost : public testing::TestWithParam<DeadHostRow> {
 protected:
  // In the host's process: starts a worker, talks to it, reports its id and waits to be killed.
  [[noreturn]] static void beHost(const DeadHostRow& row, int report) {
    std::array<int, 2> to_worker{};
    std::array<int, 2> from_worker{};
    if (::pipe2(to_worker.data(), O_CLOEXEC) != 0) ::_exit(1);
    if (::pipe2(from_worker.data(), O_CLOEXEC) != 0) ::_exit(1);
    const std::string path = workerExecutable();
    const pid_t worker = ::fork();
    if (worker == 0) {
      ::dup2(to_worker[0], STDIN_FILENO);
      ::dup2(from_worker[1], STDOUT_FILENO);
      ::execl(path.c_str(), path.c_str(), nullptr);
      ::_exit(1);
    }
    // Only the worker may keep its own ends.
    ::close(to_worker[0]);
    ::close(from_worker[1]);
    const char* rest = row.last_words.data();
    for (std::size_t size = row.last_words.size(); size > 0;) {
      const ssize_t count = ::write(to_worker[1], rest, size);
      if (count <= 0) ::_exit(1);
      rest += count;
      size -= static_cast<std::size_t>(count);
    }
    for (std::size_t heard = 0; heard < row.heard; ++heard) {
      char byte = 0;
      if (::read(from_worker[0], &byte, 1) != 1) ::_exit(1);
    }
    if (::write(report, &worker, sizeof worker) != sizeof worker) ::_exit(1);
    while (true) ::pause();
  }
};

TEST_P(WorkerOfADeadHost, EndsByItselfWithItsCode) {
  // Orphans come to us, so that their exit codes can be seen.
  ASSERT_EQ(::prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
  std::array<int, 2> report{};
  ASSERT_EQ(::pipe2(report.data(), O_CLOEXEC), 0);
  const pid_t host = ::fork();
  ASSERT_GE(host, 0);
  if (host == 0) beHost(GetParam(), report[1]);
  pid_t worker = 0;
  ASSERT_EQ(::read(report[0], &worker, sizeof worker), static_cast<ssize_t>(sizeof worker));
  EXPECT_EQ(::kill(worker, 0), 0);
  ::kill(host, SIGKILL);
  EXPECT_EQ(waitForEnd(host, nullptr), "signal 9");
  EXPECT_EQ(waitForEnd(worker, nullptr), GetParam().end);
  EXPECT_EQ(::kill(worker, 0), -1) << "the worker is still there";
  ::close(report[0]);
  ::close(report[1]);
  ::prctl(PR_SET_CHILD_SUBREAPER, 0);
}

INSTANTIATE_TEST_SUITE_P(Rows, WorkerOfADeadHost, testing::ValuesIn(deadHosts()),
                         [](const auto& row) { return row.param.name; });

// Things of its process that the worker does not touch.

std::set<std::string> openDescriptors(const ChildProcess& child) {
  std::set<std::string> names;
  const std::string directory = "/proc/" + std::to_string(child.id()) + "/fd";
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    names.insert(entry.path().filename().string());
  }
  return names;
}

TEST(WorkerExecutable, HasTheThreeStandardStreamsAndOpensNothing) {
  const std::set<std::string> standard = {"0", "1", "2"};
  ChildProcess child;
  child.send(pingFrame());
  ASSERT_EQ(child.receive(64).size(), 64U);
  EXPECT_EQ(openDescriptors(child), standard);
  child.send(referenceConversation().input());
  ASSERT_EQ(child.receive(referenceConversation().output().size()),
            referenceConversation().output());
  EXPECT_EQ(openDescriptors(child), standard);
}

// The system goes on with what a stopped process waited for: of a pipe that does not block the
// worker waits with a call that the system repeats under another name.
TEST(WorkerExecutable, GoesOnWaitingAfterItWasStopped) {
  std::array<int, 2> input{};
  ASSERT_EQ(::pipe2(input.data(), O_CLOEXEC | O_NONBLOCK), 0);
  ChildProcess child({.input = input[0]});
  ::close(input[0]);
  const auto ping = [&] {
    const std::string frame = pingFrame();
    EXPECT_EQ(::write(input[1], frame.data(), frame.size()), static_cast<ssize_t>(frame.size()));
    EXPECT_EQ(child.receive(64).size(), 64U);
  };
  ping();
  const auto process = static_cast<pid_t>(child.id());
  for (int i = 0; i < 3; ++i) {
    ::kill(process, SIGSTOP);
    int status = 0;
    ASSERT_EQ(::waitpid(process, &status, WUNTRACED), process);
    ASSERT_TRUE(WIFSTOPPED(status));
    ::kill(process, SIGCONT);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    ping();
  }
  ::close(input[1]);
  EXPECT_EQ(child.end(), "exit code 0");
}

TEST(WorkerExecutable, DiesOfNoSignalThatAPipeCanSend) {
  ChildProcess child;
  child.send(pingFrame());
  ASSERT_EQ(child.receive(64).size(), 64U);
  ::kill(static_cast<pid_t>(child.id()), SIGPIPE);
  child.send(pingFrame());
  EXPECT_EQ(child.receive(64).size(), 64U);
  child.endInput();
  EXPECT_EQ(child.end(), "exit code 0");
}

// In KiB.
long residentSize(const ChildProcess& child) {
  std::ifstream status("/proc/" + std::to_string(child.id()) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmRSS:", 0) == 0) return std::strtol(line.c_str() + 6, nullptr, 10);
  }
  ADD_FAILURE() << "no resident size";
  return 0;
}

TEST(WorkerExecutable, IsSmallWhileItIsIdle) {
  if (isSanitized()) GTEST_SKIP() << "the sanitizers need memory of their own";
  constexpr long kIdleSizeMax = 6 * 1024;  // KiB.
  ChildProcess child;
  child.send(pingFrame());
  ASSERT_EQ(child.receive(64).size(), 64U);
  EXPECT_LT(residentSize(child), kIdleSizeMax);
  EXPECT_GT(residentSize(child), 0);
  child.send(referenceConversation().input());
  ASSERT_EQ(child.receive(referenceConversation().output().size()).size(),
            referenceConversation().output().size());
  EXPECT_LT(residentSize(child), kIdleSizeMax);
}

// The number of pages that the system has given the process so far.
long pageFaults(const ChildProcess& child) {
  std::ifstream file("/proc/" + std::to_string(child.id()) + "/stat");
  std::string text{std::istreambuf_iterator<char>(file), {}};
  std::istringstream fields(text.substr(text.rfind(')') + 1));
  std::string ignored;
  for (int i = 3; i < 10; ++i) fields >> ignored;  // Those before the tenth, but for two.
  long count = 0;
  EXPECT_TRUE(fields >> count);
  return count;
}

TEST(WorkerExecutable, KeepsTheMemoryOfALargeRequestForTheNext) {
  if (isSanitized()) GTEST_SKIP() << "the sanitizers have a heap of their own";
  constexpr int kRoundCount = 10;
  constexpr long kFaultsPerRoundMax = 32;  // The text alone has 190 pages.
  std::string program;
  for (int i = 0; i < 25000; ++i) program += "(SETQ A (QUOTE (1 2 3 4 5 6)))\n";
  program += "1";
  ChildProcess child;
  long faults_before = 0;
  for (int round = -kRoundCount; round < kRoundCount; ++round) {
    if (round == 0) faults_before = pageFaults(child);
    child.send(programFrame(program));
    const std::string response = child.receive(64 + 65);
    ASSERT_EQ(response.size(), 64U + 65);
    ASSERT_EQ(response.back(), '1');
  }
  EXPECT_LT(pageFaults(child) - faults_before, kRoundCount * kFaultsPerRoundMax);
}

TEST(WorkerExecutable, UsesNoTimeWhileItWaits) {
  ChildProcess child;
  child.send(pingFrame() + programFrame("(GETPOINT)").substr(0, 70));
  ASSERT_EQ(child.receive(64).size(), 64U);
  std::this_thread::sleep_for(milliseconds(20));
  const auto before = child.processorTime();
  std::this_thread::sleep_for(milliseconds(200));
  EXPECT_LT(child.processorTime() - before, milliseconds(10));
}

// However much a worker holds, letting go takes no time: nobody waits for what is forgotten.
TEST(WorkerExecutable, LeavesAtOnceWithMillionsOfValues) {
  constexpr int kRunCount = 50;
  constexpr int kCountPerRun = 27000;  // Of nine steps each.
  ChildProcess child;
  child.send(programFrame("(SETQ X nil Y nil)"));
  ASSERT_EQ(child.receive(64 + 67).size(), 64U + 67);
  const std::string nest = programFrame("(SETQ I 0) (WHILE (< I " + std::to_string(kCountPerRun) +
                                        ") (SETQ X (LIST X) I (1+ I))) 1");
  const std::string lengthen =
      programFrame("(SETQ I 0) (WHILE (< I " + std::to_string(kCountPerRun) +
                   ") (SETQ Y (CONS I Y) I (1+ I))) 1");
  for (int run = 0; run < kRunCount; ++run) {
    for (const std::string& request : {nest, lengthen}) {
      child.send(request);
      const std::string response = child.receive(64 + 65);
      ASSERT_EQ(response.size(), 64U + 65);
      ASSERT_EQ(response.back(), '1');
    }
  }
  // A pending run holds all of it, too.
  child.send(programFrame("(SETQ X (LIST X)) (GETPOINT)"));
  ASSERT_EQ(child.receive(64 + 66).size(), 64U + 66);

  const auto used = child.processorTime();
  const auto begin = std::chrono::steady_clock::now();
  child.endInput();
  EXPECT_EQ(child.end(), "exit code 0");
  const auto elapsed = std::chrono::steady_clock::now() - begin;
  const auto limit = isSanitized() ? milliseconds(5000) : milliseconds(200);
  EXPECT_LT(child.processorTime() - used, limit);
  // The machine may be busy with other things.
  EXPECT_LT(elapsed, limit * 5);
  EXPECT_EQ(child.errors(), "");
}

}  // namespace
}  // namespace lisp_worker::testing_support
