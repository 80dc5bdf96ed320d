#include "lisp_worker/client/eval_result.h"

#include <gtest/gtest.h>

#include <string>

#include "lisp_worker/client/answer_text.h"
#include "testing/wire/memory_channel.h"

namespace lisp_worker::client {
namespace {

using testing_support::EvalPayload;
using worker::WorkerStatus;

EvalPayload hostCall() {
  return {.eval_status = 4,
          .arg_count = 2,
          .steps = 12,
          .call_name = "GETDIST",
          .run_id = 7,
          .text = "((1 2 3) \"Radius: \")"};
}

std::string errorOf(WorkerStatus status, const std::string& payload) {
  std::string error;
  EXPECT_EQ(decodeEvalResult(status, payload, nullptr).has_value(),
            decodeEvalResult(status, payload, &error).has_value());
  return error;
}

TEST(DecodeEvalResult, TakesAValueApart) {
  const EvalPayload payload{.eval_status = 0, .steps = 3, .text = "(1 2.5 X nil)"};
  const auto result = decodeEvalResult(WorkerStatus::Ok, payload.bytes(), nullptr);
  ASSERT_TRUE(result.has_value());
  EXPECT_EQ(result->status, WorkerStatus::Ok);
  EXPECT_EQ(result->eval_status, EvalStatus::Value);
  EXPECT_EQ(result->arg_count, 0);
  EXPECT_EQ(result->steps, 3u);
  EXPECT_EQ(result->call_name, "");
  EXPECT_EQ(result->run_id, 0u);
  EXPECT_EQ(result->text, "(1 2.5 X nil)");
}

TEST(DecodeEvalResult, TakesAHostCallApart) {
  const auto result = decodeEvalResult(WorkerStatus::HostCallPending, hostCall().bytes(), nullptr);
  ASSERT_TRUE(result.has_value());
  EXPECT_EQ(result->eval_status, EvalStatus::HostCallRequired);
  EXPECT_EQ(result->arg_count, 2);
  EXPECT_EQ(result->call_name, "GETDIST");
  EXPECT_EQ(result->run_id, 7u);

  const auto call = readHostCall(*result, nullptr);
  ASSERT_TRUE(call.has_value());
  EXPECT_EQ(call->name, "GETDIST");
  EXPECT_EQ(list(call->arguments), list({point(1, 2, 3), string("Radius: ")}));
}

TEST(DecodeEvalResult, PairsEveryStatusWithItsEvalStatus) {
  const WorkerStatus statuses[] = {WorkerStatus::Ok, WorkerStatus::EvalParseError,
                                   WorkerStatus::EvalFailed, WorkerStatus::EvalStepLimit,
                                   WorkerStatus::HostCallPending};
  for (std::uint8_t expected = 0; expected < 5; ++expected) {
    for (std::uint8_t eval_status = 0; eval_status < 6; ++eval_status) {
      EvalPayload payload{.eval_status = eval_status, .text = "()"};
      if (eval_status == 4) payload = hostCall();
      EXPECT_EQ(
          errorOf(statuses[expected], payload.bytes()),
          eval_status == expected ? "" : "the evaluation's status contradicts the response's");
    }
  }
  EXPECT_EQ(errorOf(WorkerStatus::Degenerate, EvalPayload{}.bytes()),
            "the evaluation's status contradicts the response's");
}

TEST(DecodeEvalResult, RefusesAPayloadThatContradictsItself) {
  EXPECT_EQ(errorOf(WorkerStatus::Ok, ""), "the payload is too short for an evaluation result");
  EXPECT_EQ(errorOf(WorkerStatus::Ok, std::string(63, '\0')),
            "the payload is too short for an evaluation result");
  EXPECT_EQ(errorOf(WorkerStatus::Ok, std::string(64, '\0')), "");
  EXPECT_EQ(errorOf(WorkerStatus::Ok, std::string(65, '\0')),
            "the length of the text is not what the payload holds");
  std::string cut = hostCall().bytes();
  cut.pop_back();
  EXPECT_EQ(errorOf(WorkerStatus::HostCallPending, cut),
            "the length of the text is not what the payload holds");

  EvalPayload payload = hostCall();
  payload.call_name = std::string(31, 'N');
  EXPECT_EQ(errorOf(WorkerStatus::HostCallPending, payload.bytes()), "");
  payload.call_name = std::string(32, 'N');
  EXPECT_EQ(errorOf(WorkerStatus::HostCallPending, payload.bytes()),
            "the name of the host call has no end");
  payload.call_name = "";
  EXPECT_EQ(errorOf(WorkerStatus::HostCallPending, payload.bytes()), "a host call without a name");
  payload = hostCall();
  payload.run_id = 0;
  EXPECT_EQ(errorOf(WorkerStatus::HostCallPending, payload.bytes()),
            "a host call without a run to resume");

  EXPECT_EQ(errorOf(WorkerStatus::Ok, EvalPayload{.call_name = "GETPOINT"}.bytes()),
            "a host call in a finished run");
  EXPECT_EQ(errorOf(WorkerStatus::Ok, EvalPayload{.arg_count = 1}.bytes()),
            "a host call in a finished run");
  EXPECT_EQ(errorOf(WorkerStatus::Ok, EvalPayload{.run_id = 1}.bytes()),
            "a run to resume after its end");
}

TEST(ReadHostCall, TellsWhenTheArgumentsCannotBeToldApart) {
  const auto errorFor = [](std::uint16_t arg_count, const std::string& text) {
    EvalPayload payload = hostCall();
    payload.arg_count = arg_count;
    payload.text = text;
    const auto result = decodeEvalResult(WorkerStatus::HostCallPending, payload.bytes(), nullptr);
    std::string error;
    EXPECT_EQ(readHostCall(*result, nullptr).has_value(),
              readHostCall(*result, &error).has_value());
    return error;
  };
  EXPECT_EQ(errorFor(0, "()"), "");
  EXPECT_EQ(errorFor(2, R"(("A" "B"))"), "");
  // The one string A" "B.
  EXPECT_EQ(errorFor(1, R"(("A" "B"))"),
            "the text does not hold 1 arguments; a string in it may hold a double quote");
  EXPECT_EQ(errorFor(1, R"(("A" B"))"), "no space after the value at byte 5");
  EXPECT_EQ(errorFor(1, "nil"),
            "the text does not hold 1 arguments; a string in it may hold a double quote");
}

TEST(ReadHostCall, KnowsThatTheCountIsCapped) {
  EvalPayload payload = hostCall();
  payload.arg_count = 65535;
  const auto textOf = [](std::size_t count) {
    std::string text = "(1";
    for (std::size_t n = 1; n < count; ++n) text += " 1";
    return text + ")";
  };
  const auto readable = [&] {
    const auto result = decodeEvalResult(WorkerStatus::HostCallPending, payload.bytes(), nullptr);
    return readHostCall(*result, nullptr).has_value();
  };
  payload.text = textOf(65534);
  EXPECT_FALSE(readable());
  payload.text = textOf(65535);
  EXPECT_TRUE(readable());
  payload.text = textOf(65536);
  EXPECT_TRUE(readable());
}

}  // namespace
}  // namespace lisp_worker::client
