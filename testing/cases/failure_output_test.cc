// A failing test shows the words of the domain, and the place of a difference.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "lisp/outcome.h"
#include "lisp/value.h"
#include "lisp_worker/client/run.h"
#include "lisp_worker/client/worker_client.h"
#include "lisp_worker/worker/exit_code.h"
#include "lisp_worker/worker/frame.h"
#include "testing/base/same_bytes.h"

namespace lisp_worker::testing_support {
namespace {

using testing::HasSubstr;
using testing::PrintToString;

TEST(FailureOutput, NamesEnumerators) {
  EXPECT_EQ(PrintToString(worker::WorkerStatus::InvalidRequest), "InvalidRequest (3)");
  EXPECT_EQ(PrintToString(worker::MessageType::Shutdown), "Shutdown (255)");
  EXPECT_EQ(PrintToString(worker::EvalStatus::HostCallRequired), "HostCallRequired (4)");
  EXPECT_EQ(PrintToString(worker::ExitCode::BadVersion), "BadVersion (3)");
  EXPECT_EQ(PrintToString(client::RunEnd::Unanswered), "Unanswered (5)");
  EXPECT_EQ(PrintToString(client::Fault::Kind::DeadlinePassed), "DeadlinePassed (6)");
  EXPECT_EQ(PrintToString(lisp::OutcomeKind::EvalError), "EvalError (2)");
  EXPECT_EQ(PrintToString(lisp::ValueKind::List), "List (4)");
}

TEST(FailureOutput, ShowsTheNumberOfWhatHasNoName) {
  EXPECT_EQ(PrintToString(static_cast<worker::WorkerStatus>(77)), " (77)");
}

TEST(FailureOutput, ShowsWhereLongOutputsDiffer) {
  const std::string expected(100000, 'a');
  std::string actual = expected;
  EXPECT_TRUE(areSameBytes(actual, expected));
  actual[70000] = '\0';
  const testing::AssertionResult changed = areSameBytes(actual, expected);
  EXPECT_FALSE(changed);
  EXPECT_THAT(changed.message(), HasSubstr("from byte 70000 on"));
  EXPECT_THAT(changed.message(), HasSubstr("actual:   \"\\0aaa"));
  const testing::AssertionResult cut = areSameBytes(expected.substr(0, 99999), expected);
  EXPECT_FALSE(cut);
  EXPECT_THAT(cut.message(), HasSubstr("99999 bytes, expected 100000; from byte 99999 on"));
  EXPECT_THAT(cut.message(), HasSubstr("actual:   \"\"\n  expected: \"a\""));
}

}  // namespace
}  // namespace lisp_worker::testing_support
