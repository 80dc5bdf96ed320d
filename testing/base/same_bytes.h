// Comparison of long outputs: a failure shows the place of the first difference, not megabytes.

#ifndef TESTING_BASE_SAME_BYTES_H_
#define TESTING_BASE_SAME_BYTES_H_

#include <gtest/gtest.h>

#include <string_view>

namespace lisp_worker::testing_support {

// For EXPECT_TRUE. A failure names both sizes and the first byte in which the two differ, and shows
// what follows there in either.
[[nodiscard]] testing::AssertionResult areSameBytes(std::string_view actual,
                                                    std::string_view expected);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_BASE_SAME_BYTES_H_
