#include "lisp_worker/client/version.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "testing/base/test_environment.h"

namespace lisp_worker::client {
namespace {

std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST(LibraryVersion, IsThatOfTheProject) {
  const std::string version(libraryVersion());
  EXPECT_THAT(contentsOf(testing_support::environment("LISP_SOURCE_DIR") + "/CMakeLists.txt"),
              testing::HasSubstr("project(lisp_worker VERSION " + version + " "));
}

// The worker takes no arguments, so it cannot be asked; its file tells.
TEST(LibraryVersion, IsWrittenInTheWorkersFile) {
  EXPECT_THAT(contentsOf(testing_support::environment("LISP_WORKER_PATH")),
              testing::HasSubstr("lisp_worker " + std::string(libraryVersion())));
}

}  // namespace
}  // namespace lisp_worker::client
