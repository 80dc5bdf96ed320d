// The messages that the thread of the session and the threads of the server pass to each other.
//
// The session's thread owns everything else. It writes states, texts that pages show, and takes the
// answers that pages give. Each function may be called by any thread.

#ifndef CONSOLE_WATCH_MAILBOX_H_
#define CONSOLE_WATCH_MAILBOX_H_

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace lisp_worker::console {

class Mailbox {
 public:
  // A state with its number; numbers rise, from 1.
  struct State {
    std::uint64_t number = 0;
    std::shared_ptr<const std::string> text;
  };

  // Replaces the state.
  void publish(std::string text);

  // Waits until there is a state after number `seen`, at most so long. Empty when there is none.
  [[nodiscard]] std::optional<State> waitForState(std::uint64_t seen,
                                                  std::chrono::milliseconds limit);

  // Lets a page answer the question of this number, 0 for none. An answer to an earlier question is
  // dropped.
  void ask(std::uint64_t question);

  // An answer of a page. False when the question is not asked any more, or has been answered.
  [[nodiscard]] bool answer(std::uint64_t question, std::string line);

  // Waits for the answer to the question that is asked, at most so long.
  [[nodiscard]] std::optional<std::string> waitForAnswer(std::chrono::milliseconds limit);

  // From here on nobody waits.
  void close();
  [[nodiscard]] bool isClosed();

 private:
  std::mutex mutex_;  // Guards all below.
  std::condition_variable changed_;
  State state_;
  std::uint64_t question_ = 0;
  std::optional<std::string> answer_;
  bool is_closed_ = false;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_WATCH_MAILBOX_H_
