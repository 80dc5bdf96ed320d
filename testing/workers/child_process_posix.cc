// fork() and exec() with pipes for the three streams. Every wait has a limit, so a child that says
// nothing fails its test instead of holding it up.

#include "testing/workers/child_process_posix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <thread>
#include <utility>

#include "testing/workers/child_process.h"
#include "testing/workers/executable_worker.h"

namespace lisp_worker::testing_support {
namespace {

using std::chrono::microseconds;

constexpr std::chrono::milliseconds kPatience{20000};

struct Pipe {
  int read_end = -1;
  int write_end = -1;
};

// Its ends stay behind when another program starts.
Pipe openPipe() {
  std::array<int, 2> ends{};
  EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
  return {ends[0], ends[1]};
}

void closeEnd(int& descriptor) {
  if (descriptor >= 0) ::close(descriptor);
  descriptor = -1;
}

microseconds toMicroseconds(const timeval& time) {
  return std::chrono::seconds(time.tv_sec) + microseconds(time.tv_usec);
}

std::string readUpTo(int descriptor, std::size_t size) {
  std::string bytes;
  std::array<char, 65536> piece{};
  while (bytes.size() < size) {
    // A child that says nothing any more must not hold up its test for ever.
    pollfd readable{.fd = descriptor, .events = POLLIN, .revents = 0};
    if (::poll(&readable, 1, static_cast<int>(kPatience.count())) == 0) break;
    const ssize_t count =
        ::read(descriptor, piece.data(), std::min(piece.size(), size - bytes.size()));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    bytes.append(piece.data(), static_cast<std::size_t>(count));
  }
  return bytes;
}

}  // namespace

std::string waitForEnd(pid_t process, microseconds* processor_time) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  int status = 0;
  rusage usage{};
  pid_t ended = 0;
  while ((ended = ::wait4(process, &status, WNOHANG, &usage)) == 0) {
    if (std::chrono::steady_clock::now() >= deadline) return "still running";
    std::this_thread::sleep_for(microseconds(200));
  }
  if (ended < 0) return "no such child";
  if (processor_time != nullptr) {
    *processor_time = toMicroseconds(usage.ru_utime) + toMicroseconds(usage.ru_stime);
  }
  if (WIFSIGNALED(status)) return "signal " + std::to_string(WTERMSIG(status));
  return "exit code " + std::to_string(WEXITSTATUS(status));
}

struct ChildProcess::State {
  pid_t process = 0;
  int input = -1;
  int output = -1;
  int errors = -1;
  std::string end;
  microseconds processor_time{};
};

ChildProcess::ChildProcess(const ChildSettings& settings) : state_(std::make_unique<State>()) {
  // A child that no longer reads must not end its test.
  ::signal(SIGPIPE, SIG_IGN);
  Pipe input = openPipe();
  Pipe output = openPipe();
  Pipe errors = openPipe();

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  if (settings.closes_input) {
    posix_spawn_file_actions_addclose(&actions, STDIN_FILENO);
  } else if (settings.input.has_value()) {
    posix_spawn_file_actions_adddup2(&actions, static_cast<int>(*settings.input), STDIN_FILENO);
  } else {
    posix_spawn_file_actions_adddup2(&actions, input.read_end, STDIN_FILENO);
  }
  if (settings.closes_output) {
    posix_spawn_file_actions_addclose(&actions, STDOUT_FILENO);
  } else if (settings.output.has_value()) {
    posix_spawn_file_actions_adddup2(&actions, static_cast<int>(*settings.output), STDOUT_FILENO);
  } else {
    posix_spawn_file_actions_adddup2(&actions, output.write_end, STDOUT_FILENO);
  }
  posix_spawn_file_actions_adddup2(&actions, errors.write_end, STDERR_FILENO);
  // The program that started this test may have left descriptors open for every program to inherit.
  posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);

  // The worker gets the signals as a shell would hand them over, SIGPIPE first of all.
  posix_spawnattr_t attributes;
  sigset_t defaults;
  sigemptyset(&defaults);
  sigaddset(&defaults, SIGPIPE);
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setsigdefault(&attributes, &defaults);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);

  std::string path = settings.executable.empty() ? workerExecutable() : settings.executable;
  std::vector<std::string> arguments = settings.arguments;
  std::vector<char*> argument_pointers = {path.data()};
  for (std::string& argument : arguments) argument_pointers.push_back(argument.data());
  argument_pointers.push_back(nullptr);
  std::vector<std::string> environment = settings.environment;
  std::vector<char*> environment_pointers;
  for (std::string& variable : environment) environment_pointers.push_back(variable.data());
  for (char** variable = environ; *variable != nullptr; ++variable) {
    environment_pointers.push_back(*variable);
  }
  environment_pointers.push_back(nullptr);
  EXPECT_EQ(::posix_spawn(&state_->process, path.c_str(), &actions, &attributes,
                          argument_pointers.data(), environment_pointers.data()),
            0)
      << path;
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  closeEnd(input.read_end);
  closeEnd(output.write_end);
  closeEnd(errors.write_end);
  state_->input = input.write_end;
  state_->output = output.read_end;
  state_->errors = errors.read_end;
}

ChildProcess::~ChildProcess() {
  endInput();
  closeOutput();
  if (state_->process > 0 && state_->end.empty()) {
    ::kill(state_->process, SIGKILL);
    static_cast<void>(waitForEnd(state_->process, nullptr));
  }
  closeEnd(state_->errors);
}

std::int64_t ChildProcess::id() const { return state_->process; }

void ChildProcess::send(std::string_view bytes) const {
  while (!bytes.empty()) {
    const ssize_t count = ::write(state_->input, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

void ChildProcess::endInput() { closeEnd(state_->input); }

void ChildProcess::closeOutput() { closeEnd(state_->output); }

std::string ChildProcess::receive(std::size_t size) const { return readUpTo(state_->output, size); }

std::string ChildProcess::receiveAll() const {
  return readUpTo(state_->output, std::numeric_limits<std::size_t>::max());
}

std::string ChildProcess::end() {
  if (state_->end.empty()) state_->end = waitForEnd(state_->process, &state_->processor_time);
  if (state_->end != "still running") return state_->end;
  return std::exchange(state_->end, std::string());
}

std::string ChildProcess::errors() const {
  return readUpTo(state_->errors, std::numeric_limits<std::size_t>::max());
}

microseconds ChildProcess::processorTime() const {
  if (!state_->end.empty()) return state_->processor_time;
  clockid_t clock{};
  timespec time{};
  EXPECT_EQ(::clock_getcpuclockid(state_->process, &clock), 0);
  EXPECT_EQ(::clock_gettime(clock, &time), 0);
  return std::chrono::seconds(time.tv_sec) + microseconds(time.tv_nsec / 1000);
}

}  // namespace lisp_worker::testing_support
