#include "lisp_worker/client/names.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace lisp_worker::client {
namespace {

using worker::WorkerStatus;

TEST(StatusName, IsTheEnumerators) {
  EXPECT_EQ(statusName(WorkerStatus::Ok), "Ok");
  EXPECT_EQ(statusName(WorkerStatus::EvalStepLimit), "EvalStepLimit");
  EXPECT_EQ(statusName(static_cast<WorkerStatus>(12)), "unknown status");
}

TEST(StatusName, AndExplanationDifferForEveryStatus) {
  std::set<std::string_view> names;
  std::set<std::string_view> explanations;
  for (std::uint32_t number = 0; number <= 12; ++number) {
    names.insert(statusName(static_cast<WorkerStatus>(number)));
    explanations.insert(explainStatus(static_cast<WorkerStatus>(number)));
  }
  EXPECT_EQ(names.size(), 13u);
  EXPECT_EQ(explanations.size(), 13u);
}

TEST(MessageTypeName, AndExplanationDifferForEveryType) {
  std::set<std::string_view> words;
  for (const std::uint16_t number : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 255}) {
    words.insert(messageTypeName(static_cast<worker::MessageType>(number)));
    words.insert(explainMessageType(static_cast<worker::MessageType>(number)));
  }
  EXPECT_EQ(words.size(), 22u);
  EXPECT_EQ(messageTypeName(worker::MessageType::Shutdown), "Shutdown");
  EXPECT_EQ(messageTypeName(static_cast<worker::MessageType>(0)), "unknown type");
}

TEST(EvalStatusName, AndExplanationDifferForEveryOutcome) {
  std::set<std::string_view> words;
  for (std::uint8_t number = 0; number <= 5; ++number) {
    words.insert(evalStatusName(static_cast<EvalStatus>(number)));
    words.insert(explainEvalStatus(static_cast<EvalStatus>(number)));
  }
  EXPECT_EQ(words.size(), 12u);
  EXPECT_EQ(evalStatusName(EvalStatus::HostCallRequired), "HostCallRequired");
  EXPECT_EQ(evalStatusName(static_cast<EvalStatus>(5)), "unknown outcome");
}

TEST(FaultName, AndExplanationDifferForEveryFault) {
  std::set<std::string_view> words;
  for (std::uint8_t number = 0; number <= 8; ++number) {
    words.insert(faultName(static_cast<Fault::Kind>(number)));
    words.insert(explainFault(static_cast<Fault::Kind>(number)));
  }
  EXPECT_EQ(words.size(), 18u);
  EXPECT_EQ(faultName(Fault::Kind::NotStarted), "NotStarted");
  EXPECT_EQ(faultName(static_cast<Fault::Kind>(8)), "unknown fault");
}

TEST(ExitCodeName, KnowsNoOtherCodes) {
  EXPECT_EQ(exitCodeName(1), "unknown exit code");
  EXPECT_EQ(explainExitCode(9), "not an exit code of the worker");
}

TEST(DescribeExit, TellsEveryExitCodeApart) {
  std::set<std::string> lines;
  for (const std::uint32_t code : {0u, 2u, 3u, 4u, 5u, 6u, 7u, 8u}) {
    lines.insert(describeExit({WorkerExit::Kind::Exited, code}));
  }
  EXPECT_EQ(lines.size(), 8u);
  EXPECT_EQ(describeExit({WorkerExit::Kind::Exited, 5}),
            "the worker ended with exit code 5: its input ended inside a payload");
  EXPECT_EQ(describeExit({WorkerExit::Kind::Exited, 1}),
            "the worker ended with exit code 1: not an exit code of the worker");
}

TEST(DescribeExit, NamesOtherEnds) {
  EXPECT_EQ(describeExit({WorkerExit::Kind::Signaled, 11}),
            "the worker was ended by signal 11 (SIGSEGV): a bad memory access");
  EXPECT_EQ(describeExit({WorkerExit::Kind::Signaled, 40}), "the worker was ended by signal 40");
  EXPECT_EQ(describeExit({WorkerExit::Kind::Exited, 0xC0000005}),
            "the worker ended with exit code 0xC0000005: it has crashed, by a bad memory access");
  EXPECT_EQ(describeExit({WorkerExit::Kind::Killed, 0}),
            "the worker went on when it should have ended, and was killed");
  EXPECT_EQ(describeExit({}), "the worker ended in a way that the system did not tell");
}

}  // namespace
}  // namespace lisp_worker::client
