// LispValue, the one value type of the dialect.
//
// Five kinds and no others: no cons cells, integers or booleans. Nil alone is false; truth is the
// symbol T. Values have value semantics: a copy never changes when its original does. They are
// immutable once built, so a copy shares its storage and costs O(1), and nobody can tell.
//
// A value is two machine words. The first holds the kind and, for a list, the number of elements;
// the second holds the double or the address of a counted record: a Text or a Symbol, which are
// interned (equal bytes, one record), or a Chunk of elements (lisp/list.h).

#ifndef LISP_VALUE_H_
#define LISP_VALUE_H_

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include "lisp/wrapping.h"

namespace lisp {

enum class ValueKind : std::uint8_t { Nil = 0, Number = 1, String = 2, Symbol = 3, List = 4 };

// The first word's tag: the five kinds, and three states that never leave the evaluator.
enum class Tag : std::uint32_t {
  Nil = 0,
  Number = 1,
  String = 2,
  Symbol = 3,
  List = 4,
  Unbound = 5,    // A symbol's slot that has no binding.
  NotLoaded = 6,  // A symbol's slot that has not been filled from the environment yet.
  Failed = 7,     // A result whose failure is parked in the interpreter.
};

// The beginning of every shared record: how many values, bindings and tables hold it. Plain, not
// atomic: one thread does everything. A count of 2^32 would need 64 GiB of holders.
struct Counted {
  std::uint32_t references = 1;
};

struct Symbol;
struct Text;
struct Chunk;

// The two words of a value without ownership: what registers, slots and elements hold. Each is read
// and written whole: a word written in halves is slow to read back.
struct RawValue {
  std::uint64_t head = 0;  // The tag; above it, for a list, the number of elements, otherwise 0.
  union {
    double number;
    Counted* record = nullptr;
  };

  [[nodiscard]] Tag tag() const { return static_cast<Tag>(static_cast<std::uint32_t>(head)); }
  // Elements of a list.
  [[nodiscard]] std::uint32_t length() const {
    assert(tag() == Tag::List);
    return static_cast<std::uint32_t>(head >> 32);
  }

  [[nodiscard]] static RawValue ofNumber(double number) {
    RawValue raw;
    raw.head = static_cast<std::uint64_t>(Tag::Number);
    raw.number = number;
    return raw;
  }
  // Of a string or a symbol; or of a state of the evaluator, without a record.
  [[nodiscard]] static RawValue of(Tag tag, Counted* record = nullptr) {
    assert((tag == Tag::String || tag == Tag::Symbol) == (record != nullptr));
    assert(tag != Tag::Number && tag != Tag::List);
    RawValue raw;
    raw.head = static_cast<std::uint64_t>(tag);
    raw.record = record;
    return raw;
  }
  [[nodiscard]] static RawValue ofList(Counted& chunk, std::uint32_t length) {
    RawValue raw;
    raw.head = static_cast<std::uint64_t>(Tag::List) | (static_cast<std::uint64_t>(length) << 32);
    raw.record = &chunk;
    return raw;
  }
};

// Copies from memory to memory in two words. The compiler's own copy is one wide load, which waits
// until what the words were written with has reached the cache.
inline void copyWords(RawValue& to, const RawValue& from) {
  to.head = from.head;
  to.record = from.record;
}

// True when `raw` shares a counted record. Tags below those that do wrap around to large numbers.
[[nodiscard]] LISP_WRAPS inline bool isCounted(const RawValue& raw) {
  return static_cast<std::uint32_t>(raw.tag()) - static_cast<std::uint32_t>(Tag::String) <= 2;
}

// Gives up the last hold on a record. Constant work: the elements of a list are released later, a
// few with every allocation (lisp/list.h).
void retire(RawValue raw);

inline void retain(const RawValue& raw) {
  assert(!isCounted(raw) || raw.record->references > 0);
  if (isCounted(raw)) ++raw.record->references;
}

inline void release(const RawValue& raw) {
  assert(!isCounted(raw) || raw.record->references > 0);
  if (isCounted(raw) && --raw.record->references == 0) retire(raw);
}

// Puts `value`, whose hold it takes over, in the place of what `slot` holds.
inline void replace(RawValue& slot, RawValue value) {
  const RawValue old = slot;
  slot = value;
  release(old);
}

// One value. Copying is O(1); a moved-from value is nil.
// Invariant: the tag is one of the five kinds and alone decides what the second word holds, so a
// kind cannot contradict its payload; only makers and accessors look at either.
class LispValue {
 public:
  LispValue() = default;
  LispValue(const LispValue& other) : raw_(other.raw_) { retain(raw_); }
  LispValue(LispValue&& other) noexcept : raw_(std::exchange(other.raw_, RawValue())) {}
  LispValue& operator=(const LispValue& other) {
    retain(other.raw_);
    release(std::exchange(raw_, other.raw_));
    return *this;
  }
  LispValue& operator=(LispValue&& other) noexcept {
    const RawValue taken = std::exchange(other.raw_, RawValue());
    release(std::exchange(raw_, taken));
    return *this;
  }
  ~LispValue() { release(raw_); }

  // Takes over the hold on `raw`.
  [[nodiscard]] static LispValue adopt(RawValue raw) {
    LispValue value;
    value.raw_ = raw;
    return value;
  }
  // A further hold on the record of `raw`.
  [[nodiscard]] static LispValue share(const RawValue& raw) {
    retain(raw);
    return adopt(raw);
  }
  // Hands the hold to the caller and leaves nil.
  [[nodiscard]] RawValue take() { return std::exchange(raw_, RawValue()); }

  [[nodiscard]] const RawValue& raw() const { return raw_; }
  [[nodiscard]] ValueKind kind() const { return static_cast<ValueKind>(raw_.tag()); }

 private:
  RawValue raw_;
};

static_assert(sizeof(RawValue) == 16 && sizeof(LispValue) == 16);

// The elements of a list, in order: a borrow, valid while the list value lives.
class LispList {
 public:
  class Iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = LispValue;
    using difference_type = std::ptrdiff_t;
    using pointer = const LispValue*;
    using reference = const LispValue&;

    Iterator() = default;
    Iterator(const Chunk* chunk, std::uint32_t left);
    // There must be an element.
    reference operator*() const {
      assert(left_ > 0);
      return *element_;
    }
    pointer operator->() const { return &**this; }
    Iterator& operator++();
    Iterator operator++(int) {
      Iterator before = *this;
      ++*this;
      return before;
    }
    bool operator==(const Iterator& other) const { return left_ == other.left_; }

   private:
    const Chunk* chunk_ = nullptr;
    const LispValue* element_ = nullptr;
    std::uint32_t left_ = 0;  // Elements from here to the end.
  };

  LispList(const Chunk* chunk, std::uint32_t length) : chunk_(chunk), length_(length) {}

  [[nodiscard]] std::uint32_t size() const { return length_; }
  [[nodiscard]] bool empty() const { return length_ == 0; }
  // Element `index`, which must be below size(). O(1) in a list read from text or made by LIST,
  // O(log chunks) in one that CONS pieced together.
  [[nodiscard]] const LispValue& operator[](std::uint32_t index) const;
  [[nodiscard]] const LispValue& front() const { return (*this)[0]; }
  [[nodiscard]] Iterator begin() const { return {chunk_, length_}; }
  [[nodiscard]] Iterator end() const { return {}; }

 private:
  const Chunk* chunk_;
  std::uint32_t length_;
};

// Makers. Text is taken as it stands; folding case is the reader's work.
[[nodiscard]] inline LispValue nil() { return {}; }
[[nodiscard]] LispValue number(double value);
[[nodiscard]] LispValue string(std::string_view text);  // Interned: equal texts share one record.
[[nodiscard]] LispValue symbol(std::string_view name);  // Interned: equal names share one record.
[[nodiscard]] LispValue list(std::span<const LispValue> elements);
[[nodiscard]] LispValue list(std::initializer_list<LispValue> elements);
[[nodiscard]] LispValue truth();  // The symbol T.

[[noreturn]] void refuseKind();
// Only the five kinds are values; anything else has escaped from the evaluator.
inline void checkKind(const LispValue& value) {
  if (value.raw().tag() > Tag::List) [[unlikely]]
    refuseKind();
}

// Accessors: nothing for a value of another kind. Borrows last as long as `value`. A tag outside
// the five kinds is a defect of ours and throws std::bad_variant_access.
[[nodiscard]] inline std::optional<double> asNumber(const LispValue& value) {
  checkKind(value);
  if (value.kind() != ValueKind::Number) return std::nullopt;
  return value.raw().number;
}
[[nodiscard]] std::optional<std::string_view> asText(const LispValue& value);  // String or symbol.
[[nodiscard]] std::optional<LispList> asList(const LispValue& value);          // Nil is not a list.

// True for a list whose elements are all numbers, the empty list included.
[[nodiscard]] bool isNumberList(const LispValue& value);

// A list whose first element is the symbol $KVSEL; the members follow it.
[[nodiscard]] std::optional<LispList> asSelectionSet(const LispValue& value);

[[nodiscard]] inline bool isTrue(const LispValue& value) { return value.kind() != ValueKind::Nil; }

// Structural equality, any depth, without recursion. Kinds never mix: nil is not (). -0.0 equals
// 0.0; NaN equals nothing, itself included, and so does a list that holds one at any depth. Work is
// bounded by the distinct chunks of both values, and what was once found equal is not walked again.
[[nodiscard]] bool valuesEqual(const LispValue& a, const LispValue& b);

}  // namespace lisp

#endif  // LISP_VALUE_H_
