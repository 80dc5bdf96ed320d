#include "session/plain_text.h"

namespace session {
namespace {

constexpr std::string_view kOmission = "...";

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
  if (byte >= 0x20 && byte != 0x7F) return std::string(1, c);
  constexpr std::string_view kDigits = "0123456789abcdef";
  return {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 0xF]};
}

}  // namespace

std::string plainText(std::string_view text, std::size_t width) {
  std::string line;
  std::size_t fitting = 0;  // What may stay when the omission has to follow.
  for (const char c : text) {
    line += escaped(c);
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

}  // namespace session
