#include "console/adapter/serve_adapter.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string_view>
#include <utility>

#include "console/adapter/adapter_session.h"
#include "console/base_protocol.h"

namespace lisp_worker::console {
namespace {

// While a program runs, the messages that have come already are read, because one of them may give
// the program up. They are carried out afterwards in their order.
class Conversation {
 public:
  Conversation(AdapterChannel& channel, const client::WorkerStarter& start_worker)
      : channel_(channel),
        session_({.start_worker = start_worker,
                  .send =
                      [this](std::string_view message) {
                        is_gone_ = is_gone_ || !channel_.write(framed(message));
                      },
                  .is_cancelled = [this](std::int64_t request) { return isCancelled(request); }}) {}

  [[nodiscard]] std::string hold() {
    while (!session_.isOver() && !is_gone_) {
      while (waiting_.empty() && canRead()) readMore();
      if (waiting_.empty()) break;
      const std::string message = std::move(waiting_.front());
      waiting_.pop_front();
      session_.receive(message);
    }
    if (why_broken_.empty() && !session_.isOver() && reader_.isInMessage()) {
      return "the client has left in the middle of a message";
    }
    return why_broken_;
  }

 private:
  [[nodiscard]] bool canRead() const {
    return !has_input_ended_ && !is_gone_ && why_broken_.empty();
  }

  void readMore() {
    std::array<char, 16384> buffer{};
    const std::size_t count = channel_.read(buffer.data(), buffer.size());
    has_input_ended_ = count == 0;
    reader_.append({buffer.data(), count});
    std::string message;
    for (;;) {
      switch (reader_.next(message)) {
        case MessageReader::Result::Message:
          waiting_.push_back(std::move(message));
          break;
        case MessageReader::Result::More:
          return;
        case MessageReader::Result::Broken:
          why_broken_ = "the client's messages cannot be read: " + message;
          return;
      }
    }
  }

  // Each message that waits is looked at once for each request.
  [[nodiscard]] bool isCancelled(std::int64_t request) {
    while (canRead() && channel_.hasInput()) readMore();
    if (std::exchange(asked_for_, request) != request) {
      looked_at_ = 0;
      is_cancelled_ = false;
    }
    for (; looked_at_ < waiting_.size() && !is_cancelled_; ++looked_at_) {
      is_cancelled_ = AdapterSession::cancels(waiting_[looked_at_], request);
    }
    return is_gone_ || is_cancelled_;
  }

  AdapterChannel& channel_;
  MessageReader reader_;
  std::deque<std::string> waiting_;
  std::string why_broken_;
  bool has_input_ended_ = false;
  bool is_gone_ = false;         // It takes no more messages.
  std::int64_t asked_for_ = -1;  // The request that looked_at_ and is_cancelled_ are of.
  std::size_t looked_at_ = 0;    // Of waiting_, from the front.
  bool is_cancelled_ = false;
  AdapterSession session_;
};

}  // namespace

std::string serveAdapter(AdapterChannel& channel, const client::WorkerStarter& start_worker) {
  return Conversation(channel, start_worker).hold();
}

}  // namespace lisp_worker::console
