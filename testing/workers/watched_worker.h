// The worker's executable with a watch on what every request costs it.
//
// The promises of time and memory are about a process, so the figures are the system's own, of a
// real worker behind its pipes.

#ifndef TESTING_WORKERS_WATCHED_WORKER_H_
#define TESTING_WORKERS_WATCHED_WORKER_H_

#include <chrono>
#include <string_view>

#include "testing/wire/frame_port.h"
#include "testing/workers/child_process.h"

namespace lisp_worker::testing_support {

// The cost of one request: the promise, and what a test grants on top of it because a machine
// that tests is not idle. Time is the worker's processor time, so a busy machine does not count as
// a slow worker.
inline constexpr std::chrono::milliseconds kRequestTimeMax{100};
inline constexpr std::chrono::milliseconds kRequestTimeSlack{50};
inline constexpr long kRequestMemoryMax = 64L * 1024;  // KiB.

class WatchedWorker : public FramePort {
 public:
  // Judges every request by the promise; an excess fails the running test. Under a sanitizer, whose
  // memory is its own and whose time is many times longer, memory is not judged and time is granted
  // twenty-fold.
  WatchedWorker();

  // A worker that goes away answers with a response of no known status.
  FrameResponse handle(const Frame& frame) override;

  // Grants the next requests `factor` times the time, for those whose replay is a run of its own.
  void grantTime(int factor) { time_factor_ = factor; }

  // A program, which must have this value or status.
  void expectValue(std::string_view program, std::string_view value);
  void expectError(std::string_view program, std::string_view message);
  void expectStepLimit(std::string_view program);
  // A status and no payload.
  void expectStatus(const Frame& frame, worker::WorkerStatus status);
  // A program that stops at a host call; returns its run id.
  std::uint64_t expectCall(std::string_view program, std::string_view call_name);
  void expectAnswered(std::uint64_t run_id, std::string_view answer, std::string_view value);

  // Memory in use now, in KiB.
  [[nodiscard]] long residentSize() const;
  // Fails the running test when more is in use; says nothing under a sanitizer.
  void expectResidentAtMost(long size_max) const;
  // The highest figures of a request so far.
  [[nodiscard]] std::chrono::microseconds longestTime() const { return longest_time_; }
  [[nodiscard]] long largestGrowth() const { return largest_growth_; }

  // Ends the input; the worker must leave with exit code 0 and have said nothing but responses.
  void expectLeaves();
  [[nodiscard]] ChildProcess& process() { return process_; }

 private:
  [[nodiscard]] long statusField(const char* name) const;
  void resetPeak() const;

  ChildProcess process_;
  int time_factor_ = 1;
  std::chrono::microseconds longest_time_{};
  long largest_growth_ = 0;
};

}  // namespace lisp_worker::testing_support

#endif  // TESTING_WORKERS_WATCHED_WORKER_H_
