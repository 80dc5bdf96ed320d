// Limits and numbers that the client library and the C interface repeat, compared with those that
// they repeat.

#include <gtest/gtest.h>

#include "lisp/interpreter.h"
#include "lisp/reader.h"
#include "lisp_worker/c_interface/lisp_worker.h"
#include "lisp_worker/client/answer_text.h"
#include "lisp_worker/client/limits.h"
#include "lisp_worker/client/names.h"
#include "lisp_worker/client/run.h"
#include "lisp_worker/client/worker_client.h"
#include "lisp_worker/worker/exit_code.h"
#include "lisp_worker/worker/frame.h"

namespace lisp_worker::testing_support {
namespace {

static_assert(client::kStepCountMax == lisp::EvalLimits().step_limit);
static_assert(client::kTextNestingMax == lisp::kNestingMax);

// Every number of the C interface is that of the enumeration in C++ that it repeats.
template <typename Enum>
constexpr bool isSame(int number, Enum value) {
  return number == static_cast<int>(value);
}
static_assert(isSame(LISP_FAULT_REQUEST_NOT_TAKEN, client::Fault::Kind::RequestNotTaken));
static_assert(isSame(LISP_FAULT_RESPONSE_CUT, client::Fault::Kind::ResponseCut));
static_assert(isSame(LISP_FAULT_BAD_HEADER, client::Fault::Kind::BadHeader));
static_assert(isSame(LISP_FAULT_WRONG_ECHO, client::Fault::Kind::WrongEcho));
static_assert(isSame(LISP_FAULT_BAD_RESPONSE, client::Fault::Kind::BadResponse));
static_assert(isSame(LISP_FAULT_SHUT_DOWN, client::Fault::Kind::ShutDown));
static_assert(isSame(LISP_FAULT_DEADLINE_PASSED, client::Fault::Kind::DeadlinePassed));
static_assert(isSame(LISP_FAULT_NOT_STARTED, client::Fault::Kind::NotStarted));
static_assert(isSame(LISP_EXIT_FINISHED, worker::ExitCode::Finished));
static_assert(isSame(LISP_EXIT_BAD_MAGIC, worker::ExitCode::BadMagic));
static_assert(isSame(LISP_EXIT_BAD_VERSION, worker::ExitCode::BadVersion));
static_assert(isSame(LISP_EXIT_PAYLOAD_TOO_LARGE, worker::ExitCode::PayloadTooLarge));
static_assert(isSame(LISP_EXIT_PAYLOAD_CUT, worker::ExitCode::PayloadCut));
static_assert(isSame(LISP_EXIT_HEADER_UNWRITTEN, worker::ExitCode::HeaderUnwritten));
static_assert(isSame(LISP_EXIT_PAYLOAD_UNWRITTEN, worker::ExitCode::PayloadUnwritten));
static_assert(isSame(LISP_EXIT_OUT_OF_MEMORY, worker::ExitCode::OutOfMemory));
static_assert(isSame(LISP_STATUS_OK, worker::WorkerStatus::Ok));
static_assert(isSame(LISP_STATUS_BAD_MAGIC, worker::WorkerStatus::BadMagic));
static_assert(isSame(LISP_STATUS_BAD_VERSION, worker::WorkerStatus::BadVersion));
static_assert(isSame(LISP_STATUS_BAD_REQUEST, worker::WorkerStatus::InvalidRequest));
static_assert(isSame(LISP_STATUS_CONTEXT_NOT_FOUND, worker::WorkerStatus::ContextNotFound));
static_assert(isSame(LISP_STATUS_QUERY_FAILED, worker::WorkerStatus::QueryFailed));
static_assert(isSame(LISP_STATUS_UNKNOWN_TYPE, worker::WorkerStatus::UnknownType));
static_assert(isSame(LISP_STATUS_DEGENERATE, worker::WorkerStatus::Degenerate));
static_assert(isSame(LISP_STATUS_EVAL_PARSE_ERROR, worker::WorkerStatus::EvalParseError));
static_assert(isSame(LISP_STATUS_EVAL_FAILED, worker::WorkerStatus::EvalFailed));
static_assert(isSame(LISP_STATUS_EVAL_STEP_LIMIT, worker::WorkerStatus::EvalStepLimit));
static_assert(isSame(LISP_STATUS_HOST_CALL_PENDING, worker::WorkerStatus::HostCallPending));
static_assert(isSame(LISP_END_VALUE, client::RunEnd::Value));
static_assert(isSame(LISP_END_READ_ERROR, client::RunEnd::ReadError));
static_assert(isSame(LISP_END_EVAL_ERROR, client::RunEnd::EvalError));
static_assert(isSame(LISP_END_STEP_LIMIT, client::RunEnd::StepLimit));
static_assert(isSame(LISP_END_REFUSED, client::RunEnd::Refused));
static_assert(isSame(LISP_END_UNANSWERED, client::RunEnd::Unanswered));
static_assert(isSame(LISP_END_UNWRITABLE, client::RunEnd::Unwritable));
static_assert(isSame(LISP_END_TOO_MANY_CALLS, client::RunEnd::TooManyCalls));
// One more than the ends of a run in C++.
static_assert(isSame(LISP_END_HOST_ERROR - 1, client::RunEnd::TooManyCalls));
static_assert(isSame(LISP_COMPUTE_SUM, client::GeometryOperation::Sum));
static_assert(isSame(LISP_COMPUTE_DIFFERENCE, client::GeometryOperation::Difference));
static_assert(isSame(LISP_COMPUTE_PRODUCT, client::GeometryOperation::Product));
static_assert(isSame(LISP_COMPUTE_QUOTIENT, client::GeometryOperation::Quotient));
static_assert(isSame(LISP_COMPUTE_DISTANCE, client::GeometryOperation::Distance));
static_assert(isSame(LISP_COMPUTE_ANGLE, client::GeometryOperation::Angle));
static_assert(isSame(LISP_COMPUTE_POLAR, client::GeometryOperation::Polar));

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
