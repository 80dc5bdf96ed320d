// A code is two per cent signs and a letter.

#include "console/text_codes.h"

#include <cstddef>

namespace lisp_worker::console {
namespace {

constexpr std::size_t kCodeSize = 3;

// Empty for a letter that makes no code.
std::string_view signFor(char letter) {
  switch (letter) {
    case 'c':
    case 'C':
      return "\xE2\x8C\x80";
    case 'd':
    case 'D':
      return "\xC2\xB0";
    case 'p':
    case 'P':
      return "\xC2\xB1";
    case '%':
      return "%";
    default:
      return "";
  }
}

}  // namespace

std::string drawnText(std::string_view text) {
  std::string drawn;
  for (std::size_t at = 0; at < text.size();) {
    const bool is_code = text.size() - at >= kCodeSize && text.substr(at, 2) == "%%";
    const std::string_view sign = is_code ? signFor(text[at + 2]) : "";
    drawn += sign.empty() ? text.substr(at, 1) : sign;
    at += sign.empty() ? std::size_t{1} : kCodeSize;
  }
  return drawn;
}

}  // namespace lisp_worker::console
