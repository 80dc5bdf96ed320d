// A new file gets the rights of its directory.

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <random>
#include <string>

#include "console/files.h"

namespace lisp_worker::console {

// A file has the owner of its directory here, and no mode.
std::FILE* createBeside(const std::string& target, std::string& path) {
  std::random_device random;
  for (int attempt = 0; attempt < 100; ++attempt) {
    path = target + "." + std::to_string(random());
    const int file =
        _open(path.c_str(), _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY, _S_IREAD | _S_IWRITE);
    if (file >= 0) return _fdopen(file, "wb");
    if (errno != EEXIST) return nullptr;
  }
  return nullptr;
}

}  // namespace lisp_worker::console
