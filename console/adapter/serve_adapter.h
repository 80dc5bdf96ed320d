// The debug adapter as a service: sessions over a channel, or over a port of this machine.

#ifndef CONSOLE_ADAPTER_SERVE_ADAPTER_H_
#define CONSOLE_ADAPTER_SERVE_ADAPTER_H_

#include <iosfwd>
#include <string>

#include "console/adapter/adapter_channel.h"
#include "lisp_worker/client/worker.h"

namespace lisp_worker::console {

// Holds one session, until the client disconnects or is gone. Why it could not go on; empty when it
// has ended as it should.
[[nodiscard]] std::string serveAdapter(AdapterChannel& channel,
                                       const client::WorkerStarter& start_worker);

// So many clients at once; more are turned away.
inline constexpr std::size_t kSessionsMax = 16;

// Waits for clients on a port of the loopback address, tells so in `out`, and holds a session with
// each in a process of its own, until Ctrl-C. False with the reason in `error` when the port cannot
// be had. Must be called before the process has any other thread.
[[nodiscard]] bool serveAdapterPort(int port, const client::WorkerStarter& start_worker,
                                    std::ostream& out, std::string& error);

}  // namespace lisp_worker::console

#endif  // CONSOLE_ADAPTER_SERVE_ADAPTER_H_
