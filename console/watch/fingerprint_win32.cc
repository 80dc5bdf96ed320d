#include <filesystem>
#include <string>
#include <system_error>

#include "console/watch/watched_files.h"

namespace lisp_worker::console {

std::string fingerprintOf(const std::string& path) {
  std::error_code failure;
  const auto size = std::filesystem::file_size(path, failure);
  if (failure) return "";
  const auto time = std::filesystem::last_write_time(path, failure);
  if (failure) return "";
  return std::to_string(size) + " " + std::to_string(time.time_since_epoch().count());
}

}  // namespace lisp_worker::console
