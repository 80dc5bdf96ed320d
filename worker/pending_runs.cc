#include "worker/pending_runs.h"

#include <utility>

namespace worker {

std::size_t RunIdHash::operator()(std::uint64_t run_id) const {
  std::uint64_t hash = 0xcbf29ce484222325;  // The FNV-1a offset basis.
  for (int byte = 0; byte < 8; ++byte) {
    hash ^= (run_id >> (8 * byte)) & 0xFF;
    hash *= 0x100000001b3;  // The FNV prime.
  }
  return hash;
}

std::uint64_t PendingRunTable::allocateRunId() {
  const std::uint64_t run_id = next_run_id_++;
  return run_id != 0 ? run_id : next_run_id_++;
}

void PendingRunTable::storeRun(PendingRun run) {
  const std::uint64_t run_id = run.run_id;
  runs_.insert_or_assign(run_id, std::move(run));
}

PendingRun* PendingRunTable::findRun(std::uint64_t run_id) {
  const auto found = runs_.find(run_id);
  return found == runs_.end() ? nullptr : &found->second;
}

void PendingRunTable::eraseRun(std::uint64_t run_id) { runs_.erase(run_id); }

}  // namespace worker
