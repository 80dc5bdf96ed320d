// The worker as a process on Windows: handles that are none, hosts that are killed, and what a
// worker has of its host.
//
// A host that is killed is this program itself: started with a role in its environment, it plays
// the host instead of running tests.

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "lisp_worker/client/process.h"
#include "testing/base/same_bytes.h"
#include "testing/formats/reference_conversation.h"
#include "testing/workers/child_process.h"
#include "testing/workers/executable_worker.h"
#include "testing/workers/worker_process.h"

namespace lisp_worker::testing_support {
namespace {

constexpr const char* kRoleVariable = "LISP_DEAD_HOST_ROLE";
constexpr DWORD kPatience = 20000;   // Milliseconds.
constexpr UINT kKilledExitCode = 9;  // Of a host.

SystemStream toStream(HANDLE handle) { return reinterpret_cast<SystemStream>(handle); }

// A pipe whose ends every child inherits.
class InheritablePipe {
 public:
  InheritablePipe() {
    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    EXPECT_TRUE(::CreatePipe(&read_end_, &write_end_, &inheritable, 0));
  }
  ~InheritablePipe() {
    ::CloseHandle(read_end_);
    closeWriteEnd();
  }
  InheritablePipe(const InheritablePipe&) = delete;
  InheritablePipe& operator=(const InheritablePipe&) = delete;

  [[nodiscard]] HANDLE readEnd() const { return read_end_; }
  [[nodiscard]] HANDLE writeEnd() const { return write_end_; }
  void closeWriteEnd() {
    if (write_end_ != nullptr) ::CloseHandle(write_end_);
    write_end_ = nullptr;
  }

 private:
  HANDLE read_end_ = nullptr;
  HANDLE write_end_ = nullptr;
};

// Handles that a careless host gives: the value that means failure, one that names nothing,
// and one that names something else.
std::array<SystemStream, 3> badHandles(HANDLE something_else) {
  return {toStream(INVALID_HANDLE_VALUE), 0x7FF0, toStream(something_else)};
}

TEST(Win32Worker, TakesAnInputThatIsNoneForItsEnd) {
  const InheritablePipe pipe;
  for (const SystemStream bad : badHandles(pipe.writeEnd())) {
    ChildProcess child({.input = bad});
    EXPECT_EQ(child.receiveAll(), "") << bad;
    EXPECT_EQ(child.end(), "exit code 0") << bad;
    EXPECT_EQ(child.errors(), "") << bad;
  }
}

TEST(Win32Worker, CannotWriteToAnOutputThatIsNone) {
  const InheritablePipe pipe;
  for (const SystemStream bad : badHandles(pipe.readEnd())) {
    ChildProcess child({.output = bad});
    child.send(pingFrame());
    EXPECT_EQ(child.end(), "exit code 6") << bad;
    EXPECT_EQ(child.errors(), "") << bad;
  }
}

// On any pipe of Windows a write of no bytes arrives as a read of no bytes; where the tests run,
// only a pipe of messages does that.
TEST(Win32Worker, TakesAWriteOfNothingForTheEndOfItsInput) {
  const std::string name =
      "\\\\.\\pipe\\lisp_worker_test_" + std::to_string(::GetCurrentProcessId());
  const HANDLE write_end = ::CreateNamedPipeA(name.c_str(), PIPE_ACCESS_OUTBOUND, PIPE_TYPE_MESSAGE,
                                              1, 0, 0, 0, nullptr);
  ASSERT_NE(write_end, INVALID_HANDLE_VALUE);
  SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  const HANDLE read_end =
      ::CreateFileA(name.c_str(), GENERIC_READ, 0, &inheritable, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(read_end, INVALID_HANDLE_VALUE);
  ChildProcess child({.input = toStream(read_end)});
  const std::string ping = pingFrame();
  DWORD count = 0;
  ASSERT_TRUE(
      ::WriteFile(write_end, ping.data(), static_cast<DWORD>(ping.size()), &count, nullptr));
  EXPECT_EQ(child.receive(ping.size()).size(), ping.size());
  ASSERT_TRUE(::WriteFile(write_end, ping.data(), 0, &count, nullptr));
  EXPECT_EQ(child.end(), "exit code 0");
  ::CloseHandle(read_end);
  ::CloseHandle(write_end);
}

// Files work as well as pipes, though no host needs them: a conversation may be kept and poured in.
class TemporaryFile {
 public:
  TemporaryFile() {
    std::array<char, MAX_PATH> directory{};
    std::array<char, MAX_PATH> path{};
    EXPECT_NE(::GetTempPathA(directory.size(), directory.data()), 0U);
    EXPECT_NE(::GetTempFileNameA(directory.data(), "wrk", 0, path.data()), 0U);
    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    handle_ = ::CreateFileA(path.data(), GENERIC_READ | GENERIC_WRITE, 0, &inheritable,
                            CREATE_ALWAYS, FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    EXPECT_NE(handle_, INVALID_HANDLE_VALUE);
  }
  ~TemporaryFile() { ::CloseHandle(handle_); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  [[nodiscard]] HANDLE handle() const { return handle_; }

  void put(std::string_view bytes) const {
    DWORD count = 0;
    EXPECT_TRUE(
        ::WriteFile(handle_, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr));
    EXPECT_EQ(count, bytes.size());
    rewind();
  }

  [[nodiscard]] std::string takeAll() const {
    rewind();
    std::string bytes(::GetFileSize(handle_, nullptr), '\0');
    DWORD count = 0;
    EXPECT_TRUE(
        ::ReadFile(handle_, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr));
    EXPECT_EQ(count, bytes.size());
    return bytes;
  }

 private:
  void rewind() const { ::SetFilePointer(handle_, 0, nullptr, FILE_BEGIN); }

  HANDLE handle_ = nullptr;
};

TEST(Win32Worker, ConversesOverFilesByteForByte) {
  const TemporaryFile input;
  const TemporaryFile output;
  input.put(referenceConversation().input());
  ChildProcess child({.input = toStream(input.handle()), .output = toStream(output.handle())});
  EXPECT_EQ(child.end(), "exit code 0");
  EXPECT_TRUE(areSameBytes(output.takeAll(), referenceConversation().output()));
}

// A pipe that a child inherits breaks only when the child has gone, too. A worker that the client
// library starts has its own two pipes and nothing else, no matter which handles its host leaves
// open.
TEST(Win32Worker, InheritsItsPipesAndNothingElse) {
  InheritablePipe careless;
  ChildProcess heir;
  heir.send(pingFrame());
  ASSERT_EQ(heir.receive(64).size(), 64U);
  ExecutableWorker worker;
  ASSERT_EQ(worker.handle({worker::MessageType::Ping, 0, 0, ""}).status, worker::WorkerStatus::Ok);
  careless.closeWriteEnd();
  const auto is_broken = [&] {
    return !::PeekNamedPipe(careless.readEnd(), nullptr, 0, nullptr, nullptr, nullptr) &&
           ::GetLastError() == ERROR_BROKEN_PIPE;
  };
  EXPECT_FALSE(is_broken()) << "this test cannot tell";
  heir.endInput();
  EXPECT_EQ(heir.end(), "exit code 0");
  for (DWORD waited = 0; waited < kPatience && !is_broken(); ++waited) ::Sleep(1);
  EXPECT_TRUE(is_broken());
  EXPECT_EQ(worker.handle({worker::MessageType::Ping, 0, 0, ""}).status, worker::WorkerStatus::Ok);
}

// Two processes, by their numbers.
struct Numbers {
  std::uint32_t host;
  std::uint32_t worker;
};

// In the host's process: starts a worker, talks to it, reports both numbers and waits to be killed.
void beHost(std::string_view role) {
  const std::vector<DeadHostRow> rows = deadHosts();
  const auto row = std::ranges::find(rows, role, &DeadHostRow::name);
  if (row == rows.end()) return;
  const ChildProcess worker;
  worker.send(row->last_words);
  if (worker.receive(row->heard).size() != row->heard) return;
  const Numbers numbers{::GetCurrentProcessId(), static_cast<std::uint32_t>(worker.id())};
  DWORD count = 0;
  ::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), &numbers, sizeof numbers, &count, nullptr);
  ::Sleep(kPatience);
}

// Runs before main: a process with a role never reaches the tests.
const bool kHasNoRole = [] {
  const char* const role = std::getenv(kRoleVariable);
  if (role == nullptr) return true;
  beHost(role);
  ::TerminateProcess(::GetCurrentProcess(), 1);
  return false;
}();

// A process that lives, or has lived.
class Process {
 public:
  explicit Process(std::uint32_t number)
      : handle_(::OpenProcess(SYNCHRONIZE | PROCESS_TERMINATE | PROCESS_QUERY_INFORMATION, FALSE,
                              number)) {
    EXPECT_NE(handle_, nullptr);
  }
  ~Process() { ::CloseHandle(handle_); }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  [[nodiscard]] bool isRunning() const { return ::WaitForSingleObject(handle_, 0) == WAIT_TIMEOUT; }
  void kill() const { EXPECT_TRUE(::TerminateProcess(handle_, kKilledExitCode)); }

  // As ChildProcess::end.
  [[nodiscard]] std::string end() const {
    if (::WaitForSingleObject(handle_, kPatience) != WAIT_OBJECT_0) return "still running";
    DWORD code = 0;
    EXPECT_TRUE(::GetExitCodeProcess(handle_, &code));
    return "exit code " + std::to_string(code);
  }

 private:
  HANDLE handle_;
};

std::unique_ptr<client::WorkerProcess> startHost(const std::string& role) {
  std::array<wchar_t, 32768> path{};
  ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  ::SetEnvironmentVariableA(kRoleVariable, role.c_str());
  std::string error;
  auto host = client::startWorker(path.data(), &error);
  ::SetEnvironmentVariableA(kRoleVariable, nullptr);
  EXPECT_NE(host, nullptr) << error;
  return host;
}

class Win32WorkerOfADeadHost : public testing::TestWithParam<DeadHostRow> {};

TEST_P(Win32WorkerOfADeadHost, EndsByItselfWithItsCode) {
  ASSERT_TRUE(kHasNoRole);
  const auto started = startHost(GetParam().name);
  ASSERT_NE(started, nullptr);
  std::array<char, sizeof(Numbers)> report{};
  ASSERT_EQ(started->read(report.data(), report.size()), report.size());
  Numbers numbers{};
  std::memcpy(&numbers, report.data(), report.size());
  const Process host(numbers.host);
  const Process worker(numbers.worker);
  EXPECT_TRUE(worker.isRunning());
  host.kill();
  EXPECT_EQ(host.end(), "exit code " + std::to_string(kKilledExitCode));
  EXPECT_EQ(worker.end(), GetParam().end);
}

INSTANTIATE_TEST_SUITE_P(Rows, Win32WorkerOfADeadHost, testing::ValuesIn(deadHosts()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace lisp_worker::testing_support
