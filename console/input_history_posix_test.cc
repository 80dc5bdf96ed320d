#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "console/input_history.h"
#include "console/line_editor.h"

namespace lisp_worker::console {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class InputHistory : public testing::Test {
 protected:
  ~InputHistory() override { std::filesystem::remove_all(directory_); }

  std::filesystem::path directory_ =
      std::filesystem::temp_directory_path() / ("lisp_history_test." + std::to_string(::getpid()));
  std::string path_ = (directory_ / "state" / "history").string();
};

TEST_F(InputHistory, KeepsFormsAsTheyAre) {
  EXPECT_THAT(loadHistory(path_), IsEmpty());
  appendHistory(path_, "(LIST\n  \"a\\nb\\\\\")");
  appendHistory(path_, "5");
  EXPECT_THAT(loadHistory(path_), ElementsAre("(LIST\n  \"a\\nb\\\\\")", "5"));
}

TEST_F(InputHistory, IsForItsUserOnly) {
  namespace fs = std::filesystem;
  fs::create_directories(directory_ / "state");
  std::ofstream(path_) << "1\n";
  fs::permissions(path_, fs::perms(0644));
  appendHistory(path_, "2");
  EXPECT_EQ(fs::status(path_).permissions(), fs::perms(0600));
  fs::remove_all(directory_ / "state");
  appendHistory(path_, "3");
  EXPECT_EQ(fs::status(path_).permissions(), fs::perms(0600));
  EXPECT_EQ(fs::status(directory_ / "state").permissions(), fs::perms(0700));
}

TEST_F(InputHistory, HasALimit) {
  for (std::size_t n = 1; n <= kHistoryCountMax + 3; ++n) appendHistory(path_, std::to_string(n));
  const auto forms = loadHistory(path_);
  ASSERT_EQ(forms.size(), kHistoryCountMax);
  EXPECT_EQ(forms.front(), "4");
  EXPECT_EQ(forms.back(), std::to_string(kHistoryCountMax + 3));
  std::ifstream file(path_);
  std::string first;
  std::getline(file, first);
  EXPECT_EQ(first, "4");
}

TEST_F(InputHistory, IsWhereTheEnvironmentSays) {
  const auto pathFor = [](const char* own, const char* state, const char* home) {
    const auto set = [](const char* name, const char* value) {
      value == nullptr ? ::unsetenv(name) : ::setenv(name, value, 1);
    };
    set("LISP_CONSOLE_HISTORY", own);
    set("XDG_STATE_HOME", state);
    set("HOME", home);
    return defaultHistoryPath();
  };
  const char* const home = std::getenv("HOME");
  const std::string kept = home == nullptr ? "" : home;
  EXPECT_EQ(pathFor("mine", "/s", "/h"), "mine");
  EXPECT_EQ(pathFor("", "/s", "/h"), "");
  EXPECT_EQ(pathFor(nullptr, "/s", "/h"), "/s/lisp_console/history");
  EXPECT_EQ(pathFor(nullptr, "s", "/h"), "/h/.local/state/lisp_console/history");
  EXPECT_EQ(pathFor(nullptr, nullptr, nullptr), "");
  ::setenv("HOME", kept.c_str(), 1);
}

}  // namespace
}  // namespace lisp_worker::console
