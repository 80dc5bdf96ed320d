// A recorder in a forked process, and files that take nothing.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <optional>
#include <string>

#include "lisp_worker/client/worker.h"
#include "lisp_worker/session/recorder.h"
#include "testing/workers/executable_worker.h"

namespace lisp_worker::session {
namespace {

class PosixRecorder : public testing::Test {
 protected:
  PosixRecorder() { std::filesystem::remove(path_); }
  ~PosixRecorder() override { std::filesystem::remove(path_); }

  std::filesystem::path path_ = std::filesystem::temp_directory_path() /
                                ("lisp_worker_recorder_posix_test." + std::to_string(::getpid()));
};

// The child destroys its copies of all objects, or uses the recorder for a worker of its own.
TEST_F(PosixRecorder, IsLeftAloneByAForkedCopy) {
  std::optional<client::Worker> worker;
  const auto recorder = Recorder::create(path_, nullptr);
  ASSERT_NE(recorder, nullptr);
  const std::string path = testing_support::workerExecutable();
  worker.emplace(path, client::ClientSettings{.observer = recorder.get()});
  ASSERT_TRUE(worker->run("1").has_value());
  for (const bool uses_it : {false, true}) {
    const pid_t copy = ::fork();
    ASSERT_GE(copy, 0);
    if (copy == 0) {
      worker.reset();
      if (uses_it) {
        client::Worker another(path, {.observer = recorder.get()});
        if (!another.run("2").has_value()) ::_exit(1);
      }
      ::_exit(recorder->isComplete() ? 2 : 0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(copy, &status, 0), copy);
    EXPECT_EQ(status, 0);
  }
  ASSERT_TRUE(worker->run("3").has_value());
  worker->stop();
  EXPECT_TRUE(recorder->isComplete());
  const auto session = readSession(path_, nullptr);
  ASSERT_TRUE(session.has_value());
  EXPECT_EQ(session->end, FileEnd::Whole) << session->end_text;
  EXPECT_EQ(session->records.size(), 8u);  // A start, three requests with responses, an end.
}

// Programs may be confidential.
TEST_F(PosixRecorder, MakesAFileThatOnlyItsUserCanRead) {
  const mode_t previous = ::umask(0);
  const auto recorder = Recorder::create(path_, nullptr);
  ::umask(previous);
  ASSERT_NE(recorder, nullptr);
  struct stat status {};
  ASSERT_EQ(::stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600u);
}

TEST_F(PosixRecorder, TellsWhyTheFileTakesNoMore) {
  const auto recorder = Recorder::create(path_, nullptr);
  ASSERT_NE(recorder, nullptr);
  recorder->onStart();
  rlimit previous{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &previous), 0);
  const rlimit small{100, previous.rlim_max};
  const auto previous_handler = std::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  recorder->onRequest(std::string(100, 'x'));
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &previous), 0);
  std::signal(SIGXFSZ, previous_handler);
  EXPECT_FALSE(recorder->isComplete());
  EXPECT_EQ(recorder->failure(), "the file takes no more: File too large");
}

}  // namespace
}  // namespace lisp_worker::session
