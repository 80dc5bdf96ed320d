// Paths and sizes from environment variables. A missing path is a test's own fault and fails it.

#include "testing/base/test_environment.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace lisp_worker::testing_support {

std::string environment(const char* variable) {
  const char* const value = std::getenv(variable);
  EXPECT_NE(value, nullptr) << variable << " is not set; ctest sets it";
  return value == nullptr ? "" : value;
}

std::size_t setting(const char* variable, std::size_t otherwise) {
  const char* const value = std::getenv(variable);
  return value == nullptr ? otherwise : std::strtoull(value, nullptr, 10);
}

}  // namespace lisp_worker::testing_support
