// CreateProcess() with pipes for the three streams. Every wait has a limit, so a child that says
// nothing fails its test instead of holding it up.

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "testing/workers/child_process.h"
#include "testing/workers/executable_worker.h"

namespace lisp_worker::testing_support {
namespace {

using std::chrono::microseconds;

constexpr std::chrono::milliseconds kPatience{20000};
constexpr UINT kKilledExitCode = 1;

struct Pipe {
  HANDLE read_end = nullptr;
  HANDLE write_end = nullptr;
};

// Its ends stay behind when another program starts, until one of them is made inheritable.
Pipe openPipe() {
  Pipe pipe;
  EXPECT_TRUE(::CreatePipe(&pipe.read_end, &pipe.write_end, nullptr, 0));
  return pipe;
}

void closeEnd(HANDLE& handle) {
  if (handle != nullptr) ::CloseHandle(handle);
  handle = nullptr;
}

HANDLE inheritable(HANDLE handle) {
  EXPECT_TRUE(::SetHandleInformation(handle, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT));
  return handle;
}

HANDLE toHandle(SystemStream stream) { return reinterpret_cast<HANDLE>(stream); }

// The end of a pipe that a child is to have, or what the settings say instead.
HANDLE childsEnd(HANDLE pipe_end, bool is_closed, std::optional<SystemStream> given) {
  if (is_closed) return nullptr;
  return given.has_value() ? toHandle(*given) : inheritable(pipe_end);
}

std::string readUpTo(HANDLE pipe, std::size_t size) {
  std::string bytes;
  std::array<char, 65536> piece{};
  auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (bytes.size() < size) {
    // A read of an anonymous pipe has no time-out, so it is asked for what is there.
    DWORD available = 0;
    if (!::PeekNamedPipe(pipe, nullptr, 0, nullptr, &available, nullptr)) break;
    if (available == 0) {
      if (std::chrono::steady_clock::now() >= deadline) break;
      ::Sleep(1);
      continue;
    }
    const std::size_t size_max =
        std::min({piece.size(), size - bytes.size(), std::size_t{available}});
    DWORD count = 0;
    if (!::ReadFile(pipe, piece.data(), static_cast<DWORD>(size_max), &count, nullptr)) break;
    if (count == 0) break;
    bytes.append(piece.data(), count);
    deadline = std::chrono::steady_clock::now() + kPatience;
  }
  return bytes;
}

// As the C library of the child takes its command line apart: the arguments of these tests hold no
// backslash before a double quote.
std::string commandLine(const std::vector<std::string>& words) {
  std::string line;
  for (const std::string& word : words) line += (line.empty() ? "\"" : " \"") + word + "\"";
  return line;
}

// The variables of this process after those of a child's own, each with the zero at its end.
std::string environmentBlock(const std::vector<std::string>& variables) {
  std::string block;
  for (const std::string& variable : variables) block += variable + '\0';
  char* const own = ::GetEnvironmentStringsA();
  for (const char* variable = own; *variable != '\0'; variable += std::strlen(variable) + 1) {
    block += std::string(variable) + '\0';
  }
  ::FreeEnvironmentStringsA(own);
  return block + '\0';
}

microseconds toMicroseconds(const FILETIME& time) {
  ULARGE_INTEGER ticks{};  // Of 100 nanoseconds.
  ticks.LowPart = time.dwLowDateTime;
  ticks.HighPart = time.dwHighDateTime;
  return microseconds(ticks.QuadPart / 10);
}

}  // namespace

struct ChildProcess::State {
  HANDLE process = nullptr;
  HANDLE input = nullptr;
  HANDLE output = nullptr;
  HANDLE errors = nullptr;
  std::string end;
};

ChildProcess::ChildProcess(const ChildSettings& settings) : state_(std::make_unique<State>()) {
  Pipe input = openPipe();
  Pipe output = openPipe();
  Pipe errors = openPipe();
  STARTUPINFOA startup{};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = childsEnd(input.read_end, settings.closes_input, settings.input);
  startup.hStdOutput = childsEnd(output.write_end, settings.closes_output, settings.output);
  startup.hStdError = inheritable(errors.write_end);

  const std::string path = settings.executable.empty() ? workerExecutable() : settings.executable;
  std::vector<std::string> words = {path};
  words.insert(words.end(), settings.arguments.begin(), settings.arguments.end());
  std::string line = commandLine(words);
  std::string environment = environmentBlock(settings.environment);
  // Without a console: its handles would take the place of those that are not there.
  PROCESS_INFORMATION information{};
  EXPECT_TRUE(::CreateProcessA(path.c_str(), line.data(), nullptr, nullptr, TRUE, DETACHED_PROCESS,
                               environment.data(), nullptr, &startup, &information))
      << path << ": error " << ::GetLastError();
  closeEnd(information.hThread);
  closeEnd(input.read_end);
  closeEnd(output.write_end);
  closeEnd(errors.write_end);
  state_->process = information.hProcess;
  state_->input = input.write_end;
  state_->output = output.read_end;
  state_->errors = errors.read_end;
}

ChildProcess::~ChildProcess() {
  endInput();
  closeOutput();
  if (state_->process != nullptr && state_->end.empty()) {
    ::TerminateProcess(state_->process, kKilledExitCode);
    static_cast<void>(end());
  }
  closeEnd(state_->process);
  closeEnd(state_->errors);
}

std::int64_t ChildProcess::id() const { return ::GetProcessId(state_->process); }

void ChildProcess::send(std::string_view bytes) const {
  while (!bytes.empty()) {
    DWORD count = 0;
    if (!::WriteFile(state_->input, bytes.data(), static_cast<DWORD>(bytes.size()), &count,
                     nullptr)) {
      return;
    }
    bytes.remove_prefix(count);
  }
}

void ChildProcess::endInput() { closeEnd(state_->input); }

void ChildProcess::closeOutput() { closeEnd(state_->output); }

std::string ChildProcess::receive(std::size_t size) const { return readUpTo(state_->output, size); }

std::string ChildProcess::receiveAll() const {
  return readUpTo(state_->output, std::numeric_limits<std::size_t>::max());
}

std::string ChildProcess::end() {
  if (!state_->end.empty()) return state_->end;
  const auto patience = static_cast<DWORD>(kPatience.count());
  if (::WaitForSingleObject(state_->process, patience) != WAIT_OBJECT_0) return "still running";
  DWORD code = 0;
  EXPECT_TRUE(::GetExitCodeProcess(state_->process, &code));
  state_->end = "exit code " + std::to_string(code);
  return state_->end;
}

std::string ChildProcess::errors() const {
  return readUpTo(state_->errors, std::numeric_limits<std::size_t>::max());
}

microseconds ChildProcess::processorTime() const {
  FILETIME creation{};
  FILETIME exit{};
  FILETIME kernel{};
  FILETIME user{};
  EXPECT_TRUE(::GetProcessTimes(state_->process, &creation, &exit, &kernel, &user));
  return toMicroseconds(kernel) + toMicroseconds(user);
}

}  // namespace lisp_worker::testing_support
