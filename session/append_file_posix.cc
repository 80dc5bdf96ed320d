#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "session/append_file.h"

namespace session {
namespace {

constexpr mode_t kReadableByAll = 0644;

class PosixAppendFile final : public AppendFile {
 public:
  explicit PosixAppendFile(int descriptor) : descriptor_(descriptor) {}
  PosixAppendFile(const PosixAppendFile&) = delete;
  PosixAppendFile& operator=(const PosixAppendFile&) = delete;
  ~PosixAppendFile() override { ::close(descriptor_); }

  bool append(std::string_view bytes) override {
    while (!bytes.empty()) {
      const ssize_t count = ::write(descriptor_, bytes.data(), bytes.size());
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
  }

 private:
  int descriptor_;
};

}  // namespace

std::unique_ptr<AppendFile> createAppendFile(const std::filesystem::path& path,
                                             std::string* error_out) {
  const int descriptor =
      ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, kReadableByAll);
  if (descriptor < 0) {
    if (error_out != nullptr) *error_out = std::generic_category().message(errno);
    return nullptr;
  }
  return std::make_unique<PosixAppendFile>(descriptor);
}

}  // namespace session
