// The digest of a run is made from its end to its front, one step for each element. Lists among
// the elements need theirs first; a stack of waiting runs sees to that without recursion.

#include "lisp/list_hash.h"

#include "lisp/keyed_hash.h"
#include "lisp/plain_stack.h"
#include "lisp/work.h"

namespace lisp {
namespace {

// Appends the runs among the elements of `run` that have no digest to `waiting`; true when there is
// none.
bool isReady(const Run& run, PlainStack<Run*>& waiting) {
  const std::size_t waiting_count = waiting.size();
  for (std::uint32_t i = 0; i < run.full_length; ++i) {
    const RawValue& element = run.slots()[i].raw();
    if (lacksDigest(element)) waiting.push(&runOf(element));
  }
  countWork(run.full_length);
  return waiting.size() == waiting_count;
}

// Makes the digest of a flat run from those of its elements.
void digestReady(Run& run) {
  const HashKey& key = hashKey();
  const std::uint32_t count = run.full_length;
  std::uint64_t hash = key.seed;
  for (std::uint32_t i = count; i-- > 0;) {
    const RawValue& element = run.slots()[i].raw();
    hash = extendHash(hash, element, key);
    if (i > 0 && i + 1 < count) run.hashes()[i - 1] = hash;
  }
  run.front = hash;
  countWork(count);
}

// Has the key drawn before main(): once it serves, a worker cannot ask the system for a secret any
// more.
[[maybe_unused]] const HashKey& key_at_start = hashKey();

}  // namespace

HashKey drawHashKey() { return {drawHashPoint(), drawHashPoint() << 3 | 1, drawHashPoint() << 3}; }

void digest(Run& run) {
  PlainStack<Run*> waiting;
  while (!isReady(run, waiting)) {
    while (waiting.size() > 0) {
      Run& next = *waiting.top();
      if (!next.hasDigest()) {
        if (!isReady(next, waiting)) continue;
        digestReady(next);
      }
      waiting.truncate(waiting.size() - 1);
    }
  }
  digestReady(run);
}

}  // namespace lisp
