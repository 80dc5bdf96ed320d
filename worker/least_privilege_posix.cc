// On Linux: no new privileges, and a filter of system calls. Other POSIX systems have neither.

#include "worker/least_privilege.h"

#if __has_include(<linux/seccomp.h>) && !defined(LISP_FREE_SYSTEM_CALLS) && \
    (defined(__x86_64__) || defined(__AARCH64EL__))
#define LISP_HAS_FILTER 1
#endif

#ifdef LISP_HAS_FILTER

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <malloc.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace lisp_worker::worker {
namespace {

#ifdef __x86_64__
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_X86_64;
constexpr std::uint32_t kPoll = SYS_poll;
#else
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_AARCH64;
constexpr std::uint32_t kPoll = SYS_ppoll;  // What poll() calls here.
#endif

// A condition on an argument of a call. Only its lower 32 bits are looked at: the system takes no
// more of a descriptor, and knows no more protections and flags.
struct Demand {
  std::uint32_t argument;  // From 0 on.
  std::uint32_t mask;
  std::uint32_t allowed_1;  // (argument & mask) is one of these two.
  std::uint32_t allowed_2;
};

constexpr std::uint32_t kAllBits = 0xFFFFFFFF;
constexpr Demand kStandardInput = {0, kAllBits, STDIN_FILENO, STDIN_FILENO};
constexpr Demand kOutputOrErrors = {0, kAllBits, STDOUT_FILENO, STDERR_FILENO};
// Memory that never runs, and that no file is behind.
constexpr Demand kNoCode = {2, kAllBits ^ PROT_READ, PROT_NONE, PROT_WRITE};
constexpr Demand kNoFile = {3, MAP_ANONYMOUS | MAP_SHARED, MAP_ANONYMOUS, MAP_ANONYMOUS};

struct AllowedCall {
  std::uint32_t number;
  std::vector<Demand> demands;
};

// Everything that a worker asks of the system, the most frequent first. Errors are written by the
// C and C++ libraries alone, when a check of theirs ends the process; restart_syscall is how the
// system itself goes on with a poll after the process was stopped and continued.
std::vector<AllowedCall> allowedCalls() {
  return {{SYS_read, {kStandardInput}},
          {SYS_writev, {kOutputOrErrors}},
          {SYS_madvise, {}},
          {SYS_brk, {}},
          {SYS_mmap, {kNoCode, kNoFile}},
          {SYS_munmap, {}},
          {kPoll, {}},
          {SYS_write, {kOutputOrErrors}},
          {SYS_exit_group, {}},
          {SYS_restart_syscall, {}}};
}

constexpr std::uint32_t kArgumentsOffset = offsetof(seccomp_data, args);
constexpr std::uint32_t kNumberOffset = offsetof(seccomp_data, nr);

constexpr sock_filter statement(std::uint32_t code, std::uint32_t value) {
  return {static_cast<std::uint16_t>(code), 0, 0, value};
}

// Goes `if_true` or `if_false` instructions further than the next one.
sock_filter branch(std::uint32_t code, std::uint32_t value, int if_true, int if_false) {
  return {static_cast<std::uint16_t>(BPF_JMP | BPF_K | code), static_cast<std::uint8_t>(if_true),
          static_cast<std::uint8_t>(if_false), value};
}

constexpr sock_filter kKill = statement(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS);
constexpr sock_filter kAllow = statement(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);

sock_filter load(std::uint32_t offset) { return statement(BPF_LD | BPF_W | BPF_ABS, offset); }

// The filter: for each call that is allowed, in turn,
//
//   if the number is another one, go on with the next call
//   for each demand: load the argument, mask it; unless it is one of the two values, kill
//   allow
//
// and kill at the end. The numbers mean what they do in the tables of this processor only, so every
// other architecture is killed first; so is the second numbering of x86-64 (x32), whose numbers
// have a bit that none here has.
std::vector<sock_filter> makeFilter() {
  std::vector<sock_filter> filter = {load(offsetof(seccomp_data, arch)),
                                     branch(BPF_JEQ, kArchitecture, 1, 0), kKill,
                                     load(kNumberOffset)};
  constexpr int kDemandSize = 5;
  for (const AllowedCall& call : allowedCalls()) {
    const int size = kDemandSize * static_cast<int>(call.demands.size()) + 1;
    filter.push_back(branch(BPF_JEQ, call.number, 0, size));
    for (const Demand& demand : call.demands) {
      filter.push_back(load(kArgumentsOffset + 8 * demand.argument));
      filter.push_back(statement(BPF_ALU | BPF_AND | BPF_K, demand.mask));
      filter.push_back(branch(BPF_JEQ, demand.allowed_1, 2, 0));
      filter.push_back(branch(BPF_JEQ, demand.allowed_2, 1, 0));
      filter.push_back(kKill);
    }
    filter.push_back(kAllow);
  }
  filter.push_back(kKill);
  return filter;
}

}  // namespace

void giveUpPrivileges() {
  // When the heap cannot grow, the C library would look for another one and ask the system about
  // its processors first.
  ::mallopt(M_ARENA_MAX, 1);
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return;
  std::vector<sock_filter> filter = makeFilter();
  const sock_fprog program = {static_cast<std::uint16_t>(filter.size()), filter.data()};
  const auto install = [&program](unsigned int flags) {
    return ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, flags, &program) == 0;
  };
  // Without the flag, older kernels make every filtered process slower, as a defence against
  // guesses of the processor that takes code of the attacker's and a clock; programs here have
  // neither. Even older ones do not know it.
  if (!install(SECCOMP_FILTER_FLAG_SPEC_ALLOW) && errno == EINVAL) static_cast<void>(install(0));
}

bool restrictsSystemCalls() { return true; }

}  // namespace lisp_worker::worker

#else

namespace lisp_worker::worker {

void giveUpPrivileges() {}

bool restrictsSystemCalls() { return false; }

}  // namespace lisp_worker::worker

#endif
