// Each client has a process of its own: the evaluator has one thread, and what goes wrong in one
// session cannot reach another.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "console/adapter/descriptor_channel_posix.h"
#include "console/adapter/serve_adapter.h"
#include "console/line_editor.h"

namespace lisp_worker::console {
namespace {

// Sessions that have ended are looked for this often.
constexpr int kPulseMs = 500;

// A socket that listens on the loopback address; -1 if there is none.
int listenAt(int port) {
  const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (listener < 0) return -1;
  const int yes = 1;
  static_cast<void>(::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
      ::listen(listener, static_cast<int>(kSessionsMax)) == 0) {
    return listener;
  }
  ::close(listener);
  return -1;
}

void forgetEnded(std::vector<pid_t>& sessions) {
  std::erase_if(sessions, [](pid_t session) { return ::waitpid(session, nullptr, WNOHANG) != 0; });
}

}  // namespace

bool serveAdapterPort(int port, const client::WorkerStarter& start_worker, std::ostream& out,
                      std::string& error) {
  const int listener = listenAt(port);
  if (listener < 0) {
    error = "port " + std::to_string(port) + " cannot be had";
    return false;
  }
  catchInterrupts();
  out << "listening at 127.0.0.1:" << port << "   Ctrl-C ends it\n" << std::flush;
  std::vector<pid_t> sessions;
  while (!takeInterrupt()) {
    pollfd waiting = {.fd = listener, .events = POLLIN, .revents = 0};
    const bool has_client = ::poll(&waiting, 1, kPulseMs) == 1;
    forgetEnded(sessions);
    if (!has_client) continue;
    const int connection = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) continue;
    if (sessions.size() < kSessionsMax) {
      const pid_t session = ::fork();
      if (session == 0) {
        ::close(listener);
        DescriptorChannel channel(connection, connection);
        const bool is_well = serveAdapter(channel, start_worker).empty();
        ::_exit(is_well ? 0 : 1);
      }
      if (session > 0) sessions.push_back(session);
    }
    ::close(connection);
  }
  ::close(listener);
  for (const pid_t session : sessions) {
    ::kill(session, SIGTERM);
    ::waitpid(session, nullptr, 0);
  }
  return true;
}

}  // namespace lisp_worker::console
