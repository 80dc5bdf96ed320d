// Runs that wait for an answer of the host.

#ifndef WORKER_PENDING_RUNS_H_
#define WORKER_PENDING_RUNS_H_

#include <cstddef>
#include <cstdint>
#include <unordered_map>

#include "host/run.h"
#include "lisp/environment.h"
#include "lisp/outcome.h"

namespace worker {

// A run that stopped at a host call, with all that is needed to run it again from its first form.
// No state of the evaluation itself is kept.
struct PendingRun {
  std::uint64_t run_id = 0;
  std::uint64_t context_id = 0;  // Of the request that began the run; 0 for no context.
  host::Program program;
  lisp::Environment environment;    // What every replay starts from.
  lisp::HostTranscript transcript;  // The answers received so far.
  lisp::HostCall pending_call;      // The call that the run waits for.
};

// 64-bit FNV-1a over the eight bytes of a run id, least significant byte first.
struct RunIdHash {
  [[nodiscard]] std::size_t operator()(std::uint64_t run_id) const;
};

// The pending runs of a worker, without bound: a run lives until it ends or is cancelled.
class PendingRunTable {
 public:
  explicit PendingRunTable(std::uint64_t first_run_id = 1) : next_run_id_(first_run_id) {}

  // A run id that was never handed out before: 1, 2, 3 and so on, never 0.
  [[nodiscard]] std::uint64_t allocateRunId();

  // Keeps `run` under its run_id.
  void storeRun(PendingRun run);
  // The run, or null. Borrowed until it is erased.
  [[nodiscard]] PendingRun* findRun(std::uint64_t run_id);
  // Forgets the run, if there is one.
  void eraseRun(std::uint64_t run_id);

  [[nodiscard]] std::size_t size() const { return runs_.size(); }

 private:
  std::unordered_map<std::uint64_t, PendingRun, RunIdHash> runs_;
  std::uint64_t next_run_id_;
};

}  // namespace worker

#endif  // WORKER_PENDING_RUNS_H_
