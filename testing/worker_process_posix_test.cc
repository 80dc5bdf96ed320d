// The worker as a process: how it ends, and what it does to the system that it lives in.

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
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "testing/child_process.h"
#include "testing/executable_worker.h"
#include "testing/reference_conversation.h"
#include "testing/scenario.h"
#include "testing/wire_frames.h"
#include "worker/frame.h"

namespace testing_support {
namespace {

using std::chrono::milliseconds;
using worker::kHeaderSize;
using worker::MessageHeader;
using worker::MessageType;

#ifdef __SANITIZE_ADDRESS__
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

std::string frame(MessageType type, std::string_view payload = {}) {
  return frameBytes(requestHeader(type), payload);
}

std::string program(std::string_view text) { return frame(MessageType::EvalStart, text); }

// A program with a result of nearly 1 MiB, far more than a pipe holds.
std::string wordyProgram() { return program("\"" + std::string(1000000, 's') + "\""); }

// Sends `input` and the end of it while the output is read, as a shell's pipeline does.
struct Poured {
  std::string output;
  std::string end;
  std::string errors;
};

Poured pour(const std::string& input, const ChildSettings& settings = {}) {
  ChildProcess child(settings);
  std::thread host([&] {
    child.send(input);
    child.endInput();
  });
  Poured poured;
  poured.output = child.receiveAll();
  host.join();
  poured.end = child.end();
  poured.errors = child.errors();
  return poured;
}

// Ends of every kind.

struct EndRow {
  std::string name;
  std::string input;
  std::string end;
  std::size_t output_size;

  friend void PrintTo(const EndRow& row, std::ostream* out) { *out << row.name; }
};

class EndOfAWorker : public testing::TestWithParam<EndRow> {};

TEST_P(EndOfAWorker, IsToldByItsExitCodeAlone) {
  const Poured poured = pour(GetParam().input);
  EXPECT_EQ(poured.end, GetParam().end);
  EXPECT_EQ(poured.errors, "");
  EXPECT_EQ(poured.output.size(), GetParam().output_size);
}

TEST_P(EndOfAWorker, IsTheSameInProcess) {
  const WorkerLife life = liveInProcess(GetParam().input);
  EXPECT_EQ("exit code " + std::to_string(life.exit_code), GetParam().end);
  EXPECT_TRUE(life.output == pour(GetParam().input).output);
}

MessageHeader badHeader(std::uint32_t magic, std::uint16_t version, std::uint32_t payload_length) {
  MessageHeader header = requestHeader(MessageType::Ping);
  header.magic = magic;
  header.version = version;
  header.payload_length = payload_length;
  return header;
}

std::vector<EndRow> ends() {
  const std::string ping = frame(MessageType::Ping);
  return {
      {"NoInput", "", "exit code 0", 0},
      {"HeaderCut", ping + ping.substr(0, 30), "exit code 0", 64},
      {"Pings", ping + ping + ping, "exit code 0", 192},
      {"Shutdown", ping + frame(MessageType::Shutdown, "x") + ping, "exit code 0", 128},
      {"BadMagic", ping + headerBytes(badHeader(0, 3, 0)) + ping, "exit code 2", 128},
      {"BadVersion", headerBytes(badHeader(worker::kMagic, 4, 0)) + ping, "exit code 3", 64},
      {"PayloadTooLarge",
       headerBytes(badHeader(worker::kMagic, 3, 0x100001)) + std::string(0x100001, 'x') + ping,
       "exit code 4", 64},
      {"PayloadCut", ping + program(std::string(100, ' ')).substr(0, 104), "exit code 5", 64},
      {"PayloadMissing", program("1").substr(0, 64), "exit code 5", 0},
      {"EndAfterALargeResult", wordyProgram(), "exit code 0", 64 + 64 + 1000002},
      {"Reference", referenceConversation().input(), "exit code 0",
       referenceConversation().output().size()},
  };
}

INSTANTIATE_TEST_SUITE_P(Rows, EndOfAWorker, testing::ValuesIn(ends()),
                         [](const auto& row) { return row.param.name; });

TEST(WorkerProcess, SaysTheSameWhateverThePiecesThatItsInputComesIn) {
  const std::string input = referenceConversation().input();
  ChildProcess child;
  std::thread host([&] {
    for (std::size_t i = 0; i < input.size(); ++i) child.send(input.substr(i, 1));
    child.endInput();
  });
  EXPECT_TRUE(child.receiveAll() == referenceConversation().output());
  host.join();
  EXPECT_EQ(child.end(), "exit code 0");
}

// Streams that are not there.

TEST(WorkerProcess, EndsWithoutAnInput) {
  ChildProcess child({.closes_input = true});
  EXPECT_EQ(child.receiveAll(), "");
  EXPECT_EQ(child.end(), "exit code 0");
  EXPECT_EQ(child.errors(), "");
}

TEST(WorkerProcess, EndsWithoutInputAndOutput) {
  ChildProcess child({.closes_input = true, .closes_output = true});
  EXPECT_EQ(child.end(), "exit code 0");
  EXPECT_EQ(child.errors(), "");
}

struct NoOutputRow {
  std::string name;
  std::string input;
  std::string end;

  friend void PrintTo(const NoOutputRow& row, std::ostream* out) { *out << row.name; }
};

class WorkerWithoutOutput : public testing::TestWithParam<NoOutputRow> {};

TEST_P(WorkerWithoutOutput, EndsWithItsCode) {
  const Poured poured = pour(GetParam().input, {.closes_output = true});
  EXPECT_EQ(poured.end, GetParam().end);
  EXPECT_EQ(poured.errors, "");
}

// The reader has left before the worker writes: the same, but a signal waits for the careless.
TEST_P(WorkerWithoutOutput, EndsWithTheSameCodeWhenItsReaderHasLeft) {
  ChildProcess child;
  child.closeOutput();
  child.send(GetParam().input);
  child.endInput();
  EXPECT_EQ(child.end(), GetParam().end);
  EXPECT_EQ(child.errors(), "");
}

INSTANTIATE_TEST_SUITE_P(
    Rows, WorkerWithoutOutput,
    testing::Values(
        NoOutputRow{"NoInput", "", "exit code 0"},
        NoOutputRow{"Ping", frame(MessageType::Ping), "exit code 6"},
        NoOutputRow{"LargeResult", wordyProgram(), "exit code 6"},
        NoOutputRow{"Shutdown", frame(MessageType::Shutdown), "exit code 0"},
        NoOutputRow{"BadMagic", headerBytes(badHeader(0, 3, 0)), "exit code 2"},
        NoOutputRow{"BadVersion", headerBytes(badHeader(worker::kMagic, 2, 0)), "exit code 3"},
        NoOutputRow{"PayloadTooLarge", headerBytes(badHeader(worker::kMagic, 3, 0xFFFFFFFF)),
                    "exit code 4"},
        NoOutputRow{"PayloadCut", program("1").substr(0, 64), "exit code 5"}),
    [](const auto& row) { return row.param.name; });

// A reader that leaves in the middle of a response.

TEST(WorkerProcess, TellsThatThePayloadWasLeft) {
  for (const std::size_t taken : {64U, 65U, 128U, 100000U, 900000U}) {
    ChildProcess child;
    child.send(wordyProgram());
    EXPECT_EQ(child.receive(taken).size(), taken);
    child.closeOutput();
    EXPECT_EQ(child.end(), "exit code 7") << taken;
    EXPECT_EQ(child.errors(), "");
  }
}

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

TEST(WorkerProcess, TellsHeaderFromPayloadByTheBytesWritten) {
  const std::filesystem::path path =
      std::filesystem::temp_directory_path() / ("lisp_worker_output." + std::to_string(::getpid()));
  const std::string input = frame(MessageType::Ping) + program("(+ 1 2)");
  const std::string output = liveInProcess(input).output;
  ASSERT_EQ(output.size(), 64U + 64 + 65);
  for (std::size_t size_max = 0; size_max <= output.size(); ++size_max) {
    std::string end;
    {
      ChildSettings settings;
      settings.output_path = path.string();
      ChildProcess child = [&] {
        const FileLimit limit(size_max);
        return ChildProcess(settings);
      }();
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

struct DeadHostRow {
  std::string name;
  std::string last_words;  // What the host has sent when it dies,
  std::size_t heard;       // and how many bytes it has received.
  std::string end;

  friend void PrintTo(const DeadHostRow& row, std::ostream* out) { *out << row.name; }
};

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

INSTANTIATE_TEST_SUITE_P(
    Rows, WorkerOfADeadHost,
    testing::Values(DeadHostRow{"BetweenFrames", frame(MessageType::Ping), 64, "exit code 0"},
                    DeadHostRow{"InAHeader", frame(MessageType::Ping).substr(0, 33), 0,
                                "exit code 0"},
                    DeadHostRow{"InAPayload", program("(+ 1 2)").substr(0, 67), 0, "exit code 5"},
                    DeadHostRow{"WithARunPending", program("(GETPOINT)"), 64 + 66, "exit code 0"},
                    DeadHostRow{"InTheMiddleOfAResponse", wordyProgram(), 100, "exit code 7"}),
    [](const auto& row) { return row.param.name; });

// What the worker leaves alone.

TEST(WorkerProcess, IgnoresArguments) {
  const std::string input = frame(MessageType::Ping) + program("(+ 1 2)");
  const Poured plain = pour(input);
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"--help"}, {"--version", "-v"}, {"/etc/passwd"}, {""}, {"\xFF"}}) {
    const Poured poured = pour(input, {.arguments = arguments});
    EXPECT_EQ(poured.output, plain.output) << arguments[0];
    EXPECT_EQ(poured.end, "exit code 0") << arguments[0];
    EXPECT_EQ(poured.errors, "") << arguments[0];
  }
}

std::set<std::string> openDescriptors(const ChildProcess& child) {
  std::set<std::string> names;
  const std::string directory = "/proc/" + std::to_string(child.id()) + "/fd";
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    names.insert(entry.path().filename().string());
  }
  return names;
}

TEST(WorkerProcess, HasTheThreeStandardStreamsAndOpensNothing) {
  const std::set<std::string> standard = {"0", "1", "2"};
  ChildProcess child;
  child.send(frame(MessageType::Ping));
  ASSERT_EQ(child.receive(64).size(), 64U);
  EXPECT_EQ(openDescriptors(child), standard);
  child.send(referenceConversation().input());
  ASSERT_EQ(child.receive(referenceConversation().output().size()),
            referenceConversation().output());
  EXPECT_EQ(openDescriptors(child), standard);
}

TEST(WorkerProcess, DiesOfNoSignalThatAPipeCanSend) {
  ChildProcess child;
  child.send(frame(MessageType::Ping));
  ASSERT_EQ(child.receive(64).size(), 64U);
  ::kill(child.id(), SIGPIPE);
  child.send(frame(MessageType::Ping));
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

TEST(WorkerProcess, IsSmallWhileItIsIdle) {
  if (kSanitized) GTEST_SKIP() << "the sanitizers need memory of their own";
  constexpr long kIdleSizeMax = 6 * 1024;  // KiB.
  ChildProcess child;
  child.send(frame(MessageType::Ping));
  ASSERT_EQ(child.receive(64).size(), 64U);
  EXPECT_LT(residentSize(child), kIdleSizeMax);
  EXPECT_GT(residentSize(child), 0);
  child.send(referenceConversation().input());
  ASSERT_EQ(child.receive(referenceConversation().output().size()).size(),
            referenceConversation().output().size());
  EXPECT_LT(residentSize(child), kIdleSizeMax);
}

TEST(WorkerProcess, UsesNoTimeWhileItWaits) {
  ChildProcess child;
  child.send(frame(MessageType::Ping) + program("(GETPOINT)").substr(0, 70));
  ASSERT_EQ(child.receive(64).size(), 64U);
  std::this_thread::sleep_for(milliseconds(20));
  const auto before = child.processorTime();
  std::this_thread::sleep_for(milliseconds(200));
  EXPECT_LT(child.processorTime() - before, milliseconds(10));
}

// However much a worker holds, letting go takes no time: nobody waits for what is forgotten.
TEST(WorkerProcess, LeavesAtOnceWithMillionsOfValues) {
  constexpr int kRunCount = 50;
  constexpr int kCountPerRun = 27000;  // Of nine steps each.
  ChildProcess child;
  child.send(program("(SETQ X nil Y nil)"));
  ASSERT_EQ(child.receive(64 + 67).size(), 64U + 67);
  const std::string nest = program("(SETQ I 0) (WHILE (< I " + std::to_string(kCountPerRun) +
                                   ") (SETQ X (LIST X) I (1+ I))) 1");
  const std::string lengthen = program("(SETQ I 0) (WHILE (< I " + std::to_string(kCountPerRun) +
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
  child.send(program("(SETQ X (LIST X)) (GETPOINT)"));
  ASSERT_EQ(child.receive(64 + 66).size(), 64U + 66);

  const auto used = child.processorTime();
  const auto begin = std::chrono::steady_clock::now();
  child.endInput();
  EXPECT_EQ(child.end(), "exit code 0");
  const auto elapsed = std::chrono::steady_clock::now() - begin;
  const auto limit = kSanitized ? milliseconds(5000) : milliseconds(200);
  EXPECT_LT(child.processorTime() - used, limit);
  // The machine may be busy with other things.
  EXPECT_LT(elapsed, limit * 5);
  EXPECT_EQ(child.errors(), "");
}

}  // namespace
}  // namespace testing_support
