#include "client/names.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace client {
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
  EXPECT_EQ(describeExit({WorkerExit::Kind::Signaled, 11}), "the worker was ended by signal 11");
  EXPECT_EQ(describeExit({WorkerExit::Kind::Killed, 0}),
            "the worker went on after its input had ended, and was killed");
  EXPECT_EQ(describeExit({}), "the worker ended in a way that the system did not tell");
}

}  // namespace
}  // namespace client
