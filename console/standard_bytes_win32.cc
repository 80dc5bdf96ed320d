#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

#include "console/standard_bytes.h"

namespace lisp_worker::console {

std::size_t readStandardInput(char* buffer, std::size_t size) {
  DWORD count = 0;
  if (ReadFile(GetStdHandle(STD_INPUT_HANDLE), buffer, static_cast<DWORD>(size), &count, nullptr) ==
      0) {
    return 0;
  }
  return count;
}

bool writeStandardOutput(std::string_view bytes) {
  while (!bytes.empty()) {
    DWORD count = 0;
    if (WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), bytes.data(), static_cast<DWORD>(bytes.size()),
                  &count, nullptr) == 0 ||
        count == 0) {
      return false;
    }
    bytes.remove_prefix(count);
  }
  return true;
}

}  // namespace lisp_worker::console
