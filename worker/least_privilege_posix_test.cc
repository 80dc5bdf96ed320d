// Every system call, one by one, in a process that has given up its rights as the worker does.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "testing/workers/child_process.h"
#include "testing/workers/child_process_posix.h"
#include "testing/workers/worker_process.h"
#include "worker/least_privilege.h"

namespace lisp_worker::worker {
namespace {

using testing_support::ChildProcess;
using testing_support::waitForEnd;

// Makes the call in a process with a worker's rights, and returns how that process ends: with exit
// code 0 when the call returns.
std::string endOf(const std::function<void()>& call) {
  const pid_t child = ::fork();
  if (child == 0) {
    giveUpPrivileges();
    call();
    ::syscall(SYS_exit_group, 0);
  }
  return waitForEnd(child, nullptr);
}

const std::string& killed() {
  static const std::string end = "signal " + std::to_string(SIGSYS);
  return end;
}

class LeastPrivilege : public testing::Test {
 protected:
  void SetUp() override {
    if (!restrictsSystemCalls()) GTEST_SKIP() << "nothing is restricted in this build";
    const pid_t child = ::fork();
    if (child == 0) {
      giveUpPrivileges();
      ::_exit(::prctl(PR_GET_SECCOMP, 0, 0, 0, 0) == 0 ? 1 : 0);
    }
    if (waitForEnd(child, nullptr) == "exit code 1") GTEST_SKIP() << "the system has no filters";
  }
};

// Those that do nothing when they are allowed, with arguments that the worker never uses.
const std::vector<long>& allowedNumbers() {
#ifdef SYS_poll
  static const long poll = SYS_poll;
#else
  static const long poll = SYS_ppoll;
#endif
  static const std::vector<long> numbers = {
      SYS_read,   SYS_write, SYS_writev,  SYS_brk,        SYS_mmap,
      SYS_munmap, poll,      SYS_madvise, SYS_exit_group, SYS_restart_syscall};
  return numbers;
}

// Linux puts these two into code of x86-64 that it traces, and asks no filter about them. From
// other code the first ends the process, and the second does nothing.
bool isOfProbes(long number) {
#ifdef __x86_64__
  return number == 335 || number == 336;
#else
  return number < 0;
#endif
}

TEST_F(LeastPrivilege, KillsEveryOtherCallByItsNumber) {
  constexpr long kNumberMax = 1024;  // The highest in use is below 500.
  int killed_count = 0;
  for (long number = 0; number < kNumberMax; ++number) {
    bool is_allowed = false;
    for (const long allowed : allowedNumbers()) is_allowed = is_allowed || number == allowed;
    if (is_allowed) continue;
    const std::string end = endOf([number] { ::syscall(number, -1, 0, 0, 0, 0, 0); });
    if (isOfProbes(number)) continue;
    ASSERT_EQ(end, killed()) << number;
    ++killed_count;
  }
  EXPECT_GE(killed_count, kNumberMax - 10 - 2);
}

struct CallRow {
  std::string name;
  std::function<void()> call;
};

char* page() {
  static char* const memory = static_cast<char*>(
      ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  return memory;
}

void mapMemory(int protection, int flags, int descriptor) {
  ::mmap(nullptr, 4096, protection, flags, descriptor, 0);
}

// By name, with arguments that would succeed.
std::vector<CallRow> forbiddenCalls() {
  constexpr int kPrivate = MAP_PRIVATE | MAP_ANONYMOUS;
  return {
      {"open a file", [] { ::syscall(SYS_openat, AT_FDCWD, "/dev/null", O_RDONLY); }},
#ifdef SYS_open
      {"open a file in the old way", [] { ::syscall(SYS_open, "/dev/null", O_RDONLY); }},
      {"fork", [] { ::syscall(SYS_fork); }},
      {"vfork", [] { ::syscall(SYS_vfork); }},
#endif
      {"make a file", [] { ::syscall(SYS_openat, AT_FDCWD, "/tmp", O_TMPFILE | O_RDWR, 0600); }},
      {"make a file in memory", [] { ::syscall(SYS_memfd_create, "x", 0); }},
      {"remove a file", [] { ::syscall(SYS_unlinkat, AT_FDCWD, "/no/such/file", 0); }},
      {"make a socket", [] { ::syscall(SYS_socket, 2, 1, 0); }},
      {"connect", [] { ::syscall(SYS_connect, 0, nullptr, 0); }},
      {"bind", [] { ::syscall(SYS_bind, 0, nullptr, 0); }},
      {"start a program",
       [] {
         const char* const arguments[] = {"/bin/true", nullptr};
         ::syscall(SYS_execve, arguments[0], arguments, nullptr);
       }},
      {"start a program by descriptor",
       [] { ::syscall(SYS_execveat, 0, "", nullptr, nullptr, 0); }},
      {"clone", [] { ::syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0); }},
      {"clone3", [] { ::syscall(SYS_clone3, nullptr, 0); }},
      {"trace a process", [] { ::syscall(SYS_ptrace, 0, 0, 0, 0); }},
      {"read another process", [] { ::syscall(SYS_process_vm_readv, 1, 0, 0, 0, 0, 0); }},
      {"send a signal", [] { ::syscall(SYS_kill, 0, 0); }},
      {"send a signal to a thread", [] { ::syscall(SYS_tgkill, 1, 1, 0); }},
      {"handle a signal", [] { ::syscall(SYS_rt_sigaction, SIGTERM, nullptr, nullptr, 8); }},
      {"change the filter", [] { ::syscall(SYS_seccomp, 0, 0, nullptr); }},
      {"change what the process may do", [] { ::prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0); }},
      {"protect memory anew", [] { ::syscall(SYS_mprotect, page(), 4096, PROT_READ | PROT_EXEC); }},
      {"move memory", [] { ::syscall(SYS_mremap, page(), 4096, 8192, 1); }},
      {"ask for the time", [] { ::syscall(SYS_clock_gettime, 0, page()); }},
      {"ask for the environment", [] { ::syscall(SYS_uname, page()); }},
      {"draw random bytes", [] { ::syscall(SYS_getrandom, page(), 8, 0); }},
      {"load a module", [] { ::syscall(SYS_finit_module, 0, "", 0); }},
      {"use io_uring", [] { ::syscall(SYS_io_uring_setup, 1, nullptr); }},
      {"duplicate a descriptor", [] { ::syscall(SYS_dup, 1); }},
      {"control a device", [] { ::syscall(SYS_ioctl, 0, 0x5401, page()); }},
      {"read another descriptor than the input", [] { ::syscall(SYS_read, 1, page(), 0); }},
      {"write to the input", [] { ::syscall(SYS_write, 0, page(), 0); }},
      {"write to a third descriptor", [] { ::syscall(SYS_write, 3, page(), 0); }},
      {"write pieces to the input", [] { ::syscall(SYS_writev, 0, nullptr, 0); }},
      {"write pieces to a third descriptor", [] { ::syscall(SYS_writev, 3, nullptr, 0); }},
      {"map code", [] { mapMemory(PROT_READ | PROT_EXEC, kPrivate, -1); }},
      {"map writable code", [] { mapMemory(PROT_READ | PROT_WRITE | PROT_EXEC, kPrivate, -1); }},
      {"map code alone", [] { mapMemory(PROT_EXEC, kPrivate, -1); }},
      {"map a growing stack",
       [] { mapMemory(PROT_READ | PROT_WRITE | PROT_GROWSDOWN, kPrivate, -1); }},
      {"map a file", [] { mapMemory(PROT_READ, MAP_PRIVATE, 0); }},
      {"map shared memory", [] { mapMemory(PROT_READ, MAP_SHARED | MAP_ANONYMOUS, -1); }},
#ifdef __x86_64__
      {"call with the numbers of 32 bits",
       [] {
         long result = 20;  // getpid
         asm volatile("int $0x80" : "+a"(result) : : "memory", "r8", "r9", "r10", "r11");
       }},
      {"read with the numbers of x32", [] { ::syscall(0x40000000 + SYS_read, 0, page(), 0); }},
#endif
  };
}

TEST_F(LeastPrivilege, KillsWhatAnAttackerWouldCall) {
  ASSERT_NE(page(), MAP_FAILED);
  for (const CallRow& row : forbiddenCalls()) EXPECT_EQ(endOf(row.call), killed()) << row.name;
}

TEST_F(LeastPrivilege, LetsTheWorkersCallsPass) {
  const std::string end = endOf([] {
    // The heap and the stacks of kept evaluations, and what no more than reaches the system.
    char* const block = static_cast<char*>(std::malloc(8 << 20));
    if (block == nullptr) std::_Exit(1);
    block[0] = 1;
    std::free(block);
    void* const memory =
        ::mmap(nullptr, 8192, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) std::_Exit(2);
    if (::mmap(memory, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1,
               0) != memory) {
      std::_Exit(3);
    }
    if (::madvise(memory, 4096, MADV_DONTNEED) != 0) std::_Exit(4);
    if (::munmap(memory, 8192) != 0) std::_Exit(5);
    if (::syscall(SYS_brk, 0) <= 0) std::_Exit(6);
    ::syscall(SYS_read, 0, nullptr, 0);
    ::syscall(SYS_write, 1, nullptr, 0);
    ::syscall(SYS_write, 2, nullptr, 0);
    ::syscall(SYS_writev, 1, nullptr, 0);
    ::syscall(SYS_writev, 2, nullptr, 0);
#ifdef SYS_poll
    ::syscall(SYS_poll, nullptr, 0, 0);
#endif
    ::syscall(SYS_restart_syscall);
  });
  EXPECT_EQ(end, "exit code 0");
}

// The lines of /proc that tell what a process may do.
std::string statusOf(const ChildProcess& child, const std::string& field) {
  std::ifstream status("/proc/" + std::to_string(child.id()) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(field + ":\t")) return line.substr(field.size() + 2);
  }
  return "not told";
}

TEST_F(LeastPrivilege, HoldsForTheExecutable) {
  ChildProcess child;
  child.send(testing_support::pingFrame());
  ASSERT_EQ(child.receive(64).size(), 64U);
  EXPECT_EQ(statusOf(child, "NoNewPrivs"), "1");
  EXPECT_EQ(statusOf(child, "Seccomp"), "2");
}

}  // namespace
}  // namespace lisp_worker::worker
