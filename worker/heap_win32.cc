// Windows keeps freed memory by itself.

#include "worker/heap.h"

namespace worker {

// The system's heap does so by itself.
void keepFreedMemory() {}

}  // namespace worker
