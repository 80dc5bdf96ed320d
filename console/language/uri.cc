#include "console/language/uri.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdint>

namespace lisp_worker::console::language {
namespace {

constexpr std::string_view kScheme = "file://";

bool isPlain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::string_view("-._~/").find(c) != std::string_view::npos;
}

std::string decoded(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    std::uint8_t byte = 0;
    const char* const digits = text.data() + 1;
    const bool is_coded = text.size() >= 3 && text.front() == '%' &&
                          std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2;
    result += is_coded ? static_cast<char>(byte) : text.front();
    text.remove_prefix(is_coded ? 3 : 1);
  }
  return result;
}

// C:/plates of /C:/plates
bool hasDrive(std::string_view path) {
  return path.size() >= 3 && path[0] == '/' && std::isalpha(static_cast<unsigned char>(path[1])) &&
         path[2] == ':';
}

}  // namespace

std::string pathOf(std::string_view uri) {
  if (!uri.starts_with(kScheme)) return "";
  uri.remove_prefix(kScheme.size());
  uri.remove_prefix(std::min(uri.find('/'), uri.size()));  // The host.
  std::string path = decoded(uri);
  if (hasDrive(path)) path.erase(0, 1);
  return path.find('\0') == std::string::npos ? path : "";
}

std::string uriOf(std::string_view path) {
  std::string uri(kScheme);
  if (!path.starts_with('/')) uri += '/';
  for (const char c : path) {
    if (isPlain(c)) {
      uri += c;
    } else {
      constexpr std::string_view kDigits = "0123456789ABCDEF";
      const auto byte = static_cast<unsigned char>(c);
      uri += '%';
      uri += kDigits[byte >> 4U];
      uri += kDigits[byte & 0xFU];
    }
  }
  return uri;
}

}  // namespace lisp_worker::console::language
