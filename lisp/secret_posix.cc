// The standard library knows the best source of the processor and the system.

#include <random>

#include "lisp/secret.h"

namespace lisp {

std::uint64_t drawSecret() {
  std::random_device device;
  const std::uint64_t high = device();
  return (high << 32) | device();
}

}  // namespace lisp
