// lisp_session as a program: what it prints, how it ends, and that its proxy is not noticed.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include "lisp_worker/client/process.h"
#include "lisp_worker/client/worker.h"
#include "lisp_worker/session/recorder.h"
#include "lisp_worker/session/replay.h"
#include "lisp_worker/session/session.h"
#include "testing/base/command_output.h"
#include "testing/base/test_environment.h"
#include "testing/formats/document_examples.h"
#include "testing/wire/wire_frames.h"
#include "testing/workers/child_process_posix.h"
#include "testing/workers/executable_worker.h"

namespace lisp_worker::session {
namespace {

namespace fs = std::filesystem;
using client::WorkerExit;
using std::chrono::steady_clock;
using testing::HasSubstr;
using testing::StartsWith;
using testing_support::environment;
using testing_support::runCommand;
using testing_support::workerExecutable;
using worker::MessageType;
using worker::WorkerStatus;

class SessionProgram : public testing::Test {
 protected:
  SessionProgram() { fs::create_directories(directory_); }
  ~SessionProgram() override { fs::remove_all(directory_); }

  using Output = testing_support::CommandOutput;

  // Of both streams.
  static Output run(const std::string& arguments) {
    return runCommand(environment("LISP_SESSION_PATH") + " " + arguments + " 2>&1");
  }

  static std::string sample(const std::string& name) {
    return environment("LISP_SOURCE_DIR") + "/testing/sessions/" + name + ".session";
  }

  // A program for the shell.
  [[nodiscard]] fs::path script(const char* name, const std::string& commands) const {
    const fs::path path = directory_ / name;
    std::ofstream(path) << "#!/bin/sh\n" << commands << "\n";
    fs::permissions(path, fs::perms::owner_all);
    return path;
  }

  // A program that a host can start as its worker: the proxy in front of `worker`.
  [[nodiscard]] fs::path proxyFor(const fs::path& worker) const {
    return script("recorded_worker", "exec " + environment("LISP_SESSION_PATH") +
                                         " proxy --record " + recording().string() + " -- " +
                                         worker.string());
  }

  static std::string fileText(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

  [[nodiscard]] fs::path recording() const { return directory_ / "recorded.session"; }

  [[nodiscard]] RecordedSession recorded() const {
    std::string error;
    auto session = readSession(recording(), &error);
    EXPECT_TRUE(session.has_value()) << error;
    return session.value_or(RecordedSession{});
  }

  fs::path directory_ =
      fs::temp_directory_path() / ("lisp_session_test." + std::to_string(::getpid()));
};

TEST_F(SessionProgram, TellsHowItIsUsed) {
  const Output help = run("--help");
  EXPECT_EQ(help.exit_code, 0);
  EXPECT_THAT(help.text, StartsWith("usage: lisp_session show FILE"));
  const Output nothing = run("");
  EXPECT_EQ(nothing.exit_code, 2);
  EXPECT_EQ(nothing.text, "lisp_session: no command given (--help tells more)\n");
}

TEST_F(SessionProgram, TellsItsVersion) {
  const Output version = run("--version");
  EXPECT_EQ(version.exit_code, 0);
  EXPECT_EQ(version.text, "lisp_session " + testing_support::projectVersion() + "\n");
}

TEST_F(SessionProgram, ShowsASession) {
  const Output all = run("show " + sample("15_several_waiting_runs"));
  EXPECT_EQ(all.exit_code, 0);
  EXPECT_THAT(all.text, HasSubstr("run 2 needs GETDIST ((5 6 7))"));
  const Output one = run("show " + sample("15_several_waiting_runs") + " --record 1");
  EXPECT_THAT(one.text, HasSubstr("\n(SETQ SHARED 1)\n"));
  const Output none = run("show " + sample("15_several_waiting_runs") + " --record 999");
  EXPECT_EQ(none.exit_code, 2);
  EXPECT_THAT(none.text, HasSubstr("lisp_session: there are 28 records"));
}

TEST_F(SessionProgram, ShowsABareStreamOfFrames) {
  const std::string program = testing_support::frameBytes(
      testing_support::requestHeader(worker::MessageType::EvalStart), "(SETQ A 5)");
  std::ofstream(recording(), std::ios::binary) << program << program.substr(0, 70);
  const Output all = run("show " + recording().string());
  EXPECT_EQ(all.exit_code, 0);
  EXPECT_EQ(all.text,
            "    0  0.000000  host    EvalStart         10 bytes: (SETQ A 5)\n"
            "the stream ends inside the frame after record 0\n");
  EXPECT_THAT(run("show " + recording().string() + " --record 0").text,
              HasSubstr("\n(SETQ A 5)\n"));
  const Output none = run("show " + recording().string() + " --record 1");
  EXPECT_EQ(none.exit_code, 2);
  EXPECT_EQ(none.text, "lisp_session: there are 1 record\n");
}

TEST_F(SessionProgram, SendsNoControlCharacters) {
  {
    client::Worker worker(proxyFor(workerExecutable()));
    ASSERT_TRUE(worker
                    .run("(GETPOINT \"\x1b[2J\")\n; \xC2\x9B"
                         "2J")
                    .has_value());
    worker.stop();
  }
  for (const char* const arguments : {"", " --record 1", " --record 2"}) {
    const Output shown = run("show " + recording().string() + arguments);
    EXPECT_THAT(shown.text, HasSubstr("\\x1b[2J"));
    for (const char c : shown.text)
      EXPECT_TRUE(c == '\n' || (c >= 0x20 && c != 0x7F)) << shown.text;
  }
}

TEST_F(SessionProgram, ReadsNoMoreOfAForeignFileThanItsHeader) {
  const Output endless =
      runCommand("timeout 20 " + environment("LISP_SESSION_PATH") + " show /dev/zero 2>&1");
  EXPECT_EQ(endless.text, "lisp_session: /dev/zero: not a recorded session\n");
  EXPECT_EQ(run("show /").text, "lisp_session: /: is a directory\n");
}

// The recorded run is held again to see what the worker does not tell, and this one says nothing.
TEST_F(SessionProgram, WaitsForAnExplanationAsLongAsItIsTold) {
  const auto begin = steady_clock::now();
  // It diverges like the recorded one, but only when it is asked for the first time.
  const fs::path once = directory_ / "asked";
  const fs::path worker =
      script("forgetful_worker", "[ -e " + once.string() + " ] && exec sleep 30\ntouch " +
                                     once.string() + "\nexec " + workerExecutable());
  const Output told = run("explain " + sample("10_replay_divergence") +
                          " --time-limit 300 --worker " + worker.string());
  EXPECT_EQ(told.exit_code, 1);
  EXPECT_LT(steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST_F(SessionProgram, ReplaysASession) {
  const Output same = run("replay " + sample("01_bolt_circle") + " --worker " + workerExecutable());
  EXPECT_EQ(same.text, "the same, 20 records\n");
  EXPECT_EQ(same.exit_code, 0);
  const Output no_worker = run("replay " + sample("01_bolt_circle") + " --worker no/such/worker");
  EXPECT_EQ(no_worker.exit_code, 3);
  EXPECT_EQ(no_worker.text, "lisp_session: no/such/worker: No such file or directory\n");
  // Something that is a program, but no worker.
  const Output cat = run("replay " + sample("01_bolt_circle") + " --worker /bin/true");
  EXPECT_EQ(cat.exit_code, 1);
  EXPECT_THAT(cat.text, StartsWith("different from record 2 on\n"));
}

TEST_F(SessionProgram, ComparesAndExplainsSessions) {
  const std::string both = sample("10_replay_divergence") + " " + sample("11_unreadable_answer");
  const Output different = run("diff " + both);
  EXPECT_EQ(different.exit_code, 1);
  EXPECT_THAT(different.text, StartsWith("different from record 3 on\n"));
  EXPECT_EQ(run("diff " + sample("23_numbers") + " " + sample("23_numbers")).exit_code, 0);
  EXPECT_THAT(run("explain " + both).text, HasSubstr("likely cause: changed definitions"));
  EXPECT_EQ(run("explain " + sample("23_numbers")).text, "nothing diverges\n");
}

TEST_F(SessionProgram, ExplainsADivergence) {
  const Output told =
      run("explain " + sample("10_replay_divergence") + " --worker " + workerExecutable());
  EXPECT_EQ(told.exit_code, 1);
  EXPECT_THAT(told.text, HasSubstr("element 1: 100 became 500"));
  EXPECT_THAT(told.text, HasSubstr("likely cause: context registered anew"));
  EXPECT_THAT(run("explain " + sample("20_nan_divergence")).text,
              HasSubstr("likely cause: an argument is NaN"));
}

TEST_F(SessionProgram, RefusesADamagedFileAndUsesACutOne) {
  std::ifstream file(sample("01_bolt_circle"), std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  const auto write = [this](const char* name, const std::string& text) {
    std::ofstream(directory_ / name, std::ios::binary) << text;
    return (directory_ / name).string();
  };
  const std::string cut = write("cut", bytes.substr(0, bytes.size() - 100));
  const Output replayed = run("replay " + cut + " --worker " + workerExecutable());
  EXPECT_EQ(replayed.exit_code, 0);
  EXPECT_THAT(replayed.text, HasSubstr(": the file ends inside record 18, in its "));
  EXPECT_THAT(replayed.text, HasSubstr("the same, 18 records\n"));

  bytes[bytes.size() / 2] ^= 1;
  const std::string damaged = write("damaged", bytes);
  const Output refused = run("replay " + damaged + " --worker " + workerExecutable());
  EXPECT_EQ(refused.exit_code, 2);
  EXPECT_THAT(refused.text, HasSubstr(" is damaged: "));
  EXPECT_EQ(run("show " + damaged).exit_code, 2);

  EXPECT_EQ(run("show " + write("text", "hello")).text,
            "lisp_session: " + directory_.string() + "/text: not a recorded session\n");
}

TEST_F(SessionProgram, RecordsBetweenAHostAndItsWorker) {
  const std::string long_program = "'(" + std::string(300000, ' ') + "7)";
  {
    client::Worker worker(proxyFor(workerExecutable()));
    ASSERT_EQ(worker.ping(), WorkerStatus::Ok);
    const auto run = worker.run("(+ 1 (GETDIST))", [](const client::HostCall&) {
      return std::optional(client::number(41));
    });
    ASSERT_TRUE(run.has_value());
    EXPECT_EQ(run->text, "42");
    EXPECT_EQ(worker.run(long_program)->text, "(7)");
    EXPECT_EQ(worker.stop(), (WorkerExit{WorkerExit::Kind::Exited, 0}));
  }
  const RecordedSession session = recorded();
  EXPECT_EQ(session.end, FileEnd::Whole);
  ASSERT_EQ(session.records.size(), 12u);
  EXPECT_EQ(session.records[7].body.substr(worker::kHeaderSize), long_program);
  const ReplayReport report = replaySession(
      session, [](std::string* error) { return client::startWorker(workerExecutable(), error); },
      std::chrono::seconds(20));
  EXPECT_EQ(firstDifference(session, report.made), std::nullopt);
}

TEST_F(SessionProgram, IsNotNoticedByAHostThatSendsRubbish) {
  worker::MessageHeader magic = testing_support::requestHeader(MessageType::Ping);
  magic.magic = 0;
  worker::MessageHeader length = testing_support::requestHeader(MessageType::Ping);
  length.payload_length = worker::kPayloadSizeMax + 1;
  const std::string cut =
      testing_support::frameBytes(testing_support::requestHeader(MessageType::EvalStart), "(+ 1 2)")
          .substr(0, 66);
  const std::string pipelined = testing_support::frameBytes(
      testing_support::requestHeader(MessageType::EvalStart), "(LIST 1 2 3)");
  for (const std::string& bytes :
       {testing_support::headerBytes(magic) + "more", testing_support::headerBytes(length), cut,
        std::string("KLSP"), pipelined + pipelined + pipelined}) {
    fs::remove(recording());
    std::string answers[2];
    WorkerExit exits[2];
    const fs::path paths[2] = {workerExecutable(), proxyFor(workerExecutable())};
    for (int which = 0; which < 2; ++which) {
      const auto process = client::startWorker(paths[which], nullptr);
      ASSERT_NE(process, nullptr);
      static_cast<void>(process->write(bytes));
      process->endInput();
      std::string answer(4096, '\0');
      answer.resize(process->read(answer.data(), answer.size()));
      answers[which] = answer;
      exits[which] = process->finish();
    }
    EXPECT_EQ(answers[1], answers[0]);
    EXPECT_EQ(exits[1], exits[0]);
    EXPECT_EQ(recorded().end, FileEnd::Whole);
  }
}

TEST_F(SessionProgram, EndsItsProxyAsTheWorkerEnds) {
  for (const std::string ending : {"exit 42", "kill -SEGV $$"}) {
    fs::remove(recording());
    const fs::path worker = script("dying_worker", ending);
    const auto direct = client::startWorker(worker, nullptr);
    const auto proxied = client::startWorker(proxyFor(worker), nullptr);
    char byte = 0;
    EXPECT_EQ(direct->read(&byte, 1), 0u);
    EXPECT_EQ(proxied->read(&byte, 1), 0u);
    const WorkerExit exit = direct->finish();
    EXPECT_EQ(proxied->finish(), exit);
    ASSERT_EQ(recorded().records.size(), 2u);
    EXPECT_EQ(decodeEnd(recorded().records[1].body), exit);
  }
}

TEST_F(SessionProgram, PassesOnThatAWorkerClosesItsOutputAndWaitsForItsEnd) {
  const auto proxied = client::startWorker(
      proxyFor(script("silent_worker", "exec >&-\nsleep 2.5\nexit 42")), nullptr);
  const auto begin = steady_clock::now();
  char byte = 0;
  EXPECT_EQ(proxied->read(&byte, 1), 0u);
  EXPECT_LT(steady_clock::now() - begin, std::chrono::seconds(2));
  EXPECT_EQ(proxied->waitForEnd(std::chrono::seconds(20)),
            (WorkerExit{WorkerExit::Kind::Exited, 42}));
}

TEST_F(SessionProgram, PassesOnThatAWorkerNoLongerReads) {
  const auto proxied = client::startWorker(
      proxyFor(script("deaf_worker", "exec <&-\necho ready\nexec sleep 60")), nullptr);
  char byte = 0;
  EXPECT_EQ(proxied->read(&byte, 1), 1u);
  const auto deadline = steady_clock::now() + std::chrono::seconds(20);
  while (proxied->write("x") && steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_LT(steady_clock::now(), deadline);
  proxied->finishWithin(std::chrono::milliseconds(0));
}

// Killed at any moment, the proxy leaves a file that tells what was said, and no worker behind.
TEST_F(SessionProgram, LeavesAReadableRecordingWhenItIsKilled) {
  client::Worker worker(proxyFor(workerExecutable()));
  for (int n = 0; n < 20; ++n) {
    fs::remove(recording());
    ASSERT_TRUE(worker.restart());  // Kills the one before.
    ASSERT_EQ(worker.ping(), WorkerStatus::Ok);
    const RecordedSession session = recorded();
    EXPECT_EQ(session.end, FileEnd::Whole);
    EXPECT_EQ(session.records.size(), 3u);
  }
}

// A worker that is stuck never sees that its input has ended. The host cannot kill it, but the
// proxy takes it along. This process becomes the parent of what is left.
TEST_F(SessionProgram, TakesAStuckWorkerAlongWhenItIsKilled) {
  ::prctl(PR_SET_CHILD_SUBREAPER, 1);
  const auto proxied =
      client::startWorker(proxyFor(script("stuck_worker", "echo $$\nexec sleep 60")), nullptr);
  std::string line(32, '\0');
  ASSERT_GT(proxied->readSome(line.data(), line.size()), 0u);
  const WorkerExit exit = proxied->finishWithin(std::chrono::milliseconds(50));
  EXPECT_EQ(exit.kind, WorkerExit::Kind::Killed);
  EXPECT_EQ(testing_support::waitForEnd(std::stoi(line), nullptr), "signal 9");
  ::prctl(PR_SET_CHILD_SUBREAPER, 0);
}

TEST_F(SessionProgram, NeverRecordsOverAFile) {
  std::ofstream(recording()) << "precious";
  const fs::path errors = directory_ / "errors";
  client::Worker worker(script("outer_worker", "exec 2>" + errors.string() + "\nexec " +
                                                   proxyFor(workerExecutable()).string()));
  EXPECT_EQ(worker.run("(+ 1 2)")->text, "3");
  // The host's work comes first, and is told afterwards.
  EXPECT_EQ(worker.stop(), (WorkerExit{WorkerExit::Kind::Exited, 122}));
  EXPECT_EQ(fileText(recording()), "precious");
  EXPECT_EQ(fileText(errors), "lisp_session: " + recording().string() +
                                  ": nothing is recorded from here on: File exists\n");
}

TEST_F(SessionProgram, TellsThatARecordingHasStopped) {
  const fs::path errors = directory_ / "errors";
  // A file of at most one block.
  client::Worker worker(script("outer_worker", "exec 2>" + errors.string() +
                                                   "\ntrap '' XFSZ\nulimit -f 1\nexec " +
                                                   proxyFor(workerExecutable()).string()));
  for (int n = 0; n < 20; ++n) EXPECT_EQ(worker.run("(+ 1 2)")->text, "3");
  EXPECT_EQ(worker.stop(), (WorkerExit{WorkerExit::Kind::Exited, 122}));
  EXPECT_EQ(fileText(errors),
            "lisp_session: " + recording().string() +
                ": nothing is recorded from here on: the file takes no more: File too large\n");
  EXPECT_EQ(recorded().end, FileEnd::Cut);

  // Another end of the worker is told instead.
  fs::remove(recording());
  const fs::path dying = script("dying_worker", "exit 5");
  std::ofstream(recording()) << "precious";
  const auto proxied = client::startWorker(proxyFor(dying), nullptr);
  EXPECT_EQ(proxied->waitForEnd(std::chrono::seconds(20)),
            (WorkerExit{WorkerExit::Kind::Exited, 5}));
}

// A worker's codes are 0 and 2 to 8.
TEST_F(SessionProgram, HasCodesOfItsOwnForAProxyThatCannotBegin) {
  EXPECT_EQ(run("proxy --record " + recording().string()).exit_code, 120);
  EXPECT_EQ(run("proxy --record " + recording().string() + " -- no/such/worker").exit_code, 121);
  EXPECT_FALSE(fs::exists(recording()));
}

// Somebody else ends the worker, which the host notices by its next request.
TEST_F(SessionProgram, ReplaysASessionWhoseWorkerWasKilledWhileIdle) {
  const fs::path number = directory_ / "number";
  const fs::path path =
      script("told_worker", "echo $$ > " + number.string() + "\nexec " + workerExecutable());
  {
    const auto recorder = Recorder::create(recording(), nullptr);
    ASSERT_NE(recorder, nullptr);
    client::Worker worker(path, {.observer = recorder.get()});
    ASSERT_TRUE(worker.run("(SETQ A 1)").has_value());
    ::kill(std::stoi(fileText(number)), SIGKILL);
    EXPECT_FALSE(worker.run("(SETQ A 2)").has_value());
    ASSERT_TRUE(worker.restart());
    ASSERT_TRUE(worker.run("(SETQ A 3)").has_value());
    worker.stop();
    ASSERT_TRUE(recorder->isComplete());
  }
  const Output replayed = run("replay " + recording().string() + " --worker " + workerExecutable());
  EXPECT_THAT(replayed.text, StartsWith("the same, "));
  EXPECT_EQ(replayed.exit_code, 0);
}

TEST_F(SessionProgram, DoesNotWaitForTheOtherEndOfAPipe) {
  const fs::path pipe = directory_ / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  for (const std::string command : {"show ", "explain ", "diff /dev/null "}) {
    const Output refused = runCommand("timeout 20 " + environment("LISP_SESSION_PATH") + " " +
                                      command + pipe.string() + " 2>&1");
    EXPECT_EQ(refused.exit_code, 2);
    EXPECT_THAT(refused.text,
                HasSubstr("lisp_session: " + pipe.string() + ": is a pipe, and not a file\n"));
  }
  EXPECT_EQ(run("show no/such/file").text,
            "lisp_session: no/such/file: cannot be read: No such file or directory\n");
}

#if !defined(LISP_SANITIZE) && \
    !defined(LISP_SANITIZE_THREADS)  // A sanitized program needs terabytes of addresses.
// A file of 100 MiB, looked at within 64 MiB of addresses.
TEST_F(SessionProgram, NeedsNoMoreMemoryForALargeFile) {
  constexpr std::size_t kRecordCount = 100;
  {
    const std::string program(worker::kPayloadSizeMax, ' ');
    const std::string frame = testing_support::frameBytes(
        testing_support::requestHeader(MessageType::EvalStart), program);
    std::ofstream file(recording(), std::ios::binary);
    file << encodeFileHeader(0);
    for (std::uint32_t number = 0; number < kRecordCount; ++number) {
      file << encodeRecord(RecordKind::Request, number, 0, frame);
    }
  }
  const std::string limited = "ulimit -S -v 65536; " + environment("LISP_SESSION_PATH") + " ";
  const std::string file = recording().string();
  const Output shown = runCommand(limited + "show " + file + " 2>&1 | tail -n 1");
  EXPECT_THAT(shown.text, HasSubstr("   99  0.000000  host    EvalStart"));
  const Output same = runCommand(limited + "diff " + file + " " + file + " 2>&1");
  EXPECT_EQ(same.text, "the same, 100 records\n");
  // It answers nothing, and the recording has no answers.
  const fs::path deaf = script("deaf_worker", "ulimit -S -v unlimited\nexec cat >/dev/null");
  const Output replayed =
      runCommand(limited + "replay " + file + " --worker " + deaf.string() + " 2>&1");
  EXPECT_EQ(replayed.text, "the same, 100 records\n");
}
#endif

}  // namespace
}  // namespace lisp_worker::session
