// The bytes around a difference are shown as GoogleTest shows strings, with escapes.

#include "testing/base/same_bytes.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace lisp_worker::testing_support {
namespace {

constexpr std::size_t kShownMax = 32;

std::string piece(std::string_view bytes, std::size_t begin) {
  return testing::PrintToString(std::string(bytes.substr(begin, kShownMax)));
}

}  // namespace

testing::AssertionResult areSameBytes(std::string_view actual, std::string_view expected) {
  if (actual == expected) return testing::AssertionSuccess();
  const auto difference =
      std::mismatch(actual.begin(), actual.end(), expected.begin(), expected.end());
  const auto place = static_cast<std::size_t>(difference.first - actual.begin());
  return testing::AssertionFailure()
         << actual.size() << " bytes, expected " << expected.size() << "; from byte " << place
         << " on:\n  actual:   " << piece(actual, place)
         << "\n  expected: " << piece(expected, place);
}

}  // namespace lisp_worker::testing_support
