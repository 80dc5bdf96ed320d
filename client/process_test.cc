// Real workers, started and ended. What a process does beyond the worker's own behaviour is in
// process_posix_test.cc.

#include "lisp_worker/client/process.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "lisp_worker/client/answer_text.h"
#include "lisp_worker/client/worker_client.h"
#include "testing/workers/executable_worker.h"

namespace lisp_worker::client {
namespace {

using worker::WorkerStatus;

std::unique_ptr<WorkerProcess> startRealWorker() {
  std::string error;
  auto process = startWorker(testing_support::workerExecutable(), &error);
  EXPECT_NE(process, nullptr) << error;
  return process;
}

TEST(WorkerProcess, AnswersUntilItIsShutDown) {
  const auto process = startRealWorker();
  ASSERT_NE(process, nullptr);
  WorkerClient worker(*process);
  EXPECT_EQ(worker.ping(), WorkerStatus::Ok);
  const auto reply = worker.evalStart("(+ 1 2)", 0);
  ASSERT_TRUE(reply.has_value());
  ASSERT_TRUE(reply->value.has_value());
  EXPECT_EQ(reply->value->text, "3");
  EXPECT_EQ(worker.shutdown(), WorkerStatus::Ok);
  EXPECT_EQ(process->finish(), (WorkerExit{WorkerExit::Kind::Exited, 0}));
  EXPECT_EQ(process->finish(), (WorkerExit{WorkerExit::Kind::Exited, 0}));
}

TEST(WorkerProcess, MayBeGivenAllTheTimeThereIs) {
  const auto process = startRealWorker();
  ASSERT_NE(process, nullptr);
  WorkerClient worker(*process);
  EXPECT_EQ(worker.shutdown(), WorkerStatus::Ok);
  EXPECT_EQ(process->waitForEnd(std::chrono::milliseconds::max()),
            (WorkerExit{WorkerExit::Kind::Exited, 0}));
}

TEST(WorkerProcess, EndsWhenItsInputEnds) {
  const auto process = startRealWorker();
  ASSERT_NE(process, nullptr);
  EXPECT_EQ(process->finish(), (WorkerExit{WorkerExit::Kind::Exited, 0}));
}

TEST(WorkerProcess, TakesTheLargestProgram) {
  const auto process = startRealWorker();
  ASSERT_NE(process, nullptr);
  WorkerClient worker(*process);
  const std::string program = "7" + std::string(worker::kPayloadSizeMax - 1, ' ');
  const auto reply = worker.evalStart(program, 0);
  ASSERT_TRUE(reply.has_value());
  ASSERT_TRUE(reply->value.has_value());
  EXPECT_EQ(reply->value->text, "7");
}

TEST(WorkerProcess, TellsWhyItEnded) {
  const auto process = startRealWorker();
  ASSERT_NE(process, nullptr);
  EXPECT_TRUE(process->write(std::string(worker::kHeaderSize, 'X')));
  std::string response(worker::kHeaderSize + 1, '\0');
  EXPECT_EQ(process->read(response.data(), response.size()), worker::kHeaderSize);
  // Its input is closed by now: a request is not taken, and no signal ends this test.
  WorkerClient worker(*process);
  EXPECT_EQ(worker.ping(), std::nullopt);
  EXPECT_EQ(process->finish(), (WorkerExit{WorkerExit::Kind::Exited, 2}));
}

TEST(WorkerProcess, StartsFromAPathWithBlanksAndForeignLetters) {
  const std::filesystem::path directory =
      std::filesystem::temp_directory_path() / u8"lisp worker \u00E4\u03BB";
  std::filesystem::create_directory(directory);
  const std::filesystem::path copy = directory / "a worker.exe";
  std::filesystem::copy_file(testing_support::workerExecutable(), copy,
                             std::filesystem::copy_options::overwrite_existing);
  std::string error;
  const auto process = startWorker(copy, &error);
  EXPECT_NE(process, nullptr) << error;
  if (process != nullptr) {
    WorkerClient worker(*process);
    EXPECT_EQ(worker.ping(), WorkerStatus::Ok);
    process->finish();
  }
  std::filesystem::remove_all(directory);
}

TEST(WorkerProcess, CannotBeStartedFromNothing) {
  std::string error;
  EXPECT_EQ(startWorker("no/such/worker", &error), nullptr);
  EXPECT_FALSE(error.empty());
  EXPECT_EQ(startWorker("no/such/worker", nullptr), nullptr);
}

TEST(WorkerProcess, CannotBeStartedFromAFileThatIsNoProgram) {
  const std::filesystem::path path =
      std::filesystem::temp_directory_path() / "lisp_worker_process_test.txt";
  std::ofstream(path) << "not a program\n";
  std::string error;
  EXPECT_EQ(startWorker(path, &error), nullptr);
  EXPECT_FALSE(error.empty());
  std::filesystem::remove(path);
}

// Windows passes a worker's answer through the same types; escaped text must survive both ways.
TEST(WorkerProcess, ReadsAnswersAsTheyWereMeant) {
  const auto process = startRealWorker();
  ASSERT_NE(process, nullptr);
  WorkerClient worker(*process);
  const Datum answers[] = {
      nil(),       list({}),       string("C:\\new\r\n"),        symbol("$KVSEL"),
      number(0.1), point(1, 2, 3), selectionSet({string("E1")}), number(-0.0)};
  for (const Datum& answer : answers) {
    const auto started = worker.evalStart("(EQUAL (GETPOINT) (GETPOINT))", 0);
    ASSERT_TRUE(started.has_value());
    ASSERT_TRUE(started->value.has_value());
    const auto text = answerText(answer, nullptr);
    ASSERT_TRUE(text.has_value());
    const auto second = worker.evalResume(started->value->run_id, *text);
    ASSERT_TRUE(second.has_value());
    ASSERT_EQ(second->status, WorkerStatus::HostCallPending);
    const auto ended = worker.evalResume(second->value->run_id, *text);
    ASSERT_TRUE(ended.has_value());
    ASSERT_TRUE(ended->value.has_value());
    EXPECT_EQ(ended->value->text, "T") << answer;
  }
}

}  // namespace
}  // namespace lisp_worker::client
