// The general allocator's memory.

#ifndef WORKER_HEAP_H_
#define WORKER_HEAP_H_

namespace lisp_worker::worker {

// Keeps the memory that a large request takes for its text, its response and its lists of forms for
// the next one, a few MiB at most, rather than have the system take it back and clear it again each
// time. Called once; holds for the whole process.
void keepFreedMemory();

}  // namespace lisp_worker::worker

#endif  // WORKER_HEAP_H_
