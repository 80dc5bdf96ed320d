// The digest of a chunk is made from its end to its front, one step for each element. Lists among
// the elements need theirs first; a stack of waiting chunks sees to that without recursion.

#include "lisp/list_hash.h"

#include "lisp/keyed_hash.h"
#include "lisp/plain_stack.h"
#include "lisp/work.h"

namespace lisp {
namespace {

// Appends the chunks among the elements of `chunk` that have no digest to `waiting`; true when
// there is none.
bool isReady(const Chunk& chunk, PlainStack<Chunk*>& waiting) {
  const std::size_t waiting_count = waiting.size();
  for (std::uint32_t i = 0; i < chunk.flatLength(); ++i) {
    const RawValue& element = chunk.slots()[i].raw();
    if (lacksDigest(element)) waiting.push(&chunkOf(element));
  }
  countWork(chunk.flatLength());
  return waiting.size() == waiting_count;
}

// Makes the digest of a flat chunk from those of its elements.
void digestReady(Chunk& chunk) {
  const HashKey& key = hashKey();
  const std::uint32_t count = chunk.flatLength();
  std::uint64_t hash = key.seed;
  for (std::uint32_t i = count; i > 0;) {
    --i;
    const RawValue& element = chunk.slots()[i].raw();
    hash = extendHash(hash, element, key);
    if (i > 0 && i + 1 < count) chunk.hashes()[i - 1] = hash;
  }
  chunk.front = hash;
  countWork(count);
}

// Has the key drawn before main(): once it serves, a worker cannot ask the system for a secret any
// more.
[[maybe_unused]] const HashKey& key_at_start = hashKey();

}  // namespace

HashKey drawHashKey() { return {drawHashPoint(), drawHashPoint() << 3 | 1, drawHashPoint() << 3}; }

void digest(Chunk& chunk) {
  PlainStack<Chunk*> waiting;
  while (!isReady(chunk, waiting)) {
    while (waiting.size() > 0) {
      Chunk& next = *waiting.top();
      if (!next.hasDigest()) {
        if (!isReady(next, waiting)) continue;
        digestReady(next);
      }
      waiting.truncate(waiting.size() - 1);
    }
  }
  digestReady(chunk);
}

}  // namespace lisp
