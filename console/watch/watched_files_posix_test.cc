#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "console/watch/watched_files.h"

namespace lisp_worker::console {
namespace {

using testing::ElementsAre;

// Looks are made at times of the test, not of a clock.
class WatchedFilesTest : public testing::Test {
 protected:
  WatchedFilesTest() { std::filesystem::create_directories(directory_); }
  ~WatchedFilesTest() override { std::filesystem::remove_all(directory_); }

  [[nodiscard]] std::string path(const std::string& name) const { return directory_ / name; }

  // Each file gets a time of change of its own, as saves some milliseconds apart have.
  void write(const std::string& name, const std::string& text) {
    std::ofstream(path(name), std::ios::binary) << text;
    std::filesystem::last_write_time(path(name), std::filesystem::file_time_type::clock::now() +
                                                     std::chrono::milliseconds(++write_count_));
  }

  // The looks until one says that something was saved; 0 for none in a second.
  int looksUntilSaved() {
    for (int count = 1; count <= 100; ++count) {
      now_ += WatchedFiles::kInterval;
      if (files.look(now_)) return count;
    }
    return 0;
  }
  bool look() {
    now_ += WatchedFiles::kInterval;
    return files.look(now_);
  }

  WatchedFiles files;

 private:
  std::filesystem::path directory_ =
      std::filesystem::temp_directory_path() / ("lisp_watched." + std::to_string(::getpid()));
  WatchedFiles::Clock::time_point now_;
  int write_count_ = 0;
};

TEST_F(WatchedFilesTest, CountASaveOnceTheFileRests) {
  write("a", "1");
  files.watch({path("a")});
  EXPECT_EQ(looksUntilSaved(), 0);
  write("a", "2");
  EXPECT_EQ(looksUntilSaved(), 2);
  EXPECT_EQ(looksUntilSaved(), 0);
}

TEST_F(WatchedFilesTest, WaitForTheTextOfAFileThatWasEmptied) {
  write("a", "1");
  files.watch({path("a")});
  write("a", "");
  EXPECT_FALSE(look());
  write("a", "2");
  EXPECT_FALSE(look());
  EXPECT_TRUE(look());
}

TEST_F(WatchedFilesTest, NoticeAFileOfTheSameSizeAndTimeInItsPlace) {
  write("a", "1");
  write("b", "2");
  std::filesystem::last_write_time(path("b"), std::filesystem::last_write_time(path("a")));
  files.watch({path("a")});
  std::filesystem::rename(path("b"), path("a"));
  EXPECT_EQ(looksUntilSaved(), 2);
}

TEST_F(WatchedFilesTest, GiveAFileTimeToComeBack) {
  write("a", "1");
  files.watch({path("a")});
  std::filesystem::remove(path("a"));
  EXPECT_FALSE(look());
  EXPECT_FALSE(look());
  EXPECT_FALSE(look());
  write("a", "2");
  EXPECT_EQ(looksUntilSaved(), 2);

  std::filesystem::remove(path("a"));
  EXPECT_EQ(looksUntilSaved(), 1 + WatchedFiles::kPatience / WatchedFiles::kInterval);
  EXPECT_EQ(looksUntilSaved(), 0);
  write("a", "3");
  EXPECT_EQ(looksUntilSaved(), 2);
}

TEST_F(WatchedFilesTest, TakeAFileThatNeverRestsAsItIs) {
  write("a", "1");
  files.watch({path("a")});
  int count = 0;
  bool is_saved = false;
  while (!is_saved && count < 100) {
    write("a", std::string(static_cast<std::size_t>(++count), 'x'));
    is_saved = look();
  }
  EXPECT_EQ(count, 1 + WatchedFiles::kPatience / WatchedFiles::kInterval);
}

TEST_F(WatchedFilesTest, MissNoSaveBetweenTwoListsOfFiles) {
  write("a", "1");
  files.watch({path("a")});
  write("a", "2");
  files.watch({path("a"), path("b")});
  EXPECT_EQ(looksUntilSaved(), 2);
  write("b", "1");
  EXPECT_EQ(looksUntilSaved(), 2);
}

TEST_F(WatchedFilesTest, AreThoseThatAProgramNames) {
  write("a.lsp", ";@ drawing d.json\n;@ load b.lsp\n;@ load missing.lsp\n1");
  write("b.lsp", ";@ load a.lsp\n;@ load c.lsp\n");
  write("c.lsp", ";@ nonsense\n");
  EXPECT_THAT(filesOf(path("a.lsp")), ElementsAre(path("a.lsp"), path("b.lsp"), path("missing.lsp"),
                                                  path("c.lsp"), path("d.json")));
  EXPECT_THAT(filesOf(path("none.lsp")), ElementsAre(path("none.lsp")));
}

}  // namespace
}  // namespace lisp_worker::console
