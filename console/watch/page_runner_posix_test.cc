#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>

#include "console/watch/page_runner.h"
#include "testing/base/test_environment.h"

namespace lisp_worker::console {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// A runner in a thread of its own, on a file; the test is the page.
class PageRunnerTest : public testing::Test {
 protected:
  PageRunnerTest() { std::filesystem::create_directories(directory_); }
  ~PageRunnerTest() override {
    is_interrupted_ = true;
    if (thread_.joinable()) thread_.join();
    std::filesystem::remove_all(directory_);
  }

  // Renames a new file over the old one, so that none is ever seen half.
  void save(const std::string& text, const std::string& name = "a.lsp") {
    const std::filesystem::path part = directory_ / "part";
    std::ofstream(part, std::ios::binary) << text;
    std::filesystem::rename(part, directory_ / name);
  }
  [[nodiscard]] std::string path(const std::string& name) const { return directory_ / name; }
  void remove(const std::string& name) { std::filesystem::remove(directory_ / name); }

  void start(WatchSettings settings = {}) {
    if (settings.worker_path.empty()) {
      settings.worker_path = testing_support::environment("LISP_WORKER_PATH");
    }
    settings.program_path = directory_ / "a.lsp";
    thread_ = std::thread([this, settings] {
      PageRunner(settings, mailbox, [this] { return bool{is_interrupted_}; }).watch();
    });
  }

  // The next state of that status.
  json waitFor(const std::string& status) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (std::chrono::steady_clock::now() < end) {
      const auto state = mailbox.waitForState(seen_, std::chrono::milliseconds(100));
      if (!state) continue;
      seen_ = state->number;
      json page = json::parse(*state->text);
      if (page["status"] == status) return page;
    }
    ADD_FAILURE() << "no state " << status;
    return {};
  }

  Mailbox mailbox;

 private:
  std::filesystem::path directory_ =
      std::filesystem::temp_directory_path() / ("lisp_page_runner." + std::to_string(::getpid()));
  std::atomic<bool> is_interrupted_ = false;
  std::thread thread_;
  std::uint64_t seen_ = 0;
};

TEST_F(PageRunnerTest, RunsTheProgramAfterEachSave) {
  save("(COMMAND \"CIRCLE\" \"0,0\" 5)");
  start();
  json page = waitFor("value");
  EXPECT_EQ(page["entities"], json({{"E1", "E1 CIRCLE on layer 0: centre (0 0 0), radius 5"}}));
  EXPECT_THAT(page["svg"], HasSubstr("data-handle=\"E1\""));
  EXPECT_THAT(page["svg"], HasSubstr("data-panel=\"after\" data-frame=\"24 "));
  EXPECT_EQ(page["messages"][0]["kind"], "result");
  save("(SETQ X 1)");
  page = waitFor("value");
  EXPECT_EQ(page["entities"], json::object());
  save("X");  // Each run begins anew.
  page = waitFor("failed");
  EXPECT_THAT(page["messages"][0]["text"], StartsWith("error: unbound symbol: X"));
}

TEST_F(PageRunnerTest, TellsWhichLineAndPassHasDrawnAnEntity) {
  save(
      "(DEFUN HOLE (X)\n"
      "  (COMMAND \"CIRCLE\"\n"
      "           (LIST X 0) 3))\n"
      "(SETQ N 0)\n"
      "(WHILE (< N 2)\n"
      "  (SETQ M 0)\n"
      "  (WHILE (< M 2)\n"
      "    (HOLE (+ (* 20 N) M)) (SETQ M (1+ M)))\n"
      "  (SETQ N (1+ N)))\n"
      "(SSGET)\n"
      "(COMMAND \"ERASE\" \"L\" \"\")\n");
  start();
  waitFor("asking");
  EXPECT_TRUE(mailbox.answer(1, ""));
  const json page = waitFor("value");
  ASSERT_EQ(page["calls"].size(), 5u);  // The selection has drawn nothing.
  const json third = {{"name", "COMMAND"},
                      {"file", 0},
                      {"line", 2},
                      {"end_line", 3},
                      {"entities", {"E3"}},
                      {"from", json::array({{{"file", 0}, {"line", 8}}})},
                      {"loops", json::array({{{"file", 0}, {"line", 7}, {"round", 1}},
                                             {{"file", 0}, {"line", 5}, {"round", 2}}})}};
  EXPECT_EQ(page["calls"][2], third);
  EXPECT_EQ(page["calls"][4]["line"], 11);
  EXPECT_EQ(page["calls"][4]["entities"], json({"E4"}));
}

TEST_F(PageRunnerTest, AsksPagesAndGoesOn) {
  save(
      "(COMMAND \"LINE\" \"0,0\" \"10,0\" \"\")\n(SETQ P (GETPOINT \"Where? \"))\n"
      "(LIST P (GETDIST P))");
  start();
  json page = waitFor("asking");
  json question = page["question"];
  EXPECT_EQ(question["number"], 1);
  EXPECT_EQ(question["call"], "GETPOINT");
  EXPECT_EQ(question["text"], "Where? ");
  EXPECT_THAT(question["place"], HasSubstr("a.lsp:2:9"));
  EXPECT_FALSE(question.contains("base"));
  EXPECT_EQ(question["snaps"], json::parse("[[0,0,\"end\"],[10,0,\"end\"],[5,0,\"mid\"]]"));
  EXPECT_EQ(page["calls"][0]["line"], 1);  // The calls until now.
  EXPECT_TRUE(mailbox.answer(1, "no point"));
  question = waitFor("asking")["question"];
  EXPECT_EQ(question["number"], 2);
  EXPECT_EQ(question["refused"], "no point");
  EXPECT_FALSE(mailbox.answer(1, "1,2"));
  EXPECT_TRUE(mailbox.answer(2, " 3,4 \n"));
  question = waitFor("asking")["question"];
  EXPECT_EQ(question["base"], json({3, 4}));
  EXPECT_TRUE(mailbox.answer(3, "@0,5"));
  page = waitFor("value");
  EXPECT_THAT(page["messages"][0]["text"], StartsWith("result: ((3 4 0) 5)"));
  EXPECT_FALSE(page.contains("question"));
  EXPECT_FALSE(mailbox.answer(3, "1"));
}

TEST_F(PageRunnerTest, GivesAWaitingProgramUpAtASave) {
  save("(GETPOINT \"One? \")");
  start();
  waitFor("asking");
  save("(GETPOINT \"Two? \")");
  EXPECT_EQ(waitFor("asking")["question"]["text"], "Two? ");
  EXPECT_FALSE(mailbox.answer(1, "1,2"));
  EXPECT_TRUE(mailbox.answer(2, "1,2"));
  waitFor("value");
}

TEST_F(PageRunnerTest, KeepsWhatWasShownWhileAFileIsAway) {
  save(";@ load lib.lsp\n(DRAW)");
  save("(DEFUN DRAW () 1)", "lib.lsp");
  start();
  waitFor("value");
  remove("lib.lsp");
  json page = waitFor("unreadable");
  EXPECT_THAT(page["messages"][0]["text"], HasSubstr("lib.lsp: cannot be read: No such file"));
  EXPECT_EQ(page["files"].size(), 2u);
  save("(DEFUN DRAW () 2)", "lib.lsp");
  EXPECT_THAT(waitFor("value")["messages"][0]["text"], StartsWith("result: 2"));
  save(";@ nonsense");
  EXPECT_THAT(waitFor("unreadable")["messages"][0]["text"], HasSubstr("a.lsp: line 1: "));
}

TEST_F(PageRunnerTest, ShowsErrorsWarningsAndWhatWasDrawnBefore) {
  save("(SETQ A 1)\n(COMMAND \"CIRCLE\" \"0,0\" -1)\n(COMMAND \"POINT\" \"1,1\")\n(/ 1 0)");
  start();
  const json page = waitFor("failed");
  const std::string text = page["messages"][0]["text"];
  // In the order of what happened.
  EXPECT_THAT(text, testing::ContainsRegex("a.lsp:2:25: COMMAND refused: nothing done[^/]*"
                                           "error: division by zero"));
  EXPECT_THAT(text, HasSubstr("a.lsp:4:6: division by zero\n    4 | (/ 1 0)\n"));
  EXPECT_THAT(text, HasSubstr("a run without watch takes it back"));
  EXPECT_EQ(page["entities"].size(), 1u);
  EXPECT_EQ(page["messages"][1]["kind"], "warning");
  EXPECT_THAT(page["messages"][1]["text"], HasSubstr("COMMAND would be refused"));
}

TEST_F(PageRunnerTest, EndsARunThatDoesNotEndByItself) {
  save("(WHILE T (COMMAND \"POINT\" \"1,1\"))");
  WatchSettings settings;
  settings.host_call_count_max = 300;
  start(settings);
  EXPECT_THAT(waitFor("failed")["messages"][0]["text"], HasSubstr("more than 300 host calls"));
  save("(WHILE T)");
  EXPECT_THAT(waitFor("failed")["messages"][0]["text"], HasSubstr("step limit"));
}

TEST_F(PageRunnerTest, EndsAWorkerThatTakesTooLong) {
  save("#!/bin/sh\nexec cat 3>&1 >/dev/null\n", "silent");
  save("(+ 1 2)");
  WatchSettings settings;
  settings.worker_path = path("silent");
  std::filesystem::permissions(settings.worker_path, std::filesystem::perms(0700));
  settings.time_limit = std::chrono::milliseconds(200);
  start(settings);
  EXPECT_THAT(waitFor("failed")["messages"][0]["text"],
              HasSubstr("the worker has not answered within 200 ms"));
}

TEST_F(PageRunnerTest, SendsNoBytesThatAreNoText) {
  save("(SETQ A \"\x1B[31m\xFF\u202E</script>\")\n; \xC3\n");
  start();
  const json page = waitFor("value");
  EXPECT_EQ(page["files"][0]["text"], "(SETQ A \"\\x1B[31m\\xFF\\u202E</script>\")\n; \\xC3\n");
}

}  // namespace
}  // namespace lisp_worker::console
