// The environment variables by which ctest passes paths and sizes to tests (cmake/tests.cmake), and
// the kind of the build.

#ifndef TESTING_BASE_TEST_ENVIRONMENT_H_
#define TESTING_BASE_TEST_ENVIRONMENT_H_

#include <cstddef>
#include <string>

namespace lisp_worker::testing_support {

// The variable's value. Empty, and a failure of the running test, when it is not set.
[[nodiscard]] std::string environment(const char* variable);

// The size of a test that can be larger or smaller, a decimal number. `otherwise` when it is not
// set: programs start far slower under a sanitizer or in an emulation of another system.
[[nodiscard]] std::size_t setting(const char* variable, std::size_t otherwise);

// True in a build whose memory and time are a sanitizer's.
[[nodiscard]] constexpr bool isSanitized() {
#ifdef LISP_SANITIZE
  return true;
#else
  return false;
#endif
}

}  // namespace lisp_worker::testing_support

#endif  // TESTING_BASE_TEST_ENVIRONMENT_H_
