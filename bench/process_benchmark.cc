// The worker from outside: a real process behind its pipes, beside one that only echoes.
//
// A host waits for every answer, so what counts is the round trip. Most of it is the system's: two
// writes, two or more reads and two changes of process. The echo process makes the same calls for
// the same bytes, and the worker is to reach at least 0.8 of its rate.

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "bench/request_frame.h"
#include "lisp_worker/client/process.h"
#include "lisp_worker/worker/frame.h"

namespace {

using lisp_worker::bench::makeFrame;

std::filesystem::path workerPath() {
  const char* const path = std::getenv("LISP_WORKER_PATH");
  return path != nullptr ? path : "build/release/lisp_worker";
}

// The benchmarks' own programs stand beside each other, below the worker.
std::filesystem::path echoPath() { return workerPath().parent_path() / "bench" / "echo_worker"; }

// Sends `frame` and reads its response; false when the process fails to answer.
bool exchange(lisp_worker::client::WorkerProcess& process, const std::string& frame,
              std::string& payload) {
  std::array<char, lisp_worker::worker::kHeaderSize> header;
  if (!process.write(frame)) return false;
  if (process.read(header.data(), header.size()) != header.size()) return false;
  payload.resize(lisp_worker::worker::decodeHeader(header).payload_length);
  return payload.empty() || process.read(payload.data(), payload.size()) == payload.size();
}

void roundTrips(benchmark::State& state, const std::filesystem::path& path,
                lisp_worker::worker::MessageType type, std::string_view text,
                std::uint64_t response_size) {
  std::string error;
  const std::unique_ptr<lisp_worker::client::WorkerProcess> process =
      lisp_worker::client::startWorker(path, &error);
  if (process == nullptr) {
    state.SkipWithError(error.c_str());
    return;
  }
  const std::string frame = makeFrame(type, text, response_size);
  std::string payload;
  for (auto _ : state) {
    if (!exchange(*process, frame, payload) || payload.size() != response_size) {
      state.SkipWithError("the process does not answer as it should");
      return;
    }
  }
  state.SetItemsProcessed(state.iterations());
}

constexpr std::string_view kTinyProgram = "(+ 1 2)";
constexpr std::uint64_t kTinyResponseSize = lisp_worker::worker::kEvalResultHeaderSize + 1;  // "3"

void pingWorker(benchmark::State& state) {
  roundTrips(state, workerPath(), lisp_worker::worker::MessageType::Ping, "", 0);
}
void pingEcho(benchmark::State& state) {
  roundTrips(state, echoPath(), lisp_worker::worker::MessageType::Ping, "", 0);
}
void tinyProgramWorker(benchmark::State& state) {
  roundTrips(state, workerPath(), lisp_worker::worker::MessageType::EvalStart, kTinyProgram,
             kTinyResponseSize);
}
void tinyProgramEcho(benchmark::State& state) {
  roundTrips(state, echoPath(), lisp_worker::worker::MessageType::EvalStart, kTinyProgram,
             kTinyResponseSize);
}

BENCHMARK(pingWorker)->UseRealTime();
BENCHMARK(pingEcho)->UseRealTime();
BENCHMARK(tinyProgramWorker)->UseRealTime();
BENCHMARK(tinyProgramEcho)->UseRealTime();

}  // namespace
