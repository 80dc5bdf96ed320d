#include "worker/dispatch.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <string_view>

#include "lisp/equality.h"
#include "lisp/list.h"
#include "testing/wire/frame_makers.h"
#include "testing/wire/wire_frames.h"

namespace lisp_worker::worker {
namespace {

using testing_support::geometryPayload;
using testing_support::identityContextRecord;
using testing_support::pointPayload;
using testing_support::requestHeader;

class DispatcherTest : public testing::Test {
 protected:
  // Leaves the response's payload in response_.
  WorkerStatus send(const MessageHeader& header, std::string_view payload) {
    response_.clear();
    return dispatcher_.handleRequest(header, payload, response_);
  }

  WorkerStatus send(MessageType type, std::string_view payload, std::uint64_t context_id = 0,
                    std::uint64_t run_id = 0) {
    MessageHeader header = requestHeader(type);
    header.context_id = context_id;
    header.run_id = run_id;
    return send(header, payload);
  }

  // The text of an evaluation result.
  [[nodiscard]] std::string text() const { return response_.substr(kEvalResultHeaderSize); }

  Dispatcher dispatcher_;
  std::string response_;
};

// A request that uses up a shared limit leaves all of it to the next one.
TEST_F(DispatcherTest, GivesEachRequestItsOwnHaste) {
  lisp::renewHaste(1);
  lisp::renewComparisons(1);
  EXPECT_EQ(send(MessageType::Ping, ""), WorkerStatus::Ok);
  EXPECT_EQ(lisp::hasteLeft(), lisp::kHasteMax);
  EXPECT_EQ(lisp::comparisonsLeft(), lisp::kComparisonsMax);
}

TEST_F(DispatcherTest, AnswersPingAndShutdownWithNothing) {
  for (const std::string_view payload : {"", "ten bytes!"}) {
    EXPECT_EQ(send(MessageType::Ping, payload), WorkerStatus::Ok);
    EXPECT_EQ(response_, "");
    EXPECT_EQ(send(MessageType::Shutdown, payload), WorkerStatus::Ok);
    EXPECT_EQ(response_, "");
  }
}

TEST_F(DispatcherTest, RefusesEveryUnknownType) {
  const std::set<int> known = {1, 2, 3, 4, 5, 6, 7, 8, 9, 255};
  for (int type = 0; type <= 0xFFFF; ++type) {
    if (known.contains(type)) continue;
    ASSERT_EQ(send(requestHeader(static_cast<std::uint16_t>(type)), "payload"),
              WorkerStatus::UnknownType)
        << type;
    ASSERT_EQ(response_, "") << type;
  }
}

TEST_F(DispatcherTest, KeepsContextsForPointRequests) {
  EXPECT_EQ(send(MessageType::Convert, pointPayload(1, 2, 3, 0, 1), 7),
            WorkerStatus::ContextNotFound);
  EXPECT_EQ(send(MessageType::RegisterContext, identityContextRecord(7), 7), WorkerStatus::Ok);
  EXPECT_EQ(response_, "");
  for (const MessageType type :
       {MessageType::LocateCell, MessageType::CellPlaneToSystem, MessageType::Convert}) {
    EXPECT_EQ(send(type, pointPayload(1, 2, 3, 0, 1), 7), WorkerStatus::Ok);
    ASSERT_EQ(response_.size(), 64U);
    EXPECT_EQ(getF64(response_.data() + 8), 2);
    // Only a look-up of a cell gives an index.
    EXPECT_EQ(getU64(response_.data() + 32), type == MessageType::LocateCell ? 2U : 0U);
  }
}

TEST_F(DispatcherTest, AnswersGeometryWithoutAContext) {
  EXPECT_EQ(
      send(MessageType::GeometryRequest, geometryPayload(GeometryOperation::Sum, 2, {1, 2}), 999),
      WorkerStatus::Ok);
  ASSERT_EQ(response_.size(), 64U);
  EXPECT_EQ(getF64(response_.data()), 3);
}

TEST_F(DispatcherTest, KeepsBindingsForLaterPrograms) {
  EXPECT_EQ(send(MessageType::EvalStart, "(SETQ X 5)"), WorkerStatus::Ok);
  EXPECT_EQ(send(MessageType::EvalStart, "X"), WorkerStatus::Ok);
  EXPECT_EQ(text(), "5");
}

TEST_F(DispatcherTest, KeepsPendingRunsForTheirAnswers) {
  EXPECT_EQ(send(MessageType::EvalStart, "(GETPOINT)"), WorkerStatus::HostCallPending);
  EXPECT_EQ(send(MessageType::EvalStart, "(GETDIST)"), WorkerStatus::HostCallPending);
  EXPECT_EQ(send(MessageType::EvalCancel, "", 0, 1), WorkerStatus::Ok);
  EXPECT_EQ(response_, "");
  EXPECT_EQ(send(MessageType::EvalResume, "5", 0, 1), WorkerStatus::InvalidRequest);
  EXPECT_EQ(response_, "");
  EXPECT_EQ(send(MessageType::EvalResume, "5", 0, 2), WorkerStatus::Ok);
  EXPECT_EQ(text(), "5");
}

TEST_F(DispatcherTest, CancelsWhateverTheRunIdNames) {
  for (const std::uint64_t run_id : {std::uint64_t{0}, std::uint64_t{1}, UINT64_MAX}) {
    EXPECT_EQ(send(MessageType::EvalCancel, "ignored", 0, run_id), WorkerStatus::Ok);
    EXPECT_EQ(response_, "");
  }
}

TEST_F(DispatcherTest, LetsProgramsUseTheRegisteredContexts) {
  EXPECT_EQ(send(MessageType::EvalStart, "(TRANS '(1 2) 0 1)", 7), WorkerStatus::ContextNotFound);
  EXPECT_EQ(response_, "");
  ASSERT_EQ(send(MessageType::RegisterContext, identityContextRecord(7), 7), WorkerStatus::Ok);
  EXPECT_EQ(send(MessageType::EvalStart, "(TRANS '(1 2) 0 1)", 7), WorkerStatus::Ok);
  EXPECT_EQ(text(), "(1 2 0)");
  EXPECT_EQ(send(MessageType::EvalStart, "(TRANS '(1 2) 0 1)", 0), WorkerStatus::EvalFailed);
}

}  // namespace
}  // namespace lisp_worker::worker
