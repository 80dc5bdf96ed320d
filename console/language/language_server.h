// The language server as its client sees it: bytes in, bytes out. Messages are JSON-RPC behind the
// headers of console/base_protocol.h. Nothing that a client sends ends it, except `exit` and bytes
// that cannot be taken apart into messages.

#ifndef CONSOLE_LANGUAGE_LANGUAGE_SERVER_H_
#define CONSOLE_LANGUAGE_LANGUAGE_SERVER_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "console/base_protocol.h"
#include "console/json_parts.h"
#include "console/language/requests.h"

namespace lisp_worker::console::language {

class LanguageServer {
 public:
  // Handles the messages that are whole now. Those that have come together count as sent together:
  // a request among them that a later one cancels is not worked on, and mistakes are told once, of
  // the text after all of them.
  void receive(std::string_view bytes);

  // The bytes to send, once.
  [[nodiscard]] std::string takeOutput();

  // The protocol's code for the end of the process: 0 after `shutdown`, 1 without. Empty while it
  // goes on.
  [[nodiscard]] std::optional<int> exitCode() const { return exit_code_; }
  // The same when the client has gone without a word.
  [[nodiscard]] int exitCodeAtEnd() const {
    return exit_code_.value_or(state_ == State::Shut ? 0 : 1);
  }

 private:
  enum class State : std::uint8_t { New, Ready, Shut };

  void handle(const Json& message, const std::string& cancelled);
  [[nodiscard]] Answer answer(std::string_view method, const Json& params);
  [[nodiscard]] Answer initialize(const Json& params);
  void reply(const Json& id, const Answer& answer);

  MessageReader reader_;
  Requests requests_;
  State state_ = State::New;
  std::string output_;
  std::optional<int> exit_code_;
};

// Serves one client at standard input and output. Returns the exit code.
[[nodiscard]] int runLanguageServer();

}  // namespace lisp_worker::console::language

#endif  // CONSOLE_LANGUAGE_LANGUAGE_SERVER_H_
