// Windows keeps freed memory by itself.

#include "worker/heap.h"

namespace lisp_worker::worker {

// The system's heap does so by itself.
void keepFreedMemory() {}

}  // namespace lisp_worker::worker
