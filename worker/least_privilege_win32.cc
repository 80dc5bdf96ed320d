// On Windows: mitigation policies of the process. Each is asked for alone, because which of them
// there are depends on the version of the system; one that is refused is done without.

#include <windows.h>

#include <array>

#include "worker/least_privilege.h"

namespace lisp_worker::worker {
namespace {

struct Policy {
  PROCESS_MITIGATION_POLICY kind;
  DWORD flags;  // All records of policies are a word of flags.
};

constexpr std::array<Policy, 6> kPolicies = {{
    // No memory becomes code: neither what was data before, nor a changed page of the program.
    {ProcessDynamicCodePolicy, 1},
    {ProcessChildProcessPolicy, 1},
    // Windows, fonts and pictures: a part of the kernel that the worker never enters.
    {ProcessSystemCallDisablePolicy, 1},
    // Using a handle that names nothing ends the process, and nobody can change that again.
    {ProcessStrictHandleCheckPolicy, 1 | 2},
    // No libraries that are loaded into every program: input methods, hooks and the like.
    {ProcessExtensionPointDisablePolicy, 1},
    // No libraries from other machines or from less trusted places; the system's own come first.
    {ProcessImageLoadPolicy, 1 | 2 | 4},
}};

// A host may hand over a handle that names nothing. Without it the stream is missing, which is no
// more than an end of the input or a failed write.
void forgetInvalidHandle(DWORD name) {
  DWORD flags = 0;
  if (!::GetHandleInformation(::GetStdHandle(name), &flags)) ::SetStdHandle(name, nullptr);
}

}  // namespace

void giveUpPrivileges() {
  forgetInvalidHandle(STD_INPUT_HANDLE);
  forgetInvalidHandle(STD_OUTPUT_HANDLE);
  forgetInvalidHandle(STD_ERROR_HANDLE);
  for (const Policy& policy : kPolicies) {
    DWORD flags = policy.flags;
    static_cast<void>(::SetProcessMitigationPolicy(policy.kind, &flags, sizeof flags));
  }
}

bool restrictsSystemCalls() { return false; }

}  // namespace lisp_worker::worker
