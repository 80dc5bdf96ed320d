// The time of the last change of the inode tells a copied time of the contents from a real one.

#include <sys/stat.h>

#include <string>

#include "console/watch/watched_files.h"

namespace lisp_worker::console {

std::string fingerprintOf(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return "";
  std::string text;
  for (const long long number :
       {static_cast<long long>(status.st_dev), static_cast<long long>(status.st_ino),
        static_cast<long long>(status.st_size), static_cast<long long>(status.st_mtim.tv_sec),
        static_cast<long long>(status.st_mtim.tv_nsec),
        static_cast<long long>(status.st_ctim.tv_sec),
        static_cast<long long>(status.st_ctim.tv_nsec)}) {
    text += std::to_string(number) + " ";
  }
  return text;
}

}  // namespace lisp_worker::console
