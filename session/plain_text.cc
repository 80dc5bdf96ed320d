// Makes text safe and short for a terminal: control characters and bytes that are not UTF-8 are
// written as escapes, and what is too long is cut between letters.

#include "session/plain_text.h"

#include <algorithm>

namespace lisp_worker::session {
namespace {

constexpr std::string_view kOmission = "...";

// The size of the letter, in UTF-8, that `text` begins with; 0 when it begins with a control
// character, of which there are some above ASCII too, or with no letter at all.
std::size_t letterSize(std::string_view text) {
  const auto byte = [text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
  const unsigned char lead = byte(0);
  if (lead < 0x80) return lead >= 0x20 && lead != 0x7F ? 1 : 0;
  const std::size_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < size) return 0;
  for (std::size_t index = 1; index < size; ++index) {
    if ((byte(index) & 0xC0) != 0x80) return 0;
  }
  const unsigned char second = byte(1);
  const bool is_control = lead == 0xC2 && second < 0xA0;
  const bool is_overlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
  const bool is_no_letter = (lead == 0xED && second > 0x9F) || (lead == 0xF4 && second > 0x8F);
  return is_control || is_overlong || is_no_letter ? 0 : size;
}

std::string escaped(char c) {
  switch (c) {
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      break;
  }
  const auto byte = static_cast<unsigned char>(c);
  constexpr std::string_view kDigits = "0123456789abcdef";
  return {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 0xF]};
}

// Takes the first letter from `text`, or the first byte escaped.
std::string takeLetter(std::string_view& text) {
  const std::size_t size = letterSize(text);
  std::string letter = size == 0 ? escaped(text[0]) : std::string(text.substr(0, size));
  text.remove_prefix(std::max<std::size_t>(size, 1));
  return letter;
}

}  // namespace

std::string printable(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    if (text[0] == '\n') {
      out += '\n';
      text.remove_prefix(1);
    } else {
      out += takeLetter(text);
    }
  }
  return out;
}

std::string plainText(std::string_view text, std::size_t width) {
  std::string line;
  std::size_t fitting = 0;  // What may stay when the omission has to follow.
  while (!text.empty()) {
    line += takeLetter(text);
    if (line.size() > width) {
      line.resize(fitting);
      return line.append(kOmission);
    }
    if (line.size() + kOmission.size() <= width) fitting = line.size();
  }
  return line;
}

std::string counted(std::size_t count, std::string_view thing) {
  return std::to_string(count) + " " + std::string(thing) + (count == 1 ? "" : "s");
}

std::string padded(std::string text, std::size_t width) {
  if (text.size() < width) text.resize(width, ' ');
  return text;
}

}  // namespace lisp_worker::session
