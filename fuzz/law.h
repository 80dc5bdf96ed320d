// Shared by the fuzzers: a law that is broken ends the process, and an input is a string of bytes
// that is taken apart from its front.

#ifndef FUZZ_LAW_H_
#define FUZZ_LAW_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace lisp_worker::fuzz {

// Says what is wrong and ends the process unless `holds`; the fuzzer then keeps the input.
inline void require(bool holds, std::string_view law, std::string_view details = "") {
  if (holds) return;
  std::fprintf(stderr, "broken: %.*s\n%.*s\n", static_cast<int>(law.size()), law.data(),
               static_cast<int>(details.size()), details.data());
  std::abort();
}

// The same for two texts that must be equal.
inline void requireEqual(std::string_view actual, std::string_view expected, std::string_view law) {
  if (actual == expected) return;
  require(false, law, "is:      " + std::string(actual) + "\nmust be: " + std::string(expected));
}

// Gives zeros once its bytes have run out.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size)
      : bytes_(reinterpret_cast<const char*>(data), size) {}

  [[nodiscard]] bool empty() const { return bytes_.empty(); }
  std::string_view take(std::size_t size) {
    const std::string_view taken = bytes_.substr(0, size);
    bytes_.remove_prefix(taken.size());
    return taken;
  }
  std::uint8_t byte() {
    const std::string_view taken = take(1);
    return taken.empty() ? std::uint8_t{0} : static_cast<std::uint8_t>(taken[0]);
  }
  // Any double, by its bits.
  double number() {
    double value = 0;
    const std::string_view taken = take(sizeof value);
    std::memcpy(&value, taken.data(), taken.size());
    return value;
  }
  // Up to the next zero byte, which is dropped, or to the end.
  std::string_view text() {
    const std::string_view taken = take(std::min(bytes_.find('\0'), bytes_.size()));
    take(1);
    return taken;
  }
  std::string_view rest() { return take(bytes_.size()); }

 private:
  std::string_view bytes_;
};

}  // namespace lisp_worker::fuzz

#endif  // FUZZ_LAW_H_
