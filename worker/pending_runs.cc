// A hash table by run id that grows in small parts (lisp/growing_table.h), so that no request pays
// for the runs of all others.

#include "worker/pending_runs.h"

#include <utility>

#include "lisp/wrapping.h"

namespace lisp_worker::worker {

LISP_WRAPS std::uint64_t hashRunId(std::uint64_t run_id) {
  std::uint64_t hash = 0xcbf29ce484222325;  // The FNV-1a offset basis.
  for (int byte = 0; byte < 8; ++byte) {
    hash ^= (run_id >> (8 * byte)) & 0xFF;
    hash *= 0x100000001b3;  // The FNV prime.
  }
  return hash;
}

LISP_WRAPS std::uint64_t PendingRunTable::allocateRunId() {
  const std::uint64_t run_id = next_run_id_++;
  return run_id != 0 ? run_id : next_run_id_++;
}

PendingRunTable::~PendingRunTable() {
  runs_.forEach([](Entry* entry) { delete entry; });
}

PendingRunTable::Entry* PendingRunTable::findEntry(std::uint64_t run_id, std::uint64_t hash) const {
  Entry* entry = runs_.firstOf(hash);
  while (entry != nullptr && entry->run.run_id != run_id) entry = entry->next;
  return entry;
}

void PendingRunTable::storeRun(PendingRun run) {
  const std::uint64_t hash = hashRunId(run.run_id);
  if (Entry* const entry = findEntry(run.run_id, hash)) {
    entry->run = std::move(run);
  } else {
    runs_.insert(new Entry{hash, nullptr, std::move(run)});
  }
}

PendingRun* PendingRunTable::findRun(std::uint64_t run_id) {
  Entry* const entry = findEntry(run_id, hashRunId(run_id));
  return entry == nullptr ? nullptr : &entry->run;
}

void PendingRunTable::eraseRun(std::uint64_t run_id) {
  Entry* const entry = findEntry(run_id, hashRunId(run_id));
  if (entry == nullptr) return;
  runs_.remove(entry);
  delete entry;
}

}  // namespace lisp_worker::worker
