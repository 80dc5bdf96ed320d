// Random choices for generated tests. The same seed gives the same choices with every compiler
// and on every platform, which the distributions of the standard library do not promise.

#ifndef TESTING_BASE_RANDOM_H_
#define TESTING_BASE_RANDOM_H_

#include <cstddef>
#include <cstdint>
#include <random>

namespace lisp_worker::testing_support {

class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}

  // Any 64 bits.
  std::uint64_t bits() { return engine_(); }
  // A number from 0 to `count` - 1; `count` is not 0.
  std::size_t below(std::size_t count) { return static_cast<std::size_t>(engine_() % count); }
  // A number from `low` to `high`, both included.
  int between(int low, int high) {
    return low + static_cast<int>(below(static_cast<std::size_t>(high - low) + 1));
  }
  // True `part` times in `whole`.
  bool chance(std::size_t part, std::size_t whole) { return below(whole) < part; }

  // One of the elements of an array or a container with indexes.
  template <typename Element, std::size_t Count>
  const Element& pick(const Element (&elements)[Count]) {
    return elements[below(Count)];
  }
  template <typename Container>
  const typename Container::value_type& pick(const Container& elements) {
    return elements[below(elements.size())];
  }

 private:
  std::mt19937_64 engine_;
};

}  // namespace lisp_worker::testing_support

#endif  // TESTING_BASE_RANDOM_H_
