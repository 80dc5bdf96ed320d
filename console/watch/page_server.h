// Serves the page, its states and its answers on the loopback address.
//
//   GET  /TOKEN/                     the page; page.css, page.js and icon.svg beside it
//   GET  /TOKEN/events               the states as server-sent events, as long as the page listens
//   POST /TOKEN/answer?question=N    an answer to a question of a state, as text
//
// Other pages and programs of the machine can reach the port. A request must name the host that it
// is sent to and come from no other page, and its address must begin with the token; otherwise it
// learns nothing. Nothing of the disk is served: the files are part of the program.

#ifndef CONSOLE_WATCH_PAGE_SERVER_H_
#define CONSOLE_WATCH_PAGE_SERVER_H_

#include <cstddef>
#include <memory>
#include <string>

#include "console/watch/mailbox.h"

namespace lisp_worker::console {

// More pages than that are refused until others are closed. A browser opens at most six itself.
inline constexpr std::size_t kPageCountMax = 24;

// An answer may have this many bytes.
inline constexpr std::size_t kAnswerSizeMax = 65536;

class PageServer {
 public:
  virtual ~PageServer() = default;

  // "http://127.0.0.1:PORT/TOKEN/"
  [[nodiscard]] virtual const std::string& address() const = 0;
};

// Listens on `port`, or on one that the system chooses for 0, in threads of its own until it is
// destroyed. `mailbox` must outlive it. Null when the port cannot be had, with the reason in
// `error`.
[[nodiscard]] std::unique_ptr<PageServer> startPageServer(Mailbox& mailbox, int port,
                                                          std::string& error);

}  // namespace lisp_worker::console

#endif  // CONSOLE_WATCH_PAGE_SERVER_H_
