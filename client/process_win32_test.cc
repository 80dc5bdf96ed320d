// The start and the end of a worker, seen on Windows.
//
// A worker that misbehaves is this program itself: started with a role in its environment, it
// plays that instead of running tests.

#include <gtest/gtest.h>
// clang-format off
#include <windows.h>
#include <tlhelp32.h>  // Uses the types of the one before.
// clang-format on

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "lisp_worker/client/process.h"
#include "lisp_worker/client/worker.h"
#include "lisp_worker/client/worker_client.h"
#include "testing/base/test_environment.h"
#include "testing/workers/executable_worker.h"

namespace lisp_worker::client {
namespace {

constexpr const char* kRoleVariable = "LISP_PROCESS_TEST_ROLE";
constexpr UINT kCrashCode = 0xC0000005;  // An access violation.
constexpr DWORD kLongWhile = 60000;      // Milliseconds.

std::unique_ptr<WorkerProcess> startInRole(const char* role) {
  std::array<wchar_t, 32768> path{};
  ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  ::SetEnvironmentVariableA(kRoleVariable, role);
  std::string error;
  auto process = startWorker(path.data(), &error);
  ::SetEnvironmentVariableA(kRoleVariable, nullptr);
  EXPECT_NE(process, nullptr) << error;
  return process;
}

void tellProcessId(DWORD id) {
  std::printf("%lu\n", id);
  std::fflush(stdout);
}

DWORD readProcessId(WorkerProcess& process) {
  std::array<char, 32> line{};
  static_cast<void>(process.readSome(line.data(), line.size() - 1));
  return std::strtoul(line.data(), nullptr, 10);
}

// Runs before main: a process with a role never reaches the tests.
const bool kHasNoRole = [] {
  const char* const variable = std::getenv(kRoleVariable);
  const std::string_view role = variable == nullptr ? "" : variable;
  if (role.empty()) return true;
  if (role == "outlive") {
    tellProcessId(::GetCurrentProcessId());
    ::Sleep(kLongWhile);
  }
  if (role == "crash") ::TerminateProcess(::GetCurrentProcess(), kCrashCode);
  if (role == "host") {
    const auto worker = startInRole("outlive");
    tellProcessId(readProcessId(*worker));
    ::Sleep(kLongWhile);
  }
  std::_Exit(1);
}();

std::unique_ptr<WorkerProcess> startRealWorker() {
  std::string error;
  auto process = startWorker(testing_support::workerExecutable(), &error);
  EXPECT_NE(process, nullptr) << error;
  return process;
}

DWORD countHandles() {
  DWORD count = 0;
  ::GetProcessHandleCount(::GetCurrentProcess(), &count);
  return count;
}

// Of this process, those that have ended left out.
int countChildren() {
  const HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof(entry);
  int count = 0;
  for (BOOL more = ::Process32FirstW(snapshot, &entry); more != 0;
       more = ::Process32NextW(snapshot, &entry)) {
    if (entry.th32ParentProcessID == ::GetCurrentProcessId()) ++count;
  }
  ::CloseHandle(snapshot);
  return count;
}

TEST(Win32WorkerProcess, IsKilledWhenItOutlivesItsInput) {
  ASSERT_TRUE(kHasNoRole);
  const auto process = startInRole("outlive");
  ASSERT_NE(process, nullptr);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(process->finish(), (WorkerExit{WorkerExit::Kind::Killed, 0}));
  const auto elapsed = std::chrono::steady_clock::now() - begin;
  EXPECT_GE(elapsed, kExitGrace);
  EXPECT_LT(elapsed, kExitGrace + std::chrono::seconds(20));
  EXPECT_FALSE(process->write("x"));
  char byte = 0;
  EXPECT_EQ(process->read(&byte, 1), 0u);
}

TEST(Win32WorkerProcess, TellsACrashByItsExitCode) {
  const auto process = startInRole("crash");
  ASSERT_NE(process, nullptr);
  char byte = 0;
  EXPECT_EQ(process->read(&byte, 1), 0u);
  EXPECT_EQ(process->finish(), (WorkerExit{WorkerExit::Kind::Exited, kCrashCode}));
}

TEST(Win32WorkerProcess, InheritsNoOtherHandle) {
  HANDLE read_end = nullptr;
  HANDLE careless_write_end = nullptr;
  SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  ASSERT_TRUE(::CreatePipe(&read_end, &careless_write_end, &inheritable, 0));
  const auto process = startRealWorker();
  ASSERT_NE(process, nullptr);
  WorkerClient worker(*process);
  EXPECT_EQ(worker.ping(), lisp_worker::worker::WorkerStatus::Ok);
  ::CloseHandle(careless_write_end);
  // The pipe is broken at once, because the worker, still there, holds no end of it.
  EXPECT_FALSE(::PeekNamedPipe(read_end, nullptr, 0, nullptr, nullptr, nullptr));
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_BROKEN_PIPE));
  ::CloseHandle(read_end);
}

TEST(Win32WorkerProcess, LeavesNoHandleBehind) {
  ASSERT_NE(startRealWorker(), nullptr);  // The first start may open what the system keeps.
  const DWORD before = countHandles();
  for (int n = 0; n < 20; ++n) {
    ASSERT_NE(startRealWorker(), nullptr);
    ASSERT_EQ(startWorker("no\\such\\worker.exe", nullptr), nullptr);
  }
  EXPECT_EQ(countHandles(), before);
}

TEST(Win32WorkerProcess, LeavesNothingBehindHoweverOftenAWorkerIsKilled) {
  const std::size_t count = testing_support::setting("LISP_START_COUNT", 300);
  ASSERT_EQ(countChildren(), 0);
  {
    const auto one = startRealWorker();
    EXPECT_EQ(countChildren(), 1);
  }
  const DWORD before = countHandles();
  {
    Worker worker(testing_support::workerExecutable());
    for (std::size_t n = 0; n < count; ++n) {
      ASSERT_TRUE(worker.restart()) << worker.fault()->message;
      // Killed while it is idle, or not even there yet.
      if (n % 2 == 0) {
        ASSERT_EQ(worker.ping(), lisp_worker::worker::WorkerStatus::Ok);
      }
    }
  }
  EXPECT_EQ(countHandles(), before);
  EXPECT_EQ(countChildren(), 0);
}

// Who dies cannot clean up, and the worker does not look whether its pipes are broken.
TEST(Win32WorkerProcess, EndsWhenItsHostIsKilled) {
  const auto host = startInRole("host");
  ASSERT_NE(host, nullptr);
  const HANDLE worker = ::OpenProcess(SYNCHRONIZE, FALSE, readProcessId(*host));
  ASSERT_NE(worker, nullptr);
  EXPECT_EQ(::WaitForSingleObject(worker, 0), static_cast<DWORD>(WAIT_TIMEOUT));
  EXPECT_EQ(host->finishWithin(std::chrono::milliseconds(0)),
            (WorkerExit{WorkerExit::Kind::Killed, 0}));
  EXPECT_EQ(::WaitForSingleObject(worker, kLongWhile / 3), static_cast<DWORD>(WAIT_OBJECT_0));
  ::CloseHandle(worker);
}

}  // namespace
}  // namespace lisp_worker::client
