// Two settings of the C library's allocator. Without them, whether a request's memory goes back to
// the system depends on what happens to lie behind it in the heap.

#include <malloc.h>

#include "worker/heap.h"

namespace lisp_worker::worker {

void keepFreedMemory() {
#ifdef M_TRIM_THRESHOLD                     // Of the GNU library; others have ways of their own.
  constexpr int kKeptMax = 4 << 20;         // Bytes at the end of the heap.
  constexpr int kLargeBlockSize = 2 << 20;  // Bytes; such blocks are the system's again when freed.
  mallopt(M_TRIM_THRESHOLD, kKeptMax);
  mallopt(M_MMAP_THRESHOLD, kLargeBlockSize);
#endif
}

}  // namespace lisp_worker::worker
