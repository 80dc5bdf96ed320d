#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "session/standard_streams.h"

namespace lisp_worker::session {
namespace {

constexpr int kUnknownExitCode = 1;

}  // namespace

std::size_t readStandardInput(char* buffer, std::size_t size) {
  for (;;) {
    const ssize_t count = ::read(STDIN_FILENO, buffer, size);
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) return 0;
  }
}

bool writeStandardOutput(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(STDOUT_FILENO, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

void closeStandardInput() { ::close(STDIN_FILENO); }

void closeStandardOutput() { ::close(STDOUT_FILENO); }

void surviveBrokenPipe() { std::signal(SIGPIPE, SIG_IGN); }

void endLike(const client::WorkerExit& exit) {
  if (exit.kind == client::WorkerExit::Kind::Exited) ::_exit(static_cast<int>(exit.code));
  const bool is_killed = exit.kind == client::WorkerExit::Kind::Killed;
  if (is_killed || exit.kind == client::WorkerExit::Kind::Signaled) {
    const int signal = is_killed ? SIGKILL : static_cast<int>(exit.code);
    std::signal(signal, SIG_DFL);
    ::kill(::getpid(), signal);
  }
  ::_exit(kUnknownExitCode);
}

}  // namespace lisp_worker::session
