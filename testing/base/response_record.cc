// For each response the name of the test, the size and the bytes, in the order of the tests.
// Nothing is recorded where a filter leaves tests out.

#include "testing/base/response_record.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

namespace lisp_worker::testing_support {
namespace {

std::ofstream openRecord() {
  const char* const path = std::getenv("LISP_RESPONSE_RECORD");
  const bool runs_all_tests = GTEST_FLAG_GET(filter) == "*";
  if (path == nullptr || !runs_all_tests) return {};
  std::ofstream record(path, std::ios::binary | std::ios::trunc);
  EXPECT_TRUE(record.is_open()) << path;
  return record;
}

}  // namespace

void recordResponse(std::string_view response) {
  static std::ofstream record = openRecord();
  const testing::TestInfo* const test = testing::UnitTest::GetInstance()->current_test_info();
  if (!record.is_open() || test == nullptr) return;
  record << test->test_suite_name() << '.' << test->name() << ' ' << response.size() << '\n'
         << response << '\n';
}

}  // namespace lisp_worker::testing_support
