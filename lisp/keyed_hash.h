// A keyed hash of byte strings: a polynomial over the integers modulo 2^61 - 1.
//
// The bytes are cut into digits of seven bytes, and the hash is the value at a secret point of the
// polynomial that has the length, plus one, and the digits as coefficients and no constant term.
// Two different strings of n bytes collide for at most n / 7 + 2 of the 2^61 - 1 points, whoever
// chose them (Carter and Wegman's universal hashing), so only a host that knew the point could make
// names collide.

#ifndef LISP_KEYED_HASH_H_
#define LISP_KEYED_HASH_H_

#include <cstdint>
#include <string_view>

namespace lisp {

// A point drawn anew in each process.
[[nodiscard]] std::uint64_t drawHashPoint();

// The hash of `bytes` at `point`, below 2^61 - 1. Linear in the bytes.
[[nodiscard]] std::uint64_t keyedHash(std::string_view bytes, std::uint64_t point);

}  // namespace lisp

#endif  // LISP_KEYED_HASH_H_
