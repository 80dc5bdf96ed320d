// A stack of plain records, for the interpreter's own bookkeeping: its size is at hand without a
// division, and growing costs the common path one comparison.

#ifndef LISP_PLAIN_STACK_H_
#define LISP_PLAIN_STACK_H_

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

namespace lisp {

template <typename Record>
class PlainStack {
  static_assert(std::is_trivially_destructible_v<Record>);
  static_assert(alignof(Record) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);

 public:
  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] Record& operator[](std::size_t index) {
    assert(index < size_);
    return data()[index];
  }
  [[nodiscard]] Record& top() { return (*this)[size_ - 1]; }
  // Memory taken for records, used or not.
  [[nodiscard]] std::size_t bytes() const { return capacity_ * sizeof(Record); }
  // The records from the bottom up; null while there has never been one.
  [[nodiscard]] Record* data() { return reinterpret_cast<Record*>(memory_.get()); }

  // `record` must be none of the stack's own, which growing moves. Taking it by value instead costs
  // the reader a fiftieth of its time.
  void push(const Record& record) {
    assert(std::less<>()(&record, data()) || !std::less<>()(&record, data() + size_));
    extend() = record;
  }

  // A new top, whose contents are to be written member by member. Putting a record of several words
  // together elsewhere first would make the copy wait for its parts.
  Record& extend() {
    if (size_ == capacity_) [[unlikely]]
      grow();
    return data()[size_++];
  }

  // Drops what lies above the first `size` records, of which there must be as many.
  void truncate(std::size_t size) {
    assert(size <= size_);
    size_ = size;
  }

 private:
  static constexpr std::size_t kCapacityMin = 32;

  // The new records are not initialised: whoever extends the stack writes them.
  [[gnu::noinline]] void grow() {
    const std::size_t capacity = std::max(kCapacityMin, 2 * capacity_);
    // NOLINTNEXTLINE(bugprone-sizeof-expression): a record may well be a pointer.
    auto memory = std::make_unique_for_overwrite<std::byte[]>(capacity * sizeof(Record));
    std::uninitialized_copy_n(data(), size_, reinterpret_cast<Record*>(memory.get()));
    memory_ = std::move(memory);
    capacity_ = capacity;
  }

  std::unique_ptr<std::byte[]> memory_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace lisp

#endif  // LISP_PLAIN_STACK_H_
