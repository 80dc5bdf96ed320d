#include "lisp/keyed_hash.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "testing/base/random.h"

namespace lisp {
namespace {

constexpr std::uint64_t kPrime = (std::uint64_t{1} << 61) - 1;

// a * b modulo the prime by doubling, which needs no wide products.
std::uint64_t multiply(std::uint64_t a, std::uint64_t b) {
  std::uint64_t product = 0;
  for (int bit = 60; bit >= 0; --bit) {
    product = product * 2 % kPrime;
    if ((b >> bit & 1) != 0) product = (product + a) % kPrime;
  }
  return product;
}

// The polynomial of the documentation, term by term.
std::uint64_t polynomial(const std::string& bytes, std::uint64_t point) {
  std::uint64_t hash = bytes.size() + 1;
  for (std::size_t first = 0; first < bytes.size(); first += 7) {
    std::uint64_t digit = 0;
    for (const char c : bytes.substr(first, 7)) digit = digit * 256 + static_cast<unsigned char>(c);
    hash = (multiply(hash, point) + digit) % kPrime;
  }
  return multiply(hash, point);
}

TEST(KeyedHash, IsThePolynomialOfTheDigitsAtThePoint) {
  lisp_worker::testing_support::Random random(61);
  for (std::size_t size = 0; size < 40; ++size) {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(random.below(256));
    for (const std::uint64_t point :
         {std::uint64_t{0}, std::uint64_t{1}, kPrime - 1, random.bits() % kPrime}) {
      EXPECT_EQ(keyedHash(bytes, point), polynomial(bytes, point)) << size << " at " << point;
    }
  }
}

TEST(KeyedHash, TellsShortStringsApart) {
  const std::uint64_t point = drawHashPoint();
  std::set<std::uint64_t> hashes;
  std::size_t strings = 0;
  for (std::size_t size = 0; size <= 16; ++size) {
    for (std::size_t i = 0; i <= size; ++i) {
      std::string bytes(size, '\0');
      if (i < size) bytes[i] = 'x';
      hashes.insert(keyedHash(bytes, point));
      ++strings;
    }
  }
  EXPECT_EQ(hashes.size(), strings);
}

TEST(DrawHashPoint, DrawsAnewEachTime) {
  const std::uint64_t point = drawHashPoint();
  EXPECT_LT(point, kPrime);
  EXPECT_NE(point, drawHashPoint());
}

}  // namespace
}  // namespace lisp
