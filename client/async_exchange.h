// Requests over an AsyncChannel, one after the other: each is sent when the response to the one
// before has come in full. Nothing here waits, and no host's code is called except the observer.

#ifndef CLIENT_ASYNC_EXCHANGE_H_
#define CLIENT_ASYNC_EXCHANGE_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "lisp_worker/client/async_channel.h"
#include "lisp_worker/client/frame_observer.h"
#include "lisp_worker/client/worker_client.h"
#include "lisp_worker/worker/frame.h"

namespace lisp_worker::client {

struct AsyncRequest {
  worker::MessageType type = worker::MessageType::Ping;
  std::uint64_t context_id = 0;
  std::uint64_t run_id = 0;
  std::string payload = {};
  std::uint64_t program = 0;  // That it is sent for; 0 for none.

  // Told of the response; returns the fault of one that does not answer the request.
  std::function<std::optional<Fault>(worker::WorkerStatus status, std::string_view payload)>
      on_response = {};

  // Told when there will be no response; may be empty.
  std::function<void()> on_lost = {};
};

class AsyncExchange {
 public:
  // Both must outlive the exchange; `observer` may be null.
  AsyncExchange(AsyncChannel& channel, std::chrono::milliseconds time_limit,
                FrameObserver* observer)
      : channel_(channel), time_limit_(time_limit), observer_(observer) {}

  // Queues a request after all others, or before them.
  void add(AsyncRequest request) { queue_.push_back(std::move(request)); }
  void addFirst(AsyncRequest request) { queue_.push_front(std::move(request)); }

  // Takes a program's request out of the queue, if it is there. Returns whether it was.
  bool drop(std::uint64_t program);

  // Sends and receives as far as that goes at once. After a fault nothing happens any more.
  void advance();

  // Tells all requests, the one in hand included, that they are lost.
  void loseAll();

  [[nodiscard]] bool isAtWork() const { return in_hand_.has_value(); }
  [[nodiscard]] bool isIdle() const { return !in_hand_ && queue_.empty(); }

  // The program whose request is in hand; 0 for none.
  [[nodiscard]] std::uint64_t programInHand() const { return in_hand_ ? in_hand_->program : 0; }

  [[nodiscard]] bool wantsToWrite() const { return sent_ < frame_.size(); }
  [[nodiscard]] Deadline deadline() const { return in_hand_ ? deadline_ : std::nullopt; }
  [[nodiscard]] const std::optional<Fault>& fault() const { return fault_; }

  // The exception that the observer has thrown since the last call; null without one.
  [[nodiscard]] std::exception_ptr takeObserverFailure();

 private:
  void begin();
  bool sendMore();
  bool receiveMore();
  void takeBytes(std::string_view bytes);
  void finishResponse();
  void failAtEnd();
  void failIfLate();
  [[nodiscard]] std::size_t missingSize() const;
  template <typename Notice>
  void notify(Notice notice);

  AsyncChannel& channel_;
  std::chrono::milliseconds time_limit_;
  FrameObserver* observer_;
  std::deque<AsyncRequest> queue_;
  std::optional<AsyncRequest> in_hand_;
  worker::MessageHeader header_;    // Of the request in hand.
  worker::MessageHeader response_;  // Of its response, once it has come.
  std::string frame_;               // The request in hand, as bytes; `sent_` of them have gone.
  std::size_t sent_ = 0;
  std::string received_;  // The part of the response that has come.
  Deadline deadline_;
  std::uint64_t next_request_id_ = 1;
  std::optional<Fault> fault_;
  std::exception_ptr observer_failure_;
};

}  // namespace lisp_worker::client

#endif  // CLIENT_ASYNC_EXCHANGE_H_
