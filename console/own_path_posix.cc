// The system's link to the running program.

#include <filesystem>
#include <system_error>

#include "console/own_path.h"

namespace lisp_worker::console {

std::string workerBeside() {
  std::error_code failure;
  const std::filesystem::path own = std::filesystem::read_symlink("/proc/self/exe", failure);
  return (own.parent_path() / "lisp_worker").string();
}

}  // namespace lisp_worker::console
