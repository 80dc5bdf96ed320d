// Limits that the client library repeats of the worker, compared with the worker's.

#include <gtest/gtest.h>

#include "lisp/interpreter.h"
#include "lisp/reader.h"
#include "lisp_worker/client/answer_text.h"
#include "lisp_worker/client/limits.h"
#include "lisp_worker/client/names.h"
#include "lisp_worker/worker/exit_code.h"

namespace lisp_worker::testing_support {
namespace {

TEST(ClientLimits, AreTheWorkers) {
  EXPECT_EQ(client::kStepCountMax, lisp::EvalLimits().step_limit);
  EXPECT_EQ(client::kTextNestingMax, lisp::kNestingMax);
}

TEST(ClientExitCodes, AreTheWorkers) {
  const auto name = [](worker::ExitCode code) {
    return client::exitCodeName(static_cast<std::uint32_t>(code));
  };
  EXPECT_EQ(name(worker::ExitCode::Finished), "Finished");
  EXPECT_EQ(name(worker::ExitCode::BadMagic), "BadMagic");
  EXPECT_EQ(name(worker::ExitCode::BadVersion), "BadVersion");
  EXPECT_EQ(name(worker::ExitCode::PayloadTooLarge), "PayloadTooLarge");
  EXPECT_EQ(name(worker::ExitCode::PayloadCut), "PayloadCut");
  EXPECT_EQ(name(worker::ExitCode::HeaderUnwritten), "HeaderUnwritten");
  EXPECT_EQ(name(worker::ExitCode::PayloadUnwritten), "PayloadUnwritten");
  EXPECT_EQ(name(worker::ExitCode::OutOfMemory), "OutOfMemory");
}

}  // namespace
}  // namespace lisp_worker::testing_support
