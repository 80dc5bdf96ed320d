#include "lisp_worker/session/replay.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "lisp_worker/client/process.h"
#include "lisp_worker/session/explain.h"
#include "lisp_worker/session/show.h"
#include "testing/base/test_environment.h"
#include "testing/formats/document_examples.h"
#include "testing/workers/executable_worker.h"
#include "testing/workers/in_process_worker.h"
#include "testing/workers/session_maker.h"

namespace lisp_worker::session {
namespace {

using std::chrono::milliseconds;
using testing_support::InProcessWorker;
using testing_support::SessionMaker;

constexpr milliseconds kPatience{60000};

client::WorkerStarter realWorker() {
  return [](std::string* error_out) {
    return client::startWorker(testing_support::workerExecutable(), error_out);
  };
}

std::vector<std::filesystem::path> recordedSessions() {
  std::vector<std::filesystem::path> paths;
  for (const auto& file : std::filesystem::directory_iterator(testing_support::sourceDirectory() /
                                                              "testing/sessions")) {
    if (file.path().extension() == ".session") paths.push_back(file.path());
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

// Every worker that is ever built is held against what was said once.
TEST(RecordedSessions, GoTheSameWayWithTheWorkerOfThisBuild) {
  const std::vector<std::filesystem::path> paths = recordedSessions();
  EXPECT_GE(paths.size(), 20u);
  for (const std::filesystem::path& path : paths) {
    SCOPED_TRACE(path.filename().string());
    std::string error;
    const auto recorded = readSession(path, &error);
    ASSERT_TRUE(recorded.has_value()) << error;
    EXPECT_EQ(recorded->end, FileEnd::Whole);
    EXPECT_GE(recorded->records.size(), 3u);
    const ReplayReport report = replaySession(*recorded, realWorker(), kPatience);
    EXPECT_EQ(report.error, "");
    EXPECT_EQ(firstDifference(*recorded, report.made), std::nullopt)
        << explainDifference(*recorded, report.made)->text;
  }
}

// A replay that could not fail would prove nothing.
TEST(RecordedSessions, AreHeldAgainstEveryByteOfEveryResponse) {
  std::size_t count = 0;
  for (const std::filesystem::path& path : recordedSessions()) {
    const auto recorded = readSession(path, nullptr);
    ASSERT_TRUE(recorded.has_value());
    for (std::size_t number = 0; number < recorded->records.size(); ++number) {
      const Record& record = recorded->records[number];
      if (record.kind != RecordKind::Response) continue;
      for (std::size_t at = 0; at < record.body.size(); at += 13) {
        RecordedSession changed = *recorded;
        changed.records[number].body[at] ^= 0x20;
        ASSERT_EQ(firstDifference(*recorded, changed), number);
        ++count;
      }
    }
  }
  EXPECT_GT(count, 1000u);
}

RecordedSession someSession() {
  SessionMaker maker;
  EXPECT_TRUE(maker.worker().run("(SETQ A 5)").has_value());
  EXPECT_TRUE(maker.worker()
                  .run("(LIST A (GETPOINT))",
                       [](const client::HostCall&) { return std::optional(client::nil()); })
                  .has_value());
  return maker.session();
}

TEST(SessionReplay, MakesARecordForEachOfTheRecording) {
  RecordedSession recorded = someSession();
  recorded.records.push_back(
      {RecordKind::End, 0, encodeEnd({client::WorkerExit::Kind::Exited, 0})});
  const ReplayReport report = replaySession(recorded, &InProcessWorker::start, kPatience);
  EXPECT_EQ(report.error, "");
  EXPECT_EQ(report.made.records.size(), recorded.records.size());
  EXPECT_EQ(firstDifference(recorded, report.made), std::nullopt);
}

TEST(SessionReplay, StartsAFreshWorkerWhereTheRecordingDid) {
  RecordedSession recorded = someSession();
  const RecordedSession once = recorded;
  recorded.records.insert(recorded.records.end(), once.records.begin(), once.records.end());
  const ReplayReport report = replaySession(recorded, &InProcessWorker::start, kPatience);
  EXPECT_EQ(firstDifference(recorded, report.made), std::nullopt);
}

TEST(SessionReplay, TellsThatThereIsNoWorker) {
  const ReplayReport report = replaySession(
      someSession(),
      [](std::string* error_out) { return client::startWorker("no/such/worker", error_out); },
      kPatience);
  EXPECT_NE(report.error, "");
}

// A program that takes requests and never answers, as long as its input does not end.
TEST(SessionReplay, GivesUpAWorkerThatDoesNotAnswer) {
  const std::string path = testing_support::environment("LISP_FAULTY_WORKER_PATH");
  RecordedSession recorded = someSession();
  // The faulty worker takes this for its orders: no fault known to it, so it stalls.
  recorded.records[1].body =
      std::string("\3\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 16) + recorded.records[1].body;
  // It is waited for once, not for every response.
  const Record response = recorded.records[2];
  recorded.records.insert(recorded.records.begin() + 3, 50, response);
  const auto begin = std::chrono::steady_clock::now();
  const ReplayReport report = replaySession(
      recorded, [path](std::string* error_out) { return client::startWorker(path, error_out); },
      milliseconds(200));
  EXPECT_EQ(report.made.records[2].kind, RecordKind::Broken);
  EXPECT_EQ(firstDifference(recorded, report.made), 2u);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, milliseconds(5000));
  EXPECT_EQ(explainDifference(recorded, report.made)->cause, Cause::WorkerEnded);
}

// A session in which `end` came instead of the first response, after `came`, if anything came; and
// another worker after that.
RecordedSession endedInstead(client::WorkerExit end, const std::optional<std::string>& came) {
  const RecordedSession whole = someSession();
  RecordedSession session = whole;
  session.records.resize(2);
  if (came) session.records.push_back({RecordKind::Broken, 0, *came});
  session.records.push_back({RecordKind::End, 0, encodeEnd(end)});
  session.records.insert(session.records.end(), whole.records.begin(), whole.records.end());
  return session;
}

using Kind = client::WorkerExit::Kind;
constexpr client::WorkerExit kKilledByOthers{Kind::Signaled, 9};

TEST(SessionReplay, GoesOnAfterAnEndFromOutside) {
  const std::string response = someSession().records[2].body;
  for (const auto& came :
       {std::optional<std::string>(), std::optional<std::string>(""),
        std::optional<std::string>(response.substr(0, 70)), std::optional(response)}) {
    RecordedSession recorded = endedInstead(kKilledByOthers, came);
    const ReplayReport report = replaySession(recorded, realWorker(), kPatience);
    EXPECT_EQ(firstDifference(recorded, report.made), std::nullopt);
    EXPECT_EQ(firstDifference(report.made, recorded), std::nullopt);
    // And finds what differs behind it.
    recorded.records.back().body.back() ^= 1;
    EXPECT_EQ(firstDifference(recorded, report.made), recorded.records.size() - 1);
  }
  const RecordedSession other = endedInstead(kKilledByOthers, "rubbish");
  EXPECT_EQ(firstDifference(other, replaySession(other, realWorker(), kPatience).made), 2u);
}

// The recording ends there, and not the worker.
TEST(SessionReplay, InventsNoEndForAWorkerWithARequestInHand) {
  const RecordedSession recorded = endedInstead({Kind::Exited, 0}, std::nullopt);
  for (int n = 0; n < 20; ++n) {
    const ReplayReport report = replaySession(recorded, realWorker(), kPatience);
    ASSERT_EQ(report.made.records[2].kind, RecordKind::End);
    EXPECT_EQ(decodeEnd(report.made.records[2].body), (client::WorkerExit{Kind::Exited, 0}));
    EXPECT_EQ(firstDifference(recorded, report.made), std::nullopt);
  }
}

TEST(SessionReplay, ComparesAnEndThatAWorkerHasMadeItself) {
  for (const client::WorkerExit end :
       {client::WorkerExit{Kind::Signaled, 11}, client::WorkerExit{Kind::Exited, 8},
        client::WorkerExit{Kind::Exited, 0xC0000005}}) {
    const RecordedSession recorded = endedInstead(end, "");
    EXPECT_EQ(firstDifference(recorded, replaySession(recorded, realWorker(), kPatience).made), 2u);
  }
  // Its host has given it up, because nothing came: that is about the worker, too.
  const RecordedSession stuck = endedInstead({Kind::Killed, 0}, "");
  EXPECT_EQ(firstDifference(stuck, replaySession(stuck, realWorker(), kPatience).made), 2u);
}

TEST(FirstDifference, LeavesTimesAside) {
  const RecordedSession a = someSession();
  RecordedSession b = a;
  b.start_time = 99;
  for (Record& record : b.records) record.time += 1000;
  EXPECT_EQ(firstDifference(a, b), std::nullopt);
}

TEST(FirstDifference, IsTheEndOfTheShorterSession) {
  const RecordedSession a = someSession();
  RecordedSession b = a;
  b.records.pop_back();
  EXPECT_EQ(firstDifference(a, b), b.records.size());
  EXPECT_EQ(firstDifference(b, a), b.records.size());
}

TEST(FirstDifference, CountsHowAWorkerEndedOnlyIfItEndedByItself) {
  const auto ending = [](client::WorkerExit exit) {
    RecordedSession session = someSession();
    session.records.push_back({RecordKind::End, 0, encodeEnd(exit)});
    return session;
  };
  const RecordedSession fine = ending({Kind::Exited, 0});
  const std::size_t last = fine.records.size() - 1;
  EXPECT_EQ(firstDifference(fine, ending({Kind::Exited, 5})), last);
  EXPECT_EQ(firstDifference(fine, ending({Kind::Exited, 0xC0000005})), last);
  EXPECT_EQ(firstDifference(fine, ending({Kind::Signaled, 11})), last);
  EXPECT_EQ(firstDifference(fine, ending({Kind::Killed, 0})), std::nullopt);
  EXPECT_EQ(firstDifference(ending({}), fine), std::nullopt);
  EXPECT_EQ(firstDifference(fine, ending(kKilledByOthers)), std::nullopt);
  EXPECT_EQ(firstDifference(fine, ending({Kind::Signaled, 2})), std::nullopt);
  EXPECT_EQ(firstDifference(fine, ending({Kind::Exited, 0xC000013A})), std::nullopt);
  // Its host read no more.
  EXPECT_EQ(firstDifference(fine, ending({Kind::Exited, 6})), std::nullopt);
  EXPECT_EQ(firstDifference(fine, ending({Kind::Exited, 7})), std::nullopt);
}

}  // namespace
}  // namespace lisp_worker::session
