// Texts are taken apart letter by letter as UTF-8. Control characters, and bytes that are no
// letter, are written as \xHH or \uHHHH.

#include "console/display.h"

#include <algorithm>

#include "lisp_worker/client/answer_text.h"
#include "lisp_worker/client/worker_text.h"

namespace lisp_worker::console {
namespace {

// A letter of UTF-8, or a byte that belongs to none.
struct Letter {
  std::size_t size = 1;  // In bytes.
  char32_t code = 0;
  bool is_whole = false;
};

// By the first byte; 0 when it cannot be first.
std::size_t letterSize(unsigned char first) {
  if (first < 0x80) return 1;
  if (first < 0xC2) return 0;
  if (first < 0xE0) return 2;
  if (first < 0xF0) return 3;
  return first < 0xF5 ? 4 : 0;
}

// The first of `text`, which is not empty.
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

bool isSafe(char32_t code) {
  if (code == U'\n' || code == U'\t') return true;
  const bool is_control = code < 0x20 || (code >= 0x7F && code <= 0x9F);
  const bool turns_direction = code == 0x061C || code == 0x200E || code == 0x200F ||
                               (code >= 0x202A && code <= 0x202E) ||
                               (code >= 0x2066 && code <= 0x2069);
  return !is_control && !turns_direction;
}

constexpr char kHexDigits[] = "0123456789ABCDEF";

void appendByte(std::string& text, char c) {
  const auto byte = static_cast<unsigned char>(c);
  text += {'\\', 'x', kHexDigits[byte >> 4], kHexDigits[byte & 0xF]};
}

// All that are not safe have at most four digits.
void appendCode(std::string& text, char32_t code) {
  text += "\\u";
  for (int shift = 12; shift >= 0; shift -= 4) text += kHexDigits[(code >> shift) & 0xF];
}

}  // namespace

std::string safeText(std::string_view text) {
  std::string safe;
  safe.reserve(text.size());
  while (!text.empty()) {
    const Letter letter = letterAt(text);
    if (letter.is_whole && isSafe(letter.code)) {
      safe += text.substr(0, letter.size);
    } else if (letter.is_whole && letter.size > 1) {
      appendCode(safe, letter.code);
    } else {
      for (const char c : text.substr(0, letter.size)) appendByte(safe, c);
    }
    text.remove_prefix(letter.size);
  }
  return safe;
}

std::size_t unfinishedSize(std::string_view text) {
  for (std::size_t size = 1; size < 4 && size <= text.size(); ++size) {
    const auto byte = static_cast<unsigned char>(text[text.size() - size]);
    if (byte < 0x80) return 0;
    if (byte >= 0xC0) return letterSize(byte) > size ? size : 0;
  }
  return 0;
}

std::string displayText(std::string_view text, std::size_t size_max) {
  std::size_t size = std::min(text.size(), size_max);
  size -= size < text.size() ? unfinishedSize(text.substr(0, size)) : 0;
  std::string shown;
  for (const char c : text.substr(0, size)) {
    if (c == '\n') {
      shown += "\\n";
    } else if (c == '\t') {
      shown += "\\t";
    } else if (c == '\r') {
      shown += "\\r";
    } else {
      shown += c;
    }
  }
  shown = safeText(shown);
  if (size < text.size()) shown += "... (" + std::to_string(text.size()) + " bytes in all)";
  return shown;
}

std::string displayWorkerText(std::string_view text, std::size_t size_max) {
  const auto datum = client::readWorkerText(text, nullptr);
  return datum ? displayDatum(*datum, size_max) : displayText(text, size_max);
}

std::string displayDatum(const client::Datum& datum, std::size_t size_max) {
  return displayText(client::printDatum(datum), size_max);
}

}  // namespace lisp_worker::console
