// The decoder checks the whole letter: its length by the first byte, then each byte after it.

#include "console/utf8.h"

namespace lisp_worker::console {
namespace {

// By the first byte; 0 when it cannot be first.
std::size_t letterSize(unsigned char first) {
  if (first < 0x80) return 1;
  if (first < 0xC2) return 0;
  if (first < 0xE0) return 2;
  if (first < 0xF0) return 3;
  return first < 0xF5 ? 4 : 0;
}

}  // namespace

Letter letterAt(std::string_view text) {
  const auto first = static_cast<unsigned char>(text.front());
  const std::size_t size = letterSize(first);
  if (size == 0 || size > text.size()) return {};
  constexpr unsigned char kFirstMasks[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
  char32_t code = first & kFirstMasks[size];
  for (const char c : text.substr(1, size - 1)) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte & 0xC0) != 0x80) return {};
    code = (code << 6) | (byte & 0x3F);
  }
  constexpr char32_t kLowest[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool is_surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < kLowest[size] || is_surrogate || code > 0x10FFFF) return {};
  return {size, code, true};
}

std::size_t unfinishedSize(std::string_view text) {
  for (std::size_t size = 1; size < 4 && size <= text.size(); ++size) {
    const auto byte = static_cast<unsigned char>(text[text.size() - size]);
    if (byte < 0x80) return 0;
    if (byte >= 0xC0) return letterSize(byte) > size ? size : 0;
  }
  return 0;
}

}  // namespace lisp_worker::console
