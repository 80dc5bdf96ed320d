// The work that the worker does, counted in the build that proves how little it is.
//
// With LISP_COUNT_WORK every loop over values, bytes, bindings and records counts what it visits,
// and worker/work_law.h holds the sum against what a request may cost. Otherwise counting is
// nothing at all.

#ifndef LISP_WORK_H_
#define LISP_WORK_H_

#include <cstdint>

namespace lisp {

#ifdef LISP_COUNT_WORK

// Units of work since the process began: values visited, bytes touched, bindings moved, blocks
// allocated.
inline constinit std::uint64_t work_done = 0;

inline void countWork(std::uint64_t units = 1) { work_done += units; }

#else

inline void countWork(std::uint64_t /*units*/ = 1) {}

#endif

}  // namespace lisp

#endif  // LISP_WORK_H_
