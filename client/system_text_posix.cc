#include <system_error>

#include "client/system_text.h"

namespace lisp_worker::client {

std::string systemMessage(int error) { return std::generic_category().message(error); }

std::string pathText(const std::filesystem::path& path) { return path.native(); }

std::optional<std::filesystem::path> pathFromText(std::string_view text) {
  return std::filesystem::path(text);
}

}  // namespace lisp_worker::client
