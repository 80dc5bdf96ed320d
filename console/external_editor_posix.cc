// The shell starts the editor, because VISUAL and EDITOR may have options: "code --wait".

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "console/external_editor.h"
#include "console/files.h"

extern char** environ;  // NOLINT: the system's own name.

namespace lisp_worker::console {
namespace {

std::string editorCommand() {
  for (const char* const name : {"VISUAL", "EDITOR"}) {
    const char* const value = std::getenv(name);
    if (value != nullptr && *value != '\0') return value;
  }
  return "vi";
}

// A directory that only this user may enter, gone with the object.
class PrivateDirectory {
 public:
  PrivateDirectory() {
    const char* const given = std::getenv("TMPDIR");
    path_ =
        std::string(given == nullptr || *given == '\0' ? "/tmp" : given) + "/lisp_console.XXXXXX";
    is_made_ = ::mkdtemp(path_.data()) != nullptr;
  }
  ~PrivateDirectory() {
    std::error_code ignored;
    if (is_made_) std::filesystem::remove_all(path_, ignored);
  }
  PrivateDirectory(const PrivateDirectory&) = delete;
  PrivateDirectory& operator=(const PrivateDirectory&) = delete;

  [[nodiscard]] bool isMade() const { return is_made_; }
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
  bool is_made_ = false;
};

}  // namespace

bool editFile(const std::string& path, std::string& error) {
  const std::string editor = editorCommand();
  std::string shell = "sh";
  std::string option = "-c";
  std::string script = editor + " \"$1\"";
  std::string file = path.starts_with('-') ? "./" + path : path;
  const std::array<char*, 6> arguments = {shell.data(), option.data(), script.data(),
                                          shell.data(), file.data(),   nullptr};
  // Ctrl-C is the editor's own business while it runs.
  struct sigaction ignored = {};
  struct sigaction before = {};
  ignored.sa_handler = SIG_IGN;
  ::sigaction(SIGINT, &ignored, &before);
  posix_spawnattr_t attributes;
  ::posix_spawnattr_init(&attributes);
  sigset_t defaults;
  ::sigemptyset(&defaults);
  ::sigaddset(&defaults, SIGINT);
  ::posix_spawnattr_setsigdefault(&attributes, &defaults);
  ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
  pid_t child = 0;
  const int failure =
      ::posix_spawn(&child, "/bin/sh", nullptr, &attributes, arguments.data(), environ);
  ::posix_spawnattr_destroy(&attributes);
  int status = -1;
  if (failure == 0) {
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
  }
  ::sigaction(SIGINT, &before, nullptr);
  if (failure != 0) error = editor + ": " + std::strerror(failure);
  if (failure == 0 && status != 0) error = editor + " has failed";
  return failure == 0 && status == 0;
}

std::optional<std::string> editText(std::string_view text, std::string& error) {
  const PrivateDirectory directory;
  if (!directory.isMade()) {
    error = directory.path() + ": cannot be made";
    return std::nullopt;
  }
  const std::string path = directory.path() + "/form.lsp";
  if (!writeFile(path, text, error) || !editFile(path, error)) return std::nullopt;
  return readFile(path, error);
}

}  // namespace lisp_worker::console
