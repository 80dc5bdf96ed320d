// Runs that wait for an answer of the host.

#ifndef WORKER_PENDING_RUNS_H_
#define WORKER_PENDING_RUNS_H_

#include <cstddef>
#include <cstdint>

#include "host/run.h"
#include "lisp/environment.h"
#include "lisp/growing_table.h"
#include "lisp/outcome.h"

namespace lisp_worker::worker {

// A run that stopped at a host call, with all that is needed to run it again from its first form.
// The stopped evaluation itself may be kept besides (worker/kept_evaluations.h).
struct PendingRun {
  std::uint64_t run_id = 0;
  std::uint64_t context_id = 0;  // Of the request that began the run; 0 for no context.
  host::StoredProgram program;
  lisp::Environment environment;    // The environment that every replay starts from.
  lisp::HostTranscript transcript;  // The answers received so far.
  lisp::HostCall pending_call;      // The call that the run waits for.
  std::uint64_t steps = 0;          // That it takes to get to that call.
};

// 64-bit FNV-1a over the eight bytes of a run id, least significant byte first.
[[nodiscard]] std::uint64_t hashRunId(std::uint64_t run_id);

// The pending runs of a worker, without bound: a run lives until it ends or is cancelled. Storing
// one costs the same however many there are.
class PendingRunTable {
 public:
  explicit PendingRunTable(std::uint64_t first_run_id = 1) : next_run_id_(first_run_id) {}
  ~PendingRunTable();
  PendingRunTable(const PendingRunTable&) = delete;
  PendingRunTable& operator=(const PendingRunTable&) = delete;

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
  struct Entry {
    std::uint64_t hash;
    Entry* next;
    PendingRun run;
  };

  // The entry of the run with this id and its hash, or null.
  [[nodiscard]] Entry* findEntry(std::uint64_t run_id, std::uint64_t hash) const;

  lisp::GrowingTable<Entry> runs_;  // Owns its entries.
  std::uint64_t next_run_id_;
};

}  // namespace lisp_worker::worker

#endif  // WORKER_PENDING_RUNS_H_
