// A file is replaced as a whole: the new one is written beside it and renamed, so a crash leaves
// the old one.

#include "console/files.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace lisp_worker::console {
namespace {

bool fail(const std::string& path, const std::string& reason, std::string& error) {
  error = path + ": cannot be written: " + reason;
  return false;
}

// The file that is to be replaced: a link stays one, and what it leads to is replaced. A device or
// a directory is none; empty then, with the reason in `error`.
std::optional<std::string> targetOf(const std::string& path, std::string& error) {
  std::error_code failure;
  const std::filesystem::file_status status = std::filesystem::status(path, failure);
  if (!std::filesystem::exists(status)) return path;
  if (!std::filesystem::is_regular_file(status)) {
    fail(path, "it is no regular file", error);
    return std::nullopt;
  }
  return std::filesystem::canonical(path, failure).string();
}

}  // namespace

std::optional<std::string> readFile(const std::string& path, std::string& error) {
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  std::string text;
  std::array<char, 65536> buffer{};
  while (file.read(buffer.data(), buffer.size()) || file.gcount() > 0) {
    text.append(buffer.data(), static_cast<std::size_t>(file.gcount()));
  }
  if (file.is_open() && !file.bad()) return text;
  error = path + ": cannot be read" + (errno == 0 ? "" : std::string(": ") + std::strerror(errno));
  return std::nullopt;
}

bool writeFile(const std::string& path, std::string_view bytes, std::string& error) {
  const auto target = targetOf(path, error);
  if (!target) return false;
  std::string part;
  std::FILE* const file = createBeside(*target, part);
  if (file == nullptr) return fail(path, std::strerror(errno), error);
  errno = 0;
  const bool is_whole = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  const bool is_closed = std::fclose(file) == 0;
  if (!is_whole || !is_closed) {
    const std::string reason = std::strerror(errno);
    std::remove(part.c_str());
    return fail(path, reason, error);
  }
  std::error_code failure;
  std::filesystem::rename(part, *target, failure);
  if (!failure) return true;
  std::remove(part.c_str());
  return fail(path, failure.message(), error);
}

bool canWriteFile(const std::string& path, std::string& error) {
  const auto target = targetOf(path, error);
  if (!target) return false;
  std::string part;
  std::FILE* const file = createBeside(*target, part);
  if (file == nullptr) return fail(path, std::strerror(errno), error);
  std::fclose(file);
  std::remove(part.c_str());
  return true;
}

}  // namespace lisp_worker::console
