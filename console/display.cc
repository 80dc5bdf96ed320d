// Texts are taken apart letter by letter as UTF-8. Control characters, and bytes that are no
// letter, are written as \xHH or \uHHHH.

#include "console/display.h"

#include <algorithm>

#include "console/utf8.h"
#include "lisp_worker/client/answer_text.h"
#include "lisp_worker/client/worker_text.h"

namespace lisp_worker::console {
namespace {

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
