// The worker as a process, in short. More of its host and the system is in testing/cases/.

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "testing/base/same_bytes.h"
#include "testing/base/test_environment.h"
#include "testing/formats/reference_conversation.h"
#include "testing/workers/child_process.h"

namespace lisp_worker::worker {
namespace {

using testing_support::areSameBytes;
using testing_support::ChildProcess;
using testing_support::referenceConversation;

// Sends the reference conversation and the end of it while the output is read.
std::string converse(ChildProcess& child) {
  std::thread host([&] {
    child.send(referenceConversation().input());
    child.endInput();
  });
  std::string output = child.receiveAll();
  host.join();
  return output;
}

TEST(Main, AnswersUntilItsInputEnds) {
  ChildProcess child;
  EXPECT_TRUE(areSameBytes(converse(child), referenceConversation().output()));
  EXPECT_EQ(child.end(), "exit code 0");
  EXPECT_EQ(child.errors(), "");
}

TEST(Main, EndsWithItsCodeWhenThereIsNoMoreMemory) {
  for (const int allocation_count : {0, 1, 10, 50, 100}) {
    ChildProcess child({.environment = {"LISP_ALLOCATIONS_MAX=" + std::to_string(allocation_count)},
                        .executable = testing_support::environment("LISP_FAILING_WORKER_PATH")});
    EXPECT_TRUE(referenceConversation().output().starts_with(converse(child)));
    EXPECT_EQ(child.end(), "exit code 8") << allocation_count;
    EXPECT_EQ(child.errors(), "") << allocation_count;
  }
}

}  // namespace
}  // namespace lisp_worker::worker
