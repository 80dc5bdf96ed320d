// A hash table that grows and shrinks in small parts: no single insertion is charged with moving
// what was there before.
//
// Linear hashing (Litwin): with n buckets, 2^k <= n < 2^(k+1), a record is in bucket h mod 2^(k+1)
// if there is such a bucket, and otherwise in h mod 2^k. The next bucket to be added, n, takes its
// records from bucket n - 2^k alone. With six buckets, hash 13 (1101 in binary) is in bucket 5;
// hash 14 (1110) would be in 6, which is not there yet, and so is in 2. Buckets are added and taken
// away a segment at a time, so that the records that move are fetched from memory together.

#ifndef LISP_GROWING_TABLE_H_
#define LISP_GROWING_TABLE_H_

#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>
#include <vector>

#include "lisp/storage.h"
#include "lisp/work.h"

namespace lisp {

// The table refers to its records without holding them. A Record has a `std::uint64_t hash`, which
// must not change while it is in the table, and a `Record* next`, which is the table's.
template <typename Record>
class GrowingTable {
 public:
  GrowingTable() {
    while (bucket_count_ < kBucketsMin) addSegment();
  }
  ~GrowingTable() {
    while (!segments_.empty()) removeSegment();
  }
  GrowingTable(const GrowingTable&) = delete;
  GrowingTable& operator=(const GrowingTable&) = delete;

  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] std::size_t bucketCount() const { return bucket_count_; }

  // The first of the records among which those of this hash are; the others follow by `next`.
  [[nodiscard]] Record* firstOf(std::uint64_t hash) const { return at(indexOf(hash)); }

  void insert(Record* record) {
    if (size_ >= bucket_count_) [[unlikely]]
      grow();
    ++size_;
    push(at(indexOf(record->hash)), record);
  }

  // The record must be there.
  void remove(Record* record) {
    Record** link = &at(indexOf(record->hash));
    while (*link != record) {
      assert(*link != nullptr);
      countWork();
      link = &(*link)->next;
    }
    *link = record->next;
    --size_;
    if (4 * size_ < bucket_count_ && bucket_count_ > kBucketsMin) [[unlikely]]
      shrink();
  }

  // Calls visit(record) for every record; `visit` may destroy it.
  template <typename Visit>
  void forEach(Visit visit) {
    for (std::size_t i = 0; i < bucket_count_; ++i) {
      for (Record* record = at(i); record != nullptr;) {
        Record* const next = record->next;
        visit(record);
        record = next;
      }
    }
  }

 private:
  static constexpr std::size_t kSegmentSize = 64;  // Buckets.
  static constexpr std::size_t kBucketsMin = 256;
  using Segment = std::array<Record*, kSegmentSize>;

  [[nodiscard]] Record*& at(std::size_t index) {
    assert(index < bucket_count_);
    return (*segments_[index / kSegmentSize])[index % kSegmentSize];
  }
  [[nodiscard]] Record* at(std::size_t index) const {
    assert(index < bucket_count_);
    return (*segments_[index / kSegmentSize])[index % kSegmentSize];
  }

  [[nodiscard]] std::size_t indexOf(std::uint64_t hash) const {
    const std::size_t index = hash & (2 * half_ - 1);
    return index < bucket_count_ ? index : index - half_;
  }

  static void push(Record*& head, Record* record) {
    record->next = head;
    head = record;
  }

  void addSegment() {
    auto* const segment = new (storage::allocate(sizeof(Segment))) Segment;
    segment->fill(nullptr);
    segments_.push_back(segment);
    bucket_count_ += kSegmentSize;
    countWork(kSegmentSize);
  }

  void removeSegment() {
    storage::deallocate(segments_.back(), sizeof(Segment));
    segments_.pop_back();
    bucket_count_ -= kSegmentSize;
  }

  // Adds a segment, whose buckets share the records of as many others.
  [[gnu::noinline]] void grow() {
    if (bucket_count_ == 2 * half_) half_ = bucket_count_;
    Segment& from = *segments_[(bucket_count_ - half_) / kSegmentSize];
    addSegment();
    Segment& added = *segments_.back();
    for (const Record* const record : from) __builtin_prefetch(record);
    for (std::size_t i = 0; i < kSegmentSize; ++i) {
      Record* record = std::exchange(from[i], nullptr);
      while (record != nullptr) {
        countWork();
        Record* const next = record->next;
        push((record->hash & half_) != 0 ? added[i] : from[i], record);
        record = next;
      }
    }
  }

  // Takes the last segment away.
  [[gnu::noinline]] void shrink() {
    if (bucket_count_ == half_) half_ /= 2;
    Segment& last = *segments_.back();
    Segment& to = *segments_[(bucket_count_ - half_) / kSegmentSize - 1];
    countWork(kSegmentSize);
    for (const Record* const record : last) __builtin_prefetch(record);
    for (std::size_t i = 0; i < kSegmentSize; ++i) {
      for (Record* record = last[i]; record != nullptr;) {
        countWork();
        Record* const next = record->next;
        push(to[i], record);
        record = next;
      }
    }
    removeSegment();
  }

  std::vector<Segment*> segments_;
  std::size_t bucket_count_ = 0;
  std::size_t half_ = kBucketsMin;  // The power of two with half_ <= bucket_count_ <= 2 * half_.
  std::size_t size_ = 0;
};

}  // namespace lisp

#endif  // LISP_GROWING_TABLE_H_
