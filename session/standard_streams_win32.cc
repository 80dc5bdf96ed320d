#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

#include "session/standard_streams.h"

namespace lisp_worker::session {
namespace {

constexpr UINT kUnknownExitCode = 1;

}  // namespace

std::size_t readStandardInput(char* buffer, std::size_t size) {
  DWORD count = 0;
  if (!::ReadFile(::GetStdHandle(STD_INPUT_HANDLE), buffer, static_cast<DWORD>(size), &count,
                  nullptr)) {
    return 0;
  }
  return count;
}

bool writeStandardOutput(std::string_view bytes) {
  while (!bytes.empty()) {
    DWORD count = 0;
    if (!::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), bytes.data(),
                     static_cast<DWORD>(bytes.size()), &count, nullptr) ||
        count == 0) {
      return false;
    }
    bytes.remove_prefix(count);
  }
  return true;
}

void closeStandardInput() { ::CloseHandle(::GetStdHandle(STD_INPUT_HANDLE)); }

void closeStandardOutput() { ::CloseHandle(::GetStdHandle(STD_OUTPUT_HANDLE)); }

void surviveBrokenPipe() {}  // This system has no such signal.

void endLike(const client::WorkerExit& exit) {
  const bool is_told = exit.kind == client::WorkerExit::Kind::Exited;
  ::TerminateProcess(::GetCurrentProcess(), is_told ? exit.code : kUnknownExitCode);
  ::ExitProcess(kUnknownExitCode);
}

}  // namespace lisp_worker::session
