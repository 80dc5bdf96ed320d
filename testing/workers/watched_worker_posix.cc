// Time is the process's own, from the system's clock of that process; memory is the peak in /proc,
// which is reset before each request.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "lisp_worker/worker/frame.h"
#include "testing/base/test_environment.h"
#include "testing/wire/frame_makers.h"
#include "testing/wire/wire_frames.h"
#include "testing/workers/watched_worker.h"

namespace lisp_worker::testing_support {
namespace {

using std::chrono::microseconds;
using worker::kHeaderSize;
using worker::WorkerStatus;

// Enough of a long program to know it by.
std::string beginningOf(std::string_view text) { return std::string(text.substr(0, 200)); }

}  // namespace

WatchedWorker::WatchedWorker() {
  handle({worker::MessageType::Ping, 0, 0, ""});  // The first request finds the worker started.
  longest_time_ = {};
  largest_growth_ = 0;
}

FrameResponse WatchedWorker::handle(const Frame& frame) {
  worker::MessageHeader header = requestHeader(frame.type);
  header.context_id = frame.context_id;
  header.run_id = frame.run_id;
  const std::string request = frameBytes(header, frame.payload);

  resetPeak();
  const long size_before = residentSize();
  const microseconds time_before = process_.processorTime();
  process_.send(request);
  const std::string response_header = process_.receive(kHeaderSize);
  if (response_header.size() < kHeaderSize) {
    ADD_FAILURE() << "the worker is gone: " << process_.end() << "\n" << beginningOf(frame.payload);
    return {static_cast<WorkerStatus>(0xFFFFFFFF), "no response"};
  }
  const char* const bytes = response_header.data();
  FrameResponse response;
  response.status =
      static_cast<WorkerStatus>(worker::getU32(bytes + worker::HeaderOffset::kStatus));
  response.payload = process_.receive(worker::getU32(bytes + worker::HeaderOffset::kPayloadLength));
  const microseconds time = process_.processorTime() - time_before;
  const long growth = statusField("VmHWM:") - size_before;

  longest_time_ = std::max(longest_time_, time);
  largest_growth_ = std::max(largest_growth_, growth);
  const auto granted =
      (kRequestTimeMax + kRequestTimeSlack) * time_factor_ * (isSanitized() ? 20 : 1);
  EXPECT_LE(time.count(), microseconds(granted).count())
      << "microseconds for " << beginningOf(frame.payload);
  if (!isSanitized()) {
    EXPECT_LE(growth, kRequestMemoryMax) << "KiB for " << beginningOf(frame.payload);
  }
  return response;
}

void WatchedWorker::expectValue(std::string_view program, std::string_view value) {
  const FrameResponse response = handle(startFrame(std::string(program)));
  ASSERT_EQ(response.status, WorkerStatus::Ok) << describe(response) << "\n"
                                               << beginningOf(program);
  EXPECT_EQ(decodeEvalResult(response.payload).text, value) << beginningOf(program);
}

void WatchedWorker::expectError(std::string_view program, std::string_view message) {
  const FrameResponse response = handle(startFrame(std::string(program)));
  EXPECT_TRUE(response.status == WorkerStatus::EvalFailed ||
              response.status == WorkerStatus::EvalParseError)
      << beginningOf(program);
  EXPECT_EQ(decodeEvalResult(response.payload).text, message) << beginningOf(program);
}

void WatchedWorker::expectStepLimit(std::string_view program) {
  const FrameResponse response = handle(startFrame(std::string(program)));
  EXPECT_EQ(response.status, WorkerStatus::EvalStepLimit) << beginningOf(program);
  EXPECT_EQ(decodeEvalResult(response.payload).steps, 250001U);
}

void WatchedWorker::expectStatus(const Frame& frame, WorkerStatus status) {
  const FrameResponse response = handle(frame);
  EXPECT_EQ(response.status, status) << beginningOf(frame.payload);
  EXPECT_EQ(response.payload, "") << beginningOf(frame.payload);
}

std::uint64_t WatchedWorker::expectCall(std::string_view program, std::string_view call_name) {
  const FrameResponse response = handle(startFrame(std::string(program)));
  EXPECT_EQ(response.status, WorkerStatus::HostCallPending) << beginningOf(program);
  const EvalResult result = decodeEvalResult(response.payload);
  EXPECT_EQ(result.call_name, call_name) << beginningOf(program);
  return result.run_id;
}

void WatchedWorker::expectAnswered(std::uint64_t run_id, std::string_view answer,
                                   std::string_view value) {
  const FrameResponse response = handle(resumeFrame(run_id, std::string(answer)));
  EXPECT_EQ(response.status, WorkerStatus::Ok) << describe(response);
  EXPECT_EQ(decodeEvalResult(response.payload).text, value);
}

long WatchedWorker::residentSize() const { return statusField("VmRSS:"); }

void WatchedWorker::expectResidentAtMost(long size_max) const {
  if (isSanitized()) return;
  EXPECT_LE(residentSize(), size_max) << "KiB";
}

long WatchedWorker::statusField(const char* name) const {
  const std::string field = name;
  std::ifstream status("/proc/" + std::to_string(process_.id()) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(field)) return std::strtol(line.c_str() + field.size(), nullptr, 10);
  }
  ADD_FAILURE() << "the system tells no " << name;
  return 0;
}

// From here on the highest resident size counts anew.
void WatchedWorker::resetPeak() const {
  std::ofstream("/proc/" + std::to_string(process_.id()) + "/clear_refs") << "5";
}

void WatchedWorker::expectLeaves() {
  process_.endInput();
  EXPECT_EQ(process_.end(), "exit code 0");
  EXPECT_EQ(process_.errors(), "");
}

}  // namespace lisp_worker::testing_support
