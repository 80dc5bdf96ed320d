// A new file gets the mode and the owner of the one that it replaces.

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "console/files.h"

namespace lisp_worker::console {
namespace {

mode_t currentUmask() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return mask;
}

// Gives the new file the mode and the owner of `target`, or those of any new file.
bool takeOver(int file, const std::string& target) {
  struct stat old {};
  if (::stat(target.c_str(), &old) != 0) return ::fchmod(file, 0666 & ~currentUmask()) == 0;
  if (::access(target.c_str(), W_OK) != 0) return false;
  struct stat own {};
  if (::fstat(file, &own) != 0) return false;
  const bool has_owner = own.st_uid == old.st_uid && own.st_gid == old.st_gid;
  if (!has_owner && ::fchown(file, old.st_uid, old.st_gid) != 0) return false;
  return ::fchmod(file, old.st_mode & 07777) == 0;
}

}  // namespace

std::FILE* createBeside(const std::string& target, std::string& path) {
  path = target + ".XXXXXX";
  const int file = ::mkostemp(path.data(), O_CLOEXEC);
  if (file < 0) return nullptr;
  std::FILE* const stream = takeOver(file, target) ? ::fdopen(file, "wb") : nullptr;
  if (stream != nullptr) return stream;
  const int reason = errno;
  ::close(file);
  ::unlink(path.c_str());
  errno = reason;
  return nullptr;
}

}  // namespace lisp_worker::console
