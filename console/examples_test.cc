// Every program of examples/, run against the real worker: each says itself how it must end.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "client/process.h"
#include "client/worker_client.h"
#include "console/script.h"
#include "console/session.h"

namespace console {
namespace {

using testing::ElementsAre;

std::filesystem::path pathFrom(const char* variable) {
  const char* const path = std::getenv(variable);
  if (path == nullptr) {
    ADD_FAILURE() << variable << " is not set; ctest sets it";
    return {};
  }
  return path;
}

std::vector<std::filesystem::path> examplePaths() {
  const std::filesystem::path directory = pathFrom("LISP_SOURCE_DIR") / "examples";
  std::vector<std::filesystem::path> paths;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    if (entry.path().extension() == ".lsp") paths.push_back(entry.path());
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

std::string textOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

class Examples : public testing::Test {
 protected:
  void SetUp() override { startAfresh(); }

  // A new worker, an empty drawing.
  void startAfresh() {
    std::string error;
    process = client::startWorker(pathFrom("LISP_WORKER_PATH"), &error);
    ASSERT_NE(process, nullptr) << error;
    worker = std::make_unique<client::WorkerClient>(*process);
    session = std::make_unique<Session>(*worker, out);
  }

  ProgramEnd run(const std::filesystem::path& path) {
    const std::string program = textOf(path);
    std::string error;
    const auto script = readScript(program, error);
    EXPECT_TRUE(script.has_value()) << path << ": " << error;
    if (!script) return ProgramEnd::Unexpected;
    EXPECT_TRUE(script->expectation.has_value()) << path << " does not say how it ends";
    return session->run(path.filename().string(), program, *script);
  }

  ProgramEnd runNamed(const std::string& name) {
    return run(pathFrom("LISP_SOURCE_DIR") / "examples" / name);
  }

  [[nodiscard]] std::vector<std::string> drawingLines() const {
    std::vector<std::string> lines;
    for (const Entity& entity : session->drawing().entities()) {
      lines.push_back(describeEntity(entity));
    }
    return lines;
  }

  std::unique_ptr<client::WorkerProcess> process;
  std::unique_ptr<client::WorkerClient> worker;
  std::ostringstream out;
  std::unique_ptr<Session> session;
};

TEST_F(Examples, EndAsTheySayOneAfterTheOther) {
  const auto paths = examplePaths();
  EXPECT_GE(paths.size(), 13u);
  for (const auto& path : paths) EXPECT_EQ(run(path), ProgramEnd::AsExpected) << out.str();
  EXPECT_EQ(out.str().find("not asked for"), std::string::npos) << out.str();
}

TEST_F(Examples, EndAsTheySayEachInAWorkerOfItsOwn) {
  for (const auto& path : examplePaths()) {
    startAfresh();
    EXPECT_EQ(run(path), ProgramEnd::AsExpected) << out.str();
    EXPECT_EQ(worker->shutdown(), ::worker::WorkerStatus::Ok);
    EXPECT_EQ(process->finish(), (client::WorkerExit{client::WorkerExit::Kind::Exited, 0}));
  }
}

TEST_F(Examples, DrawABoltCircle) {
  ASSERT_EQ(runNamed("01_bolt_circle.lsp"), ProgramEnd::AsExpected) << out.str();
  EXPECT_THAT(drawingLines(),
              ElementsAre("E1 CIRCLE on layer HOLES: centre (140 50 0), radius 4.5",
                          "E2 CIRCLE on layer HOLES: centre (120 84.641016 0), radius 4.5",
                          "E3 CIRCLE on layer HOLES: centre (80 84.641016 0), radius 4.5",
                          "E4 CIRCLE on layer HOLES: centre (60 50 0), radius 4.5",
                          "E5 CIRCLE on layer HOLES: centre (80 15.358984 0), radius 4.5",
                          "E6 CIRCLE on layer HOLES: centre (120 15.358984 0), radius 4.5"));
}

TEST_F(Examples, CleanUpALayer) {
  ASSERT_EQ(runNamed("02_layer_cleanup.lsp"), ProgramEnd::AsExpected) << out.str();
  EXPECT_THAT(drawingLines(),
              ElementsAre("E1 LINE on layer WALLS: from (0 0 0), to (60 0 0)",
                          "E2 LINE on layer WALLS: from (60 0 0), to (60 40 0)",
                          "E3 LINE on layer WALLS: from (60 40 0), to (0 40 0)",
                          "E4 TEXT on layer NOTES: at (5 5 0), height 2.5, text \"Hall\"",
                          "E5 LINE on layer WALLS: from (0 40 0), to (0 0 0)"));
}

TEST_F(Examples, MakeEveryHostCall) {
  for (const char* const name : {"02_layer_cleanup.lsp", "05_every_host_call.lsp"}) {
    ASSERT_EQ(runNamed(name), ProgramEnd::AsExpected) << out.str();
  }
  for (const char* const name : {"GETPOINT", "GETCORNER", "GETDIST", "SSGET", "ENTGET", "ENTMOD",
                                 "ENTMAKE", "ENTMAKEX", "COMMAND", "COMMAND-S", "OSNAP"}) {
    EXPECT_NE(out.str().find(": " + std::string(name) + " with"), std::string::npos) << name;
  }
}

TEST_F(Examples, EndInEveryKindOfError) {
  for (const auto& path : examplePaths()) run(path);
  for (const char* const line :
       {"worker  EvalParseError    error: unterminated list   [0 steps]\n",
        "worker  EvalParseError    error: host response parse error: unterminated list   [0 "
        "steps]\n",
        "worker  EvalFailed        error: division by zero   ",
        "worker  EvalFailed        error: LISP evaluation depth exceeded   ",
        "worker  EvalFailed        error: LISP host replay divergence at call 1: ENTMAKE   ",
        "worker  EvalFailed        error: trans transform is singular   ",
        "worker  EvalStepLimit     error: LISP evaluation step limit exceeded   [250001 steps]\n",
        "worker  BadRequest        "}) {
    EXPECT_NE(out.str().find(line), std::string::npos) << line;
  }
}

// A failed program leaves the point that it has drawn, and nothing in the worker.
TEST_F(Examples, LeaveNoVariablesBehindWhenTheyFail) {
  ASSERT_EQ(runNamed("07_evaluation_error.lsp"), ProgramEnd::AsExpected) << out.str();
  EXPECT_THAT(drawingLines(), ElementsAre("E1 POINT on layer POINTS: at (1 2 0)"));
  const auto reply = worker->evalStart("DONE", 0);
  ASSERT_TRUE(reply && reply->value);
  EXPECT_EQ(reply->value->text, "unbound symbol: DONE");
}

TEST_F(Examples, KeepVariablesWhoseTextIsTooLongToSend) {
  ASSERT_EQ(runNamed("12_result_too_long.lsp"), ProgramEnd::AsExpected) << out.str();
  const auto reply = worker->evalStart("(LENGTH PAIRS)", 0);
  ASSERT_TRUE(reply && reply->value);
  EXPECT_EQ(reply->value->text, "2");
}

}  // namespace
}  // namespace console
