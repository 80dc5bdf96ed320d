// Arithmetic modulo 2^61 - 1: a product of two 61-bit numbers has 122 bits, and its upper half is
// added to the lower, since 2^61 is 1 there.

#include "lisp/keyed_hash.h"

#include <cstddef>

#include "lisp/secret.h"

namespace lisp {
namespace {

constexpr std::uint64_t kPrime = (std::uint64_t{1} << 61) - 1;
constexpr std::size_t kDigitSize = 7;  // Bytes; a digit is below 2^56, so below the prime.

__extension__ using Wide = unsigned __int128;

// a * b + c modulo the prime, for a, b and c below it.
std::uint64_t multiplyAdd(std::uint64_t a, std::uint64_t b, std::uint64_t c) {
  const Wide sum = static_cast<Wide>(a) * b + c;
  const std::uint64_t folded =
      (static_cast<std::uint64_t>(sum) & kPrime) + static_cast<std::uint64_t>(sum >> 61);
  return folded >= kPrime ? folded - kPrime : folded;
}

std::uint64_t digitAt(const char* bytes, std::size_t size) {
  std::uint64_t digit = 0;
  for (std::size_t i = 0; i < size; ++i) {
    digit = (digit << 8) | static_cast<unsigned char>(bytes[i]);
  }
  return digit;
}

}  // namespace

std::uint64_t drawHashPoint() { return drawSecret() % kPrime; }

std::uint64_t keyedHash(std::string_view bytes, std::uint64_t point) {
  std::uint64_t hash = bytes.size() + 1;
  for (; bytes.size() >= kDigitSize; bytes.remove_prefix(kDigitSize)) {
    hash = multiplyAdd(hash, point, digitAt(bytes.data(), kDigitSize));
  }
  if (!bytes.empty()) hash = multiplyAdd(hash, point, digitAt(bytes.data(), bytes.size()));
  // A last multiplication, so that the low bits of names that differ in one digit differ too.
  return multiplyAdd(hash, point, 0);
}

}  // namespace lisp
