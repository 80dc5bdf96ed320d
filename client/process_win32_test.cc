// What the system is asked for when a worker starts and ends, seen on Windows.
//
// A worker that misbehaves is this program itself: started with a role in its environment, it
// plays that instead of running tests.

#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "client/process.h"
#include "client/worker_client.h"

namespace client {
namespace {

constexpr const char* kRoleVariable = "LISP_PROCESS_TEST_ROLE";
constexpr UINT kCrashCode = 0xC0000005;  // An access violation.
constexpr DWORD kLongWhile = 60000;      // Milliseconds.

// Runs before main: a process with a role never reaches the tests.
const bool kHasNoRole = [] {
  const char* const variable = std::getenv(kRoleVariable);
  const std::string_view role = variable == nullptr ? "" : variable;
  if (role == "outlive") ::Sleep(kLongWhile);
  if (role == "crash") ::TerminateProcess(::GetCurrentProcess(), kCrashCode);
  return role.empty();
}();

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

std::unique_ptr<WorkerProcess> startRealWorker() {
  const char* const path = std::getenv("LISP_WORKER_PATH");
  EXPECT_NE(path, nullptr) << "LISP_WORKER_PATH names no worker; ctest sets it";
  return path == nullptr ? nullptr : startWorker(path, nullptr);
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
  EXPECT_EQ(worker.ping(), ::worker::WorkerStatus::Ok);
  ::CloseHandle(careless_write_end);
  // The pipe is broken at once, because the worker, still there, holds no end of it.
  EXPECT_FALSE(::PeekNamedPipe(read_end, nullptr, 0, nullptr, nullptr, nullptr));
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_BROKEN_PIPE));
  ::CloseHandle(read_end);
}

TEST(Win32WorkerProcess, LeavesNoHandleBehind) {
  const auto countHandles = [] {
    DWORD count = 0;
    ::GetProcessHandleCount(::GetCurrentProcess(), &count);
    return count;
  };
  ASSERT_NE(startRealWorker(), nullptr);  // The first start may open what the system keeps.
  const DWORD before = countHandles();
  for (int n = 0; n < 20; ++n) {
    ASSERT_NE(startRealWorker(), nullptr);
    ASSERT_EQ(startWorker("no\\such\\worker.exe", nullptr), nullptr);
  }
  EXPECT_EQ(countHandles(), before);
}

}  // namespace
}  // namespace client
