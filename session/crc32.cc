#include "session/crc32.h"

#include <array>
#include <cstddef>

namespace lisp_worker::session {
namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320;

// A record may be a megabyte, so eight bytes go at a time: row n holds the checksum of a byte with
// n zero bytes after it.
constexpr std::size_t kRowCount = 8;
using Rows = std::array<std::array<std::uint32_t, 256>, kRowCount>;

constexpr Rows makeRows() {
  Rows rows{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t remainder = byte;
    for (int bit = 0; bit < 8; ++bit) {
      remainder = (remainder >> 1) ^ ((remainder & 1) != 0 ? kPolynomial : 0);
    }
    rows[0][byte] = remainder;
  }
  for (std::size_t row = 1; row < kRowCount; ++row) {
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const std::uint32_t previous = rows[row - 1][byte];
      rows[row][byte] = (previous >> 8) ^ rows[0][previous & 0xFF];
    }
  }
  return rows;
}

constexpr Rows kRows = makeRows();

std::uint32_t byteAt(std::string_view bytes, std::size_t index) {
  return static_cast<unsigned char>(bytes[index]);
}

}  // namespace

std::uint32_t crc32(std::string_view bytes, std::uint32_t before) {
  std::uint32_t remainder = ~before;
  while (bytes.size() >= kRowCount) {
    const std::uint32_t low = remainder ^ (byteAt(bytes, 0) | byteAt(bytes, 1) << 8 |
                                           byteAt(bytes, 2) << 16 | byteAt(bytes, 3) << 24);
    remainder = kRows[7][low & 0xFF] ^ kRows[6][low >> 8 & 0xFF] ^ kRows[5][low >> 16 & 0xFF] ^
                kRows[4][low >> 24] ^ kRows[3][byteAt(bytes, 4)] ^ kRows[2][byteAt(bytes, 5)] ^
                kRows[1][byteAt(bytes, 6)] ^ kRows[0][byteAt(bytes, 7)];
    bytes.remove_prefix(kRowCount);
  }
  for (std::size_t index = 0; index < bytes.size(); ++index) {
    remainder = (remainder >> 8) ^ kRows[0][(remainder ^ byteAt(bytes, index)) & 0xFF];
  }
  return ~remainder;
}

}  // namespace lisp_worker::session
