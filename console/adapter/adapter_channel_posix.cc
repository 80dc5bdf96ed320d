#include <poll.h>
#include <unistd.h>

#include <cerrno>

#include "client/sigpipe_guard_posix.h"
#include "console/adapter/descriptor_channel_posix.h"

namespace lisp_worker::console {

std::size_t DescriptorChannel::read(char* buffer, std::size_t size) {
  ssize_t count = 0;
  do {
    count = ::read(input_, buffer, size);
  } while (count < 0 && errno == EINTR);
  return count < 0 ? 0 : static_cast<std::size_t>(count);
}

bool DescriptorChannel::hasInput() {
  pollfd waiting = {.fd = input_, .events = POLLIN, .revents = 0};
  return ::poll(&waiting, 1, 0) == 1;
}

bool DescriptorChannel::write(std::string_view bytes) {
  client::SigpipeGuard guard;
  while (!bytes.empty()) {
    const ssize_t count = ::write(output_, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) {
      if (errno == EPIPE) guard.noteRaised();
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

std::unique_ptr<AdapterChannel> standardChannel() {
  return std::make_unique<DescriptorChannel>(STDIN_FILENO, STDOUT_FILENO);
}

}  // namespace lisp_worker::console
