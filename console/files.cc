#include "console/files.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace console {

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
  // A link stays one, and the file that it leads to is replaced. A device is none.
  std::error_code failure;
  const std::filesystem::file_status status = std::filesystem::status(path, failure);
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    error = path + ": cannot be written: it is no regular file";
    return false;
  }
  const std::string target =
      std::filesystem::exists(status) ? std::filesystem::canonical(path, failure).string() : path;
  const std::string part = target + ".part";
  errno = 0;
  {
    std::ofstream file(part, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) {
      error = path + ": cannot be written" +
              (errno == 0 ? "" : std::string(": ") + std::strerror(errno));
      std::remove(part.c_str());
      return false;
    }
  }
  std::filesystem::rename(part, target, failure);
  if (!failure) return true;
  error = path + ": cannot be written: " + failure.message();
  std::remove(part.c_str());
  return false;
}

}  // namespace console
