// Notepad waits until it is closed, so it serves where the person has named no editor.

#include <windows.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "console/external_editor.h"
#include "console/files.h"

namespace lisp_worker::console {

bool editFile(const std::string& path, std::string& error) {
  std::string editor = "notepad";
  for (const char* const name : {"EDITOR", "VISUAL"}) {
    const char* const value = std::getenv(name);
    if (value != nullptr && *value != '\0') editor = value;
  }
  std::string command = editor + " \"" + path + "\"";
  STARTUPINFOA start{};
  start.cb = sizeof start;
  PROCESS_INFORMATION process{};
  if (CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                     &process) == 0) {
    error = editor + ": cannot be started";
    return false;
  }
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD code = 1;
  GetExitCodeProcess(process.hProcess, &code);
  CloseHandle(process.hProcess);
  CloseHandle(process.hThread);
  if (code != 0) error = editor + " has failed";
  return code == 0;
}

std::optional<std::string> editText(std::string_view text, std::string& error) {
  std::error_code failure;
  const auto directory = std::filesystem::temp_directory_path(failure);
  const std::string path =
      (directory / ("lisp_console." + std::to_string(GetCurrentProcessId()) + ".lsp")).string();
  std::optional<std::string> edited;
  if (writeFile(path, text, error) && editFile(path, error)) edited = readFile(path, error);
  std::filesystem::remove(path, failure);
  return edited;
}

}  // namespace lisp_worker::console
