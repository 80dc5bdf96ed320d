// The functions of the headers, the versions that the shared library gives them, and their tests.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>

#include "testing/base/test_environment.h"

namespace {

namespace fs = std::filesystem;

std::string readFile(const fs::path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

fs::path source() { return lisp_worker::testing_support::environment("LISP_SOURCE_DIR"); }

std::set<std::string> matchesOf(const std::string& text, const char* pattern) {
  const std::regex expression(pattern);
  std::set<std::string> names;
  for (auto match = std::sregex_iterator(text.begin(), text.end(), expression);
       match != std::sregex_iterator(); ++match) {
    names.insert((*match)[1]);
  }
  return names;
}

// Of both headers.
std::set<std::string> functions() {
  const fs::path directory = source() / "include/lisp_worker/c_interface";
  const std::string text =
      readFile(directory / "lisp_worker.h") + readFile(directory / "lisp_async_worker.h");
  return matchesOf(text, R"(LISP_WORKER_API[^;("]*?[ *](lisp_\w+)\()");
}

TEST(CFunctions, HaveAVersionEach) {
  const std::set<std::string> declared = functions();
  EXPECT_GE(declared.size(), 100u);
  EXPECT_EQ(matchesOf(readFile(source() / "c_interface/versions.map"), R"(\n +(lisp_\w+);)"),
            declared);
}

// Which all run under the sanitizers and under valgrind.
TEST(CFunctions, AreTested) {
  std::string tests;
  for (const auto& file : fs::directory_iterator(source() / "c_interface")) {
    if (file.path().string().ends_with("_test.cc")) tests += readFile(file.path());
  }
  const std::set<std::string> tested = matchesOf(tests, R"(\b(lisp_\w+))");
  for (const std::string& function : functions()) {
    // Objects are given back by FreeInC.
    EXPECT_TRUE(tested.contains(function) || function.ends_with("_free")) << function;
  }
}

}  // namespace
