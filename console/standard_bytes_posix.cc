#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "console/standard_bytes.h"

namespace lisp_worker::console {

std::size_t readStandardInput(char* buffer, std::size_t size) {
  for (;;) {
    const ssize_t count = ::read(STDIN_FILENO, buffer, size);
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) return 0;
  }
}

bool writeStandardOutput(std::string_view bytes) {
  std::signal(SIGPIPE, SIG_IGN);
  while (!bytes.empty()) {
    const ssize_t count = ::write(STDOUT_FILENO, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

}  // namespace lisp_worker::console
