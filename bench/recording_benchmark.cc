// The cost of recording to a host: round trips with a worker, with a client that records them, and
// through the recording proxy. The promise is at most 20 microseconds a frame at the 99th
// percentile, so each benchmark counts the percentiles of its round trips of two frames; the cost
// of a frame is half of what one has above another.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "lisp_worker/client/process.h"
#include "lisp_worker/client/worker_client.h"
#include "lisp_worker/session/recorder.h"

namespace {

namespace fs = std::filesystem;

fs::path workerPath() {
  const char* const path = std::getenv("LISP_WORKER_PATH");
  return fs::absolute(path != nullptr ? path : "build/release/lisp_worker");
}

// A directory of this run's own, removed at its end.
class Directory {
 public:
  Directory() { fs::create_directories(path_); }
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;
  ~Directory() { fs::remove_all(path_); }

  [[nodiscard]] const fs::path& path() const { return path_; }

  // A program that a host can start as its worker.
  [[nodiscard]] fs::path proxy() const {
    fs::path script = path_ / "recorded_worker";
    std::ofstream(script) << "#!/bin/sh\nexec "
                          << (workerPath().parent_path() / "lisp_session").string()
                          << " proxy --record " << (path_ / "proxy.session").string() << " -- "
                          << workerPath().string() << "\n";
    fs::permissions(script, fs::perms::owner_all);
    return script;
  }

 private:
  fs::path path_ = fs::temp_directory_path() / "lisp_worker_recording_benchmark";
};

// (LIST "xxx...") of about `size` bytes.
std::string programOf(std::size_t size) { return "(LIST \"" + std::string(size, 'x') + "\")"; }

void roundTrips(benchmark::State& state, const fs::path& path,
                lisp_worker::client::FrameObserver* observer) {
  std::string error;
  const auto process = lisp_worker::client::startWorker(path, &error);
  if (process == nullptr) {
    state.SkipWithError(error.c_str());
    return;
  }
  lisp_worker::client::WorkerClient client(*process, {.time_limit = {}, .observer = observer});
  const std::string program = programOf(static_cast<std::size_t>(state.range(0)));
  std::vector<double> microseconds;
  for (auto _ : state) {
    const auto begin = std::chrono::steady_clock::now();
    const auto reply = client.evalStart(program, 0);
    const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - begin;
    if (!reply || !reply->value) {
      state.SkipWithError("the worker does not answer as it should");
      return;
    }
    microseconds.push_back(time.count());
  }
  std::sort(microseconds.begin(), microseconds.end());
  state.counters["p50_us"] = microseconds[microseconds.size() / 2];
  state.counters["p99_us"] = microseconds[microseconds.size() * 99 / 100];
}

void direct(benchmark::State& state) { roundTrips(state, workerPath(), nullptr); }

void recordedByClient(benchmark::State& state) {
  const Directory directory;
  std::string error;
  const auto recorder =
      lisp_worker::session::Recorder::create(directory.path() / "client.session", &error);
  if (recorder == nullptr) {
    state.SkipWithError(error.c_str());
    return;
  }
  roundTrips(state, workerPath(), recorder.get());
}

void recordedByProxy(benchmark::State& state) {
  const Directory directory;
  roundTrips(state, directory.proxy(), nullptr);
}

BENCHMARK(direct)->Arg(10)->Arg(1000)->Iterations(20000)->UseRealTime();
BENCHMARK(recordedByClient)->Arg(10)->Arg(1000)->Iterations(20000)->UseRealTime();
BENCHMARK(recordedByProxy)->Arg(10)->Arg(1000)->Iterations(20000)->UseRealTime();

}  // namespace
