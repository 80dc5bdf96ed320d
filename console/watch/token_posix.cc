#include <sys/random.h>

#include <array>
#include <cstddef>

#include "console/watch/token.h"

namespace lisp_worker::console {

std::string makeToken() {
  constexpr const char* kDigits = "0123456789abcdef";
  std::array<unsigned char, 16> bytes{};
  // So few bytes come whole, or not at all.
  if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) return "";
  std::string token;
  for (const unsigned char byte : bytes) {
    token += kDigits[byte / 16];
    token += kDigits[byte % 16];
  }
  return token;
}

bool isSameSecret(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  unsigned difference = 0;
  for (std::size_t n = 0; n < a.size(); ++n) {
    difference |= static_cast<unsigned>(a[n]) ^ static_cast<unsigned>(b[n]);
  }
  return difference == 0;
}

}  // namespace lisp_worker::console
