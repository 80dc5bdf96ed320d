// One request is in hand at a time, as the protocol asks. begin() makes its frame; sendMore() and
// receiveMore() move as many bytes as the pipes take and give, and keep where they are: the frame's
// bytes that have been sent (`sent_`), the response's that have come (`received_`). A fault ends
// everything; it is kept until the owner has asked for it.
//
// A response is checked as soon as its header is complete, so that a payload of the wrong worker is
// not waited for.

#include "client/async_exchange.h"

#include <array>
#include <span>
#include <utility>

#include "client/exchange.h"

namespace lisp_worker::client {

using worker::kHeaderSize;
using worker::WorkerStatus;

bool AsyncExchange::drop(std::uint64_t program) {
  return std::erase_if(
             queue_, [program](const AsyncRequest& each) { return each.program == program; }) != 0;
}

void AsyncExchange::advance() {
  bool has_moved = true;
  while (has_moved && !fault_) {
    if (!in_hand_ && !queue_.empty()) begin();
    has_moved = sendMore();
    has_moved = (!fault_ && receiveMore()) || has_moved;
  }
  if (!fault_) failIfLate();
}

void AsyncExchange::loseAll() {
  if (in_hand_) queue_.push_front(*std::exchange(in_hand_, std::nullopt));
  // A callback may add requests, and those are lost, too.
  while (!queue_.empty()) {
    const AsyncRequest request = std::move(queue_.front());
    queue_.pop_front();
    if (request.on_lost) request.on_lost();
  }
}

std::exception_ptr AsyncExchange::takeObserverFailure() {
  return std::exchange(observer_failure_, nullptr);
}

// Takes the next request in hand.
void AsyncExchange::begin() {
  in_hand_ = std::move(queue_.front());
  queue_.pop_front();
  header_ = requestHeader(in_hand_->type, next_request_id_++, in_hand_->payload.size());
  header_.context_id = in_hand_->context_id;
  header_.run_id = in_hand_->run_id;
  encodeRequest(header_, in_hand_->payload, frame_);
  sent_ = 0;
  received_.clear();
  deadline_.reset();
  if (time_limit_.count() > 0) deadline_ = momentAfter(time_limit_);
}

// True when bytes have gone.
bool AsyncExchange::sendMore() {
  if (!wantsToWrite()) return false;
  const auto count = channel_.writeSome(std::string_view(frame_).substr(sent_));
  if (!count) {
    fault_ = Fault{Fault::Kind::RequestNotTaken, "the worker no longer takes requests"};
  } else {
    sent_ += *count;
  }
  if (fault_ || !wantsToWrite()) {
    notify([this](FrameObserver& observer) { observer.onRequest(frame_); });
  }
  return !fault_ && *count != 0;
}

// True when bytes have come.
bool AsyncExchange::receiveMore() {
  std::array<char, 8192> buffer;
  const auto count = channel_.readSome(buffer.data(), buffer.size());
  if (!count) {
    failAtEnd();
    return false;
  }
  if (*count != 0) takeBytes(std::string_view(buffer.data(), *count));
  return *count != 0;
}

// The bytes of the response that have not come yet, as far as they are known.
std::size_t AsyncExchange::missingSize() const {
  const std::size_t whole =
      received_.size() < kHeaderSize ? kHeaderSize : kHeaderSize + response_.payload_length;
  return whole - received_.size();
}

// Takes the response of the request in hand apart from what follows it. The worker sends nothing
// unasked, so bytes that remain are a fault.
void AsyncExchange::takeBytes(std::string_view bytes) {
  while (!fault_ && in_hand_ && !bytes.empty()) {
    const std::string_view part = bytes.substr(0, missingSize());
    received_ += part;
    bytes.remove_prefix(part.size());
    if (received_.size() == kHeaderSize) {
      response_ = worker::decodeHeader(std::span(received_).first<kHeaderSize>());
      fault_ = faultOfHeader(header_, response_);
      if (fault_) {
        notify([this](FrameObserver& observer) { observer.onBrokenResponse(received_); });
      }
    }
    if (!fault_ && missingSize() == 0) finishResponse();
  }
  if (!fault_ && !bytes.empty()) {
    fault_ = Fault{Fault::Kind::BadResponse, "the worker has sent " + std::to_string(bytes.size()) +
                                                 " bytes that nobody has asked for"};
  }
}

void AsyncExchange::finishResponse() {
  if (wantsToWrite()) {
    fault_ = Fault{Fault::Kind::BadResponse, "the worker has answered before it has the request"};
    return;
  }
  const std::string_view whole = received_;
  notify([whole](FrameObserver& observer) {
    observer.onResponse(whole.substr(0, kHeaderSize), whole.substr(kHeaderSize));
  });
  const AsyncRequest request = *std::exchange(in_hand_, std::nullopt);
  const auto status = static_cast<WorkerStatus>(response_.status);
  if (request.on_response) fault_ = request.on_response(status, whole.substr(kHeaderSize));
}

// The worker's output has ended.
void AsyncExchange::failAtEnd() {
  if (!in_hand_) {
    fault_ = Fault{Fault::Kind::ResponseCut, "the worker has ended while nothing was asked of it"};
    return;
  }
  const bool has_header = received_.size() >= kHeaderSize;
  fault_ = has_header
               ? faultOfEnd("payload", received_.size() - kHeaderSize, response_.payload_length)
               : faultOfEnd("header", received_.size(), kHeaderSize);
  notify([this](FrameObserver& observer) { observer.onBrokenResponse(received_); });
}

void AsyncExchange::failIfLate() {
  if (!in_hand_ || !deadline_ || std::chrono::steady_clock::now() < *deadline_) return;
  const bool has_header = received_.size() >= kHeaderSize;
  if (wantsToWrite()) {
    fault_ = faultOfSlowRequest(frame_, time_limit_);
    notify([this](FrameObserver& observer) { observer.onRequest(frame_); });
    return;
  }
  fault_ = has_header
               ? faultOfSlowResponse(frame_, time_limit_, "payload", received_.size() - kHeaderSize,
                                     response_.payload_length)
               : faultOfSlowResponse(frame_, time_limit_, "header", received_.size(), kHeaderSize);
  notify([this](FrameObserver& observer) { observer.onBrokenResponse(received_); });
}

// Keeps the first exception for whoever calls takeObserverFailure.
template <typename Notice>
void AsyncExchange::notify(Notice notice) {
  if (observer_ == nullptr) return;
  try {
    notice(*observer_);
  } catch (...) {
    if (!observer_failure_) observer_failure_ = std::current_exception();
  }
}

}  // namespace lisp_worker::client
