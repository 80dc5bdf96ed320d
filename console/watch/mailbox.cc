#include "console/watch/mailbox.h"

#include <utility>

namespace lisp_worker::console {

void Mailbox::publish(std::string text) {
  const std::lock_guard lock(mutex_);
  state_ = {state_.number + 1, std::make_shared<const std::string>(std::move(text))};
  changed_.notify_all();
}

std::optional<Mailbox::State> Mailbox::waitForState(std::uint64_t seen,
                                                    std::chrono::milliseconds limit) {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, limit, [&] { return is_closed_ || state_.number > seen; });
  if (is_closed_ || state_.number <= seen) return std::nullopt;
  return state_;
}

void Mailbox::ask(std::uint64_t question) {
  const std::lock_guard lock(mutex_);
  question_ = question;
  answer_.reset();
}

bool Mailbox::answer(std::uint64_t question, std::string line) {
  const std::lock_guard lock(mutex_);
  if (question == 0 || question != question_ || answer_) return false;
  answer_ = std::move(line);
  changed_.notify_all();
  return true;
}

std::optional<std::string> Mailbox::waitForAnswer(std::chrono::milliseconds limit) {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, limit, [&] { return is_closed_ || answer_.has_value(); });
  if (!answer_) return std::nullopt;
  return std::exchange(answer_, std::nullopt);
}

void Mailbox::close() {
  const std::lock_guard lock(mutex_);
  is_closed_ = true;
  changed_.notify_all();
}

bool Mailbox::isClosed() {
  const std::lock_guard lock(mutex_);
  return is_closed_;
}

}  // namespace lisp_worker::console
