#include "lisp_worker/session/recorder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "lisp_worker/client/worker.h"
#include "testing/workers/executable_worker.h"

namespace lisp_worker::session {
namespace {

using client::WorkerExit;

class RecorderTest : public testing::Test {
 protected:
  RecorderTest() { std::filesystem::remove(path_); }
  ~RecorderTest() override { std::filesystem::remove(path_); }

  std::filesystem::path path_ =
      std::filesystem::temp_directory_path() / "lisp_worker_recorder_test.session";
};

std::vector<RecordKind> kindsOf(const RecordedSession& session) {
  std::vector<RecordKind> kinds;
  for (const Record& record : session.records) kinds.push_back(record.kind);
  return kinds;
}

TEST_F(RecorderTest, KeepsAConversationWithARealWorker) {
  std::string error;
  {
    const auto recorder = Recorder::create(path_, &error);
    ASSERT_NE(recorder, nullptr) << error;
    client::Worker worker(testing_support::workerExecutable(),
                          {.time_limit = {}, .observer = recorder.get()});
    ASSERT_TRUE(worker.run("(+ 1 2)").has_value());
    // Each record is in the file as soon as it is made.
    EXPECT_EQ(readSession(path_, nullptr)->records.size(), 3u);
    worker.stop();
    EXPECT_TRUE(recorder->isComplete());
  }
  const auto session = readSession(path_, &error);
  ASSERT_TRUE(session.has_value()) << error;
  EXPECT_EQ(session->end, FileEnd::Whole);
  EXPECT_EQ(kindsOf(*session),
            (std::vector{RecordKind::Start, RecordKind::Request, RecordKind::Response,
                         RecordKind::Request, RecordKind::Response, RecordKind::End}));
  EXPECT_EQ(session->records[1].body.substr(worker::kHeaderSize), "(+ 1 2)");
  EXPECT_EQ(decodeEnd(session->records[5].body), (WorkerExit{WorkerExit::Kind::Exited, 0}));
  EXPECT_GT(session->start_time, 1'600'000'000'000'000u);
  for (std::size_t number = 1; number < session->records.size(); ++number) {
    EXPECT_GE(session->records[number].time, session->records[number - 1].time);
  }
}

// Two conversations in one file could not be told apart, and the file says nothing of two workers.
TEST_F(RecorderTest, EndsWhereASecondWorkerWouldShareIt) {
  const auto recorder = Recorder::create(path_, nullptr);
  ASSERT_NE(recorder, nullptr);
  const std::string path = testing_support::workerExecutable();
  client::Worker first(path, {.observer = recorder.get()});
  EXPECT_TRUE(first.run("1").has_value());
  EXPECT_TRUE(first.restart());
  EXPECT_TRUE(recorder->isComplete());
  client::Worker second(path, {.observer = recorder.get()});
  EXPECT_TRUE(second.run("2").has_value());
  EXPECT_TRUE(first.run("3").has_value());
  EXPECT_FALSE(recorder->isComplete());
  EXPECT_EQ(recorder->failure(), "two workers at a time share the recorder");
  const auto session = readSession(path_, nullptr);
  ASSERT_TRUE(session.has_value());
  EXPECT_EQ(session->end, FileEnd::Whole);
  EXPECT_EQ(kindsOf(*session),
            (std::vector{RecordKind::Start, RecordKind::Request, RecordKind::Response,
                         RecordKind::End, RecordKind::Start}));
}

TEST_F(RecorderTest, MayBeToldFromSeveralThreads) {
  constexpr int kFrameCount = 500;
  const auto recorder = Recorder::create(path_, nullptr);
  ASSERT_NE(recorder, nullptr);
  const auto send = [&] {
    for (int n = 0; n < kFrameCount; ++n) recorder->onRequest("a frame");
  };
  std::thread other(send);
  send();
  other.join();
  EXPECT_TRUE(recorder->isComplete());
  const auto session = readSession(path_, nullptr);
  ASSERT_TRUE(session.has_value());
  EXPECT_EQ(session->end, FileEnd::Whole) << session->end_text;
  EXPECT_EQ(session->records.size(), 2u * kFrameCount);
}

TEST_F(RecorderTest, LeavesAFileThatExistsAlone) {
  std::ofstream(path_) << "precious";
  std::string error;
  EXPECT_EQ(Recorder::create(path_, &error), nullptr);
  EXPECT_NE(error, "");
  EXPECT_EQ(Recorder::create(path_, nullptr), nullptr);
  std::string text;
  std::ifstream(path_) >> text;
  EXPECT_EQ(text, "precious");
}

TEST_F(RecorderTest, CannotBeginWhereThereIsNoDirectory) {
  std::string error;
  EXPECT_EQ(Recorder::create("no/such/directory/file.session", &error), nullptr);
  EXPECT_NE(error, "");
}

}  // namespace
}  // namespace lisp_worker::session
