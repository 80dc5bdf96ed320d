#include "lisp_worker/client/async_worker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "lisp_worker/client/names.h"
#include "testing/wire/memory_async_channel.h"
#include "testing/wire/memory_channel.h"

namespace lisp_worker::client {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing_support::EvalPayload;
using testing_support::MemoryAsyncChannel;
using testing_support::MemoryPipes;
using worker::MessageType;
using worker::WorkerStatus;

// A worker of memory, and what has been called back, one text each.
class AsyncWorkerTest : public testing::Test {
 protected:
  AsyncWorkerTest() { makeWorker({}); }

  void makeWorker(AsyncSettings settings) {
    if (!settings.on_fault) {
      settings.on_fault = [this](const Fault& fault) {
        events.push_back("fault " + std::string(faultName(fault.kind)) + ": " + fault.message);
      };
    }
    subject = std::make_unique<AsyncWorker>(
        [this](std::string* error_out) -> std::unique_ptr<AsyncChannel> {
          if (!can_start) {
            *error_out = "no such file";
            return nullptr;
          }
          pipes = {};
          return std::make_unique<MemoryAsyncChannel>(pipes);
        },
        std::move(settings));
  }

  // Settings that note the calls and the end of a program.
  ProgramSettings noted() {
    ProgramSettings settings;
    settings.on_call = [this](ProgramId id, const HostCall& call) {
      events.push_back(std::to_string(id) + " calls " + call.name + " " + call.text);
    };
    settings.on_end = [this](ProgramId id, const ProgramOutcome& outcome) {
      events.push_back(std::to_string(id) + " " + describe(outcome));
    };
    return settings;
  }

  static std::string describe(const ProgramOutcome& outcome) {
    switch (outcome.kind) {
      case ProgramOutcome::Kind::Finished:
        return std::string(runEndName(outcome.report.end)) + " " + outcome.report.text;
      case ProgramOutcome::Kind::Cancelled:
        return "cancelled";
      case ProgramOutcome::Kind::TimedOut:
        return "timed out";
      case ProgramOutcome::Kind::WorkerLost:
        return "lost";
    }
    return "";
  }

  // Some systems wake a sleeper before its time.
  void waitForTheDeadline() const {
    while (std::chrono::steady_clock::now() < *pipes.deadline) {
      std::this_thread::sleep_until(*pipes.deadline);
    }
  }

  void respondValue(const std::string& text) {
    pipes.respond(WorkerStatus::Ok, EvalPayload{.steps = 3, .text = text}.bytes());
    subject->process();
  }

  void respondCall(std::uint64_t run_id) {
    pipes.respond(WorkerStatus::HostCallPending, EvalPayload{.eval_status = 4,
                                                             .arg_count = 1,
                                                             .steps = 2,
                                                             .call_name = "GETPOINT",
                                                             .run_id = run_id,
                                                             .text = "(\"P\")"}
                                                     .bytes());
    subject->process();
  }

  // The requests that have been written, like "EvalStart (+ 1 2)" and "EvalCancel 3".
  std::vector<std::string> sent() {
    std::vector<std::string> all;
    for (const auto& [header, payload] : pipes.requests()) {
      std::string text(messageTypeName(static_cast<MessageType>(header.type)));
      if (header.run_id != 0) text += " " + std::to_string(header.run_id);
      if (header.type != static_cast<std::uint16_t>(MessageType::RegisterContext) &&
          !payload.empty()) {
        text += " " + payload;
      }
      all.push_back(text);
    }
    return all;
  }

  MemoryPipes pipes;
  bool can_start = true;
  std::vector<std::string> events;
  std::unique_ptr<AsyncWorker> subject;
};

TEST_F(AsyncWorkerTest, TellsTheValueOfAProgram) {
  EXPECT_EQ(subject->submit("(+ 1 2)", noted()), 1u);
  EXPECT_THAT(sent(), ElementsAre("EvalStart (+ 1 2)"));
  EXPECT_EQ(subject->progress(1)->state, ProgramProgress::State::Evaluating);
  subject->process();
  EXPECT_THAT(events, ElementsAre());
  respondValue("3");
  EXPECT_THAT(events, ElementsAre("1 Value 3"));
  EXPECT_FALSE(subject->progress(1).has_value());
}

TEST_F(AsyncWorkerTest, MovesBytesOneByOne) {
  ASSERT_TRUE(subject->start());
  pipes.piece_max = 1;
  pipes.write_room = 40;
  subject->submit("(+ 1 2)", noted());
  EXPECT_EQ(pipes.written.size(), 40u);
  EXPECT_TRUE(pipes.wants_to_write);
  pipes.write_room = 1000;
  subject->process();
  EXPECT_FALSE(pipes.wants_to_write);
  pipes.respond(WorkerStatus::Ok, EvalPayload{.text = "3"}.bytes());
  const std::string whole = std::exchange(pipes.incoming, "");
  for (const char byte : whole) {
    EXPECT_THAT(events, ElementsAre());
    pipes.incoming = byte;
    subject->process();
  }
  EXPECT_THAT(events, ElementsAre("1 Value 3"));
}

TEST_F(AsyncWorkerTest, LetsProgramsWaitSideBySide) {
  for (const char* const program : {"(A)", "(B)", "(C)"}) subject->submit(program, noted());
  EXPECT_EQ(subject->progress(3)->state, ProgramProgress::State::Queued);
  respondCall(1);
  respondCall(2);
  respondCall(3);
  EXPECT_THAT(events, ElementsAre("1 calls GETPOINT (\"P\")", "2 calls GETPOINT (\"P\")",
                                  "3 calls GETPOINT (\"P\")"));
  const auto progress = subject->progress(2);
  EXPECT_EQ(progress->state, ProgramProgress::State::Waiting);
  EXPECT_EQ(progress->run_id, 2u);
  EXPECT_EQ(progress->steps, 2u);
  EXPECT_EQ(progress->host_call_count, 1u);
  events.clear();
  EXPECT_TRUE(subject->answer(3, number(30)));
  EXPECT_TRUE(subject->answer(1, number(10)));
  EXPECT_FALSE(subject->answer(1, number(11)));
  respondValue("30");
  respondValue("10");
  EXPECT_THAT(events, ElementsAre("3 Value 30", "1 Value 10"));
  EXPECT_THAT(sent(), ElementsAre("EvalStart (A)", "EvalStart (B)", "EvalStart (C)",
                                  "EvalResume 3 30", "EvalResume 1 10"));
}

TEST_F(AsyncWorkerTest, CancelsAProgramThatWaits) {
  subject->submit("(A)", noted());
  respondCall(1);
  subject->cancel(1);
  EXPECT_GT(pipes.wake_count, 0);
  subject->process();
  EXPECT_THAT(events, ElementsAre("1 calls GETPOINT (\"P\")", "1 cancelled"));
  EXPECT_THAT(sent(), ElementsAre("EvalStart (A)", "EvalCancel 1"));
  EXPECT_FALSE(subject->answer(1, nil()));
}

TEST_F(AsyncWorkerTest, CancelsAProgramThatHasNotBeenSent) {
  subject->submit("(A)", noted());
  subject->submit("(B)", noted());
  subject->cancel(2);
  subject->process();
  EXPECT_THAT(events, ElementsAre("2 cancelled"));
  respondValue("1");
  EXPECT_THAT(sent(), ElementsAre("EvalStart (A)"));
}

TEST_F(AsyncWorkerTest, CancelsAnAnswerThatHasNotBeenSent) {
  subject->submit("(A)", noted());
  respondCall(1);
  subject->submit("(B)");
  subject->answer(1, number(5));
  subject->cancel(1);
  subject->process();
  respondValue("2");
  EXPECT_THAT(sent(), ElementsAre("EvalStart (A)", "EvalStart (B)", "EvalCancel 1"));
}

TEST_F(AsyncWorkerTest, CancelsAfterTheEvaluationInHand) {
  subject->submit("(A)", noted());
  subject->cancel(1);
  subject->process();
  EXPECT_THAT(events, ElementsAre());
  respondCall(1);
  EXPECT_THAT(events, ElementsAre("1 cancelled"));
  EXPECT_THAT(sent(), ElementsAre("EvalStart (A)", "EvalCancel 1"));
}

TEST_F(AsyncWorkerTest, KeepsAValueThatCameBeforeTheCancellation) {
  subject->submit("(A)", noted());
  subject->cancel(1);
  subject->process();
  respondValue("1");
  subject->cancel(1);
  subject->process();
  EXPECT_THAT(events, ElementsAre("1 Value 1"));
}

TEST_F(AsyncWorkerTest, EndsAProgramWhoseTimeIsUp) {
  ProgramSettings settings = noted();
  settings.time_limit = milliseconds(1);
  subject->submit("(A)", settings);
  respondCall(1);
  ASSERT_TRUE(pipes.deadline.has_value());
  waitForTheDeadline();
  subject->process();
  EXPECT_THAT(events.back(), "1 timed out");
  EXPECT_THAT(sent(), ElementsAre("EvalStart (A)", "EvalCancel 1"));
}

TEST_F(AsyncWorkerTest, EndsAWorkerThatDoesNotAnswerInTime) {
  makeWorker({.time_limit = milliseconds(1)});
  subject->submit("(A)", noted());
  ASSERT_TRUE(pipes.deadline.has_value());
  waitForTheDeadline();
  subject->process();
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0], "1 lost");
  EXPECT_THAT(events[1], HasSubstr("DeadlinePassed: the worker has not answered within 1 ms"));
  EXPECT_EQ(pipes.grace, milliseconds(0));
}

TEST_F(AsyncWorkerTest, EndsAWorkerThatDoesNotTakeTheRequestInTime) {
  makeWorker({.time_limit = milliseconds(1)});
  ASSERT_TRUE(subject->start());
  pipes.write_room = 3;
  subject->submit("(A)", noted());
  std::this_thread::sleep_for(milliseconds(2));
  subject->process();
  EXPECT_THAT(events.back(), HasSubstr("DeadlinePassed: the worker has not taken the request"));
}

TEST_F(AsyncWorkerTest, NoticesADeathWhileIdle) {
  ASSERT_TRUE(subject->start());
  pipes.has_ended = true;
  subject->process();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_THAT(events[0], HasSubstr("ResponseCut: the worker has ended while nothing was asked"));
  EXPECT_THAT(events[0], HasSubstr("exit code 5"));
  EXPECT_TRUE(subject->exit().has_value());
  subject->submit("(A)", noted());
  EXPECT_GT(pipes.wake_count, 0);
  subject->process();
  EXPECT_EQ(events.back(), "1 lost");
}

TEST_F(AsyncWorkerTest, NoticesADeathAtEveryByteOfAResponse) {
  for (std::size_t size = 0; size < 64 + 65; ++size) {
    SCOPED_TRACE(size);
    makeWorker({});
    events.clear();
    subject->submit("(A)", noted());
    subject->submit("(B)", noted());
    pipes.respond(WorkerStatus::Ok, EvalPayload{.text = "1"}.bytes());
    ASSERT_EQ(pipes.incoming.size(), 64u + 65u);
    pipes.incoming.resize(size);
    pipes.has_ended = true;
    subject->process();
    ASSERT_EQ(events.size(), 3u);
    EXPECT_EQ(events[0], "1 lost");
    EXPECT_EQ(events[1], "2 lost");
    EXPECT_THAT(events[2], HasSubstr(size < 64 ? "header bytes" : "payload bytes"));
  }
}

TEST_F(AsyncWorkerTest, RefusesWhatNoWorkerSends) {
  ASSERT_TRUE(subject->start());
  pipes.incoming = "unasked";
  subject->process();
  EXPECT_THAT(events.back(), HasSubstr("BadResponse: the worker has sent 7 bytes that nobody"));

  makeWorker({});
  subject->submit("(A)", noted());
  pipes.incoming = std::string(64, 'x');
  subject->process();
  EXPECT_THAT(events.back(), HasSubstr("BadHeader"));

  makeWorker({});
  subject->submit("(A)", noted());
  pipes.respond(WorkerStatus::Ok, "too short");
  subject->process();
  EXPECT_THAT(events.back(), HasSubstr("BadResponse: the worker answered an evaluation with Ok"));
}

TEST_F(AsyncWorkerTest, TellsWhenTheWorkerTakesNothingMore) {
  ASSERT_TRUE(subject->start());
  pipes.takes_writes = false;
  subject->submit("(A)", noted());
  EXPECT_THAT(events, ElementsAre());  // Callbacks are for process() alone.
  EXPECT_GT(pipes.wake_count, 0);
  subject->process();
  ASSERT_EQ(events.size(), 2u);
  EXPECT_THAT(events[1], HasSubstr("RequestNotTaken"));
}

TEST_F(AsyncWorkerTest, TellsThatAWorkerCannotBeStarted) {
  can_start = false;
  subject->submit("(A)", noted());
  EXPECT_EQ(subject->handle(), -1);
  subject->process();
  EXPECT_THAT(events, ElementsAre("1 lost"));
  EXPECT_EQ(subject->fault()->message, "the worker cannot be started: no such file");
}

TEST_F(AsyncWorkerTest, IsKilledByItsHost) {
  subject->submit("(A)", noted());
  std::thread([this] { subject->kill(); }).join();
  subject->process();
  EXPECT_EQ(pipes.kill_count, 1);
  ASSERT_EQ(events.size(), 2u);
  EXPECT_THAT(events[1], HasSubstr("the host has killed the worker"));
  subject->kill();  // Of nothing.
  EXPECT_EQ(pipes.kill_count, 1);
}

TEST_F(AsyncWorkerTest, RegistersContextsAgainAfterARestart) {
  std::vector<std::optional<WorkerStatus>> told;
  const auto note = [&](std::optional<WorkerStatus> status) { told.push_back(status); };
  subject->registerContext({.id = 4, .systems = {}, .cell_plane = {}}, note);
  pipes.respond(WorkerStatus::Ok);
  subject->process();
  subject->registerContext({.id = 5, .systems = {}, .cell_plane = {}}, note);
  pipes.respond(WorkerStatus::InvalidRequest);
  subject->process();
  subject->registerContext({.id = 6, .systems = {}, .cell_plane = {}}, note);
  subject->submit("(A)", noted());
  ASSERT_TRUE(subject->restart());
  EXPECT_EQ(pipes.requests().size(), 1u);
  EXPECT_EQ(pipes.lastRequest().context_id, 4u);
  subject->process();
  EXPECT_THAT(told, ElementsAre(WorkerStatus::Ok, WorkerStatus::InvalidRequest, std::nullopt));
  EXPECT_THAT(events, ElementsAre("1 lost"));
}

TEST_F(AsyncWorkerTest, SubmitsAndAnswersInCallbacks) {
  ProgramSettings settings = noted();
  settings.on_call = [this](ProgramId id, const HostCall&) { subject->answer(id, number(1)); };
  settings.on_end = [this](ProgramId, const ProgramOutcome&) { subject->submit("(B)", noted()); };
  subject->submit("(A)", settings);
  respondCall(1);
  respondValue("1");
  respondValue("2");
  EXPECT_THAT(sent(), ElementsAre("EvalStart (A)", "EvalResume 1 1", "EvalStart (B)"));
  EXPECT_THAT(events, ElementsAre("2 Value 2"));
}

TEST_F(AsyncWorkerTest, GoesOnAfterACallbackThatThrows) {
  ProgramSettings settings;
  settings.on_end = [](ProgramId, const ProgramOutcome&) { throw std::runtime_error("no"); };
  subject->submit("(A)", settings);
  pipes.respond(WorkerStatus::Ok, EvalPayload{.text = "1"}.bytes());
  subject->submit("(B)", noted());
  EXPECT_THROW(subject->process(), std::runtime_error);
  respondValue("2");
  EXPECT_THAT(events, ElementsAre("2 Value 2"));
}

TEST_F(AsyncWorkerTest, WakesTheHostForCallbacksBehindOneThatThrows) {
  ProgramSettings settings;
  settings.on_end = [](ProgramId, const ProgramOutcome&) { throw std::runtime_error("no"); };
  subject->submit("(A)", settings);
  subject->submit("(B)", noted());
  pipes.has_ended = true;
  const int wakes = pipes.wake_count;
  EXPECT_THROW(subject->process(), std::runtime_error);
  EXPECT_GT(pipes.wake_count, wakes);
  subject->process();
  EXPECT_EQ(events.size(), 2u);
}

TEST_F(AsyncWorkerTest, IsDestroyedInACallback) {
  ProgramSettings settings = noted();
  settings.on_end = [this](ProgramId, const ProgramOutcome&) {
    subject.reset();
    events.emplace_back("gone");
  };
  subject->submit("(A)", settings);
  subject->submit("(B)", noted());
  pipes.has_ended = true;
  subject->process();
  EXPECT_THAT(events, ElementsAre("gone"));
}

TEST_F(AsyncWorkerTest, RestartsInACallback) {
  makeWorker({.on_fault = [this](const Fault&) {
    subject->restart();
    subject->submit("(B)", noted());
  }});
  subject->submit("(A)", noted());
  pipes.has_ended = true;
  subject->process();
  respondValue("2");
  EXPECT_THAT(events, ElementsAre("1 lost", "2 Value 2"));
}

TEST_F(AsyncWorkerTest, EndsAtOnceWithARequestInHand) {
  subject->submit("(A)", noted());
  subject.reset();
  EXPECT_EQ(pipes.grace, milliseconds(0));
  EXPECT_THAT(events, ElementsAre());
}

TEST_F(AsyncWorkerTest, LetsAnIdleWorkerEndByItself) {
  subject->submit("(A)", noted());
  respondCall(1);
  subject.reset();
  EXPECT_EQ(pipes.grace, kExitGrace);
}

TEST_F(AsyncWorkerTest, EndsTheRunThatTheWorkerDoesNotTell) {
  subject->submit("(A)", noted());
  subject->submit("(B)", noted());
  pipes.respond(WorkerStatus::InvalidRequest);
  subject->process();
  pipes.respond(WorkerStatus::EvalParseError,
                EvalPayload{.eval_status = 1, .text = "unexpected )"}.bytes());
  subject->process();
  respondCall(2);
  EXPECT_THAT(sent(), ElementsAre("EvalStart (A)", "EvalResume 1 )", "EvalStart (B)"));
  EXPECT_THAT(events[0], HasSubstr("1 Refused"));
}

TEST_F(AsyncWorkerTest, CancelsARunWhoseAnswerIsRefused) {
  subject->submit("(A)", noted());
  respondCall(1);
  subject->answer(1, number(1));
  pipes.respond(WorkerStatus::InvalidRequest);
  subject->process();
  EXPECT_THAT(sent(), ElementsAre("EvalStart (A)", "EvalResume 1 1", "EvalCancel 1"));
  EXPECT_THAT(events.back(), HasSubstr("1 Refused"));
}

TEST_F(AsyncWorkerTest, CancelsWhatTheHostCannotAnswer) {
  subject->submit("(A)", noted());
  respondCall(1);
  EXPECT_TRUE(subject->decline(1));
  EXPECT_FALSE(subject->decline(1));
  subject->submit("(B)", noted());
  pipes.respond(WorkerStatus::Ok);
  subject->process();
  respondCall(2);
  EXPECT_TRUE(subject->answer(2, symbol("")));
  ProgramSettings few = noted();
  few.host_call_count_max = 0;
  subject->submit("(C)", few);
  pipes.respond(WorkerStatus::Ok);
  subject->process();
  respondCall(3);
  EXPECT_THAT(events, testing::Contains("1 Unanswered the host has not answered GETPOINT"));
  EXPECT_THAT(events, testing::Contains(HasSubstr("2 Unwritable")));
  EXPECT_THAT(events, testing::Contains(HasSubstr("3 TooManyCalls")));
  EXPECT_THAT(sent(), testing::Contains("EvalCancel 3"));
}

TEST_F(AsyncWorkerTest, RefusesAProgramThatIsTooLong) {
  subject->submit(std::string(worker::kPayloadSizeMax + 1, ' '), noted());
  subject->process();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_THAT(events[0], HasSubstr("1 Refused"));
  EXPECT_THAT(sent(), ElementsAre());
}

TEST_F(AsyncWorkerTest, TellsThatTheWorkerAnswers) {
  std::vector<bool> told;
  subject->ping([&](bool is_answered) { told.push_back(is_answered); });
  pipes.respond(WorkerStatus::Ok);
  subject->process();
  subject->ping([&](bool is_answered) { told.push_back(is_answered); });
  pipes.has_ended = true;
  subject->process();
  EXPECT_THAT(told, ElementsAre(true, false));
}

}  // namespace
}  // namespace lisp_worker::client
