// The mitigation policies of the executable, as far as the system tells of them.

#include <gtest/gtest.h>
#include <windows.h>

#include "testing/workers/child_process.h"
#include "testing/workers/worker_process.h"

namespace lisp_worker::worker {
namespace {

using testing_support::ChildProcess;

struct PolicyRow {
  const char* name;
  PROCESS_MITIGATION_POLICY kind;
  DWORD flags;
};

constexpr PolicyRow kRows[] = {
    {"no dynamic code", ProcessDynamicCodePolicy, 1},
    {"no child processes", ProcessChildProcessPolicy, 1},
    {"no win32k calls", ProcessSystemCallDisablePolicy, 1},
    {"strict handles", ProcessStrictHandleCheckPolicy, 1 | 2},
    {"no extension points", ProcessExtensionPointDisablePolicy, 1},
    {"no remote or less trusted images", ProcessImageLoadPolicy, 1 | 2 | 4},
};

TEST(LeastPrivilege, HoldsForTheExecutable) {
  ChildProcess child;
  child.send(testing_support::pingFrame());
  ASSERT_EQ(child.receive(64).size(), 64U);
  const HANDLE process =
      ::OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, static_cast<DWORD>(child.id()));
  ASSERT_NE(process, nullptr);
  constexpr DWORD kUntouched = 0xFFFFFFFF;
  int told = 0;
  for (const PolicyRow& row : kRows) {
    DWORD flags = kUntouched;
    if (!::GetProcessMitigationPolicy(process, row.kind, &flags, sizeof flags)) continue;
    if (flags == kUntouched) continue;
    ++told;
    EXPECT_EQ(flags & row.flags, row.flags) << row.name;
  }
  ::CloseHandle(process);
  RecordProperty("policies_told", told);
  if (told == 0) GTEST_SKIP() << "this system tells of no policy";
}

}  // namespace
}  // namespace lisp_worker::worker
