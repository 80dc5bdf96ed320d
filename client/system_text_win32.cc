#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

#include <array>

#include "client/system_text.h"

namespace lisp_worker::client {
namespace {

// Of UTF-16. A half of a surrogate pair becomes U+FFFD.
std::string toUtf8(std::wstring_view text) {
  const auto size = static_cast<int>(text.size());
  std::string bytes(4 * text.size(), '\0');
  const int count = size == 0
                        ? 0
                        : ::WideCharToMultiByte(CP_UTF8, 0, text.data(), size, bytes.data(),
                                                static_cast<int>(bytes.size()), nullptr, nullptr);
  bytes.resize(static_cast<std::size_t>(count));
  return bytes;
}

}  // namespace

std::string systemMessage(int error) {
  std::array<wchar_t, 512> buffer{};
  constexpr DWORD kFlags =
      FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK;
  const DWORD count = ::FormatMessageW(kFlags, nullptr, static_cast<DWORD>(error), 0, buffer.data(),
                                       static_cast<DWORD>(buffer.size()), nullptr);
  std::wstring_view text(buffer.data(), count);
  while (!text.empty() && (text.back() == L' ' || text.back() == L'.')) text.remove_suffix(1);
  return text.empty() ? "error " + std::to_string(error) : toUtf8(text);
}

std::string pathText(const std::filesystem::path& path) { return toUtf8(path.native()); }

std::optional<std::filesystem::path> pathFromText(std::string_view text) {
  if (text.empty()) return std::filesystem::path();
  const auto size = static_cast<int>(text.size());
  std::wstring wide(text.size(), L'\0');
  const int count =
      ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), size, wide.data(), size);
  if (count == 0) return std::nullopt;
  wide.resize(static_cast<std::size_t>(count));
  return std::filesystem::path(wide);
}

}  // namespace lisp_worker::client
