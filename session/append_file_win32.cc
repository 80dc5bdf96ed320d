// The file is opened to be appended to and never to be truncated, so nobody's recording is lost by
// a path that was given twice. Others may read it meanwhile. No process is a copy of another one
// here.

#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

#include "client/system_text.h"
#include "lisp_worker/session/append_file.h"

namespace lisp_worker::session {
namespace {

class Win32AppendFile final : public AppendFile {
 public:
  explicit Win32AppendFile(HANDLE file) : file_(file) {}
  Win32AppendFile(const Win32AppendFile&) = delete;
  Win32AppendFile& operator=(const Win32AppendFile&) = delete;
  ~Win32AppendFile() override { ::CloseHandle(file_); }

  // A record has less than 4 GiB: a frame has 1 MiB at most.
  bool append(std::string_view bytes, std::string* error_out) override {
    while (!bytes.empty()) {
      DWORD count = 0;
      if (!::WriteFile(file_, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr) ||
          count == 0) {
        if (error_out != nullptr) {
          *error_out = client::systemMessage(static_cast<int>(::GetLastError()));
        }
        return false;
      }
      bytes.remove_prefix(count);
    }
    return true;
  }

 private:
  HANDLE file_;
};

}  // namespace

std::unique_ptr<AppendFile> createAppendFile(const std::filesystem::path& path,
                                             std::string* error_out) {
  // CREATE_NEW refuses a file that exists. Without security attributes no process inherits the
  // handle.
  const HANDLE file = ::CreateFileW(path.wstring().c_str(), FILE_APPEND_DATA, FILE_SHARE_READ,
                                    nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    if (error_out != nullptr) {
      *error_out = client::systemMessage(static_cast<int>(::GetLastError()));
    }
    return nullptr;
  }
  return std::make_unique<Win32AppendFile>(file);
}

}  // namespace lisp_worker::session
