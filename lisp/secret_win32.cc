// The system's own function: the standard library's would look for a library to load.

#include <windows.h>

#include "lisp/secret.h"
// After windows.h, whose types it uses.
#include <ntsecapi.h>

#include <cstdlib>

namespace lisp {

std::uint64_t drawSecret() {
  std::uint64_t secret = 0;
  if (!::RtlGenRandom(&secret, sizeof secret)) std::abort();
  return secret;
}

}  // namespace lisp
