#include "worker/encoding.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "testing/base/list_makers.h"
#include "testing/base/small_stack.h"
#include "testing/base/value_text.h"

namespace lisp_worker::worker {
namespace {

using lisp::EvalOutcome;
using lisp::LispValue;
using lisp::OutcomeKind;
using testing_support::doubled;
using testing_support::nest;
using testing_support::read;

EvalOutcome valueOf(LispValue value, std::uint64_t steps = 0) {
  EvalOutcome outcome;
  outcome.value = std::move(value);
  outcome.steps = steps;
  return outcome;
}

EvalOutcome failureOf(OutcomeKind kind, std::string message) {
  EvalOutcome outcome;
  outcome.kind = kind;
  outcome.message = std::move(message);
  return outcome;
}

EvalOutcome callOf(std::string name, std::vector<LispValue> arguments) {
  EvalOutcome outcome = failureOf(OutcomeKind::HostCallRequired, "CAD host call required: " + name);
  outcome.host_call = {std::move(name), std::move(arguments)};
  return outcome;
}

std::string textIn(const std::string& payload) { return payload.substr(kEvalResultHeaderSize); }

TEST(EncodeEvalResponse, FillsTheHeader) {
  std::string payload = "left over";
  EXPECT_EQ(
      encodeEvalResponse(valueOf(lisp::number(2), 0x1122334455667788), 0x99AABBCCDDEEFF01, payload),
      WorkerStatus::Ok);
  std::string expected(64, '\0');
  expected[4] = 1;
  expected.replace(8, 8, "\x88\x77\x66\x55\x44\x33\x22\x11");
  expected.replace(48, 8, "\x01\xFF\xEE\xDD\xCC\xBB\xAA\x99");
  EXPECT_EQ(payload, expected + "2");
}

TEST(EncodeEvalResponse, DerivesTheStatusFromTheKind) {
  struct Row {
    OutcomeKind kind;
    WorkerStatus status;
  };
  for (const Row& row : {Row{OutcomeKind::ReadError, WorkerStatus::EvalParseError},
                         Row{OutcomeKind::EvalError, WorkerStatus::EvalFailed},
                         Row{OutcomeKind::StepLimit, WorkerStatus::EvalStepLimit},
                         Row{OutcomeKind::HostCallRequired, WorkerStatus::HostCallPending},
                         Row{static_cast<OutcomeKind>(5), WorkerStatus::EvalFailed},
                         Row{static_cast<OutcomeKind>(255), WorkerStatus::EvalFailed}}) {
    std::string payload;
    EXPECT_EQ(encodeEvalResponse(failureOf(row.kind, "a message"), 0, payload), row.status);
    EXPECT_EQ(getU8(payload.data()), static_cast<std::uint8_t>(row.kind));
    EXPECT_EQ(getU32(payload.data() + EvalResultOffset::kTextLength), 9u);
    EXPECT_EQ(textIn(payload), "a message");
    EXPECT_EQ(getU16(payload.data() + EvalResultOffset::kArgCount), 0u);
    EXPECT_EQ(payload.substr(EvalResultOffset::kCallName, kCallNameSize), std::string(32, '\0'));
  }
}

TEST(EncodeEvalResponse, WritesAMessageByteForByte) {
  const std::string message("unbound symbol: \0\n\"\xFF", 20);
  std::string payload;
  EXPECT_EQ(encodeEvalResponse(failureOf(OutcomeKind::EvalError, message), 0, payload),
            WorkerStatus::EvalFailed);
  EXPECT_EQ(textIn(payload), message);
  EXPECT_EQ(encodeEvalResponse(failureOf(OutcomeKind::EvalError, ""), 0, payload),
            WorkerStatus::EvalFailed);
  EXPECT_EQ(payload.size(), 64u);
}

TEST(EncodeEvalResponse, DescribesAHostCall) {
  std::string payload;
  EXPECT_EQ(encodeEvalResponse(callOf("GETPOINT", {}), 7, payload), WorkerStatus::HostCallPending);
  EXPECT_EQ(getU8(payload.data()), 4u);
  EXPECT_EQ(getU16(payload.data() + EvalResultOffset::kArgCount), 0u);
  EXPECT_EQ(payload.substr(EvalResultOffset::kCallName, kCallNameSize),
            "GETPOINT" + std::string(24, '\0'));
  EXPECT_EQ(getU64(payload.data() + EvalResultOffset::kRunId), 7u);
  EXPECT_EQ(textIn(payload), "()");

  EXPECT_EQ(encodeEvalResponse(
                callOf("ENTMOD", {read("(1 \"a\")"), lisp::nil(), lisp::symbol("X")}), 1, payload),
            WorkerStatus::HostCallPending);
  EXPECT_EQ(getU16(payload.data() + EvalResultOffset::kArgCount), 3u);
  EXPECT_EQ(textIn(payload), "((1 \"a\") nil X)");
}

TEST(EncodeEvalResponse, CutsALongCallName) {
  for (const std::size_t size : {30, 31, 32, 40}) {
    std::string payload;
    const std::string name =
        std::string("NAME56789012345678901234567890123456789X").substr(0, size);
    EXPECT_EQ(encodeEvalResponse(callOf(name, {}), 1, payload), WorkerStatus::HostCallPending);
    std::string field = name.substr(0, 31);
    field.resize(32, '\0');
    EXPECT_EQ(payload.substr(EvalResultOffset::kCallName, kCallNameSize), field) << size;
    EXPECT_EQ(payload.substr(EvalResultOffset::kRunId, 1), "\1");
  }
}

TEST(EncodeEvalResponse, CapsTheArgumentCount) {
  for (const std::size_t count : {65534, 65535, 65536, 70000}) {
    std::string payload;
    EXPECT_EQ(encodeEvalResponse(callOf("COMMAND", std::vector<LispValue>(count, lisp::number(1))),
                                 1, payload),
              WorkerStatus::HostCallPending);
    EXPECT_EQ(getU16(payload.data() + EvalResultOffset::kArgCount),
              std::min<std::size_t>(count, 65535));
    EXPECT_EQ(textIn(payload).size(), 2 * count + 1);
  }
}

TEST(EncodeEvalResponse, RefusesATextBeyondTheFrame) {
  EXPECT_EQ(kTextSizeMax, 0x100000u - 64);
  for (const std::size_t size : {kTextSizeMax - 1, kTextSizeMax, kTextSizeMax + 1}) {
    const std::string filler(size, 'x');
    const std::string_view shorter = std::string_view(filler).substr(4);
    const EvalOutcome outcomes[] = {
        valueOf(lisp::symbol(filler)),
        valueOf(lisp::string(std::string_view(filler).substr(2))),
        valueOf(lisp::list({lisp::list({lisp::symbol(shorter)})})),
        valueOf(lisp::list({lisp::symbol(shorter), lisp::number(1)})),
        callOf("GETPOINT", {lisp::symbol(shorter), lisp::number(1)}),
        failureOf(OutcomeKind::EvalError, filler),
        failureOf(OutcomeKind::HostCallRequired, filler),
    };
    for (const EvalOutcome& outcome : outcomes) {
      std::string payload = "left over";
      const WorkerStatus status = encodeEvalResponse(outcome, 9, payload);
      if (size > kTextSizeMax) {
        EXPECT_EQ(status, WorkerStatus::InvalidRequest);
        EXPECT_EQ(payload, "");
      } else {
        EXPECT_NE(status, WorkerStatus::InvalidRequest);
        EXPECT_EQ(payload.size(), 64 + size);
        EXPECT_EQ(getU32(payload.data() + EvalResultOffset::kTextLength), size);
      }
    }
  }
}

TEST(EncodeEvalResponse, RefusesHugeValuesWithoutWritingThem) {
  testing_support::runOnSmallStack([] {
    for (const LispValue& value : {nest(lisp::nil(), 1'000'000), doubled(lisp::nil(), 60'000),
                                   lisp::list({nest(doubled(lisp::nil(), 40), 100)})}) {
      std::string payload;
      EXPECT_EQ(encodeEvalResponse(valueOf(value), 0, payload), WorkerStatus::InvalidRequest);
      EXPECT_EQ(payload, "");
      EXPECT_EQ(encodeEvalResponse(callOf("ENTMOD", {value, value}), 1, payload),
                WorkerStatus::InvalidRequest);
    }
  });
}

TEST(EncodeEvalResponse, TakesTheDeepestNestingThatFits) {
  const std::size_t levels = kTextSizeMax / 2;
  std::string payload;
  EXPECT_EQ(encodeEvalResponse(valueOf(nest(lisp::list({}), levels - 1)), 0, payload),
            WorkerStatus::Ok);
  EXPECT_EQ(textIn(payload), std::string(levels, '(') + std::string(levels, ')'));
  EXPECT_EQ(encodeEvalResponse(valueOf(nest(lisp::list({}), levels)), 0, payload),
            WorkerStatus::InvalidRequest);
}

}  // namespace
}  // namespace lisp_worker::worker
