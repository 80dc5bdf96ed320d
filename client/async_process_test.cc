// The client that does not wait, with the real worker: under poll on POSIX systems, under
// MsgWaitForMultipleObjects on Windows.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "lisp_worker/client/async_worker.h"
#include "lisp_worker/client/names.h"
#include "testing/workers/executable_worker.h"
#include "testing/workers/handle_wait.h"

namespace lisp_worker::client {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing_support::waitForHandle;
using testing_support::workerExecutable;

class AsyncProcess : public testing::Test {
 protected:
  // A host's event loop, until `count` programs have ended.
  void loopUntilEnded(std::size_t count) {
    while (ends.size() < count) {
      ASSERT_TRUE(waitForHandle(subject.handle(), milliseconds(20000)));
      subject.process();
    }
  }

  ProgramSettings noted() {
    ProgramSettings settings;
    settings.on_call = [this](ProgramId id, const HostCall&) { waiting.push_back(id); };
    settings.on_end = [this](ProgramId, const ProgramOutcome& outcome) {
      ends.push_back(outcome.hasValue() ? outcome.report.text
                                        : std::to_string(static_cast<int>(outcome.kind)));
    };
    return settings;
  }

  std::vector<std::string> ends;  // Values, and the numbers of other outcomes.
  std::vector<ProgramId> waiting;
  std::string fault;
  AsyncWorker subject{workerExecutable(),
                      {.on_fault = [this](const Fault& met) { fault = met.message; }}};
};

TEST_F(AsyncProcess, EvaluatesPrograms) {
  for (int i = 0; i < 200; ++i) subject.submit("(+ " + std::to_string(i) + " 1)", noted());
  loopUntilEnded(200);
  for (int i = 0; i < 200; ++i) EXPECT_EQ(ends[static_cast<std::size_t>(i)], std::to_string(i + 1));
}

TEST_F(AsyncProcess, LetsThreeProgramsWaitAndCancelsOneFromAnotherThread) {
  for (int i = 0; i < 3; ++i) subject.submit("(GETDIST \"D\")", noted());
  while (waiting.size() < 3) {
    ASSERT_TRUE(waitForHandle(subject.handle(), milliseconds(20000)));
    subject.process();
  }
  std::thread([this] { subject.cancel(2); }).join();
  loopUntilEnded(1);
  EXPECT_TRUE(subject.answer(3, number(3)));
  EXPECT_TRUE(subject.answer(1, number(1)));
  loopUntilEnded(3);
  EXPECT_THAT(ends, ElementsAre("1", "3", "1"));
}

TEST_F(AsyncProcess, MovesAsMuchAsAFrameHolds) {
  const std::string text(1000000, 'x');
  subject.submit("\"" + text + "\"", noted());
  loopUntilEnded(1);
  EXPECT_EQ(ends[0], "\"" + text + "\"");
}

TEST_F(AsyncProcess, IsSilentWhileNothingHappens) {
  subject.submit("1", noted());
  loopUntilEnded(1);
  subject.process();
  EXPECT_FALSE(waitForHandle(subject.handle(), milliseconds(50)));
}

TEST_F(AsyncProcess, EndsAProgramThatWaitsTooLong) {
  ProgramSettings settings = noted();
  settings.time_limit = milliseconds(50);
  subject.submit("(GETDIST \"D\")", settings);
  loopUntilEnded(1);
  EXPECT_THAT(ends, ElementsAre(std::to_string(static_cast<int>(ProgramOutcome::Kind::TimedOut))));
  subject.submit("2", noted());
  loopUntilEnded(2);
  EXPECT_EQ(ends[1], "2");
}

TEST_F(AsyncProcess, IsToldOfAWorkerKilledWhileIdleAndStartsAnother) {
  subject.submit("(SETQ A 1)", noted());
  loopUntilEnded(1);
  std::thread([this] { subject.kill(); }).join();
  while (fault.empty()) {
    ASSERT_TRUE(waitForHandle(subject.handle(), milliseconds(20000)));
    subject.process();
  }
  EXPECT_THAT(fault, HasSubstr("the host has killed the worker"));
  ASSERT_TRUE(subject.restart());
  subject.submit("A", noted());
  subject.submit("(+ 1 1)", noted());
  loopUntilEnded(3);
  EXPECT_THAT(ends, ElementsAre("1", "0", "2"));  // The variable went with the first worker.
}

TEST_F(AsyncProcess, EndsWithWorkInHand) {
  subject.submit("(SETQ I 0)(WHILE T (SETQ I (+ I 1)))", noted());
  subject.submit("(GETDIST \"D\")", noted());
}

TEST_F(AsyncProcess, TellsWhyThereIsNoWorker) {
  AsyncWorker none("no_such_program");
  ASSERT_FALSE(none.start());
  EXPECT_THAT(none.fault()->message, HasSubstr("no_such_program"));
}

}  // namespace
}  // namespace lisp_worker::client
