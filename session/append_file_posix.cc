// The file is opened to be appended to and never to be truncated, so nobody's recording is lost by
// a path that was given twice.

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "client/system_text.h"
#include "lisp_worker/session/append_file.h"

namespace lisp_worker::session {
namespace {

// A recording holds what a user has typed and drawn.
constexpr mode_t kOfItsUserOnly = 0600;

class PosixAppendFile final : public AppendFile {
 public:
  explicit PosixAppendFile(int descriptor) : descriptor_(descriptor) {}
  PosixAppendFile(const PosixAppendFile&) = delete;
  PosixAppendFile& operator=(const PosixAppendFile&) = delete;
  ~PosixAppendFile() override { ::close(descriptor_); }

  bool append(std::string_view bytes, std::string* error_out) override {
    // After a fork two processes have the file, and their records would be mixed.
    if (::getpid() != maker_) return fail("this process is a copy of its maker", error_out);
    while (!bytes.empty()) {
      // A disk that is nearly full takes a part; the next call says why it does not take the rest.
      const ssize_t count = ::write(descriptor_, bytes.data(), bytes.size());
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) return fail(client::systemMessage(errno), error_out);
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
  }

 private:
  static bool fail(std::string reason, std::string* error_out) {
    if (error_out != nullptr) *error_out = std::move(reason);
    return false;
  }

  int descriptor_;
  pid_t maker_ = ::getpid();
};

}  // namespace

std::unique_ptr<AppendFile> createAppendFile(const std::filesystem::path& path,
                                             std::string* error_out) {
  // O_EXCL refuses a file that exists, and a symbolic link; a program that the host starts does not
  // inherit the descriptor.
  const int descriptor =
      ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, kOfItsUserOnly);
  if (descriptor < 0) {
    if (error_out != nullptr) *error_out = client::systemMessage(errno);
    return nullptr;
  }
  return std::make_unique<PosixAppendFile>(descriptor);
}

}  // namespace lisp_worker::session
