// The cost of a worker to a host besides evaluation, as figures for docs/PERFORMANCE.md: round
// trips and the first answer beside a C program that only echoes, resumes, memory.
// bench/compare_peers runs it, on one processor: across two, what the system takes to wake the
// other hides everything.
//
//   process_costs <worker> <echo program>
//
// Each line is a name and a figure; names end in the unit.

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bench/request_frame.h"
#include "bench/worker_child.h"
#include "lisp_worker/client/process.h"
#include "lisp_worker/client/worker_client.h"
#include "lisp_worker/worker/frame.h"

namespace {

using lisp_worker::bench::makeFrame;

using Clock = std::chrono::steady_clock;

constexpr int kRoundCount = 9;

[[noreturn]] void fail(const std::string& message) {
  std::cerr << "process_costs: " << message << "\n";
  std::exit(EXIT_FAILURE);
}

double secondsOf(const std::function<void()>& work) {
  const auto begin = Clock::now();
  work();
  return std::chrono::duration<double>(Clock::now() - begin).count();
}

double median(std::vector<double> figures) {
  std::sort(figures.begin(), figures.end());
  return figures[figures.size() / 2];
}

void print(std::string_view name, double figure) { std::cout << name << " " << figure << "\n"; }

std::unique_ptr<lisp_worker::client::WorkerProcess> start(const std::string& path) {
  std::string error;
  auto process = lisp_worker::client::startWorker(path, &error);
  if (process == nullptr) fail(path + ": " + error);
  return process;
}

// --- Round trips ------------------------------------------------------------------------------

// Sends `frame` and reads its response, which must be of `size` bytes.
void exchange(lisp_worker::client::WorkerProcess& process, std::string_view frame,
              std::span<char> response) {
  if (!process.write(frame) || process.read(response.data(), response.size()) != response.size() ||
      lisp_worker::worker::decodeHeader(response.first<lisp_worker::worker::kHeaderSize>())
              .payload_length != response.size() - lisp_worker::worker::kHeaderSize) {
    fail("a process does not answer as it should");
  }
}

// Round trips a second of both programs, in alternation.
void compareRoundTrips(const std::string& worker, const std::string& echo, std::string_view name,
                       lisp_worker::worker::MessageType type, std::string_view payload,
                       std::size_t response_payload_size) {
  constexpr int kTripCount = 20000;
  const std::string frame = makeFrame(type, payload, response_payload_size);
  std::string response(lisp_worker::worker::kHeaderSize + response_payload_size, '\0');
  const std::array processes = {start(worker), start(echo)};
  std::array<std::vector<double>, 2> rates;
  for (int round = 0; round < kRoundCount; ++round) {
    for (std::size_t i = 0; i < processes.size(); ++i) {
      const double seconds = secondsOf([&] {
        for (int trip = 0; trip < kTripCount; ++trip) exchange(*processes[i], frame, response);
      });
      rates[i].push_back(kTripCount / seconds);
    }
  }
  print(std::string(name) + "_worker_per_s", median(rates[0]));
  print(std::string(name) + "_echo_per_s", median(rates[1]));
}

// --- Start-up ---------------------------------------------------------------------------------

void compareStarts(const std::string& worker, const std::string& echo) {
  constexpr int kStartCount = 200;
  const std::string frame = makeFrame(lisp_worker::worker::MessageType::Ping, "", 0);
  std::array<char, lisp_worker::worker::kHeaderSize> response;
  const std::array paths = {&worker, &echo};
  std::array<std::vector<double>, 2> times;
  for (int round = 0; round < kStartCount; ++round) {
    for (std::size_t i = 0; i < paths.size(); ++i) {
      std::unique_ptr<lisp_worker::client::WorkerProcess> process;
      times[i].push_back(1e6 * secondsOf([&] {
                           process = start(*paths[i]);
                           exchange(*process, frame, response);
                         }));
    }
  }
  print("first_answer_worker_us", median(times[0]));
  print("first_answer_echo_us", median(times[1]));
}

// --- Resumes ----------------------------------------------------------------------------------

lisp_worker::client::EvalResult resultOf(
    const std::optional<lisp_worker::client::Reply<lisp_worker::client::EvalResult>>& reply) {
  if (!reply || !reply->value) fail("a program is refused");
  if (reply->status != lisp_worker::worker::WorkerStatus::Ok &&
      reply->status != lisp_worker::worker::WorkerStatus::HostCallPending) {
    fail("a program fails: " + reply->value->text);
  }
  return *reply->value;
}

// A run with 3000 host calls. Its k-th resume evaluates k turns of the loop, so time over steps is
// a line: its slope is the evaluation, the replayed calls included, and what it is at no steps is
// what a resume costs besides, the round trip included.
void measureResumes(const std::string& worker) {
  constexpr std::size_t kCallCount = 3000;
  const std::string program = "(SETQ I 0 S 0) (WHILE (< I " + std::to_string(kCallCount) +
                              ") (SETQ S (+ S (GETDIST I)) I (1+ I))) S";
  std::vector<std::vector<double>> times(kCallCount);
  std::vector<double> steps(kCallCount);
  const auto process = start(worker);
  lisp_worker::client::WorkerClient client(*process);
  for (int round = 0; round < 5; ++round) {
    std::uint64_t run_id = resultOf(client.evalStart(program, 0)).run_id;
    for (std::size_t i = 0; i < kCallCount; ++i) {
      lisp_worker::client::EvalResult result;
      times[i].push_back(1e6 *
                         secondsOf([&] { result = resultOf(client.evalResume(run_id, "1.5")); }));
      steps[i] = static_cast<double>(result.steps);
      run_id = result.run_id;
    }
    if (run_id != 0) fail("the run with many host calls has more of them");
  }
  double sum_x = 0, sum_y = 0, sum_xx = 0, sum_xy = 0;
  for (std::size_t i = 0; i < kCallCount; ++i) {
    const double time = median(times[i]);
    sum_x += steps[i];
    sum_y += time;
    sum_xx += steps[i] * steps[i];
    sum_xy += steps[i] * time;
  }
  const double count = kCallCount;
  const double slope = (count * sum_xy - sum_x * sum_y) / (count * sum_xx - sum_x * sum_x);
  print("resume_overhead_us", (sum_y - slope * sum_x) / count);
  print("resume_ns_per_step", 1e3 * slope);
  print("resume_last_us", median(times.back()));
}

// The time of a resume when two runs take turns, on an environment of so many variables.
double switchTime(const std::string& worker, int variable_count) {
  const auto process = start(worker);
  lisp_worker::client::WorkerClient client(*process);
  std::string program;
  for (int i = 0; i < variable_count; ++i) {
    program += "(SETQ V" + std::to_string(i) + " " + std::to_string(i) + ")";
    if (program.size() > 500'000 || i + 1 == variable_count) {
      static_cast<void>(resultOf(client.evalStart(program, 0)));
      program.clear();
    }
  }
  program.clear();
  constexpr int kTurnCount = 50;
  for (int i = 0; i <= kTurnCount; ++i) program += "(SETQ V1 (GETDIST 1))";
  std::vector<double> times;
  for (int round = 0; round < kRoundCount; ++round) {
    const std::array ids = {resultOf(client.evalStart(program, 0)).run_id,
                            resultOf(client.evalStart(program, 0)).run_id};
    times.push_back(1e6 / kTurnCount / 2 * secondsOf([&] {
                      for (int turn = 0; turn < kTurnCount; ++turn) {
                        for (const std::uint64_t id : ids) {
                          static_cast<void>(resultOf(client.evalResume(id, "2")));
                        }
                      }
                    }));
    for (const std::uint64_t id : ids) static_cast<void>(client.evalCancel(id));
  }
  return median(times);
}

// --- Memory -----------------------------------------------------------------------------------

// A field of /proc/<worker>/status in KiB.
double statusOfChild(std::string_view field) {
  const std::string process = lisp_worker::bench::childProcess();
  std::ifstream status("/proc/" + process + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(field)) return std::strtod(line.c_str() + field.size(), nullptr);
  }
  fail("the system does not tell the worker's memory");
}

void measureMemory(const std::string& worker) {
  {
    const auto process = start(worker);
    lisp_worker::client::WorkerClient client(*process);
    static_cast<void>(resultOf(client.evalStart("(+ 1 2)", 0)));
    print("idle_memory_kib", statusOfChild("VmRSS:"));
    for (int i = 0; i < 20000; ++i) {
      const std::string program = "(SETQ X " + std::to_string(i) + ") (LIST X (GETDIST X))";
      static_cast<void>(resultOf(client.evalStart(program, 0)));
    }
    print("pending_runs_memory_kib", statusOfChild("VmRSS:"));
  }
  // The shapes of text that become the most values for their bytes.
  const std::pair<const char*, std::string> shapes[] = {
      {"numbers", "1 "}, {"empty_lists", "()"}, {"lists", "(1)"},
      {"quotes", "'1"},  {"calls", "(LIST 1)"}, {"nested_quotes", std::string(500, '\'') + "1 "},
  };
  for (const auto& [name, unit] : shapes) {
    const std::string_view closing = "))";
    std::string program = "(LENGTH '(";
    while (program.size() + unit.size() + closing.size() <= lisp_worker::worker::kPayloadSizeMax) {
      program += unit;
    }
    program += closing;
    const auto process = start(worker);
    lisp_worker::client::WorkerClient client(*process);
    static_cast<void>(resultOf(client.evalStart(program, 0)));
    print("text_of_" + std::string(name) + "_memory_kib", statusOfChild("VmHWM:"));
  }
}

}  // namespace

int main(int count, char** words) {
  if (count != 3) fail("usage: process_costs <worker> <echo program>");
  const std::string worker = words[1];
  const std::string echo = words[2];
  compareRoundTrips(worker, echo, "ping", lisp_worker::worker::MessageType::Ping, "", 0);
  compareRoundTrips(worker, echo, "tiny_program", lisp_worker::worker::MessageType::EvalStart,
                    "(+ 1 2)", lisp_worker::worker::kEvalResultHeaderSize + 1);
  compareStarts(worker, echo);
  measureResumes(worker);
  print("switch_empty_us", switchTime(worker, 0));
  print("switch_50000_us", switchTime(worker, 50000));
  measureMemory(worker);
  return EXIT_SUCCESS;
}
