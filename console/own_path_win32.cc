// The system's name of the running program.

#include <windows.h>

#include <filesystem>

#include "console/own_path.h"

namespace lisp_worker::console {

std::string workerBeside() {
  std::wstring own(32768, L'\0');  // The longest path that there is.
  own.resize(::GetModuleFileNameW(nullptr, own.data(), static_cast<DWORD>(own.size())));
  return (std::filesystem::path(own).parent_path() / "lisp_worker.exe").string();
}

}  // namespace lisp_worker::console
